#include "catalogue/effect.h"
#include "cli_test.h"
#include "field_value.h"
#include "roff.h"
#include "text.h"

namespace velmont::test {

namespace {

using catalogue::Effect;
using catalogue::Field;

class Manual : public CliTest {
protected:
    Manual() : page_(run({"man"}).out) {}
    bool has(std::string_view text) const { return page_.find(text) != std::string::npos; }

    std::string page_;
};

TEST(Roff, TextStandsForItself)
{
    EXPECT_EQ(cli::roffText("a-b \\ 'c' ^~`"), "a\\-b \\(rs \\(aqc\\(aq \\(ha\\(ti\\(ga");
    EXPECT_EQ(cli::roffLine(".TH"), "\\&.TH\n");
    EXPECT_EQ(cli::roffBold("-x"), "\\fB\\-x\\fR");
}

TEST(Roff, IndentedLinesStayAsTheyAre)
{
    EXPECT_EQ(cli::roffParagraphs("one\ntwo\n\n  as is\n  too\nthree\n"),
              ".PP\n\\&one\n\\&two\n"
              ".PP\n.nf\n\\&  as is\n\\&  too\n.fi\n"
              "\\&three\n");
    EXPECT_EQ(cli::roffParagraphs("  last"), ".PP\n.nf\n\\&  last\n.fi\n");
    EXPECT_EQ(cli::roffParagraphs(""), "");
}

TEST_F(Manual, NamesEveryEffectWithItsFields)
{
    std::size_t at = page_.find(".SH EFFECTS");
    ASSERT_NE(at, std::string::npos);
    const auto follows = [&](const std::string &text) {
        at = page_.find(text, at);
        EXPECT_NE(at, std::string::npos) << text;
        return at != std::string::npos;
    };
    for (const Effect &effect : catalogue::effects()) {
        ASSERT_TRUE(follows(cli::concat(".TP\n", cli::roffBold(effect.name), "\n")));
        for (const Field &field : effect.fields) {
            ASSERT_TRUE(follows(cli::concat(".TP\n\\fB", field.name, "=\\fR")));
            ASSERT_TRUE(follows(cli::roffText(cli::describeValues(field))));
        }
        for (const catalogue::Operand &operand : effect.operands)
            ASSERT_TRUE(follows(cli::concat(".TP\n\\fB", operand.name, "=\\fR\\fIFILE\\fR")));
    }
}

/// The commands are those that the help lists, and their options those of their own helps.
TEST_F(Manual, NamesEveryCommandWithItsOptions)
{
    const std::string help = run({"--help"}).out;
    std::size_t found = 0;
    for (std::size_t at = help.find("Commands:\n") + 10; help[at] == ' '; at = help.find('\n', at) + 1) {
        const std::string command = help.substr(at + 2, help.find(' ', at + 2) - at - 2);
        EXPECT_TRUE(has(".SS " + command + "\n")) << command;
        const std::string own = run({command, "--help"}).out;
        for (std::size_t option = own.find("\n  --"); option != std::string::npos;
             option = own.find("\n  --", option + 1)) {
            const std::string name = own.substr(option + 3, own.find(' ', option + 3) - option - 3);
            EXPECT_TRUE(has(cli::roffBold(name))) << command << " " << name;
        }
        ++found;
    }
    EXPECT_GE(found, 14u);
    for (const std::string code : {"0", "2", "3", "4", "5", "6", "130"})
        EXPECT_TRUE(has(".TP\n\\fB" + code + "\\fR\n")) << code;
    EXPECT_TRUE(has("NO_COLOR"));
    EXPECT_FALSE(has("Exit codes:")) << "they have a section of their own";
    EXPECT_FALSE(has(".SS complete\n"));
}

TEST_F(Manual, FormatsWithoutAWarning)
{
    writeText("velmont.1", page_);
    const Outcome outcome =
        Program(folder(),
                {"/bin/sh", "-c",
                 "command -v groff >/dev/null || exit 77; groff -K utf8 -man -ww -Tutf8 -P-cbou velmont.1"})
            .finish();
    if (outcome.exitCode == 77)
        GTEST_SKIP() << "groff is not installed";
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_EQ(outcome.err, "");
    EXPECT_NE(outcome.out.find("EXIT STATUS"), std::string::npos);
}

} // namespace

} // namespace velmont::test
