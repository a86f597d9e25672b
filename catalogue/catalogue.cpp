#include "catalogue/families.h"
#include <algorithm>
#include <vector>
#include <velmont/effects.h>

namespace velmont::catalogue {

namespace {

std::vector<Effect> gather()
{
    std::vector<Effect> all;
    for (const auto entries :
         {toneEffects(), blurEffects(), sharpenEffects(), bevelEffects(), geometryEffects(), cutOutEffects(),
          maskEffects(), gradientEffects(), compositingEffects(), hatchingEffects(), textureEffects()})
        all.insert(all.end(), entries.begin(), entries.end());
    std::sort(all.begin(), all.end(), [](const Effect &a, const Effect &b) {
        return a.family != b.family ? a.family < b.family : a.name < b.name;
    });
    return all;
}

} // namespace

std::string_view familyName(Family family)
{
    switch (family) {
    case Family::Tone:
        return "tone and colour";
    case Family::Filters:
        return "filters";
    case Family::Geometry:
        return "geometry and formats";
    case Family::Masks:
        return "masks and compositing";
    case Family::Artistic:
        return "artistic";
    }
    return {};
}

std::string_view kindName(OperandKind kind)
{
    switch (kind) {
    case OperandKind::BitMask:
        return "bit mask";
    case OperandKind::AlphaMask:
        return "alpha mask";
    case OperandKind::LooseAlphaMask:
        return "alpha mask of any size";
    case OperandKind::Picture:
        return "picture";
    case OperandKind::LikePicture:
        return "picture of the image's depth";
    }
    return {};
}

std::span<const Effect> effects()
{
    static const std::vector<Effect> all = gather();
    return all;
}

const Effect *findEffect(std::string_view name)
{
    const auto all = effects();
    const auto found = std::find_if(all.begin(), all.end(), [&](const Effect &e) { return e.name == name; });
    return found != all.end() ? &*found : nullptr;
}

const Field *findField(const Effect &effect, std::string_view name)
{
    const auto found = std::find_if(effect.fields.begin(), effect.fields.end(),
                                    [&](const Field &f) { return f.name == name; });
    return found != effect.fields.end() ? &*found : nullptr;
}

const Operand *findOperand(const Effect &effect, std::string_view name)
{
    const auto found = std::find_if(effect.operands.begin(), effect.operands.end(),
                                    [&](const Operand &o) { return o.name == name; });
    return found != effect.operands.end() ? &*found : nullptr;
}

Record defaultRecord(const Effect &effect)
{
    Record record;
    for (const Field &field : effect.fields)
        field.store(record.bytes.data(), field.defaultValue);
    return record;
}

void *apply(const Effect &effect, void *dib, Record &record)
{
    void *const parameters = effect.recordBytes > 0 ? record.bytes.data() : nullptr;
    return effect.code ? EnhanceAndEffects(dib, *effect.code, reinterpret_cast<long>(parameters))
                       : effect.call(dib, parameters);
}

} // namespace velmont::catalogue
