#include "host/host_path.h"
#include <algorithm>

namespace velmont {

namespace {

constexpr std::string_view kSeparators = "\\/";
constexpr std::string_view kDelimiters = "\\/\n";

/// Cuts the text off in front of `position` and returns it; what lies behind stays.
std::string_view cutOff(std::string_view &text, std::size_t position)
{
    const std::string_view front = text.substr(0, position);
    text.remove_prefix(front.size());
    return front;
}

} // namespace

std::string_view PathParts::rest() const
{
    return {directory.data(), directory.size() + name.size() + extension.size()};
}

bool PathParts::fit() const
{
    return std::max({directory.size(), name.size(), extension.size()}) < kPathPartBytes;
}

PathParts splitPath(const char *path)
{
    std::string_view text = path ? path : "";
    PathParts parts;
    parts.drive = cutOff(text, text.size() >= 2 && text[1] == ':' ? 2 : 0);
    const std::size_t separator = text.find_last_of(kSeparators);
    parts.directory = cutOff(text, separator == std::string_view::npos ? 0 : separator + 1);
    parts.name = cutOff(text, text.rfind('.'));
    parts.extension = text;
    return parts;
}

std::string_view PathTokens::next()
{
    rest_.remove_prefix(std::min(rest_.find_first_not_of(kDelimiters), rest_.size()));
    return cutOff(rest_, rest_.find_first_of(kDelimiters));
}

} // namespace velmont
