#include <velmont/environment.h>

#include "platform/services.h"

namespace {

int (*abortCallback)(void) = nullptr;
void (*progressCallback)(int) = nullptr;
int progressEnabled = 1;
int abortEnabled = 1;

} // namespace

void SetProcessEnvironment(int (*abortFn)(void), void (*progressFn)(int))
{
    abortCallback = abortFn;
    progressCallback = progressFn;
}

void ShowImageProcessing(int percent)
{
    if (progressEnabled != 0 && progressCallback)
        progressCallback(percent);
}

int AbortImageProcessing(void)
{
    if (abortEnabled == 0)
        return 0;
    if (abortCallback)
        return abortCallback();
    return velmont::escapeKeyState() != 0 ? 1 : 0;
}

int EnableAbort(int enable)
{
    const int previous = abortEnabled;
    abortEnabled = enable;
    return previous;
}

int EnableProgressMeter(int enable)
{
    progressEnabled = enable;
    // Not the meter's own previous value: hosts rely on it.
    return abortEnabled;
}
