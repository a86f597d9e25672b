#include "progress.h"
#include "interrupt.h"
#include "text.h"
#include <algorithm>
#include <cstdio>
#include <sys/ioctl.h>
#include <unistd.h>
#include <utility>
#include <velmont/environment.h>

namespace velmont::cli {

namespace {

Progress *current = nullptr;

/// Ctrl-C is echoed behind the line as two characters.
constexpr std::size_t kEchoColumns = 2;

/// The width of the terminal, less the last column, where some wrap.
std::size_t terminalColumns()
{
    winsize size{};
    if (ioctl(STDERR_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col < 2)
        return 79;
    return size.ws_col - 1u;
}

/// Carriage returns and blanks are all that is ever written, which every terminal understands.
void put(const std::string &text)
{
    std::fwrite(text.data(), 1, text.size(), stderr);
    std::fflush(stderr);
}

} // namespace

std::string progressLine(std::string_view title, int percent, std::size_t columns)
{
    constexpr std::size_t percentColumns = 4, frameColumns = 4, shortestBar = 5, longestBar = 40;
    const std::string digits = std::to_string(std::clamp(percent, 0, 100));
    const std::string number = concat(std::string(3 - digits.size(), ' '), digits, "%");
    if (columns <= percentColumns)
        return number.substr(0, columns);
    if (columns < title.size() + frameColumns + shortestBar + percentColumns)
        return concat(title.substr(0, columns - percentColumns - 1), " ", number);
    const std::size_t bar = std::min(longestBar, columns - title.size() - frameColumns - percentColumns);
    const std::size_t done = bar * static_cast<std::size_t>(std::clamp(percent, 0, 100)) / 100;
    return concat(title, " [", std::string(done, '#'), std::string(bar - done, '.'), "] ", number);
}

ProgressLine::ProgressLine(bool wanted) : visible_(wanted && isatty(STDERR_FILENO) == 1) {}

void ProgressLine::show(std::string_view title, int percent)
{
    if (!visible_)
        return;
    const std::size_t columns = terminalColumns();
    put(concat("\r", progressLine(title, percent, columns - std::min(columns, kEchoColumns))));
    shown_ = true;
}

void ProgressLine::clear()
{
    if (!shown_)
        return;
    put(concat("\r", std::string(terminalColumns(), ' '), "\r"));
    shown_ = false;
}

Progress::Progress(bool wanted) : line_(wanted)
{
    current = this;
    SetProcessEnvironment(interruptRequested, line_.isVisible() ? report : nullptr);
}

Progress::~Progress()
{
    SetProcessEnvironment(nullptr, nullptr);
    current = nullptr;
}

void Progress::begin(std::string title)
{
    title_ = std::move(title);
    percent_ = -1;
}

void Progress::report(int percent)
{
    if (current)
        current->show(percent);
}

void Progress::show(int percent)
{
    if (percent == percent_)
        return;
    percent_ = percent;
    line_.show(title_, percent);
}

} // namespace velmont::cli
