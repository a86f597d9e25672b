#pragma once

/// \file
/// "-" as the name of a file: standard input and standard output, for pipes.

#include <cstdint>
#include <filesystem>
#include <span>
#include <string>
#include <vector>

namespace velmont::cli {

/// Whether a name stands for a standard stream. A file of that name is given as ./-.
bool isStandardStream(const std::filesystem::path &name);
/// What an image is called in messages: "standard input" or the file's name.
std::string inputName(const std::filesystem::path &input);

/// The most bytes that are read from standard input.
inline constexpr std::size_t kMostPipedBytes = std::size_t{1} << 30;

/// Everything that comes through standard input until its end.
/// \throws Failure with ExitCode::Usage for a terminal, ExitCode::Input when it cannot be read or does not end within
/// kMostPipedBytes, ExitCode::Aborted on an interrupt
std::vector<uint8_t> readStandardInput();

/// \throws Failure with ExitCode::Usage when standard output is a terminal, which binary data would upset
void requirePipedOutput();

/// Writes all bytes to standard output. A reader that has gone is an error like any other.
/// \throws Failure with ExitCode::Output, ExitCode::Aborted on an interrupt
void writeStandardOutput(std::span<const uint8_t> bytes);

} // namespace velmont::cli
