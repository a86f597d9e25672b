#pragma once

/// \file
/// `velmont list`: the catalogue on standard output.

#include <string>

namespace velmont::cli {

/// The effects by family, a line each: name, code, help.
std::string listText();
/// Everything that the catalogue knows, as an array of objects.
std::string listJson();

} // namespace velmont::cli
