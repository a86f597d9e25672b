#pragma once

/// \file
/// A `Dib` handle with an owner.

#include <utility>
#include <velmont/memory.h>

namespace velmont::io {

/// Owns one block of the memory-handle service and frees it.
class DibHandle {
public:
    DibHandle() = default;
    explicit DibHandle(void *handle) : handle_(handle) {}
    DibHandle(DibHandle &&other) noexcept : handle_(other.release()) {}
    DibHandle &operator=(DibHandle &&other) noexcept
    {
        std::swap(handle_, other.handle_);
        return *this;
    }
    ~DibHandle()
    {
        if (handle_)
            KelMemFree(handle_);
    }

    void *get() const { return handle_; }
    void *release() { return std::exchange(handle_, nullptr); }
    explicit operator bool() const { return handle_ != nullptr; }

private:
    void *handle_ = nullptr;
};

} // namespace velmont::io
