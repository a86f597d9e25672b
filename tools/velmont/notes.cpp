#include "notes.h"
#include "kept_notes.h"
#include "style.h"
#include "text.h"
#include <cstdio>
#include <string>
#include <utility>

namespace velmont::cli {

namespace {

std::function<void(std::string_view)> &listener()
{
    static std::function<void(std::string_view)> function;
    return function;
}

void put(std::string_view mark, std::string_view line)
{
    if (listener())
        return listener()(line);
    const std::string text = concat(mark, " ", printable(line), "\n");
    std::fwrite(text.data(), 1, text.size(), stderr);
}

constexpr std::string_view kMark = "velmont:";

} // namespace

void say(std::string_view line)
{
    KeptNotes::keep(line);
    put(kMark, line);
}

void sayError(std::string_view line)
{
    put(Style::of(Stream::Error).alarm(kMark), line);
}

void sendNotesTo(std::function<void(std::string_view line)> function)
{
    listener() = std::move(function);
}

} // namespace velmont::cli
