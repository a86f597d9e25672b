#pragma once

/// \file
/// Text for the man macros of roff.

#include <string>
#include <string_view>

namespace velmont::cli {

/// Text that stands for itself, whatever characters it has: each dash can be copied into a shell.
std::string roffText(std::string_view text);
/// The same in bold, for what is typed as it is.
std::string roffBold(std::string_view text);
/// The same in italics, for what stands for something else.
std::string roffItalic(std::string_view text);
/// A line of text of its own; no macro, whatever it begins with.
std::string roffLine(std::string_view text);
/// A paragraph with a hanging head, which comes as roff already.
std::string roffItem(const std::string &head, std::string_view text);
/// Paragraphs apart by empty lines; lines that begin with blanks stay as they are, the others are filled.
std::string roffParagraphs(std::string_view text);

} // namespace velmont::cli
