// Recipes of any bytes: each is refused with one line, or read; and what was read comes back the same from its own text.

#include "exit_codes.h"
#include "fuzz/fuzz.h"
#include "recipe.h"
#include <cstdlib>
#include <string>
#include <string_view>

using namespace velmont;

namespace {

void requireOneLine(std::string_view line)
{
    for (const char character : line)
        if (static_cast<unsigned char>(character) < 0x20)
            std::abort(); // control characters of the input came through
}

/// Names of files may have any bytes but are read back from what is written.
void requireSame(const cli::Recipe &recipe)
{
    const std::string text = cli::recipeText(recipe);
    if (text.size() > cli::kLargestRecipe)
        return;
    if (cli::recipeText(cli::parseRecipe(text, {}, catalogue::effects())) != text)
        std::abort(); // a recipe that is written is not the one that was read
    cli::recipeCommand(recipe);
}

} // namespace

int LLVMFuzzerTestOneInput(const uint8_t *data, std::size_t size)
{
    const std::string_view text(reinterpret_cast<const char *>(data), size);
    try {
        requireSame(cli::parseRecipe(text, {}, catalogue::effects()));
    } catch (const cli::Failure &failure) {
        requireOneLine(failure.what());
    }
    return 0;
}

std::vector<std::vector<uint8_t>> fuzzSeeds()
{
    std::vector<std::vector<uint8_t>> seeds;
    for (
        const std::string_view text :
        {R"({"velmont": 1, "steps": [{"effect": "hue-saturation", "fields": {"hueBlues": 40}}, {"effect": "sepia"}]})",
         R"({"steps": [{"files": {"mask": "a.png"}, "effect": "fill-color", "fields": {"color": "#ff8000"}}], "velmont": 1})",
         R"({"velmont": 1, "steps": [{"effect": "color-map", "fields": {"table": -12}}], "seed": 4294967295, "convert": true,
              "mask": "m.png", "select": ["3,4", "1,2,3,4,5"], "feather": 5, "invert": false, "$schema": "s"})",
         R"({"velmont": 1, "steps": [{"effect": "negative", "fields": {}}], "velmont": 1.5e3, "x": [[[{"a": null}]]]})"})
        seeds.emplace_back(text.begin(), text.end());
    return seeds;
}
