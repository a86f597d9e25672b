#pragma once

/// \file
/// How the program ends: its exit codes and the exception that carries one to `main`.

#include <stdexcept>
#include <string>

namespace velmont::cli {

/// The exit codes, as scripts see them.
enum class ExitCode {
    Success = 0,
    Usage = 2,    ///< a wrong option, effect, field or value; an output that exists already
    Input = 3,    ///< the image cannot be read, or an effect refuses its depth
    Output = 4,   ///< the result cannot be written
    NoResult = 5, ///< an effect gave nothing back: no memory, or nothing to do
    Aborted = 130,
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
