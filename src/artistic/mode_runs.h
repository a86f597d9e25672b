#pragma once

/// \file
/// The loops of the mode filter; each source that includes them compiles them for its instruction set. All of it has
/// internal linkage and calls nothing outside.
///
/// One histogram goes along a row. It grows by two columns a pixel, slides by one, and ends in a stretch that hosts
/// rely on: at 24 bits it takes out what lies behind the row's pixels, at 8 bits it shrinks by one column.
/// Column 2 * radius - 1 leaves without having entered, which is why counts are held or go below 0.

#include "artistic/mode_kernels.h"

namespace velmont::kernels {

namespace {

[[gnu::always_inline]] inline uint8_t modeBin(const uint8_t *pixel)
{
    return static_cast<uint8_t>((pixel[2] & 0xE0) | (pixel[1] & 0xE0) >> 3 | pixel[0] >> 6);
}

inline void modeBins(uint8_t *__restrict to, const uint8_t *__restrict pixels, std::size_t count)
{
    for (std::size_t i = 0; i < count; ++i)
        to[i] = modeBin(pixels + 3 * i);
}

/// Counts above the number of their bin, which is turned over, so that the largest key is that of the lowest of the
/// fullest bins.
template <typename Key>
class BinKeys {
public:
    BinKeys()
    {
        for (std::size_t bin = 0; bin < kModeBins; ++bin)
            of_[bin] = static_cast<Key>(kModeBins - 1 - bin);
    }

    void add(uint8_t bin) { of_[bin] = static_cast<Key>(of_[bin] + kOne); }
    void remove(uint8_t bin) { of_[bin] = static_cast<Key>(of_[bin] - kOne); }
    void removeIfAny(uint8_t bin)
    {
        const Key key = of_[bin];
        of_[bin] = static_cast<Key>(key - (key >= kOne ? kOne : 0));
    }
    /// The lowest of the fullest bins; 0 where none has a count above 0.
    std::size_t fullest() const
    {
        Key most = kOne - 1;
        for (const Key key : of_)
            most = key > most ? key : most;
        return kModeBins - 1 - static_cast<std::size_t>(most) % kModeBins;
    }

private:
    static constexpr Key kOne = kModeBins;

    alignas(64) Key of_[kModeBins];
};

/// Coarse colours with the place of the pixel that entered each bin last.
template <typename Key>
class ColorBins {
public:
    static constexpr int64_t kPixelBytes = 3;
    static constexpr bool kShrinks = false;

    static uint8_t binOf(const uint8_t *pixel) { return modeBin(pixel); }

    void addToColorBin(uint8_t bin, std::size_t place)
    {
        keys_.add(bin);
        last_[bin] = place + 1;
    }
    void removeFromColorBin(uint8_t bin) { keys_.removeIfAny(bin); }
    /// Writes the colour to as many of the pixel's bytes as there are.
    void put(uint8_t *to, int64_t bytes, const uint8_t *pixels) const
    {
        const std::size_t last = last_[keys_.fullest()];
        for (int64_t i = 0; i < bytes; ++i)
            to[i] = last != 0 ? pixels[last - 1 + static_cast<std::size_t>(i)] : uint8_t{0};
    }

private:
    BinKeys<Key> keys_;
    std::size_t last_[kModeBins] = {}; ///< 1 more than the place, 0 for an empty colour
};

/// Levels by themselves.
template <typename Key>
class GrayBins {
public:
    static constexpr int64_t kPixelBytes = 1;
    static constexpr bool kShrinks = true;

    static uint8_t binOf(const uint8_t *pixel) { return *pixel; }

    void addToColorBin(uint8_t bin, std::size_t) { keys_.add(bin); }
    void removeFromColorBin(uint8_t bin) { keys_.remove(bin); }
    void put(uint8_t *to, int64_t, const uint8_t *) const { *to = static_cast<uint8_t>(keys_.fullest()); }

private:
    BinKeys<Key> keys_;
};

/// One row. With a radius beyond half the width the stretches write more pixels than the row has and go on in the next
/// one; what lies outside the rows is neither read nor written.
template <typename Bins>
class ModeWalk {
public:
    explicit ModeWalk(const ModeRow &row) : row_(row), bytes_(static_cast<int64_t>(row.bytes)) {}

    void go()
    {
        widen();
        if (row_.radius < row_.width - row_.radius)
            slide();
        narrow();
    }

private:
    static constexpr int64_t kPixelBytes = Bins::kPixelBytes;

    int64_t placeOf(int64_t y, int64_t column) const
    {
        return y * static_cast<int64_t>(row_.stride) + column * kPixelBytes;
    }
    bool isInside(int64_t place) const { return place >= 0 && place + kPixelBytes <= bytes_; }
    void addAt(int64_t y, int64_t column)
    {
        const int64_t place = placeOf(y, column);
        if (isInside(place))
            bins_.addToColorBin(Bins::binOf(row_.pixels + place), static_cast<std::size_t>(place));
    }
    void removeAt(int64_t y, int64_t column)
    {
        const int64_t place = placeOf(y, column);
        if (isInside(place))
            bins_.removeFromColorBin(Bins::binOf(row_.pixels + place));
    }
    void put()
    {
        const int64_t place = placeOf(row_.y, written_++), rest = bytes_ - place;
        if (rest > 0)
            bins_.put(row_.to + place, rest < kPixelBytes ? rest : kPixelBytes, row_.pixels);
    }

    void widen()
    {
        for (int64_t x = 0; x < row_.radius; ++x) {
            for (int64_t y = row_.y - row_.radius; y <= row_.y + row_.radius; ++y) {
                addAt(y, 2 * x);
                if (x > 0)
                    addAt(y, 2 * x - 1);
            }
            put();
        }
    }
    void slide()
    {
        const std::size_t rows = static_cast<std::size_t>(2 * row_.radius + 1);
        const uint8_t *const bins =
            row_.bins + static_cast<std::size_t>(row_.y - row_.radius) * row_.binStride;
        for (int64_t x = row_.radius; x < row_.width - row_.radius; ++x) {
            const uint8_t *const leaving = bins + (x - row_.radius), *const entering =
                                                                         bins + (x + row_.radius);
            std::size_t place = static_cast<std::size_t>(placeOf(row_.y - row_.radius, x + row_.radius));
            for (std::size_t j = 0; j < rows; ++j) {
                bins_.addToColorBin(entering[j * row_.binStride], place);
                bins_.removeFromColorBin(leaving[j * row_.binStride]);
                place += row_.stride;
            }
            put();
        }
    }
    void narrow()
    {
        const int64_t last = row_.y + row_.radius - (Bins::kShrinks ? 0 : 1);
        for (int64_t i = 0; i < row_.radius; ++i) {
            const int64_t column = row_.width + i - (Bins::kShrinks ? 2 * row_.radius : 0);
            for (int64_t y = row_.y - row_.radius; y <= last; ++y)
                removeAt(y, column);
            put();
        }
    }

    const ModeRow &row_;
    int64_t bytes_;
    int64_t written_ = 0; ///< pixels of this row's
    Bins bins_;
};

template <typename Bins>
void modeRow(const ModeRow &row)
{
    ModeWalk<Bins>(row).go();
}

template <typename Key>
constexpr ModeKernels kModeKernels{modeBins, modeRow<ColorBins<Key>>, modeRow<GrayBins<Key>>};

inline ModeKernels modeOfRadius(int64_t radius)
{
    return radius <= kLargestShortKey  ? kModeKernels<int16_t>
           : radius <= kLargestWideKey ? kModeKernels<int32_t>
                                       : kModeKernels<int64_t>;
}

} // namespace

} // namespace velmont::kernels
