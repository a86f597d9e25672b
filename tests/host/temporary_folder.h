#pragma once

/// \file
/// A real folder for tests of files.

#include <filesystem>
#include <string>

namespace velmont::testing {

/// An empty folder of this test's own, removed with all that is in it at the end.
class TemporaryFolder {
public:
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder &) = delete;
    TemporaryFolder &operator=(const TemporaryFolder &) = delete;

    const std::filesystem::path &path() const { return path_; }
    /// The folder as a host writes it: with a drive and backslashes, without one at its end.
    std::string hostPath() const;
    /// Something in the folder as a host writes it.
    std::string hostPath(const std::string &inside) const { return hostPath().append("\\").append(inside); }
    /// Makes a file with these bytes.
    void write(const std::string &inside, const std::string &bytes) const;
    std::string read(const std::string &inside) const;
    void makeFolder(const std::string &inside) const;

private:
    std::filesystem::path path_;
};

} // namespace velmont::testing
