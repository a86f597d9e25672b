/// \file
/// velmont_scene: renders the picture that comes with the project.

#include "io/picture.h"
#include "noise.h"
#include "scene.h"
#include <atomic>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>
#include <velmont/dib.h>
#include <velmont/memory.h>

namespace velmont::samples {

namespace {

constexpr int kWrongUsage = 2, kOutputFailed = 4;
constexpr int kLargestSide = 16384;
constexpr int kResolution = 3937; ///< pixels a metre: 100 dpi
constexpr int kSamples = 2;       ///< in each direction within a pixel
constexpr char kUsage[] =
    "usage: velmont_scene OUTPUT.png [WIDTH HEIGHT]  (an existing OUTPUT.png is replaced)";

struct UsageError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

struct Job {
    std::string output;
    int width = 1200, height = 800;
};

int parseSide(std::string_view text)
{
    int side = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), side);
    if (error != std::errc() || end != text.data() + text.size() || side < 1 || side > kLargestSide)
        throw UsageError("'" + std::string(text) + "' is not a size from 1 to " +
                         std::to_string(kLargestSide));
    return side;
}

Job parse(int count, char **arguments)
{
    if (count != 2 && count != 4)
        throw UsageError(kUsage);
    Job job;
    job.output = arguments[1];
    if (io::formatOfName(job.output) != io::Format::Png)
        throw UsageError("'" + job.output + "' does not end in .png");
    if (count == 4) {
        job.width = parseSide(arguments[2]);
        job.height = parseSide(arguments[3]);
    }
    return job;
}

/// A pixel's mean over its samples. They are averaged as the screen shows them, which keeps the edge of a
/// sparkle as smooth as any other.
Rgb pixel(const Job &job, int x, int y)
{
    // The scene fills the picture; what does not fit its proportions is cut off.
    const auto width = static_cast<float>(job.width), height = static_cast<float>(job.height);
    const float scale = 1 / std::max(width / kSceneWidth, height);
    const float size = scale / kSamples;
    Rgb sum = {0, 0, 0};
    for (int j = 0; j < kSamples; ++j)
        for (int i = 0; i < kSamples; ++i) {
            const float sx = static_cast<float>(x) + (static_cast<float>(i) + 0.5f) / kSamples;
            const float sy = static_cast<float>(y) + (static_cast<float>(j) + 0.5f) / kSamples;
            sum = sum + develop(scene({(sx - width / 2) * scale, (sy - height / 2) * scale}, size));
        }
    return sum * (1.0f / (kSamples * kSamples));
}

/// Rounds to a byte with a little noise, which keeps the even sky from showing steps.
uint8_t quantize(float value, int x, int y, uint32_t channel)
{
    const float dithered = clamp01(value) * 255 + 0.5f + 0.9f * (random(x, y, 200 + channel) - 0.5f);
    return static_cast<uint8_t>(std::clamp(dithered, 0.0f, 255.0f));
}

void renderRow(const Job &job, int y, uint8_t *row)
{
    for (int x = 0; x < job.width; ++x, row += 3) {
        const Rgb c = pixel(job, x, y);
        row[0] = quantize(c.z, x, y, 0);
        row[1] = quantize(c.y, x, y, 1);
        row[2] = quantize(c.x, x, y, 2);
    }
}

/// Renders the rows of a `Dib`, the bottom line first. Every pixel depends on its place alone, so that it
/// does not matter how many threads share the work.
void renderRows(const Job &job, uint8_t *rows)
{
    const size_t stride = (static_cast<size_t>(job.width) * 24 + 31) / 32 * 4;
    std::atomic<int> next = 0;
    const auto work = [&] {
        for (int y = next++; y < job.height; y = next++)
            renderRow(job, y, rows + static_cast<size_t>(y) * stride);
    };
    std::vector<std::jthread> helpers;
    for (unsigned i = 1; i < std::thread::hardware_concurrency(); ++i)
        helpers.emplace_back(work);
    work();
}

io::Picture render(const Job &job)
{
    io::Picture picture;
    picture.dib = io::DibHandle(CreateDib(job.width, job.height, 24, kResolution, 0));
    auto *block = static_cast<uint8_t *>(KelMemLock(picture.dib.get()));
    if (!block)
        throw io::Error("no memory for a picture of " + std::to_string(job.width) + " x " +
                        std::to_string(job.height));
    renderRows(job, block + sizeof(DibHeader));
    KelMemUnlock(picture.dib.get());
    return picture;
}

} // namespace

} // namespace velmont::samples

int main(int count, char **arguments)
{
    using namespace velmont;
    try {
        const samples::Job job = samples::parse(count, arguments);
        const io::Picture picture = samples::render(job);
        io::writeFile(job.output, io::encode(picture, io::Format::Png), io::Existing::Replace);
        return 0;
    } catch (const samples::UsageError &error) {
        std::fprintf(stderr, "velmont_scene: %s\n", error.what());
        return samples::kWrongUsage;
    } catch (const std::exception &error) {
        std::fprintf(stderr, "velmont_scene: %s\n", error.what());
        return samples::kOutputFailed;
    }
}
