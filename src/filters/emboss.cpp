#include "core/scratch_block.h"
#include "filters/relief_kernels.h"
#include "filters/sample_frame.h"
#include <algorithm>
#include <array>
#include <cstring>
#include <velmont/filters.h>

namespace velmont {

namespace {

enum Style { OnPicture = 1, ByChannels = 2, ByMean = 3, OnColor = 4 };

/// Where the other pixel lies, in stored order, and whether it is the one that counts positive.
struct Displacement {
    int dx, dy;
    bool isPlus;
};

/// By direction, 1 to 8.
constexpr std::array<Displacement, 8> kDisplacements{{{-1, 1, false},
                                                      {0, 1, false},
                                                      {1, 1, false},
                                                      {1, 0, true},
                                                      {1, 0, false},
                                                      {1, 1, true},
                                                      {0, 1, true},
                                                      {-1, 1, true}}};

/// Cut so that both sides of the picture have a band of it.
int depthWithin(const Dib &source, int depth)
{
    return std::min({depth, source.width() / 2, source.height() / 2});
}

/// One row of what the relief stands on, where that is not the picture itself.
void writeGround(uint8_t *ground, const Dib &source, const tagParamEmboss &record)
{
    const std::size_t channels = samplesPerPixel(source), bytes = sampleBytes(source);
    uint8_t pixel[3] = {128, 128, 128};
    if (record.style == OnColor) {
        pixel[0] = channels == 1 ? redOf(record.color) : blueOf(record.color);
        pixel[1] = greenOf(record.color);
        pixel[2] = redOf(record.color);
    }
    for (std::size_t i = 0; i < bytes; ++i)
        ground[i] = pixel[i % channels];
}

/// The relief of the rows that have it in their middle.
class Relief {
public:
    Relief(const Dib &source, const tagParamEmboss &record, int depth)
        : source_(source), depth_(depth),
          bandBytes_(static_cast<std::size_t>(depth) * samplesPerPixel(source)),
          displacement_(kDisplacements[static_cast<std::size_t>(record.direction - 1)]),
          isWide_(record.style == OnPicture)
    {
        const ReliefKernels kernels = reliefKernels();
        const bool takesMean =
            samplesPerPixel(source) == 3 && (record.style == OnPicture || record.style == ByMean);
        relief_ = takesMean ? kernels.meanRelief : kernels.relief;
    }

    /// The inner pixels of row y.
    void write(uint8_t *to, const uint8_t *ground, int y) const
    {
        const uint8_t *const other = moved(y, depth_);
        const uint8_t *const opposite = isWide_ ? moved(y, -depth_) : moved(y, 0);
        relief_(to + bandBytes_, ground + bandBytes_, displacement_.isPlus ? other : opposite,
                displacement_.isPlus ? opposite : other, sampleBytes(source_) - 2 * bandBytes_);
    }

private:
    /// The first inner pixel of row y, moved.
    const uint8_t *moved(int y, int distance) const
    {
        const int x = depth_ + displacement_.dx * distance;
        return source_.row(y + displacement_.dy * distance) +
               static_cast<std::size_t>(x) * samplesPerPixel(source_);
    }

    const Dib &source_;
    int depth_;
    std::size_t bandBytes_;
    Displacement displacement_;
    bool isWide_;
    ReliefRow relief_;
};

} // namespace

} // namespace velmont

using namespace velmont;

void *ProcessEmboss(void *dib, tagParamEmboss *param)
{
    if (!param || param->style < OnPicture || param->style > OnColor || param->depth < 1 ||
        param->depth > 10 || param->direction < 1 || param->direction > 8)
        return nullptr;
    const tagParamEmboss record = *param;
    EffectFrame frame(dib);
    if (!servesSamples(frame))
        return nullptr;
    const Dib &source = frame.source();
    const ResultPlan plan = planWithColors(source);
    if (!frame.allocate(plan))
        return nullptr;
    ScratchBlock flat(sampleBytes(source));
    if (!flat.bytes())
        return frame.giveUp();
    frame.open(plan.headerBytes);
    writeGround(flat.bytes(), source, record);
    const int height = source.height(), depth = depthWithin(source, record.depth);
    const std::size_t bandBytes = static_cast<std::size_t>(depth) * samplesPerPixel(source),
                      bytes = sampleBytes(source);
    const auto groundOf = [&](int y) { return record.style == OnPicture ? source.row(y) : flat.bytes(); };
    const auto writeBand = [&](int y) {
        std::memcpy(frame.result().row(y), groundOf(y), bytes);
        frame.clearPadding(y);
    };
    const Relief relief(source, record, depth);
    for (int y : frame.steps(depth, {.reportEvery = 0}))
        writeBand(y);
    for (int y : frame.steps(height - depth, {.percentOf = height, .firstRow = depth})) {
        uint8_t *const to = frame.result().row(y);
        const uint8_t *const ground = groundOf(y);
        std::memcpy(to, ground, bandBytes);
        std::memcpy(to + bytes - bandBytes, ground + bytes - bandBytes, bandBytes);
        relief.write(to, ground, y);
        frame.clearPadding(y);
    }
    for (int y : frame.steps(height, {.reportEvery = 0, .firstRow = height - depth}))
        writeBand(y);
    flat.release();
    return frame.finish();
}
