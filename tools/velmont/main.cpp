#include "command_line.h"
#include "exit_codes.h"
#include "notes.h"
#include <csignal>
#include <exception>
#include <new>

using namespace velmont::cli;

namespace {

int fail(ExitCode code, const char *line)
{
    sayError(line);
    return static_cast<int>(code);
}

} // namespace

int main(int argc, char **argv)
{
    // A file above the limit of the shell is an error to be told like that of a full disk.
    std::signal(SIGXFSZ, SIG_IGN);
    try {
        runCommandLine({argv + (argc > 0 ? 1 : 0), argv + argc});
        return static_cast<int>(ExitCode::Success);
    } catch (const Failure &failure) {
        return fail(failure.code(), failure.what());
    } catch (const std::bad_alloc &) {
        return fail(ExitCode::NoResult, "out of memory");
    } catch (const std::exception &error) {
        return fail(ExitCode::NoResult, error.what());
    }
}
