#include "apply.h"
#include "catalogue/in_place.h"
#include "exit_codes.h"
#include "interrupt.h"
#include "notes.h"
#include "text.h"
#include <algorithm>
#include <array>
#include <cstdint>
#include <new>
#include <system_error>
#include <utility>
#include <vector>
#include <velmont/velmont.h>

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

io::Picture readInput(const fs::path &input)
{
    try {
        return io::readPicture(input);
    } catch (const io::Error &error) {
        throw Failure(ExitCode::Input, error.what());
    }
}

/// Every file that the chain writes, its result first.
std::vector<fs::path> outputsOf(const std::vector<Step> &steps, const ApplyOptions &options)
{
    std::vector<fs::path> outputs{options.output};
    for (const Step &step : steps)
        for (const OperandFile &given : step.operands)
            if (given.operand->isResult)
                outputs.push_back(given.file);
    return outputs;
}

void checkOutputs(const std::vector<fs::path> &outputs, bool force)
{
    for (auto output = outputs.begin(); output != outputs.end(); ++output) {
        outputFormat(*output);
        checkOutput(*output, force);
        if (std::find(outputs.begin(), output, *output) != output)
            throw Failure(ExitCode::Usage, concat(output->string(), ": is to be written twice"));
    }
}

void fitToFormat(io::Picture &picture, const fs::path &output, const ApplyOptions &options)
{
    const io::Format format = outputFormat(output);
    const std::string_view name = io::formatName(format);
    if (!picture.alpha.empty() && !io::keepsAlpha(format)) {
        picture.alpha.clear();
        if (!options.run.quiet)
            say(concat(output.string(), ": alpha is dropped: ", name, " has none"));
    }
    if (options.jpegQuality && format != io::Format::Jpeg && !options.run.quiet)
        say(concat(output.string(), ": --quality means nothing to ", name));
}

void writeOutput(const io::Picture &picture, const fs::path &output, const ApplyOptions &options)
{
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

/// What effects leave alone: the image as it was, where a mask does not select.
class Selection {
public:
    /// Of no mask, all is selected.
    Selection(const io::Picture &picture, const fs::path &mask, const std::string &subject)
    {
        if (mask.empty())
            return;
        if ((catalogue::depthOf(picture.dib.get()) & catalogue::DepthSamples) == 0)
            throw Failure(ExitCode::Input, concat(subject, ": --mask takes 8-bit gray and 24-bit images"));
        image_ = io::DibHandle(catalogue::copyOf(picture.dib.get(), catalogue::DepthSamples));
        mask_ = readOperand(mask, catalogue::OperandKind::AlphaMask, picture.dib.get(), subject);
        if (!image_)
            throw std::bad_alloc();
    }

    /// Lays a result into the image.
    void compose(io::Picture &result)
    {
        if (!image_)
            return;
        if (shapeOf(result.dib.get()) != shapeOf(image_.get()))
            throw Failure(ExitCode::Input,
                          "--mask: the effects changed the image's size or depth; inside a mask "
                          "they have to keep both");
        if (!ProcessCopyIn(image_.get(), mask_.get(), result.dib.get(), 0, 0, 1, 1))
            throw std::bad_alloc();
        result.dib = std::move(image_);
    }

private:
    static std::array<int, 3> shapeOf(void *dib)
    {
        int width = 0, height = 0;
        GetDibSize(dib, &width, &height);
        return {width, height, static_cast<int>(catalogue::depthOf(dib))};
    }

    io::DibHandle image_, mask_;
};

/// Runs steps on a picture that was read, and writes.
void runAndWrite(io::Picture &picture, const fs::path &input, const std::vector<Step> &steps,
                 const ApplyOptions &options)
{
    Selection selection(picture, options.mask, input.string());
    Runner runner(picture, input.string(), options.run);
    runner.run(steps);
    selection.compose(picture);
    fitToFormat(picture, options.output, options);
    if (options.inspect)
        options.inspect(picture);
    writeOutput(picture, options.output, options);
    for (const NamedPicture &made : runner.made())
        writeOutput(made.picture, made.file, options);
}

void requireOutput(const ApplyOptions &options)
{
    if (options.output.empty())
        throw Failure(ExitCode::Usage, "no output is given: -o FILE");
}

} // namespace

void runApply(std::span<const std::string> words, const ApplyOptions &options)
{
    const Chain chain = parseChain(words, catalogue::effects());
    requireOutput(options);
    checkOutputs(outputsOf(chain.steps, options), options.force);
    watchInterrupts();
    io::Picture picture = readInput(chain.input);
    runAndWrite(picture, chain.input, chain.steps, options);
}

void runSteps(const fs::path &input, const StepsFor &stepsFor, const ApplyOptions &options)
{
    requireOutput(options);
    checkOutputs({options.output}, options.force);
    watchInterrupts();
    io::Picture picture = readInput(input);
    const std::vector<Step> steps = stepsFor(picture.dib.get());
    checkOutputs(outputsOf(steps, options), options.force);
    runAndWrite(picture, input, steps, options);
}

} // namespace velmont::cli
