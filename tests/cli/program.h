#pragma once

/// \file
/// Runs the built program as a person or a script does.

#include <filesystem>
#include <functional>
#include <string>
#include <sys/types.h>
#include <vector>

namespace velmont::test {

/// How a run ended and what it said.
struct Outcome {
    int exitCode = -1; ///< -1 when a signal ended the program
    int signal = 0;    ///< that signal
    std::string out;   ///< standard output
    std::string err;   ///< standard error: a file, or the terminal
};

/// Where standard error goes.
enum class Terminal { No, Yes };
inline constexpr int kTerminalColumns = 50;
/// Whether this system has pseudo terminals to run programs in; some containers have none.
bool hasTerminals();

/// One run of a program; it is killed when it takes more than a minute or is left behind.
class Program {
public:
    /// Starts it.
    /// \param folder the working folder
    /// \param command the program's path and its arguments
    Program(const std::filesystem::path &folder, const std::vector<std::string> &command,
            Terminal terminal = Terminal::No);
    ~Program();
    Program(const Program &) = delete;
    Program &operator=(const Program &) = delete;

    void send(int signal) const;
    /// To the program and all processes that it started, as a terminal does.
    void sendToGroup(int signal) const;
    /// The processes that it started and that are alive.
    std::vector<pid_t> children() const;
    /// Waits until it has started as many.
    bool waitForChildren(std::size_t count);
    /// Waits until the program would survive a signal, because it looks after it.
    bool waitUntilCatching(int signal);
    /// Waits until it does so no more.
    bool waitUntilNotCatching(int signal);
    /// Waits until the terminal shows a text.
    bool waitUntilShown(const std::string &text);
    /// Waits for the end.
    Outcome finish();

private:
    bool ended();
    void readTerminal();

    pid_t process_ = -1;
    int output_ = -1, error_ = -1, terminal_ = -1;
    bool ended_ = false;
    int status_ = 0;
    std::string shown_;
};

/// Looks again and again, a minute at most. \return whether the condition came true
bool waitUntil(const std::function<bool()> &condition);
/// Whether a process is there, and not only the memory of how it ended.
bool isAlive(pid_t process);

/// The path of the command line that was built.
std::string programPath();

} // namespace velmont::test
