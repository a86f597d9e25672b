#include "tone/histogram.h"
#include "core/classify_dib.h"
#include "core/locked_dib.h"
#include "platform/services.h"
#include "tone/level_counts.h"
#include <algorithm>
#include <new>

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define VELMONT_LEAK_CHECK 1
#endif
#endif
#if defined(__SANITIZE_ADDRESS__) || defined(VELMONT_LEAK_CHECK)
#include <sanitizer/lsan_interface.h>
#undef VELMONT_LEAK_CHECK
#define VELMONT_LEAK_CHECK 1
#endif

namespace velmont {

namespace {

constexpr std::size_t kBins = 256;

void copyCounts(double *bins, const LevelCounts &counts)
{
    std::copy(counts.begin(), counts.end(), bins);
}

void countGray(const Dib &source, const HistogramRecord &record)
{
    ByteCounter counter;
    for (int y = 0; y < source.height(); ++y)
        counter.add(source.row(y), static_cast<std::size_t>(source.width()));
    copyCounts(record.channels[0], counter.total());
}

void countColor(const Dib &source, const HistogramRecord &record)
{
    PixelCounter counter;
    for (int y = 0; y < source.height(); ++y)
        counter.add(source.row(y), static_cast<std::size_t>(source.width()));
    copyCounts(record.channels[0], counter.largest());
    for (int channel = 0; channel < 3; ++channel)
        copyCounts(record.channels[1 + channel], counter.channel(channel));
}

void deleteBins(const HistogramRecord &record)
{
    if (!record.channels)
        return;
    for (int32_t i = 0; i < record.channelCount; ++i)
        delete[] record.channels[i];
}

/// A record with every bin 0, or null. Its reserved word is not written.
HistogramRecord *newRecord(int32_t channelCount)
{
    auto *const record = new (std::nothrow) HistogramRecord;
    if (!record)
        return nullptr;
    record->channelCount = channelCount;
    const auto count = static_cast<std::size_t>(channelCount);
    record->channels = new (std::nothrow) double *[count]();
    bool isComplete = record->channels != nullptr;
    for (std::size_t i = 0; isComplete && i < count; ++i) {
        record->channels[i] = new (std::nothrow) double[kBins]();
        isComplete = record->channels[i] != nullptr;
    }
    if (isComplete)
        return record;
    deleteBins(*record);
    delete[] record->channels;
    delete record;
    return nullptr;
}

/// Tells a leak checker that this is meant.
void leaveBehind([[maybe_unused]] const void *memory)
{
#if defined(VELMONT_LEAK_CHECK)
    __lsan_ignore_object(memory);
#endif
}

} // namespace

HistogramRecord *makeHistogram(const Dib &source)
{
    showWaitCursor();
    HistogramRecord *const record = newRecord(source.bitCount() / 8 + 1);
    if (record && source.bitCount() == 24)
        countColor(source, *record);
    else if (record)
        countGray(source, *record);
    showArrowCursor();
    return record;
}

} // namespace velmont

using namespace velmont;

unsigned char *GetHistogram(void *dib)
{
    const LockedDib source(dib);
    const int kind = source ? ClassifyDibHeader(*source) : 0;
    if (kind != 1 && kind != 2)
        return nullptr;
    return reinterpret_cast<unsigned char *>(makeHistogram(*source));
}

void DelHistogram(unsigned char *histogram)
{
    auto *const record = reinterpret_cast<HistogramRecord *>(histogram);
    if (!record)
        return;
    deleteBins(*record);
    leaveBehind(record->channels); // the array of pointers stays: hosts may still read it
    delete record;
}
