#include "core/byte_kernels.h"
#include "filters/sample_frame.h"
#include <algorithm>
#include <array>
#include <velmont/atmosphere.h>

namespace velmont {

namespace {

/// The levels of a fog, products in 32 bits that wrap and what lies below 0 cut to its low 8 bits.
std::array<uint8_t, 256> fogTable(int32_t density)
{
    std::array<uint8_t, 256> table;
    for (int32_t level = 0; level < 256; ++level) {
        const auto product =
            static_cast<int32_t>(static_cast<uint32_t>(255 - level) * static_cast<uint32_t>(density));
        table[static_cast<std::size_t>(level)] = static_cast<uint8_t>(std::min(255, level + product / 100));
    }
    return table;
}

/// Hosts rely on progress that passes 100.
constexpr RowCadence kFogCadence{.percentSpan = 120};

} // namespace

} // namespace velmont

using namespace velmont;

void *ProcessFog(void *dib, tagParamFog *param)
{
    if (!param)
        return nullptr;
    EffectFrame frame(dib);
    const std::optional<Dib> source = withRowsBehindAllColors(frame, {8, 24});
    if (!source || !frame.begin(planOnSamples(*source)))
        return nullptr;
    const std::array<uint8_t, 256> table = fogTable(param->density);
    const TableRow map = tableRow();
    for (int y : frame.rows(kFogCadence)) {
        map(frame.result().row(y), source->row(y), sampleBytes(*source), table.data());
        frame.clearPadding(y);
    }
    return frame.finish();
}
