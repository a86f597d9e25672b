#include "platform/memory.h"
#include "tests/support/images.h"
#include "tests/support/recording_host.h"
#include <algorithm>
#include <array>
#include <atomic>
#include <climits>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <gtest/gtest.h>
#include <memory>
#include <set>
#include <string>
#include <thread>
#include <vector>
#if defined(__linux__)
#include <sys/resource.h>
#endif

namespace velmont::testing {

namespace {

// Under a sanitizer of addresses large blocks are no mappings and are not recycled.
#if defined(__SANITIZE_ADDRESS__)
constexpr bool kRecycles = false;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
constexpr bool kRecycles = false;
#else
constexpr bool kRecycles = true;
#endif
#else
constexpr bool kRecycles = true;
#endif

#if defined(__SANITIZE_THREAD__) || defined(__SANITIZE_ADDRESS__)
constexpr bool kSanitized = true;
#else
constexpr bool kSanitized = false;
#endif

constexpr std::size_t kMiB = std::size_t{1} << 20;
constexpr unsigned kZeroed = KEL_MEM_MOVEABLE | KEL_MEM_ZERO;
/// Freed blocks are kept up to this many bytes.
constexpr std::size_t kKeptLimit = (sizeof(void *) == 8 ? 256 : 64) * kMiB;

class MemoryTest : public ::testing::Test {
protected:
    MemoryTest() { memory_hooks::keepFreedBlocks(false); }
    ~MemoryTest() override
    {
        memory_hooks::failAllocation(0);
        memory_hooks::failLock(0);
        memory_hooks::setFillByte(0xCD);
        memory_hooks::keepFreedBlocks(true);
    }

    NothingLost nothingLost_;
};

/// The tests of kept blocks start with none kept.
class KeptBlocksTest : public MemoryTest {
protected:
    void SetUp() override
    {
        if (!kRecycles)
            GTEST_SKIP() << "blocks are not recycled in this build";
        memory_hooks::keepFreedBlocks(true);
    }
    static std::size_t keptBytes() { return memory_hooks::counts().keptBytes; }
};

uint8_t *lock(void *handle)
{
    return static_cast<uint8_t *>(KelMemLock(handle));
}

void fill(void *handle, int byte)
{
    std::memset(lock(handle), byte, KelMemSize(handle));
    KelMemUnlock(handle);
}

/// Whether all bytes from one place to another have this value.
bool holdsOnly(const Bytes &bytes, std::size_t begin, std::size_t end, int value)
{
    for (std::size_t i = begin; i < end; ++i)
        if (bytes[i] != value)
            return false;
    return true;
}

bool holdsOnly(void *handle, int value)
{
    const Bytes bytes = bytesOf(handle);
    return holdsOnly(bytes, 0, bytes.size(), value);
}

/// Every function answers that there is no such block.
void expectNoBlock(void *handle)
{
    const memory_hooks::Counts before = memory_hooks::counts();
    EXPECT_EQ(KelMemLock(handle), nullptr);
    EXPECT_EQ(KelMemUnlock(handle), 0);
    EXPECT_EQ(KelMemSize(handle), 0u);
    EXPECT_EQ(KelMemReAlloc(handle, 100, kZeroed), nullptr);
    KelMemFree(handle);
    EXPECT_EQ(memory_hooks::locksOn(handle), 0);
    EXPECT_EQ(memory_hooks::counts().blocks, before.blocks);
    EXPECT_EQ(memory_hooks::counts().locks, before.locks);
}

void *handleOfBits(std::uintptr_t bits)
{
    return reinterpret_cast<void *>(bits);
}

const std::size_t kSizes[] = {1,       3,         100,      500,  1000,     4096,
                              100'000, 1'000'000, kMiB - 1, kMiB, kMiB + 1, 3 * kMiB + 17};

} // namespace

TEST_F(MemoryTest, GivesTheBytesAskedFor)
{
    for (const std::size_t size : kSizes) {
        const Handle block(KelMemAlloc(KEL_MEM_MOVEABLE, size));
        ASSERT_NE(block, nullptr) << size;
        EXPECT_EQ(KelMemSize(block), size);
        uint8_t *const bytes = lock(block);
        ASSERT_NE(bytes, nullptr);
        EXPECT_NE(static_cast<void *>(bytes), static_cast<void *>(block)) << "a handle is no pointer";
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(bytes) % 16, 0u) << size;
        std::memset(bytes, 0x5A, size);
        KelMemUnlock(block);
        EXPECT_TRUE(holdsOnly(block, 0x5A)) << size;
    }
}

TEST_F(MemoryTest, AnEmptyBlockIsABlock)
{
    for (const unsigned flags : {0u, KEL_MEM_MOVEABLE, kZeroed}) {
        const Handle block(KelMemAlloc(flags, 0));
        ASSERT_NE(block, nullptr);
        EXPECT_EQ(KelMemSize(block), 0u);
        EXPECT_NE(KelMemLock(block), nullptr);
        EXPECT_EQ(KelMemUnlock(block), 0);
        EXPECT_EQ(KelMemReAlloc(block, 10, kZeroed), block);
        EXPECT_EQ(bytesOf(block), Bytes(10, 0));
    }
}

TEST_F(MemoryTest, ZeroFlagGivesZerosInMemoryUsedBefore)
{
    memory_hooks::keepFreedBlocks(true);
    for (const std::size_t size : kSizes)
        for (int round = 0; round < 3; ++round) {
            const Handle block(KelMemAlloc(kZeroed, size));
            EXPECT_TRUE(holdsOnly(block, 0)) << size << ", round " << round;
            fill(block, 0xFF);
        }
}

TEST_F(MemoryTest, ZeroFlagDecidesAloneAndOtherFlagsAreIgnored)
{
    const Handle zeroed(KelMemAlloc(KEL_MEM_ZERO, 300));
    EXPECT_TRUE(holdsOnly(zeroed, 0));
    const Handle all(KelMemAlloc(~0u, 300));
    EXPECT_TRUE(holdsOnly(all, 0));
    const Handle others(KelMemAlloc(~KEL_MEM_ZERO, 300));
    EXPECT_TRUE(holdsOnly(others, 0xCD));
}

TEST_F(MemoryTest, UndefinedContentsHoldTheFillByte)
{
    memory_hooks::keepFreedBlocks(true);
    for (const std::size_t size : kSizes)
        for (const unsigned flags : {0u, KEL_MEM_MOVEABLE}) {
            memory_hooks::setFillByte(0x31);
            Handle block(KelMemAlloc(flags, size));
            EXPECT_TRUE(holdsOnly(block, 0x31)) << size;
            fill(block, 0xEE);
            block = Handle();
            memory_hooks::setFillByte(0);
            block = Handle(KelMemAlloc(flags, size));
            EXPECT_TRUE(holdsOnly(block, 0)) << size;
        }
}

TEST_F(MemoryTest, AllocateBlockLeavesOutTheZerosOnlyWhereTheyAreOverwritten)
{
    for (const std::size_t size : {std::size_t{200}, 2 * kMiB}) {
        const Handle relied(allocateBlock(kZeroed, size, Contents::ZeroFilled));
        EXPECT_TRUE(holdsOnly(relied, 0));
        const Handle overwritten(allocateBlock(kZeroed, size, Contents::Overwritten));
        EXPECT_TRUE(holdsOnly(overwritten, 0xCD));
        const Handle undefined(allocateBlock(KEL_MEM_MOVEABLE, size, Contents::ZeroFilled));
        EXPECT_TRUE(holdsOnly(undefined, 0xCD));
        EXPECT_EQ(KelMemSize(overwritten), size);
    }
}

TEST_F(MemoryTest, LocksNestAndUnlockTellsHowManyAreLeft)
{
    const Handle block(KelMemAlloc(KEL_MEM_MOVEABLE, 64));
    const Handle other(KelMemAlloc(KEL_MEM_MOVEABLE, 64));
    void *const bytes = KelMemLock(block);
    EXPECT_EQ(KelMemLock(block), bytes);
    EXPECT_EQ(KelMemLock(block), bytes);
    EXPECT_EQ(memory_hooks::locksOn(block), 3);
    EXPECT_EQ(memory_hooks::locksOn(other), 0);
    EXPECT_EQ(KelMemUnlock(block), 2);
    EXPECT_EQ(KelMemUnlock(block), 1);
    EXPECT_EQ(memory_hooks::locksOn(block), 1);
    EXPECT_EQ(KelMemUnlock(block), 0);
    EXPECT_EQ(memory_hooks::locksOn(block), 0);
}

TEST_F(MemoryTest, UnlockStopsAtZero)
{
    const Handle block(KelMemAlloc(KEL_MEM_MOVEABLE, 64));
    const long locks = memory_hooks::counts().locks;
    EXPECT_EQ(KelMemUnlock(block), 0);
    EXPECT_EQ(KelMemUnlock(block), 0);
    EXPECT_EQ(memory_hooks::counts().locks, locks);
    KelMemLock(block);
    KelMemLock(block);
    EXPECT_EQ(KelMemUnlock(block), 1) << "an unlock too many must not eat a later lock";
    EXPECT_EQ(KelMemUnlock(block), 0);
    EXPECT_EQ(KelMemUnlock(block), 0);
    EXPECT_EQ(memory_hooks::counts().locks, locks);
}

TEST_F(MemoryTest, ALockKeepsTheBlockInPlace)
{
    const Handle block(KelMemAlloc(KEL_MEM_MOVEABLE, 64));
    fill(block, 0x77);
    const BlockLock held(block);
    std::vector<Handle> others;
    for (int i = 0; i < 1000; ++i)
        others.emplace_back(KelMemAlloc(KEL_MEM_MOVEABLE, 64));
    EXPECT_EQ(lock(block), held.bytes());
    KelMemUnlock(block);
    EXPECT_TRUE(holdsOnly(block, 0x77));
}

TEST_F(MemoryTest, FreeTakesALockedBlockToo)
{
    const Handle other(KelMemAlloc(KEL_MEM_MOVEABLE, 10));
    const BlockLock otherLock(other);
    const long locks = memory_hooks::counts().locks;
    for (const std::size_t size : {std::size_t{10}, 2 * kMiB}) {
        void *const block = KelMemAlloc(KEL_MEM_MOVEABLE, size);
        KelMemLock(block);
        KelMemLock(block);
        EXPECT_EQ(memory_hooks::counts().locks, locks + 2);
        KelMemFree(block);
        EXPECT_EQ(memory_hooks::counts().locks, locks);
        expectNoBlock(block);
    }
    EXPECT_EQ(memory_hooks::locksOn(other), 1);
}

TEST_F(MemoryTest, NullIsNoBlock)
{
    expectNoBlock(nullptr);
}

TEST_F(MemoryTest, AFreedHandleIsNoBlock)
{
    for (const std::size_t size : {std::size_t{10}, 2 * kMiB}) {
        void *const stale = KelMemAlloc(KEL_MEM_MOVEABLE, size);
        KelMemFree(stale);
        expectNoBlock(stale);
        const Handle next(KelMemAlloc(KEL_MEM_MOVEABLE, size));
        EXPECT_NE(static_cast<void *>(next), stale);
        expectNoBlock(stale);
        EXPECT_EQ(KelMemSize(next), size) << "freeing a stale handle must not free its successor";
    }
}

TEST_F(MemoryTest, PointersAreNoBlocks)
{
    const Handle block(KelMemAlloc(KEL_MEM_MOVEABLE, 64));
    const BlockLock held(block);
    const auto heap = std::make_unique<int>(1);
    static int global = 1;
    int local = 1;
    for (void *const pointer :
         {static_cast<void *>(held.bytes()), static_cast<void *>(heap.get()), static_cast<void *>(&global),
          static_cast<void *>(&local), reinterpret_cast<void *>(&expectNoBlock)}) {
        expectNoBlock(pointer);
    }
    EXPECT_EQ(KelMemSize(block), 64u);
}

TEST_F(MemoryTest, NumbersAreNoBlocks)
{
    const Handle block(KelMemAlloc(KEL_MEM_MOVEABLE, 64));
    for (std::uintptr_t number = 0; number < 2000; ++number) {
        expectNoBlock(handleOfBits(number));
        expectNoBlock(handleOfBits(~number));
        expectNoBlock(handleOfBits(number << (sizeof(void *) * 8 - 16)));
    }
    EXPECT_EQ(KelMemSize(block), 64u);
}

TEST_F(MemoryTest, AHandleWithAChangedBitIsNoBlock)
{
    std::vector<Handle> blocks;
    for (int i = 0; i < 40; ++i)
        blocks.emplace_back(KelMemAlloc(KEL_MEM_MOVEABLE, 64));
    for (const Handle &block : blocks)
        for (unsigned bit = 0; bit < sizeof(void *) * 8; ++bit) {
            const auto bits = reinterpret_cast<std::uintptr_t>(static_cast<void *>(block));
            SCOPED_TRACE(bit);
            expectNoBlock(handleOfBits(bits ^ std::uintptr_t{1} << bit));
        }
    for (const Handle &block : blocks)
        EXPECT_EQ(KelMemSize(block), 64u);
}

TEST_F(MemoryTest, ReusedPlacesKeepOldHandlesStale)
{
    constexpr int kRounds = 20000;
    std::vector<void *> old;
    std::set<void *> distinct;
    for (int i = 0; i < kRounds; ++i) {
        void *const block = KelMemAlloc(KEL_MEM_MOVEABLE, 8);
        old.push_back(block);
        distinct.insert(block);
        KelMemFree(block);
    }
    EXPECT_EQ(distinct.size(), std::size_t{kRounds});
    std::vector<Handle> alive;
    for (int i = 0; i < 1000; ++i)
        alive.emplace_back(KelMemAlloc(KEL_MEM_MOVEABLE, 8));
    const long blocks = memory_hooks::counts().blocks;
    for (void *const stale : old) {
        ASSERT_EQ(KelMemLock(stale), nullptr);
        ASSERT_EQ(KelMemSize(stale), 0u);
        KelMemFree(stale);
    }
    EXPECT_EQ(memory_hooks::counts().blocks, blocks);
}

TEST_F(MemoryTest, ManyHandlesLiveAtOnce)
{
    constexpr uint32_t kCount = 30000;
    const long before = memory_hooks::counts().blocks;
    std::vector<void *> blocks(kCount);
    for (uint32_t i = 0; i < kCount; ++i) {
        blocks[i] = KelMemAlloc(KEL_MEM_MOVEABLE, sizeof i + i % 5);
        ASSERT_NE(blocks[i], nullptr);
        std::memcpy(lock(blocks[i]), &i, sizeof i);
    }
    EXPECT_EQ(memory_hooks::counts().blocks, before + kCount);
    for (uint32_t i = 0; i < kCount; i += 2)
        KelMemFree(blocks[i]);
    EXPECT_EQ(memory_hooks::counts().blocks, before + kCount / 2);
    for (uint32_t i = 0; i < kCount; ++i) {
        if (i % 2 == 0) {
            ASSERT_EQ(KelMemSize(blocks[i]), 0u);
            continue;
        }
        ASSERT_EQ(KelMemSize(blocks[i]), sizeof i + i % 5);
        uint32_t held = 0;
        std::memcpy(&held, lock(blocks[i]), sizeof held);
        ASSERT_EQ(held, i);
        ASSERT_EQ(KelMemUnlock(blocks[i]), 1);
        ASSERT_EQ(KelMemUnlock(blocks[i]), 0);
        KelMemFree(blocks[i]);
    }
    EXPECT_EQ(memory_hooks::counts().blocks, before);
}

TEST_F(MemoryTest, GrowingKeepsTheContents)
{
    for (const std::size_t from : {std::size_t{1}, std::size_t{100}, std::size_t{5000}, kMiB, 2 * kMiB + 3})
        for (const std::size_t gain : {std::size_t{1}, std::size_t{4000}, 3 * kMiB}) {
            const Bytes contents = noise(from, static_cast<uint32_t>(from));
            const Handle block = blockOf(contents);
            EXPECT_EQ(KelMemReAlloc(block, from + gain, KEL_MEM_MOVEABLE), block);
            EXPECT_EQ(KelMemSize(block), from + gain);
            const Bytes grown = bytesOf(block);
            EXPECT_TRUE(std::equal(contents.begin(), contents.end(), grown.begin())) << from;
            EXPECT_TRUE(holdsOnly(grown, from, grown.size(), 0xCD)) << from;
        }
}

TEST_F(MemoryTest, GrowingWithTheZeroFlagZeroesTheGain)
{
    memory_hooks::keepFreedBlocks(true);
    for (const std::size_t from : {std::size_t{0}, std::size_t{100}, std::size_t{5000}, kMiB})
        for (const std::size_t to : {from + 1, from + 900, from + 2 * kMiB}) {
            { // leaves used memory behind
                const Handle used(KelMemAlloc(KEL_MEM_MOVEABLE, to));
                fill(used, 0xFF);
            }
            const Bytes contents = noise(from, 7);
            const Handle block = blockOf(contents);
            EXPECT_EQ(KelMemReAlloc(block, to, kZeroed), block);
            const Bytes grown = bytesOf(block);
            ASSERT_EQ(grown.size(), to);
            EXPECT_TRUE(std::equal(contents.begin(), contents.end(), grown.begin())) << from;
            EXPECT_TRUE(holdsOnly(grown, from, to, 0)) << from << " to " << to;
        }
}

TEST_F(MemoryTest, ShrinkingKeepsTheBeginning)
{
    for (const std::size_t from : {std::size_t{100}, std::size_t{5000}, 2 * kMiB})
        for (const std::size_t to : {std::size_t{0}, std::size_t{1}, from / 2, from - 1, from}) {
            const Bytes contents = noise(from, 9);
            const Handle block = blockOf(contents);
            EXPECT_EQ(KelMemReAlloc(block, to, KEL_MEM_MOVEABLE), block);
            EXPECT_EQ(bytesOf(block), Bytes(contents.begin(), contents.begin() + static_cast<long>(to)));
        }
}

TEST_F(MemoryTest, BytesLostByShrinkingDoNotComeBack)
{
    for (const std::size_t size : {std::size_t{100}, 2 * kMiB}) {
        const Handle block(KelMemAlloc(KEL_MEM_MOVEABLE, size));
        fill(block, 0x99);
        ASSERT_EQ(KelMemReAlloc(block, 10, 0), block);
        ASSERT_EQ(KelMemReAlloc(block, size, KEL_MEM_ZERO), block);
        const Bytes bytes = bytesOf(block);
        EXPECT_TRUE(holdsOnly(bytes, 0, 10, 0x99));
        EXPECT_TRUE(holdsOnly(bytes, 10, size, 0));
        ASSERT_EQ(KelMemReAlloc(block, 5, 0), block);
        ASSERT_EQ(KelMemReAlloc(block, 20, 0), block);
        const Bytes undefined = bytesOf(block);
        EXPECT_TRUE(holdsOnly(undefined, 0, 5, 0x99));
        EXPECT_TRUE(holdsOnly(undefined, 5, 20, 0xCD));
    }
}

TEST_F(MemoryTest, ALockedBlockThatWouldMoveIsLeftAlone)
{
    for (const std::size_t size : {std::size_t{100}, 2 * kMiB}) {
        const Bytes contents = noise(size, 3);
        const Handle block = blockOf(contents);
        {
            const BlockLock held(block);
            EXPECT_EQ(KelMemReAlloc(block, size + 5 * kMiB, kZeroed), nullptr);
            EXPECT_EQ(KelMemSize(block), size);
            EXPECT_EQ(lock(block), held.bytes());
            KelMemUnlock(block);
            EXPECT_EQ(bytesOf(block), contents);
        }
        EXPECT_EQ(KelMemReAlloc(block, size + 5 * kMiB, kZeroed), block) << "unlocked it may move";
        EXPECT_EQ(KelMemSize(block), size + 5 * kMiB);
    }
}

TEST_F(MemoryTest, ALockedBlockShrinksInPlace)
{
    const Bytes contents = noise(1000, 3);
    const Handle block = blockOf(contents);
    const BlockLock held(block);
    EXPECT_EQ(KelMemReAlloc(block, 30, KEL_MEM_MOVEABLE), block);
    EXPECT_EQ(KelMemSize(block), 30u);
    EXPECT_EQ(lock(block), held.bytes());
    EXPECT_EQ(KelMemUnlock(block), 1);
    EXPECT_TRUE(std::equal(contents.begin(), contents.begin() + 30, held.bytes()));
}

TEST_F(MemoryTest, AFailedResizeLeavesTheOldBlock)
{
    const Bytes contents = noise(1000, 4);
    const Handle block = blockOf(contents);
    for (const unsigned long size : {10ul, 1000ul, 5000ul, static_cast<unsigned long>(2 * kMiB)}) {
        memory_hooks::failAllocation(1);
        EXPECT_EQ(KelMemReAlloc(block, size, kZeroed), nullptr);
        EXPECT_EQ(bytesOf(block), contents);
    }
    EXPECT_EQ(KelMemReAlloc(block, 1001, kZeroed), block);
}

TEST_F(MemoryTest, SizesBeyondTheAddressSpaceAreNoMemory)
{
    const Bytes contents = noise(100, 5);
    const Handle block = blockOf(contents);
    const long blocks = memory_hooks::counts().blocks;
    for (const unsigned long size : {ULONG_MAX, ULONG_MAX - 1, ULONG_MAX - 4095, ULONG_MAX - 65535,
                                     ULONG_MAX - 65536, ULONG_MAX / 2 + 1, ULONG_MAX / 2}) {
        EXPECT_EQ(KelMemAlloc(KEL_MEM_MOVEABLE, size), nullptr);
        EXPECT_EQ(KelMemAlloc(kZeroed, size), nullptr);
        EXPECT_EQ(KelMemReAlloc(block, size, kZeroed), nullptr);
    }
    EXPECT_EQ(memory_hooks::counts().blocks, blocks);
    EXPECT_EQ(bytesOf(block), contents);
}

TEST_F(MemoryTest, TheOrderedAllocationFailsOnce)
{
    memory_hooks::failAllocation(3);
    const Handle first(KelMemAlloc(KEL_MEM_MOVEABLE, 10));
    EXPECT_NE(first, nullptr);
    EXPECT_EQ(KelMemReAlloc(first, 20, 0), first) << "resizes count";
    EXPECT_EQ(KelMemAlloc(KEL_MEM_MOVEABLE, 10), nullptr);
    const Handle next(KelMemAlloc(KEL_MEM_MOVEABLE, 10));
    EXPECT_NE(next, nullptr);
    memory_hooks::failAllocation(1);
    EXPECT_EQ(allocateBlock(kZeroed, 10, Contents::Overwritten), nullptr);
    memory_hooks::failAllocation(1);
    memory_hooks::failAllocation(0);
    const Handle spared(KelMemAlloc(KEL_MEM_MOVEABLE, 10));
    EXPECT_NE(spared, nullptr);
}

TEST_F(MemoryTest, TheOrderedLockFailsOnce)
{
    const Handle block(KelMemAlloc(KEL_MEM_MOVEABLE, 10));
    memory_hooks::failLock(2);
    EXPECT_NE(KelMemLock(block), nullptr);
    EXPECT_EQ(KelMemLock(block), nullptr);
    EXPECT_EQ(memory_hooks::locksOn(block), 1) << "a failed lock locks nothing";
    EXPECT_NE(KelMemLock(block), nullptr);
    EXPECT_EQ(KelMemUnlock(block), 1);
    EXPECT_EQ(KelMemUnlock(block), 0);
    memory_hooks::failLock(1);
    memory_hooks::failLock(0);
    EXPECT_NE(KelMemLock(block), nullptr);
    KelMemUnlock(block);
}

TEST_F(MemoryTest, CountsTellOfTheLastAllocation)
{
    const memory_hooks::Counts before = memory_hooks::counts();
    const Handle block(KelMemAlloc(kZeroed, 123));
    EXPECT_EQ(memory_hooks::counts().lastFlags, 66u);
    EXPECT_EQ(memory_hooks::counts().lastBytes, 123u);
    EXPECT_EQ(memory_hooks::counts().allocations, before.allocations + 1);
    EXPECT_EQ(memory_hooks::counts().blocks, before.blocks + 1);
    memory_hooks::failAllocation(1);
    EXPECT_EQ(KelMemAlloc(0, 77), nullptr);
    EXPECT_EQ(memory_hooks::counts().lastFlags, 0u);
    EXPECT_EQ(memory_hooks::counts().lastBytes, 77u);
    EXPECT_EQ(memory_hooks::counts().allocations, before.allocations + 2) << "failed ones count";
    EXPECT_EQ(memory_hooks::counts().blocks, before.blocks + 1);
}

TEST_F(MemoryTest, BlockLockHoldsOneLock)
{
    const Handle block(KelMemAlloc(KEL_MEM_MOVEABLE, 10));
    {
        BlockLock held(block);
        EXPECT_NE(held.bytes(), nullptr);
        EXPECT_EQ(memory_hooks::locksOn(block), 1);
        held.unlock();
        EXPECT_EQ(held.bytes(), nullptr);
        EXPECT_EQ(memory_hooks::locksOn(block), 0);
        KelMemLock(block);
        held.unlock();
        EXPECT_EQ(memory_hooks::locksOn(block), 1) << "it undoes its own lock only";
    }
    EXPECT_EQ(memory_hooks::locksOn(block), 1);
    memory_hooks::failLock(1);
    {
        const BlockLock failed(block);
        EXPECT_EQ(failed.bytes(), nullptr);
    }
    EXPECT_EQ(memory_hooks::locksOn(block), 1) << "what was not locked is not unlocked";
    KelMemUnlock(block);
    const BlockLock none(nullptr);
    EXPECT_EQ(none.bytes(), nullptr);
}

TEST_F(KeptBlocksTest, AFreedLargeBlockServesTheNextCall)
{
    void *const block = KelMemAlloc(KEL_MEM_MOVEABLE, 2 * kMiB);
    const uint8_t *const bytes = lock(block);
    KelMemFree(block);
    EXPECT_EQ(keptBytes(), 2 * kMiB);
    const Handle next(KelMemAlloc(KEL_MEM_MOVEABLE, 2 * kMiB));
    EXPECT_EQ(keptBytes(), 0u);
    EXPECT_EQ(lock(next), bytes);
    KelMemUnlock(next);
}

TEST_F(KeptBlocksTest, WithoutAFillByteTheContentsComeAsTheyAre)
{
    {
        const Handle block(KelMemAlloc(KEL_MEM_MOVEABLE, 2 * kMiB));
        fill(block, 0x42);
    }
    memory_hooks::setFillByte(-1);
    const Handle next(KelMemAlloc(KEL_MEM_MOVEABLE, 2 * kMiB));
    EXPECT_TRUE(holdsOnly(next, 0x42)) << "time spent on clearing";
}

TEST_F(KeptBlocksTest, SmallBlocksAreNotKept)
{
    KelMemFree(KelMemAlloc(KEL_MEM_MOVEABLE, kMiB - 1));
    EXPECT_EQ(keptBytes(), 0u);
    KelMemFree(KelMemAlloc(KEL_MEM_MOVEABLE, kMiB));
    EXPECT_EQ(keptBytes(), kMiB);
}

TEST_F(KeptBlocksTest, AKeptBlockIsNotWastedOnAMuchSmallerOne)
{
    KelMemFree(KelMemAlloc(KEL_MEM_MOVEABLE, 5 * kMiB));
    const Handle smaller(KelMemAlloc(KEL_MEM_MOVEABLE, 3 * kMiB));
    EXPECT_EQ(keptBytes(), 5 * kMiB) << "two fifths would be wasted";
    const Handle larger(KelMemAlloc(KEL_MEM_MOVEABLE, 5 * kMiB + 1));
    EXPECT_EQ(keptBytes(), 5 * kMiB) << "too small";
    EXPECT_EQ(KelMemSize(larger), 5 * kMiB + 1);
    const Handle near(KelMemAlloc(KEL_MEM_MOVEABLE, 4 * kMiB));
    EXPECT_EQ(keptBytes(), 0u) << "a quarter may be wasted";
    EXPECT_EQ(KelMemSize(near), 4 * kMiB);
}

TEST_F(KeptBlocksTest, TheSmallestThatFitsIsTaken)
{
    std::array<void *, 3> blocks;
    const std::array sizes{18 * kMiB, 16 * kMiB, 17 * kMiB};
    for (std::size_t i = 0; i < blocks.size(); ++i)
        blocks[i] = KelMemAlloc(kZeroed, sizes[i]);
    const uint8_t *const smallest = lock(blocks[1]);
    for (void *const block : blocks)
        KelMemFree(block);
    EXPECT_EQ(keptBytes(), 51 * kMiB);
    const Handle next(KelMemAlloc(kZeroed, 15 * kMiB));
    EXPECT_EQ(keptBytes(), 35 * kMiB);
    EXPECT_EQ(lock(next), smallest);
    KelMemUnlock(next);
}

TEST_F(KeptBlocksTest, FourBlocksAreKeptTheLatestOnes)
{
    std::array<void *, 6> blocks;
    for (std::size_t i = 0; i < blocks.size(); ++i)
        blocks[i] = KelMemAlloc(kZeroed, (i + 1) * 2 * kMiB);
    for (void *const block : blocks)
        KelMemFree(block);
    EXPECT_EQ(keptBytes(), (6 + 8 + 10 + 12) * kMiB);
}

TEST_F(KeptBlocksTest, TheBytesKeptAreLimited)
{
    const std::size_t big = kKeptLimit / 4 * 3;
    const std::size_t half = kKeptLimit / 2;
    // Zero-filled and fresh from the system, so that nobody has to touch these many pages.
    void *const first = KelMemAlloc(kZeroed, big);
    void *const second = KelMemAlloc(kZeroed, half);
    void *const third = KelMemAlloc(kZeroed, half);
    void *const huge = KelMemAlloc(kZeroed, kKeptLimit + kMiB);
    KelMemFree(first);
    EXPECT_EQ(keptBytes(), big);
    KelMemFree(second);
    EXPECT_EQ(keptBytes(), half) << "the longest kept one goes";
    KelMemFree(third);
    EXPECT_EQ(keptBytes(), 2 * half) << "the limit itself may be kept";
    KelMemFree(huge);
    EXPECT_EQ(keptBytes(), 2 * half) << "what can never be kept drives nothing out";
}

TEST_F(KeptBlocksTest, SwitchingOffReleasesThoseKept)
{
    KelMemFree(KelMemAlloc(kZeroed, 2 * kMiB));
    KelMemFree(KelMemAlloc(kZeroed, 9 * kMiB));
    EXPECT_EQ(keptBytes(), 11 * kMiB);
    memory_hooks::keepFreedBlocks(false);
    EXPECT_EQ(keptBytes(), 0u);
    KelMemFree(KelMemAlloc(kZeroed, 2 * kMiB));
    EXPECT_EQ(keptBytes(), 0u);
    memory_hooks::keepFreedBlocks(true);
    KelMemFree(KelMemAlloc(kZeroed, 2 * kMiB));
    EXPECT_EQ(keptBytes(), 2 * kMiB);
}

TEST_F(KeptBlocksTest, ResizesGiveAndTakeKeptBlocks)
{
    KelMemFree(KelMemAlloc(KEL_MEM_MOVEABLE, 4 * kMiB));
    const Bytes contents = noise(2 * kMiB, 6);
    const Handle block = blockOf(contents);
    EXPECT_EQ(keptBytes(), 4 * kMiB);
    EXPECT_EQ(KelMemReAlloc(block, 4 * kMiB, kZeroed), block);
    EXPECT_EQ(keptBytes(), 2 * kMiB) << "the four were taken, the outgrown two given";
    const Bytes grown = bytesOf(block);
    EXPECT_TRUE(std::equal(contents.begin(), contents.end(), grown.begin()));
    EXPECT_TRUE(holdsOnly(grown, 2 * kMiB, 4 * kMiB, 0));
}

#if defined(__linux__)

TEST_F(KeptBlocksTest, WhatIsReleasedGoesBackToTheSystem)
{
    const auto mappedPages = [] {
        std::size_t pages = 0;
        std::ifstream("/proc/self/statm") >> pages;
        return pages;
    };
    constexpr std::size_t kPages = 64 * kMiB / 4096;
    const std::size_t before = mappedPages();
    ASSERT_GT(before, 0u);
    KelMemFree(KelMemAlloc(kZeroed, 64 * kMiB));
    EXPECT_GE(mappedPages(), before + kPages);
    memory_hooks::keepFreedBlocks(false);
    EXPECT_LT(mappedPages(), before + kPages / 2);
    for (int i = 0; i < 10; ++i)
        KelMemFree(KelMemAlloc(kZeroed, 64 * kMiB));
    EXPECT_LT(mappedPages(), before + kPages / 2);
}

TEST_F(KeptBlocksTest, KeptBlocksAreGivenUpBeforeAnAllocationFails)
{
    if (kSanitized)
        GTEST_SKIP() << "address space cannot be limited under a sanitizer";
    // In a process of its own, so that the limit hits nobody else.
    const auto allocateUnderALimit = [] {
        std::size_t pages = 0;
        std::ifstream("/proc/self/statm") >> pages;
        const rlim_t limit = pages * 4096 + 200 * kMiB;
        const rlimit limits{limit, limit};
        setrlimit(RLIMIT_AS, &limits);
        KelMemFree(KelMemAlloc(kZeroed, 100 * kMiB));
        const bool wasKept = keptBytes() == 100 * kMiB;
        void *const large = KelMemAlloc(kZeroed, 150 * kMiB);
        void *const tooLarge = KelMemAlloc(kZeroed, 500 * kMiB);
        std::exit(wasKept && large && !tooLarge ? 0 : 1);
    };
    EXPECT_EXIT(allocateUnderALimit(), ::testing::ExitedWithCode(0), "");
}

#endif

namespace {

/// One thread's work: blocks of many sizes, each filled with a value of its own and checked.
void work(uint32_t seed, std::atomic<int> &faults)
{
    const auto check = [&faults](bool holds) {
        if (!holds)
            ++faults;
    };
    const std::size_t sizes[] = {0, 1, 40, 700, 5000, kMiB - 1, kMiB, kMiB + 100, 2 * kMiB};
    std::vector<void *> kept;
    void *stale = nullptr;
    for (uint32_t round = 0; round < 150; ++round) {
        const std::size_t size = sizes[(round * 7 + seed) % std::size(sizes)];
        const bool zeroed = round % 3 == 0;
        void *const block = KelMemAlloc(zeroed ? kZeroed : KEL_MEM_MOVEABLE, size);
        check(block && KelMemSize(block) == size);
        uint8_t *const bytes = lock(block);
        check(bytes && lock(block) == bytes && memory_hooks::locksOn(block) == 2);
        for (std::size_t i = 0; zeroed && i < size; i += 97)
            check(bytes[i] == 0);
        const int value = static_cast<int>((seed * 31 + round) & 0xFF);
        std::memset(bytes, value, size);
        check(KelMemUnlock(block) == 1 && KelMemUnlock(block) == 0);
        check(KelMemReAlloc(block, size + 50, kZeroed) == block && KelMemSize(block) == size + 50);
        const uint8_t *const moved = lock(block);
        for (std::size_t i = 0; i < size; i += 89)
            check(moved[i] == value);
        for (std::size_t i = size; i < size + 50; ++i)
            check(moved[i] == 0);
        check(KelMemUnlock(block) == 0);
        check(KelMemLock(stale) == nullptr && KelMemSize(stale) == 0);
        KelMemFree(stale);
        kept.push_back(block);
        if (kept.size() > 5) {
            stale = kept.front();
            kept.erase(kept.begin());
            KelMemFree(stale);
        }
    }
    for (void *const block : kept)
        KelMemFree(block);
}

} // namespace

TEST_F(MemoryTest, ThreadsUseTheServiceAtOnce)
{
    memory_hooks::keepFreedBlocks(true);
    memory_hooks::setFillByte(-1);
    const long allocations = memory_hooks::counts().allocations;
    std::atomic<int> faults = 0;
    std::vector<std::thread> threads;
    for (uint32_t seed = 0; seed < 4; ++seed)
        threads.emplace_back(work, seed, std::ref(faults));
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_EQ(faults, 0);
    EXPECT_EQ(memory_hooks::counts().allocations, allocations + 4 * 150 * 2);
}

TEST_F(MemoryTest, ABlockMayGoFromThreadToThread)
{
    std::vector<void *> blocks(200);
    std::thread([&blocks] {
        for (std::size_t i = 0; i < blocks.size(); ++i) {
            blocks[i] = KelMemAlloc(KEL_MEM_MOVEABLE, 100 + i);
            fill(blocks[i], static_cast<int>(i));
        }
    }).join();
    for (std::size_t i = 0; i < blocks.size(); ++i) {
        EXPECT_EQ(KelMemSize(blocks[i]), 100 + i);
        EXPECT_TRUE(holdsOnly(blocks[i], static_cast<int>(i)));
    }
    std::thread([&blocks] {
        for (void *const block : blocks)
            KelMemFree(block);
    }).join();
    for (void *const block : blocks)
        EXPECT_EQ(KelMemSize(block), 0u);
}

} // namespace velmont::testing
