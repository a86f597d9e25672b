#pragma once

/// \file
/// The catalogue: one entry per effect, from which the command line, the bindings, the documents, the fuzzers
/// and the benchmarks are fed.

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace velmont::catalogue {

enum class FieldType {
    Int32,
    UInt32,
    Float,
    Double,
    Bytes, ///< a table of bytes; its number moves the identity ramp by so many levels
};

/// A named value of a field that is an enumeration.
struct Choice {
    std::string_view name; ///< kebab-case
    int value;
};

/// One field of an effect's parameter record.
struct Field {
    std::string_view name; ///< as in the record; for an element of an array a name of its own in that style
    FieldType type;
    std::size_t bytes;       ///< size of the field in the record
    std::string_view unit;   ///< empty for a plain number
    double minimum, maximum; ///< recommended and accepted range, ends included
    double defaultValue;
    std::string_view help;           ///< one line
    std::span<const Choice> choices; ///< not empty for an enumeration
    void (*store)(void *record, double value);
    double (*load)(const void *record);
    /// The `bytes` bytes of a table, for who has each of them to store; null for other types.
    uint8_t *(*table)(void *record) = nullptr;
    /// The colour of places that no pixel of the image comes to; black and white are the same at every depth.
    bool fillsGaps = false;
};

/// The kinds of picture that an effect reads or makes beside the image that it works on.
enum class OperandKind {
    BitMask,        ///< 1 bit; set bits are selected
    AlphaMask,      ///< 8-bit gray of the image's size; 0 is not selected, 255 is
    LooseAlphaMask, ///< the same of any size
    Picture,        ///< any depth and size
    LikePicture,    ///< of the image's depth and any size
};
/// "bit mask", "alpha mask", "alpha mask of any size", "picture", "picture of the image's depth".
std::string_view kindName(OperandKind kind);

/// A picture beside the image.
struct Operand {
    std::string_view name; ///< in the style of fields
    OperandKind kind;
    bool isResult; ///< made by the effect, then the caller's; else read by it and the caller's throughout
    std::string_view help;          ///< one line
    void *&(*handle)(void *record); ///< where the record holds it; null for none
};

/// The families of the catalogue, in the order in which they are listed.
enum class Family { Tone, Filters, Geometry, Masks, Artistic };
std::string_view familyName(Family family);

/// The depths that an effect accepts, or'ed.
enum Depth : unsigned {
    Depth1 = 1,
    Depth4 = 2,
    Depth8Gray = 4,
    Depth8Paletted = 8,
    Depth24 = 16,
    Depth8 = Depth8Gray | Depth8Paletted,
    DepthSamples = Depth8Gray | Depth24, ///< pixels that are levels and no indices
    DepthAll = Depth1 | Depth4 | Depth8 | Depth24,
};

/// The depth of an image as one of the values above; 0 for any other kind of block.
unsigned depthOf(void *dib);
/// "1-bit", "4-bit", "8-bit gray", "8-bit paletted", "24-bit".
std::string_view depthName(Depth depth);
/// "8-bit gray and 24-bit": the names of several.
std::string depthNames(unsigned depths);

/// Whether an effect puts pixels elsewhere, and what tells where they go.
enum class Motion {
    None, ///< all stay where they are, though colours may be made of those around
    /// Places tell, with the record, the operands and random numbers: whatever belongs to pixels of an image, such as its
    /// alpha, goes with them when it is run through the effect as 8-bit gray with all of these the same.
    ByPlace,
    ByContent, ///< colours tell too, so that nothing else moves alike
};

inline constexpr std::size_t kLargestRecord = 1024;

/// A parameter record of any effect, zero-filled.
struct alignas(std::max_align_t) Record {
    std::array<std::byte, kLargestRecord> bytes{};
};

/// One effect.
struct Effect {
    std::string_view name;             ///< kebab-case, for the shell
    std::string_view exportName;       ///< as in the headers
    std::optional<unsigned> code = {}; ///< of the dispatcher
    Family family;
    std::string_view help;            ///< one line
    std::string_view recordName = {}; ///< "tag...", "int" or, for several of them, "arguments"; empty without
    std::size_t recordBytes = 0;      ///< 0 without parameters
    std::span<const Field> fields = {};
    unsigned depths;     ///< Depth values, or'ed: those that give a useful picture
    bool random = false; ///< draws random numbers
    /// Calls the export by name.
    void *(*call)(void *dib, void *record);
    /// Depths beyond those that are answered with a zero-filled block, which is no image.
    unsigned blankDepths = 0;
    unsigned otherDepths = 0; ///< not refused either, but of no use
    int locksLeft = 0;        ///< on the source by each run
    std::span<const Operand> operands = {};
    int locksOnResult = 0; ///< by each run
    /// Images with a shorter side are refused by the defaults, after all was begun: the wait cursor stays, and the
    /// block of the result is lost.
    int smallestSide = 1;
    bool definesPadding = true;       ///< of the result's rows
    int blocksLeft = 0;               ///< that nobody holds, by each run that gives a result
    bool leavesBlocksByAbort = false; ///< the same blocks where the rows are aborted
    /// Bytes of the record that belong to no field, between fields or at the end.
    std::size_t recordPadding = 0;
    /// A field outside its range is answered with the image itself: the image keeps a lock and the block of the result
    /// is lost.
    bool losesRefused = false;
    /// Where there is no working memory the wait cursor may stay, and the block of the result is lost with as many
    /// locks, those on the source included.
    int locksLostWithMemory = 0;
    std::size_t workBytes = 0;  ///< of the record, which the effect writes and nobody sets
    bool usesCreateDib = false; ///< which leaves a block behind where it cannot lock it
    Motion motion = Motion::None;
    bool resizes = false; ///< the result may be of another size
    /// A strong setting for showing the effect, where the greatest values of its fields show nothing: "field=value" words
    /// of the command line with a blank between them.
    std::string_view extremeExample = {};
};

/// All effects, by family and then by name.
std::span<const Effect> effects();
/// The effect with this kebab-case name, or null.
const Effect *findEffect(std::string_view name);
/// The field of an effect with this name, or null.
const Field *findField(const Effect &effect, std::string_view name);
/// The operand of an effect with this name, or null.
const Operand *findOperand(const Effect &effect, std::string_view name);
/// Every field at its default, no operand.
Record defaultRecord(const Effect &effect);
/// Runs an effect: through the dispatcher where it has a code, else by name.
/// \return a new handle, the caller's, or null.
void *apply(const Effect &effect, void *dib, Record &record);

} // namespace velmont::catalogue
