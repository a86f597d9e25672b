#include "cli_test.h"

namespace velmont::test {

namespace {

/// Every way in which apply says no: the command line, then the input, then the output.
class Refusals : public CliTest {
protected:
    Refusals() { save(Kind::Gray, 13, 7, file("in.png")); }
    ~Refusals() override { EXPECT_FALSE(std::filesystem::exists(file("out.png"))); }

    void refuses(std::vector<std::string> words, int exitCode, const std::string &line) const
    {
        words.insert(words.begin(), "apply");
        words.insert(words.end(), {"-o", "out.png"});
        expectRefusal(words, exitCode, line);
    }
};

TEST_F(Refusals, WhatIsMissing)
{
    refuses({}, 2, "apply needs an effect and an image");
    refuses({"negative"}, 2, "no image is given");
    refuses({"negative", "in.png", "then"}, 2, "\"then\" at the end needs an effect after it");
    expectRefusal({"apply", "negative", "in.png"}, 2, "no output is given: -o FILE");
    expectRefusal({"apply", "negative", "in.png", "-o", ""}, 2, "no output is given: -o FILE");
}

TEST_F(Refusals, OptionsWithoutTheirValueOrTwice)
{
    expectRefusal({"apply", "negative", "in.png", "-o"}, 2, "--output needs a value");
    expectRefusal({"apply", "negative", "in.png", "--quality"}, 2, "--quality needs a value");
    expectRefusal({"apply", "negative", "in.png", "-o", "out.png", "-o", "out.png"}, 2,
                  "--output is given twice");
}

TEST_F(Refusals, EffectsAndFields)
{
    refuses({"negativ", "in.png"}, 2, "there is no effect \"negativ\"; did you mean negative?");
    refuses({"to-1-bit", "treshold=3", "in.png"}, 2,
            "to-1-bit: there is no field \"treshold\"; did you mean threshold?");
    refuses({"negative", "threshold=3", "in.png"}, 2,
            "negative: there is no field \"threshold\"; it takes none");
    refuses({"to-1-bit", "threshold=3", "threshold=4", "in.png"}, 2, "to-1-bit: threshold is given twice");
}

TEST_F(Refusals, Values)
{
    refuses({"to-1-bit", "threshold=300", "in.png"}, 2,
            "to-1-bit: threshold=300 is out of range: a whole number from -1 to 255");
    refuses({"to-1-bit", "threshold=12.5", "in.png"}, 2,
            "to-1-bit: threshold=12.5 is not understood: a whole number from -1 to 255");
    refuses({"to-1-bit", "threshold=", "in.png"}, 2,
            "to-1-bit: threshold= is not understood: a whole number from -1 to 255");
}

TEST_F(Refusals, NamesThatAreNearlyRight)
{
    refuses({"wind", "direction=from-letf", "in.png"}, 2,
            "wind: direction=from-letf is not one of from-right, from-left; did you mean from-left?");
    const auto refusesCommand = [&](std::vector<std::string> words, const std::string &line) {
        words.insert(words.end(), {"in.png", "-o", "out.png"});
        expectRefusal(words, 2, line);
    };
    refusesCommand(
        {"gradient", "--shape", "lien"},
        "gradient-fill: shape=lien is not one of square, rectangle, ellipse, circle, line; did you "
        "mean line?");
    refusesCommand({"resize", "--size", "5x5", "--method", "fats"},
                   "--method=fats is not understood: smooth or fast; did you mean fast?");
    refusesCommand(
        {"rotate", "--by", "rigth"},
        "--by=rigth is not understood: left, right, half, or whole degrees clockwise; did you mean right?");
    expectRefusal({"apply", "negative", "in.png", "-o", "out.pgn"}, 2,
                  "out.pgn: the ending names no format: use .png, .jpg, .jpeg, .jpe, .bmp, .dib, .tif, .tiff "
                  "or .webp; did you mean .png?");
}

TEST_F(Refusals, TheWholeChainIsReadBeforeAnyWork)
{
    refuses({"negative", "then", "to-1-bit", "threshold=300", "missing.png"}, 2,
            "to-1-bit: threshold=300 is out of range: a whole number from -1 to 255");
}

TEST_F(Refusals, InputsThatAreNoImage)
{
    writeText("text.png", "This is no image.");
    writeText("empty.png", "");
    writeText("short.png", textOf("in.png").substr(0, 60));
    for (const std::string name : {"missing.png", "text.png", "empty.png", "short.png"}) {
        const Outcome outcome = run({"apply", "negative", name, "-o", "out.png"});
        EXPECT_EQ(outcome.exitCode, 3) << name;
        EXPECT_EQ(outcome.err.rfind("velmont: " + name + ": ", 0), 0u) << outcome.err;
        EXPECT_EQ(outcome.err.find('\n'), outcome.err.size() - 1) << outcome.err;
    }
}

TEST_F(Refusals, ImagesAboveTheLimit)
{
    save(Kind::Colour, 8, 4, file("in.png"));
    save(Kind::Gray, 9, 4, file("large.png"));
    const std::string inTooLarge =
        "in.png: PNG: an image of 8x4 is too large, at most 31 pixels are read (--max-pixels)";
    expectRefusal({"apply", "negative", "in.png", "-o", "out.png", "--max-pixels", "31"}, 3, inTooLarge);
    expectRefusal({"histogram", "in.png", "--max-pixels", "31"}, 3, inTooLarge);
    EXPECT_EQ(run({"histogram", "in.png", "--max-pixels", "32"}).exitCode, 0);
    const std::string largeTooLarge =
        "large.png: PNG: an image of 9x4 is too large, at most 32 pixels are read (--max-pixels)";
    for (std::vector<std::string> words :
         {std::vector<std::string>{"apply", "negative", "--mask", "large.png"},
          {"apply", "texturize", "texture=large.png"},
          {"apply", "texturize", "texture=large.png", "--dry-run"},
          {"fill", "--mask", "large.png"}}) {
        words.insert(words.end(), {"in.png", "-o", "out.png", "--max-pixels", "32"});
        expectRefusal(words, 3, largeTooLarge);
    }
    expectSilence(
        {"apply", "texturize", "texture=large.png", "in.png", "-o", "made.png", "--max-pixels", "36"});
}

TEST_F(Refusals, OutputsThatCannotBeWritten)
{
    std::filesystem::create_directories(file("folder.png/in.png"));
    expectRefusal({"apply", "negative", "in.png", "-o", "folder.png", "--force"}, 4,
                  "folder.png/in.png: is a folder");
    expectRefusal({"apply", "negative", "in.png", "-o", "nowhere/out.png"}, 4,
                  "nowhere/out.png: there is no folder nowhere");
    const Outcome outcome = run({"apply", "negative", "in.png", "-o", std::string(300, 'n') + ".png"});
    EXPECT_EQ(outcome.exitCode, 4);
    EXPECT_NE(outcome.err.find("nnn.png: "), std::string::npos) << outcome.err;
    EXPECT_EQ(files(), (std::vector<std::string>{"folder.png", "in.png"}));
}

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
TEST_F(Refusals, AnEffectWithoutMemoryHasNoResult)
{
    save(Kind::OneBit, 12000, 12000, file("large.bmp"));
    const std::string shell = "ulimit -v 300000; exec \"$0\" apply to-24-bit large.bmp -o out.png";
    const Outcome outcome = Program(folder(), {"/bin/sh", "-c", shell, programPath()}).finish();
    EXPECT_EQ(outcome.exitCode, 5);
    EXPECT_EQ(outcome.err, "velmont: to-24-bit: large.bmp: no result: out of memory, or nothing to do\n");
    EXPECT_EQ(outcome.signal, 0);
}
#endif

} // namespace

} // namespace velmont::test
