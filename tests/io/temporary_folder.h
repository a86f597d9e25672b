#pragma once

/// \file
/// A folder of its own for a test.

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <vector>

namespace velmont::io::testing {

/// An empty folder that is removed with all that is in it.
class TemporaryFolder {
public:
    TemporaryFolder()
    {
        std::string pattern = (std::filesystem::temp_directory_path() / "velmont-test-XXXXXX").string();
        if (!::mkdtemp(pattern.data()))
            throw std::runtime_error("cannot make a folder for the test");
        path_ = pattern;
    }
    ~TemporaryFolder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    TemporaryFolder(const TemporaryFolder &) = delete;
    TemporaryFolder &operator=(const TemporaryFolder &) = delete;

    const std::filesystem::path &path() const { return path_; }

    /// Puts a file into the folder.
    std::filesystem::path write(const std::string &name, const std::vector<uint8_t> &bytes) const
    {
        std::ofstream stream(path_ / name, std::ios::binary);
        stream.write(reinterpret_cast<const char *>(bytes.data()),
                     static_cast<std::streamsize>(bytes.size()));
        return path_ / name;
    }

    std::vector<uint8_t> read(const std::string &name) const
    {
        std::ifstream stream(path_ / name, std::ios::binary);
        return std::vector<uint8_t>(std::istreambuf_iterator<char>(stream), {});
    }

    /// How many things are in the folder.
    std::size_t count() const
    {
        return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(path_), {}));
    }

private:
    std::filesystem::path path_;
};

} // namespace velmont::io::testing
