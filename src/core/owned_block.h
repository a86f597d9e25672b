#pragma once

#include <utility>
#include <velmont/memory.h>

namespace velmont {

/// A block that nobody else holds: freed at the end of the scope, or before, unless it is handed out.
class OwnedBlock {
public:
    explicit OwnedBlock(void *handle = nullptr) : handle_(handle) {}
    ~OwnedBlock() { reset(); }
    OwnedBlock(const OwnedBlock &) = delete;
    OwnedBlock &operator=(const OwnedBlock &) = delete;

    /// The handle, null for none.
    void *get() const { return handle_; }
    explicit operator bool() const { return handle_ != nullptr; }
    /// Hands the block out.
    void *release() { return std::exchange(handle_, nullptr); }
    /// Frees the block and takes another one.
    void reset(void *handle = nullptr)
    {
        if (void *const old = std::exchange(handle_, handle))
            KelMemFree(old);
    }

private:
    void *handle_;
};

} // namespace velmont
