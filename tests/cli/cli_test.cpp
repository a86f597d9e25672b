#include "cli_test.h"
#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace velmont::test {

namespace fs = std::filesystem;

CliTest::CliTest()
{
    std::string name = (fs::temp_directory_path() / "velmont-cli-XXXXXX").string();
    if (!mkdtemp(name.data()))
        throw std::runtime_error("no temporary folder");
    folder_ = name;
    setenv("NO_COLOR", "1", 1); // what is said on a terminal is compared as plain text
}

CliTest::~CliTest()
{
    std::error_code ignored;
    fs::remove_all(folder_, ignored);
}

std::vector<std::string> CliTest::command(const std::vector<std::string> &arguments)
{
    std::vector<std::string> words{programPath()};
    words.insert(words.end(), arguments.begin(), arguments.end());
    return words;
}

Outcome CliTest::run(const std::vector<std::string> &arguments) const
{
    return Program(folder_, command(arguments)).finish();
}

std::vector<std::string> CliTest::files() const
{
    std::vector<std::string> names;
    for (const fs::directory_entry &entry : fs::directory_iterator(folder_))
        names.push_back(entry.path().filename().string());
    std::ranges::sort(names);
    return names;
}

std::string CliTest::textOf(const std::string &name) const
{
    std::ifstream stream(file(name), std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

void CliTest::writeText(const std::string &name, const std::string &text) const
{
    std::ofstream(file(name), std::ios::binary) << text;
}

void CliTest::expectRefusal(const std::vector<std::string> &arguments, int exitCode,
                            const std::string &line) const
{
    const Outcome outcome = run(arguments);
    EXPECT_EQ(outcome.exitCode, exitCode);
    EXPECT_EQ(outcome.err, "velmont: " + line + "\n");
    EXPECT_EQ(outcome.out, "");
}

void CliTest::expectSilence(const std::vector<std::string> &arguments) const
{
    const Outcome outcome = run(arguments);
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(outcome.out, "");
}

} // namespace velmont::test
