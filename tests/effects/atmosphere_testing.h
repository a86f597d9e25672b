#pragma once

/// \file
/// What the tests of the atmosphere effects share: the rules that all of them keep to.

#include "core/generator.h"
#include "tests/effects/filter_testing.h"
#include <climits>
#include <gtest/gtest.h>
#include <velmont/atmosphere.h>
#include <velmont/effects.h>

namespace velmont::testing {

/// The effect with this record, by name, with the generator in a state of its own.
template <auto Export, typename Record>
Effect effectOf(const Record &record, uint32_t seed = 1)
{
    return [record, seed](void *dib) {
        Record own = record;
        srand(seed);
        return Export(dib, &own);
    };
}

/// The same by code.
template <typename Record>
Effect effectOfCode(unsigned code, const Record &record, uint32_t seed = 1)
{
    return [code, record, seed](void *dib) {
        Record own = record;
        srand(seed);
        return EnhanceAndEffects(dib, code, reinterpret_cast<long>(&own));
    };
}

/// How many numbers were drawn since the generator was in the state `seed`; -1 for more than `most`.
inline int drawsSince(uint32_t seed, int most = 100000)
{
    uint32_t reached = 0;
    {
        // The state itself cannot be seen: four numbers stand for it.
        for (int i = 0; i < 4; ++i)
            reached = reached * 31 + static_cast<uint32_t>(rand());
    }
    srand(seed);
    std::vector<uint32_t> numbers;
    for (int i = 0; i < most + 4; ++i)
        numbers.push_back(static_cast<uint32_t>(rand()));
    for (std::size_t i = 0; i + 4 <= numbers.size(); ++i)
        if (((numbers[i] * 31 + numbers[i + 1]) * 31 + numbers[i + 2]) * 31 + numbers[i + 3] == reached)
            return static_cast<int>(i);
    return -1;
}

inline Bytes rowsOf(const Pieces &image, const Bytes &block)
{
    const std::size_t offset = image.bytes().size() - image.rows.size();
    return block.size() > offset ? Bytes(block.begin() + static_cast<std::ptrdiff_t>(offset), block.end())
                                 : Bytes{};
}

/// An image of 8 bits whose rows lie behind 256 colours although it names fewer.
inline Pieces behindAllColors(int width, int height, uint32_t named)
{
    Pieces image = paletted(width, height, 8, 256);
    image.header.biClrUsed = named;
    return image;
}

/// Depths and headers: 24 bits, and 8 bits as levels at byte 1064 whatever the palette.
inline void expectAtmosphereRules(const Effect &effect, const Effect &withoutRecord)
{
    const NothingLost check;
    const Restore restore;
    expectLiesRefused(effect);
    const Handle bits = noiseImage(5, 3, 1, 2), nibbles = noiseImage(5, 3, 4, 16),
                 few = noiseImage(5, 3, 8, 10), none = noiseImage(5, 3, 8, 0);
    for (void *refused : std::initializer_list<void *>{nullptr, bits, nibbles, few, none}) {
        srand(7);
        EXPECT_EQ(eventsOfRefusal(refused, effect), Events{});
    }
    const Handle image = trueColor(5, 3).handle();
    EXPECT_EQ(eventsOfRefusal(image, withoutRecord), Events{});
    EXPECT_EQ(eventsOfRefusal(nullptr, withoutRecord), Events{});
    for (const auto &[width, height] : {std::pair{5, 18}, {18, 5}, {1, 1}, {2, 3}}) {
        const Bytes levels = resultOf(gray(width, height), effect);
        for (const uint32_t named : {256u, 10u, 0u, 255u}) {
            const Pieces colours = behindAllColors(width, height, named);
            const Bytes result = resultOf(colours, effect), whole = colours.bytes();
            ASSERT_EQ(result.size(), whole.size());
            EXPECT_TRUE(std::equal(whole.begin(), whole.begin() + 1064, result.begin())) << named;
            EXPECT_EQ(rowsOf(colours, result), rowsOf(gray(width, height), levels)) << named;
        }
    }
    // Of a long header 40 bytes are copied, and the rows lie right behind them.
    Pieces longHeader = trueColor(5, 3);
    longHeader.header.biSize = 44;
    Bytes expected = resultOf(trueColor(5, 3), effect);
    if (expected.size() > 4)
        expected[0] = 44;
    const Handle source = longHeader.handle();
    const Handle result(effect(source));
    if (result) {
        EXPECT_EQ(bytesOf(result), expected);
    }
}

/// Samples for all widths and heights of both depths: use(image, number).
template <typename Use>
void forMeasures(Use use)
{
    int number = 0;
    for (int width = 1; width <= 40; ++width)
        for (int height = 1; height <= 18; ++height)
            for (const Pieces &image : {gray(width, height), trueColor(width, height)})
                use(image, number++);
}

/// The same with one depth for each measure, for slow comparisons.
template <typename Use>
void forMeasuresInTurn(Use use)
{
    int number = 0;
    forMeasures([&](const Pieces &image, int each) {
        const int odd = (image.header.biWidth + image.header.biHeight) % 2;
        if (each % 2 == odd)
            use(image, number++);
    });
}

} // namespace velmont::testing
