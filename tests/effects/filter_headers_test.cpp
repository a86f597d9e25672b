// What the filters copy before the rows at 24 bits, where a header may name colours that the image does not have.

#include "catalogue/effect.h"
#include "core/dib_layout.h"
#include "core/generator.h"
#include "tests/effects/tone_testing.h"
#include <algorithm>
#include <array>
#include <cstring>
#include <gtest/gtest.h>
#include <string_view>

namespace velmont::testing {

namespace {

/// The filters that copy four bytes for each colour named, of the rows where there are no colours. All others copy
/// what lies before the rows.
constexpr std::array<std::string_view, 10> kWithColors{
    "3d-grid", "buttonize", "emboss",      "find-contour", "inner-level",
    "mosaic",  "oil-paint", "outer-level", "sketch",       "user-filter"};

/// By name and by its defaults.
Effect byDefault(const catalogue::Effect &effect)
{
    return [&effect](void *dib) {
        srand(1);
        catalogue::Record record = catalogue::defaultRecord(effect);
        return catalogue::apply(effect, dib, record);
    };
}

TEST(FilterHeaders, ColorsNamedAt24Bits)
{
    constexpr std::size_t kRowBytes = 24, kPixelBytes = 21,
                          kRows = 6; // rows of 7 pixels and 3 bytes of padding
    const Pieces image = trueColor(7, 6);
    ASSERT_EQ(image.rows.size(), kRowBytes * kRows);
    std::size_t copying = 0;
    for (const catalogue::Effect &effect : catalogue::effects()) {
        if (effect.family != catalogue::Family::Filters || !(effect.depths & catalogue::Depth24) ||
            !effect.definesPadding)
            continue;
        const bool copies =
            std::find(kWithColors.begin(), kWithColors.end(), effect.name) != kWithColors.end();
        copying += copies;
        const Bytes usual = resultOf(image, byDefault(effect));
        ASSERT_EQ(usual.size(), kHeaderBytes + image.rows.size()) << effect.name;
        // No padding, that of the first row, not yet that of the second, all of it, and more than there is.
        for (const uint32_t colors : {1u, 5u, 6u, 11u, 12u, 36u, 100u, 0x40000001u, 0xFFFFFFFFu}) {
            Pieces named = image;
            named.header.biClrUsed = colors;
            Bytes expected = usual;
            std::memcpy(expected.data(), &named.header, sizeof named.header);
            for (std::size_t i = 0; i < image.rows.size(); ++i)
                if (i % kRowBytes >= kPixelBytes)
                    expected[kHeaderBytes + i] = copies && i / 4 < colors ? image.rows[i] : 0;
            EXPECT_EQ(resultOf(named, byDefault(effect)), expected) << effect.name << ", " << colors;
        }
    }
    EXPECT_EQ(copying, kWithColors.size());
}

} // namespace

} // namespace velmont::testing
