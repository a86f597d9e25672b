#pragma once

/// \file
/// The families' entries, those of the filters by kind, and what entries are written with.

#include "catalogue/effect.h"
#include <algorithm>
#include <cmath>
#include <limits>
#include <type_traits>

namespace velmont::catalogue {

std::span<const Effect> toneEffects();
std::span<const Effect> blurEffects();
std::span<const Effect> sharpenEffects();
std::span<const Effect> bevelEffects();
std::span<const Effect> geometryEffects();
std::span<const Effect> cutOutEffects();
std::span<const Effect> maskEffects();
std::span<const Effect> gradientEffects();
std::span<const Effect> compositingEffects();
std::span<const Effect> lensEffects();
std::span<const Effect> grainEffects();
std::span<const Effect> atmosphereEffects();
std::span<const Effect> paintingEffects();
std::span<const Effect> restorationEffects();
std::span<const Effect> hatchingEffects();
std::span<const Effect> textureEffects();

/// All channels or one.
inline constexpr std::array kChannels{Choice{"all", 0}, Choice{"red", 1}, Choice{"green", 2},
                                      Choice{"blue", 3}};
/// The directions of trails and relief.
inline constexpr std::array kDirections{
    Choice{"lower-right", 1}, Choice{"down", 2},        Choice{"lower-left", 3}, Choice{"right", 4},
    Choice{"left", 5},        Choice{"upper-right", 6}, Choice{"up", 7},         Choice{"upper-left", 8}};

/// The record of an effect that takes one int instead of a record.
struct IntParameter {
    int32_t value;
};

namespace detail {

template <typename Member>
struct MemberOf;
template <typename RecordType, typename Value>
struct MemberOf<Value RecordType::*> {
    using Record = RecordType;
    using Type = Value;
};

template <typename Value>
constexpr bool isByteTable()
{
    return std::is_array_v<Value> && std::is_same_v<std::remove_extent_t<Value>, uint8_t>;
}

template <typename Value>
constexpr FieldType typeOf()
{
    if constexpr (std::is_same_v<Value, int32_t>)
        return FieldType::Int32;
    else if constexpr (std::is_same_v<Value, uint32_t>)
        return FieldType::UInt32;
    else if constexpr (std::is_same_v<Value, float>)
        return FieldType::Float;
    else if constexpr (isByteTable<Value>())
        return FieldType::Bytes;
    else {
        static_assert(std::is_same_v<Value, double>,
                      "a field is a 32-bit integer, a float, a double or a table of bytes");
        return FieldType::Double;
    }
}

/// The value as the field's type holds it: cut to its range; as an integer 0 for what is not a number.
template <typename Value>
Value heldTo(double value)
{
    if (std::isnan(value))
        return std::numeric_limits<Value>::quiet_NaN(); // 0 for integers
    constexpr double kLowest = std::numeric_limits<Value>::lowest(),
                     kHighest = std::numeric_limits<Value>::max();
    return static_cast<Value>(std::clamp(value, kLowest, kHighest));
}

/// The level whose value tells how far a ramp was moved: moved by up to 127 either way it stays within a byte.
inline constexpr int kMiddleLevel = 128;

template <typename RecordType, typename Value, Value RecordType::*Member>
void storeField(void *record, double value)
{
    Value &member = static_cast<RecordType *>(record)->*Member;
    if constexpr (isByteTable<Value>()) {
        static_assert(std::extent_v<Value> == 256, "a table has a byte for each level");
        const int moved = std::clamp(heldTo<int32_t>(value), -255, 255);
        for (int level = 0; level < 256; ++level)
            member[level] = static_cast<uint8_t>(std::clamp(level + moved, 0, 255));
    } else {
        member = heldTo<Value>(value);
    }
}

template <typename RecordType, typename Value, Value RecordType::*Member>
double loadField(const void *record)
{
    const Value &member = static_cast<const RecordType *>(record)->*Member;
    if constexpr (isByteTable<Value>())
        return member[kMiddleLevel] - kMiddleLevel;
    else
        return static_cast<double>(member);
}

/// The bytes of a table, null for a member that is none.
template <typename RecordType, typename Value, Value RecordType::*Member>
constexpr auto tableOf() -> uint8_t *(*)(void *)
{
    if constexpr (isByteTable<Value>())
        return [](void *record) -> uint8_t * { return static_cast<RecordType *>(record)->*Member; };
    else
        return nullptr;
}

} // namespace detail

/// What a field means, as its entry says it.
struct FieldText {
    std::string_view name;
    std::string_view unit = {}; ///< none for a plain number
    double minimum, maximum, defaultValue;
    std::string_view help;
    std::span<const Choice> choices = {};
    bool fillsGaps = false;
};

/// The entry of one member of a record: type, size and access are the member's own.
template <auto Member>
constexpr Field field(const FieldText &text)
{
    using RecordType = typename detail::MemberOf<decltype(Member)>::Record;
    using Value = typename detail::MemberOf<decltype(Member)>::Type;
    return {text.name,
            detail::typeOf<Value>(),
            sizeof(Value),
            text.unit,
            text.minimum,
            text.maximum,
            text.defaultValue,
            text.help,
            text.choices,
            detail::storeField<RecordType, Value, Member>,
            detail::loadField<RecordType, Value, Member>,
            detail::tableOf<RecordType, Value, Member>(),
            text.fillsGaps};
}

/// The entry of one element of an array of numbers.
template <auto Member, std::size_t index>
constexpr Field field(const FieldText &text)
{
    using RecordType = typename detail::MemberOf<decltype(Member)>::Record;
    using Array = typename detail::MemberOf<decltype(Member)>::Type;
    static_assert(index < std::extent_v<Array>);
    using Value = std::remove_extent_t<Array>;
    return {text.name,
            detail::typeOf<Value>(),
            sizeof(Value),
            text.unit,
            text.minimum,
            text.maximum,
            text.defaultValue,
            text.help,
            text.choices,
            [](void *record, double value) {
                (static_cast<RecordType *>(record)->*Member)[index] = detail::heldTo<Value>(value);
            },
            [](const void *record) {
                return static_cast<double>((static_cast<const RecordType *>(record)->*Member)[index]);
            },
            nullptr,
            text.fillsGaps};
}

/// The entry of a member of a record that holds a picture beside the image.
template <auto Member>
constexpr Operand operand(std::string_view name, OperandKind kind, std::string_view help)
{
    using RecordType = typename detail::MemberOf<decltype(Member)>::Record;
    return {name, kind, false, help,
            [](void *record) -> void *& { return static_cast<RecordType *>(record)->*Member; }};
}
/// The same for a picture that the effect makes.
template <auto Member>
constexpr Operand resultOperand(std::string_view name, OperandKind kind, std::string_view help)
{
    Operand made = operand<Member>(name, kind, help);
    made.isResult = true;
    return made;
}

/// Whether the fields cover the record: none is missing and there is nothing between them. Pointers are no
/// fields: operands, or what the host owns, which stays null; their bytes come on top, and where they are there may
/// be padding at the end; other padding is the entry's recordPadding.
template <typename RecordType, std::size_t count>
constexpr bool coverRecord(const std::array<Field, count> &fields, std::size_t pointerBytes = 0,
                           std::size_t recordPadding = 0)
{
    std::size_t bytes = pointerBytes + recordPadding;
    for (const Field &field : fields)
        bytes += field.bytes;
    const std::size_t padding = pointerBytes == 0 ? 0 : alignof(RecordType) - 1;
    return bytes <= sizeof(RecordType) && sizeof(RecordType) <= bytes + padding &&
           sizeof(RecordType) <= kLargestRecord && std::is_trivially_copyable_v<RecordType>;
}

/// The call of an export that takes the handle alone.
template <auto Export>
void *callPlain(void *dib, void *)
{
    return Export(dib);
}
/// The call of an export that takes one int.
template <auto Export>
void *callWithInt(void *dib, void *record)
{
    return Export(dib, static_cast<IntParameter *>(record)->value);
}
/// The call of an export that takes a record.
template <auto Export, typename RecordType>
void *callWithRecord(void *dib, void *record)
{
    return Export(dib, static_cast<RecordType *>(record));
}

} // namespace velmont::catalogue
