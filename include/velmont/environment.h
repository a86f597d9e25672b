#pragma once

/// \file
/// The processing environment: how a host follows an effect and stops it.
///
/// While an effect runs it calls the two callbacks on the caller's thread. Four variables are the whole state
/// of the environment; they live for the process, no effect changes them, and nothing resets them. The
/// library is built for one effect at a time.

#include <velmont/export.h>

/// Installs the callbacks; either may be null. They cannot be read back.
/// \param abortFn asked before each row; any value but 0 aborts the effect, which then returns 0. Null: the
/// Escape key is asked, which counts a press since the last query too.
/// \param progressFn told the percentage done, 0 to 100; 100 comes at the end, after an abort too.
VELMONT_API void SetProcessEnvironment(int (*abortFn)(void), void (*progressFn)(int));

/// Reports progress: calls the progress callback with `percent` unless the meter is off or there is none.
VELMONT_API void ShowImageProcessing(int percent);

/// Asks whether to abort.
/// \return 0 when aborting is disabled (nothing is asked); else what the abort callback returns, unchanged;
/// with no callback 1 when the Escape key's state has any bit set, else 0.
VELMONT_API int AbortImageProcessing(void);

/// Switches aborting on (any value but 0, the start) or off.
/// \return the previous value of the switch.
VELMONT_API int EnableAbort(int enable);

/// Switches the progress meter on (any value but 0, the start) or off.
/// \return the value of the abort switch, not of this one: hosts rely on the asymmetry with EnableAbort.
VELMONT_API int EnableProgressMeter(int enable);
