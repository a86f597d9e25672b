#include "io/tiff_stream.h"
#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <exception>
#include <string_view>

namespace velmont::io {

namespace {

/// libtiff's offsets in files of the classic kind end here.
constexpr uint64_t kMostFileBytes = UINT32_MAX;

std::string textOf(const char *format, va_list values)
{
    std::array<char, 200> text{};
    std::vsnprintf(text.data(), text.size(), format, values);
    // libtiff puts the name of the file first, which is empty here.
    std::string line = text.data() + (std::string_view(text.data()).starts_with(": ") ? 2 : 0);
    // It may quote the file.
    std::replace_if(
        line.begin(), line.end(), [](char c) { return c >= 0 && c < ' '; }, ' ');
    return line;
}

TiffStream &streamOf(thandle_t handle)
{
    return *static_cast<TiffStream *>(handle);
}

} // namespace

TiffHandle TiffStream::open()
{
    const std::unique_ptr<TIFFOpenOptions, decltype(&TIFFOpenOptionsFree)> options(TIFFOpenOptionsAlloc(),
                                                                                   &TIFFOpenOptionsFree);
    if (!options)
        throw std::bad_alloc();
    TIFFOpenOptionsSetErrorHandlerExtR(options.get(), onError, this);
    TIFFOpenOptionsSetWarningHandlerExtR(options.get(), onWarning, this);
    if (!isWritten())
        TIFFOpenOptionsSetMaxSingleMemAlloc(options.get(), static_cast<tmsize_t>(mostPiece_));
    // The file is in memory already, but mapping would give libtiff bytes that it may not write to.
    return TiffHandle(TIFFClientOpenExt("", isWritten() ? "wl" : "rm", this, readBytes, writeBytes, seek,
                                        close, size, nullptr, nullptr, options.get()));
}

void TiffStream::forget()
{
    complaint_.clear();
    endedEarly_ = false;
}

tmsize_t TiffStream::readBytes(thandle_t handle, void *bytes, tmsize_t count)
{
    TiffStream &stream = streamOf(handle);
    const std::span<const uint8_t> all = stream.bytes();
    if (count <= 0 || stream.place_ >= all.size())
        return 0;
    const auto read =
        std::min(static_cast<std::size_t>(count), all.size() - static_cast<std::size_t>(stream.place_));
    std::memcpy(bytes, all.data() + stream.place_, read);
    stream.place_ += read;
    return static_cast<tmsize_t>(read);
}

tmsize_t TiffStream::writeBytes(thandle_t handle, void *bytes, tmsize_t count)
{
    TiffStream &stream = streamOf(handle);
    if (!stream.isWritten() || count <= 0)
        return 0;
    const auto end = stream.place_ + static_cast<uint64_t>(count);
    try {
        if (stream.place_ > kMostFileBytes || end > kMostFileBytes)
            return 0;
        if (end > stream.output_.size())
            stream.output_.resize(static_cast<std::size_t>(end));
    } catch (const std::exception &) {
        stream.outOfMemory_ = true;
        return 0;
    }
    std::memcpy(stream.output_.data() + stream.place_, bytes, static_cast<std::size_t>(count));
    stream.place_ = end;
    return count;
}

toff_t TiffStream::seek(thandle_t handle, toff_t offset, int whence)
{
    TiffStream &stream = streamOf(handle);
    const uint64_t base = whence == SEEK_SET ? 0 : whence == SEEK_CUR ? stream.place_ : stream.bytes().size();
    stream.place_ = base + offset;
    return stream.place_;
}

toff_t TiffStream::size(thandle_t handle)
{
    return streamOf(handle).bytes().size();
}

int TiffStream::onError(TIFF *, void *stream, const char *, const char *format, va_list values)
{
    auto &self = *static_cast<TiffStream *>(stream);
    try {
        const std::string text = textOf(format, values);
        self.outOfMemory_ |= text.find("memory") != std::string::npos;
        // The directory lies behind the pixels in most files.
        self.endedEarly_ |= text.starts_with("Can not read TIFF directory");
        if (self.complaint_.empty())
            self.complaint_ = text;
    } catch (const std::exception &) {
        self.outOfMemory_ = true;
    }
    return 1;
}

int TiffStream::onWarning(TIFF *, void *stream, const char *, const char *format, va_list values)
{
    auto &self = *static_cast<TiffStream *>(stream);
    try {
        const std::string text = textOf(format, values);
        self.endedEarly_ |= text.starts_with("Premature end") || text.starts_with("Corrupt JPEG");
    } catch (const std::exception &) {
        self.outOfMemory_ = true;
    }
    return 1;
}

} // namespace velmont::io
