#include "levels.h"
#include <algorithm>
#include <cstddef>
#include <new>
#include <velmont/dib.h>

namespace velmont::cli {

namespace {

/// Where the rows of a gray image begin, behind its header and its ramp.
constexpr std::size_t kRows = sizeof(DibHeader) + 256 * sizeof(DibColor);

/// The locked rows of a gray image.
class GrayRows {
public:
    explicit GrayRows(void *dib) : dib_(dib)
    {
        int height = 0;
        GetDibSize(dib, &width_, &height);
        height_ = static_cast<std::size_t>(height);
        block_ = static_cast<uint8_t *>(KelMemLock(dib));
        if (!block_)
            throw std::bad_alloc();
    }
    ~GrayRows() { KelMemUnlock(dib_); }
    GrayRows(const GrayRows &) = delete;
    GrayRows &operator=(const GrayRows &) = delete;

    std::size_t width() const { return static_cast<std::size_t>(width_); }
    std::size_t height() const { return height_; }
    uint8_t *row(std::size_t y) const { return block_ + kRows + y * ((width() + 3) / 4 * 4); }

private:
    void *dib_;
    int width_ = 0;
    std::size_t height_ = 0;
    uint8_t *block_ = nullptr;
};

} // namespace

io::DibHandle grayOf(std::span<const uint8_t> levels, int width, int height)
{
    io::DibHandle gray(CreateDib(width, height, 8, 0, 0));
    if (!gray)
        throw std::bad_alloc();
    const GrayRows rows(gray.get());
    for (std::size_t y = 0; y < rows.height(); ++y)
        std::ranges::copy(levels.subspan(y * rows.width(), rows.width()), rows.row(y));
    return gray;
}

std::vector<uint8_t> levelsOf(void *gray)
{
    const GrayRows rows(gray);
    std::vector<uint8_t> levels(rows.width() * rows.height());
    for (std::size_t y = 0; y < rows.height(); ++y)
        std::copy_n(rows.row(y), rows.width(),
                    levels.begin() + static_cast<std::ptrdiff_t>(y * rows.width()));
    return levels;
}

} // namespace velmont::cli
