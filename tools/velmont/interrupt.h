#pragma once

/// \file
/// Ctrl-C: the first one asks for an orderly end, the second one ends at once.

#include <atomic>

namespace velmont::cli {

/// Makes SIGINT and SIGTERM remembered instead of deadly, once each. A signal that the program was started
/// with ignored stays ignored.
void watchInterrupts();

/// Takes a flag that another process sets for one more such signal.
/// \param flag shared with it, and alive as long as this process asks
void watchFlag(const std::atomic<bool> *flag);

/// Whether one of them came: an abort callback of the library.
/// \return 1 or 0
int interruptRequested();

/// The same as a yes or no.
bool isInterrupted();

/// \throws Failure with ExitCode::Aborted
[[noreturn]] void throwAborted();

/// \throws Failure with ExitCode::Aborted when one of them came
void stopIfInterrupted();

} // namespace velmont::cli
