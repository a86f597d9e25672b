#include "standard_streams.h"
#include "exit_codes.h"
#include "interrupt.h"
#include "text.h"
#include <cerrno>
#include <csignal>
#include <poll.h>
#include <system_error>
#include <unistd.h>

namespace velmont::cli {

namespace {

std::string textOf(int error)
{
    return std::error_code(error, std::generic_category()).message();
}

/// Waits until a stream can be used, so that an interrupt is not left waiting for the other side of a pipe.
void waitFor(int stream, short event)
{
    constexpr int kMilliseconds = 100;
    pollfd waited{stream, event, 0};
    while (poll(&waited, 1, kMilliseconds) <= 0)
        stopIfInterrupted();
}

/// Lets a write to a pipe without a reader fail instead of ending the program.
class NoBrokenPipe {
public:
    NoBrokenPipe() : before_(std::signal(SIGPIPE, SIG_IGN)) {}
    ~NoBrokenPipe() { std::signal(SIGPIPE, before_); }
    NoBrokenPipe(const NoBrokenPipe &) = delete;
    NoBrokenPipe &operator=(const NoBrokenPipe &) = delete;

private:
    void (*before_)(int);
};

} // namespace

bool isStandardStream(const std::filesystem::path &name)
{
    return name == "-";
}

std::string inputName(const std::filesystem::path &input)
{
    return isStandardStream(input) ? "standard input" : input.string();
}

std::vector<uint8_t> readStandardInput()
{
    constexpr std::size_t kPart = std::size_t{1} << 18;
    if (isatty(STDIN_FILENO) == 1)
        throw Failure(ExitCode::Usage,
                      "standard input is a terminal; \"-\" reads an image from a pipe or a file");
    std::vector<uint8_t> bytes;
    std::size_t size = 0;
    for (;;) {
        if (bytes.size() < size + kPart)
            bytes.resize(2 * bytes.size() + kPart);
        waitFor(STDIN_FILENO, POLLIN);
        const ssize_t got = read(STDIN_FILENO, bytes.data() + size, bytes.size() - size);
        if (got == 0)
            break;
        if (got < 0 && errno != EINTR && errno != EAGAIN)
            throw Failure(ExitCode::Input, concat("standard input: cannot be read: ", textOf(errno)));
        size += got > 0 ? static_cast<std::size_t>(got) : 0;
        if (size > kMostPipedBytes)
            throw Failure(ExitCode::Input, "standard input: is longer than 1 GiB; give a file instead");
    }
    bytes.resize(size);
    return bytes;
}

void requirePipedOutput()
{
    if (isatty(STDOUT_FILENO) == 1)
        throw Failure(ExitCode::Usage,
                      "standard output is a terminal; pipe the image on, or name a file with -o FILE");
}

void writeStandardOutput(std::span<const uint8_t> bytes)
{
    const NoBrokenPipe noBrokenPipe;
    while (!bytes.empty()) {
        waitFor(STDOUT_FILENO, POLLOUT);
        const ssize_t written = write(STDOUT_FILENO, bytes.data(), bytes.size());
        if (written < 0 && errno != EINTR && errno != EAGAIN)
            throw Failure(ExitCode::Output, concat("standard output: cannot be written: ", textOf(errno)));
        bytes = bytes.subspan(written > 0 ? static_cast<std::size_t>(written) : 0);
    }
}

} // namespace velmont::cli
