#include "artistic/sized_median.h"
#include "filters/median_pass.h"
#include <cstring>

namespace velmont {

bool applyMedianSized(uint8_t *to, const SampleRows &source, int n)
{
    if (n == 1) {
        std::memcpy(to, source.first, source.bytes());
        return true;
    }
    if (n < kSmallestMedian || n > kLargestMedian)
        return false;
    MedianPass medians(source, n, MedianKind::Middle);
    for (int y = 0; y < source.height; ++y)
        medians.writeNext(to + source.stride * static_cast<std::size_t>(y));
    return true;
}

} // namespace velmont
