#include "filters/median_kernels.h"
#include "core/cpu.h"
#include "filters/median_columns.h"
#include "filters/median_runs.h"
#include <algorithm>
#include <span>

namespace velmont {

namespace {

/// The samples of a window counted by value, with the candidate among the values.
class MedianWalk {
public:
    MedianWalk(int rank, MedianRest rest) : rank_(rank), rest_(rest) {}

    void count(uint8_t sample) { ++counts_[sample]; }
    /// The first candidate, when all samples of the window are counted.
    void begin()
    {
        atOrBelow_ = -rank_;
        int value = 0;
        while (atOrBelow_ < 0)
            atOrBelow_ += counts_[static_cast<std::size_t>(value++)];
        median_ = value - 1;
    }
    int median() const { return median_; }
    void exchange(uint8_t leaving, uint8_t entering)
    {
        --counts_[leaving];
        ++counts_[entering];
        atOrBelow_ += static_cast<int>(entering <= median_) - static_cast<int>(leaving <= median_);
    }
    /// Moves the candidate until the rank is reached; hosts rely on it to rest there, even between the samples.
    void settle()
    {
        if (atOrBelow_ > 0) {
            while (atOrBelow_ > 0)
                atOrBelow_ -= counts_[static_cast<std::size_t>(median_--)];
            if (atOrBelow_ < 0)
                atOrBelow_ += counts_[static_cast<std::size_t>(++median_)];
        } else {
            while (atOrBelow_ < 0)
                atOrBelow_ += counts_[static_cast<std::size_t>(++median_)];
        }
        if (rest_ == MedianRest::OnSample)
            while (counts_[static_cast<std::size_t>(median_)] <= atOrBelow_)
                atOrBelow_ -= counts_[static_cast<std::size_t>(median_--)];
    }

private:
    int rank_;
    MedianRest rest_;
    int median_ = 0;
    int atOrBelow_ = 0; ///< samples at or below the candidate, less the rank
    std::array<int32_t, 256> counts_{};
};

void walkChannel(uint8_t *to, const MedianRows &rows, std::size_t channel)
{
    const auto used = std::span(rows.row).first(static_cast<std::size_t>(rows.size));
    const int64_t half = rows.size / 2, last = static_cast<int64_t>(rows.pixels) - 1;
    const auto place = [&](int64_t column) {
        return static_cast<std::size_t>(std::clamp<int64_t>(column, 0, last)) * rows.channels + channel;
    };
    MedianWalk walk(rows.rank(), rows.rest);
    for (const uint8_t *row : used)
        for (int i = 0; i < rows.size; ++i)
            walk.count(row[place(i - half)]);
    walk.begin();
    for (int64_t x = 0; x <= last; ++x) {
        to[place(x)] = static_cast<uint8_t>(walk.median());
        const std::size_t leaving = place(x - half), entering = place(x - half + rows.size);
        for (const uint8_t *row : used)
            walk.exchange(row[leaving], row[entering]);
        walk.settle();
    }
}

} // namespace

namespace kernels {

void medianPlain(uint8_t *to, const MedianRows &rows)
{
    for (std::size_t channel = 0; channel < rows.channels; ++channel)
        walkChannel(to, rows, channel);
}

MedianRow medianByRanks(int size)
{
    return medianOfSize(size);
}

} // namespace kernels

MedianRow medianRow(int size)
{
    if (size > kernels::kLargestByRanks)
        return kernels::medianPlain;
#if defined(__x86_64__)
    if (cpuLevel() >= CpuLevel::Avx512)
        return kernels::medianByRanksAvx512(size);
    if (cpuLevel() >= CpuLevel::Avx2)
        return kernels::medianByRanksAvx2(size);
#endif
    return kernels::medianByRanks(size);
}

MedianOfColumns medianOfColumns([[maybe_unused]] int size)
{
#if defined(__x86_64__)
    if (cpuLevel() >= CpuLevel::Avx2 && size > kernels::kLargestByRanks)
        return kernels::medianOfColumnsAvx2;
#endif
    return nullptr;
}

} // namespace velmont
