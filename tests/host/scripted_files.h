#pragma once

/// \file
/// File services that find what a test tells them to, and note what they are asked.

#include <map>
#include <set>
#include <string>
#include <vector>

namespace velmont::testing {

/// Installs the services for as long as it lives. Notes "find P", "next", "close", "make P", "attributes P" in the
/// order of the calls. The library's own services are back afterwards.
class ScriptedFiles {
public:
    ScriptedFiles();
    ~ScriptedFiles();
    ScriptedFiles(const ScriptedFiles &) = delete;
    ScriptedFiles &operator=(const ScriptedFiles &) = delete;

    /// What a search for a pattern finds, in order; no search for another pattern starts.
    std::map<std::string, std::vector<std::string>> found;
    std::set<std::string> directories;
    std::vector<std::string> events;
    /// Searches started and not closed.
    int open = 0;

    int count(const std::string &event) const;
};

} // namespace velmont::testing
