#pragma once

/// \file
/// Tone and colour: effects that change each sample by itself.
///
/// Common to all: a null handle and a depth that is not named are refused with 0, the source is left as it
/// was, and the result is a new block of the caller's or 0. See velmont/environment.h for progress and abort.

#include <velmont/export.h>

/// The negative: every sample becomes 255 minus itself.
/// Depths: 24 bits, 8 bits gray and 1 bit complement every byte of the rows, padding included; other 8-bit
/// images and 4 bits complement the palette's colours and keep the pixels. A 1-bit image always has two
/// palette entries here, whatever biClrUsed says; it is refused when they and the rows do not fit its block.
VELMONT_API void *ProcessNegative(void *dib);
