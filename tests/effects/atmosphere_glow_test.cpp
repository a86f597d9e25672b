// Glowing edges: pixels by hand, both rank filters against windows that are walked pixel by pixel, failures.

#include "artistic/glow_filters.h"
#include "tests/effects/atmosphere_testing.h"
#include <cmath>
#include <cstring>
#include <set>

namespace velmont::testing {

namespace {

Effect glow(int spread, int band, int edgePower)
{
    return effectOf<&ProcessGlowEdge>(tagGlowEdge{spread, band, edgePower});
}

/// One number for each pixel.
struct Plane {
    int width, height;
    std::vector<int> at;

    Plane(int w, int h) : width(w), height(h), at(static_cast<std::size_t>(w) * static_cast<std::size_t>(h))
    {
    }
    int &of(int x, int y) { return at.at(static_cast<std::size_t>(y * width + x)); }
};

int wholeNumber(double value)
{
    if (std::isnan(value))
        return 0;
    return value >= 2147483647.0 ? INT_MAX : value <= -2147483648.0 ? INT_MIN : static_cast<int>(value);
}

struct Neighbour {
    int dx, dy, weightX, weightY;
};
constexpr Neighbour kNeighbours[] = {{-1, 0, -2, 0}, {0, 1, 0, 2},   {1, 0, 2, 0},     {0, -1, 0, -2},
                                     {1, -1, 1, -1}, {-1, 1, -1, 1}, {-1, -1, -1, -1}, {1, 1, 1, 1}};

/// Squared gradients of a plane.
Plane squaresOf(Plane plane)
{
    Plane squares(plane.width, plane.height);
    for (int y = 1; y <= plane.height - 2; ++y)
        for (int x = 1; x <= plane.width - 2; ++x) {
            int across = 0, along = 0;
            for (const Neighbour &each : kNeighbours) {
                across += each.weightX * plane.of(x + each.dx, y + each.dy);
                along += each.weightY * plane.of(x + each.dx, y + each.dy);
            }
            squares.of(x, y) = across * across + along * along;
        }
    return squares;
}

/// Both power curves; nothing where the range is empty.
bool bend(Plane &plane, int band, int edgePower)
{
    // Volatile, or g++ 12 drops the rounding to floats here too, as it did in the effect.
    const volatile float first = static_cast<float>(edgePower * 0.016666668 + 0.3),
                         second = static_cast<float>(1 - band * 0.016666668);
    for (int &value : plane.at)
        value = wholeNumber(std::pow(double(value), double(first)));
    auto high = static_cast<float>(plane.at[0]), low = high;
    for (const int value : plane.at) {
        high = std::max(high, static_cast<float>(value));
        low = std::min(low, static_cast<float>(value));
    }
    if (high == low)
        return false;
    const double unit = std::pow(double(high) - double(low), double(second));
    for (int &value : plane.at) {
        const int v =
            wholeNumber(std::pow(double(value) - double(low), double(second)) * (band * 10.0 + 255) / unit);
        value = std::clamp(wholeNumber((v * 0.01 + band * 0.06 + 1.8) * v), 0, 255);
    }
    return true;
}

std::vector<int> valuesIn(Plane &plane, const std::set<int> &columns, int fromRow, int toRow)
{
    std::vector<int> values;
    for (int y = std::max(0, fromRow); y <= std::min(plane.height - 1, toRow); ++y)
        for (const int x : columns)
            values.push_back(plane.of(x, y));
    std::sort(values.begin(), values.end(), std::greater<>());
    return values;
}

Plane medians(Plane plane)
{
    Plane result(plane.width, plane.height);
    const int w = plane.width;
    for (int y = 0; y < plane.height; ++y) {
        std::set<int> columns{0};
        const auto add = [&](int x) {
            if (x < w)
                columns.insert(x);
        };
        const auto readOut = [&](int x) {
            const std::vector<int> values = valuesIn(plane, columns, y - 1, y + 1);
            result.of(x, y) = values.at(values.size() / 2) - 1;
        };
        add(1);
        readOut(0);
        if (w > 1) {
            add(2);
            readOut(1);
        }
        for (int x = 2; x < w; ++x) {
            columns.erase(x - 2);
            if (x + 2 < w)
                add(x + 1);
            readOut(x);
        }
    }
    return result;
}

Plane dilated(Plane plane, int r)
{
    Plane result(plane.width, plane.height);
    const int w = plane.width;
    for (int y = 0; y < plane.height; ++y) {
        std::set<int> columns;
        const auto write = [&](int x) {
            int largest = INT_MIN;
            for (int row = std::max(0, y - r); row <= std::min(plane.height - 1, y + r); ++row)
                for (const int column : columns)
                    largest = std::max(largest, plane.of(column, row));
            result.of(x, y) = largest == INT_MIN ? 0 : largest;
        };
        for (int x = 0; x <= r && x < w; ++x)
            columns.insert(x);
        write(0);
        for (int x = 1; x <= r && x < w; ++x) {
            if (x + r < w)
                columns.insert(x + r);
            write(x);
        }
        for (int x = std::max(r + 1, 1); x < w; ++x) {
            columns.erase(x - r - 1);
            if (x + r + 1 < w)
                columns.insert(x + r);
            write(x);
        }
    }
    return result;
}

Bytes glowing(const Pieces &image, int spread, int band, int edgePower)
{
    const Samples source = samplesOf(image);
    Samples result = source;
    const int p = band == 1 ? 2 : band, q = p / 2, r = spread / 2;
    for (int channel = 0; channel < source.channels; ++channel) {
        Plane plane(source.width, source.height);
        for (int y = 0; y < source.height; ++y)
            for (int x = 0; x < source.width; ++x)
                plane.of(x, y) = result.of(x, y, channel);
        plane = squaresOf(plane);
        if (bend(plane, band, edgePower))
            plane = r < 0 ? Plane(source.width, source.height) : dilated(medians(plane), r);
        else
            plane.at.assign(plane.at.size(), 0);
        for (int y = 0; y < source.height; ++y)
            for (int x = 0; x < source.width; ++x)
                result.of(x, y, channel) = std::min(255, plane.of(x, y) / q * q + 10);
    }
    return withSamples(image, result);
}

/// Edges of a few levels among flat parts.
Pieces blocks(Pieces image)
{
    const std::size_t stride = strideFor(image.header.biWidth, image.header.biBitCount);
    for (std::size_t i = 0; i < image.rows.size(); ++i)
        image.rows[i] = static_cast<uint8_t>((i % stride / 9 + i / stride / 4) % 3 * 50);
    return image;
}

TEST(GlowEdge, FlatImagesAreDark)
{
    for (const Pieces &image :
         {flat(gray(9, 7), 200), flat(trueColor(9, 7), 3), gray(2, 9), trueColor(9, 2), gray(1, 1)})
        for (const int band : {1, 2, 15})
            for (const int spread : {0, 1, 5, -9}) {
                Samples dark = samplesOf(image);
                std::fill(dark.at.begin(), dark.at.end(), 10);
                EXPECT_EQ(resultOf(image, glow(spread, band, 20)), withSamples(image, dark));
            }
}

TEST(GlowEdge, ByHand)
{
    // A step of 16 levels between columns 2 and 3 makes gradients of 64 in both, 4096 squared. With the exponent near
    // a half, 12 / 60 + 0.3, that is 64 or 63; all of the range gets (band * 10 + 255) = 275 and is far above 255 then.
    // Where a column of the window is bright but two are not, the median is dark.
    Pieces image = gray(7, 7);
    for (std::size_t i = 0; i < image.rows.size(); ++i)
        image.rows[i] = i % 8 < 3 ? 16 : 32;
    const Bytes result = levelsOf(image, glow(0, 2, 12));
    ASSERT_EQ(result.size(), 56u);
    // Inside: columns 2 and 3 are 255, their median windows hold six bright ones of nine, less 1, in steps of 1, and 10.
    for (const std::size_t y : {std::size_t{2}, std::size_t{3}, std::size_t{4}}) {
        EXPECT_EQ(result[8 * y + 2], 255);
        EXPECT_EQ(result[8 * y + 3], 255);
        EXPECT_EQ(result[8 * y + 1], 9); // -1 in steps of 1
        EXPECT_EQ(result[8 * y + 4], 9);
        EXPECT_EQ(result[8 * y + 6], 10); // no window at the last column
    }
    // In the first row there are two rows in the window: two of six are bright.
    EXPECT_EQ(result[2], 9);
    // In the second one four of nine.
    EXPECT_EQ(result[8 + 2], 9);
    // Steps of 7 take -1 for 0.
    const Bytes stepped = levelsOf(image, glow(0, 15, 12));
    EXPECT_EQ(stepped[8 * 3 + 1], 10);
    EXPECT_EQ(stepped[8 * 3 + 2], 255); // 252 + 10, held
}

TEST(GlowEdge, ExponentsAreRoundedToFloats)
{
    // 0.3 as a float is 0.30000001192..., and 1024 to that power 8.0000007: 8. To 0.3 itself it would fall short: 7.
    // A ramp of 4 a pixel has gradients of 32, squared 1024. The step in the last columns has 4 * 205 = 820, squared
    // 672400, which comes to 56.01: the range is 0 to 56. 1 - 9 / 60 as a float is 0.84999996...:
    // 8^0.85 / 56^0.85 * (9 * 10 + 255) = 65.99, and (65 * 0.01 + 9 * 0.06 + 1.8) * 65 = 194.35. The median is 194 - 1,
    // in steps of 4 192, and 10 make 202. With 7 it would be 58, 169.36, 168 and 178.
    const Bytes row{0, 4, 8, 12, 16, 20, 24, 28, 229, 233, 233, 233};
    Pieces levels = gray(12, 7), colors = trueColor(12, 7);
    for (std::size_t i = 0; i < levels.rows.size(); ++i)
        levels.rows[i] = row[i % 12];
    for (std::size_t i = 0; i < colors.rows.size(); ++i)
        colors.rows[i] = row[i % 36 / 3];
    const Bytes result = levelsOf(levels, glow(0, 9, 0)), colored = resultOf(colors, glow(0, 9, 0));
    for (std::size_t y = 1; y < 6; ++y)
        for (std::size_t x = 2; x < 6; ++x) {
            EXPECT_EQ(result[12 * y + x], 202) << x << ", " << y;
            for (std::size_t channel = 0; channel < 3; ++channel)
                EXPECT_EQ(colored[40 + 36 * y + 3 * x + channel], 202) << x << ", " << y;
        }
}

TEST(GlowEdge, MediansAsSortedWindows)
{
    for (int width = 3; width <= 40; ++width)
        for (const int height : {3, 4, 7})
            for (const int channels : {1, 3}) {
                const auto w = static_cast<std::size_t>(width), c = static_cast<std::size_t>(channels);
                Bytes levels = noise(w * c * static_cast<std::size_t>(height), static_cast<uint32_t>(width));
                for (std::size_t i = 0; i < levels.size(); ++i)
                    levels[i] = static_cast<uint8_t>(width % 2 ? levels[i] : levels[i] % 4);
                std::vector<Plane> expected;
                for (std::size_t channel = 0; channel < c; ++channel) {
                    Plane plane(width, height);
                    for (std::size_t i = 0; i < plane.at.size(); ++i)
                        plane.at[i] = levels[i * c + channel];
                    expected.push_back(medians(plane));
                }
                Bytes result(w * c);
                const auto row = [&](int y) { return &levels[static_cast<std::size_t>(y) * w * c]; };
                for (int y = 0; y < height; ++y) {
                    upperMedians(
                        result.data(),
                        {y > 0 ? row(y - 1) : nullptr, row(y), y + 1 < height ? row(y + 1) : nullptr}, w, c);
                    for (std::size_t i = 0; i < result.size(); ++i)
                        ASSERT_EQ(result[i] - 1, expected[i % c].of(static_cast<int>(i / c), y))
                            << width << ", " << channels << ", " << i << ", " << y;
                }
            }
}

TEST(GlowEdge, DilationsAsWholeWindows)
{
    constexpr int kRadii[] = {0, 1, 2, 3, 5, 8, 11, 12, 23, 24, 100, INT_MAX / 2};
    std::size_t number = 0;
    for (int width = 1; width <= 24; ++width)
        for (int height = 1; height <= 18; ++height)
            for (const int radius : {0, 1, kRadii[number++ % 12]}) {
                const int channels = (width + height) % 2 ? 1 : 3;
                const auto w = static_cast<std::size_t>(width), h = static_cast<std::size_t>(height),
                           c = static_cast<std::size_t>(channels), bytes = w * c, stride = bytes + 5;
                const Bytes codes = noise(bytes * h, static_cast<uint32_t>(width * height + radius % 7));
                const DilationShape shape{w, c, radius};
                Bytes rows(stride * h, 77), scratch(dilatedRowScratch(shape));
                for (std::size_t y = 0; y < h; ++y)
                    dilateRow(&rows[y * stride], &codes[y * bytes], shape, scratch.data());
                scratch.resize(dilatedColumnsScratch(height, radius, bytes));
                dilateColumns({rows.data(), stride, height, bytes}, radius, scratch.data(),
                              [&](uint8_t *to, const uint8_t *largest) { std::memcpy(to, largest, bytes); });
                for (std::size_t channel = 0; channel < c; ++channel) {
                    Plane plane(width, height);
                    for (std::size_t i = 0; i < plane.at.size(); ++i)
                        plane.at[i] = codes[i * c + channel] - 1;
                    Plane expected = dilated(plane, std::min(radius, 200));
                    for (int y = 0; y < height; ++y)
                        for (int x = 0; x < width; ++x)
                            ASSERT_EQ(rows[static_cast<std::size_t>(y) * stride +
                                           static_cast<std::size_t>(x) * c + channel] -
                                          1,
                                      expected.of(x, y))
                                << width << " x " << height << ", " << radius << ": " << x << ", " << y;
                }
                for (std::size_t y = 0; y < h; ++y)
                    ASSERT_EQ(rows[y * stride + bytes], 77);
            }
}

TEST(GlowEdge, EveryMeasureAsThePlainLoop)
{
    constexpr int kSpreads[] = {0, 1, 2, 3, 4, 7, 10, 16, 40, 90, INT_MAX, -1, -2, INT_MIN};
    constexpr int kBands[] = {1, 2, 3, 5, 10, 15, 30, 59, 45, 20, 4};
    constexpr int kPowers[] = {20, 0, 50, 12, -17, 30, 5, 52, 41};
    forMeasuresInTurn([&](const Pieces &noisy, int number) {
        const auto pick = static_cast<std::size_t>(number);
        const int spread = kSpreads[pick % 14], band = kBands[pick % 11], power = kPowers[pick % 9];
        const Pieces image = number % 3 ? blocks(noisy) : noisy;
        ASSERT_EQ(resultOf(image, glow(spread, band, power)), glowing(image, spread, band, power))
            << image.header.biWidth << " x " << image.header.biHeight << ", " << spread << ", " << band
            << ", " << power;
    });
}

TEST(GlowEdge, AbsurdPowersStayWithinLevels)
{
    // Steep edges make long tables, gentle ones short ones.
    Pieces gentle = gray(19, 9);
    for (uint8_t &level : gentle.rows)
        level /= 16;
    for (const int band : {60, 61, 100, 5000, INT_MAX})
        for (const int power : {20, -18, -100, INT_MIN, 60, 1000, INT_MAX})
            EXPECT_EQ(resultOf(gentle, glow(2, band, power)), glowing(gentle, 2, band, power))
                << band << ", " << power;
    const Pieces steep = blocks(trueColor(19, 9));
    for (const auto &[band, power] : {std::pair{60, -18}, {70, 20}, {15, -40}})
        EXPECT_EQ(resultOf(steep, glow(2, band, power)), glowing(steep, 2, band, power))
            << band << ", " << power;
}

TEST(GlowEdge, Refusals)
{
    expectAtmosphereRules(glow(2, 15, 20), [](void *dib) { return ProcessGlowEdge(dib, nullptr); });
    const Handle image = trueColor(9, 7).handle();
    for (const int band : {0, -1, -2, INT_MIN})
        EXPECT_EQ(eventsOfRefusal(image, glow(2, band, 20)), Events{});
}

TEST(GlowEdge, ShowsNothingButAFailure)
{
    const Restore restore;
    for (const Pieces &image : {gray(19, 35), trueColor(19, 35)}) {
        EXPECT_EQ(eventsOf(image, glow(4, 15, 20)), Events{});
        expectFailuresSurvived(image, glow(4, 15, 20));
        const Handle handle = image.handle();
        for (const int allocation : {1, 2, 3}) {
            memory_hooks::failAllocation(allocation);
            EXPECT_EQ(eventsOfRefusal(handle, glow(4, 15, 20)), Events{"arrow"});
        }
        memory_hooks::failAllocation(0);
    }
}

TEST(GlowEdge, ByCode)
{
    const Pieces image = trueColor(37, 5);
    EXPECT_EQ(resultOf(image, effectOfCode(4707, tagGlowEdge{3, 7, 15})), resultOf(image, glow(3, 7, 15)));
}

} // namespace

} // namespace velmont::testing
