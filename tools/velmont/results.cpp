#include "results.h"
#include "exit_codes.h"
#include "text.h"
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace velmont::cli {

namespace {

[[noreturn]] void endUnread()
{
    std::signal(SIGPIPE, SIG_DFL);
    std::raise(SIGPIPE);
    std::_Exit(128 + SIGPIPE); // where the signal is blocked
}

} // namespace

void print(std::string_view text)
{
    if (std::fwrite(text.data(), 1, text.size(), stdout) == text.size() && std::fflush(stdout) == 0)
        return;
    if (errno == EPIPE)
        endUnread();
    throw Failure(ExitCode::Output, concat("standard output cannot be written: ", std::strerror(errno)));
}

} // namespace velmont::cli
