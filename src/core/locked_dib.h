#pragma once

#include "core/dib_layout.h"
#include "platform/memory.h"
#include <optional>

namespace velmont {

/// A locked block and the image in it; the lock is undone at the end of the scope.
class LockedDib {
public:
    explicit LockedDib(void *handle) : lock_(handle)
    {
        if (lock_.bytes())
            dib_ = Dib::examine(lock_.bytes(), KelMemSize(handle));
    }
    bool isLocked() const { return lock_.bytes() != nullptr; }
    /// Whether there is an image whose header fits its block.
    explicit operator bool() const { return dib_.has_value(); }
    const Dib *operator->() const { return &*dib_; }
    const Dib &operator*() const { return *dib_; }

private:
    BlockLock lock_;
    std::optional<Dib> dib_;
};

} // namespace velmont
