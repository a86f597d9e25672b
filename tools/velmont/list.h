#pragma once

/// \file
/// `velmont list`: the catalogue on standard output.

#include "catalogue/effect.h"
#include "style.h"
#include <string>
#include <string_view>
#include <vector>

namespace velmont::cli {

/// Which effects to list, and how.
struct ListRequest {
    std::string family; ///< its name or the first word of it; empty for all
    std::string search; ///< what the name, the export's name or the help contains, in any case; empty for all
    bool json = false;
};

/// The short names of the families, as `velmont list` takes them.
std::vector<std::string_view> familyWords();

/// The effects by family, a line each: name, code, help; or, for programs, everything that the catalogue knows, as an
/// array of objects.
/// \throws Failure with ExitCode::Usage when the family is unknown or nothing matches
std::string listText(const ListRequest &request, const Style &style = {});

/// One object of that array.
std::string effectJson(const catalogue::Effect &effect);

} // namespace velmont::cli
