#pragma once

/// \file
/// How the program ends: its exit codes and the exception that carries one to `main`.

#include <array>
#include <stdexcept>
#include <string>
#include <string_view>

namespace velmont::cli {

/// The exit codes, as scripts see them.
enum class ExitCode {
    Success = 0,
    Usage = 2,      ///< a wrong option, effect, field or value; an output that exists already
    Input = 3,      ///< the image cannot be read, or an effect refuses its depth
    Output = 4,     ///< the result cannot be written
    NoResult = 5,   ///< an effect gave nothing back: no memory, or nothing to do
    SomeFailed = 6, ///< some or all of several images; the others are written
    Aborted = 130,
};

/// An exit code and what it says to a person.
struct ExitCodeHelp {
    ExitCode code;
    std::string_view help;
};

/// All of them, as the help and the manual page list them.
inline constexpr std::array kExitCodes{
    ExitCodeHelp{ExitCode::Success, "done"},
    ExitCodeHelp{ExitCode::Usage, "the command line is wrong: an option, an effect, a field or its value, or "
                                  "the output exists already"},
    ExitCodeHelp{ExitCode::Input, "the image cannot be read, or an effect does not take its depth"},
    ExitCodeHelp{ExitCode::Output, "the result cannot be written"},
    ExitCodeHelp{ExitCode::NoResult, "an effect gave no result: out of memory, or nothing to do"},
    ExitCodeHelp{ExitCode::SomeFailed, "some or all of several images failed; the others are written"},
    ExitCodeHelp{ExitCode::Aborted, "aborted with Ctrl-C; no file is half written"},
};

/// Ends the program: one line for standard error, without the program's name, and the code to exit with.
class Failure : public std::runtime_error {
public:
    Failure(ExitCode code, const std::string &line) : std::runtime_error(line), code_(code) {}
    ExitCode code() const { return code_; }

private:
    ExitCode code_;
};

} // namespace velmont::cli
