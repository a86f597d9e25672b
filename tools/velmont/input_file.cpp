#include "input_file.h"
#include "exit_codes.h"
#include "field_value.h"
#include "interrupt.h"
#include "standard_streams.h"
#include "text.h"

namespace velmont::cli {

namespace {

io::Picture decodeStandardInput(const io::DecodeOptions &options)
{
    const std::vector<uint8_t> bytes = readStandardInput();
    try {
        return io::decode(bytes, options);
    } catch (const io::Error &error) {
        throw io::Error(concat(inputName("-"), ": ", error.what()));
    }
}

} // namespace

io::Picture readInput(const std::filesystem::path &input, io::DecodeOptions options)
{
    options.shouldStop = isInterrupted;
    try {
        return isStandardStream(input) ? decodeStandardInput(options) : io::readPicture(input, options);
    } catch (const io::Error &error) {
        throw Failure(ExitCode::Input, error.what());
    } catch (const io::Stopped &) {
        throwAborted();
    }
}

uint64_t parseMostPixels(std::string_view text)
{
    bool outOfRange = false;
    const auto pixels = parseWhole(text, outOfRange);
    if (!pixels || *pixels < 1 || static_cast<uint64_t>(*pixels) > io::kMostPixels)
        throw Failure(ExitCode::Usage,
                      concat("--max-pixels=", text, " is not understood: a whole number from 1 to ",
                             std::to_string(io::kMostPixels)));
    return static_cast<uint64_t>(*pixels);
}

} // namespace velmont::cli
