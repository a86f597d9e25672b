// What every effect of the catalogue keeps to, at every kind of image. New entries are covered as they come.

#include "catalogue/effect.h"
#include "catalogue/fitted_operands.h"
#include "core/generator.h"
#include "platform/memory.h"
#include "tests/effects/watching_host.h"
#include <algorithm>
#include <array>
#include <cstring>
#include <ctime>
#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <tuple>
#include <velmont/dib.h>

namespace velmont::testing {

namespace {

using catalogue::Effect;

/// A kind of image.
struct Kind {
    const char *name;
    int bits;
    uint32_t colorsUsed;
    unsigned depth; ///< as the catalogue names it; 0 for a depth of no effect
    bool isUsual;   ///< as the library and other programs make them
};

constexpr Kind kKinds[] = {
    {"1bit", 1, 2, catalogue::Depth1, true},
    {"1bitWithoutCount", 1, 0, catalogue::Depth1, false},
    {"1bitWith100", 1, 100, catalogue::Depth1, false},
    {"4bit", 4, 16, catalogue::Depth4, true},
    {"4bitWith3", 4, 3, catalogue::Depth4, false},
    {"8bitGray", 8, 256, catalogue::Depth8Gray, true},
    {"8bit", 8, 256, catalogue::Depth8Paletted, true},
    {"8bitWith10", 8, 10, catalogue::Depth8Paletted, false},
    {"8bitWithoutCount", 8, 0, catalogue::Depth8Paletted, false},
    {"24bit", 24, 0, catalogue::Depth24, true},
    {"16bit", 16, 0, 0, true},
    {"32bit", 32, 0, 0, true},
};

/// The bytes of a noise image. At 1 bit without a count two colours lie before the rows all the same: some
/// effects ask for them.
Bytes imageBytes(const Kind &kind, int width, int height, uint32_t seed = 1)
{
    const DibHeader header = makeHeader(width, height, kind.bits, kind.colorsUsed);
    const std::size_t colors = kind.bits == 1 && kind.colorsUsed == 0 ? 2 : kind.colorsUsed;
    const Bytes palette = kind.depth == catalogue::Depth8Gray ? grayRamp() : noise(4 * colors, seed + 1);
    return makeBlock(header, palette, noise(header.biSizeImage, seed));
}

Handle image(const Kind &kind, int width, int height, uint32_t seed = 1)
{
    return blockOf(imageBytes(kind, width, height, seed));
}

/// What hosts rely on beyond the common rules and what the catalogue says.
struct Peculiarity {
    std::string_view exportName;
    bool showsCursorFirst = false;      ///< before it refuses
    bool leavesWaitCursor = false;      ///< at the end of its work at 24 bits
    bool reportsLast = false;           ///< 100 percent behind the arrow cursor
    bool needsAllColors = false;        ///< at 8 bits its rows lie behind 256 of them
    bool isBlankWithoutScratch = false; ///< a blank image where only its working memory cannot be had
    bool answersAnyDepth = false;  ///< depths of no effect: with a block of zeros, or as if they had 1 bit
    bool mayEndUnreported = false; ///< an abort, where a part without progress was aborted
    bool mayMissParts = false;     ///< a result all the same where a part's memory cannot be had
    bool outlivesAborts = false;   ///< a result all the same where a part was aborted
};

constexpr Peculiarity kPeculiarities[] = {
    {.exportName = "CreateMagicMaskFromDib", .answersAnyDepth = true, .mayEndUnreported = true},
    {.exportName = "ProcessBrightnessAndContrast", .showsCursorFirst = true},
    {.exportName = "ProcessChalk", .showsCursorFirst = true, .needsAllColors = true},
    {.exportName = "ProcessColorPencil", .showsCursorFirst = true},
    {.exportName = "ProcessExactRotate", .answersAnyDepth = true},
    {.exportName = "ProcessFur", .needsAllColors = true, .mayEndUnreported = true, .outlivesAborts = true},
    {.exportName = "ProcessHueAndSaturation", .showsCursorFirst = true},
    {.exportName = "ProcessInnerLevel", .leavesWaitCursor = true},
    {.exportName = "ProcessOldPhoto", .mayMissParts = true, .outlivesAborts = true},
    {.exportName = "ProcessScratch", .reportsLast = true},
    {.exportName = "ProcessSeedFill", .mayEndUnreported = true, .mayMissParts = true},
    {.exportName = "ProcessSoftEdge", .needsAllColors = true},
    {.exportName = "ProcessWaterColor", .showsCursorFirst = true},
    {.exportName = "ProcessWaterPaper", .showsCursorFirst = true, .reportsLast = true},
    {.exportName = "ProcessStainedGlass", .showsCursorFirst = true},
    {.exportName = "ProcessWrinkle", .isBlankWithoutScratch = true},
};

Peculiarity peculiarityOf(const Effect &effect)
{
    for (const Peculiarity &each : kPeculiarities)
        if (each.exportName == effect.exportName)
            return each;
    return {effect.exportName};
}

/// One run of an effect on an image, with its defaults and operands that fit. Those are there before the run,
/// so that failing allocations and locks are the effect's own.
class Trial {
public:
    Trial(const Effect &effect, void *dib)
        : effect_(effect), record_(catalogue::defaultRecord(effect)), operands_(effect, record_, dib),
          dib_(dib)
    {
        for (const catalogue::Operand &operand : effect.operands)
            before_.push_back(operandBytes(operand));
    }

    /// Runs it, with the generator at its start.
    Handle go()
    {
        srand(1);
        const std::vector<void *> before = memory_hooks::liveBlocks();
        void *const result = catalogue::apply(effect_, dib_, record_);
        EXPECT_TRUE(!result || result != dib_);
        freeLeft(before, result);
        return Handle(result != dib_ ? result : nullptr);
    }
    /// Checks that nothing happened to the operands that are read, and that others come with a result only.
    void checkOperands(const void *result)
    {
        for (std::size_t i = 0; i < effect_.operands.size(); ++i) {
            const catalogue::Operand &operand = effect_.operands[i];
            void *const handle = operand.handle(record_.bytes.data());
            EXPECT_EQ(memory_hooks::locksOn(handle), 0) << operand.name;
            if (!operand.isResult)
                EXPECT_EQ(operandBytes(operand), before_[i]) << operand.name;
            else
                EXPECT_EQ(handle != nullptr, result != nullptr) << operand.name;
        }
    }
    /// The bytes of a result and of the operands that came with it.
    Bytes bytesWith(void *result)
    {
        Bytes all = bytesOf(result);
        for (const catalogue::Operand &operand : effect_.operands) {
            const Bytes bytes = operand.isResult ? operandBytes(operand) : Bytes{};
            all.insert(all.end(), bytes.begin(), bytes.end());
        }
        return all;
    }

private:
    /// Frees what the effect leaves behind by its nature; what it leaves beyond that stays to be noticed.
    void freeLeft(const std::vector<void *> &before, void *result)
    {
        std::vector<void *> left;
        for (void *const handle : memory_hooks::liveBlocks())
            if (handle != result && !isOperand(handle) &&
                std::find(before.begin(), before.end(), handle) == before.end())
                left.push_back(handle);
        const std::size_t mostLeft = static_cast<std::size_t>(effect_.blocksLeft);
        const bool mayLoseResult = effect_.usesCreateDib || effect_.locksLostWithMemory > 0;
        const std::size_t mostWithout = effect_.leavesBlocksByAbort ? mostLeft : std::size_t{mayLoseResult};
        if (result) {
            EXPECT_EQ(left.size(), mostLeft);
        }
        left.resize(std::min(left.size(), result ? mostLeft : mostWithout));
        for (void *const handle : left)
            KelMemFree(handle);
    }
    bool isOperand(void *handle)
    {
        return std::any_of(
            effect_.operands.begin(), effect_.operands.end(),
            [&](const catalogue::Operand &each) { return each.handle(record_.bytes.data()) == handle; });
    }
    Bytes operandBytes(const catalogue::Operand &operand)
    {
        void *const handle = operand.handle(record_.bytes.data());
        return handle ? bytesOf(handle) : Bytes{};
    }

    const Effect &effect_;
    catalogue::Record record_;
    catalogue::FittedOperands operands_;
    void *dib_;
    std::vector<Bytes> before_;
};

Handle run(const Effect &effect, void *dib)
{
    Trial trial(effect, dib);
    Handle result = trial.go();
    trial.checkOperands(result);
    return result;
}

/// The bytes of the result and of operands that came with it; none for null. Padding that an effect does not
/// define is 0.
Bytes bytesOfRun(const Effect &effect, void *dib)
{
    Trial trial(effect, dib);
    const Handle result = trial.go();
    trial.checkOperands(result);
    if (!result)
        return {};
    Bytes bytes = trial.bytesWith(result);
    if (!effect.definesPadding)
        clearPadding(bytes);
    return bytes;
}

/// Random effects may take the time as their seed: repeats until one second has seen all of `work`.
template <typename Work>
auto inOneSecond(const Effect &effect, Work work)
{
    for (int attempt = 0;; ++attempt) {
        const std::time_t start = std::time(nullptr);
        auto result = work();
        if (!effect.random || std::time(nullptr) == start || attempt == 5)
            return result;
    }
}

using Parameter = std::tuple<std::string_view, const Kind *>;

class EveryEffect : public ::testing::TestWithParam<Parameter> {
protected:
    /// Whether the effect serves this kind of image.
    bool accepts() const
    {
        const bool lacksColors = peculiarity_.needsAllColors && kind_.bits == 8 && kind_.colorsUsed != 256;
        return (effect_.depths & kind_.depth) != 0 && !lacksColors;
    }

    /// Runs the effect, which must refuse the block without the host noticing more than a cursor.
    void expectRefusal(void *dib, const std::string &what)
    {
        RecordingHost host;
        EXPECT_EQ(static_cast<void *>(run(effect_, dib)), nullptr) << what;
        if (peculiarity_.showsCursorFirst)
            std::erase_if(host.events,
                          [](const std::string &event) { return event == "wait" || event == "arrow"; });
        EXPECT_EQ(host.events, Events{}) << what;
        EXPECT_EQ(memory_hooks::locksOn(dib), 0) << what;
    }

    /// What a run that could not have all its memory leaves on the screen and on the source.
    void expectLittleLost(const Events &events, void *source, const std::string &what)
    {
        if (effect_.locksLostWithMemory == 0)
            expectArrowAtTheEnd(events, what);
        EXPECT_LE(memory_hooks::locksOn(source), std::max(effect_.locksLeft, effect_.locksLostWithMemory - 1))
            << what;
    }

    /// Where the wait cursor was shown the arrow must be back at the end.
    void expectArrowAtTheEnd(const Events &events, const std::string &what)
    {
        if (std::find(events.begin(), events.end(), "wait") != events.end()) {
            const bool worked = events.back() == "100%";
            const std::string &last = peculiarity_.reportsLast && worked ? events.end()[-2] : events.back();
            EXPECT_EQ(last, worked && peculiarity_.leavesWaitCursor ? "100%" : "arrow") << what;
        }
    }

    const Effect &effect_ = *catalogue::findEffect(std::get<0>(GetParam()));
    const Kind &kind_ = *std::get<1>(GetParam());
    const Peculiarity peculiarity_ = peculiarityOf(effect_);
    NothingLost check_;
    Restore restore_;
};

TEST_P(EveryEffect, RefusesBadHandles)
{
    expectRefusal(nullptr, "null");
    void *stale = nullptr;
    {
        const Handle freed = image(kind_, 9, 5);
        stale = freed;
    }
    expectRefusal(stale, "stale");
    const Handle good = image(kind_, 9, 5);
    int local = 0;
    expectRefusal(&local, "a pointer");
    for (const std::uintptr_t value : {std::uintptr_t{1}, std::uintptr_t{40}, UINTPTR_MAX})
        expectRefusal(reinterpret_cast<void *>(value), std::to_string(value));
    {
        const void *const locked = KelMemLock(good);
        expectRefusal(const_cast<void *>(locked), "a block's memory");
        KelMemUnlock(good);
    }
    const Handle empty(KelMemAlloc(KEL_MEM_MOVEABLE, 0));
    expectRefusal(empty, "an empty block");
}

TEST_P(EveryEffect, RefusesOtherDepths)
{
    // An effect that takes depths of no use looks out for 8 bits at most.
    const bool looksAtDepths = effect_.otherDepths == 0 || (kind_.depth & catalogue::Depth8) != 0;
    if (accepts() || !looksAtDepths || peculiarity_.answersAnyDepth ||
        ((effect_.blankDepths | effect_.otherDepths) & kind_.depth) != 0)
        GTEST_SKIP() << "a depth of the effect, or one that it answers with something of no use";
    const Handle source = image(kind_, 9, 20);
    const Bytes before = bytesOf(source);
    Trial refused(effect_, source);
    const long allocations = memory_hooks::counts().allocations;
    EXPECT_EQ(static_cast<void *>(refused.go()), nullptr);
    EXPECT_EQ(memory_hooks::counts().allocations, allocations);
    expectRefusal(source, kind_.name);
    EXPECT_EQ(bytesOf(source), before);
}

TEST_P(EveryEffect, RefusesTruncatedBlocks)
{
    const Bytes whole = imageBytes(kind_, 9, 5);
    const std::size_t needed = 40 + 4 * std::size_t{kind_.colorsUsed} + 5 * strideFor(9, kind_.bits);
    for (std::size_t length = 0; length < needed; ++length) {
        const Handle source = blockOf(std::span(whole).first(length));
        expectRefusal(source, std::to_string(length) + " of " + std::to_string(needed) + " bytes");
    }
}

TEST_P(EveryEffect, ServesItsDepths)
{
    if (!accepts())
        GTEST_SKIP() << "not a depth of the effect";
    const Handle source = image(kind_, 37, 19);
    const Bytes before = bytesOf(source);
    RecordingHost host;
    const Handle result = run(effect_, source);
    if (kind_.isUsual) {
        ASSERT_NE(static_cast<void *>(result), nullptr);
    }
    expectArrowAtTheEnd(host.events, kind_.name);
    EXPECT_EQ(bytesOf(source), before) << "the source is written to";
    EXPECT_EQ(memory_hooks::locksOn(source), effect_.locksLeft);
    if (!result)
        return;
    EXPECT_EQ(memory_hooks::locksOn(result), effect_.locksOnResult);
    EXPECT_NE(catalogue::depthOf(result), 0u) << "the result is no image";
    EXPECT_EQ(headerOf(result).biSize, 40u);
}

TEST_P(EveryEffect, SurvivesLyingHeaders)
{
    const Bytes whole = imageBytes(kind_, 19, std::max(6, effect_.smallestSide));
    const auto size = static_cast<uint32_t>(whole.size());
    const uint32_t values[] = {
        0,          1,          2,          3,          4,          5,          6,          7,
        8,          9,          10,         12,         15,         16,         17,         18,
        19,         20,         24,         25,         31,         32,         33,         38,
        39,         40,         41,         44,         48,         64,         100,        108,
        124,        152,        255,        256,        257,        300,        1000,       size - 41,
        size - 40,  size - 1,   size,       size + 1,   0x7FFF,     0x8000,     0xFFFF,     0x10000,
        0x00FFFFFF, 0x10000000, 0x1FFFFFFF, 0x20000000, 0x2AAAAAAB, 0x3FFFFFFF, 0x40000000, 0x40000001,
        0x55555556, 0x7FFFFFFE, 0x7FFFFFFF, 0x80000000, 0x80000001, 0xC0000000, 0xFFFFFFF0, 0xFFFFFFFE,
        0xFFFFFFFF};
    const auto tryHeader = [&](const DibHeader &header, const std::string &what) {
        Bytes bytes = whole;
        std::memcpy(bytes.data(), &header, sizeof header);
        const Handle source = blockOf(bytes);
        // In floating point nothing wraps, and where it rounds the block is far too small.
        const double rowBits = static_cast<double>(header.biWidth) * header.biBitCount;
        const double needed = 40 + (header.biBitCount <= 8 ? 4.0 * header.biClrUsed : 0) +
                              rowBits / 8 * static_cast<double>(header.biHeight);
        if (header.biWidth < 1 || header.biHeight < 1 || header.biSize < 40 || header.biSize > size ||
            needed > size)
            return expectRefusal(source, what);
        if (accepts() && std::min(header.biWidth, header.biHeight) < effect_.smallestSide)
            return; // refused too late to check it here
        RecordingHost host;
        const Handle result = run(effect_, source);
        expectArrowAtTheEnd(host.events, what);
        EXPECT_EQ(bytesOf(source), bytes) << what;
    };
    for (std::size_t offset = 0; offset < 40; offset += 4)
        for (const uint32_t value : values) {
            if (offset == 12) {
                for (const std::size_t half : {std::size_t{12}, std::size_t{14}}) {
                    DibHeader header;
                    std::memcpy(&header, whole.data(), sizeof header);
                    const auto low = static_cast<uint16_t>(value);
                    std::memcpy(reinterpret_cast<uint8_t *>(&header) + half, &low, sizeof low);
                    tryHeader(header, std::to_string(low) + " at " + std::to_string(half));
                }
                continue;
            }
            DibHeader header;
            std::memcpy(&header, whole.data(), sizeof header);
            std::memcpy(reinterpret_cast<uint8_t *>(&header) + offset, &value, sizeof value);
            tryHeader(header, std::to_string(value) + " at " + std::to_string(offset));
        }
    // Products and sums that come out small in 32 bits.
    for (const auto &[width, height, colors] : {std::array<uint32_t, 3>{0x10000, 0x10000, 2},
                                                {0x8000, 0x20000, 2},
                                                {0x7FFFFFFF, 0x7FFFFFFF, 2},
                                                {0x15555555, 4, 0},
                                                {0x20000000, 8, 2},
                                                {19, 6, 0x40000000},
                                                {0x40000000, 1, 0x3FFFFFF0},
                                                {4, 0x40000000, 0x40000000},
                                                {1, 0x3FFFFFFF, 0},
                                                {0x55555555, 3, 1}}) {
        DibHeader header;
        std::memcpy(&header, whole.data(), sizeof header);
        header.biWidth = static_cast<int32_t>(width);
        header.biHeight = static_cast<int32_t>(height);
        header.biClrUsed = colors;
        tryHeader(header,
                  std::to_string(width) + " x " + std::to_string(height) + ", " + std::to_string(colors));
    }
}

TEST_P(EveryEffect, SurvivesFailedAllocations)
{
    if (!accepts())
        GTEST_SKIP() << "not a depth of the effect";
    const Bytes bytes = imageBytes(kind_, 19, 18);
    const Handle counted = blockOf(bytes);
    Trial counting(effect_, counted);
    const long before = memory_hooks::counts().allocations;
    counting.go();
    const long allocations = memory_hooks::counts().allocations - before;
    for (int n = 1; n <= allocations; ++n) {
        const Handle source = blockOf(bytes);
        Trial failing(effect_, source);
        RecordingHost host;
        memory_hooks::failAllocation(n);
        const Handle result = failing.go();
        memory_hooks::failAllocation(0);
        failing.checkOperands(result);
        const std::string what = "allocation " + std::to_string(n);
        if (!peculiarity_.mayMissParts && (n == 1 || !peculiarity_.isBlankWithoutScratch)) {
            EXPECT_EQ(static_cast<void *>(result), nullptr) << what;
        }
        EXPECT_EQ(bytesOf(source), bytes) << what;
        expectLittleLost(host.events, source, what);
    }
}

/// Whether an ordered failure of a lock is still to come; it does not come any more.
bool lockFailureIsPending(int atMost)
{
    const Handle probe(KelMemAlloc(KEL_MEM_MOVEABLE, 1));
    bool pending = false;
    for (int i = 0; i < atMost && !pending; ++i) {
        pending = KelMemLock(probe) == nullptr;
        if (!pending)
            KelMemUnlock(probe);
    }
    memory_hooks::failLock(0);
    return pending;
}

TEST_P(EveryEffect, SurvivesFailedLocks)
{
    if (!accepts())
        GTEST_SKIP() << "not a depth of the effect";
    const Bytes bytes = imageBytes(kind_, 19, 18);
    constexpr int kMost = 200;
    int n = 1;
    for (; n < kMost; ++n) {
        const Handle source = blockOf(bytes);
        Trial failing(effect_, source);
        RecordingHost host;
        memory_hooks::failLock(n);
        const Handle result = failing.go();
        if (lockFailureIsPending(n))
            break;
        failing.checkOperands(result);
        const std::string what = "lock " + std::to_string(n);
        EXPECT_EQ(bytesOf(source), bytes) << what;
        if (n == 1) {
            EXPECT_EQ(static_cast<void *>(result), nullptr);
            EXPECT_EQ(host.events, peculiarity_.showsCursorFirst ? Events({"wait", "arrow"}) : Events{});
        }
        expectLittleLost(host.events, source, what);
    }
    EXPECT_GT(n, kind_.isUsual ? 2 : 1) << "source and result are locked";
}

TEST_P(EveryEffect, SurvivesAborts)
{
    if (!accepts())
        GTEST_SKIP() << "not a depth of the effect";
    const Bytes bytes = imageBytes(kind_, 19, 18);
    const auto runWithAbort = [&](int fromPoll, Events &events) {
        const Handle source = blockOf(bytes);
        RecordingHost host;
        host.abortFromPoll(fromPoll);
        const Handle result = run(effect_, source);
        events = host.events;
        EXPECT_EQ(bytesOf(source), bytes) << "poll " << fromPoll;
        EXPECT_LE(memory_hooks::locksOn(source), effect_.locksLeft) << "poll " << fromPoll;
        return static_cast<void *>(result) != nullptr;
    };
    Events events;
    const bool hasResult = runWithAbort(0, events);
    const auto polls = static_cast<int>(std::count(events.begin(), events.end(), "poll"));
    for (int n = 1; n <= polls; ++n) {
        EXPECT_EQ(runWithAbort(n, events), peculiarity_.outlivesAborts) << "poll " << n;
        expectArrowAtTheEnd(events, "poll " + std::to_string(n));
        EXPECT_TRUE(peculiarity_.mayEndUnreported ||
                    std::find(events.begin(), events.end(), "100%") != events.end())
            << "poll " << n;
    }
    EXPECT_EQ(runWithAbort(polls + 1, events), hasResult);
}

TEST_P(EveryEffect, RepeatsItself)
{
    if (!accepts())
        GTEST_SKIP() << "not a depth of the effect";
    const Bytes bytes = imageBytes(kind_, 37, 19);
    const Handle source = blockOf(bytes), equal = blockOf(bytes);
    const auto [first, second] = inOneSecond(
        effect_, [&] { return std::pair(bytesOfRun(effect_, source), bytesOfRun(effect_, equal)); });
    EXPECT_EQ(first, second);
    EXPECT_EQ(bytesOf(source), bytes);
    EXPECT_EQ(bytesOf(equal), bytes);
}

/// Frees large blocks full of a pattern, for the next allocations of these sizes.
void leavePatternBehind(std::initializer_list<std::size_t> sizes)
{
    std::vector<Handle> blocks;
    for (const std::size_t size : sizes) {
        blocks.emplace_back(KelMemAlloc(KEL_MEM_MOVEABLE, size));
        std::memset(KelMemLock(blocks.back()), 0xA5, size);
        KelMemUnlock(blocks.back());
    }
}

TEST_P(EveryEffect, RepeatsItselfInRecycledMemory)
{
    if (!accepts() || !kind_.isUsual)
        GTEST_SKIP() << "not a usual depth of the effect";
    const int width = kind_.bits == 1 ? 3001 : kind_.bits == 4 ? 2101 : kind_.bits == 8 ? 1101 : 701;
    const int height = kind_.bits == 1 ? 3000 : kind_.bits == 4 ? 1100 : kind_.bits == 8 ? 1000 : 550;
    const Handle source = image(kind_, width, height);
    memory_hooks::setFillByte(-1);
    const auto [fresh, recycled] = inOneSecond(effect_, [&] {
        memory_hooks::keepFreedBlocks(false);
        Bytes first = bytesOfRun(effect_, source);
        memory_hooks::keepFreedBlocks(true);
        leavePatternBehind({first.size(), first.size(), KelMemSize(source)});
        return std::pair(first, bytesOfRun(effect_, source));
    });
    EXPECT_FALSE(fresh.empty());
    EXPECT_TRUE(fresh == recycled);
}

TEST_P(EveryEffect, DependsNotOnTheCpuLevel)
{
    if (!accepts())
        GTEST_SKIP() << "not a depth of the effect";
    const auto levels = cpuLevels();
    for (int width = effect_.smallestSide; width <= 67; ++width) {
        const Handle source =
            image(kind_, width, std::max(3, effect_.smallestSide), static_cast<uint32_t>(width));
        const auto results = inOneSecond(effect_, [&] {
            std::vector<Bytes> each;
            for (const CpuLevel level : levels) {
                limitCpuLevel(level);
                each.push_back(bytesOfRun(effect_, source));
            }
            return each;
        });
        for (std::size_t i = 1; i < results.size(); ++i)
            ASSERT_EQ(results[i], results[0]) << width << " pixels, level " << i;
    }
}

TEST_P(EveryEffect, DependsNotOnUndefinedMemory)
{
    if (!accepts())
        GTEST_SKIP() << "not a depth of the effect";
    for (const int width : {1, 5, 37, 64}) {
        const Handle source = image(kind_, std::max(width, effect_.smallestSide), 19);
        const auto results = inOneSecond(effect_, [&] {
            std::vector<Bytes> each;
            for (const int pattern : {0x00, 0xCD, 0x5A}) {
                memory_hooks::setFillByte(pattern);
                each.push_back(bytesOfRun(effect_, source));
            }
            return each;
        });
        EXPECT_EQ(results[1], results[0]) << width;
        EXPECT_EQ(results[2], results[0]) << width;
    }
}

std::vector<Parameter> allParameters()
{
    std::vector<Parameter> all;
    for (const Effect &effect : catalogue::effects())
        for (const Kind &kind : kKinds)
            all.emplace_back(effect.name, &kind);
    return all;
}

INSTANTIATE_TEST_SUITE_P(Catalogue, EveryEffect, ::testing::ValuesIn(allParameters()), [](const auto &info) {
    std::string name(std::get<0>(info.param));
    std::replace(name.begin(), name.end(), '-', '_');
    return name + "_" + std::get<1>(info.param)->name;
});

// What the checks of recycled memory rest on.
TEST(RecycledMemory, ShowsItsFormerContents)
{
    const NothingLost check;
    const Restore restore;
    constexpr std::size_t kSize = std::size_t{3} << 20;
    memory_hooks::setFillByte(-1);
    memory_hooks::keepFreedBlocks(true);
    leavePatternBehind({kSize});
    if (memory_hooks::counts().keptBytes == 0)
        GTEST_SKIP() << "every block is an allocation of its own in this build";
    const Handle block(KelMemAlloc(KEL_MEM_MOVEABLE, kSize));
    EXPECT_TRUE(bytesOf(block) == Bytes(kSize, 0xA5));
}

} // namespace

} // namespace velmont::testing
