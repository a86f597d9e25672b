#include "name_pattern.h"
#include "exit_codes.h"
#include "nearest_name.h"
#include "text.h"
#include <algorithm>
#include <utility>

namespace velmont::cli {

namespace {

struct Field {
    std::string_view name;
    std::string NameFields::*member;
};

constexpr Field kFields[] = {{"stem", &NameFields::stem},
                             {"ext", &NameFields::ext},
                             {"n", &NameFields::n},
                             {"effect", &NameFields::effect}};

template <typename... Pieces>
[[noreturn]] void refuse(const Pieces &...pieces)
{
    throw Failure(ExitCode::Usage, concat(pieces...));
}

const Field &requireField(std::string_view name, std::string_view subject)
{
    const auto field = std::ranges::find(kFields, name, &Field::name);
    if (field != std::end(kFields))
        return *field;
    const std::string near = didYouMean(name, namesOf(kFields));
    refuse(subject, ": there is no field {", name, "}",
           near.empty() ? concat("; there are {", joined(namesOf(kFields), "}, {"), "}") : near);
}

} // namespace

NamePattern::NamePattern(std::string_view text, std::string_view subject)
{
    std::string plain;
    while (!text.empty()) {
        const char first = text.front();
        const bool isBrace = first == '{' || first == '}';
        const bool isDouble = isBrace && text.size() > 1 && text[1] == first;
        if (isBrace && !isDouble) {
            const std::size_t end = text.find('}');
            if (first == '}' || end == std::string_view::npos)
                refuse(subject, ": a ", first == '}' ? "}" : "{",
                       " has no partner; {{ and }} are plain braces");
            takeField(plain, text.substr(1, end - 1), subject);
            text.remove_prefix(end + 1);
        } else {
            plain += first;
            text.remove_prefix(isDouble ? 2 : 1);
        }
    }
    pieces_.push_back({plain, nullptr});
}

void NamePattern::takeField(std::string &text, std::string_view name, std::string_view subject)
{
    pieces_.push_back({std::exchange(text, {}), requireField(name, subject).member});
}

std::string NamePattern::nameFor(const NameFields &fields) const
{
    std::string name;
    for (const Piece &piece : pieces_) {
        name += piece.text;
        if (piece.field)
            name += fields.*piece.field;
    }
    return name;
}

bool NamePattern::tellsApart() const
{
    return std::ranges::any_of(pieces_, [](const Piece &piece) {
        return piece.field == &NameFields::stem || piece.field == &NameFields::n;
    });
}

std::string numbered(std::size_t number, std::size_t last)
{
    const std::string digits = std::to_string(number), widest = std::to_string(last);
    return concat(std::string(widest.size() - std::min(widest.size(), digits.size()), '0'), digits);
}

} // namespace velmont::cli
