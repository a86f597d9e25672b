#pragma once

/// \file
/// The words of `velmont apply`: effects with their fields, joined by `then`, and images.
///
///     chain  = effect, { word }, { "then", effect, { word } }
///     word   = name "=" value          a field of the effect before it, or a picture beside the image, of
///                                      which the value is the file; name is a letter, then letters and digits
///            | anything else           an image; one at least
///
/// An image whose own name looks like a field, or is `then`, can be given with a folder: ./name.

#include "catalogue/effect.h"
#include <filesystem>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace velmont::cli {

/// A file given for a picture beside the image.
struct OperandFile {
    const catalogue::Operand *operand;
    std::filesystem::path file;
};

/// One effect to run, with its parameters.
struct Step {
    const catalogue::Effect *effect;
    catalogue::Record record;
    std::vector<OperandFile> operands = {}; ///< all that the effect reads, and those of its making to be kept
    std::vector<const catalogue::Field *> typed = {}; ///< the fields that were given a value
};

/// Effects in the order in which they run, and the images that each start from.
struct Chain {
    std::vector<Step> steps;
    std::vector<std::filesystem::path> inputs;
};

/// The effect of this name.
/// \throws Failure with ExitCode::Usage that suggests a near name
const catalogue::Effect &requireEffect(std::span<const catalogue::Effect> effects, std::string_view name);

/// The field of an effect with this name.
/// \throws Failure with ExitCode::Usage that suggests a near name
const catalogue::Field &requireField(const catalogue::Effect &effect, std::string_view name);

/// Refuses "-" for a picture beside the image.
/// \throws Failure with ExitCode::Usage
void requireFileName(std::string_view name);

/// Refuses a step that lacks a picture which its effect reads.
/// \throws Failure with ExitCode::Usage
void requireOperands(const Step &step);

/// Gives a field of a step a value.
/// \throws Failure with ExitCode::Usage as storeValue does
void setField(Step &step, const catalogue::Field &field, std::string_view value);

/// Whether a word is a field and its value.
bool looksLikeField(std::string_view word);

/// Understands the words.
/// \param effects those that may be named
/// \throws Failure with ExitCode::Usage that names what is wrong
Chain parseChain(std::span<const std::string> words, std::span<const catalogue::Effect> effects);

/// The images that words name where a recipe brings the effects. Words that are effects or belong to one are refused.
/// \throws Failure with ExitCode::Usage
std::vector<std::filesystem::path> parseImages(std::span<const std::string> words,
                                               std::span<const catalogue::Effect> effects);

/// Understands words that bring no image.
/// \throws Failure with ExitCode::Usage that names what is wrong
std::vector<Step> parseSteps(std::span<const std::string> words, std::span<const catalogue::Effect> effects);

} // namespace velmont::cli
