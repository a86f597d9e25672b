#include "input_file.h"
#include "exit_codes.h"
#include "standard_streams.h"
#include "text.h"

namespace velmont::cli {

io::Picture readInput(const std::filesystem::path &input)
{
    if (isStandardStream(input)) {
        const std::vector<uint8_t> bytes = readStandardInput();
        try {
            return io::decode(bytes);
        } catch (const io::Error &error) {
            throw Failure(ExitCode::Input, concat(inputName(input), ": ", error.what()));
        }
    }
    try {
        return io::readPicture(input);
    } catch (const io::Error &error) {
        throw Failure(ExitCode::Input, error.what());
    }
}

} // namespace velmont::cli
