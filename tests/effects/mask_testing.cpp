#include "tests/effects/mask_testing.h"
#include <cstring>

namespace velmont::testing {

namespace {

const Bytes kBlackAndWhite{0, 0, 0, 0, 255, 255, 255, 0};

} // namespace

Pieces bitMask(int width, int height, const std::function<bool(int, int)> &isSet)
{
    const Pieces blank{makeHeader(width, height, 1, 2), kBlackAndWhite, {}};
    return painted(blank, width, height, [&](int x, int y) { return isSet(x, y) ? 1u : 0u; });
}

Pieces drawnMask(const std::vector<std::string> &rows)
{
    return bitMask(static_cast<int>(rows[0].size()), static_cast<int>(rows.size()), [&](int x, int y) {
        return rows[static_cast<std::size_t>(y)][static_cast<std::size_t>(x)] == '#';
    });
}

Pieces noiseMask(int width, int height, uint32_t seed)
{
    const DibHeader header = makeHeader(width, height, 1, 2);
    return {header, kBlackAndWhite, noise(header.biSizeImage, seed)};
}

std::vector<std::string> drawing(void *mask)
{
    const Bytes block = bytesOf(mask);
    DibHeader header;
    std::memcpy(&header, block.data(), sizeof header);
    std::vector<std::string> rows;
    for (int y = 0; y < header.biHeight; ++y) {
        const uint8_t *const row =
            block.data() + 48 + strideFor(header.biWidth, 1) * static_cast<std::size_t>(y);
        std::string text;
        for (int x = 0; x < header.biWidth; ++x)
            text += bitAt(row, x) != 0 ? '#' : '.';
        rows.push_back(text);
    }
    return rows;
}

} // namespace velmont::testing
