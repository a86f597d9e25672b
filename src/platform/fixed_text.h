#pragma once

/// \file
/// Text in a buffer of fixed size.

#include <array>
#include <cstddef>
#include <cstring>
#include <string_view>

namespace velmont {

/// Null-terminated text of less than `Bytes` bytes. What does not fit is refused whole.
template <std::size_t Bytes>
class FixedText {
public:
    FixedText() { clear(); }

    void clear() { cutTo(0); }
    /// Appends a text, or nothing and says false when there is no room for all of it.
    [[nodiscard]] bool append(std::string_view text)
    {
        if (text.size() >= Bytes - length_)
            return false;
        if (!text.empty())
            std::memcpy(text_.data() + length_, text.data(), text.size());
        cutTo(length_ + text.size());
        return true;
    }
    [[nodiscard]] bool append(char character) { return append(std::string_view(&character, 1)); }
    /// Keeps the first `length` characters, of at least as many.
    void cutTo(std::size_t length)
    {
        length_ = length;
        text_[length] = '\0';
    }

    std::size_t length() const { return length_; }
    bool empty() const { return length_ == 0; }
    const char *c_str() const { return text_.data(); }
    std::string_view view() const { return {text_.data(), length_}; }

private:
    std::size_t length_ = 0;
    std::array<char, Bytes> text_;
};

} // namespace velmont
