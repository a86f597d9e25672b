#pragma once

/// \file
/// What lies behind the memory-handle service: the library's own way in, and the hooks of its tests.

#include <cstddef>
#include <cstdint>
#include <vector>
#include <velmont/memory.h>

namespace velmont {

/// What the caller of allocateBlock will do with a block that it asks to be zero-filled.
enum class Contents {
    ZeroFilled, ///< relies on the zeros
    Overwritten ///< writes every byte before anybody else sees the block, so that the zeros need not be made
};

/// KelMemAlloc for callers that know what they will do with the block.
void *allocateBlock(unsigned flags, uint64_t bytes, Contents contents);
/// Whether the block was made of pages that the system had not handed out before, so that each of them is zeroed
/// into the caches as it is touched.
bool isOfFreshPages(void *handle);

/// One lock on a block for as long as the object lives.
class BlockLock {
public:
    explicit BlockLock(void *handle) : handle_(handle), bytes_(static_cast<uint8_t *>(KelMemLock(handle))) {}
    ~BlockLock() { unlock(); }
    BlockLock(const BlockLock &) = delete;
    BlockLock &operator=(const BlockLock &) = delete;

    /// The block's first byte, null where it could not be locked or is locked no more.
    uint8_t *bytes() const { return bytes_; }
    void unlock()
    {
        if (bytes_)
            KelMemUnlock(handle_);
        bytes_ = nullptr;
    }
    /// Leaves the lock on the block, for good.
    void keep() { bytes_ = nullptr; }

private:
    void *handle_;
    uint8_t *bytes_;
};

namespace memory_hooks {

/// The n-th allocation from now on (1 is the next) fails, once; 0 lets all succeed. Resizes count.
void failAllocation(int n);
/// The n-th lock from now on fails, once.
void failLock(int n);
/// Blocks whose contents are undefined are filled with this byte; -1 leaves them as they come.
void setFillByte(int byte);
/// Whether freed large blocks are kept for the next call (the default). Switching it off releases those kept.
void keepFreedBlocks(bool keep);

struct Counts {
    long blocks;           ///< blocks alive
    long locks;            ///< locks on all of them
    long allocations;      ///< successful and failed ones since the start
    unsigned lastFlags;    ///< flags of the last allocation
    std::size_t lastBytes; ///< its size
    std::size_t keptBytes; ///< bytes of the freed blocks that are kept
};
Counts counts();
/// The handles of all blocks alive, in no particular order.
std::vector<void *> liveBlocks();
/// Locks on one block; 0 for a bad handle.
int locksOn(void *handle);

} // namespace memory_hooks

} // namespace velmont
