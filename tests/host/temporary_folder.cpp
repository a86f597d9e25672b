#include "tests/host/temporary_folder.h"
#include <algorithm>
#include <fstream>
#include <iterator>
#include <random>
#include <stdexcept>

namespace velmont::testing {

namespace fs = std::filesystem;

TemporaryFolder::TemporaryFolder()
{
    std::random_device random;
    do {
        std::string name = "velmont-host-";
        name.append(std::to_string(random()));
        path_ = fs::canonical(fs::temp_directory_path()) / name;
    } while (!fs::create_directory(path_));
}

TemporaryFolder::~TemporaryFolder()
{
    std::error_code ignored;
    fs::remove_all(path_, ignored);
}

std::string TemporaryFolder::hostPath() const
{
    std::string path = path_.string();
    std::replace(path.begin(), path.end(), '/', '\\');
    if (path_.has_root_name())
        return path;
    return path.insert(0, "c:");
}

void TemporaryFolder::write(const std::string &inside, const std::string &bytes) const
{
    std::ofstream file(path_ / inside, std::ios::binary);
    file << bytes;
    if (!file)
        throw std::runtime_error("cannot write " + inside);
}

std::string TemporaryFolder::read(const std::string &inside) const
{
    std::ifstream file(path_ / inside, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

void TemporaryFolder::makeFolder(const std::string &inside) const
{
    fs::create_directories(path_ / inside);
}

} // namespace velmont::testing
