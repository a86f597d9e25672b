#include "artistic/cell_grid.h"
#include "artistic/jitter.h"
#include "core/generator.h"

namespace velmont {

namespace {

/// Three sums of samples in one number, of that many pixels at most.
constexpr int kSumBits = 21;
constexpr uint64_t kSumMask = (uint64_t{1} << kSumBits) - 1;
constexpr int kPixelsPerSum = 8192;
static_assert(uint64_t{255} * kPixelsPerSum <= kSumMask);

} // namespace

CellDrawer::Range CellDrawer::windowAround(int64_t place, int size) const
{
    return {static_cast<int>(std::clamp<int64_t>(place - plan_.window, 0, size)),
            static_cast<int>(std::clamp<int64_t>(place + plan_.window + 1, 0, size))};
}

/// Hosts rely on the order of the numbers: column, row, and the jitter of red, green and blue.
void CellDrawer::drawDrafts(int row) const
{
    for (int i = 0; i < columns_; ++i) {
        Draft &draft = drafts()[i];
        draft = {};
        draft.x = rand() % plan_.pitch + i * plan_.pitch;
        draft.y = rand() % plan_.pitch + row * plan_.pitch;
        for (int channel = 0; channel < samples_.channels() && plan_.swing > 0; ++channel)
            draft.numbers[channel] = rand();
        draft.columns = windowAround(draft.x, samples_.width());
        draft.rows = windowAround(draft.y, samples_.height());
    }
}

void CellDrawer::sumWindows() const
{
    Range rows{samples_.height(), 0};
    for (int i = 0; i < columns_; ++i) {
        rows.first = std::min(rows.first, drafts()[i].rows.first);
        rows.end = std::max(rows.end, drafts()[i].rows.end);
    }
    for (int y = rows.first; y < rows.end; ++y) {
        sumRow(y);
        for (int i = 0; i < columns_; ++i)
            if (y >= drafts()[i].rows.first && y < drafts()[i].rows.end)
                addRow(drafts()[i]);
    }
}

/// The sums of all pixels before each one, which may overflow: differences of near ones come out right all the same.
void CellDrawer::sumRow(int y) const
{
    const uint8_t *from = samples_.sourceRow(y);
    uint64_t *const to = sums();
    uint64_t sum = to[0] = 0;
    if (samples_.channels() == 1) {
        for (int x = 0; x < samples_.width(); ++x)
            to[x + 1] = sum += samples_.sourceLevel(from[x]);
        return;
    }
    for (int x = 0; x < samples_.width(); ++x, from += 3)
        to[x + 1] = sum += from[2] | uint64_t{from[1]} << kSumBits | uint64_t{from[0]} << 2 * kSumBits;
}

void CellDrawer::addRow(Draft &draft) const
{
    for (int x = draft.columns.first; x < draft.columns.end;) {
        const int end = x + std::min(kPixelsPerSum, draft.columns.end - x);
        const uint64_t part = sums()[end] - sums()[x];
        for (int channel = 0; channel < 3; ++channel)
            draft.sums[channel] += part >> channel * kSumBits & kSumMask;
        x = end;
    }
}

uint32_t CellDrawer::colorOf(const Draft &draft) const
{
    const auto pixels = static_cast<uint64_t>(draft.columns.size() * draft.rows.size());
    uint32_t color = 0;
    for (int channel = 0; channel < samples_.channels(); ++channel) {
        uint32_t level = pixels > 0 ? static_cast<uint32_t>(draft.sums[channel] / pixels) : 0;
        if (plan_.swing > 0)
            level = jitteredLevel(static_cast<int>(level), draft.numbers[channel], plan_.swing);
        color |= level << 8 * channel;
    }
    return color;
}

void storeColors(const ViewSamples &samples, int x, int y, const uint32_t *colors, int count)
{
    uint8_t *to = samples.resultRow(y) + std::ptrdiff_t{x} * samples.channels();
    if (samples.channels() == 1) {
        for (int i = 0; i < count; ++i)
            samples.store(to + i, redOf(colors[i]));
        return;
    }
    for (int i = 0; i < count; ++i, to += 3) {
        to[0] = blueOf(colors[i]);
        to[1] = greenOf(colors[i]);
        to[2] = redOf(colors[i]);
    }
}

} // namespace velmont
