#pragma once

/// \file
/// The notes of a run, kept for its report.

#include <string>
#include <string_view>
#include <vector>

namespace velmont::cli {

/// Keeps the notes that are said while it lives. One lives at a time.
class KeptNotes {
public:
    KeptNotes();
    ~KeptNotes();
    KeptNotes(const KeptNotes &) = delete;
    KeptNotes &operator=(const KeptNotes &) = delete;

    const std::vector<std::string> &lines() const { return lines_; }

    /// Hands a note to the one that lives, if any.
    static void keep(std::string_view line);

private:
    std::vector<std::string> lines_;
};

} // namespace velmont::cli
