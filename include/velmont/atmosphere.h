#pragma once

/// \file
/// Weather and light over a picture: fog, snow and wind; glowing edges, smoked glass and blinds.
///
/// Common to all: a null handle, a null record and other depths than 24 and 8 bits are refused with 0, and where nothing
/// else is said the source is left as it was and the result is a new block of the caller's or 0. Pixels of 8 bits are
/// worked on as levels, whatever the palette says, and lie behind 256 colours, however many biClrUsed names: hosts rely
/// on the place, and a block that is too small for it is refused. Header and those colours are copied, and the padding
/// of the result's rows is 0. See velmont/environment.h for progress and abort.

#include <cstdint>
#include <velmont/export.h>

/// The record of ProcessFog.
struct tagParamFog {
    int32_t density; ///< percent of the way to white, useful from 0 to 100; others are accepted
};

/// Pulls every level toward white: level + (255 - level) * density / 100, rounded toward 0 and held to 255. A density
/// outside 0 to 100 keeps the low 8 bits of what is below 0. Progress goes up to 120, and then to 100 at the end.
VELMONT_API void *ProcessFog(void *dib, tagParamFog *param);

/// The record of ProcessSnow.
struct tagSnowParam {
    int32_t mode;  ///< 1 for snow on what is bright, 2 on what is dark; any other gives a black picture
    int32_t level; ///< percent, useful from 0 to 100; others are accepted
};

/// Turns the brightest or the darkest pixels white. The brightness of a pixel is the mean of its three bytes, or its
/// level at 8 bits. With the range from the darkest pixel to the brightest and a share of it of level^2 / 10000, mode 1
/// turns white what is brighter than the brightest less the share plus 1, mode 2 what is darker than the darkest plus the
/// share less 1. At 8 bits the mean of the first three bytes of the rows, padding included, counts among the
/// brightnesses: hosts rely on it.
VELMONT_API void *ProcessSnow(void *dib, tagSnowParam *param);

/// The record of ProcessWind.
struct tagParamWind {
    int32_t direction; ///< 1 draws light toward the start of a row, any other value toward its end
    /// 1 for streaks of up to 9 pixels, 3 for rows staggered by up to 19 pixels, any other value for streaks of up to 39.
    int32_t strength;
};

/// Smears each row sideways, as far as a random number says. In a streak each pixel takes the mean of the pixels
/// ahead where that is brighter; streaks end at edges of more than 100 levels in the first channel. Staggered, a pixel
/// takes the mean of two neighbours that lie as far ahead as the row's number says. The last column, as seen with the
/// wind, stays. Draws rand() once for each row and does not seed; after an abort the numbers of all rows are drawn
/// nonetheless.
VELMONT_API void *ProcessWind(void *dib, tagParamWind *param);

/// The record of ProcessGlowEdge.
struct tagGlowEdge {
    int32_t spread;    ///< twice the radius in pixels by which bands grow; below -1 leaves nothing of them
    int32_t band;      ///< height of a band in half levels, and gain, useful from 1 to 59; below 1 is refused
    int32_t edgePower; ///< exponent of the edges in sixtieths, above 0.3; useful from -17 to 50
};

/// Edges as glowing bands on black. For each channel: the squared gradient to the power of edgePower / 60 + 0.3, spread
/// over the range of the picture by the power of 1 - band / 60 with a gain that grows with `band`, an upper median over
/// 3 by 3 pixels less 1, the largest of the pixels around, and steps of band / 2 levels above 10. What the powers
/// bring beyond whole numbers is held to their range, and what is no number counts as 0. A channel without edges becomes
/// 10. Hosts rely on windows of both filters that leave the last column out, and so on a last column of 10 where the
/// bands do not grow. There is neither cursor nor poll nor progress, but the arrow cursor where there is no memory.
VELMONT_API void *ProcessGlowEdge(void *dib, tagGlowEdge *param);

/// The record of ProcessSmokedGlass.
struct tagSmokedGlassParam {
    int32_t density; ///< how dark the glass is, in sixtieths, 1 to 20; see ProcessSmokedGlass for others
};

/// A picture seen through streaked glass: from each transition of more than 10 levels between two neighbours the
/// pixel is dragged up to 10 pixels that way, as far as random drops on the glass carry it, and the whole is darkened.
/// Draws 2400 numbers for the drops, whatever the picture, and then for each step of a ray two for each channel, but
/// from light to dark only those of neighbours that lie inside the picture; it does not seed.
/// A density outside 1 to 20 is answered with the source's handle itself, and hosts rely on what is left behind: the
/// source keeps a lock, the wait cursor stays, and the block that was taken for the result is lost.
VELMONT_API void *ProcessSmokedGlass(void *dib, tagSmokedGlassParam *param);

/// The record of ProcessBlind.
struct tagBlindParam {
    int32_t orientation; ///< 0 for slats side by side, others for slats one above the other
    int32_t direction;   ///< 0 starts at the last column or row, and slats fade that way; others at the first
    int32_t slatWidth;   ///< pixels, raised to 2
    double opacity; ///< percent of colour that a slat grows toward, useful from 0 to 100; others are accepted
    uint32_t color; ///< 0x00BBGGRR; at 8 bits a level of 0.2 red, 0.7 green and 0.1 blue
};

/// A blind of slats, each clear at its start and of more colour from line to line. The last slat may be narrower and
/// ends with less. An opacity outside 0 to 100 keeps the low 8 bits of what is outside 0 to 255. Hosts rely on polls and
/// progress line by line in each slat, up to the slat's lines * 1200 / height: an abort ends the slat, and the effect
/// only if it comes in the last one; the lines that another one left out are 0.
VELMONT_API void *ProcessBlind(void *dib, tagBlindParam *param);
