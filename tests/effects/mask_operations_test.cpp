// Combining, trimming and inverting masks.

#include "platform/memory.h"
#include "tests/effects/mask_testing.h"
#include <algorithm>
#include <climits>
#include <cstring>
#include <gtest/gtest.h>
#include <velmont/masks.h>

namespace velmont::testing {

namespace {

using Rows = std::vector<std::string>;

bool isSetIn(const Pieces &mask, long x, long y)
{
    return x >= 0 && x < mask.header.biWidth && y >= 0 && y < mask.header.biHeight &&
           pixelIn(mask, static_cast<int>(x), static_cast<int>(y)) != 0;
}

/// The block that an operation makes; none for an empty rectangle.
Bytes combined(const Pieces &a, const Pieces &b, int x, int y, int operation)
{
    const int widthA = a.header.biWidth, heightA = a.header.biHeight;
    int left = std::min(x, 0), top = std::min(y, 0), right = std::max(widthA, x + b.header.biWidth),
        bottom = std::max(heightA, y + b.header.biHeight);
    if (operation == 1) {
        left = std::max(x, 0), top = std::max(y, 0);
        right = std::min(widthA, x + b.header.biWidth), bottom = std::min(heightA, y + b.header.biHeight);
    } else if (operation == 3) {
        left = top = 0, right = widthA, bottom = heightA;
    }
    if (right - left < 1 || bottom - top < 1)
        return {};
    return painted(a, right - left, bottom - top,
                   [&](int i, int j) -> uint32_t {
                       const bool inA = isSetIn(a, left + i, top + j),
                                  inB = isSetIn(b, left + i - x, top + j - y);
                       switch (operation) {
                       case 0:
                           return inA || inB;
                       case 1:
                           return inA && inB;
                       case 2:
                           return inA != inB;
                       default:
                           return inA && !inB;
                       }
                   })
        .bytes();
}

TEST(MaskOperation, EverySizeAndOffset)
{
    uint32_t state = 1;
    for (int width = 1; width <= 40; ++width)
        for (int height = 1; height <= 18; ++height)
            for (const int operation : {0, 1, 2, 3, 4, -1}) {
                state = state * 1664525u + 1013904223u;
                const Pieces a = noiseMask(width, height, state);
                const Pieces b = noiseMask(1 + static_cast<int>(state >> 9) % 70,
                                           1 + static_cast<int>(state >> 20) % 12, state + 1);
                const int x = static_cast<int>(state >> 13) % 101 - 50,
                          y = static_cast<int>(state >> 25) % 31 - 15;
                const Handle handleB = b.handle();
                ASSERT_EQ(
                    resultOf(a,
                             [&](void *dib) { return ProcessMaskOperation(dib, handleB, x, y, operation); }),
                    combined(a, b, x, y, operation))
                    << width << " x " << height << ", " << x << ", " << y << ", operation " << operation;
                ASSERT_EQ(bytesOf(handleB), b.bytes());
                ASSERT_EQ(memory_hooks::locksOn(handleB), 0);
            }
}

TEST(MaskOperation, ByHand)
{
    const Handle a = drawnMask({"##.", "##."}).handle(), b = drawnMask({".#", "##"}).handle();
    const auto of = [&](int x, int y, int operation) {
        const Handle result(ProcessMaskOperation(a, b, x, y, operation));
        return drawing(result);
    };
    EXPECT_EQ(of(1, 1, 0), (Rows{"##.", "###", ".##"}));
    EXPECT_EQ(of(1, 0, 1), (Rows{"..", "#."}));
    EXPECT_EQ(of(0, 0, 2), (Rows{"#..", "..."}));
    EXPECT_EQ(of(0, 0, 3), (Rows{"#..", "..."}));
    EXPECT_EQ(of(-1, -1, 7), (Rows{"....", "..#.", ".##."}));
    EXPECT_EQ(of(-1, -1, 3), (Rows{".#.", "##."}));
}

TEST(MaskOperation, DisjointMasks)
{
    const NothingLost check;
    const Pieces a = noiseMask(9, 4), b = noiseMask(5, 3, 2);
    const Handle handleA = a.handle(), handleB = b.handle();
    for (const auto &[x, y] :
         {std::pair(9, 0), {-5, 0}, {0, 4}, {0, -3}, {INT_MAX, INT_MAX}, {INT_MIN, INT_MIN}}) {
        EXPECT_EQ(ProcessMaskOperation(handleA, handleB, x, y, 1), nullptr) << x << ", " << y;
        const Handle rest(ProcessMaskOperation(handleA, handleB, x, y, 3));
        EXPECT_EQ(drawing(rest), drawing(handleA)) << x << ", " << y;
    }
    for (const int operation : {0, 2, 4})
        EXPECT_EQ(ProcessMaskOperation(handleA, handleB, INT_MAX, INT_MIN, operation), nullptr)
            << "no block is so large";
}

TEST(MaskOperation, TheHeaderIsThatOfTheFirst)
{
    Pieces a = noiseMask(9, 4);
    a.header.biXPelsPerMeter = 99;
    a.palette = {1, 2, 3, 4, 5, 6, 7, 8};
    const Handle handleA = a.handle(), handleB = noiseMask(40, 2).handle();
    const Handle result(ProcessMaskOperation(handleA, handleB, 0, 0, 0));
    Bytes expected = a.bytes();
    expected.resize(48);
    DibHeader header = a.header;
    header.biWidth = 40;
    header.biSizeImage = 32;
    std::memcpy(expected.data(), &header, sizeof header);
    Bytes block = bytesOf(result);
    EXPECT_EQ(block.size(), 48u + 32);
    block.resize(48);
    EXPECT_EQ(block, expected);
}

/// Rows start at byte 48 whatever the count of colours says.
TEST(MaskOperation, RowsStartAtByte48)
{
    Pieces a = noiseMask(33, 3);
    const Handle whole = a.handle();
    a.header.biClrUsed = 1;
    const Handle fewer = a.handle();
    const Handle expected(ProcessMaskOperation(whole, whole, 0, 0, 0)),
        seen(ProcessMaskOperation(fewer, whole, 0, 0, 0));
    EXPECT_EQ(drawing(seen), drawing(expected));
}

TEST(MaskOperation, TheHostSeesNothing)
{
    const Handle b = noiseMask(5, 3).handle();
    const Effect effect = [&](void *dib) { return ProcessMaskOperation(dib, b, 1, 1, 0); };
    EXPECT_EQ(eventsOf(noiseMask(9, 4), effect), Events{});
    expectFailuresSurvived(noiseMask(9, 4), effect);
}

TEST(MaskOperation, RefusesOtherBlocks)
{
    const NothingLost check;
    const Handle good = noiseMask(5, 3).handle();
    const Effect first = [&](void *dib) { return ProcessMaskOperation(dib, good, 0, 0, 0); },
                 second = [&](void *dib) { return ProcessMaskOperation(good, dib, 0, 0, 0); };
    for (const Effect &effect : {first, second}) {
        EXPECT_EQ(eventsOfRefusal(nullptr, effect), Events{});
        for (const int bits : {4, 8, 16, 24, 32}) {
            const Handle other = paletted(5, 3, bits, 4).handle();
            EXPECT_EQ(eventsOfRefusal(other, effect), Events{}) << bits;
        }
        Bytes cut = noiseMask(5, 3).bytes();
        cut.pop_back();
        const Handle truncated = blockOf(cut);
        EXPECT_EQ(eventsOfRefusal(truncated, effect), Events{});
        Pieces lying = noiseMask(5, 3);
        lying.header.biClrUsed = 0;
        lying.palette = {};
        const Handle without = lying.handle(); // its rows would end behind the block
        EXPECT_EQ(eventsOfRefusal(without, effect), Events{});
        lying = noiseMask(5, 3);
        lying.header.biHeight = INT_MAX;
        const Handle high = lying.handle();
        EXPECT_EQ(eventsOfRefusal(high, effect), Events{});
    }
}

/// A block that its taker frees.
void *givenAway(const Bytes &bytes)
{
    void *const handle = KelMemAlloc(KEL_MEM_MOVEABLE, bytes.size());
    std::memcpy(KelMemLock(handle), bytes.data(), bytes.size());
    KelMemUnlock(handle);
    return handle;
}

/// What is left of a mask that is trimmed, by rows and columns counted one by one.
struct Trimmed {
    Bytes block;
    tagRECT rect;
};

Trimmed trimmed(const Pieces &mask, const tagRECT &rect)
{
    const int width = mask.header.biWidth, height = mask.header.biHeight;
    const auto rowIsEmpty = [&](int y) {
        for (int x = 0; x < width; ++x)
            if (isSetIn(mask, x, y))
                return false;
        return true;
    };
    const auto columnIsEmpty = [&](int x) {
        for (int y = 0; y < height; ++y)
            if (isSetIn(mask, x, y))
                return false;
        return true;
    };
    int left = 0, top = 0, right = width, bottom = height;
    while (top < height && rowIsEmpty(top))
        ++top;
    if (top == height)
        return {{}, {0, 0, 0, 0}};
    while (rowIsEmpty(bottom - 1))
        --bottom;
    while (columnIsEmpty(left))
        ++left;
    while (columnIsEmpty(right - 1))
        --right;
    const Pieces rest = painted(mask, right - left, bottom - top,
                                [&](int x, int y) { return isSetIn(mask, left + x, top + y) ? 1u : 0u; });
    const tagRECT place{rect.left + left, rect.top + top, rect.left + right, rect.top + bottom};
    return {left == 0 && top == 0 && right == width && bottom == height ? mask.bytes() : rest.bytes(), place};
}

void expectRect(const tagRECT &rect, const tagRECT &expected)
{
    EXPECT_EQ(rect.left, expected.left);
    EXPECT_EQ(rect.top, expected.top);
    EXPECT_EQ(rect.right, expected.right);
    EXPECT_EQ(rect.bottom, expected.bottom);
}

TEST(BoundingMask, EverySize)
{
    uint32_t state = 1;
    for (int width = 1; width <= 80; ++width)
        for (int height = 1; height <= 18; ++height) {
            const NothingLost check;
            state = state * 1664525u + 1013904223u;
            const int left = static_cast<int>(state >> 10) % width,
                      right = left + static_cast<int>(state >> 5) % 40;
            const int top = static_cast<int>(state >> 24) % height,
                      bottom = top + static_cast<int>(state >> 28) % 9;
            const Pieces random = noiseMask(width, height, state);
            Pieces mask = bitMask(width, height, [&](int x, int y) {
                return x >= left && x < right && y >= top && y < bottom && pixelIn(random, x, y) != 0;
            });
            // Padding does not count.
            for (std::size_t y = 0; y < static_cast<std::size_t>(height); ++y)
                if (width % 32 != 0)
                    mask.rows[(y + 1) * strideFor(width, 1) - 1] |= 1;
            tagRECT rect{100, -7, 100 + width, -7 + height};
            const Trimmed expected = trimmed(mask, rect);
            const Handle result(BoundingMask(givenAway(mask.bytes()), &rect));
            ASSERT_EQ(result ? bytesOf(result) : Bytes{}, expected.block) << width << " x " << height;
            expectRect(rect, expected.rect);
            ASSERT_EQ(memory_hooks::locksOn(result), 0);
        }
}

TEST(BoundingMask, ByHand)
{
    tagRECT rect{10, 20, 15, 24};
    const Pieces mask = drawnMask({".....", "..#..", "...#.", "....."});
    const Handle result(BoundingMask(givenAway(mask.bytes()), &rect));
    EXPECT_EQ(drawing(result), (Rows{"#.", ".#"}));
    expectRect(rect, {12, 21, 14, 23});
}

TEST(BoundingMask, AllClearFreesTheMask)
{
    const NothingLost check;
    tagRECT rect{1, 2, 41, 5};
    void *const mask = givenAway(bitMask(40, 3, [](int, int) { return false; }).bytes());
    EXPECT_EQ(BoundingMask(mask, &rect), nullptr);
    EXPECT_EQ(KelMemSize(mask), 0u) << "gone";
    expectRect(rect, {0, 0, 0, 0});
}

TEST(BoundingMask, NothingToTrimGivesTheMaskItself)
{
    const Pieces mask = drawnMask({"..#", "#.."});
    const Handle handle = mask.handle();
    tagRECT rect{3, 4, 6, 6};
    const long allocations = memory_hooks::counts().allocations;
    EXPECT_EQ(BoundingMask(handle, &rect), static_cast<void *>(handle));
    EXPECT_EQ(memory_hooks::counts().allocations, allocations);
    EXPECT_EQ(bytesOf(handle), mask.bytes());
    expectRect(rect, {3, 4, 6, 6});
    EXPECT_EQ(memory_hooks::locksOn(handle), 0);
}

TEST(BoundingMask, BadArgumentsChangeNothing)
{
    const NothingLost check;
    const Pieces mask = drawnMask({"...", ".#."});
    const Handle handle = mask.handle();
    void *const raw = handle;
    EXPECT_EQ(BoundingMask(raw, nullptr), raw);
    for (const tagRECT &bad : {tagRECT{0, 0, 0, 2},
                               {0, 0, 3, 0},
                               {3, 0, 0, 2},
                               {INT_MIN, 0, INT_MAX, 2},
                               {0, INT_MIN, 3, INT_MAX},
                               {INT_MAX, INT_MAX, INT_MIN, INT_MIN}}) {
        tagRECT rect = bad;
        EXPECT_EQ(BoundingMask(raw, &rect), raw);
        expectRect(rect, bad);
    }
    tagRECT rect{0, 0, 3, 2};
    EXPECT_EQ(BoundingMask(nullptr, &rect), nullptr);
    int local = 0;
    EXPECT_EQ(BoundingMask(&local, &rect), &local) << "what is no handle cannot be consumed";
    const Handle header = blockOf(Bytes(47));
    EXPECT_EQ(BoundingMask(header, &rect), static_cast<void *>(header)) << "no room for a mask";
    expectRect(rect, {0, 0, 3, 2});
    EXPECT_EQ(bytesOf(handle), mask.bytes());
}

TEST(BoundingMask, FailuresKeepTheMask)
{
    const NothingLost check;
    const Restore restore;
    const Pieces mask = drawnMask({"...", ".#."});
    const Handle handle = mask.handle();
    const auto orders = {+[] { memory_hooks::failAllocation(1); }, +[] { memory_hooks::failLock(1); },
                         +[] { memory_hooks::failLock(2); }};
    for (const auto &order : orders) {
        tagRECT rect{0, 0, 3, 2};
        order();
        EXPECT_EQ(BoundingMask(handle, &rect), static_cast<void *>(handle));
        memory_hooks::failAllocation(0);
        EXPECT_EQ(bytesOf(handle), mask.bytes());
        EXPECT_EQ(memory_hooks::locksOn(handle), 0);
        expectRect(rect, {0, 0, 3, 2});
    }
}

/// The rectangle tells the measures; the header's own do not matter, but for what is carried over.
TEST(BoundingMask, MeasuresAreThoseOfTheRectangle)
{
    Pieces mask = bitMask(40, 3, [](int x, int y) { return x == 35 && y == 1; });
    mask.header.biWidth = 7;
    mask.header.biHeight = -9;
    mask.header.biBitCount = 24;
    tagRECT rect{0, 0, 40, 3};
    const Handle result(BoundingMask(givenAway(mask.bytes()), &rect));
    expectRect(rect, {35, 1, 36, 2});
    const DibHeader header = headerOf(result);
    EXPECT_EQ(header.biWidth, 1);
    EXPECT_EQ(header.biHeight, 1);
    EXPECT_EQ(header.biSizeImage, 4u);
    EXPECT_EQ(header.biBitCount, 24);
    EXPECT_EQ(drawing(result), Rows{"#"});
}

/// A rectangle that is larger than the block: its rows are walked at their stride as far as the block goes.
TEST(BoundingMask, StaysInsideTheBlock)
{
    const Pieces mask = bitMask(32, 3, [](int x, int y) { return x == 5 * y + 1; });
    tagRECT rect{0, 0, 64, 100}; // two of the block's rows beside each other
    Handle result(BoundingMask(givenAway(mask.bytes()), &rect));
    expectRect(rect, {1, 0, 39, 2});
    EXPECT_EQ(drawing(result),
              (Rows{"#" + std::string(36, '.') + "#", std::string(10, '.') + "#" + std::string(27, '.')}));
    rect = {0, 0, INT_MAX, INT_MAX};
    result = Handle(BoundingMask(givenAway(mask.bytes()), &rect));
    expectRect(rect, {1, 0, 76, 1});
    rect = {0, 0, 33, 1};
    result = Handle(BoundingMask(givenAway(Bytes(48)), &rect));
    EXPECT_FALSE(result);
}

TEST(BoundingMask, TheHostSeesNothing)
{
    RecordingHost host;
    tagRECT rect{0, 0, 3, 2};
    const Handle result(BoundingMask(givenAway(drawnMask({"...", ".#."}).bytes()), &rect));
    EXPECT_EQ(host.events, Events{});
}

TEST(InvertMask, EveryByteOfTheRows)
{
    RecordingHost host;
    for (const Pieces &mask : {noiseMask(1, 1), noiseMask(33, 7), gray(5, 3), gray(64, 2),
                               paletted(7, 4, 4, 16), paletted(9, 5, 2, 4)}) {
        const Handle handle = mask.handle();
        EXPECT_EQ(ProcessInvertMask(handle), 0);
        Pieces inverted = mask;
        for (uint8_t &byte : inverted.rows)
            byte = static_cast<uint8_t>(255 - byte);
        EXPECT_EQ(bytesOf(handle), inverted.bytes()) << mask.header.biBitCount;
        EXPECT_EQ(ProcessInvertMask(handle), 0);
        EXPECT_EQ(bytesOf(handle), mask.bytes());
        EXPECT_EQ(memory_hooks::locksOn(handle), 0);
    }
    EXPECT_EQ(host.events, Events{});
}

/// Rows are looked for behind 2^bits colours, so that more colours than that are taken for pixels, and what lies behind
/// the rows as the header has them may be inverted.
TEST(InvertMask, RowsLieBehindTheFullPalette)
{
    const Pieces more = paletted(8, 3, 1, 5);
    Bytes block = more.bytes();
    const Handle handle = blockOf(block);
    EXPECT_EQ(ProcessInvertMask(handle), 0);
    for (std::size_t i = 48; i < 48 + 12; ++i)
        block[i] = static_cast<uint8_t>(~block[i]);
    EXPECT_EQ(bytesOf(handle), block);

    block = paletted(8, 3, 8, 9).bytes();
    const Handle few = blockOf(block);
    EXPECT_EQ(ProcessInvertMask(few), -2);
    EXPECT_EQ(bytesOf(few), block);
    block.resize(1064 + 24, 7);
    const Handle padded = blockOf(block);
    EXPECT_EQ(ProcessInvertMask(padded), 0);
    std::transform(block.begin() + 1064, block.end(), block.begin() + 1064,
                   [](uint8_t b) { return static_cast<uint8_t>(~b); });
    EXPECT_EQ(bytesOf(padded), block);
}

TEST(InvertMask, RefusesWhatLiesOutsideTheBlock)
{
    const NothingLost check;
    const Restore restore;
    EXPECT_EQ(ProcessInvertMask(nullptr), -2);
    int local = 0;
    EXPECT_EQ(ProcessInvertMask(&local), -2);
    const auto refuses = [](const Bytes &block) {
        const Handle handle = blockOf(block);
        EXPECT_EQ(ProcessInvertMask(handle), -2);
        EXPECT_EQ(bytesOf(handle), block);
        EXPECT_EQ(memory_hooks::locksOn(handle), 0);
    };
    for (const int bits : {16, 24, 31, 32, 64})
        refuses(paletted(5, 3, bits, 0).bytes());
    refuses(Bytes(20));
    Bytes cut = gray(5, 3).bytes();
    cut.pop_back();
    refuses(cut);
    for (const int32_t lie : {0, -1, INT_MIN, INT_MAX}) {
        Pieces lying = noiseMask(5, 3);
        lying.header.biWidth = lie;
        refuses(lying.bytes());
        lying = noiseMask(5, 3);
        lying.header.biHeight = lie;
        refuses(lying.bytes());
    }
    const Handle good = gray(5, 3).handle();
    memory_hooks::failLock(1);
    EXPECT_EQ(ProcessInvertMask(good), -2);
}

} // namespace

} // namespace velmont::testing
