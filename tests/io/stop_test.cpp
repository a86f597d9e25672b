// Readings and writings that are asked to stop.
#include "tests/io/picture_view.h"
#include <gtest/gtest.h>
#include <limits>
#include <utility>

namespace velmont::io {

namespace {

using testing::noisePicture;
using testing::PictureView;

constexpr int kNever = std::numeric_limits<int>::max();
constexpr int kRows = 40;

int asked = 0;
int stopAt = kNever;

bool countAndStop()
{
    return asked++ >= stopAt;
}

/// How often something asks when it comes to its end.
template <typename Task>
int timesAsked(const Task &task)
{
    asked = 0;
    stopAt = kNever;
    task();
    return asked;
}

/// Stops at each asking in turn.
template <typename Task>
void expectStops(const Task &task, int leastAskings, Format format)
{
    const int askings = timesAsked(task);
    EXPECT_GE(askings, leastAskings) << formatName(format);
    for (int at = 0; at < askings; ++at) {
        asked = 0;
        stopAt = at;
        EXPECT_THROW(task(), Stopped) << formatName(format) << " at " << at;
        EXPECT_EQ(asked, at + 1) << formatName(format);
    }
}

Picture picture()
{
    return noisePicture(33, kRows, 24, 0, false);
}

TEST(Stop, EndsAWriting)
{
    const Picture source = picture();
    for (const auto &[format, leastAskings] : {std::pair{Format::Jpeg, kRows}, std::pair{Format::Png, kRows},
                                               std::pair{Format::Tiff, kRows}, std::pair{Format::Webp, 5}}) {
        const EncodeOptions options{.shouldStop = countAndStop};
        expectStops([&] { return encode(source, format, options); }, leastAskings, format);
    }
}

TEST(Stop, EndsAReading)
{
    for (const Format format : {Format::Jpeg, Format::Png, Format::Tiff}) {
        const std::vector<uint8_t> file = encode(picture(), format);
        const DecodeOptions options{.shouldStop = countAndStop};
        expectStops([&] { return decode(file, options); }, kRows, format);
    }
}

TEST(Stop, AskingChangesNothing)
{
    stopAt = kNever;
    for (const Format format : {Format::Bmp, Format::Jpeg, Format::Png, Format::Tiff, Format::Webp}) {
        const std::vector<uint8_t> file = encode(picture(), format);
        EXPECT_EQ(encode(picture(), format, {.shouldStop = countAndStop}), file) << formatName(format);
        EXPECT_EQ(PictureView(decode(file, {.shouldStop = countAndStop})).block(),
                  PictureView(decode(file)).block())
            << formatName(format);
    }
}

} // namespace

} // namespace velmont::io
