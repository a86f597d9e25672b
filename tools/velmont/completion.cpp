#include "completion.h"
#include "catalogue/effect.h"
#include "chain.h"
#include "command_definitions.h"
#include "info.h"
#include "io/picture.h"
#include "list.h"
#include "text.h"
#include <CLI/CLI.hpp>
#include <algorithm>
#include <vector>

namespace velmont::cli {

namespace {

using catalogue::Effect;
using catalogue::Field;
using Words = std::span<const std::string>;

std::string word(std::string_view text, std::string_view help = {})
{
    return concat("word ", text, "\t", help, "\n");
}

std::string files(std::string_view prefix = {})
{
    return concat("file ", prefix, "\n");
}

std::string commandWords(const CLI::App &app)
{
    std::string text;
    for (const CLI::App *command : shownCommands(app))
        text += word(command->get_name(), command->get_description());
    return text;
}

std::string optionWords(const CLI::App &command)
{
    std::string text;
    for (const CLI::Option *option : command.get_options()) {
        for (const std::string &name : option->get_lnames())
            text += word(concat("--", name), option->get_description());
    }
    return text;
}

std::string effectWords()
{
    std::string text;
    for (const Effect &effect : catalogue::effects())
        text += word(effect.name, effect.help);
    return text;
}

std::string familyText()
{
    std::string text;
    for (const std::string_view family : familyWords())
        text += word(family);
    return text;
}

std::string shellWords()
{
    std::string text;
    for (const std::string_view shell : completionShells())
        text += word(shell);
    return text;
}

/// What follows "name=".
std::string valueWords(const Effect &effect, std::string_view name)
{
    if (catalogue::findOperand(effect, name))
        return files(concat(name, "="));
    const Field *const field = catalogue::findField(effect, name);
    std::string text;
    if (field)
        for (const catalogue::Choice &choice : field->choices)
            text += word(concat(name, "=", choice.name));
    return text;
}

/// The fields and pictures of an effect, as far as its words do not have them yet.
std::string fieldWords(const Effect &effect, Words given)
{
    const auto isGiven = [&](std::string_view start) {
        return std::ranges::any_of(given, [&](const std::string &each) { return each.starts_with(start); });
    };
    std::string text;
    for (const Field &field : effect.fields) {
        const std::string start = concat(field.name, "=");
        if (!isGiven(start))
            text += word(start, concat(field.help, "; ", fieldRule(field)));
    }
    for (const catalogue::Operand &operand : effect.operands) {
        const std::string start = concat(operand.name, "=");
        if (!isGiven(start))
            text += word(start, operandRule(operand));
    }
    return text;
}

/// Words of `velmont apply` that are no options.
std::string chainWords(Words before, std::string_view current)
{
    const auto then = std::find(before.rbegin(), before.rend(), "then").base();
    const Words step = before.subspan(static_cast<std::size_t>(then - before.begin()));
    if (step.empty())
        return effectWords();
    const Effect *const effect = catalogue::findEffect(step.front());
    const std::string rest = concat(word("then", "another effect on the result"), files());
    if (!effect)
        return rest;
    if (looksLikeField(current))
        return valueWords(*effect, current.substr(0, current.find('=')));
    return concat(fieldWords(*effect, step), rest);
}

/// What stands for a word of a command, which is a file's name unless it is called otherwise.
std::string namedWords(const std::string &name)
{
    if (name == "EFFECT")
        return effectWords();
    if (name == "FAMILY")
        return familyText();
    if (name == "SHELL")
        return shellWords();
    return files();
}

const CLI::Option *optionOf(const CLI::App &command, const std::string &text)
{
    const CLI::Option *const option = text.starts_with('-') ? command.get_option_no_throw(text) : nullptr;
    return option && takesValue(*option) ? option : nullptr;
}

/// Whether an option's value is the name of a file, by what the help calls it.
bool isFile(const CLI::Option &option)
{
    const std::string type = option.get_type_name();
    return type == "FILE" || type == "DIR";
}

/// What an option's value may be, as far as it is known; \param prefix "--name=" where both are one word
std::string optionValues(const CLI::Option &option, std::string_view prefix = {})
{
    if (isFile(option))
        return files(prefix);
    std::string text;
    if (option.get_type_name() == "FORMAT")
        for (const std::string_view format : io::formatWords())
            text += word(concat(prefix, format));
    return text;
}

/// The words of a command that are neither options nor their values.
std::vector<std::string> plainWords(const CLI::App &command, Words words)
{
    std::vector<std::string> plain;
    bool literal = false;
    for (std::size_t i = 0; i < words.size(); ++i) {
        if (!literal && words[i] == "--")
            literal = true;
        else if (!literal && optionOf(command, words[i]))
            ++i;
        else if (literal || !words[i].starts_with('-'))
            plain.push_back(words[i]);
    }
    return plain;
}

/// What a command takes one by one, such as EFFECT and INPUT; "words" for a chain.
std::vector<const CLI::Option *> positionalsOf(const CLI::App &command)
{
    return command.get_options([](const CLI::Option *option) { return option->get_positional(); });
}

/// Whether the effects stand in a file, so that all words are names of files.
bool readsRecipe(Words words)
{
    return std::ranges::any_of(words, [](const std::string &word) {
        return word == "--recipe" || word.starts_with("--recipe=") || word == "--check" ||
               word == "--command";
    });
}

std::string plainWord(const CLI::App &command, Words before, std::string_view current)
{
    const auto positionals = positionalsOf(command);
    const std::vector<std::string> plain = plainWords(command, before);
    const bool goesOn = !positionals.empty() && positionals.back()->get_items_expected_max() > 1;
    if (plain.size() >= positionals.size() && !goesOn)
        return {};
    const std::string name = positionals[std::min(plain.size(), positionals.size() - 1)]->get_name(true);
    return name == "words" && !readsRecipe(before) ? chainWords(plain, current) : namedWords(name);
}

std::string wordsOf(const CLI::App &command, Words before, const std::string &current)
{
    const bool literal = std::ranges::find(before, "--") != before.end();
    if (!literal && !before.empty()) {
        if (const CLI::Option *const option = optionOf(command, before.back()))
            return optionValues(*option);
    }
    if (!literal && current.starts_with("--") && current.find('=') != std::string::npos) {
        const std::string name = current.substr(0, current.find('='));
        const CLI::Option *const option = optionOf(command, name);
        return option ? optionValues(*option, concat(name, "=")) : std::string();
    }
    return !literal && current.starts_with('-') ? optionWords(command) : plainWord(command, before, current);
}

} // namespace

std::string completionsText(const CLI::App &app, Words words)
{
    if (words.empty())
        return {};
    const std::string &current = words.back();
    if (words.size() == 1)
        return current.starts_with('-') ? optionWords(app) : commandWords(app);
    for (const CLI::App *command : shownCommands(app))
        if (command->get_name() == words.front())
            return wordsOf(*command, words.subspan(1, words.size() - 2), current);
    return {};
}

} // namespace velmont::cli
