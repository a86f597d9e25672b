#include "platform/services.h"

namespace velmont {

namespace {

// A terminal process has neither a cursor shape nor a key state to ask.
void ignoreCursor(void *, int) {}

short noKeyState(void *, int)
{
    return 0;
}

} // namespace

const VelmontPlatformServices &systemServices()
{
    static const VelmontPlatformServices services{sizeof(VelmontPlatformServices), nullptr, ignoreCursor,
                                                  noKeyState};
    return services;
}

} // namespace velmont
