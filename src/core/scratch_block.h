#pragma once

#include "platform/memory.h"

namespace velmont {

/// Working memory of one call, a block of the memory service: released at the end of the scope or before. Its
/// contents are undefined. Sizes are reckoned in 64 bits, so that none overflows where addresses are shorter.
class ScratchBlock {
public:
    explicit ScratchBlock(uint64_t bytes)
        : handle_(allocateBlock(KEL_MEM_MOVEABLE | KEL_MEM_ZERO, bytes, Contents::Overwritten)),
          lock_(handle_)
    {
    }
    ~ScratchBlock() { release(); }
    ScratchBlock(const ScratchBlock &) = delete;
    ScratchBlock &operator=(const ScratchBlock &) = delete;

    /// The first byte; null where there is no memory.
    uint8_t *bytes() const { return lock_.bytes(); }
    /// Effects release before they end: hosts that count blocks find only images at the last report.
    void release()
    {
        lock_.unlock();
        if (handle_)
            KelMemFree(handle_);
        handle_ = nullptr;
    }

private:
    void *handle_;
    BlockLock lock_;
};

} // namespace velmont
