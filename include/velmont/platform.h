#pragma once

/// \file
/// Services of the system that a host may replace: the cursor and the keyboard.
///
/// Without an installation the library uses the system's own where there is one and does nothing elsewhere.

#include <velmont/export.h>

/// Cursor and key numbers as the services receive them.
enum {
    VELMONT_CURSOR_ARROW = 32512,
    VELMONT_CURSOR_WAIT = 32514,
    VELMONT_KEY_ESCAPE = 27,
};

/// The operations. A null member keeps the library's own.
typedef struct VelmontPlatformServices {
    unsigned int
        structBytes; ///< sizeof(VelmontPlatformServices), so that hosts of earlier versions stay welcome
    void *context;   ///< handed to each call as it stands
    /// Shows a cursor: VELMONT_CURSOR_WAIT while an effect works, VELMONT_CURSOR_ARROW afterwards.
    void (*setCursor)(void *context, int cursor);
    /// The 16-bit state of a key; any set bit means down now or pressed since the last query.
    short (*keyState)(void *context, int key);
} VelmontPlatformServices;

#ifdef __cplusplus
extern "C" {
#endif

/// Installs services for the process. The record is copied; its context and functions must outlive their use.
/// Call it while no effect runs.
/// \param services null brings the library's own back
/// \return 1; 0, and nothing changes, when structBytes is too small to hold structBytes and context
VELMONT_API int VelmontInstallPlatformServices(const VelmontPlatformServices *services);

#ifdef __cplusplus
}
#endif
