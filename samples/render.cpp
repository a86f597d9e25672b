#include "render.h"
#include "noise.h"
#include "scene.h"
#include <algorithm>
#include <atomic>
#include <cstdint>
#include <string>
#include <thread>
#include <vector>
#include <velmont/dib.h>
#include <velmont/memory.h>

namespace velmont::samples {

namespace {

constexpr int kResolution = 3937; ///< pixels a metre: 100 dpi
constexpr int kSamples = 2;       ///< in each direction within a pixel

struct Size {
    int width, height;
};

/// A pixel's mean over its samples. They are averaged as the screen shows them, which keeps the edge of a
/// sparkle as smooth as any other.
Rgb pixel(Size size, int x, int y)
{
    // The scene fills the picture; what does not fit its proportions is cut off.
    const auto width = static_cast<float>(size.width), height = static_cast<float>(size.height);
    const float scale = 1 / std::max(width / kSceneWidth, height);
    const float sampleSize = scale / kSamples;
    Rgb sum = {0, 0, 0};
    for (int j = 0; j < kSamples; ++j)
        for (int i = 0; i < kSamples; ++i) {
            const float sx = static_cast<float>(x) + (static_cast<float>(i) + 0.5f) / kSamples;
            const float sy = static_cast<float>(y) + (static_cast<float>(j) + 0.5f) / kSamples;
            sum = sum + develop(scene({(sx - width / 2) * scale, (sy - height / 2) * scale}, sampleSize));
        }
    return sum * (1.0f / (kSamples * kSamples));
}

/// Rounds to a byte with a little noise, which keeps the even sky from showing steps.
uint8_t quantize(float value, int x, int y, uint32_t channel)
{
    const float dithered = clamp01(value) * 255 + 0.5f + 0.9f * (random(x, y, 200 + channel) - 0.5f);
    return static_cast<uint8_t>(std::clamp(dithered, 0.0f, 255.0f));
}

void renderRow(Size size, int y, uint8_t *row)
{
    for (int x = 0; x < size.width; ++x, row += 3) {
        const Rgb c = pixel(size, x, y);
        row[0] = quantize(c.z, x, y, 0);
        row[1] = quantize(c.y, x, y, 1);
        row[2] = quantize(c.x, x, y, 2);
    }
}

/// Renders the rows of a `Dib`, the bottom line first. Every pixel depends on its place alone, so that it
/// does not matter how many threads share the work.
void renderRows(Size size, uint8_t *rows)
{
    const size_t stride = (static_cast<size_t>(size.width) * 24 + 31) / 32 * 4;
    std::atomic<int> next = 0;
    const auto work = [&] {
        for (int y = next++; y < size.height; y = next++)
            renderRow(size, y, rows + static_cast<size_t>(y) * stride);
    };
    std::vector<std::jthread> helpers;
    for (unsigned i = 1; i < std::thread::hardware_concurrency(); ++i)
        helpers.emplace_back(work);
    work();
}

} // namespace

io::Picture render(int width, int height)
{
    const Size size{width, height};
    io::Picture picture;
    picture.dib = io::DibHandle(CreateDib(size.width, size.height, 24, kResolution, 0));
    auto *block = static_cast<uint8_t *>(KelMemLock(picture.dib.get()));
    if (!block)
        throw io::Error("no memory for a picture of " + std::to_string(size.width) + " x " +
                        std::to_string(size.height));
    renderRows(size, block + sizeof(DibHeader));
    KelMemUnlock(picture.dib.get());
    return picture;
}

} // namespace velmont::samples
