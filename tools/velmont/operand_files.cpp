#include "operand_files.h"
#include "exit_codes.h"
#include "input_file.h"
#include "text.h"
#include <new>
#include <utility>
#include <velmont/velmont.h>

namespace velmont::cli {

namespace {

using catalogue::OperandKind;

/// What is brighter than the middle is selected.
constexpr int kSelectedAbove = 127;

struct Size {
    int width = 0, height = 0;
    bool operator==(const Size &) const = default;
};

Size sizeOf(void *dib)
{
    Size size;
    GetDibSize(dib, &size.width, &size.height);
    return size;
}

std::string sizeText(Size size)
{
    return concat(std::to_string(size.width), " x ", std::to_string(size.height));
}

io::DibHandle required(void *handle)
{
    if (!handle)
        throw std::bad_alloc();
    return io::DibHandle(handle);
}

/// Brings a picture to the form of a mask: its brightness tells what is selected.
io::DibHandle toMask(io::DibHandle dib, OperandKind kind)
{
    const unsigned depth = catalogue::depthOf(dib.get());
    if (depth != catalogue::Depth8Gray)
        dib = required(ProcessConvertToGrayScale(dib.get()));
    return kind == OperandKind::BitMask ? required(ProcessConvertFrom8To1(dib.get(), kSelectedAbove))
                                        : std::move(dib);
}

/// Brings a picture to the depth of the image, 24 bits or gray.
io::DibHandle toDepthOf(void *dib, io::DibHandle picture)
{
    const unsigned wanted = catalogue::depthOf(dib), depth = catalogue::depthOf(picture.get());
    if (depth == wanted)
        return picture;
    return required(wanted == catalogue::Depth24 ? ProcessConvertTo24BitColor(picture.get())
                                                 : ProcessConvertToGrayScale(picture.get()));
}

io::DibHandle fitted(io::DibHandle picture, OperandKind kind, void *dib)
{
    switch (kind) {
    case OperandKind::Picture:
        return picture;
    case OperandKind::LikePicture:
        return toDepthOf(dib, std::move(picture));
    default:
        return toMask(std::move(picture), kind);
    }
}

} // namespace

io::DibHandle readOperand(const std::filesystem::path &file, OperandKind kind, void *dib,
                          const std::string &subject, const io::DecodeOptions &options)
{
    requireFileName(file.string());
    io::Picture picture = readInput(file, options);
    const Size size = sizeOf(picture.dib.get()), wanted = sizeOf(dib);
    if (kind == OperandKind::AlphaMask && size != wanted)
        throw Failure(ExitCode::Input,
                      concat(file.string(), ": the mask is ", sizeText(size), " and ", subject, " is ",
                             sizeText(wanted), "; they have to be of one size"));
    return fitted(std::move(picture.dib), kind, dib);
}

StepOperands::StepOperands(const Step &step, catalogue::Record &record, void *dib, const std::string &subject,
                           const io::DecodeOptions &options)
    : step_(step), record_(record)
{
    for (const OperandFile &given : step.operands) {
        if (given.operand->isResult)
            continue;
        read_.push_back(readOperand(given.file, given.operand->kind, dib, subject, options));
        given.operand->handle(record.bytes.data()) = read_.back().get();
    }
}

std::vector<NamedPicture> StepOperands::takeMade()
{
    std::vector<NamedPicture> made;
    for (const catalogue::Operand &operand : step_.effect->operands) {
        if (!operand.isResult)
            continue;
        io::DibHandle dib(std::exchange(operand.handle(record_.bytes.data()), nullptr));
        for (const OperandFile &given : step_.operands)
            if (given.operand == &operand && dib)
                made.push_back({given.file, {std::move(dib), {}}});
    }
    return made;
}

} // namespace velmont::cli
