#pragma once

/// \file
/// Warps of the ellipse inscribed in an image. A pixel inside is pulled from where a table turns or scales it to, by
/// its distance from the centre; a pixel outside stays.
///
///     EllipseWarp warp(frame.source());        // between the halves of the frame's begin()
///     if (!warp)
///         return frame.giveUp();
///     frame.open();
///     for (int y : frame.rows())
///         warp.row(frame.result().row(y), y, tables);
///     warp.release();
///     return frame.finish();

#include "core/dib_layout.h"
#include "core/scratch_block.h"
#include "geometry/ellipse_kernels.h"
#include <cstdint>

namespace velmont {

/// How far from the centre a place is, as an index into tables of kEllipseEntries. All of it is reckoned in 32 bits that
/// wrap: hosts see it on images of more than 46341 pixels a side.
struct EllipseIndex {
    int shift;               ///< bits of the quotients below 1; 9 but on very large images
    int32_t acrossDivisor;   ///< squared half axis along a row, in doubled pixels
    int32_t downwardDivisor; ///< the same along a column

    static EllipseIndex make(int width, int height);
    /// The part of the index that a row or a column adds. The index itself is the sum of both, the quotients rounded
    /// each by itself.
    static int32_t part(int32_t fromCentre, int shift, int32_t divisor);
    int32_t ofColumn(int x, int width) const;
    int32_t ofRow(int y, int height) const;
};

/// The doubled distance of a pixel from the centre of `size` pixels.
constexpr int32_t fromCentre(int place, int size)
{
    return static_cast<int32_t>(2 * static_cast<uint32_t>(place) + 1 - static_cast<uint32_t>(size));
}

/// Writes the rows of a warped image of 8 or 24 bits. Nearest pixels only, held inside the image.
class EllipseWarp {
public:
    /// Works out the columns' parts of the index; null where there is no memory for them.
    explicit EllipseWarp(const Dib &source);
    explicit operator bool() const { return columns_.bytes() != nullptr; }

    /// Row y, without its padding. Of the two tables the radial one is the faster.
    void row(uint8_t *to, int y, const RadialWarp &table) const;
    void row(uint8_t *to, int y, const AngularWarp &table) const;

    /// Gives the working memory back; no row can be written afterwards.
    void release() { columns_.release(); }

private:
    template <typename Table>
    void warpRow(uint8_t *to, int y, const Table &table,
                 void (*places)(uint32_t *, const EllipseRow &, int, int, const Table &)) const;

    const Dib &source_;
    EllipseIndex index_;
    ScratchBlock columns_;
    EllipseKernels kernels_ = ellipseKernels();
};

} // namespace velmont
