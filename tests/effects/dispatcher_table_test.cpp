// The list of codes that hosts know, held against the catalogue and the dispatcher.

#include "catalogue/effect.h"
#include "catalogue/fitted_operands.h"
#include "core/generator.h"
#include "platform/memory.h"
#include "tests/effects/watching_host.h"
#include <algorithm>
#include <ctime>
#include <gtest/gtest.h>
#include <set>
#include <string>
#include <velmont/effects.h>

namespace velmont::testing {

namespace {

using catalogue::Effect;
using catalogue::Record;

/// A code: what it reaches and how that is parameterised, by a record of this name, by an "int", or not at all.
struct Code {
    unsigned code;
    std::string_view exportName;
    std::string_view recordName = {};
    unsigned aliasOf = 0; ///< the code that the catalogue has for the effect; 0 for this one
};

constexpr Code kCodes[] = {
    {1, "ProcessBrightnessAndContrast", "tagParamBrightnessContrast"},
    {2, "ProcessHueAndSaturation", "tagParamHueSaturation"},
    {3, "ProcessColorMap", "tagParamColorMap"},
    {4, "ProcessColorReduction", "tagParamColorReduction"},
    {5, "ProcessEqualization"},
    {6, "ProcessNegative"},
    {7, "ProcessThreshold", "tagParamThreshold"},
    {8, "ProcessAverage", "tagParamAverage"},
    {9, "ProcessBlur", "tagParamBlur"},
    {16, "ProcessDespeckle"},
    {17, "ProcessGaussianBlur", "tagParamGaussianBlur"},
    {18, "ProcessUnsharpMask", "tagParamUnsharpenMask"},
    {19, "ProcessLinearSharpen", "tagParamLinearSharpen"},
    {20, "ProcessMaxMin", "tagParamMaxMin"},
    {21, "ProcessMedian", "tagParamMedian"},
    {22, "ProcessFindContour", "tagParamFindContour"},
    {23, "ProcessSolarization"},
    {24, "ProcessLogarithm"},
    {25, "ProcessUserFilter", "tagParamUserFilter"},
    {32, "ProcessSketch", "tagParamSketch"},
    {33, "ProcessAutoEnhance", "int"},
    {34, "ProcessFilmGrain", "int"},
    {35, "ProcessSplash", "int"},
    {36, "ProcessRipple", "int"},
    {37, "ProcessWrinkle", "tagParamWrinkle"},
    {38, "ProcessAddNoise", "int"},
    {39, "ProcessMelting", "int"},
    {40, "ProcessOilPaint", "int"},
    {41, "ProcessFishEye", "int"},
    {48, "ProcessCone", "int"},
    {49, "ProcessWhirlpool", "int"},
    {50, "ProcessSpiral", "int"},
    {51, "Process3DGrid", "tagParam3DGrid"},
    {52, "ProcessMosaic", "tagParamMosaic"},
    {53, "ProcessMotionBlur", "tagParamMotionBlur"},
    {54, "ProcessEmboss", "tagParamEmboss"},
    {55, "ProcessSphere"},
    {56, "ProcessMagicMirror", "tagParamMagicMirror"},
    {57, "ProcessPolarTransformAngular", "tagParamPTAngular"},
    {64, "ProcessPolarTransformRadial", "tagParamPTRadial"},
    {65, "ProcessRibbon", "tagParamRibbon"},
    {66, "ProcessCylinder"},
    {67, "ProcessToneAdjustment", "tagParamToneAdjust"},
    {68, "ProcessSoftEdge", "tagParamSoftEdge"},
    {70, "ProcessBrightnessScale", "int"},
    {71, "ProcessLinearSharpen", "tagParamLinearSharpen", 19},
    {72, "ProcessMaxMin", "tagParamMaxMin", 20},
    {73, "ProcessUnsharpMask", "tagParamUnsharpenMask", 18},
    {80, "ProcessUnsharpMask", "tagParamUnsharpenMask", 18},
    {81, "ProcessUnsharpMask", "tagParamUnsharpenMask", 18},
    {1105, "ProcessCrosshatch", "tagCrosshatch"},
    {1201, "ProcessOldPhoto", "tagOldPhotoParam"},
    {1202, "ProcessColorBalance", "tagColorBalance"},
    {3101, "ProcessCrystallize", "tagCrystallize"},
    {3103, "ProcessPointillize", "tagPointillize"},
    {3105, "ProcessTexturize", "tagTextureParam"},
    {4101, "ProcessFlare", "tagParamFlare"},
    {4201, "ProcessSunBurst", "tagParamSunburst"},
    {4301, "ProcessMoonlight", "tagParamMoonlight"},
    {4302, "ProcessAntique", "tagParamAntique"},
    {4303, "ProcessWarm"},
    {4304, "ProcessCool"},
    {4305, "ProcessSepia"},
    {4306, "ProcessWind", "tagParamWind"},
    {4503, "ProcessButtonize", "tagParamButtonize"},
    {4603, "ProcessOuterLevel", "tagParamOuterLevel"},
    {4703, "ProcessInnerLevel", "tagParamInnerLevel"},
    {4704, "ProcessFog", "tagParamFog"},
    {4705, "ProcessBlind", "tagBlindParam"},
    {4706, "ProcessSnow", "tagSnowParam"},
    {4707, "ProcessGlowEdge", "tagGlowEdge"},
    {4708, "ProcessFur", "tagFurParam"},
    {4709, "ProcessSmartBlur", "tagSmartBlurParam"},
    {4710, "ProcessWaterColor", "tagWaterColorParam"},
    {4711, "ProcessZigZag", "tagZigZagParam"},
    {4712, "ProcessChalk", "tagChalkParam"},
    {4713, "ProcessSmokedGlass", "tagSmokedGlassParam"},
    {4714, "ProcessScratch", "tagScratchParam"},
    {4715, "ProcessStainedGlass", "tagStainedGlassParam"},
    {4716, "ProcessWaterPaper", "tagWaterPaperParam"},
    {4717, "ProcessColorPencil", "tagColorPencilParam"},
    {4718, "ProcessColorTone", "tagParamColorTone"},
    {4719, "ProcessAutoLevel", "tagParamAutoLevel"},
};

/// The catalogue's effect with a code; null for none.
const Effect *effectWithCode(unsigned code)
{
    const auto all = catalogue::effects();
    const auto found =
        std::find_if(all.begin(), all.end(), [&](const Effect &effect) { return effect.code == code; });
    return found != all.end() ? &*found : nullptr;
}

const Effect *effectOf(const Code &code)
{
    return effectWithCode(code.aliasOf != 0 ? code.aliasOf : code.code);
}

/// An image that the effect accepts.
Handle imageFor(const Effect &effect)
{
    const int width = std::max(29, effect.smallestSide), height = std::max(23, effect.smallestSide);
    return effect.depths & catalogue::Depth24          ? noiseImage(width, height, 24, 0)
           : effect.depths & catalogue::Depth8Gray     ? grayNoise(width, height)
           : effect.depths & catalogue::Depth8Paletted ? noiseImage(width, height, 8, 256)
           : effect.depths & catalogue::Depth4         ? noiseImage(width, height, 4, 16)
                                                       : noiseImage(width, height, 1, 2);
}

/// All that a run leaves for its caller to see.
struct Outcome {
    bool isSource = false; ///< whether the image itself came back
    Bytes result;          ///< none for null
    Bytes fields;          ///< the record's fields afterwards
    Events events;
    int nextNumber = 0; ///< of the generator

    bool operator==(const Outcome &) const = default;
};

Bytes fieldsOf(const Effect &effect, const Record &record)
{
    Bytes bytes;
    for (const catalogue::Field &field : effect.fields) {
        const double value = field.load(record.bytes.data());
        const auto *const first = reinterpret_cast<const uint8_t *>(&value);
        bytes.insert(bytes.end(), first, first + sizeof value);
    }
    return bytes;
}

/// Runs call(dib, record) on a fresh image, and frees whatever is left behind.
template <typename Call>
Outcome outcomeOf(const Effect &effect, Record record, Call call)
{
    const Handle source = imageFor(effect);
    const catalogue::FittedOperands operands(effect, record, source);
    const std::vector<void *> before = memory_hooks::liveBlocks();
    RecordingHost host;
    srand(1);
    void *const result = call(source, effect.recordBytes > 0 ? record.bytes.data() : nullptr);
    Outcome outcome;
    outcome.nextNumber = rand();
    outcome.isSource = result == static_cast<void *>(source);
    outcome.result = result ? bytesOf(result) : Bytes{};
    outcome.fields = fieldsOf(effect, record);
    outcome.events = host.events;
    for (void *const handle : memory_hooks::liveBlocks())
        if (std::find(before.begin(), before.end(), handle) == before.end())
            KelMemFree(handle);
    return outcome;
}

Outcome byCode(const Effect &effect, unsigned code, const Record &record)
{
    return outcomeOf(effect, record, [code](void *dib, void *parameters) {
        // Effects without parameters get an address that nobody may follow.
        return EnhanceAndEffects(dib, code, parameters ? reinterpret_cast<long>(parameters) : 8);
    });
}

Outcome byName(const Effect &effect, const Record &record)
{
    return outcomeOf(effect, record,
                     [&](void *dib, void *parameters) { return effect.call(dib, parameters); });
}

/// Runs both ways; the seed of some effects is the time, so that they are run within one second.
std::pair<Outcome, Outcome> bothWays(const Effect &effect, unsigned code, const Record &record)
{
    for (int attempt = 0;; ++attempt) {
        const std::time_t start = std::time(nullptr);
        std::pair outcomes{byCode(effect, code, record), byName(effect, record)};
        if (!effect.random || std::time(nullptr) == start || attempt == 5)
            return outcomes;
    }
}

/// The record with each field at an end of its range.
Record recordAt(const Effect &effect, double catalogue::Field::*end)
{
    Record record;
    for (const catalogue::Field &field : effect.fields)
        field.store(record.bytes.data(), field.*end);
    return record;
}

class DispatcherTable : public ::testing::TestWithParam<Code> {
protected:
    void SetUp() override
    {
        effect_ = effectOf(GetParam());
        ASSERT_NE(effect_, nullptr) << "not in the catalogue";
    }

    const Effect *effect_ = nullptr;
    NothingLost check_;
};

TEST_P(DispatcherTable, NamesTheCataloguesEffect)
{
    EXPECT_EQ(effect_->exportName, GetParam().exportName);
    EXPECT_EQ(effect_->recordName, GetParam().recordName);
}

TEST_P(DispatcherTable, ReachesTheEffectWithItsParameters)
{
    const Record defaults = catalogue::defaultRecord(*effect_);
    const auto [dispatched, direct] = bothWays(*effect_, GetParam().code, defaults);
    EXPECT_TRUE(dispatched == direct);
    EXPECT_FALSE(dispatched.result.empty());
    EXPECT_FALSE(dispatched.isSource);
    // Other parameters than those that an effect might fall back on.
    for (const auto end : {&catalogue::Field::minimum, &catalogue::Field::maximum}) {
        const auto [atEnd, directAtEnd] = bothWays(*effect_, GetParam().code, recordAt(*effect_, end));
        EXPECT_TRUE(atEnd == directAtEnd);
    }
}

TEST_P(DispatcherTable, NullParametersAreTheEffectsOwnMatter)
{
    if (effect_->recordBytes == 0)
        GTEST_SKIP() << "no parameters";
    const Handle source = imageFor(*effect_);
    EXPECT_EQ(EnhanceAndEffects(source, GetParam().code, 0), nullptr);
}

INSTANTIATE_TEST_SUITE_P(Codes, DispatcherTable, ::testing::ValuesIn(kCodes), [](const auto &info) {
    return std::to_string(info.param.code) + std::string(info.param.exportName);
});

TEST(DispatcherTableTest, HasEveryCodeOfTheCatalogue)
{
    std::set<unsigned> listed;
    for (const Code &code : kCodes)
        if (code.aliasOf == 0) {
            EXPECT_TRUE(listed.insert(code.code).second) << code.code;
        }
    for (const Effect &effect : catalogue::effects())
        if (effect.code) {
            EXPECT_TRUE(listed.contains(*effect.code)) << effect.name;
        }
    EXPECT_EQ(std::size(kCodes), 83u);
}

TEST(DispatcherTableTest, AnswersNoOtherCode)
{
    const NothingLost check;
    const Handle source = noiseImage(12, 12, 24, 0);
    Record record;
    RecordingHost host;
    for (unsigned code = 0; code <= 6000; ++code) {
        const bool isListed =
            std::any_of(std::begin(kCodes), std::end(kCodes), [&](const Code &c) { return c.code == code; });
        if (!isListed) {
            ASSERT_EQ(EnhanceAndEffects(source, code, reinterpret_cast<long>(record.bytes.data())), nullptr)
                << code;
        }
    }
    EXPECT_EQ(host.events, Events{});
}

} // namespace

} // namespace velmont::testing
