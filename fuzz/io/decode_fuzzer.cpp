// Decodes the input. A picture must be sound and come unchanged through the formats that lose nothing.
#include "io/picture.h"
#include "tests/io/picture_faults.h"
#include "tests/io/sample_files.h"
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <velmont/dib.h>

namespace {

using namespace velmont;

/// Larger pictures are decoded only, to keep the fuzzer quick.
constexpr unsigned long kMostBytes = 1u << 20;
/// JPEG and WebP hold no longer sides.
constexpr int kJpegSide = 65500;
constexpr int kWebpSide = 16383;
/// No picture that takes longer to decode than to look at.
constexpr uint64_t kMostPixels = uint64_t{1} << 22;

[[noreturn]] void fail(const std::string &text)
{
    std::fprintf(stderr, "%s\n", text.c_str());
    std::abort();
}

void checkSound(const io::Picture &picture)
{
    if (const std::string fault = io::samples::faultOf(picture); !fault.empty())
        fail("not sound: " + fault);
}

/// Whether two blocks are the same but for their resolution, which a format may have no number for.
bool isSameBlock(const io::Picture &a, const io::Picture &b)
{
    const unsigned long bytes = KelMemSize(a.dib.get());
    if (bytes != KelMemSize(b.dib.get()))
        return false;
    const auto *const blockA = static_cast<const uint8_t *>(KelMemLock(a.dib.get()));
    const auto *const blockB = static_cast<const uint8_t *>(KelMemLock(b.dib.get()));
    constexpr std::size_t kResolution = offsetof(DibHeader, biXPelsPerMeter);
    constexpr std::size_t kColors = offsetof(DibHeader, biClrUsed);
    const bool isSame = std::memcmp(blockA, blockB, kResolution) == 0 &&
                        std::memcmp(blockA + kColors, blockB + kColors, bytes - kColors) == 0;
    KelMemUnlock(a.dib.get());
    KelMemUnlock(b.dib.get());
    return isSame;
}

void checkRoundTrip(const io::Picture &picture, io::Format format)
{
    const io::Picture again = io::decode(io::encode(picture, format));
    checkSound(again);
    if (io::hasQuality(format))
        return;
    // The notes of a picture that is upright stay as they are, but for its size and resolution.
    if (io::keepsMetadata(format) && again.metadata.xmp.size() > picture.metadata.xmp.size())
        fail("longer notes");
    if (again.alpha != picture.alpha)
        fail("another alpha");
    // Black at the end of a palette is not told from what TIFF fills palettes up with.
    if (format == io::Format::Tiff && KelMemSize(again.dib.get()) < KelMemSize(picture.dib.get()))
        return;
    // With alpha a palette becomes colours.
    if (picture.alpha.empty() && !isSameBlock(picture, again))
        fail("another image");
}

void checkFile(std::span<const uint8_t> file)
{
    io::Picture picture;
    try {
        picture = io::decode(file, {.maxPixels = kMostPixels});
    } catch (const io::Error &) {
        return;
    }
    checkSound(picture);
    if (KelMemSize(picture.dib.get()) > kMostBytes)
        return;
    int width = 0, height = 0;
    GetDibSize(picture.dib.get(), &width, &height);
    checkRoundTrip(picture, io::Format::Bmp);
    checkRoundTrip(picture, io::Format::Png);
    checkRoundTrip(picture, io::Format::Tiff);
    if (width <= kWebpSide && height <= kWebpSide)
        checkRoundTrip(picture, io::Format::Webp);
    if (width <= kJpegSide && height <= kJpegSide)
        checkRoundTrip(picture, io::Format::Jpeg);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, std::size_t size)
{
    checkFile({data, size});
    // A changed byte spoils the checksum of its chunk, and what is in the chunk would never be looked at.
    io::samples::Bytes repaired(data, data + size);
    io::samples::repairPngChecksums(repaired);
    if (!std::equal(repaired.begin(), repaired.end(), data))
        checkFile(repaired);
    return 0;
}
