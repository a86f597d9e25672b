#include "notes.h"
#include "text.h"
#include <cstdio>
#include <string>

namespace velmont::cli {

void say(std::string_view line)
{
    const std::string text = concat("velmont: ", line, "\n");
    std::fwrite(text.data(), 1, text.size(), stderr);
}

} // namespace velmont::cli
