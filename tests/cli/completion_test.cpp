#include "catalogue/effect.h"
#include "cli_test.h"
#include "command_definitions.h"
#include "completion.h"
#include "text.h"
#include <CLI/CLI.hpp>
#include <algorithm>
#include <sstream>
#include <utility>

namespace velmont::test {

namespace {

using catalogue::Effect;

std::vector<std::string> linesOf(const std::string &text)
{
    std::istringstream stream(text);
    std::vector<std::string> lines;
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
}

class Completion : public CliTest {
protected:
    using Words = std::vector<std::string>;

    /// The answers without their help, "file" and its prefix for files.
    static Words answersIn(const std::string &text)
    {
        Words answers;
        for (const std::string &line : linesOf(text))
            answers.push_back(line.starts_with("word ") ? line.substr(5, line.find('\t') - 5) : line);
        return answers;
    }

    static Words answers(const Words &words)
    {
        CLI::App app;
        cli::Request request;
        cli::defineCommands(app, request);
        return answersIn(cli::completionsText(app, words));
    }

    static bool has(const Words &words, const std::string &word)
    {
        return std::ranges::find(words, word) != words.end();
    }
};

const std::string kFiles = "file ";

TEST_F(Completion, OfCommandsAndOptions)
{
    const Words commands = answers({""});
    for (const std::string command : {"list", "info", "apply", "stamp", "completion", "man"})
        EXPECT_TRUE(has(commands, command)) << command;
    EXPECT_FALSE(has(commands, "complete"));
    EXPECT_TRUE(has(answers({"--v"}), "--version"));
    EXPECT_EQ(answers({"list", "-"}), (Words{"--help", "--search", "--json"}));
    EXPECT_TRUE(has(answers({"apply", "negative", "--f"}), "--force"));
    EXPECT_EQ(answers({"nothing", ""}), Words{});
    EXPECT_EQ(answers({}), Words{});
}

TEST_F(Completion, IsAskedOfTheProgram)
{
    for (const Words &words : {Words{""}, Words{"apply", "wind", "--"}, Words{"crop", "--", "-"}}) {
        Words command{"complete", "--"};
        command.insert(command.end(), words.begin(), words.end());
        const Outcome outcome = run(command);
        EXPECT_EQ(outcome.exitCode, 0);
        EXPECT_EQ(outcome.err, "");
        EXPECT_EQ(answersIn(outcome.out), answers(words));
    }
    expectSilence({"complete"});
}

TEST_F(Completion, OfWordsOfACommand)
{
    EXPECT_TRUE(has(answers({"list", ""}), "filters"));
    EXPECT_EQ(answers({"list", "filters", ""}), Words{});
    EXPECT_EQ(answers({"info", ""}).size(), catalogue::effects().size());
    EXPECT_EQ(answers({"info", "--json", ""}).size(), catalogue::effects().size());
    EXPECT_EQ(answers({"completion", ""}), (Words{"bash", "zsh"}));
    EXPECT_EQ(answers({"man", ""}), Words{});
    EXPECT_EQ(answers({"crop", "--at", "1,2", ""}), Words{kFiles});
    EXPECT_EQ(answers({"crop", "--at", ""}), Words{}) << "no file, but a place";
    EXPECT_EQ(answers({"crop", "--output", ""}), Words{kFiles});
    EXPECT_EQ(answers({"crop", "-o", ""}), Words{kFiles});
    EXPECT_EQ(answers({"crop", "--output=", ""}), Words{kFiles});
    EXPECT_EQ(answers({"crop", "--output=x"}), Words{"file --output="});
    EXPECT_EQ(answers({"crop", "--", "-"}), Words{kFiles});
    EXPECT_EQ(answers({"crop", "--format", ""}), (Words{"png", "jpeg", "bmp", "tiff", "webp"}));
    EXPECT_TRUE(has(answers({"crop", "--format=w"}), "--format=webp"));
    EXPECT_EQ(answers({"apply", "--recipe", "old.json", ""}), Words{kFiles});
    EXPECT_EQ(answers({"recipe", "--check", ""}), Words{kFiles});
}

TEST_F(Completion, OfEveryEffectItsFieldsAndChoices)
{
    for (const Effect &effect : catalogue::effects()) {
        const std::string name(effect.name);
        const Words fields = answers({"apply", name, ""});
        ASSERT_EQ(fields.size(), effect.fields.size() + effect.operands.size() + 2) << name;
        EXPECT_EQ(fields.back(), kFiles);
        for (std::size_t i = 0; i < effect.fields.size(); ++i)
            EXPECT_EQ(fields[i], std::string(effect.fields[i].name) + "=");
        for (const catalogue::Operand &operand : effect.operands)
            EXPECT_TRUE(has(fields, std::string(operand.name) + "=")) << name;
    }
    const Effect &wind = *catalogue::findEffect("wind");
    Words choices;
    for (const catalogue::Choice &choice : catalogue::findField(wind, "direction")->choices)
        choices.push_back("direction=" + std::string(choice.name));
    EXPECT_EQ(answers({"apply", "wind", "direction="}), choices);
    EXPECT_EQ(answers({"apply", "splash-cut-out", "alpha=m"}), Words{"file alpha="});
    EXPECT_EQ(answers({"apply", "blur", "size="}), Words{});
    EXPECT_EQ(answers({"apply", "wind", "nothing="}), Words{});
}

TEST_F(Completion, OfChains)
{
    const std::size_t effects = catalogue::effects().size();
    EXPECT_EQ(answers({"apply", ""}).size(), effects);
    EXPECT_EQ(answers({"apply", "--force", "-o", "x.png", ""}).size(), effects);
    EXPECT_EQ(answers({"apply", "wind", "then", ""}).size(), effects);
    EXPECT_EQ(answers({"apply", "blur", "then", "wind", "direction=from-left", ""}),
              (Words{"strength=", "then", kFiles}));
    EXPECT_EQ(answers({"apply", "no-effect", ""}), (Words{"then", kFiles}));
}

TEST_F(Completion, RefusesOtherShells)
{
    expectRefusal({"completion"}, 2, "completion needs a shell: bash, zsh");
    expectRefusal({"completion", "bsah"}, 2,
                  "completion serves no shell \"bsah\"; it serves bash, zsh; did you mean bash?");
}

/// The function as bash calls it, with the line cut at "=" and ":".
class BashCompletion : public Completion {
protected:
    /// \param line with what bash cuts it into behind it
    std::string replies(const std::string &line, const std::string &words) const
    {
        const std::string script = R"shell(eval "$("$0" completion bash)"
PATH=${0%/*}:$PATH COMP_LINE=$1 COMP_POINT=${#1}
eval "COMP_WORDS=($2)"
COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
_velmont
printf '<%s>' "${COMPREPLY[@]}")shell";
        const Outcome outcome =
            Program(folder(), {"/bin/bash", "-c", script, programPath(), line, words}).finish();
        EXPECT_EQ(outcome.err, "");
        return outcome.out;
    }
};

TEST_F(BashCompletion, RepliesWithWhatTakesTheLastPiecesPlace)
{
    if (!std::filesystem::exists("/bin/bash"))
        GTEST_SKIP() << "bash is not installed";
    writeText("mask:1.png", "");
    EXPECT_EQ(replies("velmont inf", "velmont inf"), "<info>");
    EXPECT_EQ(replies("velmont  apply wi", "velmont apply wi"), "<wind>");
    EXPECT_EQ(replies("velmont apply wind dir", "velmont apply wind dir"), "<direction=>");
    EXPECT_EQ(replies("velmont apply wind direction=", "velmont apply wind direction ="),
              "<from-right><from-left>");
    EXPECT_EQ(replies("velmont apply wind direction=from-l", "velmont apply wind direction = from-l"),
              "<from-left>");
    EXPECT_EQ(
        replies("velmont apply wind direction=from-left ", "velmont apply wind direction = from-left ''"),
        "<strength=><then><mask:1.png>");
    EXPECT_EQ(replies("velmont apply splash-cut-out alpha=ma", "velmont apply splash-cut-out alpha = ma"),
              "<mask:1.png>");
    EXPECT_EQ(
        replies("velmont apply splash-cut-out alpha=mask:1", "velmont apply splash-cut-out alpha = mask : 1"),
        "<1.png>");
    writeText("my file.png", "");
    EXPECT_EQ(replies("velmont apply wind --mask=my", "velmont apply wind --mask = my"), "<my file.png>");
    EXPECT_EQ(replies("velmont apply wind --mas", "velmont apply wind --mas"), "<--mask>");
    EXPECT_EQ(replies("velmont list fil", "velmont list fil"), "<filters>");
}

/// Sessions on a terminal of their own, which zsh drives: each line, a tab, and a key that prints what the line is then.
class InteractiveCompletion : public Completion {
protected:
    InteractiveCompletion()
    {
        writeText("my file.png", "");
        writeText("mask.png", "");
        std::filesystem::create_directory(file("functions"));
    }

    void SetUp() override
    {
        if (!hasTerminals())
            GTEST_SKIP() << "no terminals";
        if (Program(folder(), {"/bin/sh", "-c", "command -v zsh && command -v bash"}).finish().exitCode != 0)
            GTEST_SKIP() << "zsh or bash is not installed";
    }

    /// \param shell how it is started
    /// \param preparation its first line, which makes Ctrl-Y print the line and puts the program in its path
    /// \param lines to complete, and what they become
    void expectCompletions(const std::string &shell, const std::string &preparation,
                           const std::vector<std::pair<std::string, std::string>> &lines) const
    {
        writeText("preparation", preparation);
        writeText("session", R"shell(zmodload zsh/zpty
"$PROGRAM" completion zsh > functions/_velmont && zsh -n functions/_velmont
zpty s ${=SHELL_COMMAND}
zpty -w s ". ./preparation; echo REA\"\"DY"
zpty -r s out '*READY*'
for line; do
    zpty -w -n s "$line"$'\t\C-y'
    zpty -r s out '*LINE<*>*'
    print -r -- "${${out##*LINE<}%%>*}|"
done
zpty -d s
)shell");
        std::vector<std::string> command{"/usr/bin/env",
                                         "PROGRAM=" + programPath(),
                                         "TERM=dumb",
                                         "PS1=",
                                         "SHELL_COMMAND=" + shell,
                                         "INPUTRC=/dev/null",
                                         "zsh",
                                         "-f",
                                         "session"};
        std::string expected;
        for (const auto &[typed, completed] : lines) {
            command.push_back(typed);
            expected += cli::concat(completed, "|\n");
        }
        const Outcome outcome = Program(folder(), command).finish();
        EXPECT_EQ(outcome.err, "");
        EXPECT_EQ(outcome.out, expected);
    }

    static std::vector<std::pair<std::string, std::string>> linesForEveryShell()
    {
        return {
            {"velmont hist", "velmont histogram "},
            {"velmont apply wi", "velmont apply wind "},
            {"velmont apply wind dir", "velmont apply wind direction="},
            {"velmont apply wind direction=from-l", "velmont apply wind direction=from-left "},
            {"velmont apply wind direction=from-left str",
             "velmont apply wind direction=from-left strength="},
            {"velmont apply wind then negat", "velmont apply wind then negative "},
            {"velmont apply wind fun", "velmont apply wind functions/"},
            {"velmont apply splash-cut-out alpha=mas", "velmont apply splash-cut-out alpha=mask.png "},
            {"velmont apply splash-cut-out newAlpha=x alpha=my",
             "velmont apply splash-cut-out newAlpha=x alpha=my\\ file.png "},
            {"velmont apply wind --mask=mas", "velmont apply wind --mask=mask.png "},
            {"velmont apply wind --mas", "velmont apply wind --mask "},
            {"velmont list fil", "velmont list filters "},
        };
    }
};

TEST_F(InteractiveCompletion, InZsh)
{
    expectCompletions("zsh -f -i", R"shell(PROMPT= path=(${PROGRAM:h} $path) fpath=($PWD/functions $fpath)
autoload -Uz compinit && compinit -u -D
setopt no_beep
show() { print -r -- "LI""NE<$BUFFER>"; BUFFER=; zle .accept-line }
zle -N show
bindkey '^Y' show
bindkey '^I' complete-word
)shell",
                      linesForEveryShell());
}

TEST_F(InteractiveCompletion, InBash)
{
    expectCompletions("bash --norc --noprofile -i", R"shell(PS1= PATH=${PROGRAM%/*}:$PATH
bind 'set enable-bracketed-paste off'
bind -x '"\C-y": printf "LI""NE<%s>\n" "$READLINE_LINE"; READLINE_LINE=; READLINE_POINT=0'
source <(velmont completion bash)
)shell",
                      linesForEveryShell());
}

} // namespace

} // namespace velmont::test
