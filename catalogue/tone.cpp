#include "catalogue/families.h"
#include <velmont/tone.h>

namespace velmont::catalogue {

namespace {

constexpr std::array kEffects{
    Effect{.name = "negative",
           .exportName = "ProcessNegative",
           .code = 6,
           .family = Family::Tone,
           .help = "the negative: dark becomes light, each colour its opposite",
           .recordName = {},
           .recordBytes = 0,
           .fields = {},
           .depths = DepthAll,
           .random = false,
           .call = callPlain<&ProcessNegative>},
};

} // namespace

std::span<const Effect> toneEffects()
{
    return kEffects;
}

} // namespace velmont::catalogue
