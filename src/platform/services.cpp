#include "platform/services.h"
#include <algorithm>
#include <cstddef>
#include <cstring>

namespace velmont {

namespace {

VelmontPlatformServices &installed()
{
    static VelmontPlatformServices services = systemServices();
    return services;
}

void setCursor(int cursor)
{
    installed().setCursor(installed().context, cursor);
}

} // namespace

void showWaitCursor()
{
    setCursor(VELMONT_CURSOR_WAIT);
}

void showArrowCursor()
{
    setCursor(VELMONT_CURSOR_ARROW);
}

short escapeKeyState()
{
    return installed().keyState(installed().context, VELMONT_KEY_ESCAPE);
}

} // namespace velmont

using namespace velmont;

int VelmontInstallPlatformServices(const VelmontPlatformServices *services)
{
    if (!services) {
        installed() = systemServices();
        return 1;
    }
    if (services->structBytes < offsetof(VelmontPlatformServices, setCursor))
        return 0;
    // A host of an earlier version has a shorter record: what it lacks stays null here and is filled in
    // below.
    VelmontPlatformServices merged{};
    std::memcpy(&merged, services, std::min<std::size_t>(services->structBytes, sizeof merged));
    if (!merged.setCursor)
        merged.setCursor = systemServices().setCursor;
    if (!merged.keyState)
        merged.keyState = systemServices().keyState;
    installed() = merged;
    return 1;
}
