#include "strict_json.h"
#include "exit_codes.h"
#include "text.h"
#include <algorithm>
#include <nlohmann/json.hpp>
#include <set>
#include <vector>

namespace velmont::cli {

namespace {

using Json = nlohmann::json;

template <typename... Pieces>
[[noreturn]] void refuse(const Pieces &...pieces)
{
    throw Failure(ExitCode::Usage, concat(pieces...));
}

/// An object or a list that has not ended yet.
struct Level {
    std::set<std::string> keys; ///< seen so far; none in a list
    std::string key;            ///< the last of them
    std::size_t index = 0;      ///< of the next element of a list
    bool isList;
};

/// Follows the parser through a document.
class Follower {
public:
    bool operator()(Json::parse_event_t event, const Json &parsed)
    {
        switch (event) {
        case Json::parse_event_t::object_start:
        case Json::parse_event_t::array_start:
            begin(event == Json::parse_event_t::array_start);
            break;
        case Json::parse_event_t::object_end:
        case Json::parse_event_t::array_end:
            levels_.pop_back();
            endElement();
            break;
        case Json::parse_event_t::key:
            takeKey(parsed.get_ref<const std::string &>());
            break;
        case Json::parse_event_t::value:
            endElement();
            break;
        }
        return true;
    }

private:
    void begin(bool isList)
    {
        if (levels_.size() == kDeepestJson)
            refuse(place(), ": is nested too deep: ", std::to_string(kDeepestJson), " levels are read");
        levels_.push_back({{}, {}, 0, isList});
    }

    void endElement()
    {
        if (!levels_.empty() && levels_.back().isList)
            ++levels_.back().index;
    }

    void takeKey(const std::string &key)
    {
        levels_.back().key = key;
        if (!levels_.back().keys.insert(key).second)
            refuse(place(), ": is given twice");
    }

    std::string place() const
    {
        std::string text;
        for (const Level &level : levels_)
            text = level.isList ? elementPlace(text, level.index) : memberPlace(text, level.key);
        return text;
    }

    std::vector<Level> levels_;
};

bool isPlain(std::string_view key)
{
    constexpr std::string_view kPlain = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-_$";
    return !key.empty() && key.size() <= 60 && key.find_first_not_of(kPlain) == std::string_view::npos;
}

/// "line 3, column 5" of a byte counted from 1.
std::string lineAndColumn(std::string_view text, std::size_t byte)
{
    const std::string_view before = text.substr(0, std::clamp<std::size_t>(byte, 1, text.size() + 1) - 1);
    const auto line = 1 + std::ranges::count(before, '\n');
    const std::size_t lineStart = before.rfind('\n') + 1; // 0 where there is none
    const auto isFirstByte = [](char byteOfText) { return (byteOfText & 0xC0) != 0x80; };
    const auto column = 1 + std::ranges::count_if(before.substr(lineStart), isFirstByte);
    return concat("line ", std::to_string(line), ", column ", std::to_string(column));
}

/// What the parser found and what it expected, without the library's own preface and without the text that it read,
/// which may be of any length and kind.
std::string reason(std::string_view message)
{
    const std::size_t dash = message.find(" - ");
    std::string_view rest = dash == std::string_view::npos ? message : message.substr(dash + 3);
    const std::size_t quote = rest.find("; last read: ");
    if (quote == std::string_view::npos)
        return std::string(rest);
    const std::size_t expected = rest.rfind("; expected ");
    return concat(rest.substr(0, quote),
                  expected != std::string_view::npos && expected > quote ? rest.substr(expected) : "");
}

} // namespace

Json parseStrictJson(std::string_view text)
{
    Follower follower;
    try {
        return Json::parse(
            text, [&](int, Json::parse_event_t event, Json &parsed) { return follower(event, parsed); });
    } catch (const Json::parse_error &error) {
        refuse(lineAndColumn(text, error.byte), ": is not JSON: ", reason(error.what()));
    } catch (const Json::exception &) {
        refuse("a number is too large");
    }
}

std::string memberPlace(std::string_view place, std::string_view key)
{
    if (!isPlain(key))
        return concat(place, "[", shown(Json(key)), "]");
    return concat(place, place.empty() ? "" : ".", key);
}

std::string elementPlace(std::string_view place, std::size_t index)
{
    return concat(place, "[", std::to_string(index), "]");
}

std::string shown(const Json &value)
{
    constexpr std::size_t kMost = 60;
    const bool isLong = value.is_string() && value.get_ref<const std::string &>().size() > kMost;
    const Json cut =
        isLong ? Json(concat(value.get_ref<const std::string &>().substr(0, kMost), "...")) : value;
    std::string text = cut.dump(-1, ' ', true, Json::error_handler_t::replace);
    if (text.size() > 6 * kMost)
        text = concat(text.substr(0, kMost), "...");
    return text;
}

} // namespace velmont::cli
