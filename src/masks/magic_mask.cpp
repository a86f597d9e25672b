#include "core/locked_dib.h"
#include "core/scratch_block.h"
#include "geometry/pixel_access.h"
#include "masks/bit_mask.h"
#include "masks/mask_row.h"
#include <algorithm>
#include <array>
#include <bit>
#include <cstdlib>
#include <velmont/environment.h>
#include <velmont/masks.h>

namespace velmont {

namespace {

/// The depth that an image is read as.
constexpr int readBits(int bitCount)
{
    return bitCount == 24 || bitCount == 8 || bitCount == 4 ? bitCount : 1;
}

/// An image as the selection reads it: at most 256 colours of the palette, at any depth but 24 bits, and the rows right
/// behind them. Nothing for an image whose block is too small for that.
std::optional<Dib> imageIn(const LockedDib &locked)
{
    if (!locked || locked->bitCount() == 0)
        return std::nullopt;
    const uint32_t colors =
        locked->bitCount() == 24 ? 0 : std::min<uint32_t>(locked->header().biClrUsed, 256);
    const auto layout = DibLayout::make(locked->width(), locked->height(), locked->bitCount(),
                                        kHeaderBytes + kColorBytes * colors);
    return layout ? Dib::withLayout(locked->block(), locked->blockBytes(), *layout) : std::nullopt;
}

/// Which levels of one channel match: 1, else 0.
using Levels = std::array<uint8_t, 256>;

Levels matchingLevels(int seed, int toleranceMode, int limit)
{
    Levels levels{};
    for (int level = 0; level < 256; ++level) {
        const bool isNear = std::abs(level - seed) <= limit;
        const bool isOnSameSide = (level <= limit) == (seed <= limit);
        levels[static_cast<std::size_t>(level)] = (toleranceMode != 0 ? isNear : isOnSameSide) ? 1 : 0;
    }
    return levels;
}

struct Limits {
    int toleranceMode, red, green, blue;
};

/// Which pixels match the one that a selection starts from.
class Match {
public:
    Match(const Dib &image, int x, int y, const Limits &limits) : image_(image)
    {
        const Color seed = colorAt(image.row(y), static_cast<std::size_t>(x));
        blue_ = matchingLevels(seed[0], limits.toleranceMode, limits.blue);
        green_ = matchingLevels(seed[1], limits.toleranceMode, limits.green);
        red_ = matchingLevels(seed[2], limits.toleranceMode, limits.red);
        for (uint32_t i = 0; i < 256; ++i)
            indices_[i] = matches(paletteColor(i));
    }

    /// A bit for each pixel of row y, the leftmost of a word lowest.
    void row(uint64_t *words, int y) const
    {
        const uint8_t *const from = image_.row(y);
        withDepth(readBits(image_.bitCount()), [&](auto bits) {
            pack(words, [&](std::size_t x) {
                if constexpr (bits() == 24)
                    return matches({from[3 * x], from[3 * x + 1], from[3 * x + 2]});
                else
                    return indices_[pixelAt<bits()>(from, x)];
            });
        });
    }

private:
    using Color = std::array<uint8_t, 3>; ///< blue, green, red

    uint8_t matches(const Color &color) const { return blue_[color[0]] & green_[color[1]] & red_[color[2]]; }
    /// Black where the palette has no entry.
    Color paletteColor(uint32_t index) const
    {
        if (image_.bitCount() == 24 || index >= image_.paletteEntries())
            return {};
        const uint8_t *const entry = image_.palette() + kColorBytes * index;
        return {entry[0], entry[1], entry[2]};
    }
    Color colorAt(const uint8_t *row, std::size_t x) const
    {
        Color color{};
        withDepth(readBits(image_.bitCount()), [&](auto bits) {
            if constexpr (bits() == 24)
                color = {row[3 * x], row[3 * x + 1], row[3 * x + 2]};
            else
                color = paletteColor(pixelAt<bits()>(row, x));
        });
        return color;
    }
    template <typename IsMatch>
    void pack(uint64_t *words, IsMatch isMatch) const
    {
        const auto width = static_cast<std::size_t>(image_.width());
        for (std::size_t first = 0; first < width; first += 64) {
            const std::size_t count = std::min<std::size_t>(64, width - first);
            uint64_t word = 0;
            for (std::size_t i = 0; i < count; ++i)
                word |= uint64_t{isMatch(first + i)} << i;
            *words++ = word;
        }
    }

    const Dib &image_;
    Levels blue_, green_, red_, indices_;
};

/// The matching pixels of a row that are not selected yet, 64 a word, the leftmost lowest.
class OpenRow {
public:
    OpenRow(uint64_t *words, int64_t width) : words_(words), width_(width) {}

    /// The first column of the open pixels that end at x; x + 1 where x is not open.
    int64_t startOfRun(int64_t x) const
    {
        while (x >= 0) {
            const int count = std::countl_one(words_[x / 64] << (63 - x % 64));
            x -= count;
            if (x % 64 != 63 || count == 0)
                break;
        }
        return x + 1;
    }
    /// The column behind the open pixels that begin at x; x where x is not open.
    int64_t endOfRun(int64_t x) const
    {
        while (x < width_) {
            const int count = std::countr_one(words_[x / 64] >> x % 64);
            x += count;
            if (x % 64 != 0 || count == 0)
                break;
        }
        return x;
    }
    /// The first open column from x to `last`; a later one where there is none.
    int64_t nextOpen(int64_t x, int64_t last) const
    {
        while (x <= last) {
            if (const uint64_t open = words_[x / 64] >> x % 64; open != 0)
                return x + std::countr_zero(open);
            x += 64 - x % 64;
        }
        return std::max(x, last + 1);
    }
    /// Pixels from `first` up to `end` are open no more.
    void close(int64_t first, int64_t end)
    {
        for (int64_t x = first; x < end;) {
            const int64_t count = std::min(64 - x % 64, end - x);
            words_[x / 64] &= ~(~uint64_t{0} >> (64 - count) << x % 64);
            x += count;
        }
    }

private:
    uint64_t *words_;
    int64_t width_;
};

/// The open rows of an image, each worked out when it is first asked for.
class OpenRows {
public:
    explicit OpenRows(const Dib &image)
        : width_(image.width()), wordsPerRow_((static_cast<std::size_t>(width_) + 63) / 64),
          words_(uint64_t{wordsPerRow_} * sizeof(uint64_t) * static_cast<unsigned>(image.height())),
          isKnown_(static_cast<std::size_t>(image.height()))
    {
        if (isKnown_.bytes())
            std::memset(isKnown_.bytes(), 0, static_cast<std::size_t>(image.height()));
    }
    explicit operator bool() const { return words_.bytes() && isKnown_.bytes(); }

    OpenRow row(int y, const Match &match)
    {
        const auto place = static_cast<std::size_t>(y);
        uint64_t *const words = reinterpret_cast<uint64_t *>(words_.bytes()) + wordsPerRow_ * place;
        if (!isKnown_.bytes()[place]) {
            match.row(words, y);
            isKnown_.bytes()[place] = 1;
        }
        return {words, width_};
    }

private:
    int64_t width_;
    std::size_t wordsPerRow_;
    ScratchBlock words_, isKnown_;
};

/// A run of pixels whose neighbours in the row ahead are to be explored.
struct Segment {
    int32_t row, first, last, direction;
};

/// The segments still to explore. It grows only where makeRoom() is called, and has room for many pushes from one such
/// call to the next.
class SegmentStack {
public:
    explicit SegmentStack(int height) : height_(height), handle_(KelMemAlloc(KEL_MEM_MOVEABLE, kFirstBytes))
    {
        lock();
    }
    ~SegmentStack()
    {
        unlock();
        if (handle_)
            KelMemFree(handle_);
    }
    SegmentStack(const SegmentStack &) = delete;
    SegmentStack &operator=(const SegmentStack &) = delete;

    explicit operator bool() const { return segments_ != nullptr; }
    bool isEmpty() const { return count_ == 0; }
    /// Drops segments that lead outside the image.
    void push(int64_t row, int64_t first, int64_t last, int direction)
    {
        if (row + direction >= 0 && row + direction < height_)
            segments_[count_++] = {static_cast<int32_t>(row), static_cast<int32_t>(first),
                                   static_cast<int32_t>(last), direction};
    }
    Segment pop() { return segments_[--count_]; }
    /// \return whether there is room.
    bool makeRoom()
    {
        if (count_ <= capacity_)
            return true;
        capacity_ += kStep;
        unlock();
        if (!KelMemReAlloc(handle_, capacity_ * sizeof(Segment) + kSlackBytes, KEL_MEM_MOVEABLE))
            return false;
        lock();
        return segments_ != nullptr;
    }

private:
    static constexpr std::size_t kFirstBytes = 32000, kSlackBytes = 16010, kStep = 1000;

    void lock() { segments_ = static_cast<Segment *>(KelMemLock(handle_)); }
    void unlock()
    {
        if (segments_)
            KelMemUnlock(handle_);
        segments_ = nullptr;
    }

    int height_;
    void *handle_;
    Segment *segments_ = nullptr;
    std::size_t count_ = 0, capacity_ = kStep;
};

/// Heckbert's seed fill. The order in which it pushes decides nothing but the number of segments, and so the number of
/// abort polls that hosts see.
class SeedFill {
public:
    SeedFill(const Match &match, OpenRows &open, SegmentStack &stack, Dib &mask)
        : match_(match), open_(open), stack_(stack), mask_(mask)
    {
    }

    /// \return whether it came to its end: no abort, and memory enough.
    bool run(int x, int y)
    {
        constexpr unsigned kPollEvery = 256;
        stack_.push(y, x, x, 1);
        stack_.push(int64_t{y} + 1, x, x, -1); // explored first
        for (unsigned popped = 0; !stack_.isEmpty(); ++popped) {
            if (popped % kPollEvery == 0 && AbortImageProcessing() != 0)
                return false;
            if (!explore(stack_.pop()))
                return false;
        }
        return true;
    }

private:
    bool explore(const Segment &from)
    {
        const int direction = from.direction, row = from.row + direction;
        OpenRow open = open_.row(row, match_);
        int64_t start = open.startOfRun(from.first), x = int64_t{from.first} + 1;
        select(open, row, start, x);
        if (start < from.first)
            stack_.push(row, start, int64_t{from.first} - 1, -direction);
        if (start == x) // the first pixel is not open
            start = x = open.nextOpen(x, from.last);
        while (start < x || x <= from.last) {
            if (!stack_.makeRoom())
                return false;
            const int64_t end = open.endOfRun(x);
            select(open, row, x, end);
            stack_.push(row, start, end - 1, direction);
            if (end > int64_t{from.last} + 1)
                stack_.push(row, int64_t{from.last} + 1, end - 1, -direction);
            start = x = open.nextOpen(end + 1, from.last);
        }
        return true;
    }

    void select(OpenRow &open, int row, int64_t first, int64_t end)
    {
        if (first >= end)
            return;
        open.close(first, end);
        setBits(mask_.row(row), first, end - 1);
    }

    const Match &match_;
    OpenRows &open_;
    SegmentStack &stack_;
    Dib &mask_;
};

void describeMask(NewMask &mask, const Dib &image)
{
    constexpr uint8_t kBlackAndWhite[] = {0, 0, 0, 0, 255, 255, 255, 0};
    mask.describe(image.block(), kHeaderBytes);
    DibHeader header = mask.dib().header();
    header.biBitCount = 1;
    header.biClrUsed = 2;
    mask.dib().setHeader(header);
    std::memcpy(mask.dib().palette(), kBlackAndWhite, sizeof kBlackAndWhite);
}

} // namespace

} // namespace velmont

using namespace velmont;

void *CreateMagicMaskFromDib(void *dib, int x, int y, int toleranceMode, int redLimit, int greenLimit,
                             int blueLimit)
{
    const LockedDib locked(dib);
    const auto image = imageIn(locked);
    if (!image)
        return nullptr;
    NewMask mask(image->width(), image->height());
    if (!mask)
        return nullptr;
    describeMask(mask, *image);
    SegmentStack stack(image->height());
    OpenRows open(*image);
    if (!stack || !open)
        return nullptr;
    AbortImageProcessing(); // its answer is dropped: hosts rely on the call
    x = std::clamp(x, 0, image->width() - 1);
    y = std::clamp(y, 0, image->height() - 1);
    const Match match(*image, x, y, {toleranceMode, redLimit, greenLimit, blueLimit});
    return SeedFill(match, open, stack, mask.dib()).run(x, y) ? mask.take() : nullptr;
}
