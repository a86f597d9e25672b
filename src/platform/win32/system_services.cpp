#include "platform/services.h"
#include <windows.h>

namespace velmont {

namespace {

void setSystemCursor(void *, int cursor)
{
    SetCursor(LoadCursorA(nullptr, MAKEINTRESOURCEA(cursor)));
}

short systemKeyState(void *, int key)
{
    return GetAsyncKeyState(key);
}

} // namespace

const VelmontPlatformServices &systemServices()
{
    static const VelmontPlatformServices services{sizeof(VelmontPlatformServices), nullptr, setSystemCursor,
                                                  systemKeyState};
    return services;
}

} // namespace velmont
