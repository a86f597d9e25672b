#pragma once

/// \file
/// Values of effect fields as text: what a person types and reads.

#include "catalogue/effect.h"
#include <optional>
#include <string>
#include <string_view>

namespace velmont::cli {

/// A number in decimal; the shortest text that stands for it.
std::string formatNumber(double value);
/// A whole number in decimal and nothing else; `outOfRange` is set when it fits no 64 bits.
std::optional<long long> parseWhole(std::string_view text, bool &outOfRange);

/// Whether the values of a field are whole numbers.
bool isWhole(const catalogue::Field &field);
/// Whether the values of a field are colours.
bool isColour(const catalogue::Field &field);
/// "a whole number from 0 to 255", "a number from 0 to 1", "a colour as #rrggbb", "one of soft,
/// hard".
std::string describeValues(const catalogue::Field &field);
/// A value in the form in which it is typed.
std::string formatValue(const catalogue::Field &field, double value);
/// Understands one value of a field.
/// \throws Failure with ExitCode::Usage that names the effect, the field, the text and what would do
double parseValue(const catalogue::Effect &effect, const catalogue::Field &field, std::string_view text);
/// Understands what is given for a field and stores it in the effect's record: one value, or for a table 256
/// levels joined by commas.
/// \throws Failure as parseValue does
void storeValue(void *record, const catalogue::Effect &effect, const catalogue::Field &field,
                std::string_view text);

} // namespace velmont::cli
