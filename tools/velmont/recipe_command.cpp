#include "recipe_command.h"
#include "exit_codes.h"
#include "text.h"

namespace velmont::cli {

namespace {

template <typename... Pieces>
[[noreturn]] void refuse(const Pieces &...pieces)
{
    throw Failure(ExitCode::Usage, concat(pieces...));
}

/// A single word with a dot or a folder names no effect.
bool isFile(std::span<const std::string> words)
{
    return words.size() == 1 && words.front().find_first_of("./\\") != std::string::npos;
}

std::string check(std::span<const std::string> words)
{
    if (words.size() != 1)
        refuse("recipe --check needs one file");
    const Recipe recipe = readRecipe(words.front(), catalogue::effects());
    const std::size_t steps = recipe.steps.size();
    return concat(words.front(), ": a recipe of ", std::to_string(steps),
                  steps == 1 ? " step\n" : " steps\n");
}

/// \param resolve whether relative names of files in a recipe become relative to where the program runs
Recipe recipeOf(std::span<const std::string> words, const RecipeOptions &options, bool resolve)
{
    if (!isFile(words))
        return {parseSteps(words, catalogue::effects()), options};
    const std::filesystem::path file = words.front();
    if (!(options == RecipeOptions{}))
        refuse("recipe: options go with effects, and ", inQuotes(words.front()), " is a recipe with its own");
    return readRecipe(file, resolve ? file.parent_path() : "", catalogue::effects());
}

} // namespace

std::string recipeAnswer(std::span<const std::string> words, const RecipeRequest &request,
                         const RecipeOptions &options)
{
    if (request.show + request.command + request.check != 1)
        refuse("recipe needs one of --show, --command and --check");
    if (words.empty())
        refuse("recipe needs effects or a file");
    if (request.check)
        return check(words);
    return request.show ? recipeText(recipeOf(words, options, false))
                        : recipeCommand(recipeOf(words, options, true));
}

} // namespace velmont::cli
