#pragma once

/// \file
/// What effects leave alone: the image as it was, where it is not selected.

#include "io/picture.h"
#include <filesystem>
#include <string>

namespace velmont::cli {

/// Which pixels count.
struct SelectionOptions {
    std::filesystem::path mask; ///< what is bright here; empty for everywhere
};

/// An image before effects ran on it, and what is selected of it.
class Selection {
public:
    /// \param subject the image's name in messages
    /// \throws Failure
    Selection(const io::Picture &picture, const SelectionOptions &options, const std::string &subject);

    /// Lays the effects' result into the image.
    /// \throws Failure when they changed its size or depth
    void compose(io::Picture &result);

private:
    io::DibHandle image_, mask_; ///< null where all is selected
};

} // namespace velmont::cli
