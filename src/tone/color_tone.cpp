#include <velmont/tone.h>

#include "geometry/format_kernels.h"
#include "tone/sample_paths.h"
#include "tone/tone_kernels.h"
#include <algorithm>

namespace velmont {

namespace {

/// How strongly each channel is lifted in the middle levels, out of 255.
struct Strengths {
    int blue, green, red;
};

/// The hue circle in six sectors; t runs from 0 to 255.
Strengths strengthsAt(int t)
{
    switch (t * 6 / 256) {
    case 0:
        return {254, 254 - 5 * t, 0};
    case 1:
        return {254, 0, 5 * t - 210};
    case 2:
        return {679 - 5 * t, 0, 254};
    case 3:
        return {0, 5 * t - 640, 254};
    case 4:
        return {0, 254, 1104 - 5 * t};
    default:
        return {5 * t - 1065, 254, 0};
    }
}

LevelColors colorsOfTone(const Strengths &strengths)
{
    LevelColors colors;
    for (unsigned i = 0; i < 256; ++i) {
        colors.share[0][i] = grayShare(29, i);
        colors.share[1][i] = grayShare(150, i);
        colors.share[2][i] = grayShare(76, i);
        const int level = static_cast<int>(i);
        const int weight = (255 - level) * level;
        const auto lifted = [=](int strength) { return level + weight * strength / 255 / 255; };
        colors.setColor(level, lifted(strengths.blue), lifted(strengths.green), lifted(strengths.red));
    }
    return colors;
}

} // namespace

} // namespace velmont

using namespace velmont;

void *ProcessColorTone(void *dib, tagParamColorTone *param)
{
    if (!param)
        return nullptr;
    const int tone = std::clamp(param->tone, -128, 127);
    EffectFrame frame(dib, {.droppedPoll = false});
    if (!frame.serves({4, 8, 24}))
        return nullptr;
    const bool isServed = frame.source().bitCount() == 24;
    if (!frame.allocate({frame.source().layout(), isServed ? Contents::Overwritten : Contents::ZeroFilled}))
        return nullptr;
    // Other depths get a block of zeros, header included: hosts rely on a handle.
    if (!isServed)
        return frame.finish();
    frame.open();
    const LevelColors colors = colorsOfTone(strengthsAt(tone + 128));
    mapPixels(frame, [&, color = levelColorRow()](uint8_t *to, const uint8_t *from, std::size_t pixels) {
        color(to, from, pixels, colors);
    });
    return frame.finish();
}
