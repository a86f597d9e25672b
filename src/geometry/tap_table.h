#pragma once

#include "core/scratch_block.h"
#include "geometry/tap_kernels.h"

namespace velmont {

/// For each coordinate of a result the taps of the cubic of Mitchell and Netravali (both parameters 1/3) on the source's
/// coordinates, widened where the side shrinks. The weights of a record add up to 65536.
class TapTable {
public:
    /// \param alignCorners whether the first and last pixels of both sides lie upon each other
    TapTable(int newSize, int size, bool alignCorners);

    /// Whether there was memory for the table.
    explicit operator bool() const { return block_.bytes() != nullptr; }
    TapRecord operator[](int coordinate) const
    {
        const std::size_t first = starts()[coordinate];
        return {taps() + first, starts()[coordinate + 1] - first};
    }
    void release() { block_.release(); }

private:
    std::size_t *starts() const { return reinterpret_cast<std::size_t *>(block_.bytes()); }
    Tap *taps() const { return reinterpret_cast<Tap *>(starts() + count_ + 1); }

    std::size_t count_;
    ScratchBlock block_;
};

} // namespace velmont
