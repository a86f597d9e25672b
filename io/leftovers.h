#pragma once

/// \file
/// What a process leaves behind when it is killed while it writes a file.

#include <filesystem>
#include <sys/types.h>

namespace velmont::io {

/// Removes the temporary files that a process which has ended began in a folder.
/// \param folder empty for the current one
void removeLeftovers(const std::filesystem::path &folder, pid_t process) noexcept;

} // namespace velmont::io
