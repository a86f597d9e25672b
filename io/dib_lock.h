#pragma once

/// \file
/// A lock on a `Dib` for the length of a scope.

#include <cstdint>
#include <velmont/memory.h>

namespace velmont::io {

class DibLock {
public:
    explicit DibLock(void *handle) : handle_(handle), bytes_(static_cast<uint8_t *>(KelMemLock(handle))) {}
    ~DibLock() { unlock(); }
    DibLock(const DibLock &) = delete;
    DibLock &operator=(const DibLock &) = delete;

    /// The block's first byte; null when it could not be locked or is locked no more.
    uint8_t *bytes() const { return bytes_; }
    void unlock()
    {
        if (bytes_)
            KelMemUnlock(handle_);
        bytes_ = nullptr;
    }

private:
    void *handle_;
    uint8_t *bytes_;
};

} // namespace velmont::io
