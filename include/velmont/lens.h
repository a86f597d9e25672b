#pragma once

/// \file
/// Light in the lens: flares and stars.
///
/// Common to all: a null handle and a null record are refused with 0, the source is left as it was, and the result is a
/// new block of the caller's or 0. See velmont/environment.h for progress and abort.

#include <cstdint>
#include <velmont/export.h>

/// The record of ProcessFlare. A host's record may be longer; what follows is not looked at.
struct tagParamFlare {
    int32_t x; ///< column of the light in pixels; it may lie outside the image
    int32_t
        y; ///< the light's line in pixels, counted down from the top of an image stored from the bottom up; any
};

/// A flare: a bright centre with rings, and nineteen reflections of it along the line through the middle of the image.
/// Depths: made for 24 bits; 8 bits are refused. Others are not refused: pixels are taken to be three bytes each from
/// byte 40 on there too, so that no useful picture comes of it.
/// The result is a copy of the whole image in which the light changes pixels inside the circles of the reflections and
/// no others, not even beside the light itself: hosts rely on it. Each run and each failure of one leaves one lock more
/// on the image than it had; a refusal does not.
VELMONT_API void *ProcessFlare(void *dib, tagParamFlare *param);

/// The record of ProcessSunBurst.
struct tagParamSunburst {
    int32_t x;      ///< column of the centre in pixels; it may lie outside the image
    int32_t y;      ///< line of the centre in pixels, counted as for ProcessFlare
    uint32_t color; ///< of the star, 0x00BBGGRR
    int32_t radius; ///< of the glow in pixels; 0 is refused, and below 0 the star is turned by half a circle
    int32_t spokeCount; ///< 1 to 268435455; others are refused
    int32_t randomHue;  ///< how far the hue may wander from spoke to spoke, in degrees; any
};

/// A star: a glowing centre, and spokes of random length whose colours drift at random. Draws seven numbers of the
/// library's generator for each spoke, which it does not seed: the same state gives the same star.
/// Depths: 24 bits, whatever biClrUsed says, and 8 bits, where the star is painted over the red of a pixel's colour. What
/// comes of it is stored as it is in images of 256 colours or of no stated number, in others as the first colour of that
/// red, 0 without one. Other depths are not refused but come out blank.
VELMONT_API void *ProcessSunBurst(void *dib, tagParamSunburst *param);
