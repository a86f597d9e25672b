#include "catalogue/fitted_operands.h"
#include <algorithm>
#include <cstdint>
#include <velmont/dib.h>
#include <velmont/memory.h>

namespace velmont::catalogue {

namespace {

/// How far a disc that fills a frame covers a pixel, 0 to 255.
uint8_t coverage(int x, int y, int width, int height)
{
    const double across = (2.0 * x + 1 - width) / width, along = (2.0 * y + 1 - height) / height;
    return static_cast<uint8_t>(std::clamp((1 - across * across - along * along) * 510, 0.0, 255.0));
}

void drawRow(uint8_t *row, int bits, int y, int width, int height)
{
    for (int x = 0; x < width; ++x) {
        const uint8_t covered = coverage(x, y, width, height);
        if (bits == 8)
            row[x] = covered;
        else if (bits == 24)
            row[3 * x] = covered, row[3 * x + 1] = static_cast<uint8_t>(x), row[3 * x + 2] = 200;
        else if (covered > 127)
            row[x / 8] = static_cast<uint8_t>(row[x / 8] | 0x80 >> x % 8);
    }
}

int bitsOf(OperandKind kind, void *dib)
{
    switch (kind) {
    case OperandKind::BitMask:
        return 1;
    case OperandKind::AlphaMask:
    case OperandKind::LooseAlphaMask:
        return 8;
    case OperandKind::Picture:
    case OperandKind::LikePicture:
        return depthOf(dib) == Depth24 ? 24 : 8;
    }
    return 8;
}

void *disc(int bits, int width, int height)
{
    void *const mask = CreateDib(width, height, bits, 0, 0);
    auto *row = static_cast<uint8_t *>(KelMemLock(mask));
    if (!row)
        return mask;
    row += sizeof(DibHeader) + sizeof(DibColor) * (bits == 24 ? 0u : 1u << bits);
    const std::size_t stride =
        (static_cast<std::size_t>(width) * static_cast<std::size_t>(bits) + 31) / 32 * 4;
    for (int y = 0; y < height; ++y, row += stride)
        drawRow(row, bits, y, width, height);
    KelMemUnlock(mask);
    return mask;
}

} // namespace

FittedOperands::FittedOperands(const Effect &effect, Record &record, void *dib)
    : effect_(effect), record_(record)
{
    int width = 1, height = 1;
    if (!effect.operands.empty() && depthOf(dib) != 0)
        GetDibSize(dib, &width, &height);
    for (const Operand &operand : effect.operands)
        if (!operand.isResult)
            operand.handle(record.bytes.data()) = disc(bitsOf(operand.kind, dib), width, height);
}

FittedOperands::~FittedOperands()
{
    for (const Operand &operand : effect_.operands)
        if (void *&handle = operand.handle(record_.bytes.data()))
            KelMemFree(handle), handle = nullptr;
}

double heldForTrial(const Effect &effect, const Field &field, double value)
{
    const bool isResultSize = field.name == "newWidth" || field.name == "newHeight" ||
                              field.name == "width" || field.name == "height";
    // The result spans both masks, or all from there to the picture's end, however far that is.
    const bool isDistance = (effect.name == "mask-operation" || effect.name == "crop") &&
                            (field.name == "left" || field.name == "top");
    const bool isCount = effect.name == "sun-burst" && field.name == "spokeCount";
    return isResultSize ? std::clamp(value, -1.0, 500.0)
           : isCount    ? std::clamp(value, -1.0, 5000.0)
           : isDistance ? std::clamp(value, -500.0, 500.0)
                        : value;
}

} // namespace velmont::catalogue
