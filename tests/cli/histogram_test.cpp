#include "cli_test.h"
#include <algorithm>
#include <cstring>
#include <nlohmann/json.hpp>
#include <velmont/dib.h>
#include <velmont/memory.h>

namespace velmont::test {

namespace {

using nlohmann::json;

class HistogramCommand : public CliTest {
protected:
    /// Two pixels of red 10, green 20, blue 30 and one of red 200, green 0, blue 0.
    void saveThreePixels()
    {
        io::Picture picture;
        picture.dib = io::DibHandle(CreateDib(3, 1, 24, 2835, 0x001E140A));
        auto *const block = static_cast<uint8_t *>(KelMemLock(picture.dib.get()));
        constexpr uint8_t kRed[] = {0, 0, 200};
        std::memcpy(block + 40 + 6, kRed, sizeof kRed);
        KelMemUnlock(picture.dib.get());
        save(picture, file("three.bmp"));
    }
    json jsonOf(const std::vector<std::string> &arguments) const
    {
        const Outcome outcome = run(arguments);
        EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
        return json::parse(outcome.out);
    }
};

TEST_F(HistogramCommand, CountsEveryChannel)
{
    saveThreePixels();
    const json document = jsonOf({"histogram", "--json", "three.bmp"});
    EXPECT_EQ(document["width"], 3);
    EXPECT_EQ(document["height"], 1);
    ASSERT_EQ(document["channels"].size(), 4u);
    const auto expectChannel = [&](std::size_t index, const char *name,
                                   std::vector<std::pair<int, int>> counts) {
        const json &channel = document["channels"][index];
        EXPECT_EQ(channel["name"], name);
        std::vector<int> bins(256, 0);
        for (const auto &[level, count] : counts)
            bins[static_cast<std::size_t>(level)] = count;
        EXPECT_EQ(channel["bins"].get<std::vector<int>>(), bins) << name;
    };
    expectChannel(0, "red", {{10, 2}, {200, 1}});
    expectChannel(1, "green", {{20, 2}, {0, 1}});
    expectChannel(2, "blue", {{30, 2}, {0, 1}});
    expectChannel(3, "largest", {{30, 2}, {200, 1}});
}

TEST_F(HistogramCommand, SummarizesAChannel)
{
    saveThreePixels();
    const json red = jsonOf({"histogram", "three.bmp", "--json"})["channels"][0];
    EXPECT_EQ(red["darkest"], 10);
    EXPECT_EQ(red["median"], 10);
    EXPECT_EQ(red["lightest"], 200);
    EXPECT_DOUBLE_EQ(red["mean"].get<double>(), 220.0 / 3);
}

TEST_F(HistogramCommand, SaysWhatReadingCouldNotKeep)
{
    std::string tiff("II*\0\x0A\0\0\0\x34\x12\x08\0", 12);
    const auto put16 = [&](unsigned value) {
        tiff += {static_cast<char>(value & 0xFF), static_cast<char>(value >> 8)};
    };
    // Width, height, bits a sample, no compression, black is 0, where the sample lies, rows and bytes.
    constexpr unsigned kTags[][2] = {{256, 1}, {257, 1}, {258, 16}, {259, 1},
                                     {262, 1}, {273, 8}, {278, 1},  {279, 2}};
    for (const auto &[tag, value] : kTags)
        for (const unsigned word : {tag, 3u, 1u, 0u, value, 0u})
            put16(word);
    tiff.append(4, '\0');
    writeText("deep.tif", tiff);
    const Outcome outcome = run({"histogram", "deep.tif"});
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_EQ(outcome.err, "velmont: deep.tif: 16 bits a sample are reduced to 8\n");
    EXPECT_EQ(outcome.out.substr(0, outcome.out.find('\n')), "deep.tif: 1x1");
}

TEST_F(HistogramCommand, PlotsForATerminal)
{
    saveThreePixels();
    const Outcome outcome = run({"histogram", "three.bmp"});
    EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
    EXPECT_EQ(outcome.out.substr(0, outcome.out.find('\n')), "three.bmp: 3x1");
    EXPECT_NE(outcome.out.find("red: darkest 10, median 10, mean 73.3, lightest 200\n"), std::string::npos);
    // Two of the three reds are 10, in the third column of four levels each, which is thus full; the third red, half
    // as often, fills the lower four of eight rows of column 50.
    const auto plot = outcome.out.find("  |", outcome.out.find("red:"));
    const auto rowOf = [&](int row) {
        auto begin = plot;
        for (int i = 0; i < row; ++i)
            begin = outcome.out.find('\n', begin) + 1;
        return outcome.out.substr(begin, outcome.out.find('\n', begin) - begin);
    };
    const std::string full = "█";
    EXPECT_EQ(rowOf(0), "  |  " + full + std::string(61, ' ') + "|");
    EXPECT_EQ(rowOf(4), "  |  " + full + std::string(47, ' ') + full + std::string(13, ' ') + "|");
    EXPECT_EQ(rowOf(8), "  0" + std::string(62, ' ') + "255");
}

TEST_F(HistogramCommand, HasOneChannelForGray)
{
    save(Kind::Gray, 9, 5, file("gray.png"));
    const json document = jsonOf({"histogram", "--json", "--", "gray.png"});
    ASSERT_EQ(document["channels"].size(), 1u);
    EXPECT_EQ(document["channels"][0]["name"], "gray");
    int samples = 0;
    for (const int bin : document["channels"][0]["bins"])
        samples += bin;
    EXPECT_EQ(samples, 9 * 5);
}

TEST_F(HistogramCommand, RefusesAPaletteUnlessItMayConvert)
{
    save(Kind::Paletted, 9, 5, file("palette.png"));
    expectRefusal({"histogram", "palette.png"}, 3,
                  "histogram: palette.png is 8-bit paletted; histogram takes 8-bit gray and 24-bit; pass "
                  "--convert to count its colours");
    EXPECT_EQ(jsonOf({"histogram", "--convert", "--json", "palette.png"})["channels"].size(), 4u);
}

TEST_F(HistogramCommand, RefusesWhatIsNoImage)
{
    writeText("text.png", "no image");
    expectRefusal({"histogram", "text.png"}, 3, "text.png: not a PNG, JPEG, BMP, TIFF or WebP file");
    expectRefusal({"histogram"}, 2, "histogram needs one image");
    expectRefusal({"histogram", "a.png", "b.png"}, 2, "histogram needs one image");
}

} // namespace

} // namespace velmont::test
