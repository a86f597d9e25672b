#pragma once

/// \file
/// Images for tests, built by hand and not by the library.

#include <cstdint>
#include <span>
#include <vector>
#include <velmont/dib.h>
#include <velmont/memory.h>

namespace velmont::testing {

using Bytes = std::vector<uint8_t>;

/// Owns a handle.
class Handle {
public:
    explicit Handle(void *handle = nullptr) : handle_(handle) {}
    Handle(Handle &&other) noexcept : handle_(other.handle_) { other.handle_ = nullptr; }
    Handle &operator=(Handle &&other) noexcept
    {
        std::swap(handle_, other.handle_);
        return *this;
    }
    ~Handle()
    {
        if (handle_)
            KelMemFree(handle_);
    }
    operator void *() const { return handle_; }

private:
    void *handle_;
};

/// A block of exactly these bytes.
Handle blockOf(std::span<const uint8_t> bytes);
/// A copy of a block's bytes.
Bytes bytesOf(void *handle);
/// The header of a block.
DibHeader headerOf(void *handle);
/// Clears what lies behind the pixels of each row, in the bytes of an image that fits its header.
void clearPadding(Bytes &block);

/// The stride of a row, worked out one bit at a time.
std::size_t strideFor(int width, int bits);
/// A header for an image of this kind, biSizeImage included.
DibHeader makeHeader(int width, int height, int bits, uint32_t colorsUsed);
/// The block of header, palette and rows.
Bytes makeBlock(const DibHeader &header, std::span<const uint8_t> palette, std::span<const uint8_t> rows);
/// The 256 entries (i, i, i, 0).
Bytes grayRamp();
/// Repeatable bytes that look random.
Bytes noise(std::size_t count, uint32_t seed);

/// A noise image: 24 bits, 8 bits with the gray ramp, or 8, 4 and 1 bits with a colourful palette of
/// `colorsUsed` entries (reserved bytes not 0). Padding is noise too.
Handle noiseImage(int width, int height, int bits, uint32_t colorsUsed, uint32_t seed = 1);
Handle grayNoise(int width, int height, uint32_t seed = 1);

} // namespace velmont::testing
