#pragma once

/// \file
/// A running digest of bytes and numbers: 64-bit FNV-1a.

#include <bit>
#include <cmath>
#include <cstdint>
#include <span>
#include <string_view>

namespace velmont::catalogue {

class Digest {
public:
    void add(uint8_t byte) { state_ = (state_ ^ byte) * kPrime; }
    void add(std::span<const uint8_t> bytes)
    {
        addNumber(bytes.size());
        for (const uint8_t byte : bytes)
            add(byte);
    }
    void addText(std::string_view text)
    {
        addNumber(text.size());
        for (const char character : text)
            add(static_cast<uint8_t>(character));
    }
    /// Lowest byte first, whatever the system's order.
    void addNumber(uint64_t number)
    {
        for (int shift = 0; shift < 64; shift += 8)
            add(static_cast<uint8_t>(number >> shift));
    }
    /// What is not a number counts as one value: systems differ in its sign and payload.
    void addReal(double value) { addNumber(std::isnan(value) ? UINT64_MAX : std::bit_cast<uint64_t>(value)); }

    /// Both halves of the state as one: enough to tell two runs of a case apart.
    uint32_t value() const { return static_cast<uint32_t>(state_ ^ state_ >> 32); }

private:
    static constexpr uint64_t kPrime = 0x100000001B3;

    uint64_t state_ = 0xCBF29CE484222325;
};

} // namespace velmont::catalogue
