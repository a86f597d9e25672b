// Compiled for AVX2: only intrinsics and functions of this file, so that nothing shared is compiled for it.
#include "core/simd_avx2.h"
#include "filters/median_columns.h"

namespace velmont::kernels {

namespace {

constexpr std::size_t kParts = ColumnCounts::kParts;

/// [part][k] is 1 from k = part on: what a sample of that part adds to the counts.
struct Steps {
    alignas(16) uint8_t of[kParts][kParts] = {};

    constexpr Steps()
    {
        for (std::size_t part = 0; part < kParts; ++part)
            for (std::size_t k = part; k < kParts; ++k)
                of[part][k] = 1;
    }
};
constexpr Steps kSteps;

__m128i stepOf(std::size_t part)
{
    return _mm_load_si128(reinterpret_cast<const __m128i *>(kSteps.of[part]));
}
void addTo(uint8_t *counts, __m128i steps)
{
    _mm_storeu_si128(reinterpret_cast<__m128i *>(counts), _mm_add_epi8(loadHalf(counts), steps));
}
void takeFrom(uint8_t *counts, __m128i steps)
{
    _mm_storeu_si128(reinterpret_cast<__m128i *>(counts), _mm_sub_epi8(loadHalf(counts), steps));
}

void enter(const ColumnCounts &counts, const uint8_t *row)
{
    for (std::size_t i = 0; i < counts.columns; ++i) {
        const std::size_t part = row[i] / kParts;
        addTo(counts.coarse(i), stepOf(part));
        addTo(counts.fine(part, i), stepOf(row[i] % kParts));
    }
}
void exchange(const ColumnCounts &counts, const uint8_t *leaving, const uint8_t *entering)
{
    for (std::size_t i = 0; i < counts.columns; ++i) {
        const std::size_t from = leaving[i] / kParts, to = entering[i] / kParts;
        addTo(counts.coarse(i), _mm_sub_epi8(stepOf(to), stepOf(from)));
        takeFrom(counts.fine(from, i), stepOf(leaving[i] % kParts));
        addTo(counts.fine(to, i), stepOf(entering[i] % kParts));
    }
}

__m256i countsAt(const uint8_t *from)
{
    return _mm256_cvtepu8_epi16(loadHalf(from));
}

/// Of sixteen rising counts those below `limit`.
unsigned countBelow(__m256i counts, int limit)
{
    const __m256i below = _mm256_cmpgt_epi16(_mm256_set1_epi16(static_cast<int16_t>(limit)), counts);
    return static_cast<unsigned>(_mm_popcnt_u32(static_cast<unsigned>(_mm256_movemask_epi8(below)))) / 2;
}

/// The part that holds the sample of this rank. Rows that a host changed meanwhile may have none.
unsigned partOf(__m256i counts, int rank)
{
    const unsigned part = countBelow(counts, rank);
    return part < kParts ? part : kParts - 1;
}

int countOf(__m256i counts, unsigned part)
{
    alignas(32) int16_t all[kParts];
    _mm256_store_si256(reinterpret_cast<__m256i *>(all), counts);
    return all[part];
}

/// The columns of one channel under the windows of a row, repeated beyond its ends.
class Windows {
public:
    Windows(const MedianRows &rows, const ColumnCounts &counts, std::size_t channel)
        : counts_(counts), channels_(rows.channels), channel_(channel), size_(rows.size),
          last_(static_cast<std::ptrdiff_t>(rows.pixels) - 1), rank_(rows.rank()),
          restsOnSample_(rows.rest == MedianRest::OnSample)
    {
        for (int i = 0; i < size_; ++i)
            coarse_ = _mm256_add_epi16(coarse_, countsAt(counts.coarse(column(i - size_ / 2))));
        for (std::ptrdiff_t &place : finePlace_)
            place = kNowhere;
    }

    /// The output at x; x rises by 1 from call to call.
    uint8_t next(std::ptrdiff_t x)
    {
        const unsigned part = partOf(coarse_, rank_);
        const int rank = part > 0 ? rank_ - countOf(coarse_, part - 1) : rank_; // within the part
        const __m256i fine = fineAt(part, x);
        const unsigned low = part * kParts + countBelow(fine, rank);
        value_ = restsOnSample_ || value_ <= low ? low : heldAbove(low, part, countBelow(fine, rank + 1), x);
        const uint8_t *const entering = counts_.coarse(column(x - size_ / 2 + size_));
        const uint8_t *const leaving = counts_.coarse(column(x - size_ / 2));
        coarse_ = _mm256_sub_epi16(_mm256_add_epi16(coarse_, countsAt(entering)), countsAt(leaving));
        return static_cast<uint8_t>(value_);
    }

private:
    static constexpr std::ptrdiff_t kNowhere = -1024;

    std::size_t column(std::ptrdiff_t x) const
    {
        const std::ptrdiff_t held = x < 0 ? 0 : x > last_ ? last_ : x;
        return static_cast<std::size_t>(held) * channels_ + channel_;
    }

    /// The walk from a value above v[rank] = `low`, where v[rank + 1] is value `nextInPart` of the part or, past its
    /// end, lies in a part behind.
    unsigned heldAbove(unsigned low, unsigned part, unsigned nextInPart, std::ptrdiff_t x)
    {
        unsigned next = part * kParts + nextInPart;
        if (nextInPart == kParts) {
            const unsigned nextPart = partOf(coarse_, rank_ + 1);
            if (value_ / kParts < nextPart)
                return value_;
            next = nextPart * kParts + countBelow(fineAt(nextPart, x), 1);
        }
        const unsigned high = next > low ? next - 1 : low;
        return value_ < high ? value_ : high;
    }

    /// The counts within a part, brought here from where they were wanted last, or anew if that is shorter.
    __m256i fineAt(unsigned part, std::ptrdiff_t x)
    {
        __m256i fine = fine_[part];
        std::ptrdiff_t place = finePlace_[part];
        if (2 * (x - place) > size_) {
            fine = _mm256_setzero_si256();
            for (int i = 0; i < size_; ++i)
                fine = _mm256_add_epi16(fine, countsAt(counts_.fine(part, column(x - size_ / 2 + i))));
        } else {
            for (; place < x; ++place) {
                const uint8_t *const entering = counts_.fine(part, column(place - size_ / 2 + size_));
                const uint8_t *const leaving = counts_.fine(part, column(place - size_ / 2));
                fine = _mm256_sub_epi16(_mm256_add_epi16(fine, countsAt(entering)), countsAt(leaving));
            }
        }
        fine_[part] = fine;
        finePlace_[part] = x;
        return fine;
    }

    const ColumnCounts &counts_;
    std::size_t channels_, channel_;
    int size_;
    std::ptrdiff_t last_;
    int rank_;
    bool restsOnSample_;
    unsigned value_ = 0; // lets v[rank] pass at first
    __m256i coarse_ = _mm256_setzero_si256();
    __m256i fine_[kParts];
    std::ptrdiff_t finePlace_[kParts];
};

} // namespace

void medianOfColumnsAvx2(uint8_t *to, const MedianRows &rows, const ColumnCounts &counts,
                         const uint8_t *leaving)
{
    if (leaving) {
        exchange(counts, leaving, rows.row[rows.size - 1]);
    } else {
        for (int j = 0; j < rows.size; ++j)
            enter(counts, rows.row[j]);
    }
    const auto pixels = static_cast<std::ptrdiff_t>(rows.pixels);
    if (rows.channels == 1) {
        Windows gray(rows, counts, 0);
        for (std::ptrdiff_t x = 0; x < pixels; ++x)
            to[x] = gray.next(x);
        return;
    }
    Windows blue(rows, counts, 0), green(rows, counts, 1), red(rows, counts, 2);
    for (std::ptrdiff_t x = 0; x < pixels; ++x) {
        to[3 * x] = blue.next(x);
        to[3 * x + 1] = green.next(x);
        to[3 * x + 2] = red.next(x);
    }
}

} // namespace velmont::kernels
