#pragma once

/// \file
/// What became of one image: for programs as JSON, for people as lines of times.

#include "step_time.h"
#include <filesystem>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

namespace velmont::cli {

/// The form of a picture.
struct PictureShape {
    int width = 0, height = 0;
    unsigned depth = 0; ///< one of catalogue::Depth
};

PictureShape shapeOf(void *dib);
/// "4000 x 3000, 24-bit"
std::string shapeText(const PictureShape &shape);

/// An image whose result was written, or of which a dry run tells what would be done.
struct JobReport {
    std::filesystem::path input, output;
    PictureShape before, after;              ///< in a dry run both are the input's
    std::vector<StepTime> steps;             ///< in the order in which they ran
    double readSeconds = 0;                  ///< from opening the file to the picture in memory
    double writeSeconds = 0;                 ///< of all files that were written
    double seconds = 0;                      ///< all in all
    std::vector<std::string> notes;          ///< those that were said
    std::vector<std::filesystem::path> made; ///< files written besides the output
    std::vector<std::string> plan;           ///< lines of a dry run; empty in any other
};

/// An image that came to nothing.
struct JobFailure {
    std::filesystem::path input;
    int code = 0; ///< the exit code that the failure alone would give
    std::string error;
};

/// As an object. Bytes of names that are not UTF-8 are replaced by U+FFFD:
///
///     {"input": "a.jpg", "output": "b.png",
///      "before": {"width": 640, "height": 480, "depth": "24-bit"}, "after": {...},
///      "steps": [{"effect": "negative", "seconds": 0.001, "pixels": 307200}, ...],
///      "readSeconds": 0.01, "writeSeconds": 0.02, "seconds": 0.031, "notes": ["..."], "made": ["mask.png"]}
///
/// A dry run gives {"input", "output", "before", "plan": ["read ...", ...], "notes", "made"}.
nlohmann::ordered_json toJson(const JobReport &report);
/// {"input": "a.jpg", "code": 3, "error": "a.jpg: ..."}
nlohmann::ordered_json toJson(const JobFailure &failure);

/// The whole of what --json prints: {"results": [...], "failed": [...]}, with a line end behind it.
std::string resultsText(const std::vector<nlohmann::ordered_json> &results,
                        const std::vector<nlohmann::ordered_json> &failed);

/// What --timing says, a line each for reading, every effect, writing and the whole:
/// "a.jpg: negative: 12.3 ms, 975 MP/s".
std::vector<std::string> timingLines(const JobReport &report);

/// A text as JSON takes it: what is not UTF-8 becomes U+FFFD.
std::string asUtf8(const std::string &text);

} // namespace velmont::cli
