#include "artistic/glass_light.h"
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>

namespace velmont {

namespace {

/// The light by distance from the centre, along the two kinds of sides that an octagon has in a quadrant.
class Octagon {
public:
    Octagon(int centerX, int centerY, int radius, int64_t amount)
        : centerX_(centerX), centerY_(centerY), amount_(static_cast<double>(amount)),
          reach_(radius / flat_.norm)
    {
    }

    /// The levels that the pixels of row y gain from column `first` on, none of them right of the centre. 0 beyond
    /// the octagon.
    void gains(float *to, int first, int count, int y) const
    {
        const int steep = std::clamp(centerX_ - std::abs(y - centerY_) - first + 1, 0, count);
        along(steep_, to, first, steep, y);
        along(flat_, to + steep, first + steep, count - steep, y);
    }

private:
    struct Side {
        double slope, norm;
    };

    void along(const Side &side, float *to, int first, int count, int y) const
    {
        const double start = centerX_ * side.slope - centerY_;
        for (int i = 0; i < count; ++i) {
            const double steps = std::abs(static_cast<int>(start - (first + i) * side.slope + y));
            const double distance = steps / side.norm;
            const double gain = amount_ * (1 - distance / reach_);
            to[i] = distance > reach_ ? 0.0f : static_cast<float>(gain);
        }
    }

    const Side flat_{0.41421356237, std::sqrt(1.171572875251246)};
    const Side steep_{2.414213562373, std::sqrt(6.828427124745731)};
    int centerX_, centerY_;
    double amount_, reach_;
};

/// Adds a gain to each byte: no more than 255, and of what is below 0 the low byte stays: hosts rely on it.
/// \tparam Whole holds every sum
template <typename Whole>
void brighten(uint8_t *bytes, const float *gains, int count)
{
    for (int i = 0; i < count; ++i)
        bytes[i] = static_cast<uint8_t>(static_cast<Whole>(std::min(bytes[i] + gains[i], 255.0f)));
}
using Brighten = void (*)(uint8_t *bytes, const float *gains, int count);

constexpr int kChannels = GlassPixels::kPixelBytes;
/// Columns at a time.
constexpr int kRun = 256;

/// The gains of a run of columns, each for all channels, and those of the columns that mirror them.
struct RunGains {
    std::array<float, kChannels * kRun> left, right;

    void set(const float *gains, int count)
    {
        for (int i = 0; i < count; ++i)
            for (int channel = 0; channel < kChannels; ++channel) {
                const auto from = static_cast<std::size_t>(kChannels * i + channel);
                const auto mirrored = static_cast<std::size_t>(kChannels * (count - 1 - i) + channel);
                left[from] = right[mirrored] = gains[i];
            }
    }
};

} // namespace

void addOctagonLight(const GlassPixels &pixels, int light)
{
    const int64_t amount = int64_t{255} * light / 10;
    const int centerX = pixels.width() / 2, centerY = pixels.height() / 2;
    const int radius = std::min(pixels.width(), pixels.height()) / 2;
    const Octagon octagon(centerX, centerY, radius, amount);
    const Brighten brightenRow =
        std::abs(amount) < 1 << 30 ? brighten<int32_t> : brighten<int64_t>; // the short ones are faster
    std::array<float, kRun> gains;
    RunGains run;
    for (int y = centerY; y < centerY + radius; ++y)
        for (int first = centerX - radius + 1; first <= centerX; first += kRun) {
            const int count = std::min(kRun, centerX - first + 1);
            octagon.gains(gains.data(), first, count, y);
            run.set(gains.data(), count);
            // The centre's own column is no mirror image.
            const int mirrored = first + count - 1 == centerX ? count - 1 : count;
            const int skipped = count - mirrored;
            const auto lightRow = [&](int row) {
                brightenRow(pixels.at(pixels.place(row, first)), run.left.data(), kChannels * count);
                brightenRow(pixels.at(pixels.place(row, 2 * centerX - first - mirrored + 1)),
                            run.right.data() + kChannels * skipped, kChannels * mirrored);
            };
            lightRow(y);
            if (y != centerY)
                lightRow(2 * centerY - y);
            else if (skipped != 0) // the centre is lit twice: hosts rely on it
                brightenRow(pixels.at(pixels.place(centerY, centerX)), run.right.data(), kChannels);
        }
}

} // namespace velmont
