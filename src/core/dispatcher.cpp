#include <velmont/effects.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <type_traits>
#include <velmont/atmosphere.h>
#include <velmont/filters.h>
#include <velmont/geometry.h>
#include <velmont/grain.h>
#include <velmont/hatching.h>
#include <velmont/lens.h>
#include <velmont/painting.h>
#include <velmont/restoration.h>
#include <velmont/texture.h>
#include <velmont/tone.h>

namespace {

using Call = void *(*)(void *dib, long param);

struct Entry {
    unsigned code;
    Call call;
};

template <typename Effect>
struct Parameter;
template <>
struct Parameter<void *(*)(void *)> {
    using Type = void;
};
template <typename Second>
struct Parameter<void *(*)(void *, Second)> {
    using Type = Second;
};

/// Passes `param` on in the way that the effect's own signature asks for: not at all, as the int that it
/// points to, or as the record that it points to.
template <auto Effect>
void *pass(void *dib, [[maybe_unused]] long param)
{
    using Type = typename Parameter<decltype(Effect)>::Type;
    if constexpr (std::is_void_v<Type>) {
        return Effect(dib);
    } else if constexpr (std::is_same_v<Type, int>) {
        const auto *const value = reinterpret_cast<const int32_t *>(param);
        return value ? Effect(dib, *value) : nullptr;
    } else {
        return Effect(dib, reinterpret_cast<Type>(param));
    }
}

/// Of an export with several forms, that with one parameter.
template <typename Second>
using Form = void *(*)(void *, Second);

static_assert(sizeof(long) >= sizeof(void *), "a record's address travels as a long");

/// By code. The numbers are fixed; a code that is not listed gives 0.
constexpr std::array kEntries{
    Entry{1, pass<&ProcessBrightnessAndContrast>},
    Entry{2, pass<&ProcessHueAndSaturation>},
    Entry{3, pass<&ProcessColorMap>},
    Entry{4, pass<&ProcessColorReduction>},
    Entry{5, pass<&ProcessEqualization>},
    Entry{6, pass<&ProcessNegative>},
    Entry{7, pass<&ProcessThreshold>},
    Entry{8, pass<&ProcessAverage>},
    Entry{9, pass<&ProcessBlur>},
    Entry{16, pass<&ProcessDespeckle>},
    Entry{17, pass<&ProcessGaussianBlur>},
    Entry{18, pass<&ProcessUnsharpMask>},
    Entry{19, pass<&ProcessLinearSharpen>},
    Entry{20, pass<&ProcessMaxMin>},
    Entry{21, pass<&ProcessMedian>},
    Entry{22, pass<&ProcessFindContour>},
    Entry{23, pass<&ProcessSolarization>},
    Entry{24, pass<&ProcessLogarithm>},
    Entry{25, pass<&ProcessUserFilter>},
    Entry{32, pass<&ProcessSketch>},
    Entry{33, pass<&ProcessAutoEnhance>},
    Entry{34, pass<&ProcessFilmGrain>},
    Entry{35, pass<static_cast<Form<int>>(&ProcessSplash)>},
    Entry{36, pass<&ProcessRipple>},
    Entry{37, pass<static_cast<Form<tagParamWrinkle *>>(&ProcessWrinkle)>},
    Entry{38, pass<&ProcessAddNoise>},
    Entry{39, pass<static_cast<Form<int>>(&ProcessMelting)>},
    Entry{40, pass<&ProcessOilPaint>},
    Entry{41, pass<&ProcessFishEye>},
    Entry{48, pass<&ProcessCone>},
    Entry{49, pass<&ProcessWhirlpool>},
    Entry{50, pass<&ProcessSpiral>},
    Entry{51, pass<&Process3DGrid>},
    Entry{52, pass<&ProcessMosaic>},
    Entry{53, pass<&ProcessMotionBlur>},
    Entry{54, pass<&ProcessEmboss>},
    Entry{55, pass<&ProcessSphere>},
    Entry{56, pass<&ProcessMagicMirror>},
    Entry{57, pass<&ProcessPolarTransformAngular>},
    Entry{64, pass<&ProcessPolarTransformRadial>},
    Entry{65, pass<&ProcessRibbon>},
    Entry{66, pass<&ProcessCylinder>},
    Entry{67, pass<&ProcessToneAdjustment>},
    Entry{68, pass<&ProcessSoftEdge>},
    Entry{70, pass<&ProcessBrightnessScale>},
    Entry{71, pass<&ProcessLinearSharpen>},
    Entry{72, pass<&ProcessMaxMin>},
    Entry{73, pass<&ProcessUnsharpMask>},
    Entry{80, pass<&ProcessUnsharpMask>},
    Entry{81, pass<&ProcessUnsharpMask>},
    Entry{1105, pass<&ProcessCrosshatch>},
    Entry{1201, pass<&ProcessOldPhoto>},
    Entry{1202, pass<&ProcessColorBalance>},
    Entry{3101, pass<&ProcessCrystallize>},
    Entry{3103, pass<&ProcessPointillize>},
    Entry{3105, pass<&ProcessTexturize>},
    Entry{4101, pass<&ProcessFlare>},
    Entry{4201, pass<&ProcessSunBurst>},
    Entry{4301, pass<&ProcessMoonlight>},
    Entry{4302, pass<&ProcessAntique>},
    Entry{4303, pass<&ProcessWarm>},
    Entry{4304, pass<&ProcessCool>},
    Entry{4305, pass<&ProcessSepia>},
    Entry{4306, pass<&ProcessWind>},
    Entry{4503, pass<&ProcessButtonize>},
    Entry{4603, pass<&ProcessOuterLevel>},
    Entry{4703, pass<&ProcessInnerLevel>},
    Entry{4704, pass<&ProcessFog>},
    Entry{4705, pass<&ProcessBlind>},
    Entry{4706, pass<&ProcessSnow>},
    Entry{4707, pass<&ProcessGlowEdge>},
    Entry{4708, pass<&ProcessFur>},
    Entry{4709, pass<&ProcessSmartBlur>},
    Entry{4710, pass<&ProcessWaterColor>},
    Entry{4711, pass<&ProcessZigZag>},
    Entry{4712, pass<&ProcessChalk>},
    Entry{4713, pass<&ProcessSmokedGlass>},
    Entry{4714, pass<&ProcessScratch>},
    Entry{4715, pass<&ProcessStainedGlass>},
    Entry{4716, pass<&ProcessWaterPaper>},
    Entry{4717, pass<&ProcessColorPencil>},
    Entry{4718, pass<&ProcessColorTone>},
    Entry{4719, pass<&ProcessAutoLevel>},
};

static_assert(std::adjacent_find(kEntries.begin(), kEntries.end(), [](const Entry &a, const Entry &b) {
                  return a.code >= b.code;
              }) == kEntries.end());

} // namespace

void *EnhanceAndEffects(void *dib, unsigned int code, long param)
{
    if (!dib)
        return nullptr;
    const auto entry = std::lower_bound(kEntries.begin(), kEntries.end(), code,
                                        [](const Entry &e, unsigned wanted) { return e.code < wanted; });
    return entry != kEntries.end() && entry->code == code ? entry->call(dib, param) : nullptr;
}
