#include "selection.h"
#include "catalogue/in_place.h"
#include "exit_codes.h"
#include "operand_files.h"
#include "text.h"
#include <array>
#include <new>
#include <utility>
#include <velmont/velmont.h>

namespace velmont::cli {

namespace {

std::array<int, 3> shapeOf(void *dib)
{
    int width = 0, height = 0;
    GetDibSize(dib, &width, &height);
    return {width, height, static_cast<int>(catalogue::depthOf(dib))};
}

} // namespace

Selection::Selection(const io::Picture &picture, const SelectionOptions &options, const std::string &subject)
{
    if (options.mask.empty())
        return;
    if ((catalogue::depthOf(picture.dib.get()) & catalogue::DepthSamples) == 0)
        throw Failure(ExitCode::Input, concat(subject, ": --mask takes 8-bit gray and 24-bit images"));
    image_ = io::DibHandle(catalogue::copyOf(picture.dib.get(), catalogue::DepthSamples));
    mask_ = readOperand(options.mask, catalogue::OperandKind::AlphaMask, picture.dib.get(), subject);
    if (!image_)
        throw std::bad_alloc();
}

void Selection::compose(io::Picture &result)
{
    if (!image_)
        return;
    if (shapeOf(result.dib.get()) != shapeOf(image_.get()))
        throw Failure(ExitCode::Input, "--mask: the effects changed the image's size or depth; inside a mask "
                                       "they have to keep both");
    if (!ProcessCopyIn(image_.get(), mask_.get(), result.dib.get(), 0, 0, 1, 1))
        throw std::bad_alloc();
    result.dib = std::move(image_);
}

} // namespace velmont::cli
