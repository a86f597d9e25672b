#include "io/tiff_notes.h"
#include "io/exif_notes.h"
#include <algorithm>
#include <array>
#include <cstddef>
#include <iterator>
#include <utility>

namespace velmont::io {

namespace {

using View = Notes<const uint8_t>;

/// Entries of strangers may all point to one long value: notes stay below this.
constexpr std::size_t kMostNoteBytes = std::size_t{1} << 20;

/// Texts about a picture that stand beside its shape: description, maker, model, program, time, author, computer, rights.
constexpr std::array<unsigned, 8> kTexts{0x010E, 0x010F, 0x0110, 0x0131, 0x0132, 0x013B, 0x013C, 0x8298};
constexpr std::array<unsigned, 3> kDirectories{kExifDirectory, kPlaceDirectory, kInteroperability};

template <typename Tags>
bool isOneOf(const Tags &tags, unsigned tag)
{
    return std::ranges::find(tags, tag) != tags.end();
}

/// The bytes of a number, as they are turned around; 0 for a type that nobody knows.
std::size_t numberBytes(unsigned type)
{
    constexpr std::array<uint8_t, 14> kBytes{0, 1, 1, 2, 4, 4, 1, 1, 2, 4, 4, 4, 8, 4};
    return type < kBytes.size() ? kBytes[type] : 0;
}

/// The numbers in a value: fractions are two.
uint64_t numbersIn(unsigned type, uint32_t count)
{
    constexpr unsigned kSignedRational = 10;
    return uint64_t{count} * (type == kRational || type == kSignedRational ? 2 : 1);
}

/// An entry with its value, little-endian, or with the directory that it leads to.
struct Entry {
    unsigned tag, type;
    uint32_t count;
    std::vector<uint8_t> value;
    std::vector<Entry> directory{};
};

/// Takes entries out of a block.
class NoteReader {
public:
    explicit NoteReader(const View &notes) : notes_(notes) {}

    /// Those of a directory that `isWanted`.
    template <typename IsWanted>
    std::vector<Entry> read(uint32_t directory, const IsWanted &isWanted)
    {
        std::vector<Entry> entries;
        for (std::size_t i = 0; i < notes_.entries(directory); ++i) {
            const std::size_t at = directory + 2 + kEntryBytes * i;
            if (const unsigned tag = notes_.u16(at); !isWanted(tag))
                continue;
            else if (isOneOf(kDirectories, tag))
                readDirectory(at, entries);
            else
                readValue(at, entries);
        }
        return entries;
    }

private:
    void readValue(std::size_t at, std::vector<Entry> &entries)
    {
        const unsigned type = notes_.u16(at + 2);
        const uint32_t count = notes_.u32(at + 4);
        const std::size_t size = numberBytes(type);
        const uint64_t bytes = size * numbersIn(type, count);
        const uint64_t place = bytes <= 4 ? at + 8 : notes_.u32(at + 8);
        if (bytes == 0 || !notes_.has(place, bytes) || bytes > kMostNoteBytes - taken_)
            return;
        taken_ += static_cast<std::size_t>(bytes);
        const auto value = notes_.at(static_cast<std::size_t>(place), static_cast<std::size_t>(bytes));
        Entry entry{notes_.u16(at), type, count, {value.begin(), value.end()}};
        for (auto number = entry.value.begin(); !notes_.isLittle() && number != entry.value.end();
             number += static_cast<std::ptrdiff_t>(size))
            std::reverse(number, number + static_cast<std::ptrdiff_t>(size));
        entries.push_back(std::move(entry));
    }

    /// Directories lie below the image and one deeper, no further: a file can lead back to itself.
    void readDirectory(std::size_t at, std::vector<Entry> &entries)
    {
        if (depth_ == 2)
            return;
        ++depth_;
        const auto isKept = [](unsigned tag) { return tag != kMakerNote; };
        std::vector<Entry> below = read(notes_.u32(at + 8), isKept);
        --depth_;
        if (!below.empty())
            entries.push_back({notes_.u16(at), kLong, 1, {}, std::move(below)});
    }

    const View &notes_;
    std::size_t taken_ = 0;
    int depth_ = 0;
};

bool isNote(unsigned tag)
{
    return isOneOf(kTexts, tag) || tag == kExifDirectory || tag == kPlaceDirectory;
}

/// Appends to a block, little-endian.
class NoteWriter {
public:
    explicit NoteWriter(std::vector<uint8_t> &bytes) : bytes_(bytes) {}

    void put(uint32_t value, unsigned count)
    {
        for (unsigned i = 0; i < count; ++i)
            bytes_.push_back(static_cast<uint8_t>(value >> 8 * i));
    }

    /// Writes a directory behind its values. \return where it lies
    uint32_t write(const std::vector<Entry> &entries)
    {
        std::vector<uint32_t> places;
        for (const Entry &entry : entries)
            places.push_back(entry.directory.empty() ? writeValue(entry.value) : write(entry.directory));
        const uint32_t directory = even();
        put(static_cast<uint32_t>(entries.size()), 2);
        for (std::size_t i = 0; i < entries.size(); ++i) {
            put(entries[i].tag, 2);
            put(entries[i].type, 2);
            put(entries[i].count, 4);
            put(places[i], 4);
        }
        put(0, 4);
        return directory;
    }

private:
    /// Directories and values begin at even places.
    uint32_t even()
    {
        bytes_.resize(bytes_.size() + bytes_.size() % 2);
        return static_cast<uint32_t>(bytes_.size());
    }

    /// \return where a value lies, or itself where it is short
    uint32_t writeValue(const std::vector<uint8_t> &value)
    {
        if (value.size() <= 4) {
            uint32_t itself = 0;
            for (std::size_t i = 0; i < value.size(); ++i)
                itself |= uint32_t{value[i]} << 8 * i;
            return itself;
        }
        const uint32_t place = even();
        bytes_.insert(bytes_.end(), value.begin(), value.end());
        return place;
    }

    std::vector<uint8_t> &bytes_;
};

/// The entries of the image, as they are: what they lead to stays in its place.
std::vector<Entry> imageEntries(const View &file)
{
    std::vector<Entry> entries;
    for (std::size_t i = 0; i < file.entries(file.first()); ++i) {
        const std::size_t at = file.first() + 2 + kEntryBytes * i;
        const auto place = file.at(at + 8, 4);
        entries.push_back(
            {file.u16(at), file.u16(at + 2), file.u32(at + 4), {place.begin(), place.end()}, {}});
    }
    return entries;
}

} // namespace

std::vector<uint8_t> notesOfTiff(std::span<const uint8_t> file)
{
    const View view(file);
    const std::vector<Entry> entries = NoteReader(view).read(view.first(), isNote);
    if (entries.empty())
        return {};
    std::vector<uint8_t> exif{'I', 'I', 42, 0, 0, 0, 0, 0};
    const uint32_t directory = NoteWriter(exif).write(entries);
    Notes<uint8_t>(exif).put32(4, directory);
    return exif;
}

bool addNotesToTiff(std::vector<uint8_t> &file, std::span<const uint8_t> exif)
{
    const View notes(exif);
    std::vector<Entry> added = NoteReader(notes).read(notes.first(), isNote);
    const auto makersOwn = notes.number(notes.first(), kExifDirectory);
    const bool isWhole = !makersOwn || !notes.entry(*makersOwn, kMakerNote);
    if (added.empty() || file.size() > UINT32_MAX - 4 * kMostNoteBytes)
        return isWhole;
    std::vector<Entry> entries = imageEntries(View(std::span<const uint8_t>(file)));
    std::ranges::move(added, std::back_inserter(entries));
    std::ranges::stable_sort(entries, {}, &Entry::tag);
    const uint32_t directory = NoteWriter(file).write(entries);
    Notes<uint8_t>(file).put32(4, directory);
    return isWhole;
}

} // namespace velmont::io
