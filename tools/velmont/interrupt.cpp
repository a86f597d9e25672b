#include "interrupt.h"
#include "exit_codes.h"
#include <csignal>

namespace velmont::cli {

namespace {

volatile std::sig_atomic_t requested = 0;
const std::atomic<bool> *sharedFlag = nullptr;

void remember(int)
{
    requested = 1;
}

void watch(int signal)
{
    struct sigaction before {};
    if (sigaction(signal, nullptr, &before) == 0 && before.sa_handler == SIG_IGN)
        return;
    struct sigaction action {};
    action.sa_handler = remember;
    action.sa_flags = static_cast<int>(SA_RESETHAND) | SA_RESTART;
    sigemptyset(&action.sa_mask);
    sigaction(signal, &action, nullptr);
}

} // namespace

void watchInterrupts()
{
    watch(SIGINT);
    watch(SIGTERM);
}

void watchFlag(const std::atomic<bool> *flag)
{
    sharedFlag = flag;
}

int interruptRequested()
{
    return requested != 0 || (sharedFlag && *sharedFlag) ? 1 : 0;
}

bool isInterrupted()
{
    return interruptRequested() != 0;
}

void throwAborted()
{
    throw Failure(ExitCode::Aborted, "aborted");
}

void stopIfInterrupted()
{
    if (isInterrupted())
        throwAborted();
}

} // namespace velmont::cli
