#include "output_file.h"
#include "exit_codes.h"
#include "interrupt.h"
#include "nearest_name.h"
#include "notes.h"
#include "standard_streams.h"
#include "text.h"
#include <algorithm>
#include <cerrno>
#include <string>
#include <system_error>
#include <unistd.h>
#include <vector>

namespace velmont::cli {

namespace {

namespace fs = std::filesystem;

std::string formatWords()
{
    const auto words = io::formatWords();
    return joined({words.begin(), words.end()});
}

/// ".png, .jpg ... or .webp"
std::string formatEndings()
{
    const auto endings = io::formatEndings();
    return concat(joined({endings.begin(), endings.end() - 1}), " or ", endings.back());
}

template <typename... Pieces>
[[noreturn]] void refuse(ExitCode code, const Pieces &...pieces)
{
    throw Failure(code, concat(pieces...));
}

/// What can be known about a file to be written before any work is done.
void checkFile(const fs::path &output, bool force)
{
    std::error_code ignored;
    if (fs::is_directory(output, ignored))
        refuse(ExitCode::Output, output.string(), ": is a folder");
    if (!force && fs::exists(fs::symlink_status(output, ignored)))
        refuse(ExitCode::Usage, output.string(), ": exists already; pass --force to replace it");
    const fs::path folder = output.parent_path();
    if (!folder.empty() && !fs::is_directory(folder, ignored))
        refuse(ExitCode::Output, output.string(), ": there is no folder ", folder.string());
}

void checkOutput(const fs::path &output, const OutputOptions &options)
{
    outputFormat(output, options);
    if (isStandardStream(output))
        requirePipedOutput();
    else
        checkFile(output, options.force);
}

void note(const fs::path &output, const OutputOptions &options, const std::string &text)
{
    if (!options.quiet)
        say(concat(outputName(output), ": ", text));
}

void fitToFormat(io::Picture &picture, io::Format format, const fs::path &output,
                 const OutputOptions &options)
{
    const std::string_view name = io::formatName(format);
    if (!picture.alpha.empty() && !io::keepsAlpha(format)) {
        picture.alpha.clear();
        note(output, options, concat("alpha is dropped: ", name, " has none"));
    }
    if (options.quality && !io::hasQuality(format))
        note(output, options, concat("--quality means nothing to ", name));
}

void writeBytes(std::span<const uint8_t> bytes, const fs::path &output, const OutputOptions &options)
{
    if (isStandardStream(output))
        writeStandardOutput(bytes);
    else
        io::writeFile(output, bytes, options.force ? io::Existing::Replace : io::Existing::Keep);
}

} // namespace

io::Format outputFormat(const fs::path &output, const OutputOptions &options)
{
    if (options.format)
        return *options.format;
    if (isStandardStream(output))
        refuse(ExitCode::Usage, "-o - needs --format FORMAT: ", formatWords());
    const auto format = io::formatOfName(output);
    if (!format)
        refuse(ExitCode::Usage, output.string(), ": the ending names no format: use ", formatEndings(),
               didYouMean(output.extension().string(), io::formatEndings()));
    return *format;
}

std::string outputName(const fs::path &output)
{
    return isStandardStream(output) ? "standard output" : output.string();
}

void checkWritable(const fs::path &output)
{
    if (isStandardStream(output))
        return;
    const fs::path folder = output.has_parent_path() ? output.parent_path() : ".";
    if (access(folder.c_str(), W_OK | X_OK) != 0)
        refuse(ExitCode::Output, output.string(), ": cannot write into the folder ", folder.string(), ": ",
               std::error_code(errno, std::generic_category()).message());
}

OutputOptions besides(const OutputOptions &options)
{
    OutputOptions others = options;
    others.format.reset();
    return others;
}

io::Format parseFormat(std::string_view word)
{
    const auto format = io::formatOfWord(word);
    if (!format)
        refuse(ExitCode::Usage, "--format=", word, " is not one of ", formatWords(),
               didYouMean(word, io::formatWords()));
    return *format;
}

void checkOutputs(std::span<const fs::path> outputs, const OutputOptions &options)
{
    for (auto output = outputs.begin(); output != outputs.end(); ++output) {
        const bool isResult = output == outputs.begin();
        if (!isResult && isStandardStream(*output))
            refuse(ExitCode::Usage, "-: only the result can go to standard output; name a file");
        checkOutput(*output, isResult ? options : besides(options));
        if (std::find(outputs.begin(), output, *output) != output)
            refuse(ExitCode::Usage, output->string(), ": is to be written twice");
    }
}

void writeOutput(io::Picture &picture, const fs::path &output, const OutputOptions &options)
{
    const io::Format format = outputFormat(output, options);
    fitToFormat(picture, format, output, options);
    std::vector<std::string> notices;
    try {
        const std::vector<uint8_t> bytes =
            io::encode(picture, format, {options.quality, options.strip, &notices, isInterrupted});
        for (const std::string &notice : notices)
            note(output, options, notice);
        stopIfInterrupted();
        writeBytes(bytes, output, options);
    } catch (const io::Error &error) {
        throw Failure(ExitCode::Output, error.what());
    } catch (const io::Stopped &) {
        throwAborted();
    }
}

} // namespace velmont::cli
