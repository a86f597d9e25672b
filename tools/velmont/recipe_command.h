#pragma once

/// \file
/// `velmont recipe`: from the words of a chain to a recipe, and recipes looked at.

#include <filesystem>
#include <span>
#include <string>

namespace velmont::cli {

struct RecipeRequest {
    bool show = false;    ///< as JSON with all fields
    bool command = false; ///< as a command line
    bool check = false;
    bool convert = false; ///< for the recipe of a chain
    std::filesystem::path mask;
};

/// What is asked for of a chain given as words, or of a recipe given as a file.
/// \throws Failure
std::string recipeAnswer(std::span<const std::string> words, const RecipeRequest &request);

} // namespace velmont::cli
