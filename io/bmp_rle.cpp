#include "io/bmp_rle.h"
#include "io/codec.h"
#include "io/pixels.h"

namespace velmont::io {

namespace {

/// The second byte behind a zero.
enum Escape : uint8_t { kEndOfLine, kEndOfImage, kDelta };

/// The decoder's place in data and image. It only moves rightward and upward, so that a pixel is set once.
class RunReader {
public:
    RunReader(std::span<const uint8_t> data, const DibTarget &target) : rest_(data), target_(target) {}
    void read();

private:
    uint8_t next()
    {
        if (rest_.empty())
            throw endsEarly(Format::Bmp);
        const uint8_t byte = rest_.front();
        rest_ = rest_.subspan(1);
        return byte;
    }
    /// Whether nothing is left to set. Some files leave out the mark for the end of the image.
    bool isComplete() const
    {
        return y_ >= target_.height() || (y_ == target_.height() - 1 && x_ >= target_.width());
    }
    /// Some encoders pad the rows before they code them: runs may go on to the end of the target's padding.
    void checkRun(int count) const
    {
        const auto width = static_cast<uint64_t>(target_.width());
        const auto columns = static_cast<int64_t>(strideOf(width, target_.bits()) * 8 / target_.bits());
        if (y_ >= target_.height() || count > columns - x_)
            throw formatError(Format::Bmp, "a run of " + std::to_string(count) + " pixels at column " +
                                               std::to_string(x_) + " of row " + std::to_string(y_) +
                                               " ends outside the image");
    }
    void set(unsigned index);
    void repeat(int count, uint8_t value);
    void copy(int count);
    void move(int right, int up);

    std::span<const uint8_t> rest_;
    const DibTarget &target_;
    int x_ = 0;
    int y_ = 0;
};

void RunReader::set(unsigned index)
{
    uint8_t *const row = target_.row(y_);
    if (target_.bits() == 8)
        row[x_] = static_cast<uint8_t>(index);
    else
        row[x_ / 2] |= static_cast<uint8_t>(x_ % 2 == 0 ? index << 4 : index);
    ++x_;
}

void RunReader::repeat(int count, uint8_t value)
{
    checkRun(count);
    for (int i = 0; i < count; ++i)
        set(target_.bits() == 8 ? value : i % 2 == 0 ? value >> 4 : value & 15);
}

void RunReader::copy(int count)
{
    checkRun(count);
    const bool isWide = target_.bits() == 8;
    uint8_t value = 0;
    for (int i = 0; i < count; ++i) {
        if (isWide || i % 2 == 0)
            value = next();
        set(isWide ? value : i % 2 == 0 ? value >> 4 : value & 15);
    }
    // Padded to 16 bits; after the last pixels of the image the padding may be missing.
    const int bytes = isWide ? count : (count + 1) / 2;
    if (bytes % 2 != 0 && !(rest_.empty() && isComplete()))
        next();
}

void RunReader::move(int right, int up)
{
    if (right > target_.width() - x_ || up >= target_.height() - y_)
        throw formatError(Format::Bmp, "a jump from column " + std::to_string(x_) + " of row " +
                                           std::to_string(y_) + " ends outside the image");
    x_ += right;
    y_ += up;
}

void RunReader::read()
{
    while (!(rest_.empty() && isComplete())) {
        const uint8_t count = next();
        const uint8_t value = next();
        if (count > 0) {
            repeat(count, value);
        } else if (value == kEndOfImage) {
            return;
        } else if (value == kEndOfLine) {
            x_ = 0;
            y_ += y_ < target_.height();
        } else if (value == kDelta) {
            const uint8_t right = next();
            move(right, next());
        } else {
            copy(value);
        }
    }
}

} // namespace

void decodeBmpRuns(std::span<const uint8_t> data, const DibTarget &target)
{
    RunReader(data, target).read();
}

} // namespace velmont::io
