// Water paper.

#include "core/clock.h"
#include "core/generator.h"
#include "tests/effects/filter_testing.h"
#include "tests/effects/painting_testing.h"
#include <array>
#include <velmont/effects.h>
#include <velmont/painting.h>

namespace velmont::testing {

namespace {

constexpr uint32_t kSecond = 1234567890;

Effect waterPaper(int brushSize, int brightness = 50, int contrast = 50)
{
    return [=](void *dib) {
        tagWaterPaperParam record{brushSize, brightness, contrast};
        return ProcessWaterPaper(dib, &record);
    };
}

/// The picture in a frame of its mirror image, q rows and columns wide, pixel by pixel; 0 beyond it.
struct Mirrored {
    const Canvas &source;
    int64_t q;

    static int64_t turned(int64_t k, int64_t q, int64_t length)
    {
        if (k < q)
            return q - k;
        if (k < q + length)
            return k - q;
        return length - 1 - (k - q - length);
    }
    int at(int64_t y, int64_t x, int64_t channel) const
    {
        if (y >= source.height + 2 * q || x >= source.width + 2 * q)
            return 0;
        return source.at(turned(y, q, source.height), turned(x, q, source.width), channel);
    }
};

Canvas softened(const Canvas &source, int s)
{
    const int64_t n = s / 2;
    if (n == 1)
        return source;
    Canvas to = source.cleared();
    if (n < 0)
        return to;
    const int64_t q = std::min({(n - n % 2) / 2, source.height - 1, source.width - 1});
    const Mirrored padded{source, q};
    for (int64_t y = 0; y < source.height; ++y)
        for (int64_t x = 0; x < source.width; ++x)
            for (int64_t channel = 0; channel < source.channels; ++channel) {
                int64_t sum = 0;
                for (int64_t j = 0; j < n; ++j)
                    for (int64_t i = 0; i < n; ++i) // of more than two columns the first is that of the row
                        sum += padded.at(y + j, i == 0 && n > 2 ? 0 : x + i, channel);
                to.at(y, x, channel) = static_cast<int>(sum / (n * n));
            }
    return to;
}

struct Hsv {
    double h, s, v;
};

Hsv waterRgbToHsv(int red, int green, int blue)
{
    const double r = red * 0.00392156862745098, g = green * 0.00392156862745098,
                 b = blue * 0.00392156862745098;
    const double max = std::max({r, g, b}), min = std::min({r, g, b});
    const double s = std::fabs(max) >= 1e-6 ? (max - min) / max : 0;
    if (std::fabs(s) < 1e-6)
        return {0, s, max};
    const double d = max - min, rc = (max - r) / d, gc = (max - g) / d, bc = (max - b) / d;
    double h = std::fabs(r - max) < 1e-6 ? bc - gc : std::fabs(g - max) < 1e-6 ? rc + 2 - bc : gc + 4 - rc;
    h *= 60;
    return {h < 0 ? h + 360 : h, s, max};
}

/// Red, green and blue.
std::array<int, 3> waterHsvToRgb(double h, double s, double v)
{
    std::array<double, 3> rgb{v, v, v};
    if (std::fabs(s) >= 1e-6) {
        h = (h == 360 ? 0 : h) * 0.016666666666666666;
        const int i = static_cast<int>(h);
        const double f = h - i, p = (1 - s) * v, q = (1 - f * s) * v, t = (1 - (1 - f) * s) * v;
        const std::array<double, 3> sectors[] = {{v, t, p}, {q, v, p}, {p, v, t},
                                                 {p, q, v}, {t, p, v}, {v, p, q}};
        rgb = sectors[i];
    }
    return {static_cast<int>(rgb[0] * 255.0), static_cast<int>(rgb[1] * 255.0),
            static_cast<int>(rgb[2] * 255.0)};
}

double curveAt(int i, int contrast)
{
    const int c = (contrast - 50) * 10;
    i = std::min(i, 999);
    int u;
    if (c < 0) {
        const int half = (c + 500) / 2, span = 2 * half;
        u = static_cast<int>(span != 0 ? i / (1000.0 / span) : 0.0) + 500 - half;
    } else {
        const int hi = 1000 - c;
        u = i >= hi ? 1000 : i <= c ? 0 : static_cast<int>((i - c) / ((hi - c) * 0.001));
    }
    return u >= 1000 ? 1.0 : u <= 0 ? 0.0 : u * 0.001;
}

void tone(Canvas &picture, int brightness, int contrast)
{
    const double shift = 2 * ((brightness - 50) * 0.01) / (11.0 - contrast * 0.1);
    for (int64_t y = 0; y < picture.height; ++y)
        for (int64_t x = 0; x < picture.width; ++x) {
            int *const pixel = &picture.at(y, x);
            const bool isColor = picture.channels == 3;
            const Hsv hsv = waterRgbToHsv(pixel[isColor ? 2 : 0], pixel[isColor ? 1 : 0], pixel[0]);
            const double v = std::clamp(shift + curveAt(static_cast<int>(hsv.v * 1000), contrast), 0.0, 1.0);
            const std::array<int, 3> rgb = waterHsvToRgb(hsv.h, hsv.s, v);
            if (isColor)
                std::copy(rgb.rbegin(), rgb.rend(), pixel);
            else
                pixel[0] = (rgb[0] + rgb[1] + rgb[2]) / 3;
        }
}

/// The rows without padding, one after the other.
std::vector<int> packedOf(const Canvas &picture)
{
    std::vector<int> packed;
    for (int64_t y = 0; y < picture.height; ++y)
        packed.insert(packed.end(), picture.bytes.begin() + y * picture.stride,
                      picture.bytes.begin() + y * picture.stride + picture.width * picture.channels);
    return packed;
}

void dash(Canvas &picture, int s, uint32_t second)
{
    const std::vector<int> packed = packedOf(picture);
    Numbers numbers(second);
    const int64_t half = s / 2, odd = s % 2, m = std::min<int64_t>(half, 5), width = picture.width,
                  height = picture.height, channels = picture.channels;
    const int range = std::max(35 - (s - 3) * (s - 3), 10);
    const double chance = 1 / (s * s * 5.0);
    const auto lighten = [&](int64_t y, int64_t x, int light) {
        for (int64_t channel = 0; channel < channels; ++channel) {
            const auto from = static_cast<std::size_t>((y * width + x) * channels + channel);
            if (picture.has(picture.place(y, x, channel)) && from < packed.size())
                picture.at(y, x, channel) = std::min(packed[from] + light, 255);
        }
    };
    for (int64_t i = 0; i < height; ++i)
        for (int64_t j = 0; j < width; ++j) {
            const auto amplitude = [&] {
                const int which = numbers.next() & 3, number = numbers.next();
                const int light = number % (which == 0 ? 2 * range : range);
                const auto at = static_cast<std::size_t>((i * width + j) * channels);
                const double v =
                    *std::max_element(packed.begin() + static_cast<std::ptrdiff_t>(at),
                                      packed.begin() + static_cast<std::ptrdiff_t>(at) + channels) *
                    0.00392156862745098;
                return v < 0.5 ? static_cast<int>(2 * ((0.5 - v) * light)) : light;
            };
            if (numbers.next() % 1000 * 0.001 < chance && j >= half && j <= width - half - odd) {
                const int light = amplitude();
                for (int64_t x = j - m; x <= j + m; ++x) {
                    lighten(i, x, light);
                    lighten(i, x + 1, light);
                }
            }
            if (numbers.next() % 1000 * 0.001 > 1 - chance && i >= half && i <= height - half - odd) {
                const int light = amplitude();
                for (int64_t y = i - m; y <= i + m; ++y) {
                    lighten(y, j, light);
                    lighten(y, j + 1, light);
                }
            }
        }
}

/// \return how many dark pixels drew just the chance
int stroke(Canvas &picture, int s, uint32_t second)
{
    const std::vector<int> packed = packedOf(picture);
    Numbers numbers(second);
    int equal = 0;
    const int64_t half = s / 2, odd = s % 2, width = picture.width, height = picture.height,
                  channels = picture.channels;
    const double threshold = s < 8 ? 0.5 : s < 15 ? 0.3 : s < 20 ? 0.2 : s < 30 ? 0.15 : 0.05;
    const auto color = [&](int64_t y, int64_t x, int64_t channel) {
        return packed[static_cast<std::size_t>((y * width + x) * channels + channel)];
    };
    const auto mix = [&](int64_t y, int64_t x, int64_t fromY, int64_t fromX) {
        for (int64_t channel = 0; channel < channels; ++channel)
            picture.at(y, x, channel) = (color(fromY, fromX, channel) + picture.at(y, x, channel)) / 2;
    };
    for (int64_t r = 0; r < height - 1; ++r)
        for (int64_t c = 0; c < width - 1; ++c) {
            int bright = 0, middle = 0;
            for (int64_t channel = 0; channel < channels; ++channel) {
                bright += color(r, c, channel) >= 200;
                middle += color(r, c, channel) >= 150;
            }
            if (bright > 0 || middle > 1)
                continue;
            const double number = numbers.next() % 10000 * 0.0001;
            equal += number == threshold ? 1 : 0;
            if (!(number < threshold))
                continue;
            if (r % 4 == 0 && c >= half && c <= width - half - odd)
                for (int64_t k = -half; k <= half + odd - 1; ++k) {
                    mix(r, c + k, r, c);
                    mix(r + 1, c + k, r + 1, c);
                }
            if (r % 4 == 2 && r >= half && r <= height - half - odd)
                for (int64_t k = -half; k <= half + odd - 1; ++k) {
                    mix(r + k, c, r, c);
                    mix(r + k, c + 1, r, c + 1);
                }
        }
    return equal;
}

/// The block that the effect makes, with zero padding.
Bytes papered(const Pieces &image, int s, int brightness, int contrast, uint32_t second = kSecond)
{
    Canvas picture = softened(Canvas(image), s);
    tone(picture, brightness, contrast);
    if (s <= 7)
        dash(picture, s, second);
    stroke(picture, s, second);
    return withoutPadding(image, bytesWith(image, picture));
}

/// Dark enough for strokes.
Pieces dark(Pieces image)
{
    for (uint8_t &byte : image.rows)
        byte = static_cast<uint8_t>(byte * 3 / 4);
    return image;
}

class WaterPaper : public ::testing::Test {
protected:
    WaterPaper() { stopClock(kSecond); }
    ~WaterPaper() override { runClock(); }

    NothingLost check_;
    Restore restore_;
};

TEST_F(WaterPaper, Refusals)
{
    expectPaintingRules(waterPaper(10));
    const Handle image = gray(5, 4).handle();
    EXPECT_EQ(eventsOfRefusal(image, [](void *dib) { return ProcessWaterPaper(dib, nullptr); }), Events{});
    EXPECT_EQ(EnhanceAndEffects(image, 4716, 0), nullptr);
    for (const int size : {-1, 0, 1}) {
        const long allocations = memory_hooks::counts().allocations;
        EXPECT_EQ(eventsOfRefusal(image, waterPaper(size)), (Events{"wait", "arrow"})) << size;
        EXPECT_EQ(memory_hooks::counts().allocations, allocations);
    }
}

// A single row has no strokes, and a brush of 8 leaves no dashes: a box of four and the tones, which keep whole
// thousandths. One row has no mirror image, so that the box starts at its pixel and sees black below and behind the row;
// the first column stays in each sum: 860, 890, 920, 690, 450 and 200 of 16.
TEST_F(WaterPaper, SofteningOfARowByHand)
{
    const Pieces row = levels({{200, 210, 220, 230, 240, 250}});
    EXPECT_EQ(withoutPadding(row, resultOf(row, waterPaper(8))), levels({{52, 54, 56, 42, 27, 11}}).bytes());
    const Pieces column = levels({{200}, {210}, {220}, {230}, {240}, {250}});
    // Down a column each box sees the four rows from its own on and nothing beside: 860, 900, 940, 720, 490, 250 of 16.
    EXPECT_EQ(withoutPadding(column, resultOf(column, waterPaper(8))),
              levels({{52}, {55}, {57}, {44}, {29}, {14}}).bytes());
}

// Two rows are mirrored once on each side, and so are the columns: rows 248 216 248 248 and 0, of which the boxes sum 960
// and 712. The last pixel's box lacks a column.
TEST_F(WaterPaper, SofteningOfTwoRowsByHand)
{
    const Pieces rows = levels({{216, 216, 216, 216}, {248, 248, 248, 248}});
    EXPECT_EQ(withoutPadding(rows, resultOf(rows, waterPaper(8))),
              levels({{239, 239, 239, 179}, {177, 177, 177, 132}}).bytes());
}

// Bright pixels but one that lacks a level: each box of 400 by 400 that has it is a level darker, by a part of the 35
// millions in its sum that no shortcut to a quotient may lose.
TEST_F(WaterPaper, MeansOfLargeBoxesAreCut)
{
    Pieces image = flat(gray(210, 210), 220);
    setPixel(image, 100, 100, {219});
    for (std::size_t i = 0; i < image.rows.size(); ++i)
        if (i % 212 >= 210)
            image.rows[i] = 0;
    EXPECT_EQ(withoutPadding(image, resultOf(image, waterPaper(800))), [&] {
        Pieces darker = image; // 219 is 858 thousandths
        for (std::size_t i = 0; i < darker.rows.size(); ++i)
            darker.rows[i] = i % 212 < 210 ? 218 : 0;
        return darker.bytes();
    }());
}

TEST_F(WaterPaper, TonesByHand)
{
    // A single pixel has neither dashes nor strokes, and its box is itself.
    const auto toneOf = [](uint8_t level, int brightness, int contrast) {
        const Bytes result = resultOf(levels({{level}}), waterPaper(2, brightness, contrast));
        return result.empty() ? -1 : static_cast<int>(result[1064]);
    };
    EXPECT_EQ(toneOf(255, 50, 50), 254); // the largest tone is that of 999 thousandths
    EXPECT_EQ(toneOf(0, 50, 50), 0);
    EXPECT_EQ(toneOf(52, 50, 50), 51); // 203 thousandths
    for (const int level : {0, 100, 255})
        EXPECT_EQ(toneOf(static_cast<uint8_t>(level), 50, 0), 127) << level; // flat in the middle
    EXPECT_EQ(toneOf(128, 50, 100), 255);
    EXPECT_EQ(toneOf(127, 50, 100), 0);
    // From the end of the stretched part on tones are whole: 850 thousandths of 217, 780 of 199, 670 of 171.
    EXPECT_EQ(toneOf(217, 50, 65), 255);
    EXPECT_EQ(toneOf(199, 50, 72), 255);
    EXPECT_EQ(toneOf(171, 50, 83), 255);
    EXPECT_EQ(toneOf(0, 100, 50), static_cast<int>(255 * (2 * 0.5 / 6)));
    EXPECT_EQ(toneOf(255, 0, 50), static_cast<int>(255 * (1 - 2 * 0.5 / 6)));
    // Nothing that is divided by nothing does harm.
    for (const int contrast : {110, INT32_MIN, INT32_MAX, -51, 1000})
        for (const int brightness : {50, INT32_MIN, INT32_MAX})
            EXPECT_GE(toneOf(100, brightness, contrast), 0);
}

TEST_F(WaterPaper, EveryMeasureAsThePlainLoop)
{
    constexpr std::array kSizes{10, 2, 7, 3, 8, 4, 15, 5, 6, 21, 30, -2, -7, 9};
    constexpr std::array<std::pair<int, int>, 5> kTones{{{50, 50}, {60, 40}, {30, 70}, {50, 0}, {90, 100}}};
    std::size_t next = 0;
    for (int width = 1; width <= 40; ++width)
        for (int height = 1; height <= 18; ++height)
            for (Pieces image : {gray(width, height), trueColor(width, height)}) {
                const int size = kSizes[++next % kSizes.size()];
                const auto [brightness, contrast] = kTones[next % kTones.size()];
                if (next % 3 != 0)
                    image = dark(image);
                const auto levelsOfCpu = cpuLevels();
                limitCpuLevel(levelsOfCpu[next % levelsOfCpu.size()]);
                ASSERT_EQ(withoutPadding(image, resultOf(image, waterPaper(size, brightness, contrast))),
                          papered(image, size, brightness, contrast))
                    << width << " x " << height << " x " << image.header.biBitCount << ", " << size << ", "
                    << brightness << ", " << contrast;
            }
}

// Many colours, more than a chunk a row.
TEST_F(WaterPaper, TonesOfAllColors)
{
    const Pieces image = trueColor(311, 150);
    for (const CpuLevel level : cpuLevels()) {
        limitCpuLevel(level);
        for (const auto &[brightness, contrast] : {std::pair{50, 50}, {65, 30}, {45, 62}})
            ASSERT_EQ(withoutPadding(image, resultOf(image, waterPaper(3, brightness, contrast))),
                      papered(image, 3, brightness, contrast));
    }
}

TEST_F(WaterPaper, LargeBrushes)
{
    for (const Pieces &image : {dark(gray(61, 33)), dark(trueColor(33, 61))})
        for (const int size : {40, 66, 131, 600})
            ASSERT_EQ(withoutPadding(image, resultOf(image, waterPaper(size))), papered(image, size, 50, 50))
                << size;
}

// On both sides of each size at which strokes become rarer.
TEST_F(WaterPaper, ChancesOfStrokesBySize)
{
    const Pieces image = dark(gray(90, 61));
    for (const int size : {7, 8, 14, 15, 19, 20, 29, 30})
        ASSERT_EQ(withoutPadding(image, resultOf(image, waterPaper(size))), papered(image, size, 50, 50))
            << size;
}

// A number that is the chance itself starts no stroke.
TEST_F(WaterPaper, StrokesBelowTheirChanceOnly)
{
    const Pieces image = dark(gray(60, 9));
    Canvas picture = softened(Canvas(image), 8);
    tone(picture, 50, 50);
    int equal = 0;
    for (uint32_t second = 0; second < 1000; ++second) {
        Canvas stroked = picture;
        const int some = stroke(stroked, 8, second);
        if (some == 0)
            continue;
        equal += some;
        stopClock(second);
        ASSERT_EQ(withoutPadding(image, resultOf(image, waterPaper(8))), papered(image, 8, 50, 50, second))
            << second;
    }
    EXPECT_GT(equal, 10);
}

// The generator goes on behind the strokes' numbers, which start from the second of the clock.
TEST_F(WaterPaper, SeedsFromTheClock)
{
    Pieces image = levels({{0, 0, 255}, {0, 0, 255}});
    velmont::srand(1);
    resultOf(image, waterPaper(2)); // one row of two dark pixels, if no dash made them brighter
    const int after = velmont::rand();
    Numbers numbers(kSecond);
    numbers.next();
    numbers.next();
    EXPECT_EQ(after, numbers.next());
    // Another second gives another picture.
    image = dark(trueColor(40, 30));
    const Bytes first = resultOf(image, waterPaper(5));
    EXPECT_EQ(resultOf(image, waterPaper(5)), first);
    stopClock(kSecond + 1);
    EXPECT_NE(resultOf(image, waterPaper(5)), first);
}

TEST_F(WaterPaper, AbortsLeaveTheGeneratorSeeded)
{
    for (const int size : {5, 10}) {
        const Pieces image = dark(trueColor(9, 7));
        const Handle source = image.handle();
        for (int n = 2; n <= 15; ++n) {
            velmont::srand(1);
            RecordingHost host;
            host.abortFromPoll(n);
            EXPECT_EQ(waterPaper(size)(source), nullptr);
            EXPECT_EQ(velmont::rand(), Numbers(kSecond).next()) << n;
        }
    }
}

TEST_F(WaterPaper, Events)
{
    const auto pass = [](int rows, int from) {
        Events events;
        for (int y = 0; y < rows; ++y) {
            events.push_back("poll");
            events.push_back(std::to_string(y * 100 / rows / 4 + from) + "%");
        }
        return events;
    };
    for (const Pieces &image : {gray(9, 7), trueColor(9, 7)}) {
        const Events start{"wait", "poll"}, end{"arrow", "100%"};
        EXPECT_EQ(eventsOf(image, waterPaper(10)),
                  joined({start, pass(7, 0), pass(7, 25), pass(6, 75), end}));
        EXPECT_EQ(eventsOf(image, waterPaper(5)),
                  joined({start, pass(7, 0), pass(7, 25), pass(7, 50), pass(6, 75), end}));
        EXPECT_EQ(eventsOf(image, waterPaper(3)),
                  joined({start, pass(7, 25), pass(7, 50), pass(6, 75), end})); // the box is a copy
        EXPECT_EQ(eventsOf(image, waterPaper(-4)),
                  joined({start, pass(7, 0), pass(7, 25), pass(7, 50), pass(6, 75), end}));
        expectAborts(image, waterPaper(10), 1, {"arrow", "100%"});
        expectAborts(image, waterPaper(5), 1, {"arrow", "100%"});
    }
}

TEST_F(WaterPaper, WithoutMemory)
{
    for (const Pieces &image : {gray(9, 11), trueColor(9, 11)}) {
        expectLostWithoutScratch(image, waterPaper(10), 2, {"wait", "poll", "arrow"});
        // A brush so large that there is no memory for it.
        const Handle source = image.handle();
        const std::vector<void *> before = memory_hooks::liveBlocks();
        EXPECT_EQ(waterPaper(INT32_MAX)(source), nullptr);
        EXPECT_EQ(memory_hooks::locksOn(source), 1);
        for (void *const handle : memory_hooks::liveBlocks())
            if (std::find(before.begin(), before.end(), handle) == before.end())
                KelMemFree(handle);
    }
    EXPECT_FALSE(resultOf(gray(9, 11), waterPaper(INT32_MIN)).empty());
}

// The result is asked for without zeros, and only a box of one writes its padding.
TEST_F(WaterPaper, Padding)
{
    const Pieces image = gray(5, 3);
    memory_hooks::setFillByte(0xCD);
    const Bytes result = resultOf(image, waterPaper(8)), copied = resultOf(image, waterPaper(3));
    ASSERT_EQ(result.size(), image.bytes().size());
    for (std::size_t i = 0; i < image.rows.size(); ++i)
        if (i % 8 >= 5) {
            EXPECT_EQ(result[1064 + i], 0xCD) << i;
        }
    EXPECT_EQ(copied.back(), image.rows.back());
}

TEST_F(WaterPaper, AsksForTheResultWithoutFlags)
{
    for (const Pieces &image : {gray(9, 8), trueColor(9, 8)}) {
        const Handle source = image.handle();
        memory_hooks::failAllocation(1);
        EXPECT_EQ(waterPaper(8)(source), nullptr);
        memory_hooks::failAllocation(0);
        EXPECT_EQ(memory_hooks::counts().lastFlags, 0u);
        EXPECT_EQ(memory_hooks::counts().lastBytes, image.bytes().size());
    }
}

// Dashes that reach past the end of a row lighten what lies there; behind the last row nothing is written.
TEST_F(WaterPaper, DashesPastTheEndOfARow)
{
    constexpr uint8_t kFill = 0x01;
    memory_hooks::setFillByte(kFill);
    for (const Pieces &image : {flat(gray(9, 3), 210), flat(trueColor(9, 3), 210)})
        for (const int size : {4, 5, 6, 7}) {
            const std::size_t stride = strideFor(9, image.header.biBitCount),
                              used = 9 * static_cast<std::size_t>(image.header.biBitCount) / 8;
            std::size_t touched = 0;
            for (uint32_t second = 0; second < 1000; ++second) {
                stopClock(second * 7919);
                const Bytes result = resultOf(image, waterPaper(size));
                ASSERT_EQ(result.size(), image.bytes().size());
                const std::size_t last = result.size() - stride;
                for (std::size_t i = last + used; i < result.size(); ++i)
                    ASSERT_EQ(result[i], kFill) << size << ", " << second;
                for (std::size_t i = last - stride + used; i < last; ++i)
                    touched += result[i] != kFill ? 1 : 0;
            }
            EXPECT_GT(touched, 0u) << size;
        }
}

TEST_F(WaterPaper, Code)
{
    const Pieces image = trueColor(12, 9);
    EXPECT_EQ(resultOf(image,
                       [](void *dib) {
                           tagWaterPaperParam record{6, 55, 45};
                           return EnhanceAndEffects(dib, 4716, reinterpret_cast<long>(&record));
                       }),
              resultOf(image, waterPaper(6, 55, 45)));
}

} // namespace

} // namespace velmont::testing
