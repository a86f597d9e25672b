#pragma once

/// \file
/// Completion of command lines: what shells ask, and the functions by which bash and zsh ask it.

#include <span>
#include <string>
#include <string_view>

namespace CLI {
class App;
}

namespace velmont::cli {

/// What may stand in place of the last word, a line each, whatever the word begins with:
///
///     "word" WORD TAB HELP   this word; one that ends in "=" goes on with a value
///     "file" PREFIX          the name of a file behind the prefix, which may be empty
///
/// \param words those behind the program's name
std::string completionsText(const CLI::App &app, std::span<const std::string> words);

/// The names of the shells that are served.
std::span<const std::string_view> completionShells();
/// The function for one of them, as a file that it loads.
/// \throws Failure with ExitCode::Usage for another shell
std::string completionScript(std::string_view shell);

} // namespace velmont::cli
