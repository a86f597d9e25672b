#pragma once

/// \file
/// The progress bar: one line on standard error, rewritten while an effect runs and cleared behind it.

#include <cstddef>
#include <string>
#include <string_view>

namespace velmont::cli {

/// One line of progress that fits into a width: title, bar and percentage. Where there is no room for all,
/// the bar goes first and then the title's end.
std::string progressLine(std::string_view title, int percent, std::size_t columns);

/// That line on standard error, rewritten in place; it is removed behind it. Anywhere but on a terminal it stays silent.
class ProgressLine {
public:
    /// \param wanted false keeps it silent on a terminal too
    explicit ProgressLine(bool wanted = true);
    ~ProgressLine() { clear(); }
    ProgressLine(const ProgressLine &) = delete;
    ProgressLine &operator=(const ProgressLine &) = delete;

    bool isVisible() const { return visible_; }
    void show(std::string_view title, int percent);
    /// Removes the line, so that other text can be written.
    void clear();

private:
    bool visible_;
    bool shown_ = false;
};

/// Shows the progress of the library's effects while it lives, on a terminal; anywhere else it stays silent.
/// The library is told to ask for interrupts in any case. One lives at a time: the library knows one
/// callback.
class Progress {
public:
    /// \param wanted false keeps it silent on a terminal too
    explicit Progress(bool wanted);
    ~Progress();
    Progress(const Progress &) = delete;
    Progress &operator=(const Progress &) = delete;

    /// What the line is about from now on.
    void begin(std::string title);
    /// Removes the line, so that other text can be written.
    void clear() { line_.clear(); }

private:
    static void report(int percent);
    void show(int percent);

    ProgressLine line_;
    std::string title_;
    int percent_ = -1;
};

} // namespace velmont::cli
