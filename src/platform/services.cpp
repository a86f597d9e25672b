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
    constexpr std::size_t kFirstMember = offsetof(VelmontPlatformServices, setCursor);
    if (services->structBytes < kFirstMember)
        return 0;
    // A host of an earlier version has a shorter record: what it lacks, half members included, stays null
    // here and is filled in below.
    const std::size_t known = std::min<std::size_t>(services->structBytes, sizeof(VelmontPlatformServices));
    const std::size_t members = (known - kFirstMember) / sizeof(services->setCursor);
    VelmontPlatformServices merged{};
    std::memcpy(&merged, services, kFirstMember + members * sizeof(services->setCursor));
    if (!merged.setCursor)
        merged.setCursor = systemServices().setCursor;
    if (!merged.keyState)
        merged.keyState = systemServices().keyState;
    installed() = merged;
    return 1;
}
