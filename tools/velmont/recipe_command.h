#pragma once

/// \file
/// `velmont recipe`: from the words of a chain to a recipe, and recipes looked at.

#include "recipe.h"
#include <span>
#include <string>

namespace velmont::cli {

struct RecipeRequest {
    bool show = false;    ///< as JSON with all fields
    bool command = false; ///< as a command line
    bool check = false;
};

/// What is asked for of a chain given as words, or of a recipe given as a file.
/// \throws Failure
/// \param options for the recipe of a chain
std::string recipeAnswer(std::span<const std::string> words, const RecipeRequest &request,
                         const RecipeOptions &options);

} // namespace velmont::cli
