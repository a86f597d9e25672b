#pragma once

/// \file
/// Pictures beside the image, from and to files: masks that an effect reads, and what it makes besides its result.

#include "chain.h"
#include "io/picture.h"
#include <filesystem>
#include <string>
#include <vector>

namespace velmont::cli {

/// A picture and the file that it is to go to.
struct NamedPicture {
    std::filesystem::path file;
    io::Picture picture;
};

/// Reads a picture to serve as this kind of operand beside an image.
/// \param dib the image \param subject its name in messages
/// \throws Failure with ExitCode::Input for a file that cannot be read or a picture that does not fit
io::DibHandle readOperand(const std::filesystem::path &file, catalogue::OperandKind kind, void *dib,
                          const std::string &subject, const io::DecodeOptions &options);

/// The operands of one run of a step: reads those that the effect reads, and takes those that it makes.
class StepOperands {
public:
    /// Reads the files and puts the pictures into the record, where they stay as long as this lives.
    /// \param dib the image of the run \param subject its name in messages
    /// \throws Failure with ExitCode::Input for a file that cannot be read or a picture that does not fit
    StepOperands(const Step &step, catalogue::Record &record, void *dib, const std::string &subject,
                 const io::DecodeOptions &options);

    /// What the effect made and a file was named for; what no file was named for is freed.
    std::vector<NamedPicture> takeMade();

private:
    const Step &step_;
    catalogue::Record &record_;
    std::vector<io::DibHandle> read_;
};

} // namespace velmont::cli
