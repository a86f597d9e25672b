#include "gallery.h"
#include "apply.h"
#include "catalogue/digest.h"
#include "exit_codes.h"
#include "gallery_page.h"
#include "gallery_settings.h"
#include "interrupt.h"
#include "io/dib_source.h"
#include "io/picture.h"
#include "progress.h"
#include "samples/render.h"
#include "text.h"
#include <algorithm>
#include <array>
#include <cmath>
#include <new>
#include <optional>
#include <system_error>
#include <utility>
#include <velmont/geometry.h>

namespace velmont::cli {

namespace {

namespace fs = std::filesystem;
using catalogue::Effect;

constexpr GallerySize kSize{480, 320};
/// What results are written as: small enough to load hundreds of them.
constexpr std::string_view kEnding = ".webp";
constexpr int kQuality = 75;

/// The folder in which the commands run, for the length of a scope.
class WorkingFolder {
public:
    explicit WorkingFolder(const fs::path &folder)
    {
        std::error_code error;
        before_ = fs::current_path(error);
        if (!error)
            fs::current_path(folder, error);
        if (error)
            throw Failure(ExitCode::Output, concat(folder.string(), ": ", error.message()));
    }
    ~WorkingFolder()
    {
        std::error_code ignored;
        fs::current_path(before_, ignored);
    }
    WorkingFolder(const WorkingFolder &) = delete;
    WorkingFolder &operator=(const WorkingFolder &) = delete;

private:
    fs::path before_;
};

void prepareFolder(const GalleryOptions &options)
{
    const fs::path &folder = options.folder;
    std::error_code error;
    if (fs::exists(folder, error) && !fs::is_directory(folder, error))
        throw Failure(ExitCode::Output, concat(folder.string(), ": is no folder"));
    fs::create_directories(folder, error);
    if (error)
        throw Failure(ExitCode::Output,
                      concat(folder.string(), ": the folder cannot be made: ", error.message()));
    const bool isEmpty = fs::is_empty(folder, error);
    if (error)
        throw Failure(ExitCode::Output, concat(folder.string(), ": ", error.message()));
    if (!isEmpty && !options.force)
        throw Failure(ExitCode::Usage,
                      concat(folder.string(), ": has contents already; pass --force to write into it"));
}

void write(const fs::path &file, std::span<const uint8_t> bytes)
{
    try {
        io::writeFile(file, bytes, io::Existing::Replace);
    } catch (const io::Error &error) {
        throw Failure(ExitCode::Output, error.what());
    }
}

GallerySize sizeOf(const io::Picture &picture)
{
    GallerySize size{};
    GetDibSize(picture.dib.get(), &size.width, &size.height);
    return size;
}

/// Tells pictures apart by what they show: size and colours, no matter at which depth.
std::string digestOf(const io::Picture &picture)
{
    constexpr unsigned step = 3;
    const io::DibSource source(picture);
    std::vector<uint8_t> row(static_cast<std::size_t>(source.width()) * step);
    catalogue::Digest digest;
    for (int y = 0; y < source.height(); ++y) {
        source.colorRow(y, row.data(), step);
        digest.add(row);
    }
    constexpr std::string_view digits = "0123456789abcdef";
    std::string text;
    for (int shift = 28; shift >= 0; shift -= 4)
        text += digits[digest.value() >> shift & 15];
    return text;
}

/// Reduces a picture to the gallery's size, whichever side meets it first.
void fitToGallery(io::Picture &picture)
{
    const GallerySize size = sizeOf(picture);
    const double factor = std::min({1.0, static_cast<double>(kSize.width) / size.width,
                                    static_cast<double>(kSize.height) / size.height});
    picture.alpha.clear();
    if (catalogue::depthOf(picture.dib.get()) != catalogue::Depth24)
        picture.dib = io::DibHandle(ProcessConvertTo24BitColor(picture.dib.get()));
    if (picture.dib && factor < 1)
        picture.dib = io::DibHandle(ProcessResampleHighQuality(
            picture.dib.get(), std::max(1, static_cast<int>(std::lround(size.width * factor))),
            std::max(1, static_cast<int>(std::lround(size.height * factor))), 0, 0));
    if (!picture.dib)
        throw std::bad_alloc();
}

io::Picture scenePicture(const fs::path &file)
{
    if (file.empty())
        return samples::render(kSize.width, kSize.height);
    try {
        io::Picture picture = io::readPicture(file);
        fitToGallery(picture);
        return picture;
    } catch (const io::Error &error) {
        throw Failure(ExitCode::Input, error.what());
    }
}

/// Makes the pictures one after the other, in the folder.
class Maker {
public:
    explicit Maker(bool isQuiet) : line_(!isQuiet) {}

    GalleryContents makeAll(const io::Picture &scene)
    {
        GalleryContents contents;
        contents.scene = keepScene(scene);
        for (const GallerySource &source : gallerySources(contents.scene.size))
            contents.sources.push_back({source.help, make(source.words, source.file)});
        for (const Effect &effect : catalogue::effects()) {
            showProgress(effect.name);
            contents.entries.push_back(entryOf(effect, contents));
        }
        return contents;
    }

private:
    static GalleryPicture keepScene(const io::Picture &scene)
    {
        write(kSceneFile, io::encode(scene, io::Format::Png));
        return {std::string(kSceneFile), {}, sizeOf(scene), digestOf(scene)};
    }

    GalleryEntry entryOf(const Effect &effect, const GalleryContents &contents)
    {
        GalleryEntry entry{&effect, std::string(galleryInput(effect)), contents.scene.digest, {}};
        for (const GallerySourcePicture &source : contents.sources) {
            if (source.picture.file == entry.input)
                entry.inputDigest = source.picture.digest;
        }
        entry.pictures.push_back(makeResult(effect, {}, ""));
        addExtreme(entry);
        return entry;
    }

    /// A strong setting, unless it shows what the defaults show: some effects read no field.
    void addExtreme(GalleryEntry &entry)
    {
        const std::vector<std::string> fields = extremeFields(*entry.effect);
        if (fields.empty())
            return;
        GalleryPicture picture = makeResult(*entry.effect, fields, "-extreme");
        if (picture.digest != entry.pictures.front().digest)
            return entry.pictures.push_back(std::move(picture));
        std::error_code ignored;
        fs::remove(picture.file, ignored);
    }

    GalleryPicture makeResult(const Effect &effect, std::span<const std::string> fields,
                              std::string_view suffix)
    {
        return make(galleryChain(effect, fields), concat(effect.name, suffix, kEnding));
    }

    /// Runs `velmont apply` with these words.
    GalleryPicture make(const std::vector<std::string> &chain, const std::string &file)
    {
        GalleryPicture made{file, {}, {}, {}};
        ApplyOptions apply;
        apply.output = file;
        apply.force = true;
        apply.run.quiet = true;
        apply.inspect = [&](const io::Picture &picture) {
            made.size = sizeOf(picture);
            made.digest = digestOf(picture);
        };
        std::vector<std::string> &words = made.command;
        words = {"velmont", "apply"};
        words.insert(words.end(), chain.begin(), chain.end());
        words.insert(words.end(), {"-o", file});
        if (io::hasQuality(*io::formatOfName(file))) {
            apply.quality = kQuality;
            words.insert(words.end(), {"--quality", std::to_string(kQuality)});
        }
        runApply(chain, apply);
        return made;
    }

    void showProgress(std::string_view name)
    {
        ++done_;
        const int percent = static_cast<int>(done_ * 100 / catalogue::effects().size());
        line_.show(progressLine(concat("gallery: ", name), percent, StatusLine::columns()));
    }

    StatusLine line_;
    std::size_t done_ = 0;
};

void fillFolder(const io::Picture &scene, bool isQuiet)
{
    for (const GalleryText &text : galleryTexts(Maker(isQuiet).makeAll(scene))) {
        stopIfInterrupted();
        const auto *const bytes = reinterpret_cast<const uint8_t *>(text.text.data());
        write(text.name, {bytes, text.text.size()});
    }
}

} // namespace

void runGallery(const GalleryOptions &options)
{
    if (options.folder.empty())
        throw Failure(ExitCode::Usage, "no folder is given: -o FOLDER");
    watchInterrupts();
    const io::Picture scene = scenePicture(options.picture);
    stopIfInterrupted();
    prepareFolder(options);
    const WorkingFolder folder(options.folder);
    try {
        fillFolder(scene, options.quiet);
    } catch (const Failure &failure) {
        if (failure.code() != ExitCode::Output)
            throw;
        throw Failure(ExitCode::Output, concat(options.folder.string(), ": ", failure.what()));
    }
}

} // namespace velmont::cli
