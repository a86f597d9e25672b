#include "cli_test.h"
#include "dry_run.h"
#include "job_report.h"
#include "kept_notes.h"
#include "notes.h"
#include <nlohmann/json.hpp>
#include <regex>
#include <unistd.h>

namespace velmont::test {

namespace {

using Json = nlohmann::ordered_json;
using Names = std::vector<std::string>;

cli::JobReport someReport()
{
    cli::JobReport report;
    report.input = "a \xFF.jpg";
    report.output = "b.png";
    report.before = {640, 480, catalogue::Depth24};
    report.after = {320, 240, catalogue::Depth8Gray};
    report.steps = {{"negative", 0.25, 307200}, {"to-gray", 0, 307200}};
    report.readSeconds = 0.5;
    report.writeSeconds = 0.0625;
    report.seconds = 1;
    report.notes = {"a note", "\xC3\xA9\xFE"};
    report.made = {"mask.png"};
    return report;
}

TEST(Report, AsJson)
{
    EXPECT_EQ(cli::toJson(someReport()).dump(),
              "{\"input\":\"a \xEF\xBF\xBD.jpg\",\"output\":\"b.png\","
              R"("before":{"width":640,"height":480,"depth":"24-bit"},)"
              R"("after":{"width":320,"height":240,"depth":"8-bit gray"},)"
              R"("steps":[{"effect":"negative","seconds":0.25,"pixels":307200},)"
              R"({"effect":"to-gray","seconds":0.0,"pixels":307200}],)"
              "\"readSeconds\":0.5,\"writeSeconds\":0.0625,\"seconds\":1.0,"
              "\"notes\":[\"a note\",\"\xC3\xA9\xEF\xBF\xBD\"],\"made\":[\"mask.png\"]}");
}

TEST(Report, OfADryRunAsJson)
{
    cli::JobReport report = someReport();
    report.plan = {"read a", "write b"};
    const Json json = cli::toJson(report);
    EXPECT_EQ(json["plan"], (Json{"read a", "write b"}));
    EXPECT_FALSE(json.contains("after") || json.contains("steps") || json.contains("seconds"));
}

TEST(Report, ResultsAsOneObject)
{
    const Json failure = cli::toJson(cli::JobFailure{"x\xFF.png", 3, "bad \xFF"});
    EXPECT_EQ(failure.dump(), "{\"input\":\"x\xEF\xBF\xBD.png\",\"code\":3,\"error\":\"bad \xEF\xBF\xBD\"}");
    const std::string text = cli::resultsText({cli::toJson(someReport())}, {failure});
    EXPECT_EQ(text.back(), '\n');
    const Json whole = Json::parse(text);
    EXPECT_EQ(whole["results"], Json::array({cli::toJson(someReport())}));
    EXPECT_EQ(whole["failed"], Json::array({failure}));
    EXPECT_EQ(Json::parse(cli::resultsText({}, {})),
              (Json{{"results", Json::array()}, {"failed", Json::array()}}));
}

TEST(Report, TimesAreLines)
{
    cli::JobReport report = someReport();
    report.input = "a.jpg";
    EXPECT_EQ(cli::timingLines(report),
              (Names{"a.jpg: read: 500 ms", "a.jpg: negative: 250 ms, 1.23 MP/s", "a.jpg: to-gray: 0.00 ms",
                     "a.jpg: write: 62.5 ms", "a.jpg: total: 1000 ms"}));
}

TEST(Report, KeepsNotesWhileItIsMade)
{
    cli::say("before");
    {
        const cli::KeptNotes notes;
        cli::say("first");
        cli::say("second");
        EXPECT_EQ(notes.lines(), (Names{"first", "second"}));
    }
    cli::say("after");
}

class Telling : public CliTest {
protected:
    Telling() { save(Kind::Colour, 23, 17, file("in.png")); }
};

TEST_F(Telling, TimesAreSaidOfEveryStep)
{
    const Outcome outcome = run({"apply", "to-1-bit", "then", "negative", "in.png", "-o", "out.png",
                                 "--convert", "--quiet", "--timing"});
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_EQ(outcome.out, "");
    const std::string time = R"(: [0-9]+(\.[0-9]+)? ms)", speed = R"((, [0-9]+(\.[0-9]+)? MP/s)?)";
    const std::regex lines("velmont: in.png: read" + time + "\nvelmont: in.png: to-gray" + time + speed +
                           "\nvelmont: in.png: to-1-bit" + time + speed + "\nvelmont: in.png: negative" +
                           time + speed + "\nvelmont: in.png: write" + time + "\nvelmont: in.png: total" +
                           time + "\n");
    EXPECT_TRUE(std::regex_match(outcome.err, lines)) << outcome.err;
}

TEST_F(Telling, ResultsAsJson)
{
    save(Kind::Gray, 23, 17, file("alpha.png"));
    const Outcome outcome = run({"apply", "splash-cut-out", "alpha=alpha.png", "newAlpha=moved.png", "then",
                                 "to-1-bit", "in.png", "-o", "out.png", "--convert", "--json"});
    EXPECT_EQ(outcome.exitCode, 0);
    const Json whole = Json::parse(outcome.out);
    ASSERT_EQ(whole["results"].size(), 1u);
    EXPECT_TRUE(whole["failed"].empty());
    const Json &report = whole["results"][0];
    EXPECT_EQ(report["input"], "in.png");
    EXPECT_EQ(report["output"], "out.png");
    EXPECT_EQ(report["before"], (Json{{"width", 23}, {"height", 17}, {"depth", "24-bit"}}));
    EXPECT_EQ(report["after"], (Json{{"width", 23}, {"height", 17}, {"depth", "1-bit"}}));
    ASSERT_EQ(report["steps"].size(), 3u);
    EXPECT_EQ(report["steps"][0]["effect"], "splash-cut-out");
    EXPECT_EQ(report["steps"][1]["effect"], "to-gray");
    EXPECT_EQ(report["steps"][1]["pixels"], 23 * 17);
    EXPECT_EQ(report["made"], Json::array({"moved.png"}));
    EXPECT_EQ(
        report["notes"],
        Json::array({"to-1-bit: in.png after splash-cut-out is 24-bit; converted first with \"to-gray\""}));
    double parts = report["readSeconds"].get<double>() + report["writeSeconds"].get<double>();
    for (const Json &step : report["steps"])
        parts += step["seconds"].get<double>();
    EXPECT_GT(parts, 0);
    EXPECT_LE(parts, report["seconds"].get<double>());
}

TEST_F(Telling, AFailureAsJson)
{
    const Outcome outcome = run({"apply", "negative", "no.png", "-o", "out.png", "--json"});
    EXPECT_EQ(outcome.exitCode, 3);
    EXPECT_EQ(outcome.err, "velmont: no.png: cannot be opened: No such file or directory\n");
    EXPECT_EQ(Json::parse(outcome.out),
              (Json{{"results", Json::array()},
                    {"failed",
                     Json::array({{{"input", "no.png"},
                                   {"code", 3},
                                   {"error", "no.png: cannot be opened: No such file or directory"}}})}}));
}

class DryRun : public CliTest {
protected:
    DryRun() { save(Kind::Colour, 23, 17, file("in.png")); }

    Outcome dry(std::vector<std::string> words) const
    {
        words.insert(words.begin(), "apply");
        words.insert(words.end(), {"in.png", "--dry-run"});
        return run(words);
    }

    /// Expects the same exit code and line from a dry run and the run itself, and no file of either.
    void expectBothRefused(std::vector<std::string> words) const
    {
        const Names before = files();
        const Outcome told = dry(words);
        words.insert(words.begin(), "apply");
        words.insert(words.end(), "in.png");
        const Outcome done = run(words);
        EXPECT_NE(done.exitCode, 0);
        EXPECT_EQ(told.exitCode, done.exitCode);
        EXPECT_EQ(told.err, done.err);
        EXPECT_EQ(told.out, "");
        EXPECT_EQ(files(), before);
    }
};

TEST_F(DryRun, TellsWhatWouldBeDoneAndLeavesNoTrace)
{
    save(Kind::Gray, 23, 17, file("alpha.png"));
    const Names before = files();
    const Outcome outcome = dry({"splash-cut-out", "amount=40", "alpha=alpha.png", "newAlpha=moved.png",
                                 "then", "to-1-bit", "then", "to-1-bit", "-o", "out.jpg", "--convert"});
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(outcome.out, "read in.png: 23 x 17, 24-bit\n"
                           "read alpha.png, the alpha of splash-cut-out\n"
                           "run splash-cut-out amount=40 alpha=alpha.png newAlpha=moved.png\n"
                           "convert with to-gray: to-1-bit does not take 24-bit\n"
                           "run to-1-bit\n"
                           "leave out to-1-bit: in.png after to-1-bit is 1-bit already\n"
                           "write out.jpg as JPEG\n"
                           "write moved.png as PNG\n");
    EXPECT_EQ(files(), before);
}

TEST_F(DryRun, AsJson)
{
    const Json whole = Json::parse(dry({"negative", "-o", "out.png", "--json"}).out);
    EXPECT_EQ(whole["results"][0]["plan"],
              (Json{"read in.png: 23 x 17, 24-bit", "run negative", "write out.png as PNG"}));
    EXPECT_EQ(files(), Names{"in.png"});
}

TEST_F(DryRun, EndsAsTheRunWould)
{
    save(Kind::Gray, 22, 17, file("small.png"));
    writeText("text.png", "text");
    writeText("taken.png", "precious");
    expectBothRefused({"negativ", "-o", "out.png"});
    expectBothRefused({"median", "size=1000", "-o", "out.png"});
    expectBothRefused({"to-1-bit", "-o", "out.png"});
    expectBothRefused({"to-gray", "then", "to-1-bit", "then", "to-1-bit", "-o", "out.png"});
    expectBothRefused({"splash-cut-out", "alpha=small.png", "-o", "out.png"});
    expectBothRefused({"splash-cut-out", "alpha=text.png", "-o", "out.png"});
    expectBothRefused({"splash-cut-out", "alpha=no.png", "-o", "out.png"});
    expectBothRefused({"negative", "--mask", "small.png", "-o", "out.png"});
    expectBothRefused({"negative", "-o", "taken.png"});
    expectBothRefused({"negative", "-o", "no/out.png"});
    expectBothRefused({"negative", "-o", "out.xyz"});
    expectBothRefused({"negative", "-o", "-"});
}

TEST_F(DryRun, LooksIntoTheFolderOfTheOutput)
{
    if (geteuid() == 0)
        GTEST_SKIP() << "every folder can be written into";
    std::filesystem::create_directory(file("locked"));
    std::filesystem::permissions(file("locked"),
                                 std::filesystem::perms::owner_read | std::filesystem::perms::owner_exec);
    expectBothRefused({"negative", "-o", "locked/out.png"});
    std::filesystem::permissions(file("locked"), std::filesystem::perms::owner_all);
}

TEST_F(DryRun, KnowsOfEveryEffectWhatBecomesOfTheForm)
{
    for (const catalogue::Effect &effect : catalogue::effects()) {
        for (const Kind kind : kKinds) {
            const io::DibHandle dib = makeDib(kind, 64, 48);
            const cli::PictureShape before = cli::shapeOf(dib.get());
            if ((effect.depths & before.depth) == 0)
                continue;
            catalogue::Record record = catalogue::defaultRecord(effect);
            std::vector<io::DibHandle> operands;
            for (const catalogue::Operand &operand : effect.operands) {
                if (operand.isResult)
                    continue;
                const bool isMask = operand.kind == catalogue::OperandKind::AlphaMask ||
                                    operand.kind == catalogue::OperandKind::LooseAlphaMask;
                const bool isBits = operand.kind == catalogue::OperandKind::BitMask;
                operands.push_back(makeDib(isBits ? Kind::OneBit : isMask ? Kind::Gray : kind, 64, 48));
                operand.handle(record.bytes.data()) = operands.back().get();
            }
            void *const result = catalogue::apply(effect, dib.get(), record);
            ASSERT_TRUE(result) << effect.name;
            const cli::PictureShape after = cli::shapeOf(result);
            const unsigned told = cli::resultDepth(effect, before.depth);
            EXPECT_TRUE(told == 0 || told == after.depth) << effect.name;
            EXPECT_TRUE(effect.resizes || (after.width == 64 && after.height == 48)) << effect.name;
            const io::DibHandle freed(result != dib.get() ? result : nullptr);
            for (const catalogue::Operand &operand : effect.operands)
                if (operand.isResult)
                    const io::DibHandle made(operand.handle(record.bytes.data()));
        }
    }
}

} // namespace

} // namespace velmont::test
