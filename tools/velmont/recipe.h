#pragma once

/// \file
/// Recipes: chains of effects as JSON files. docs/recipes.md shows the form.

#include "chain.h"
#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace velmont::cli {

/// The version of the form, the value of the key "velmont".
inline constexpr int kRecipeVersion = 1;
/// The largest file that is read as a recipe.
inline constexpr std::size_t kLargestRecipe = std::size_t{1} << 20;

/// What a recipe says besides its steps: options of `velmont apply`, as they are typed there.
struct RecipeOptions {
    bool convert = false;
    std::filesystem::path mask;      ///< empty for none
    std::vector<std::string> select; ///< places
    bool invert = false;
    std::optional<std::string> seed, feather;

    bool operator==(const RecipeOptions &) const = default;
};

struct Recipe {
    std::vector<Step> steps;
    RecipeOptions options;
};

/// Understands a recipe.
/// \param folder what relative names of files are relative to; empty leaves them as they are
/// \param effects those that may be named
/// \throws Failure with ExitCode::Usage that names the place of what is wrong, such as steps[1].fields.hueBlues
Recipe parseRecipe(std::string_view text, const std::filesystem::path &folder,
                   std::span<const catalogue::Effect> effects);

/// Reads and understands a recipe; relative names in it are relative to its folder.
/// \throws Failure that names the file
Recipe readRecipe(const std::filesystem::path &file, std::span<const catalogue::Effect> effects);
/// The same with a folder as parseRecipe takes it.
Recipe readRecipe(const std::filesystem::path &file, const std::filesystem::path &folder,
                  std::span<const catalogue::Effect> effects);

/// A recipe as JSON with every field of its effects, and a line end behind it.
/// \throws Failure with ExitCode::Usage for a file whose name is not UTF-8
std::string recipeText(const Recipe &recipe);

/// A step as it is typed for a shell: the effect, the fields that are not at their defaults, the files.
std::string stepWords(const Step &step);

/// The command that does what the recipe does, for a shell; fields at their defaults are left out.
std::string recipeCommand(const Recipe &recipe);

} // namespace velmont::cli
