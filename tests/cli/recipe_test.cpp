#include "cli_test.h"
#include "failure_of.h"
#include "field_value.h"
#include "made_up_effects.h"
#include "recipe.h"
#include "strict_json.h"
#include <cmath>
#include <cstring>
#include <nlohmann/json.hpp>

namespace velmont::test {

namespace {

using cli::ExitCode;
using cli::Recipe;
using cli::Step;

Recipe parse(const std::string &text)
{
    return cli::parseRecipe(text, {}, madeUpEffects());
}

std::string refusalOf(const std::string &text)
{
    return failureOf(ExitCode::Usage, [&] { parse(text); });
}

/// A recipe of one step of the made-up effect with fields.
std::string blendWith(const std::string &fields)
{
    return R"({"velmont": 1, "steps": [{"effect": "blend", "fields": {)" + fields + "}}]}";
}

BlendRecord recordOf(const Recipe &recipe)
{
    BlendRecord record;
    std::memcpy(&record, recipe.steps.at(0).record.bytes.data(), sizeof record);
    return record;
}

TEST(Recipe, StepsFieldsAndFilesAreRead)
{
    const Recipe recipe = parse(R"({"$schema": "recipe.schema.json", "velmont": 1, "steps": [
            {"effect": "blend", "fields": {"amount": -7, "ratio": 0.5, "colour": "#0a0B0c", "mode": "hard"}},
            {"effect": "plain"},
            {"effect": "masked", "files": {"mask": "m.png", "made": "sub/n.png"}}]})");
    ASSERT_EQ(recipe.steps.size(), 3u);
    const BlendRecord record = recordOf(recipe);
    EXPECT_EQ(record.amount, -7);
    EXPECT_EQ(record.ratio, 0.5f);
    EXPECT_EQ(record.colour, 0x000C0B0Au);
    EXPECT_EQ(record.mode, 2);
    EXPECT_EQ(recipe.steps[1].effect->name, "plain");
    ASSERT_EQ(recipe.steps[2].operands.size(), 2u);
    for (const cli::OperandFile &given : recipe.steps[2].operands)
        EXPECT_EQ(given.file, given.operand->isResult ? "sub/n.png" : "m.png");
}

TEST(Recipe, FieldsLeftOutAreAtTheirDefaults)
{
    const BlendRecord record = recordOf(parse(blendWith("\"mode\": \"hard\"")));
    EXPECT_EQ(record.amount, 3);
    EXPECT_EQ(record.ratio, 0.25f);
    EXPECT_EQ(record.colour, 0x00332211u);
    EXPECT_EQ(record.mode, 2);
}

TEST(Recipe, NumbersMayBeWrittenInAnyForm)
{
    EXPECT_EQ(recordOf(parse(blendWith("\"amount\": 1e1"))).amount, 10);
    EXPECT_EQ(recordOf(parse(blendWith("\"amount\": 4.0"))).amount, 4);
    EXPECT_EQ(recordOf(parse(blendWith("\"ratio\": 1"))).ratio, 1.0f);
}

TEST(Recipe, OptionsAreRead)
{
    const Recipe recipe = parse(R"({"velmont": 1, "steps": [{"effect": "plain"}], "seed": 4294967295,
        "convert": true, "mask": "m.png", "select": ["3,4", "1,2,3"], "feather": 5, "invert": true})");
    EXPECT_EQ(recipe.options.seed, "4294967295");
    EXPECT_TRUE(recipe.options.convert);
    EXPECT_EQ(recipe.options.mask, "m.png");
    EXPECT_EQ(recipe.options.select, (std::vector<std::string>{"3,4", "1,2,3"}));
    EXPECT_TRUE(recipe.options.invert);
    EXPECT_EQ(recipe.options.feather, "5");
    const Recipe bare = parse(R"({"velmont": 1, "steps": [{"effect": "plain"}]})");
    EXPECT_EQ(bare.options, cli::RecipeOptions{});
}

TEST(Recipe, FilesAreRelativeToItsFolder)
{
    const std::string text = R"({"velmont": 1, "steps": [{"effect": "masked", "files": {"mask": "m.png",
        "made": "/abs/n.png"}}], "mask": "sub/k.png"})";
    const Recipe recipe = cli::parseRecipe(text, "recipes/old", madeUpEffects());
    EXPECT_EQ(recipe.options.mask, "recipes/old/sub/k.png");
    for (const cli::OperandFile &given : recipe.steps[0].operands)
        EXPECT_EQ(given.file, given.operand->isResult ? "/abs/n.png" : "recipes/old/m.png");
}

TEST(Recipe, SaysWhereAFieldIsWrong)
{
    const auto refused = [](const std::string &field, const std::string &line) {
        EXPECT_EQ(refusalOf(blendWith(field)), "steps[0].fields." + line);
    };
    refused("\"amount\": 11", "amount: blend: amount=11 is out of range: a whole number from -10 to 10");
    refused("\"amount\": 1.5", "amount: blend: amount=1.5 is not understood: a whole number from -10 to 10");
    refused("\"amount\": \"5\"", "amount: \"5\" is not understood: a whole number from -10 to 10");
    refused("\"amount\": true", "amount: true is not understood: a whole number from -10 to 10");
    refused("\"amount\": null", "amount: null is not understood: a whole number from -10 to 10");
    refused("\"amount\": [1]", "amount: [1] is not understood: a whole number from -10 to 10");
    refused("\"amount\": 18446744073709551616",
            "amount: blend: amount=18446744073709551616 is out of range: a whole number from -10 to 10");
    refused("\"ratio\": 1.5", "ratio: blend: ratio=1.5 is out of range: a number from 0 to 1");
    refused("\"colour\": 255", "colour: 255 is not understood: a colour as #rrggbb");
    refused("\"colour\": \"red\"", "colour: blend: colour=red is not understood: a colour as #rrggbb");
    refused("\"mode\": \"hrd\"", "mode: blend: mode=hrd is not one of soft, hard; did you mean hard?");
    refused("\"mode\": 2", "mode: 2 is not understood: one of soft, hard");
    refused("\"mode\": \"a\\nb\"", "mode: \"a\\nb\" is not understood");
    refused("\"amout\": 1", "amout: blend: there is no field \"amout\"; did you mean amount?");
}

TEST(Recipe, SaysWhereTheFormIsWrong)
{
    const std::string step = R"({"velmont": 1, "steps": [{"effect": "plain"}, )";
    EXPECT_EQ(refusalOf("[]"), "[] is not understood: a recipe is an object such as "
                               R"({"velmont": 1, "steps": [{"effect": "negative"}]})");
    EXPECT_EQ(refusalOf(R"({"steps": []})"), "there is no key \"velmont\", the version of the form: 1");
    EXPECT_EQ(refusalOf(R"({"velmont": 2})"), "velmont: 2 is not understood: the version of the form is 1");
    EXPECT_EQ(refusalOf(R"({"velmont": 1})"),
              R"(there is no key "steps": a list of steps, one at least, such as [{"effect": "negative"}])");
    EXPECT_EQ(
        refusalOf(R"({"velmont": 1, "steps": []})"),
        R"(steps: [] is not understood: a list of steps, one at least, such as [{"effect": "negative"}])");
    EXPECT_EQ(refusalOf(R"({"velmont": 1, "stesp": []})"),
              "stesp: there is no such key; did you mean steps?");
    EXPECT_EQ(refusalOf(step + "7]}"),
              R"(steps[1]: 7 is not understood: a step is an object such as {"effect": "negative"})");
    EXPECT_EQ(refusalOf(step + "{}]}"), "steps[1]: there is no key \"effect\", the name of one");
    EXPECT_EQ(refusalOf(step + R"({"effect": "plin"}]})"),
              "steps[1].effect: there is no effect \"plin\"; did you mean plain?");
    EXPECT_EQ(refusalOf(step + R"({"effect": 3}]})"),
              "steps[1].effect: 3 is not understood: the name of an effect");
    EXPECT_EQ(refusalOf(step + R"({"effect": "plain", "x y": 1}]})"),
              R"(steps[1]["x y"]: there is no such key; there are effect, fields, files)");
    EXPECT_EQ(refusalOf(step + R"({"effect": "plain", "fields": []}]})"),
              "steps[1].fields: [] is not understood: fields and their values, as an object");
    EXPECT_EQ(refusalOf(step + R"({"effect": "plain", "fields": {"\u001b[2J": 1}}]})"),
              R"(steps[1].fields["\u001b[2J"]: there is no such field)");
}

TEST(Recipe, SaysWhereAFileIsWrong)
{
    const auto refused = [](const std::string &files, const std::string &line) {
        EXPECT_EQ(refusalOf(R"({"velmont": 1, "steps": [{"effect": "masked", "files": {)" + files + "}}]}"),
                  "steps[0]" + line);
    };
    refused("", ": masked needs mask=FILE: what to look at");
    refused(R"("mask": 3)", ".files.mask: 3 is not understood: the name of a file");
    refused(R"("mask": "")", ".files.mask: \"\" is not understood: the name of a file");
    refused(R"("mask": "a\u0000b")", ".files.mask: \"a\\u0000b\" is not understood: the name of a file");
    refused(R"("mask": "-")",
            ".files.mask: -: only the image itself can come through a pipe; name a file, or "
            "./- for one of that name");
    refused(R"("msk": "m.png")", ".files.msk: masked takes no such file; did you mean mask?");
    EXPECT_EQ(refusalOf(R"({"velmont": 1, "steps": [{"effect": "plain", "files": {"mask": "m.png"}}]})"),
              "steps[0].files.mask: plain takes no files");
    EXPECT_EQ(refusalOf(R"({"velmont": 1, "steps": [{"effect": "masked", "fields": {"mask": "m.png"}}]})"),
              "steps[0].fields.mask: is a file and belongs to \"files\"");
}

TEST(Recipe, SaysWhichOptionIsWrong)
{
    const auto refused = [](const std::string &option, const std::string &line) {
        EXPECT_EQ(refusalOf(R"({"velmont": 1, "steps": [{"effect": "plain"}], )" + option + "}"), line);
    };
    refused(R"("seed": -1)", "seed: -1 is not understood: a whole number from 0 to 4294967295");
    refused(R"("seed": 4294967296)",
            "seed: 4294967296 is not understood: a whole number from 0 to 4294967295");
    refused(R"("convert": 1)", "convert: 1 is not understood: true or false");
    refused(R"("mask": true)", "mask: true is not understood: the name of a file");
    refused(R"("select": "3,4")",
            R"(select: "3,4" is not understood: a list of places such as ["30,40", "5,6,10,20,30"])");
    refused(R"("select": ["3,4", 5])", R"(select[1]: 5 is not understood: a place such as "30,40")");
    EXPECT_EQ(refusalOf(R"({"velmont": 1, "steps": [{"effect": "plain"}], "select": ["x"]})").substr(0, 11),
              "select[0]: ");
    EXPECT_EQ(refusalOf(R"({"velmont": 1, "steps": [{"effect": "plain"}], "feather": 1001})").substr(0, 9),
              "feather: ");
}

TEST(Recipe, ErrorsOfSyntaxHaveALineAndAColumn)
{
    const auto place = [](const std::string &text) {
        const std::string line = refusalOf(text);
        return line.substr(0, line.find(": "));
    };
    EXPECT_EQ(place(""), "line 1, column 1");
    EXPECT_EQ(refusalOf("{\"velmont\" 1}"),
              "line 1, column 12: is not JSON: unexpected number literal; expected ':'");
    EXPECT_EQ(place("{\n  \"velmont\": 1,,\n}"), "line 2, column 16");
    EXPECT_EQ(place("{\"\xC3\xA9\xC3\xA9\": ]"), "line 1, column 8");
    EXPECT_EQ(place("{\"velmont\": 1} x"), "line 1, column 16");
    EXPECT_EQ(place("{\"velmont\": \"\xFF\"}"), "line 1, column 14");
    EXPECT_EQ(refusalOf(R"({"velmont": 1e999})"), "a number is too large");
    for (const char *text : {"{\"a\": \"\x1B[31m", "[1, 2, \"unfinished", "\xEF\xBB\xBF{", "nul"})
        EXPECT_EQ(refusalOf(text).find('\x1B'), std::string::npos);
}

TEST(Recipe, KeysGivenTwiceAreRefused)
{
    EXPECT_EQ(refusalOf(R"({"velmont": 1, "velmont": 1})"), "velmont: is given twice");
    EXPECT_EQ(refusalOf(R"({"steps": [{"effect": "plain"}, {"fields": {"a": {}, "a": 2}}]})"),
              "steps[1].fields.a: is given twice");
    EXPECT_EQ(refusalOf(R"({"steps": [[], 3, {"a": 1}, {"b": 1, "a": 1, "b": 1}]})"),
              "steps[3].b: is given twice");
}

TEST(Recipe, SizeAndNestingAreBounded)
{
    const auto nested = [](std::size_t depth) { return std::string(depth, '[') + std::string(depth, ']'); };
    EXPECT_NO_THROW(cli::parseStrictJson(nested(cli::kDeepestJson)));
    EXPECT_NE(refusalOf(nested(cli::kDeepestJson + 1)).find("is nested too deep: 32 levels are read"),
              std::string::npos);
    EXPECT_NE(refusalOf(std::string(cli::kLargestRecipe, '[')).find("is nested too deep"), std::string::npos);

    std::string large = blendWith("");
    large.append(cli::kLargestRecipe - large.size(), ' ');
    EXPECT_NO_THROW(parse(large));
    EXPECT_EQ(refusalOf(large + " "), "is too large for a recipe: 1 MiB at most");
}

TEST(Recipe, LongTextsAreShortenedInMessages)
{
    const std::string key(100000, 'k');
    EXPECT_LT(refusalOf("{\"" + key + "\": 1}").size(), 300u);
    EXPECT_LT(refusalOf(blendWith("\"" + key + "\": 1")).size(), 300u);
    EXPECT_LT(refusalOf(blendWith("\"mode\": \"" + key + "\"")).size(), 300u);
    EXPECT_LT(refusalOf("\"" + key + "\"").size(), 300u);
}

/// A value of a field as it is typed.
std::string typedValue(const catalogue::Field &field, int variant)
{
    if (!field.choices.empty())
        return std::string(field.choices[static_cast<std::size_t>(variant) % field.choices.size()].name);
    const double share = variant / 7.0;
    const double value = field.minimum + (field.maximum - field.minimum) * share;
    return cli::formatValue(field, cli::isWhole(field) || cli::isColour(field) ? std::floor(value) : value);
}

Step stepOf(const catalogue::Effect &effect, int variant)
{
    Step step{&effect, catalogue::defaultRecord(effect)};
    if (variant > 0)
        for (const catalogue::Field &field : effect.fields)
            cli::setField(step, field, typedValue(field, variant));
    for (const catalogue::Operand &operand : effect.operands)
        step.operands.push_back({&operand, "a \"file\"\n\xC3\xA9.png"});
    return step;
}

TEST(Recipe, OfEveryEffectComesBackAsItWas)
{
    for (const catalogue::Effect &effect : catalogue::effects()) {
        for (int variant = 0; variant <= 7; ++variant) {
            const Step step = stepOf(effect, variant);
            const Recipe back = cli::parseRecipe(cli::recipeText({{step}, {}}), {}, catalogue::effects());
            ASSERT_EQ(back.steps.size(), 1u);
            EXPECT_EQ(back.steps[0].effect, &effect);
            EXPECT_EQ(std::memcmp(&back.steps[0].record, &step.record, sizeof step.record), 0)
                << effect.name << " " << variant;
            ASSERT_EQ(back.steps[0].operands.size(), step.operands.size()) << effect.name;
            for (const cli::OperandFile &given : back.steps[0].operands)
                EXPECT_EQ(given.file, step.operands[0].file);
        }
    }
}

TEST(Recipe, ATableComesBackLevelByLevel)
{
    const catalogue::Effect &effect = *catalogue::findEffect("color-map");
    std::string table = "255";
    for (int level = 1; level < 256; ++level)
        table.append(",").append(std::to_string(level * 7 % 256));
    Step step{&effect, catalogue::defaultRecord(effect)};
    cli::storeValue(step.record.bytes.data(), effect, *catalogue::findField(effect, "table"), table);
    const std::string text = cli::recipeText({{step}, {}});
    EXPECT_NE(text.find("\"table\": \"" + table + "\""), std::string::npos);
    const Recipe back = cli::parseRecipe(text, {}, catalogue::effects());
    EXPECT_EQ(std::memcmp(&back.steps[0].record, &step.record, sizeof step.record), 0);
}

TEST(Recipe, OptionsComeBack)
{
    const std::string text =
        cli::recipeText({{stepOf(blend(), 0)}, {true, "m.png", {"1,2"}, true, "7", "3"}});
    const Recipe back = parse(text);
    EXPECT_EQ(back.options, (cli::RecipeOptions{true, "m.png", {"1,2"}, true, "7", "3"}));
    EXPECT_EQ(cli::recipeText(back), text);
}

TEST(Recipe, ANameThatIsNoUtf8CannotStandInIt)
{
    EXPECT_EQ(failureOf(ExitCode::Usage,
                        [] {
                            cli::recipeText({{stepOf(blend(), 0)}, {false, "\xFF.png", {}, false, {}, {}}});
                        }),
              "\xEF\xBF\xBD.png: names of files in a recipe are UTF-8, and this one is not");
}

TEST(Recipe, CommandQuotesWhatAShellWouldChange)
{
    Step step = stepOf(*catalogue::findEffect("splash-cut-out"), 0);
    for (cli::OperandFile &given : step.operands)
        given.file = given.operand->isResult ? "it's $new.png" : "alpha.png";
    EXPECT_EQ(
        cli::recipeCommand({{stepOf(blend(), 0), step}, {true, "m.png", {"1,2"}, true, "7", {}}}),
        "velmont apply blend then splash-cut-out alpha=alpha.png 'newAlpha=it'\\''s $new.png' --convert "
        "--mask m.png --seed 7 --select 1,2 --invert INPUT -o OUTPUT\n");
}

class RecipeFile : public CliTest {
protected:
    RecipeFile() { save(Kind::Colour, 23, 17, file("in.png")); }

    /// Expects that the words and the recipe made of them give the same bytes.
    void expectSame(std::vector<std::string> words) const
    {
        std::vector<std::string> show{"recipe", "--show"}, apply{"apply"};
        show.insert(show.end(), words.begin(), words.end());
        apply.insert(apply.end(), words.begin(), words.end());
        apply.insert(apply.end(), {"in.png", "-o", "words.png", "--force"});
        const Outcome shown = run(show);
        EXPECT_EQ(shown.err, "");
        writeText("r.json", shown.out);
        EXPECT_EQ(run(apply).exitCode, 0);
        EXPECT_EQ(run({"apply", "--recipe", "r.json", "in.png", "-o", "recipe.png", "--force"}).exitCode, 0);
        EXPECT_TRUE(textOf("recipe.png") == textOf("words.png")) << words.front();
        EXPECT_FALSE(textOf("recipe.png").empty());
    }
};

TEST_F(RecipeFile, GivesTheSameBytesAsTheWords)
{
    save(Kind::Gray, 23, 17, file("mask.png"));
    expectSame({"hue-saturation", "hueBlues=40", "then", "sepia"});
    expectSame({"to-gray", "then", "to-1-bit", "threshold=90"});
    expectSame({"to-1-bit", "--convert"});
    expectSame({"fill-color", "color=#ff8000", "mask=mask.png"});
    expectSame({"blur", "size=5", "--mask", "mask.png"});
}

TEST_F(RecipeFile, IsShownWithNamesAsTheyStandInIt)
{
    std::filesystem::create_directory(file("recipes"));
    save(Kind::Gray, 23, 17, file("recipes/mask.png"));
    const Outcome shown = run({"recipe", "--show", "fill-color", "mask=mask.png"});
    writeText("recipes/r.json", shown.out);
    EXPECT_EQ(run({"recipe", "--show", "recipes/r.json"}).out, shown.out);
    EXPECT_EQ(run({"recipe", "--command", "recipes/r.json"}).out,
              "velmont apply fill-color mask=recipes/mask.png INPUT -o OUTPUT\n");
    EXPECT_EQ(run({"recipe", "--check", "recipes/r.json"}).out, "recipes/r.json: a recipe of 1 step\n");
    EXPECT_EQ(run({"apply", "--recipe", "recipes/r.json", "in.png", "-o", "out.png"}).exitCode, 0);
}

TEST_F(RecipeFile, OptionsOfTheCommandLineComeFirst)
{
    writeText("r.json", R"({"velmont": 1, "steps": [{"effect": "negative"}], "mask": "missing.png"})");
    save(Kind::Gray, 23, 17, file("mask.png"));
    expectRefusal({"apply", "--recipe", "r.json", "in.png", "-o", "out.png"}, 3,
                  "missing.png: cannot be opened: No such file or directory");
    EXPECT_EQ(run({"apply", "--recipe", "r.json", "--mask", "mask.png", "in.png", "-o", "out.png"}).exitCode,
              0);
}

TEST_F(RecipeFile, RefusesWordsOfEffects)
{
    writeText("r.json", R"({"velmont": 1, "steps": [{"effect": "negative"}]})");
    for (const std::string word : {"sepia", "then", "size=3"})
        expectRefusal({"apply", "--recipe", "r.json", word, "in.png", "-o", "out.png"}, 2,
                      "--recipe brings the effects, \"" + word +
                          "\" is one word too many; an image of that name is given as ./" + word);
    expectRefusal({"apply", "--recipe", "r.json", "-o", "out.png"}, 2, "no image is given");
}

TEST_F(RecipeFile, IsNamedInErrors)
{
    writeText("r.json", R"({"velmont": 1, "steps": [{"effect": "negativ"}]})");
    const std::string line =
        "r.json: steps[0].effect: there is no effect \"negativ\"; did you mean negative?";
    expectRefusal({"apply", "--recipe", "r.json", "in.png", "-o", "out.png"}, 2, line);
    expectRefusal({"recipe", "--check", "r.json"}, 2, line);
    expectRefusal({"recipe", "--show", "r.json"}, 2, line);
    expectRefusal({"recipe", "--check", "no.json"}, 3, "no.json: No such file or directory");
    expectRefusal({"recipe", "--check", "."}, 3, ".: is a folder");
    expectRefusal({"recipe", "--check", "/dev/zero"}, 2,
                  "/dev/zero: is too large for a recipe: 1 MiB at most");
    for (const std::string name : {"-", ""})
        expectRefusal({"apply", "--recipe", name, "in.png", "-o", "out.png"}, 2,
                      "--recipe needs the name of a file");
}

TEST_F(RecipeFile, CommandRefusesWhatItDoesNotTake)
{
    expectRefusal({"recipe"}, 2, "recipe needs one of --show, --command and --check");
    expectRefusal({"recipe", "--show", "--check", "negative"}, 2,
                  "recipe needs one of --show, --command and --check");
    expectRefusal({"recipe", "--show"}, 2, "recipe needs effects or a file");
    expectRefusal({"recipe", "--show", "negative", "in.png"}, 2,
                  "unexpected word \"in.png\": effects and their fields are expected");
    expectRefusal({"recipe", "--show", "negative", "then"}, 2,
                  "\"then\" at the end needs an effect after it");
    expectRefusal({"recipe", "--check", "a.json", "b.json"}, 2, "recipe --check needs one file");
    writeText("r.json", R"({"velmont": 1, "steps": [{"effect": "negative"}]})");
    expectRefusal({"recipe", "--show", "--convert", "r.json"}, 2,
                  "recipe: options go with effects, and \"r.json\" is a recipe with its own");
}

} // namespace

} // namespace velmont::test
