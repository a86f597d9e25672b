#pragma once

/// \file
/// Tone and colour: effects that change each sample by itself.
///
/// Common to all: a null handle and a depth that is not named are refused with 0, the source is left as it
/// was, and the result is a new block of the caller's or 0. See velmont/environment.h for progress and abort.

#include <cstdint>
#include <velmont/export.h>

/// The negative: every sample becomes 255 minus itself.
/// Depths: 24 bits, 8 bits gray and 1 bit complement every byte of the rows, padding included; other 8-bit
/// images and 4 bits complement the palette's colours and keep the pixels. A 1-bit image always has two
/// palette entries here, whatever biClrUsed says; it is refused when they and the rows do not fit its block.
VELMONT_API void *ProcessNegative(void *dib);

/// The record of ProcessBrightnessAndContrast.
struct tagParamBrightnessContrast {
    int32_t channel;    ///< 0 all, 1 red, 2 green, any other value blue
    int32_t brightness; ///< levels added, held to -128..127
    int32_t contrast;   ///< levels cut off at either end, held to -128..127; below 0 the range is narrowed
};

/// Brightness and contrast: level i becomes 0 where i + brightness is below the contrast, 255 where it is above
/// 255 minus the contrast, and is spread evenly between. A gray image changes with channels 0 and 1 only.
/// Depths: 24 bits, 8 bits and 4 bits; palettes are changed in place of pixels, and their reserved bytes become
/// 0. Brightness and contrast both 0 give 0: nothing to do. The wait cursor is shown first of all and stays when
/// the handle or the record is null; every other refusal brings the arrow back. A palette's rows poll and report
/// at every 32nd row.
VELMONT_API void *ProcessBrightnessAndContrast(void *dib, tagParamBrightnessContrast *param);

/// Brightness by a scale. Depths: 24 bits and 8 bits gray. Progress and abort, but never a cursor.
/// \param scale above 0 brightens: level i becomes (255 * i + scale / 2) / scale, so that 255 changes nothing;
/// 0 and below darkens: (-scale * i + 127) / 255, so that -255 changes nothing and 0 turns all black. Any value
/// is allowed; results are held to 0..255.
VELMONT_API void *ProcessBrightnessScale(void *dib, int scale);

/// Lifts the shadows: level i becomes 255 * ln(i + 1) / ln(256), rounded. Depths: 24 bits, 8 bits and 4 bits;
/// palettes are changed in place of pixels. The abort poll is asked 256 times before the rows, once a level.
VELMONT_API void *ProcessLogarithm(void *dib);

/// Solarization: levels from 128 up become 255 minus themselves. Depths: 24 bits, 8 bits and 4 bits; palettes
/// are changed in place of pixels.
VELMONT_API void *ProcessSolarization(void *dib);

/// The record of ProcessThreshold.
struct tagParamThreshold {
    int32_t threshold; ///< level from 0 to 255; others are refused
};

/// To black and white in the image's own depth: white where 76 * red + 150 * green + 29 * blue is above
/// 255 * threshold, in a gray image where the level is above the threshold. Depths: 24 bits, 8 bits and 4 bits;
/// palettes are changed in place of pixels.
VELMONT_API void *ProcessThreshold(void *dib, tagParamThreshold *param);

/// The record of ProcessColorMap.
struct tagParamColorMap {
    int32_t channel;    ///< 0 all, 1 red, 2 green, 3 blue; others are refused
    uint8_t table[256]; ///< the new value of each level
};

/// A table of the caller's on one channel or on all. A gray image goes through it whatever the channel. Depths:
/// 24 bits, 8 bits and 4 bits; palettes are changed in place of pixels.
VELMONT_API void *ProcessColorMap(void *dib, tagParamColorMap *param);

/// The record of ProcessToneAdjustment. Any values are allowed.
struct tagParamToneAdjust {
    int32_t white;   ///< levels: above 0 the input's white point comes down, below 0 the output's white
    int32_t gamma;   ///< 0 neutral; the exponent is 1 - 0.0045 * gamma, below 0 it is 1 - 0.035 * gamma
    int32_t black;   ///< levels: below 0 the input's black point goes up, above 0 the output's black
    int32_t channel; ///< 0 all, 1 red, 2 green, 3 blue; others are refused
};

/// Black point, gamma and white point: ProcessColorMap with a table made of them. Input levels up to the black
/// point become 0 and those from the white point on 255, whatever the output's black and white.
VELMONT_API void *ProcessToneAdjustment(void *dib, tagParamToneAdjust *param);

/// The record of ProcessColorReduction.
struct tagParamColorReduction {
    int32_t channel; ///< 0 all, 1 red, 2 green, 3 blue; others are refused
    int32_t levels;  ///< from 2 to 128; others are refused
};

/// Posterizes: levels go to the nearest multiple of a step, the half way up, held to 255. The step is 255 out of
/// levels - 1, rounded, so that the number of levels left is near the one asked for. A gray image is reduced
/// whatever the channel. Depths: 24 bits, 8 bits and 4 bits; palettes are changed in place of pixels. At 24 bits
/// with all channels the padding of the rows counts as pixels.
VELMONT_API void *ProcessColorReduction(void *dib, tagParamColorReduction *param);

/// The record of ProcessColorTone.
struct tagParamColorTone {
    int32_t tone; ///< a position around the hue circle, held to -128..127
};

/// Recolours by luminance along one hue; black and white stay. Depth: 24 bits. An image of 8 or 4 bits is answered
/// with a zero-filled block of its size that is no image, header included: do not pass one.
VELMONT_API void *ProcessColorTone(void *dib, tagParamColorTone *param);

/// Sepia, a brown tint. Depth: 24 bits. The largest and the smallest channel of a pixel become two channels of
/// the new one and green lies between: red the largest, blue the smallest, green 23 percent of the way up. Where biClrUsed
/// is not 0 no pixel is stored and the result is black; so it is in ProcessWarm and ProcessCool.
VELMONT_API void *ProcessSepia(void *dib);
/// Warm: as ProcessSepia with green 33 percent of the way up.
VELMONT_API void *ProcessWarm(void *dib);
/// Cool: blue the largest, red the smallest, green 40 percent of the way up.
VELMONT_API void *ProcessCool(void *dib);

/// The record of ProcessAntique.
struct tagParamAntique {
    float strength; ///< written by the effect: always 0.65, whatever the caller stored
};

/// Antique: blue the largest, red the smallest, green 65 percent of the way up. The record is written for every
/// handle that is not null, also where the depth is refused.
VELMONT_API void *ProcessAntique(void *dib, tagParamAntique *param);

/// The record of ProcessMoonlight, all of it written by the effect, whatever the caller stored.
struct tagParamMoonlight {
    int32_t red;   ///< 168
    int32_t green; ///< 207
    int32_t blue;  ///< 240
};

/// Moonlight: the luminance, 0.3 red + 0.59 green + 0.11 blue with each product truncated, as a shade of that
/// blue. Depth: 24 bits. The record is written for every handle that is not null, also where the depth is
/// refused. Its working tables live in the call, so that runs do not disturb each other.
VELMONT_API void *ProcessMoonlight(void *dib, tagParamMoonlight *param);

/// The histogram that GetHistogram makes and hosts read.
struct HistogramRecord {
    uint32_t reserved;    ///< never written
    double **channels;    ///< `channelCount` pointers to 256 bins each, counts of pixels
    int32_t channelCount; ///< 4 at 24 bits: 0 the largest of a pixel's three bytes, 1 blue, 2 green, 3 red;
                          ///< 2 for a gray image: 0 the levels, 1 stays empty
};

/// Counts the levels of an image. Kinds: 24 bits and 8 bits gray (biClrUsed may be above 256); others are
/// refused with 0 and without a cursor change. Wait and arrow cursor; neither progress nor abort.
/// \return a HistogramRecord, the caller's, who releases it with DelHistogram; 0 without memory
VELMONT_API unsigned char *GetHistogram(void *dib);

/// Releases a record of GetHistogram: its bins and itself. The array that `channels` points to is left behind:
/// hosts still hold it. A record whose `channels` was set to null keeps its bins. A null record is ignored.
VELMONT_API void DelHistogram(unsigned char *histogram);

/// ProcessAutoLevel's record.
struct tagParamAutoLevel {
    int32_t gammaLevel; ///< for this run; any value, 5 leaves the tones between the ends as they are, below
                        ///< is darker. Set to 0 by the run, so that it counts once
    int32_t defaultGammaLevel; ///< used where gammaLevel is 0
    unsigned char *histogram;  ///< GetHistogram's record of the same image, the caller's, or null to have the
                               ///< image counted. Bins that it lacks count as empty
};

/// Stretches each channel so that 0.6 percent of the pixels are cut at either end, then applies a gamma of
/// 10 ^ (((level - 1) / 4 - 1) / 4) to all.
/// Depths: 24 bits and 8 bits gray (biClrUsed may be above 256); the level has no effect on gray images. A null
/// record and a level of 0 are refused, and the record stays as it is; from then on its gammaLevel is 0, whatever
/// becomes of the run. An image of one colour becomes black. Wait and arrow cursor; neither progress nor abort.
VELMONT_API void *ProcessAutoLevel(void *dib, tagParamAutoLevel *param);

/// Spreads the levels by how often they occur: each becomes the share of the samples strictly below it, so that
/// level 0 stays 0 and an image of one level becomes black.
/// Depths: 4, 8 and 24 bits. All channels share one curve. 24 bits and 8 bits gray map the pixels and clear the
/// padding. Other images map the palette, each colour counted as often as it is used, and copy the pixels; there
/// the counting polls for an abort on each row too, without progress, and a pixel without a palette entry counts
/// as black.
VELMONT_API void *ProcessEqualization(void *dib);

/// More contrast, saturation and sharpness by one number.
/// \param amount 0 (a copy) to 1000. Levels up to amount / 25 become black, from 255 - amount / 5 on white, with a
/// gamma between; in colour the lower channels move away from the highest; from amount 5 on and 3 by 3 pixels on,
/// each sample is sharpened against its eight neighbours. Any int is allowed.
/// Depths: 8 bits, whatever the palette, and 24 bits. The result is a copy of the whole block, padding and all,
/// with new pixels. Wait and arrow cursor; neither progress nor abort. Hosts rely on two details of sharpening:
/// the second column takes its own row's first sample for its neighbour above to the left, and the last row takes
/// the new sample to the left for its neighbour below to the left.
VELMONT_API void *ProcessAutoEnhance(void *dib, int amount);

/// ProcessHueAndSaturation's record.
struct tagParamHueSaturation {
    int32_t hue; ///< degrees by which hues turn, -180 to 180: red towards green, green towards blue
    int32_t
        saturation; ///< percent, -100 to 100: above 0 each channel moves towards its pixel's largest, below away
                    ///< from it
};

/// Turns the hue and shifts the saturation, in integers; a pixel's largest channel value and neutral colours stay.
/// Depths: 4, 8 and 24 bits; below 24 bits the palette is changed, reserved bytes left alone, and the pixels are
/// copied. At every depth the rows are looked for behind biSize and biClrUsed colours. A null record, a field out
/// of its range and a record without change are refused.
/// Hosts rely on the cursors: wait before the record is found to change nothing and before the depth is looked at,
/// and wait and arrow twice in a run. Copied rows poll and report at every byte whose place has none of the bits of
/// 0x2FF.
VELMONT_API void *ProcessHueAndSaturation(void *dib, tagParamHueSaturation *param);

/// ProcessHueSaturation's record. In each group slot 0 is the master, which counts for all hues, and slots 1 to 6
/// are added for a sixth of the hues each: from red to yellow, to green, to cyan, to blue, to magenta, to red.
struct tagHueSaturateParam {
    double hue[7];       ///< degrees that hues turn, -180 to 180
    double lightness[7]; ///< -180 to 180; about 200 makes all white and -200 black, master and sixth together
    double saturation[7]; ///< percent, -100 to 100; -100 leaves 1 of 255 at most
};

/// Hue, lightness and saturation by the hue of each pixel. A turn goes once around the circle at most.
/// Depths: made for 24 bits. Others are not refused: pixels are three bytes wide there too and biBitCount / 8 bytes
/// apart, so that no useful picture comes of it. A null record and a value out of its range are refused. Neither
/// cursor nor progress nor abort.
VELMONT_API void *ProcessHueSaturation(void *dib, tagHueSaturateParam *param);

/// ProcessColorBalance's record.
struct tagColorBalance {
    int32_t range;              ///< 0 shadows, 1 midtones, 2 highlights
    int32_t preserveLuminosity; ///< any value but 0 keeps each pixel's lightness
    double cyanRed;             ///< -100 (cyan) to 100 (red)
    double magentaGreen;        ///< -100 (magenta) to 100 (green)
    double yellowBlue;          ///< -100 (yellow) to 100 (blue)
};

/// Shifts the colours of one tonal range.
/// Depths: made for 24 bits; 8 bits are refused. Others are not refused: pixels are three bytes wide there too and
/// biBitCount / 8 bytes apart, so that no useful picture comes of it. A null record gives 0.
/// Hosts rely on what is odd here. A field out of its range gives the image's own handle, which must not be freed
/// for a result. Then and in every run, aborted or not, the image keeps one lock more than it had; a refusal and
/// missing memory leave none. Each row polls and reports; only the answer 1 ends the rows, and any other but 0 to
/// the last poll gives 0 at the end.
VELMONT_API void *ProcessColorBalance(void *dib, tagColorBalance *param);
