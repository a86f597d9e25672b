#pragma once

/// \file
/// Filters over neighbouring samples: blurs and what takes specks away, sharpening, relief and contours.
///
/// Common to all: a null handle, a null record and a depth that is not named are refused with 0, the source is
/// left as it was, and the result is a new block of the caller's or 0. See velmont/environment.h for progress and
/// abort. What a filter reads outside the image is the nearest sample of it, where nothing else is said.

#include <cstdint>
#include <velmont/export.h>

/// The record of ProcessAverage.
struct tagParamAverage {
    int32_t size; ///< width of the window in pixels, 2 to 32; others are refused
};

/// The mean over a square window: along the rows first, rounded, then along the columns. A window of an even
/// size reaches one sample further back than forward, in the order in which rows and columns are stored.
/// Depths: 24 bits and 8 bits gray. Polls at each row and then at each column; progress up to 50 by rows, then
/// by columns.
VELMONT_API void *ProcessAverage(void *dib, tagParamAverage *param);

/// The record of ProcessBlur.
struct tagParamBlur {
    int32_t size;         ///< width of the window in pixels, raised to 2, without an upper limit
    int32_t centerWeight; ///< weight of the pixel itself, in samples of the window; below 0 is refused
};

/// The mean over a square window mixed with the pixel itself: (size * mean + centerWeight * pixel) / (size +
/// centerWeight), rounded, the mean being that of the window's rows as ProcessAverage rounds them. Depths,
/// window, polls and progress as for ProcessAverage. Exact for any size and weight.
VELMONT_API void *ProcessBlur(void *dib, tagParamBlur *param);

/// The record of ProcessGaussianBlur.
struct tagParamGaussianBlur {
    int32_t size; ///< width of the window in pixels, 2 to 32; others are refused
};

/// A bell over a square window: along the rows first, rounded, then along the columns. The bell follows the
/// window: at size / 2 samples from the middle it is e^-2 of its height. The window of an even size, the depths,
/// polls and progress are as for ProcessAverage.
VELMONT_API void *ProcessGaussianBlur(void *dib, tagParamGaussianBlur *param);

/// Takes specks away and keeps edges: a sample becomes the mean of the nine around it unless the slopes across
/// it, each the difference of its two sides with the middle counted twice, come to 128 or more. Each channel
/// decides by itself. Depths: 24 bits and 8 bits gray.
VELMONT_API void *ProcessDespeckle(void *dib);

/// The record of ProcessMaxMin.
struct tagParamMaxMin {
    int32_t size;  ///< width of the window in pixels, 2 to 32; others are refused
    int32_t isMax; ///< 0 takes the minimum, any other value the maximum
};

/// Each sample becomes the largest or smallest of a square window, which starts size / 2 pixels before it. The last
/// column and the last stored row are never read: hosts rely on windows that end before them. A picture one pixel
/// wide or high reads nothing and becomes 0 for the maximum, 255 for the minimum. Depths: 24 bits and 8 bits gray.
/// Rows and then columns poll, each with a half of the progress.
VELMONT_API void *ProcessMaxMin(void *dib, tagParamMaxMin *param);

/// The record of ProcessMedian.
struct tagParamMedian {
    int32_t size; ///< width of the window in pixels, 2 to 32; others are refused
};

/// Each sample becomes the median of a square window, which starts size / 2 pixels before it; what lies outside the
/// picture repeats its edge, and of an even number of samples the lower median is taken. Along a row the median
/// moves no further than it must: where as many samples as asked for lie at or below its last value it stays there,
/// and hosts rely on that value, which may be none of the window's. Depths: 24 bits and 8 bits gray.
VELMONT_API void *ProcessMedian(void *dib, tagParamMedian *param);

/// The record of ProcessMotionBlur.
struct tagParamMotionBlur {
    int32_t direction; ///< 1 to 8, others are refused; see ProcessMotionBlur
    int32_t distance;  ///< samples of a ray, the pixel itself included, 2 to 32; others are refused
};

/// A trail one way: each sample becomes the mean, rounded down, of the ray that starts at it. Directions on a
/// picture stored from the bottom up: 1 lower right, 2 down, 3 lower left, 4 right, 5 left, 6 upper right, 7 up,
/// 8 upper left. The distance is cut to the smaller of width and height. A level or upright ray repeats the last
/// sample of its line beyond the edge, a diagonal one ends there and is divided by what it has. Depths: 24 bits and
/// 8 bits gray. Upright rays poll and report by columns; diagonal ones report nothing in their last `distance` rows.
VELMONT_API void *ProcessMotionBlur(void *dib, tagParamMotionBlur *param);

/// The record of ProcessMosaic.
struct tagParamMosaic {
    int32_t cellWidth;  ///< width of a tile in pixels, cut to that of the image; below 1 is refused
    int32_t cellHeight; ///< height of a tile in pixels, cut to that of the image; below 1 is refused
};

/// Tiles of one colour each: the mean of the tile, rounded down, each channel by itself. The tiles start at the first
/// pixel of the first stored row; the last ones of a row and of a column may be smaller. Depths: 24 bits and 8 bits
/// gray. Polls once for each row of tiles, and reports progress for those that start at a multiple of 16 rows.
VELMONT_API void *ProcessMosaic(void *dib, tagParamMosaic *param);

/// Strokes of a brush: each sample becomes the lowest level of the fullest bin of its window, the samples of which are
/// counted in 32 bins of eight levels each; of equal bins the lowest wins. So the levels are multiples of eight, from
/// 0 to 248, and the channels of a pixel are counted apart. What lies outside the image is the nearest sample of it.
/// Depths: 24 bits and 8 bits gray.
/// \param radius any number of pixels. The window is 2 * radius + 1 wide with a radius held to 1 to 100, and starts
///        `radius` pixels before its own, whatever that is: hosts rely on it. So 0 gives a window of three pixels that
///        starts at its own, and 150 one of 201 that ends 50 pixels behind.
VELMONT_API void *ProcessOilPaint(void *dib, int radius);

/// The record of ProcessSmartBlur. Every value of each field is accepted.
struct tagSmartBlurParam {
    /// How much of an edge is smoothed over, most at 1000 and less beyond; in the modes that show edges also how
    /// strong one has to be: (threshold * 0.0005 + 0.5) times the level that `radius` finds. Useful from 0.
    float threshold;
    /// How far the means reach, most at 1000 (12.5 pixels) and less beyond. In the modes that show edges also the
    /// share of them, radius / 1000, that lie above the level which `threshold` is applied to. Useful from 0.
    float radius;
    int32_t mode; ///< 1 smooths, 2 shows the edges in white on black, 3 in white over the smoothed image
    int32_t step; ///< a mean takes each such pixel of a row, 1 all of them; below 1 nothing is smoothed
};

/// Smooths an image and keeps its edges. Gray is a tenth of blue, six of green and three of red, each rounded down.
/// Far from edges a pixel's gray moves to the mean of a box that has no edge in it, near edges to that of neighbours
/// like it; all three channels move by the same amount. Depths: 24 bits. There are no polls and no progress. Hosts
/// rely on these departures from other effects:
/// - The result and the image keep a lock each; do not depend on the number of locks afterwards.
/// - The padding of the result's rows is undefined, and in any other mode than 1, 2 and 3 its pixels are.
/// - An image smaller in one direction than the working radius and two pixels more gives 0, but the wait cursor
///   stays, the image keeps a lock, and the block that was taken for the result is lost.
VELMONT_API void *ProcessSmartBlur(void *dib, tagSmartBlurParam *param);
/// The record of Process3DGrid.
struct tagParam3DGrid {
    int32_t cellSize; ///< 1 for cells of 32 pixels, 2 for 16, 3 for 64; others are refused
    int32_t depth;    ///< 0 to 2, others are refused; edges are lighter and darker by 92, 60 and 28 levels
    int32_t jitter;   ///< 0 for a straight grid, 1 for one that wanders; others are refused
};

/// A grid of raised tiles, lit along two edges and dark along the other two. A wandering grid follows two random
/// walks: it draws rand() once for each column, once there is memory for the result, and then once for each row,
/// after the row's poll; it does not seed. Depths: 24 bits and 8 bits gray.
VELMONT_API void *Process3DGrid(void *dib, tagParam3DGrid *param);

/// The record of ProcessInnerLevel. A field that holds 0 is overwritten with 1, also where the handle is refused.
struct tagParamInnerLevel {
    int32_t marginDivisor; ///< the margin around the bevel is (width + height) / marginDivisor pixels; any
    int32_t bevelDivisor;  ///< the bevel's width is (width + height) / bevelDivisor pixels; any value
};

/// A bevelled frame inside the picture, with a white mitre in one corner, and then the whole picture through a box
/// of 7 pixels as ProcessAverage has it. The margin is held to half the smaller side, the bevel to what is left of
/// it. Depths: 24 bits and all of 8 bits, whose indices are taken for levels.
///
/// Hosts rely on the following. An image of another depth is not refused: the result is its bit count instead of a
/// handle, and one lock stays on it. Each row and column polls and reports, in three thirds. At 24 bits the wait
/// cursor stays, unless there was no memory. A second block of the result's size is used meanwhile.
VELMONT_API void *ProcessInnerLevel(void *dib, tagParamInnerLevel *param);

/// The record of ProcessButtonize.
struct tagParamButtonize {
    int32_t bevelWidth;  ///< pixels, width of the bands at the sides; 0 is taken as 1, below 0 is refused
    int32_t bevelHeight; ///< pixels, height of the other two bands; 0 is taken as 1, below 0 is refused
    int32_t opacity;     ///< percent, any value; 0 to 100 are of use
    int32_t style;       ///< 1 keeps the opacity across a band, any other value fades it from the edge inward
    uint32_t color;      ///< what the bands are mixed with, 0x00BBGGRR; gray images take the level 70
};

/// Makes a raised button of the picture: bands along its edges, mitred at the corners, the left one and the last
/// stored rows lit, the right one and the first rows dark. Where no band reaches, the opacity of the pixel before
/// it in stored order holds. Depths: 24 bits and 8 bits gray.
VELMONT_API void *ProcessButtonize(void *dib, tagParamButtonize *param);

/// The record of ProcessOuterLevel.
struct tagParamOuterLevel {
    int32_t
        rimWidth; ///< pixels, width of the outer rim; 0 is taken as 1, and it is cut to what the picture has
    int32_t grooveWidth; ///< pixels, width of the groove inside the rim; any value
    int32_t strength;    ///< percent of the light, any value
};

/// A rounded frame: a rim lit on the left and in the last stored rows and dark on the right and in the first ones,
/// and inside it a groove lit the other way. What lies outside the round corners stays. A frame that leaves the rim
/// no pixel, in a small picture or with a negative rim, gives a copy. In gray images the left rim and that of the
/// first rows are one pixel wider than in 24 bits. Depths: 24 bits and 8 bits gray.
VELMONT_API void *ProcessOuterLevel(void *dib, tagParamOuterLevel *param);

/// The record of ProcessSoftEdge.
struct tagParamSoftEdge {
    uint32_t radius; ///< pixels, 1 to 128; others are refused
};

/// Softens the edge of a mask inward: a level that is not 0 becomes the smallest of the means, rounded down, of the
/// eight rays of radius + 1 pixels that start at it; the outside of the picture counts as 0. Depths: 8 bits, whose
/// indices are taken for levels. The rows are read and written at byte 1064 whatever the number of colours; a block
/// too small for that is refused. There is neither a poll nor progress, only the cursors.
VELMONT_API void *ProcessSoftEdge(void *dib, tagParamSoftEdge *param);

/// The record of ProcessLinearSharpen.
struct tagParamLinearSharpen {
    int32_t vertical; ///< 0 compares with the neighbours in the row, any other value with those in the column
};

/// Sharpens along one direction: a sample gains half of what it has beyond the mean of its two neighbours, counted
/// twice; the fraction is dropped. A flat picture stays. Depths: 24 bits and 8 bits gray.
VELMONT_API void *ProcessLinearSharpen(void *dib, tagParamLinearSharpen *param);

/// The record of ProcessUserFilter.
struct tagParamUserFilter {
    int32_t divisor;    ///< of the sum; 0 is refused
    int32_t bias;       ///< added after the division, in levels
    int32_t reserved;   ///< not read
    int32_t kernel[25]; ///< coefficients, 5 rows of 5; the first row is that of the highest stored row
};

/// A kernel of the caller's: the sum of 5 x 5 samples times their coefficients, divided, rounded with halves away
/// from zero, and the bias. On a picture stored from the bottom up the kernel reads as the picture looks: its first
/// row lies above the pixel. Each product is divided by itself, in steps of 2^-18 level: half a step is added and
/// then the fraction cut off toward zero, for negative products too, which so come out a step nearer to zero than
/// rounded ones. Hosts rely on the sums of these. Coefficients that come to about 32 times the divisor and more
/// exceed 32 bits, and such samples may take any value. Depths: 24 bits and 8 bits gray.
VELMONT_API void *ProcessUserFilter(void *dib, tagParamUserFilter *param);

/// The record of ProcessUnsharpMask.
struct tagParamUnsharpenMask {
    int32_t size;      ///< width of the window in pixels, 2 to 32; others are refused
    int32_t amount;    ///< percent of the difference that is added, 1 to 500; others are refused
    int32_t threshold; ///< smallest difference that is boosted, 0 to 255; others are refused
};

/// Adds to each sample what it has beyond the mean that ProcessAverage gives for it. A sample below its mean loses
/// by a difference that is counted one less, so that dark halos are a little weaker than light ones; hosts rely on
/// it. Depths, polls and progress as for ProcessAverage.
VELMONT_API void *ProcessUnsharpMask(void *dib, tagParamUnsharpenMask *param);

/// The record of ProcessFindContour.
struct tagParamFindContour {
    int32_t enable;    ///< 0 is refused; it means nothing else
    int32_t channel;   ///< 0 all three, 1 red, 2 green, 3 blue, others are refused; gray has but one
    int32_t threshold; ///< 1 to 254, others are refused
};

/// Marks with 255 the inner rim of what is brighter than the threshold: samples above it with one of the four
/// neighbours at or below it. All else is 0: the edge of the picture and the channels that take no part too. Each
/// channel decides by itself. Pictures less than 4 pixels wide or high are refused. Depths: 24 bits and 8 bits
/// gray. Polls and progress at the inner rows only.
VELMONT_API void *ProcessFindContour(void *dib, tagParamFindContour *param);

/// The record of ProcessEmboss.
struct tagParamEmboss {
    int32_t direction; ///< 1 to 8 as for ProcessMotionBlur, others are refused
    int32_t style;     ///< 1 to 4, others are refused; see ProcessEmboss
    int32_t depth;  ///< displacement in pixels, 1 to 10, others are refused; cut to half the width and height
    uint32_t color; ///< 0x00BBGGRR, the ground of style 4; gray takes the low byte
};

/// Relief: the difference of the picture and itself, moved by `depth` pixels. Style 1 adds it, over twice the
/// distance and as the mean of the channels, to the picture; 2 shows it by channels on 128; 3 as the mean of the
/// channels on 128; 4 by channels on `color`. A band of `depth` pixels at the edge keeps the ground alone. Depths:
/// 24 bits and 8 bits gray. Progress comes from the rows between the bands only; all rows poll.
VELMONT_API void *ProcessEmboss(void *dib, tagParamEmboss *param);

/// The record of ProcessSketch.
struct tagParamSketch {
    int32_t style;     ///< 1 light lines on black, 2 dark lines on white; others are refused
    int32_t threshold; ///< the faintest line that is drawn, 0 to 254; others are refused
};

/// Draws the edges: a sample's two slopes, the one down the columns held to 255, are added and held to 255; what is
/// below the threshold is background. At 24 bits style 2 draws the mean of the channels. The outermost pixels are
/// background. Pictures less than 4 pixels wide or high are refused. Depths: 24 bits and 8 bits gray. The inner rows
/// poll twice, each time with a half of the progress.
VELMONT_API void *ProcessSketch(void *dib, tagParamSketch *param);
