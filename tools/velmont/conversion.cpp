#include "conversion.h"
#include "exit_codes.h"
#include "text.h"
#include <algorithm>
#include <array>
#include <span>

namespace velmont::cli {

namespace {

using catalogue::Effect;

/// An effect of the catalogue that converts, and the depth that it makes.
struct Conversion {
    std::string_view name;
    unsigned result;
};

constexpr Conversion kTo24{"to-24-bit", catalogue::Depth24};
constexpr Conversion kToGray{"to-gray", catalogue::Depth8Gray};
constexpr Conversion kTo1{"to-1-bit", catalogue::Depth1};
constexpr std::array kConversions{kTo24, kToGray, kTo1};

constexpr std::array kColour{kTo24};
constexpr std::array kGray{kToGray};
constexpr std::array kBlackAndWhite{kToGray, kTo1};
/// From the one that loses least to the one that loses most.
constexpr std::array<std::span<const Conversion>, 3> kWays{kColour, kGray, kBlackAndWhite};

const Conversion *conversionNamed(std::string_view name)
{
    const auto conversion = std::ranges::find(kConversions, name, &Conversion::name);
    return conversion == kConversions.end() ? nullptr : &*conversion;
}

/// The steps of one way for an image of this depth; empty when a step refuses what it gets.
std::vector<Step> stepsOf(std::span<const Conversion> way, unsigned depth)
{
    std::vector<Step> steps;
    for (const Conversion &conversion : way) {
        if (depth == conversion.result)
            continue;
        const Effect *const effect = catalogue::findEffect(conversion.name);
        if (!effect || !(effect->depths & depth))
            return {};
        steps.push_back({effect, catalogue::defaultRecord(*effect)});
        depth = conversion.result;
    }
    return steps;
}

/// The middle, whatever the catalogue's default: half of the grays become white.
void setThreshold(Step &step)
{
    constexpr double middle = 127;
    if (step.effect->name == kTo1.name && step.effect->fields.size() == 1)
        step.effect->fields.front().store(step.record.bytes.data(), middle);
}

} // namespace

unsigned convertedDepth(const Effect &effect)
{
    const Conversion *const conversion = conversionNamed(effect.name);
    return conversion ? conversion->result : 0;
}

bool isNeedless(const Effect &effect, unsigned depth)
{
    return depth != 0 && convertedDepth(effect) == depth;
}

std::vector<Step> conversionFor(const Effect &effect, unsigned depth)
{
    for (const std::span<const Conversion> way : kWays) {
        if (!(effect.depths & way.back().result))
            continue;
        std::vector<Step> steps = stepsOf(way, depth);
        std::ranges::for_each(steps, setThreshold);
        if (!steps.empty())
            return steps;
    }
    return {};
}

std::string stepNames(const std::vector<Step> &steps)
{
    std::vector<std::string_view> names;
    for (const Step &step : steps)
        names.push_back(step.effect->name);
    return joined(names, " then ");
}

std::string depthText(unsigned depth)
{
    return depth == 0 ? "of an unknown depth"
                      : std::string(catalogue::depthName(static_cast<catalogue::Depth>(depth)));
}

void refuseDepth(const Effect &effect, unsigned depth, const std::string &subject)
{
    const std::vector<Step> conversion = conversionFor(effect, depth);
    const bool needless = isNeedless(effect, depth);
    std::string advice =
        concat("convert it first with ", inQuotes(stepNames(conversion) + " then ..."), " or pass --convert");
    if (needless)
        advice = "leave it out or pass --convert";
    else if (conversion.empty())
        advice = "no effect converts it";
    throw Failure(ExitCode::Input,
                  concat(effect.name, ": ", subject, " is ", depthText(depth), needless ? " already; " : "; ",
                         effect.name, " takes ", catalogue::depthNames(effect.depths), "; ", advice));
}

} // namespace velmont::cli
