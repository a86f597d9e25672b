#include "platform/services.h"
#include <array>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <velmont/host.h>

namespace velmont {

namespace {

/// The header of a bitmap file, of which only the two reserved words matter here.
using FileHeader = std::array<unsigned char, 14>;
constexpr std::size_t kWord1 = 6;
constexpr std::size_t kWord2 = 8;

constexpr uint16_t kBrushWord = 0x5242;  // "BR"
constexpr uint16_t kStampWord1 = 0x5453; // "ST"
constexpr uint16_t kStampWord2 = 0x4D41; // "AM"

constexpr int kCannotOpen = -1;
constexpr int kCannotRead = -2;
constexpr int kCannotWrite = -3;

struct CloseFile {
    void operator()(std::FILE *file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

File open(const char *path, const char *mode)
{
    return File(path ? openFile(path, mode) : nullptr);
}

bool readHeader(std::FILE *file, FileHeader &header)
{
    return std::fread(header.data(), header.size(), 1, file) == 1;
}

/// Written through to the system, so that a full disk is not taken for success.
bool writeHeader(std::FILE *file, const FileHeader &header)
{
    return std::fseek(file, 0, SEEK_SET) == 0 && std::fwrite(header.data(), header.size(), 1, file) == 1 &&
           std::fflush(file) == 0;
}

uint16_t wordAt(const FileHeader &header, std::size_t offset)
{
    return static_cast<uint16_t>(header[offset] | header[offset + 1] << 8);
}

void setWord(FileHeader &header, std::size_t offset, unsigned word)
{
    header[offset] = static_cast<unsigned char>(word & 0xFF);
    header[offset + 1] = static_cast<unsigned char>(word >> 8 & 0xFF);
}

template <typename Value>
void storeIfWanted(Value *target, unsigned value)
{
    if (target)
        *target = static_cast<Value>(value);
}

} // namespace

} // namespace velmont

using namespace velmont;

int BmfhSetUserData(char const *path, unsigned short word1, unsigned short word2)
{
    const File file = open(path, "r+b");
    if (!file)
        return kCannotOpen;
    FileHeader header;
    if (!readHeader(file.get(), header))
        return kCannotRead;
    setWord(header, kWord1, word1);
    setWord(header, kWord2, word2);
    return writeHeader(file.get(), header) ? 0 : kCannotWrite;
}

int BmfhGetUserData(char const *path, unsigned short *word1, unsigned short *word2)
{
    const File file = open(path, "rb");
    if (!file)
        return kCannotOpen;
    FileHeader header;
    if (!readHeader(file.get(), header))
        return kCannotRead;
    storeIfWanted(word1, wordAt(header, kWord1));
    storeIfWanted(word2, wordAt(header, kWord2));
    return 0;
}

int TagBrushFile(char *path, unsigned char first, unsigned char second)
{
    return BmfhSetUserData(path, kBrushWord, static_cast<unsigned short>(second << 8 | first)) == 0 ? 1 : 0;
}

int IsTaggedBrushFile(char *path, unsigned char *first, unsigned char *second)
{
    unsigned short word1 = 0, word2 = 0;
    if (BmfhGetUserData(path, &word1, &word2) != 0 || word1 != kBrushWord)
        return 0;
    storeIfWanted(first, word2 & 0xFFu);
    storeIfWanted(second, word2 >> 8 & 0xFFu);
    return 1;
}

int TagStampFile(char *path)
{
    return BmfhSetUserData(path, kStampWord1, kStampWord2) == 0 ? 1 : 0;
}

int IsTaggedStampFile(char *path)
{
    unsigned short word1 = 0, word2 = 0;
    const bool read = BmfhGetUserData(path, &word1, &word2) == 0;
    return read && word1 == kStampWord1 && word2 == kStampWord2 ? 1 : 0;
}
