#pragma once

/// \file
/// Masks, fills and gradients.
///
/// Common to all: a null handle and a depth that is not named are refused with 0. See velmont/environment.h for
/// progress and abort.

#include <velmont/export.h>
#include <velmont/geometry.h>

// Gradients

/// Paints a colour ramp over the whole picture, mixed with the picture. Depths: 8 bits gray and 24 bits. The source is
/// left as it was; the result is a new block of the caller's with the source's header and palette, or 0. No mask is
/// asked for: a host that wants the gradient within a selection composes the result itself. Distances are those of
/// stored rows and columns, rounded to whole pixels; nothing overflows, whatever the points.
/// \param p1 where a line starts, or the centre; it may lie outside the picture
/// \param p2 where a line ends, or the corner that sets the half sizes. A line is refused where neither coordinate
/// differs by more than 1, the other shapes where one of them does not differ at all
/// \param colorMode 2: the ramp runs through hue, saturation and value, its hue always upwards from color2's to
/// color1's. Any other value: through red, green and blue. At 8 bits it is not looked at
/// \param repeatMode 2: each band starts anew. Any other value: odd bands run backwards
/// \param sourcePercent the picture's share of the result, the gradient's is the rest of 100; any number, the sum is held
/// to 0 to 255. 0 is the pure gradient, 100 the picture
/// \param repeats bands before the end colour takes over: color1 where each band starts anew; else color1 for an odd
/// and color2 for an even number. Below 1 there is no band
/// \param shape 1 square, 2 rectangle, 3 ellipse, 4 circle, 5 line; any other value is refused
/// \param color1 0x00BBGGRR of the end or the outside; at 8 bits what GetColorIndex finds for it
/// \param color2 of the start or the centre, likewise
VELMONT_API void *ProcessGradientFill(void *hDib, tagPOINT p1, tagPOINT p2, int colorMode, int repeatMode,
                                      int sourcePercent, int repeats, int shape, unsigned long color1,
                                      unsigned long color2);

/// The gradient along the line from p1 to p2; what lies behind the start has color2.
/// \param shape is not looked at
VELMONT_API void *ProcessLinearGradient(void *hDib, tagPOINT p1, tagPOINT p2, int colorMode, int repeatMode,
                                        int sourcePercent, int repeats, int shape, unsigned long color1,
                                        unsigned long color2);

/// The gradient in circles or ellipses around p1. A half size ten times the other or more raises the other to about
/// a tenth; and bands that would reach 40000 pixels or more are made as many as fit there, or one.
/// \param shape 4: a circle of the smaller half size. 3: an ellipse. Any other value paints a circle where both half
/// sizes are the same, and gives a picture of zeros where they are not
VELMONT_API void *ProcessCircularGradient(void *hDib, tagPOINT p1, tagPOINT p2, int colorMode, int repeatMode,
                                          int sourcePercent, int repeats, int shape, unsigned long color1,
                                          unsigned long color2);

/// The gradient in squares or rectangles around p1.
/// \param shape 1: squares of the smaller half size. 2: rectangles. Any other value paints squares where both half
/// sizes are the same, and gives a picture of zeros where they are not
VELMONT_API void *ProcessRectangularGradient(void *hDib, tagPOINT p1, tagPOINT p2, int colorMode,
                                             int repeatMode, int sourcePercent, int repeats, int shape,
                                             unsigned long color1, unsigned long color2);
