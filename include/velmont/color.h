#pragma once

/// \file
/// One colour between red, green, blue and hue, saturation, value, in integers.
///
/// Red, green, blue, saturation and value run from 0 to 255; hue from 0 to 359, and 360 is taken as 0 on
/// input. Nothing is clamped. All pointers must be valid; a null one makes the call do nothing. The
/// conversions round, so that a round trip can differ by several levels in a channel.

#include <velmont/export.h>

/// Red, green, blue to hue, saturation, value. A colour whose saturation rounds to 0 gets hue 0.
VELMONT_API void RGB_TO_HSV(int *h, int *s, int *v, int r, int g, int b);

/// Hue, saturation, value to red, green, blue. A hue above 360 or below -59 is treated as of the last sector.
VELMONT_API void HSV_TO_RGB(int *r, int *g, int *b, int h, int s, int v);
