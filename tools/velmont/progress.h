#pragma once

/// \file
/// The progress bar: one line on standard error, rewritten while an effect runs and cleared behind it.

#include <atomic>
#include <cstddef>
#include <string>
#include <string_view>

namespace velmont::cli {

/// One line of progress that fits into a width: title, bar and percentage. Where there is no room for all,
/// the bar goes first and then the title's end.
std::string progressLine(std::string_view title, int percent, std::size_t columns);

/// A line on a terminal that is written over and over again and cleared in the end.
class StatusLine {
public:
    /// \param wanted false keeps it silent on a terminal too
    explicit StatusLine(bool wanted);
    ~StatusLine() { clear(); }
    StatusLine(const StatusLine &) = delete;
    StatusLine &operator=(const StatusLine &) = delete;

    /// Whether anybody sees it.
    bool isVisible() const { return visible_; }
    /// The columns that a line may have.
    static std::size_t columns();
    /// Shows a line of columns() at most in place of the one before.
    void show(std::string line);
    /// Removes the line, so that other text can be written.
    void clear();

private:
    bool visible_;
    std::string shown_;
};

/// From now on the progress of effects goes there instead of a terminal: 100 for each effect that is done, and the
/// percentage of the one that runs. \param hundredths shared with another process
void sendProgressTo(std::atomic<int> *hundredths);

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

    StatusLine line_;
    std::string title_;
    int percent_ = -1;
    int effectsBegun_ = 0;
};

} // namespace velmont::cli
