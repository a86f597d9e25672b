#pragma once

/// \file
/// Compositing: laying images into others, shadows and stamps.
///
/// Common to all: rows are counted as they are stored. Depths are 24 bits and 8 bits gray where nothing else is said.
/// None of these shows a cursor, reports or polls by itself; the filters and conversions that they call do.
///
/// An alpha mask is an 8-bit gray image: 0 takes nothing of a source, 255 all of it.

#include <cstdint>
#include <velmont/export.h>
#include <velmont/geometry.h>

// Copying in
//
// These write into the destination's pixels, in place; its padding stays. False, with the destination left alone, for a
// null or bad handle among them, different depths of destination and source, a destination that is neither 24-bit nor
// gray, and a mask that is not gray. An 8-bit source's palette is not looked at: its indices are copied as levels. True
// also where nothing meets the destination. Destination and source may be one image; pixels then go one by one, so that
// some that were written are read again.

/// Copies what of the source lies within the destination.
/// \param x,y column and row of the destination for the source's first pixel, any numbers
VELMONT_API bool ProcessCopyIn(void *hDest, void *hSource, int x, int y);
/// \param wrap 0 as above; any other value lets what would lie outside come in again at the opposite edge. Of a source
/// larger than the destination the later pixels stay.
VELMONT_API bool ProcessCopyIn(void *hDest, void *hSource, int x, int y, int wrap);

/// Lays the source over the destination through an alpha mask.
/// \param hAlpha the mask, its first pixel upon the source's. Source pixels beyond its edges have an alpha of 0, before
/// it is inverted
/// \param x,y column and row of the destination for the source's first pixel, any numbers; what lies outside the
/// destination is left out
/// \param blend any value but 0 mixes by alpha: (source * alpha + destination * (255 - alpha) + 127) / 255. With 0 each
/// alpha but 0 copies the source
/// \param polarity 0 inverts the alpha: 255 - alpha
VELMONT_API bool ProcessCopyIn(void *hDest, void *hAlpha, void *hSource, int x, int y, int blend,
                               int polarity);

// Shadows

/// The record of ProcessShadowing and GetShadowDib.
struct tagParamShadow {
    int32_t offsetX; ///< columns that the shadow falls to later ones; counts as 1024 at most either way
    int32_t offsetY; ///< rows that it falls to later ones, likewise
    uint32_t color;  ///< 0x00BBGGRR of the canvas, which the shadow shows where it is laid upon a picture
    int32_t blur;    ///< size of the blur's window in pixels, held to 2 to 32
};

/// Puts a cut-out object on a canvas with room for its shadow. The canvas has the image's size and twice the size of the
/// offsets; the shadow, the mask through ProcessGaussianBlur, lies in its middle and the object where the shadow falls
/// away from it.
/// \param hImage 24 bits or 8 bits gray; \param hAlpha gray, of any size
/// \param hNewImage set to the canvas with the object, of the image's depth
/// \param hNewAlpha set to the alpha of object and shadow together
/// \return 1, and both images are the caller's; 0 and null in both for a null or bad argument, another depth, a canvas too
/// large, no memory, and an abort while the shadow is blurred
VELMONT_API int ProcessShadowing(void *hImage, void *hAlpha, void *&hNewImage, void *&hNewAlpha,
                                 tagParamShadow *param);

/// The shadow alone. Every alpha but 0 throws the same shadow. The offsets are not read; on each side there is
/// room for |blur| pixels, held to 2 to 32, while a negative blur counts as 2 for the blur itself. The shadow goes
/// through ProcessAverage, not through the bell of ProcessShadowing: hosts rely on it.
/// \param hAlpha gray
/// \param hCanvas set to an image of the colour, 24 bits, of the shadow's size
/// \param hShadow set to the shadow's alpha mask
/// \return 1, and both images are the caller's; else 0 and null in both, as ProcessShadowing
VELMONT_API int GetShadowDib(void *hAlpha, void *&hCanvas, void *&hShadow, tagParamShadow *param);

// Stamps

/// Prints a stamp in one colour onto an image, in place. The stamp is resized to the rectangle and its brightness taken
/// for alpha.
/// \param hDest 24 bits or 8 bits gray. An 8-bit image of another palette and a 1-bit one are left as they are, with
/// 1 for an answer
/// \param hStamp 1, 4, 8 or 24 bits
/// \param rect where to print; its size is |right - left| by |bottom - top|, and its first pixel at left, top also where
/// these are the larger numbers
/// \param color 0x00BBGGRR
/// \param polarity,blend as for ProcessCopyIn: polarity 0 prints where the stamp is dark
/// \param strength in percent, any number: alpha becomes alpha * strength / 100, of which the low 8 bits count
/// \return 1; 0 with the destination left alone for a bad handle, an empty or too large rectangle, another depth, no
/// memory, and an abort while the stamp is resized or converted. Two blocks of the rectangle's size stay allocated at
/// each call that returns 1, and nobody holds their handles: hosts count on it
VELMONT_API int ProcessLoadStamp(void *hDest, void *hStamp, tagRECT rect, unsigned long color, int polarity,
                                 int blend, int strength);
