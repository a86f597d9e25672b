// The effects that print a picture on a surface.

#include "catalogue/families.h"
#include <velmont/texture.h>

namespace velmont::catalogue {

namespace {

constexpr std::array kTileModes{Choice{"plain", 0}, Choice{"shifted", 1}, Choice{"mirrored", 2}};

constexpr std::array kTextureFields{
    field<&tagTextureParam::tileMode>(
        {.name = "tileMode",
         .minimum = 0,
         .maximum = 2,
         .defaultValue = 0,
         .help = "whether tiles lie as they are, start half a tile on, or are mirrored both ways",
         .choices = kTileModes}),
    field<&tagTextureParam::strength>({.name = "strength",
                                       .unit = "percent",
                                       .minimum = -200,
                                       .maximum = 200,
                                       .defaultValue = 50,
                                       .help = "of the relief; negative turns it inside out"}),
    field<&tagTextureParam::scale>({.name = "scale",
                                    .minimum = 0.01,
                                    .maximum = 16,
                                    .defaultValue = 1,
                                    .help = "size of the tiles relative to the texture"}),
};
static_assert(coverRecord<tagTextureParam>(kTextureFields, sizeof(void *)));

constexpr std::array kTextureOperands{
    operand<&tagTextureParam::texture>("texture", OperandKind::Picture, "the surface; dark parts stand out"),
};

constexpr std::array kEffects{
    Effect{.name = "texturize",
           .exportName = "ProcessTexturize",
           .code = 3105,
           .family = Family::Artistic,
           .help = "prints the picture on a rough surface, another picture in tiles",
           .recordName = "tagTextureParam",
           .recordBytes = sizeof(tagTextureParam),
           .fields = kTextureFields,
           .depths = DepthSamples,
           .random = false,
           .call = callWithRecord<ProcessTexturize, tagTextureParam>,
           .otherDepths = Depth8Paletted,
           .operands = kTextureOperands,
           .blocksLeft = 1,
           .leavesBlocksByAbort = true,
           .extremeExample = "tileMode=mirrored strength=160 scale=2"},
};

} // namespace

std::span<const Effect> textureEffects()
{
    return kEffects;
}

} // namespace velmont::catalogue
