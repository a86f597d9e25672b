#pragma once

/// \file
/// `velmont info`: all about one effect on standard output.

#include "catalogue/effect.h"
#include "style.h"
#include <string>

namespace velmont::cli {

/// What an effect does, its fields, what it accepts and a command that runs it.
std::string infoText(const catalogue::Effect &effect, const Style &style = {});
/// "a whole number from 0 to 9; unit: pixels; default: 3": what a field takes.
std::string fieldRule(const catalogue::Field &field);
/// "what to look at; read: alpha mask": what a picture beside the image is for.
std::string operandRule(const catalogue::Operand &operand);
/// A short command for a shell that runs an effect on photo.png: its first fields at their defaults, and all pictures
/// beside the image.
std::string exampleOf(const catalogue::Effect &effect);

} // namespace velmont::cli
