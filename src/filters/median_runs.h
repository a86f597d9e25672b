#pragma once

/// \file
/// The median by ranks, in vectors of the compiler; each source that includes this compiles it for its instruction
/// set. All of it has internal linkage and calls nothing outside.
///
/// A window is put together from lists of samples in order: its columns are sorted, neighbouring columns merged to
/// lists of two, those to lists of four and so on, and the lists of one half and the other give the two ranks. All
/// windows of a chunk go through a step together, so that each list serves every window that it is part of.

#include "filters/edge_row.h"
#include "filters/median_kernels.h"
#include "filters/rank_network.h"
#include <array>
#include <bit>
#include <cstring>
#if defined(__AVX2__)
#include <immintrin.h>
#endif

namespace velmont::kernels {

namespace {

#if defined(__AVX512BW__)
constexpr std::size_t kLaneCount = 64;
#elif defined(__AVX2__)
constexpr std::size_t kLaneCount = 32;
#else
constexpr std::size_t kLaneCount = 16;
#endif
typedef uint8_t Lanes __attribute__((vector_size(kLaneCount)));

[[gnu::always_inline]] inline Lanes lower(Lanes a, Lanes b)
{
    return a < b ? a : b;
}
[[gnu::always_inline]] inline Lanes higher(Lanes a, Lanes b)
{
    return a > b ? a : b;
}
[[gnu::always_inline]] inline void exchangeLanes(Lanes &low, Lanes &high)
{
    const Lanes first = low;
    low = lower(first, high);
    high = higher(first, high);
}
[[gnu::always_inline]] inline Lanes lanesAt(const uint8_t *from)
{
    Lanes lanes;
    std::memcpy(&lanes, from, sizeof lanes);
    return lanes;
}
[[gnu::always_inline]] inline void putLanes(uint8_t *to, Lanes lanes)
{
    std::memcpy(to, &lanes, sizeof lanes);
}

constexpr std::size_t kMedianChunk = 384; // whole pixels and whole vectors

/// One sample for each window of a chunk, and beyond it for those that the last windows reach.
struct Line {
    static constexpr std::size_t kRoom = kMedianChunk + 3 * (kLargestByRanks - 1) + 2 * kLaneCount;

    alignas(64) uint8_t at[(kRoom + 63) / 64 * 64];
};

/// What a row's walk may rest on: from v[rank] to max(v[rank], v[rank + 1] - 1).
struct Bounds {
    alignas(64) uint8_t low[kMedianChunk];
    alignas(64) uint8_t high[kMedianChunk];
};

/// The rank of the middle.
constexpr int middleRank(int size)
{
    return (size * size + 1) / 2;
}

/// Lists of samples for windows of `size`, by the neighbouring columns that they are of.
template <int size, int rank>
struct RankPlan {
    static constexpr int kSamples = size * size, kRank = rank;
    static constexpr int kFirstHalf = (size + 1) / 2, kSecondHalf = size / 2;

    /// A list of more columns is merged from one of as large a power of two as possible and one of the rest.
    static constexpr int firstPart(int columns)
    {
        return static_cast<int>(std::bit_floor(static_cast<unsigned>(columns - 1)));
    }
    static constexpr std::array<bool, size + 1> needed()
    {
        std::array<bool, size + 1> lists{};
        lists[kFirstHalf] = lists[kSecondHalf] = true;
        for (int columns = kFirstHalf; columns > 1; --columns)
            if (lists[static_cast<std::size_t>(columns)]) {
                const int first = firstPart(columns);
                lists[static_cast<std::size_t>(first)] = lists[static_cast<std::size_t>(columns - first)] =
                    true;
            }
        return lists;
    }

    /// Samples with so many above or below them in their list alone that neither rank can be theirs are dropped:
    /// the list goes on without its `dropped` lowest, and it keeps `kept`.
    static constexpr int dropped(int columns)
    {
        const int others = kSamples - columns * size;
        return kRank - 1 > others ? kRank - 1 - others : 0;
    }
    static constexpr int kept(int columns)
    {
        const int all = columns * size;
        return (all < kRank + 1 ? all : kRank + 1) - dropped(columns);
    }
    /// Where the lists lie.
    static constexpr int firstLine(int columns)
    {
        int line = 0;
        for (int each = 1; each < columns; ++each)
            if (needed()[static_cast<std::size_t>(each)])
                line += kept(each);
        return line;
    }
    static constexpr int kLines = firstLine(kFirstHalf) + kept(kFirstHalf);
};

template <int size>
struct SortingNetwork {
    static constexpr Network kNetwork = sortingNetwork(size);
};
template <int a, int b>
struct MergingNetwork {
    static constexpr Network kNetwork = mergingNetwork(a, b);
};

/// The samples of one rank, and the bounds of the walk, of windows of one size, chunk by chunk.
template <int size, int rank>
class RankWindows {
    using Plan = RankPlan<size, rank>;

public:
    explicit RankWindows(const MedianRows &rows) : rows_(rows) {}

    /// \tparam hasHigh whether the high bounds are wanted too
    template <bool hasHigh>
    void find(Bounds &bounds, std::size_t firstByte, std::size_t bytes)
    {
        gather(firstByte, bytes);
        buildLists(std::make_index_sequence<Plan::kFirstHalf>{}, bytes);
        selectBounds<hasHigh>(bounds, bytes);
    }

private:
    void gather(std::size_t firstByte, std::size_t bytes)
    {
        const std::size_t channels = rows_.channels, reach = (size - 1) * channels;
        const auto first =
            static_cast<std::ptrdiff_t>(firstByte) - static_cast<std::ptrdiff_t>(size / 2 * channels);
        for (int j = 0; j < size; ++j)
            copyWithEdges(samples_[j].at, rows_.row[j], rows_.pixels * channels, channels, first,
                          bytes + reach);
    }

    template <std::size_t... i>
    void buildLists(std::index_sequence<i...>, std::size_t bytes)
    {
        (buildList<static_cast<int>(i) + 1>(bytes), ...);
    }
    template <int columns>
    void buildList(std::size_t bytes)
    {
        if constexpr (Plan::needed()[columns]) {
            const std::size_t all = bytes + (size - columns) * rows_.channels;
            for (std::size_t at = 0; at < all; at += kLaneCount)
                if constexpr (columns == 1)
                    sortColumns(at);
                else
                    mergeLists<columns>(at);
        }
    }
    void sortColumns(std::size_t at)
    {
        Lanes values[size];
        unrolled<size>([&](auto j)
                           __attribute__((always_inline)) { values[j] = lanesAt(samples_[j].at + at); });
        runNetwork<SortingNetwork<size>::kNetwork>(values, exchangeLanes);
        keep<1, SortingNetwork<size>::kNetwork, 0>(values, at);
    }
    template <int columns>
    void mergeLists(std::size_t at)
    {
        constexpr int kFirst = Plan::firstPart(columns), kSecond = columns - kFirst;
        constexpr int kOfFirst = Plan::kept(kFirst), kOfSecond = Plan::kept(kSecond);
        Lanes values[kOfFirst + kOfSecond];
        const Line *const first = list<kFirst>(), *const second = list<kSecond>();
        const std::size_t ahead = kFirst * rows_.channels;
        unrolled<kOfFirst>([&](auto k)
                               __attribute__((always_inline)) { values[k] = lanesAt(first[k].at + at); });
        unrolled<kOfSecond>([&](auto k) __attribute__((always_inline)) {
            values[kOfFirst + k] = lanesAt(second[k].at + at + ahead);
        });
        using Merging = MergingNetwork<kOfFirst, kOfSecond>;
        runNetwork<Merging::kNetwork>(values, exchangeLanes);
        keep<columns, Merging::kNetwork, Plan::dropped(kFirst) + Plan::dropped(kSecond)>(values, at);
    }
    template <int columns, const Network &network, int droppedBefore>
    [[gnu::always_inline]] void keep(const Lanes *values, std::size_t at)
    {
        Line *const to = list<columns>();
        unrolled<Plan::kept(columns)>([&](auto k) __attribute__((always_inline)) {
            putLanes(to[k].at + at, values[network.wire[Plan::dropped(columns) - droppedBefore + k]]);
        });
    }
    template <int columns>
    Line *list()
    {
        return lists_ + Plan::firstLine(columns);
    }

    /// The ranks of two lists a and b, counting from 1: of all pairs a[i] and b[rank + 1 - i] the lower ones and what
    /// has no partner make up the `rank` lowest samples, and the higher ones the rest as far as it matters.
    template <bool hasHigh>
    void selectBounds(Bounds &bounds, std::size_t bytes)
    {
        constexpr int kOfA = Plan::kept(Plan::kFirstHalf), kOfB = Plan::kept(Plan::kSecondHalf);
        constexpr int kRank =
            Plan::kRank - Plan::dropped(Plan::kFirstHalf) - Plan::dropped(Plan::kSecondHalf);
        const Line *const a = list<Plan::kFirstHalf>() - 1, *const b = list<Plan::kSecondHalf>() - 1;
        const std::size_t ahead = Plan::kFirstHalf * rows_.channels;
        for (std::size_t at = 0; at < bytes; at += kLaneCount) {
            Lanes low{}, next = ~Lanes{};
            unrolled<kRank + 2>([&](auto i) __attribute__((always_inline)) {
                constexpr int j = kRank + 1 - i;
                constexpr bool hasA = i >= 1 && i <= kOfA, hasB = j >= 1 && j <= kOfB;
                if constexpr (hasA && hasB) {
                    const Lanes first = lanesAt(a[i].at + at), second = lanesAt(b[j].at + at + ahead);
                    low = higher(low, lower(first, second));
                    next = lower(next, higher(first, second));
                } else if constexpr (hasA || hasB) {
                    const Lanes alone = lanesAt(hasA ? a[i].at + at : b[j].at + at + ahead);
                    if constexpr (i == 0 || j == 0)
                        next = lower(next, alone);
                    else
                        low = higher(low, alone);
                }
            });
            const Lanes one = Lanes{} + uint8_t{1};
            putLanes(bounds.low + at, low);
            if constexpr (hasHigh)
                putLanes(bounds.high + at, higher(low, higher(next, one) - one));
        }
    }

    const MedianRows &rows_;
    Line samples_[size], lists_[Plan::kLines];
};

#if defined(__AVX2__)

/// The walk along a row. To hold a value to one pair of bounds and then to another is to hold it to a third, so that
/// the bounds of neighbours come together in steps of 1, 2, 4 and 8 pixels, and only then the value passes through.
template <int channels>
class Walk {
public:
    void along(uint8_t *to, const Bounds &bounds, std::size_t bytes)
    {
        alignas(32) uint8_t values[kMedianChunk];
        for (std::size_t at = 0; at < bytes; at += 32) {
            const Held held =
                joined({_mm256_load_si256(reinterpret_cast<const __m256i *>(bounds.low + at)),
                        _mm256_load_si256(reinterpret_cast<const __m256i *>(bounds.high + at))});
            pass(values + at, _mm256_castsi256_si128(held.low), _mm256_castsi256_si128(held.high));
            pass(values + at + 16, _mm256_extracti128_si256(held.low, 1),
                 _mm256_extracti128_si256(held.high, 1));
        }
        std::memcpy(to, values, bytes);
    }

private:
    struct Held {
        __m256i low, high;
    };

    /// Each sample with what lies before it among the sixteen that it is one of.
    static Held joined(Held held)
    {
        held = withThoseBefore<channels>(held);
        held = withThoseBefore<2 * channels>(held);
        held = withThoseBefore<4 * channels>(held);
        if constexpr (8 * channels < 16)
            held = withThoseBefore<8 * channels>(held);
        return held;
    }
    template <int bytes>
    static Held withThoseBefore(Held held)
    {
        const __m256i low = _mm256_slli_si256(held.low, bytes);
        const __m256i high = _mm256_alignr_epi8(held.high, _mm256_set1_epi8(-1), 16 - bytes);
        return {_mm256_max_epu8(held.low, _mm256_min_epu8(low, held.high)),
                _mm256_max_epu8(held.low, _mm256_min_epu8(high, held.high))};
    }
    void pass(uint8_t *to, __m128i low, __m128i high)
    {
        const __m128i values = _mm_max_epu8(low, _mm_min_epu8(carried_, high));
        _mm_store_si128(reinterpret_cast<__m128i *>(to), values);
        carried_ = _mm_shuffle_epi8(values, lastPixel_);
    }

    /// For each of the next sixteen samples the last one of its channel; 0 at first, which lets v[rank] pass.
    __m128i carried_ = _mm_setzero_si128();
    const __m128i lastPixel_ =
        channels == 3 ? _mm_setr_epi8(13, 14, 15, 13, 14, 15, 13, 14, 15, 13, 14, 15, 13, 14, 15, 13)
                      : _mm_set1_epi8(15);
};

#else

/// The walk along a row.
template <int channels>
class Walk {
public:
    void along(uint8_t *to, const Bounds &bounds, std::size_t bytes)
    {
        int value[channels];
        for (int channel = 0; channel < channels; ++channel)
            value[channel] = value_[channel];
        for (std::size_t i = 0; i < bytes; i += channels)
            for (int channel = 0; channel < channels; ++channel) {
                const std::size_t at = i + static_cast<std::size_t>(channel);
                const int low = bounds.low[at], high = bounds.high[at];
                const int held = value[channel] < high ? value[channel] : high;
                value[channel] = held > low ? held : low;
                to[at] = static_cast<uint8_t>(value[channel]);
            }
        for (int channel = 0; channel < channels; ++channel)
            value_[channel] = value[channel];
    }

private:
    int value_[channels] = {}; // 0 at first, which lets v[rank] pass
};

#endif

/// Chunk by chunk: write(to, bounds, bytes).
template <int size, int rank, bool hasHigh, typename Write>
void inChunks(uint8_t *to, const MedianRows &rows, Write write)
{
    RankWindows<size, rank> windows(rows);
    Bounds bounds;
    const std::size_t bytes = rows.pixels * rows.channels;
    for (std::size_t start = 0; start < bytes; start += kMedianChunk) {
        const std::size_t count = bytes - start < kMedianChunk ? bytes - start : kMedianChunk;
        windows.template find<hasHigh>(bounds, start, count);
        write(to + start, bounds, count);
    }
}

template <int size, int channels>
void medianOfRanks(uint8_t *to, const MedianRows &rows)
{
    Walk<channels> walk;
    inChunks<size, middleRank(size), true>(to, rows,
                                           [&](uint8_t *at, const Bounds &bounds, std::size_t bytes) {
                                               if (rows.kind == MedianKind::Middle)
                                                   std::memcpy(at, bounds.low, bytes);
                                               else
                                                   walk.along(at, bounds, bytes);
                                           });
}

template <int size>
void belowMedianByRanks(uint8_t *to, const MedianRows &rows)
{
    inChunks<size, middleRank(size) - 1, false>(
        to, rows,
        [](uint8_t *at, const Bounds &bounds, std::size_t bytes) { std::memcpy(at, bounds.low, bytes); });
}

template <int size>
void medianByRanks(uint8_t *to, const MedianRows &rows)
{
    if (rows.channels == 3)
        medianOfRanks<size, 3>(to, rows);
    else
        medianOfRanks<size, 1>(to, rows);
}

template <std::size_t... i>
MedianRow medianOfSize(int size, std::index_sequence<i...>)
{
    static constexpr MedianRow kRows[] = {medianByRanks<static_cast<int>(i) + kSmallestMedian>...};
    return kRows[size - kSmallestMedian];
}
inline MedianRow medianOfSize(int size, MedianKind kind)
{
    if (kind == MedianKind::Below) {
        static constexpr MedianRow kRows[] = {belowMedianByRanks<3>, belowMedianByRanks<5>,
                                              belowMedianByRanks<7>, belowMedianByRanks<9>};
        return kRows[(size - 3) / 2];
    }
    return medianOfSize(size, std::make_index_sequence<kLargestByRanks - kSmallestMedian + 1>{});
}

} // namespace

} // namespace velmont::kernels
