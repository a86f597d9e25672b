#include "apply.h"
#include "exit_codes.h"
#include "interrupt.h"
#include "notes.h"
#include "text.h"
#include <cstdint>
#include <system_error>

namespace velmont::cli {

namespace {

namespace fs = std::filesystem;

io::Format outputFormat(const fs::path &output)
{
    if (output.empty())
        throw Failure(ExitCode::Usage, "no output is given: -o FILE");
    const auto format = io::formatOfName(output);
    if (!format)
        throw Failure(ExitCode::Usage, output.string() +
                                           ": the ending names no format: use .png, .jpg, .jpeg, "
                                           ".jpe, .bmp or .dib");
    return *format;
}

/// What can be known about the output before any work is done.
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

io::Picture readInput(const fs::path &input)
{
    try {
        return io::readPicture(input);
    } catch (const io::Error &error) {
        throw Failure(ExitCode::Input, error.what());
    }
}

void fitToFormat(io::Picture &picture, io::Format format, const ApplyOptions &options)
{
    const std::string_view name = io::formatName(format);
    if (!picture.alpha.empty() && !io::keepsAlpha(format)) {
        picture.alpha.clear();
        if (!options.run.quiet)
            say(concat(options.output.string(), ": alpha is dropped: ", name, " has none"));
    }
    if (options.jpegQuality && format != io::Format::Jpeg && !options.run.quiet)
        say(concat(options.output.string(), ": --quality means nothing to ", name));
}

void writeOutput(const io::Picture &picture, io::Format format, const ApplyOptions &options)
{
    io::EncodeOptions encodeOptions;
    encodeOptions.jpegQuality = options.jpegQuality.value_or(encodeOptions.jpegQuality);
    try {
        const std::vector<uint8_t> bytes = io::encode(picture, format, encodeOptions);
        stopIfInterrupted();
        io::writeFile(options.output, bytes, options.force ? io::Existing::Replace : io::Existing::Keep);
    } catch (const io::Error &error) {
        throw Failure(ExitCode::Output, error.what());
    }
}

} // namespace

void runApply(std::span<const std::string> words, const ApplyOptions &options)
{
    const Chain chain = parseChain(words, catalogue::effects());
    const io::Format format = outputFormat(options.output);
    checkOutput(options.output, options.force);
    watchInterrupts();
    io::Picture picture = readInput(chain.input);
    Runner(picture, chain.input.string(), options.run).run(chain.steps);
    fitToFormat(picture, format, options);
    writeOutput(picture, format, options);
}

} // namespace velmont::cli
