#include "roff.h"
#include "text.h"
#include <algorithm>
#include <array>
#include <utility>

namespace velmont::cli {

namespace {

/// Characters that roff would take for something else.
constexpr std::array<std::pair<char, std::string_view>, 6> kEscapes{{
    {'\\', "\\(rs"},
    {'-', "\\-"},
    {'\'', "\\(aq"},
    {'`', "\\(ga"},
    {'^', "\\(ha"},
    {'~', "\\(ti"},
}};

std::string_view escapeOf(char character)
{
    for (const auto &[plain, escape] : kEscapes) {
        if (plain == character)
            return escape;
    }
    return {};
}

} // namespace

std::string roffText(std::string_view text)
{
    std::string roff;
    for (const char character : text) {
        const std::string_view escape = escapeOf(character);
        if (escape.empty())
            roff += character;
        else
            roff += escape;
    }
    return roff;
}

std::string roffBold(std::string_view text)
{
    return concat("\\fB", roffText(text), "\\fR");
}

std::string roffItalic(std::string_view text)
{
    return concat("\\fI", roffText(text), "\\fR");
}

std::string roffLine(std::string_view text)
{
    return concat("\\&", roffText(text), "\n");
}

std::string roffItem(const std::string &head, std::string_view text)
{
    return concat(".TP\n", head, "\n", roffLine(text));
}

std::string roffParagraphs(std::string_view text)
{
    std::string roff;
    bool begins = true, asIs = false;
    while (!text.empty()) {
        const std::string_view line = text.substr(0, text.find('\n'));
        text.remove_prefix(std::min(text.size(), line.size() + 1));
        const bool indented = line.starts_with(' ');
        if (asIs && !indented)
            roff += ".fi\n";
        if (line.empty()) {
            begins = true;
        } else {
            roff += begins ? ".PP\n" : "";
            roff += indented && !asIs ? ".nf\n" : "";
            roff += roffLine(line);
            begins = false;
        }
        asIs = indented;
    }
    return roff + (asIs ? ".fi\n" : "");
}

} // namespace velmont::cli
