#pragma once

/// \file
/// Grain, noise and old photographs. All of them draw random numbers from the library's generator, of which each
/// thread has its own.
///
/// Common to all: a null handle, and a null record where there is one, are refused with 0, the source is left as it
/// was, and the result is a new block of the caller's or 0. See velmont/environment.h for progress and abort.

#include <cstdint>
#include <velmont/export.h>

/// The record of ProcessNoisify. The effect writes all three values back as it holds them, even where it refuses the
/// image that came with them.
struct tagNoisifyParam {
    double amount;      ///< strength, held to 0 (an exact copy) to 1; what is not a number blackens the image
    double reserved[2]; ///< held to 0 to 1; they change nothing
};

/// Makes pixels brighter or darker at random, by a factor that the three channels share. It seeds the generator with
/// the time in seconds and draws four numbers for each pixel.
/// Depths: 24 bits without a palette, and 8 bits, where a pixel becomes the first colour with the new red and stays as
/// it is where there is none. Other depths give a copy. Neither cursor nor progress nor abort.
VELMONT_API void *ProcessNoisify(void *dib, tagNoisifyParam *param);

/// The record of ProcessSpread.
struct SPREADParam {
    double spreadX; ///< horizontal reach in pixels, cut to a whole number; see below for what is refused
    double spreadY; ///< vertical reach in pixels, likewise
};

/// Exchanges pixels with random neighbours up to half the reach away, on a circle whose angle is one of six; later
/// exchanges overwrite earlier ones, and those with places outside the image are left out. A reach of 0 moves nothing.
/// It seeds the generator with the time in seconds and draws three numbers for each pixel.
/// A reach that is cut to -1, one that 31 bits do not hold and one that is not a number are refused.
/// Depths: 24 bits without a palette, and 8 bits, where a moved pixel becomes the first colour of the same red. Other
/// depths give a copy. Neither cursor nor progress nor abort.
VELMONT_API void *ProcessSpread(void *dib, SPREADParam *param);

/// The grain of film: adds a random value to each pixel, the same one to its three channels. Goes on from the
/// generator's state and draws one number for each pixel. Depths: 24 bits and 8 bits gray.
/// \param amount span of the values in levels, 1 (no change) to 100 (-49 to 50); others are refused
VELMONT_API void *ProcessFilmGrain(void *dib, int amount);

/// Replaces pixels by random ones. Goes on from the generator's state and draws one number for each pixel, and one
/// more for each sample of those that are replaced. Depths: 24 bits and 8 bits gray.
/// \param percent how many of a hundred pixels are replaced, 1 to 100; others are refused
VELMONT_API void *ProcessAddNoise(void *dib, int percent);

/// The record of ProcessOldPhoto. A step runs where its value is not 0.
struct tagOldPhotoParam {
    int32_t blur;        ///< softens
    int32_t vignette;    ///< paints a torn white border, on images of more than 40 by 40 pixels
    int32_t tone;        ///< takes most of the colour out, darkens, and tints brown
    int32_t grain;       ///< darkens in blotches
    int32_t borderWidth; ///< of the border and its softness, in pixels, 2 to 32; others paint no border
};

/// An old photograph: four steps in the order of the record, through the exported effects. What gives 0 among them, by
/// an abort too, is passed over; with no step that gave an image, and with none wanted, the result is 0.
/// Depths: made for 24 bits, whose border and grain are painted whatever biClrUsed says; 8 bits are refused. Others are
/// not refused: most steps pass them over there, and border and grain change no pixel.
/// Hosts rely on what is odd here. Each run leaves one lock more on the image than it had, and two where the grain is
/// the first step that gives an image. Border and grain poll and report at each row, after one another, and only the
/// answer 1 ends their rows, which gives no 0. Blocks stay allocated that nobody frees: the grain itself, and the image
/// that it started from, which keeps a lock; the image that the border started from; and where an image is too small
/// for a border, or it cannot be made, a copy of the image. The source is never one of them.
/// Where there is no memory for a copy of the image or for the grain the result is 0, and none of them stays.
VELMONT_API void *ProcessOldPhoto(void *dib, tagOldPhotoParam *param);
