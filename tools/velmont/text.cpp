#include "text.h"
#include <algorithm>
#include <cstdint>

namespace velmont::cli {

namespace {

bool isBetween(char character, unsigned first, unsigned last)
{
    const auto code = static_cast<unsigned char>(character);
    return code >= first && code <= last;
}

/// How many bytes a lead byte announces; 0 for one that leads nothing.
std::size_t announcedBytes(char lead)
{
    if (isBetween(lead, 0x00, 0x7F))
        return 1;
    if (isBetween(lead, 0xC2, 0xDF))
        return 2;
    if (isBetween(lead, 0xE0, 0xEF))
        return 3;
    return isBetween(lead, 0xF0, 0xF4) ? 4 : 0;
}

/// The second byte rules out what is too long, surrogates and what lies above the last character.
bool isSecondByte(char lead, char second)
{
    switch (static_cast<unsigned char>(lead)) {
    case 0xE0:
        return isBetween(second, 0xA0, 0xBF);
    case 0xED:
        return isBetween(second, 0x80, 0x9F);
    case 0xF0:
        return isBetween(second, 0x90, 0xBF);
    case 0xF4:
        return isBetween(second, 0x80, 0x8F);
    default:
        return isBetween(second, 0x80, 0xBF);
    }
}

/// The length of the UTF-8 character that a text begins with; 0 where there is none.
std::size_t characterBytes(std::string_view text)
{
    const std::size_t count = text.empty() ? 0 : announcedBytes(text.front());
    if (count == 0 || count > text.size() || (count > 1 && !isSecondByte(text[0], text[1])))
        return 0;
    for (std::size_t i = 2; i < count; ++i)
        if (!isBetween(text[i], 0x80, 0xBF))
            return 0;
    return count;
}

/// Control characters of one byte, and the later ones, which some terminals obey as well.
bool isControl(std::string_view character)
{
    if (character.size() == 1)
        return isBetween(character[0], 0x00, 0x1F) || character[0] == '\x7F';
    return character.size() == 2 && character[0] == '\xC2' && isBetween(character[1], 0x80, 0x9F);
}

std::string escaped(std::string_view bytes)
{
    constexpr std::string_view digits = "0123456789abcdef";
    if (bytes == "\n")
        return "\\n";
    if (bytes == "\t")
        return "\\t";
    std::string text;
    for (const char byte : bytes) {
        const auto code = static_cast<unsigned char>(byte);
        text += {'\\', 'x', digits[code >> 4], digits[code & 15]};
    }
    return text;
}

/// The columns of a character. Wide ones begin at the scripts of East Asia; taking others for wide too does no harm.
std::size_t columnsOf(std::string_view character)
{
    return character >= std::string_view("\xE1\x84\x80") ? 2 : 1;
}

} // namespace

std::string printable(std::string_view text)
{
    std::string line;
    while (!text.empty()) {
        const std::size_t count = characterBytes(text);
        const std::string_view character = text.substr(0, std::max<std::size_t>(count, 1));
        if (count == 0 || isControl(character))
            line += escaped(character);
        else
            line += character;
        text.remove_prefix(character.size());
    }
    return line;
}

std::string_view cutToColumns(std::string_view line, std::size_t columns)
{
    std::size_t bytes = 0;
    while (bytes < line.size()) {
        const std::size_t count = std::max<std::size_t>(characterBytes(line.substr(bytes)), 1);
        const std::size_t width = columnsOf(line.substr(bytes, count));
        if (width > columns)
            break;
        columns -= width;
        bytes += count;
    }
    return line.substr(0, bytes);
}

} // namespace velmont::cli
