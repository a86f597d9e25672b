#pragma once

/// \file
/// `velmont info`: all about one effect on standard output.

#include "catalogue/effect.h"
#include <string>

namespace velmont::cli {

/// What an effect does, its fields, what it accepts and a command that runs it.
std::string infoText(const catalogue::Effect &effect);

} // namespace velmont::cli
