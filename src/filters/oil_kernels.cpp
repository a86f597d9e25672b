#include "filters/oil_kernels.h"
#include "core/cpu.h"

namespace velmont {

void countOilRow(uint8_t *columns, const uint8_t *from, std::size_t bytes, int count)
{
    for (std::size_t i = 0; i < bytes; ++i) {
        uint8_t &bin = columns[kOilBins * i + (from[i] >> kOilBinShift)];
        bin = static_cast<uint8_t>(bin + count);
    }
}

void exchangeOilRows(uint8_t *columns, const uint8_t *leaving, const uint8_t *entering, std::size_t bytes)
{
    for (std::size_t i = 0; i < bytes; ++i) {
        uint8_t *const column = columns + kOilBins * i;
        --column[leaving[i] >> kOilBinShift];
        ++column[entering[i] >> kOilBinShift];
    }
}

namespace kernels {

namespace {

/// One window of one channel.
struct Counts {
    uint16_t of[kOilBins] = {};

    void add(const uint8_t *column)
    {
        for (std::size_t bin = 0; bin < kOilBins; ++bin)
            of[bin] = static_cast<uint16_t>(of[bin] + column[bin]);
    }
    void exchange(const uint8_t *leaving, const uint8_t *entering)
    {
        for (std::size_t bin = 0; bin < kOilBins; ++bin)
            of[bin] = static_cast<uint16_t>(of[bin] - leaving[bin] + entering[bin]);
    }
    std::size_t fullest() const
    {
        std::size_t best = 0;
        for (std::size_t bin = 1; bin < kOilBins; ++bin)
            if (of[bin] > of[best])
                best = bin;
        return best;
    }
};

} // namespace

void oilRowPlain(uint8_t *to, const uint8_t *columns, const OilWindows &windows)
{
    for (std::size_t channel = 0; channel < windows.channels; ++channel) {
        const auto columnAt = [&](int64_t x) {
            return columns + kOilBins * (windows.columnAt(x) * windows.channels + channel);
        };
        Counts counts;
        for (int i = 0; i < windows.size; ++i)
            counts.add(columnAt(i - windows.before));
        for (std::size_t x = 0; x < windows.pixels; ++x) {
            to[x * windows.channels + channel] = static_cast<uint8_t>(counts.fullest() << kOilBinShift);
            const int64_t first = static_cast<int64_t>(x) - windows.before;
            counts.exchange(columnAt(first), columnAt(first + windows.size));
        }
    }
}

} // namespace kernels

OilRow oilRow([[maybe_unused]] int size)
{
#if defined(__x86_64__)
    constexpr int kLargestNarrow = 15; // 225 samples
    if (cpuLevel() >= CpuLevel::Avx2)
        return size <= kLargestNarrow ? kernels::oilRowNarrowAvx2 : kernels::oilRowAvx2;
#endif
    return kernels::oilRowPlain;
}

} // namespace velmont
