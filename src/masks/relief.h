#pragma once

#include "masks/pattern_kernels.h"
#include <algorithm>
#include <array>

namespace velmont {

/// Adds to pixels what a row of tiles lies below the middle level, in percent: any number of them.
class Relief {
public:
    Relief(int percent, std::size_t channels) : percent_(percent), channels_(channels)
    {
        if (isShortPercent(percent))
            kernel_ = channels == 3 ? patternKernels().colorRelief : patternKernels().grayRelief;
        for (int level = 0; level < 256; ++level) {
            const int64_t height = int64_t{128 - level} * percent / 100;
            // More than this is cut from any byte.
            height_[static_cast<std::size_t>(level)] =
                static_cast<int16_t>(std::clamp<int64_t>(height, -255, 255));
        }
    }

    void row(uint8_t *to, const uint8_t *from, const uint8_t *tiles, std::size_t pixels) const
    {
        if (kernel_)
            kernel_(to, from, tiles, pixels, percent_);
        else
            rowByTable(to, from, tiles, channels_ * pixels);
    }

private:
    void rowByTable(uint8_t *to, const uint8_t *from, const uint8_t *tiles, std::size_t bytes) const
    {
        for (std::size_t i = 0; i < bytes; i += channels_) {
            std::size_t mean = 0;
            for (std::size_t channel = i; channel < i + channels_; ++channel)
                mean += tiles[channel];
            mean /= channels_;
            for (std::size_t channel = i; channel < i + channels_; ++channel)
                to[channel] = static_cast<uint8_t>(std::clamp(from[channel] + height_[mean], 0, 255));
        }
    }

    int percent_;
    std::size_t channels_;
    PatternRow kernel_ = nullptr; ///< for the percentages that it takes
    std::array<int16_t, 256> height_;
};

} // namespace velmont
