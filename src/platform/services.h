#pragma once

/// \file
/// The operations of the system that the library needs, as installed by the host or as the system has them.

#include <velmont/platform.h>

namespace velmont {

/// The library's own services on this system; every member is set.
const VelmontPlatformServices &systemServices();

void showWaitCursor();
void showArrowCursor();
/// The 16-bit state of the Escape key.
short escapeKeyState();

} // namespace velmont
