#pragma once

/// \file
/// How many images are worth working on at a time: a process for each core, as long as memory holds them.

#include <cstdint>
#include <filesystem>
#include <optional>
#include <span>

namespace velmont::cli {

/// Never more than this, whatever is asked for.
inline constexpr unsigned kMostWorkers = 256;

/// Cores that this process may use: by its affinity, and by its control groups' share of time. At least 1.
unsigned usableCores(const std::filesystem::path &root = "/");

/// Bytes that can be taken before the system or a control group runs short, where that can be told.
/// \param root of the file system that /proc and /sys are looked for in
std::optional<uint64_t> availableMemory(const std::filesystem::path &root = "/");

/// What an image may take at its peak: the file, and a few times its pixels in full colour, for the image, the
/// result, an effect's own memory and the encoded file. The size is the one that the file declares; of other files
/// a multiple of their length.
uint64_t estimatedMemory(const std::filesystem::path &input);

/// As many processes as there are cores, less when the largest image would not fit so often into the memory that is
/// available; at least one, and no more than images.
unsigned workersFor(std::span<const std::filesystem::path> inputs);

} // namespace velmont::cli
