#include "manual.h"
#include "catalogue/effect.h"
#include "command_definitions.h"
#include "exit_codes.h"
#include "field_value.h"
#include "info.h"
#include "roff.h"
#include "text.h"
#include <CLI/CLI.hpp>
#include <optional>
#include <velmont/version.h>

namespace velmont::cli {

namespace {

using catalogue::Effect;
using catalogue::Field;

std::string section(std::string_view title)
{
    return concat(".SH ", title, "\n");
}

/// "-o, --output FILE"
std::string optionHead(const CLI::Option &option)
{
    std::string head;
    for (const std::string &name : option.get_snames())
        head += concat(head.empty() ? "" : ", ", roffBold(concat("-", name)));
    for (const std::string &name : option.get_lnames())
        head += concat(head.empty() ? "" : ", ", roffBold(concat("--", name)));
    if (takesValue(option))
        head += concat(" ", roffItalic(option.get_type_name()));
    return head;
}

/// The options of a command but for its help.
std::string optionsOf(const CLI::App &command)
{
    std::string text;
    for (const CLI::Option *option : command.get_options()) {
        if (option->nonpositional() && !option->get_group().empty() && option != command.get_help_ptr())
            text += roffItem(optionHead(*option), option->get_description());
    }
    return text;
}

/// The options without a command, and the help of every command.
std::string commonOptions(const CLI::App &app)
{
    return concat(section("OPTIONS"),
                  roffItem(optionHead(*app.get_help_ptr()), "Show the help, also that of a command"),
                  optionsOf(app));
}

std::string synopsis(const CLI::App &app)
{
    std::string text = section("SYNOPSIS");
    for (const CLI::App *command : shownCommands(app))
        text += concat(roffLine(usageOf(*command)), ".br\n");
    return text + roffLine("velmont --help | --version");
}

std::string commands(const CLI::App &app)
{
    std::string text = section("COMMANDS");
    for (const CLI::App *command : shownCommands(app)) {
        text += concat(".SS ", roffText(command->get_name()), "\n",
                       roffLine(concat(command->get_description(), ".")), ".PP\n",
                       roffLine(usageOf(*command)), optionsOf(*command), roffParagraphs(notesOf(*command)));
    }
    return text;
}

std::string fieldItem(const Field &field)
{
    return roffItem(concat(roffBold(concat(field.name, "=")), roffItalic("VALUE")),
                    concat(field.help, "; ", fieldRule(field)));
}

std::string operandItem(const catalogue::Operand &operand)
{
    return roffItem(concat(roffBold(concat(operand.name, "=")), roffItalic("FILE")), operandRule(operand));
}

std::string effectText(const Effect &effect)
{
    const std::string_view random =
        effect.random ? " Draws random numbers; --seed N gives the same ones again." : "";
    std::string text =
        roffItem(roffBold(effect.name),
                 concat(effect.help, ". Takes ", catalogue::depthNames(effect.depths), ".", random));
    if (effect.fields.empty() && effect.operands.empty())
        return text;
    text += ".RS\n";
    for (const Field &field : effect.fields)
        text += fieldItem(field);
    for (const catalogue::Operand &operand : effect.operands)
        text += operandItem(operand);
    return text + ".RE\n";
}

std::string effects()
{
    std::string text = section("EFFECTS");
    std::optional<catalogue::Family> family;
    for (const Effect &effect : catalogue::effects()) {
        if (family != effect.family) {
            family = effect.family;
            text += concat(".SS ", roffText(catalogue::familyName(*family)), "\n");
        }
        text += effectText(effect);
    }
    return text;
}

std::string exitStatus()
{
    std::string text = section("EXIT STATUS");
    for (const ExitCodeHelp &exit : kExitCodes)
        text += roffItem(roffBold(std::to_string(static_cast<int>(exit.code))), exit.help);
    return text;
}

std::string environment()
{
    return concat(
        section("ENVIRONMENT"),
        roffItem(roffBold("NO_COLOR"), "Set and not empty, it keeps colour off the terminal."),
        roffItem(roffBold("TERM"), "A terminal called dumb, or by no name, gets no colour either."));
}

} // namespace

std::string manualText(const CLI::App &app)
{
    return concat(".TH VELMONT 1 \"\" \"velmont " VELMONT_VERSION "\" \"User Commands\"\n.nh\n.ad l\n",
                  section("NAME"), "velmont \\- ", roffText(app.get_description()), "\n", synopsis(app),
                  commonOptions(app), commands(app), effects(), exitStatus(), environment());
}

} // namespace velmont::cli
