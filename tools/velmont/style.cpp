#include "style.h"
#include "text.h"
#include <cstdlib>
#include <unistd.h>

namespace velmont::cli {

namespace {

std::string_view environment(const char *name)
{
    const char *const value = std::getenv(name);
    return value ? value : "";
}

} // namespace

Style Style::of(Stream stream)
{
    const std::string_view terminal = environment("TERM");
    Style style;
    style.coloured_ = environment("NO_COLOR").empty() && !terminal.empty() && terminal != "dumb" &&
                      isatty(stream == Stream::Output ? STDOUT_FILENO : STDERR_FILENO) == 1;
    return style;
}

std::string Style::heading(std::string_view text) const
{
    return marked("1", text);
}

std::string Style::alarm(std::string_view text) const
{
    return marked("1;31", text);
}

std::string Style::marked(std::string_view code, std::string_view text) const
{
    return coloured_ ? concat("\x1b[", code, "m", text, "\x1b[0m") : std::string(text);
}

} // namespace velmont::cli
