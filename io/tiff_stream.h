#pragma once

/// \file
/// libtiff on files in memory. Inside io/ only.

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <tiffio.h>
#include <vector>

namespace velmont::io {

/// Closes a file of libtiff.
struct TiffCloser {
    void operator()(TIFF *tiff) const { TIFFClose(tiff); }
};
using TiffHandle = std::unique_ptr<TIFF, TiffCloser>;

/// A file that libtiff reads or writes, and what libtiff says of it. Has to outlive its handle and stay in its place.
class TiffStream {
public:
    /// A file to be read. libtiff takes no piece of memory above `mostPiece` bytes at once.
    TiffStream(std::span<const uint8_t> file, uint64_t mostPiece) : input_(file), mostPiece_(mostPiece) {}
    /// A new file.
    TiffStream() = default;
    TiffStream(const TiffStream &) = delete;
    TiffStream &operator=(const TiffStream &) = delete;

    /// Opens the file. \return null when libtiff cannot.
    TiffHandle open();
    /// libtiff's first complaint since the last forget(), empty when there was none.
    const std::string &complaint() const { return complaint_; }
    /// Whether it was about memory.
    bool outOfMemory() const { return outOfMemory_; }
    /// Whether libtiff has only warned so far, and had to invent pixels for a file that ends early.
    bool endedEarly() const { return endedEarly_; }
    void forget();

    /// The file that was written, once its handle is closed.
    std::vector<uint8_t> take() { return std::move(output_); }

private:
    static tmsize_t readBytes(thandle_t handle, void *bytes, tmsize_t count);
    static tmsize_t writeBytes(thandle_t handle, void *bytes, tmsize_t count);
    static toff_t seek(thandle_t handle, toff_t offset, int whence);
    static int close(thandle_t) { return 0; }
    static toff_t size(thandle_t handle);
    static int onError(TIFF *tiff, void *stream, const char *module, const char *format, va_list values);
    static int onWarning(TIFF *tiff, void *stream, const char *module, const char *format, va_list values);

    bool isWritten() const { return mostPiece_ == 0; }
    std::span<const uint8_t> bytes() const
    {
        return isWritten() ? std::span<const uint8_t>(output_) : input_;
    }

    std::span<const uint8_t> input_;
    uint64_t mostPiece_ = 0;
    std::vector<uint8_t> output_;
    uint64_t place_ = 0;
    std::string complaint_;
    bool outOfMemory_ = false;
    bool endedEarly_ = false;
};

} // namespace velmont::io
