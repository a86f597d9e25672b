#pragma once

/// \file
/// What every test of the program begins with: a fresh folder, and a way to run commands in it.

#include "pictures.h"
#include "program.h"
#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace velmont::test {

class CliTest : public testing::Test {
protected:
    CliTest();
    ~CliTest() override;

    /// Runs `velmont` with these arguments in the folder.
    Outcome run(const std::vector<std::string> &arguments) const;
    /// The command that `run` runs.
    static std::vector<std::string> command(const std::vector<std::string> &arguments);

    std::filesystem::path file(const std::string &name) const { return folder_ / name; }
    const std::filesystem::path &folder() const { return folder_; }
    /// The names of all files of the folder, sorted.
    std::vector<std::string> files() const;
    std::string textOf(const std::string &name) const;
    void writeText(const std::string &name, const std::string &text) const;

    /// Expects a refusal: the exit code, one line on standard error, nothing on standard output.
    void expectRefusal(const std::vector<std::string> &arguments, int exitCode,
                       const std::string &line) const;
    /// Expects success without a word.
    void expectSilence(const std::vector<std::string> &arguments) const;

private:
    std::filesystem::path folder_;
};

} // namespace velmont::test
