#include "notes.h"
#include "kept_notes.h"
#include "style.h"
#include "text.h"
#include <cstdio>
#include <string>

namespace velmont::cli {

namespace {

void put(std::string_view mark, std::string_view line)
{
    const std::string text = concat(mark, " ", line, "\n");
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

} // namespace velmont::cli
