#include "made_up_effects.h"
#include "pictures.h"
#include <array>
#include <csignal>
#include <cstring>
#include <velmont/dib.h>
#include <velmont/memory.h>
#include <velmont/tone.h>

namespace velmont::test {

namespace {

using catalogue::Choice;
using catalogue::Effect;
using catalogue::Family;
using catalogue::Field;
using catalogue::FieldType;

template <auto Member>
void store(void *record, double value)
{
    auto &member = static_cast<BlendRecord *>(record)->*Member;
    member = static_cast<std::remove_reference_t<decltype(member)>>(value);
}

template <auto Member>
double load(const void *record)
{
    return static_cast<const BlendRecord *>(record)->*Member;
}

template <auto Member>
constexpr Field field(std::string_view name, FieldType type, std::string_view unit, double minimum,
                      double maximum, double defaultValue, std::span<const Choice> choices = {})
{
    return {name,         type,   4,       unit,          minimum,     maximum,
            defaultValue, "help", choices, store<Member>, load<Member>};
}

constexpr std::array kModes{Choice{"soft", 1}, Choice{"hard", 2}};
constexpr std::array kBlendFields{
    field<&BlendRecord::amount>("amount", FieldType::Int32, "pixels", -10, 10, 3),
    field<&BlendRecord::ratio>("ratio", FieldType::Float, "", 0, 1, 0.25),
    field<&BlendRecord::colour>("colour", FieldType::UInt32, "colour", 0, 0xFFFFFF, 0x332211),
    field<&BlendRecord::mode>("mode", FieldType::Int32, "", 1, 2, 1, kModes),
};

struct MaskArguments {
    void *mask, *made;
};
void *&maskOf(void *record)
{
    return static_cast<MaskArguments *>(record)->mask;
}
void *&madeOf(void *record)
{
    return static_cast<MaskArguments *>(record)->made;
}
constexpr std::array kMaskOperands{
    catalogue::Operand{"mask", catalogue::OperandKind::AlphaMask, false, "what to look at", maskOf},
    catalogue::Operand{"made", catalogue::OperandKind::AlphaMask, true, "the mask's negative", madeOf},
};
constexpr std::array kBitOperands{
    catalogue::Operand{"bits", catalogue::OperandKind::BitMask, false, "what to look at", maskOf},
};

constexpr std::array kPictureOperands{
    catalogue::Operand{"picture", catalogue::OperandKind::Picture, false, "what to return", maskOf},
};
constexpr std::array kLikePictureOperands{
    catalogue::Operand{"picture", catalogue::OperandKind::LikePicture, false, "what to return", maskOf},
};
constexpr std::array kLooseMaskOperands{
    catalogue::Operand{"mask", catalogue::OperandKind::LooseAlphaMask, false, "what to return", maskOf},
};

constexpr Effect effect(std::string_view name, Family family, void *(*call)(void *, void *),
                        std::span<const Field> fields = {}, std::size_t recordBytes = 0)
{
    return {name, "None", {}, family, "help", "", recordBytes, fields, catalogue::DepthAll, false, call};
}

constexpr Effect withOperands(Effect effect, std::span<const catalogue::Operand> operands)
{
    effect.recordBytes = sizeof(MaskArguments);
    effect.operands = operands;
    return effect;
}

constexpr Effect withMotion(Effect effect, catalogue::Motion motion, unsigned depths)
{
    effect.motion = motion;
    effect.depths = depths;
    return effect;
}

constexpr std::array kMadeUp{
    effect("blend", Family::Filters, nullptr, kBlendFields, sizeof(BlendRecord)),
    effect("plain", Family::Filters, nullptr),
    withOperands(effect("masked", Family::Filters, nullptr), kMaskOperands),
};

int changedRecords = 0;

void *copyOf(void *dib)
{
    const unsigned long bytes = KelMemSize(dib);
    void *const copy = KelMemAlloc(0, bytes);
    std::memcpy(KelMemLock(copy), KelMemLock(dib), bytes);
    KelMemUnlock(copy);
    KelMemUnlock(dib);
    return copy;
}

void *noResult(void *, void *)
{
    return nullptr;
}

void *source(void *dib, void *)
{
    return dib;
}

void *copyAndChangeRecord(void *dib, void *record)
{
    changedRecords += static_cast<BlendRecord *>(record)->amount == 1 ? 1 : 0;
    static_cast<BlendRecord *>(record)->amount = 1;
    return copyOf(dib);
}

void *wider(void *dib, void *)
{
    int width = 0, height = 0;
    GetDibSize(dib, &width, &height);
    return CreateDib(2 * width, height, 24, 0, 0);
}

void *copy(void *dib, void *)
{
    return copyOf(dib);
}

void *grayInverted(void *dib, void *)
{
    return catalogue::depthOf(dib) == catalogue::Depth8Gray ? ProcessNegative(dib) : dib;
}

void *copyInterrupted(void *dib, void *)
{
    std::raise(SIGTERM);
    return copyOf(dib);
}

void *copyAndInvertMask(void *dib, void *record)
{
    auto *const arguments = static_cast<MaskArguments *>(record);
    arguments->made = ProcessNegative(arguments->mask);
    return copyOf(dib);
}

void *operandItself(void *, void *record)
{
    return copyOf(static_cast<MaskArguments *>(record)->mask);
}

constexpr Effect kInvertsItsMask =
    withOperands(effect("masked", Family::Filters, copyAndInvertMask), kMaskOperands);
constexpr Effect kReturnsItsBits = withOperands(effect("bits", Family::Filters, operandItself), kBitOperands);
constexpr Effect kReturnsItsPicture =
    withOperands(effect("picture", Family::Filters, operandItself), kPictureOperands);
constexpr Effect kReturnsItsLikePicture =
    withOperands(effect("like-picture", Family::Filters, operandItself), kLikePictureOperands);
constexpr Effect kReturnsItsLooseMask =
    withOperands(effect("loose-mask", Family::Filters, operandItself), kLooseMaskOperands);
constexpr Effect kReturnsNothing = effect("nothing", Family::Filters, noResult);
constexpr Effect kReturnsItsSource = effect("source", Family::Filters, source);
constexpr Effect kChangesItsRecord =
    effect("changer", Family::Filters, copyAndChangeRecord, {}, sizeof(BlendRecord));
constexpr Effect kWidens = effect("widen", Family::Filters, wider);
constexpr Effect kMovesPixels =
    withMotion(effect("move", Family::Geometry, copy), catalogue::Motion::ByPlace, catalogue::Depth24);
constexpr Effect kWidensColour = withMotion(effect("widen-colour", Family::Geometry, wider),
                                            catalogue::Motion::ByPlace, catalogue::DepthSamples);
constexpr Effect kInvertsGray = withMotion(effect("invert-gray", Family::Geometry, grayInverted),
                                           catalogue::Motion::ByPlace, catalogue::DepthSamples);
constexpr Effect kInterrupts = effect("interrupt", Family::Filters, copyInterrupted);

} // namespace

std::span<const Effect> madeUpEffects()
{
    return kMadeUp;
}

const Effect &blend()
{
    return kMadeUp[0];
}

const Effect &returnsNothing()
{
    return kReturnsNothing;
}

const Effect &returnsItsSource()
{
    return kReturnsItsSource;
}

const Effect &changesItsRecord()
{
    return kChangesItsRecord;
}

int changedRecordsSeen()
{
    return changedRecords;
}

const Effect &widens()
{
    return kWidens;
}

const Effect &movesPixels()
{
    return kMovesPixels;
}

const Effect &widensIntoColour()
{
    return kWidensColour;
}

const Effect &invertsGrayOnly()
{
    return kInvertsGray;
}

const Effect &invertsItsMask()
{
    return kInvertsItsMask;
}

const Effect &returnsItsOperand(catalogue::OperandKind kind)
{
    switch (kind) {
    case catalogue::OperandKind::Picture:
        return kReturnsItsPicture;
    case catalogue::OperandKind::LikePicture:
        return kReturnsItsLikePicture;
    default:
        return kReturnsItsLooseMask;
    }
}

const Effect &returnsItsBits()
{
    return kReturnsItsBits;
}

const Effect &interrupts()
{
    return kInterrupts;
}

} // namespace velmont::test
