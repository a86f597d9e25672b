#include "filters/sample_frame.h"
#include <algorithm>
#include <cmath>
#include <cstring>
#include <velmont/atmosphere.h>

namespace velmont {

namespace {

/// Lines of a slat that are worked on together.
constexpr int kLines = 64;
constexpr int kMostChannels = 3;

/// What becomes of a level: level * keep + add.
struct Share {
    double keep, add;
};

/// The low 8 bits of a number without its fraction; 0 for what 64 bits cannot hold and for what is no number.
uint8_t lowByte(double value)
{
    return std::abs(value) < 0x1p63 ? static_cast<uint8_t>(static_cast<int64_t>(value)) : 0;
}

/// The same for numbers that 32 bits hold.
uint8_t nearLowByte(double value)
{
    return static_cast<uint8_t>(static_cast<int32_t>(value));
}

/// Samples through the shares of their columns.
template <auto Low>
void blendColumns(uint8_t *__restrict to, const uint8_t *__restrict from, const Share *__restrict shares,
                  std::size_t bytes)
{
    for (std::size_t i = 0; i < bytes; ++i)
        to[i] = Low(from[i] * shares[i].keep + shares[i].add);
}

/// Samples of a row through the shares of their channels.
template <auto Low, std::size_t channels>
void blendRow(uint8_t *__restrict to, const uint8_t *__restrict from, const Share *shares, std::size_t bytes)
{
    Share share[channels];
    std::copy_n(shares, channels, share);
    for (std::size_t i = 0; i < bytes; i += channels)
        for (std::size_t channel = 0; channel < channels; ++channel)
            to[i + channel] = Low(from[i + channel] * share[channel].keep + share[channel].add);
}

using Blend = void (*)(uint8_t *to, const uint8_t *from, const Share *shares, std::size_t bytes);

/// The slats of one run, line by line.
class Blind {
public:
    Blind(EffectFrame &frame, const Dib &source, const tagBlindParam &param)
        : frame_(frame), source_(source), channels_(samplesPerPixel(source)),
          isUpright_(param.orientation == 0), isBackward_(param.direction == 0),
          lines_(isUpright_ ? source.width() : source.height()), slatWidth_(std::max(param.slatWidth, 2)),
          step_(param.opacity * 0.01 / slatWidth_)
    {
        chooseColor(param.color);
        // Far beyond what a picture needs; nothing between leaves 32 bits.
        const bool isNear = std::abs(step_) * std::min(slatWidth_, lines_) < 1e6;
        columns_ = isNear ? blendColumns<nearLowByte> : blendColumns<lowByte>;
        if (channels_ == 3)
            row_ = isNear ? blendRow<nearLowByte, 3> : blendRow<lowByte, 3>;
        else
            row_ = isNear ? blendRow<nearLowByte, 1> : blendRow<lowByte, 1>;
    }

    /// All slats in their order. An abort leaves a slat, and the last slat's the whole.
    void draw()
    {
        const int slats = lines_ / slatWidth_ + (lines_ % slatWidth_ != 0 ? 1 : 0);
        bool isAborted = false;
        for (int i = 0; i < slats; ++i)
            isAborted = drawSlat(isBackward_ ? slats - 1 - i : i);
        if (isAborted)
            frame_.abort();
    }

private:
    void chooseColor(uint32_t color)
    {
        const int red = redOf(color), green = greenOf(color), blue = blueOf(color);
        color_[0] = channels_ == 3 ? blue : static_cast<int>(blue * 0.1 + red * 0.2 + green * 0.7);
        color_[1] = green;
        color_[2] = red;
    }

    /// Polls line by line, and works on several lines as the last of them is reached.
    bool drawSlat(int slat)
    {
        const int64_t first = int64_t{slat} * slatWidth_;
        const int count = static_cast<int>(std::min<int64_t>(slatWidth_, lines_ - first));
        const auto placeOf = [&](int line) {
            return static_cast<int>(first + (isBackward_ ? count - 1 - line : line));
        };
        // The measure is the height whatever the orientation, and a slat's lines are counted by twelve hundreds.
        const RowCadence cadence{.percentSpan = 1200, .percentOf = source_.height()};
        bool isAborted = false;
        double alpha = 0;
        int done = 0, gathered = 0;
        const auto blendGathered = [&] {
            const int start = placeOf(isBackward_ ? done - 1 : done - gathered);
            blend(start, gathered);
            gathered = 0;
        };
        for (int line : RowLoop(count, isAborted, cadence)) {
            gather(alpha, gathered++);
            alpha += step_;
            done = line + 1;
            if (gathered == kLines)
                blendGathered();
        }
        blendGathered();
        for (int line = done; line < count; ++line)
            clear(placeOf(line));
        return isAborted;
    }
    /// The shares of a line, at the place where its column will be among those gathered.
    void gather(double alpha, int line)
    {
        const int place = isBackward_ ? kLines - 1 - line : line;
        for (std::size_t channel = 0; channel < channels_; ++channel)
            shares_[static_cast<std::size_t>(place) * channels_ + channel] = {1 - alpha,
                                                                              color_[channel] * alpha};
    }
    const Share *sharesOf(int place) const { return shares_ + static_cast<std::size_t>(place) * channels_; }

    /// So many lines gathered, of which that at `start` is the first in the picture.
    void blend(int start, int count)
    {
        const int place = isBackward_ ? kLines - count : 0;
        if (isUpright_)
            return blendUpright(start, place, count);
        for (int i = 0; i < count; ++i)
            row_(frame_.result().row(start + i), source_.row(start + i), sharesOf(place + i),
                 sampleBytes(source_));
    }
    void blendUpright(int column, int place, int count)
    {
        const std::size_t offset = static_cast<std::size_t>(column) * channels_;
        const std::size_t bytes = static_cast<std::size_t>(count) * channels_;
        for (int y = 0; y < source_.height(); ++y)
            columns_(frame_.result().row(y) + offset, source_.row(y) + offset, sharesOf(place), bytes);
    }
    /// A line that nobody works on.
    void clear(int place)
    {
        if (!isUpright_) {
            std::memset(frame_.result().row(place), 0, sampleBytes(source_));
            return;
        }
        for (int y = 0; y < source_.height(); ++y)
            std::memset(frame_.result().row(y) + static_cast<std::size_t>(place) * channels_, 0, channels_);
    }

    EffectFrame &frame_;
    const Dib &source_;
    std::size_t channels_;
    bool isUpright_, isBackward_;
    int lines_, slatWidth_;
    double step_;
    int color_[kMostChannels];
    Blend columns_, row_;
    Share shares_[kLines * kMostChannels];
};

} // namespace

} // namespace velmont

using namespace velmont;

void *ProcessBlind(void *dib, tagBlindParam *param)
{
    if (!param)
        return nullptr;
    EffectFrame frame(dib);
    const std::optional<Dib> source = withRowsBehindAllColors(frame, {8, 24});
    if (!source)
        return nullptr;
    if (!frame.begin(planOnSamples(*source, 0)))
        return nullptr;
    Blind(frame, *source, *param).draw();
    frame.clearPadding();
    return frame.finish();
}
