#pragma once

/// \file
/// `velmont man`: the manual page, made from the definition of the commands and from the catalogue.

#include <string>

namespace CLI {
class App;
}

namespace velmont::cli {

/// The page in the man macros of roff.
std::string manualText(const CLI::App &app);

} // namespace velmont::cli
