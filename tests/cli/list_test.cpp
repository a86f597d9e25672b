#include "catalogue/effect.h"
#include "cli_test.h"
#include "info.h"
#include "list.h"
#include "made_up_effects.h"
#include "text.h"
#include <algorithm>
#include <nlohmann/json.hpp>
#include <sstream>

namespace velmont::test {

namespace {

using catalogue::Effect;
using catalogue::Field;
using nlohmann::json;

class List : public CliTest {};
class Info : public CliTest {};

std::vector<std::string> linesOf(const std::string &text)
{
    std::istringstream stream(text);
    std::vector<std::string> lines;
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
}

bool hasWord(const std::string &line, std::string_view word)
{
    return cli::concat(" ", line, " ").find(cli::concat(" ", word, " ")) != std::string::npos;
}

TEST_F(List, HasALineForEveryEffectUnderItsFamily)
{
    const Outcome outcome = run({"list"});
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_EQ(outcome.err, "");
    std::string family;
    std::size_t found = 0;
    for (const std::string &line : linesOf(outcome.out)) {
        if (line.empty())
            continue;
        if (line.front() != ' ') {
            family = line;
            continue;
        }
        ASSERT_LT(found, catalogue::effects().size());
        const Effect &effect = catalogue::effects()[found++];
        EXPECT_EQ(family, catalogue::familyName(effect.family));
        EXPECT_TRUE(hasWord(line, effect.name)) << line;
        EXPECT_TRUE(hasWord(line, effect.help)) << line;
        EXPECT_TRUE(hasWord(line, effect.code ? std::to_string(*effect.code) : "-")) << line;
    }
    EXPECT_EQ(found, catalogue::effects().size());
}

void expectField(const json &object, const Field &field)
{
    EXPECT_EQ(object.size(), 8u);
    EXPECT_EQ(object.at("name"), field.name);
    EXPECT_EQ(object.at("unit"), field.unit);
    EXPECT_EQ(object.at("min"), field.minimum);
    EXPECT_EQ(object.at("max"), field.maximum);
    EXPECT_EQ(object.at("default"), field.defaultValue);
    EXPECT_EQ(object.at("help"), field.help);
    ASSERT_EQ(object.at("choices").size(), field.choices.size());
    for (std::size_t i = 0; i < field.choices.size(); ++i) {
        EXPECT_EQ(object.at("choices")[i].at("name"), field.choices[i].name);
        EXPECT_EQ(object.at("choices")[i].at("value"), field.choices[i].value);
    }
    const bool whole =
        object.at("type") == "int32" || object.at("type") == "uint32" || object.at("type") == "bytes";
    EXPECT_EQ(whole, field.type != catalogue::FieldType::Float && field.type != catalogue::FieldType::Double);
    EXPECT_EQ(object.at("default").is_number_integer(), whole);
}

void expectEffect(const json &object, const Effect &effect)
{
    EXPECT_EQ(object.size(), 10u);
    EXPECT_EQ(object.at("name"), effect.name);
    EXPECT_EQ(object.at("export"), effect.exportName);
    if (effect.code)
        EXPECT_EQ(object.at("code"), *effect.code);
    else
        EXPECT_TRUE(object.at("code").is_null());
    EXPECT_EQ(object.at("family"), catalogue::familyName(effect.family));
    EXPECT_EQ(object.at("help"), effect.help);
    EXPECT_EQ(object.at("record"), effect.recordName);
    ASSERT_EQ(object.at("operands").size(), effect.operands.size());
    for (std::size_t i = 0; i < effect.operands.size(); ++i) {
        EXPECT_EQ(object.at("operands")[i].at("name"), effect.operands[i].name);
        EXPECT_EQ(object.at("operands")[i].at("kind"), catalogue::kindName(effect.operands[i].kind));
        EXPECT_EQ(object.at("operands")[i].at("result"), effect.operands[i].isResult);
        EXPECT_EQ(object.at("operands")[i].at("help"), effect.operands[i].help);
    }
    EXPECT_EQ(object.at("random"), effect.random);
    unsigned depths = 0;
    for (unsigned depth = 1; depth <= catalogue::Depth24; depth *= 2) {
        for (const json &name : object.at("depths"))
            depths |= name == catalogue::depthName(static_cast<catalogue::Depth>(depth)) ? depth : 0;
    }
    EXPECT_EQ(depths, effect.depths);
    ASSERT_EQ(object.at("fields").size(), effect.fields.size());
    for (std::size_t i = 0; i < effect.fields.size(); ++i)
        expectField(object.at("fields")[i], effect.fields[i]);
}

TEST_F(List, JsonIsTheWholeCatalogue)
{
    const Outcome outcome = run({"list", "--json"});
    EXPECT_EQ(outcome.exitCode, 0);
    const json list = json::parse(outcome.out);
    ASSERT_TRUE(list.is_array());
    ASSERT_EQ(list.size(), catalogue::effects().size());
    for (std::size_t i = 0; i < list.size(); ++i)
        expectEffect(list[i], catalogue::effects()[i]);
}

/// The first words of the lines that stand below a family.
std::vector<std::string> namesIn(const std::string &text)
{
    std::vector<std::string> names;
    for (const std::string &line : linesOf(text)) {
        if (line.starts_with("  "))
            names.push_back(line.substr(2, line.find(' ', 2) - 2));
    }
    return names;
}

TEST_F(List, IsNarrowedToAFamily)
{
    std::size_t found = 0;
    for (const std::string_view family : cli::familyWords()) {
        const Outcome outcome = run({"list", std::string(family)});
        EXPECT_EQ(outcome.exitCode, 0);
        EXPECT_EQ(outcome.out.rfind(family, 0), 0u);
        for (const std::string &name : namesIn(outcome.out)) {
            const Effect *const effect = catalogue::findEffect(name);
            ASSERT_TRUE(effect) << name;
            EXPECT_TRUE(catalogue::familyName(effect->family).starts_with(family)) << name;
            ++found;
        }
        const std::string whole(
            catalogue::familyName(catalogue::findEffect(namesIn(outcome.out)[0])->family));
        EXPECT_EQ(run({"list", whole}).out, outcome.out);
    }
    EXPECT_EQ(found, catalogue::effects().size());
    expectRefusal({"list", "fliters"}, 2, "there is no family \"fliters\"; did you mean filters?");
    expectRefusal({"list", "negative"}, 2,
                  "there is no family \"negative\"; there are " + cli::joined(cli::familyWords()));
}

TEST_F(List, IsSearched)
{
    const auto contains = [](std::string_view text, std::string_view part) {
        return text.find(part) != std::string_view::npos;
    };
    std::vector<std::string> expected;
    for (const Effect &effect : catalogue::effects()) {
        if (contains(effect.name, "blur") || contains(effect.exportName, "Blur") ||
            contains(effect.help, "blur"))
            expected.emplace_back(effect.name);
    }
    ASSERT_GT(expected.size(), 3u);
    EXPECT_EQ(namesIn(run({"list", "--search", "BLUR"}).out), expected);
    EXPECT_EQ(json::parse(run({"list", "--json", "--search", "blur"}).out).size(), expected.size());
    EXPECT_EQ(namesIn(run({"list", "tone", "--search", "ProcessSepia"}).out),
              std::vector<std::string>{"sepia"});
    expectRefusal({"list", "--search", "xyzzy"}, 2, "no effect has \"xyzzy\" in its name or its description");
}

TEST_F(List, SaysWhenItCannotWrite)
{
    const Outcome outcome =
        Program(folder(), {"/bin/sh", "-c", "exec \"$0\" list > /dev/full", programPath()}).finish();
    EXPECT_EQ(outcome.exitCode, 4);
    EXPECT_EQ(outcome.err, "velmont: standard output cannot be written: No space left on device\n");
}

TEST_F(List, HelpThatCannotBeWrittenIsAnError)
{
    const Outcome outcome =
        Program(folder(), {"/bin/sh", "-c", "exec \"$0\" apply --help > /dev/full", programPath()}).finish();
    EXPECT_EQ(outcome.exitCode, 4);
    EXPECT_EQ(outcome.err, "velmont: standard output cannot be written: No space left on device\n");
}

/// The reader has gone before the first byte; bash starts it with SIGPIPE as it is, or ignored.
TEST_F(List, EndsQuietlyWhereNobodyReads)
{
    for (const std::string before : {"", "trap '' PIPE; "}) {
        const std::string shell =
            before +
            "{ sleep 0.1; \"$0\" list; echo $? > code; } | true; until [ -s code ]; do sleep 0.01; done";
        const Outcome outcome = Program(folder(), {"/bin/sh", "-c", shell, programPath()}).finish();
        EXPECT_EQ(outcome.err, "");
        EXPECT_EQ(textOf("code"), "141\n");
        std::filesystem::remove(file("code"));
    }
}

TEST_F(Info, TellsAllAboutEveryEffect)
{
    for (const Effect &effect : catalogue::effects()) {
        const Outcome outcome = run({"info", std::string(effect.name)});
        EXPECT_EQ(outcome.exitCode, 0);
        EXPECT_EQ(outcome.err, "");
        EXPECT_EQ(outcome.out, cli::infoText(effect));
    }
}

TEST_F(Info, TextHasEveryField)
{
    EXPECT_EQ(cli::infoText(blend()), R"(blend: help

family   filters
export   None
code     none, by name only
depths   1-bit, 4-bit, 8-bit gray, 8-bit paletted and 24-bit
random   no

fields
  amount  help
          a whole number from -10 to 10; unit: pixels; default: 3
  ratio   help
          a number from 0 to 1; default: 0.25
  colour  help
          a colour as #rrggbb; default: #112233
  mode    help
          one of soft, hard; default: soft

example
  velmont apply blend amount=3 ratio=0.25 'colour=#112233' photo.png -o result.png
)");
}

TEST_F(Info, TellsPicturesBesideTheImage)
{
    const std::string text = cli::infoText(invertsItsMask());
    EXPECT_NE(text.find("\npictures beside the image\n"
                        "  mask=FILE  what to look at; read: alpha mask\n"
                        "  made=FILE  the mask's negative; written: alpha mask\n"),
              std::string::npos)
        << text;
    EXPECT_NE(text.find("velmont apply masked mask=mask.png made=made.png photo.png -o result.png\n"),
              std::string::npos)
        << text;
    EXPECT_NE(cli::infoText(*catalogue::findEffect("splash-cut-out")).find("\n  alpha=FILE     which"),
              std::string::npos);
}

TEST_F(Info, ExamplesAreShort)
{
    for (const Effect &effect : catalogue::effects()) {
        const std::string example = cli::exampleOf(effect);
        const auto words = static_cast<std::size_t>(std::ranges::count(example, ' ')) + 1;
        const std::size_t most = 3 + 3 + effect.operands.size() + 3 + 1;
        EXPECT_LE(words, most) << example;
    }
    EXPECT_EQ(cli::exampleOf(*catalogue::findEffect("to-1-bit")),
              "velmont apply to-1-bit threshold=127 photo.png -o result.png --convert");
}

/// As they stand, on a photo with the pictures that they name beside it.
TEST_F(Info, ExamplesRunAsTheyAre)
{
    save(Kind::Colour, 20, 15, file("photo.png"));
    for (const Effect &effect : catalogue::effects()) {
        for (const catalogue::Operand &operand : effect.operands) {
            const auto picture = file(std::string(operand.name) + ".png");
            if (operand.isResult)
                std::filesystem::remove(picture);
            else
                save(Kind::Gray, 20, 15, picture);
        }
        std::filesystem::remove(file("result.png"));
        const std::string text = cli::infoText(effect); // what the program prints, as above
        const std::string example = text.substr(text.rfind("\n  velmont apply ") + 10);
        const Outcome outcome =
            Program(folder(), {"/bin/sh", "-c", "exec \"$0\"" + example, programPath()}).finish();
        EXPECT_EQ(outcome.exitCode, 0) << example << outcome.err;
        EXPECT_TRUE(std::filesystem::exists(file("result.png"))) << example;
    }
}

TEST_F(Info, SaysWhatIsRandomAndWhatSettlesIt)
{
    for (const Effect &effect : catalogue::effects())
        EXPECT_EQ(cli::infoText(effect).find("--seed N") != std::string::npos, effect.random) << effect.name;
}

TEST_F(Info, JsonIsTheObjectOfTheList)
{
    const json list = json::parse(run({"list", "--json"}).out);
    for (const std::size_t i : {std::size_t{0}, list.size() / 2, list.size() - 1}) {
        const Outcome outcome = run({"info", "--json", list[i].at("name").get<std::string>()});
        EXPECT_EQ(outcome.exitCode, 0);
        EXPECT_EQ(json::parse(outcome.out), list[i]);
    }
}

TEST_F(Info, RefusesWhatIsNoEffect)
{
    expectRefusal({"info"}, 2, "info needs the name of an effect");
    expectRefusal({"info", "negativ"}, 2, "there is no effect \"negativ\"; did you mean negative?");
    expectRefusal({"info", "negative", "more"}, 2, "info: unexpected word \"more\"");
}

} // namespace

} // namespace velmont::test
