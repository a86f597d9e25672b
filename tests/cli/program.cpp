#include "program.h"
#include <array>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <pty.h>
#include <spawn.h>
#include <stdexcept>
#include <sys/mman.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace velmont::test {

namespace {

using Clock = std::chrono::steady_clock;

int emptyFile(const char *name)
{
    const int file = memfd_create(name, MFD_CLOEXEC);
    if (file < 0)
        throw std::runtime_error("no file for the program's output");
    return file;
}

std::string contents(int file)
{
    std::string text;
    std::array<char, 4096> part;
    for (off_t at = 0;;) {
        const ssize_t got = pread(file, part.data(), part.size(), at);
        if (got <= 0)
            return text;
        text.append(part.data(), static_cast<std::size_t>(got));
        at += got;
    }
}

/// A shell's child: default signals, the standard files at their places.
pid_t spawn(const std::filesystem::path &folder, const std::vector<std::string> &command, int output,
            int error)
{
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, error, STDERR_FILENO);
    posix_spawn_file_actions_addchdir_np(&actions, folder.c_str());
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    sigset_t signals;
    sigfillset(&signals);
    posix_spawnattr_setsigdefault(&attributes, &signals);
    sigemptyset(&signals);
    posix_spawnattr_setsigmask(&attributes, &signals);
    posix_spawnattr_setpgroup(&attributes, 0);
    posix_spawnattr_setflags(&attributes,
                             POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETPGROUP);

    std::vector<char *> arguments;
    for (const std::string &word : command)
        arguments.push_back(const_cast<char *>(word.c_str()));
    arguments.push_back(nullptr);
    pid_t process = -1;
    const int failure = posix_spawn(&process, arguments[0], &actions, &attributes, arguments.data(), environ);
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&actions);
    if (failure != 0)
        throw std::runtime_error("cannot start " + command.at(0));
    return process;
}

/// What the system says of a process under a heading; empty when the process is gone.
std::string statusOf(pid_t process, const std::string &heading)
{
    std::ifstream status("/proc/" + std::to_string(process) + "/status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with(heading + ":\t"))
            return line.substr(heading.size() + 2);
    }
    return {};
}

bool catches(pid_t process, int signal)
{
    const std::string caught = statusOf(process, "SigCgt");
    return !caught.empty() && (std::stoull(caught, nullptr, 16) >> (signal - 1) & 1) != 0;
}

} // namespace

bool hasTerminals()
{
    int master = -1, slave = -1;
    if (openpty(&master, &slave, nullptr, nullptr, nullptr) != 0)
        return false;
    close(master);
    close(slave);
    return true;
}

Program::Program(const std::filesystem::path &folder, const std::vector<std::string> &command,
                 Terminal terminal)
{
    output_ = emptyFile("stdout");
    if (terminal == Terminal::Yes) {
        winsize size{};
        size.ws_row = 24;
        size.ws_col = kTerminalColumns;
        if (openpty(&terminal_, &error_, nullptr, nullptr, &size) != 0)
            throw std::runtime_error("no terminal");
        fcntl(terminal_, F_SETFL, O_NONBLOCK);
        fcntl(terminal_, F_SETFD, FD_CLOEXEC);
        fcntl(error_, F_SETFD, FD_CLOEXEC);
    } else {
        error_ = emptyFile("stderr");
    }
    process_ = spawn(folder, command, output_, error_);
}

Program::~Program()
{
    if (!ended_) {
        kill(process_, SIGKILL);
        waitpid(process_, &status_, 0);
    }
    for (const int file : {output_, error_, terminal_}) {
        if (file >= 0)
            close(file);
    }
}

void Program::send(int signal) const
{
    kill(process_, signal);
}

void Program::sendToGroup(int signal) const
{
    kill(-process_, signal);
}

std::vector<pid_t> Program::children() const
{
    std::vector<pid_t> children;
    for (const auto &entry : std::filesystem::directory_iterator("/proc")) {
        const pid_t process = std::atoi(entry.path().filename().c_str());
        if (process > 0 && statusOf(process, "PPid") == std::to_string(process_) && isAlive(process))
            children.push_back(process);
    }
    return children;
}

bool Program::waitForChildren(std::size_t count)
{
    return waitUntil([&] { return children().size() >= count || ended(); }) && !ended_;
}

bool Program::waitUntilCatching(int signal)
{
    return waitUntil([&] { return catches(process_, signal) || ended(); }) && !ended_;
}

bool Program::waitUntilNotCatching(int signal)
{
    return waitUntil([&] { return !catches(process_, signal) || ended(); }) && !ended_;
}

bool Program::waitUntilShown(const std::string &text)
{
    return waitUntil([&] {
               readTerminal();
               return shown_.find(text) != std::string::npos || ended();
           }) &&
           shown_.find(text) != std::string::npos;
}

Outcome Program::finish()
{
    const bool inTime = waitUntil([&] {
        readTerminal();
        return ended();
    });
    if (!inTime)
        throw std::runtime_error("the program does not end");
    readTerminal();
    Outcome outcome;
    if (WIFEXITED(status_))
        outcome.exitCode = WEXITSTATUS(status_);
    else
        outcome.signal = WTERMSIG(status_);
    outcome.out = contents(output_);
    outcome.err = terminal_ >= 0 ? shown_ : contents(error_);
    return outcome;
}

bool Program::ended()
{
    if (!ended_)
        ended_ = waitpid(process_, &status_, WNOHANG) == process_;
    return ended_;
}

void Program::readTerminal()
{
    std::array<char, 4096> part;
    while (terminal_ >= 0) {
        const ssize_t got = read(terminal_, part.data(), part.size());
        if (got <= 0)
            return;
        shown_.append(part.data(), static_cast<std::size_t>(got));
    }
}

bool waitUntil(const std::function<bool()> &condition)
{
    const auto deadline = Clock::now() + std::chrono::minutes(1);
    while (!condition()) {
        if (Clock::now() > deadline)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

bool isAlive(pid_t process)
{
    const std::string state = statusOf(process, "State");
    return !state.empty() && state.front() != 'Z';
}

std::string programPath()
{
    return VELMONT_PROGRAM;
}

} // namespace velmont::test
