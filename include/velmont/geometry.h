#pragma once

/// \file
/// Geometry and pixel formats.
///
/// Common to all: a null handle and a depth that is not named are refused with 0, the source is left as it
/// was, and the result is a new block of the caller's or 0. Dimensions, row order, resolution and the header
/// fields that a function does not name are carried over. See velmont/environment.h for progress and abort.

#include <cstdint>
#include <velmont/export.h>

/// A rectangle in pixels; right and bottom lie outside it.
struct tagRECT {
    int32_t left, top, right, bottom;
};

/// A point in pixels.
struct tagPOINT {
    int32_t x, y;
};

/// To an 8-bit gray image. Depths: 1, 4, 8 and 24 bits.
/// The gray is (76 * red + 127) / 255 + (150 * green + 127) / 255 + (29 * blue + 127) / 255, each quotient
/// truncated by itself. Pixels without a palette entry become black: with biClrUsed 0, all of them. A gray
/// image is converted like any other.
VELMONT_API void *ProcessConvertToGrayScale(void *dib);

/// To a 24-bit image through the palette. Depths: 1, 4 and 8 bits; 24 bits are refused.
/// Pixels without a palette entry become black.
VELMONT_API void *ProcessConvertTo24BitColor(void *dib);

/// To a 1-bit image, black and white. Depth: 8 bits.
/// \param threshold a pixel becomes white when its stored byte, whatever its palette colour, is above this
/// value; any int is allowed. The result's biSizeImage counts the whole block, header and palette included:
/// hosts rely on it. Neither cursor nor progress nor abort is touched.
VELMONT_API void *ProcessConvertFrom8To1(void *dib, int threshold);

// Polar warps.
//
// Depths: 8 bits gray and 24 bits. The angular and the radial warp pull the pixels inside the ellipse inscribed in the
// image from elsewhere, nearest pixel, and leave those outside as they are. A distance from the centre is normalised: 0
// at the centre, 1 on the ellipse.

/// The record of ProcessPolarTransformAngular.
struct tagParamPTAngular {
    /// 1 spiral: a turn in proportion to the distance; 2 whirlpool: a turn that is strongest at the centre; 3 a turn of
    /// twice the arc tangent of the distance; 4 a turn that grows to a right angle and shrinks the picture the more the
    /// farther out. Any other is refused.
    int32_t type;
    /// Percent, 1 to 100; any other is refused, for types 3 and 4 too, which have no use for it.
    int32_t strength;
};

/// Turns the picture around its centre by an amount that depends on the distance from it.
/// A null record is refused. Code 57.
VELMONT_API void *ProcessPolarTransformAngular(void *dib, tagParamPTAngular *param);

/// The record of ProcessPolarTransformRadial.
struct tagParamPTRadial {
    int32_t type;     ///< 1 cone; 2 sphere; 3 fish eye. Any other is refused.
    int32_t strength; ///< percent, 1 to 100, any other is refused; type 2 ignores it
};

/// Moves pixels along the line to the centre, by an amount that depends on the distance from it.
/// A null record is refused. Code 64.
VELMONT_API void *ProcessPolarTransformRadial(void *dib, tagParamPTRadial *param);

/// The angular warp of type 1. Code 50, `param` points to the strength.
VELMONT_API void *ProcessSpiral(void *dib, int strength);
/// The angular warp of type 2. Code 49, `param` points to the strength.
VELMONT_API void *ProcessWhirlpool(void *dib, int strength);
/// The radial warp of type 1, which pinches the centre. Code 48, `param` points to the strength.
VELMONT_API void *ProcessCone(void *dib, int strength);
/// The radial warp of type 2, as if the picture lay on a sphere. Code 55.
VELMONT_API void *ProcessSphere(void *dib);
/// The radial warp of type 3, which magnifies the centre. Code 41, `param` points to the strength.
VELMONT_API void *ProcessFishEye(void *dib, int strength);

/// Wraps the picture around an upright cylinder: rows stay rows, columns crowd towards the sides. Between two pixels
/// it mixes them. Code 66. An abort is also polled for each column, before the rows and without progress.
VELMONT_API void *ProcessCylinder(void *dib);
