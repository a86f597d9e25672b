#include "output_file.h"
#include "exit_codes.h"
#include "interrupt.h"
#include "notes.h"
#include "text.h"
#include <algorithm>
#include <string>
#include <system_error>
#include <vector>

namespace velmont::cli {

namespace {

namespace fs = std::filesystem;

io::Format outputFormat(const fs::path &output)
{
    const auto format = io::formatOfName(output);
    if (!format)
        throw Failure(ExitCode::Usage, output.string() +
                                           ": the ending names no format: use .png, .jpg, .jpeg, "
                                           ".jpe, .bmp or .dib");
    return *format;
}

/// What can be known about a file to be written before any work is done.
void checkOutput(const fs::path &output, bool force)
{
    std::error_code ignored;
    if (fs::is_directory(output, ignored))
        throw Failure(ExitCode::Output, concat(output.string(), ": is a folder"));
    if (!force && fs::exists(fs::symlink_status(output, ignored)))
        throw Failure(ExitCode::Usage,
                      concat(output.string(), ": exists already; pass --force to replace it"));
    const fs::path folder = output.parent_path();
    if (!folder.empty() && !fs::is_directory(folder, ignored))
        throw Failure(ExitCode::Output, concat(output.string(), ": there is no folder ", folder.string()));
}

void fitToFormat(io::Picture &picture, const fs::path &output, const OutputOptions &options)
{
    const io::Format format = outputFormat(output);
    const std::string_view name = io::formatName(format);
    if (!picture.alpha.empty() && !io::keepsAlpha(format)) {
        picture.alpha.clear();
        if (!options.quiet)
            say(concat(output.string(), ": alpha is dropped: ", name, " has none"));
    }
    if (options.jpegQuality && format != io::Format::Jpeg && !options.quiet)
        say(concat(output.string(), ": --quality means nothing to ", name));
}

} // namespace

void checkOutputs(std::span<const fs::path> outputs, bool force)
{
    for (auto output = outputs.begin(); output != outputs.end(); ++output) {
        outputFormat(*output);
        checkOutput(*output, force);
        if (std::find(outputs.begin(), output, *output) != output)
            throw Failure(ExitCode::Usage, concat(output->string(), ": is to be written twice"));
    }
}

void writeOutput(io::Picture &picture, const fs::path &output, const OutputOptions &options)
{
    fitToFormat(picture, output, options);
    io::EncodeOptions encodeOptions;
    encodeOptions.jpegQuality = options.jpegQuality.value_or(encodeOptions.jpegQuality);
    try {
        const std::vector<uint8_t> bytes = io::encode(picture, outputFormat(output), encodeOptions);
        stopIfInterrupted();
        io::writeFile(output, bytes, options.force ? io::Existing::Replace : io::Existing::Keep);
    } catch (const io::Error &error) {
        throw Failure(ExitCode::Output, error.what());
    }
}

} // namespace velmont::cli
