#include "catalogue/effect.h"
#include <vector>
#include <velmont/dib.h>

namespace velmont::catalogue {

namespace {

constexpr std::array kDepths{Depth1, Depth4, Depth8Gray, Depth8Paletted, Depth24};

} // namespace

unsigned depthOf(void *dib)
{
    switch (TuDibGetType(dib)) {
    case 1:
    case 3:
        return IsDibGray(dib) ? Depth8Gray : Depth8Paletted;
    case 2:
        return Depth24;
    case 4:
        return Depth4;
    case 5:
        return Depth1;
    default:
        return 0;
    }
}

std::string_view depthName(Depth depth)
{
    switch (depth) {
    case Depth1:
        return "1-bit";
    case Depth4:
        return "4-bit";
    case Depth8Gray:
        return "8-bit gray";
    case Depth8Paletted:
        return "8-bit paletted";
    case Depth24:
        return "24-bit";
    default:
        return {};
    }
}

std::string depthNames(unsigned depths)
{
    std::vector<std::string_view> names;
    for (const Depth depth : kDepths)
        if (depths & depth)
            names.push_back(depthName(depth));
    std::string text;
    for (std::size_t i = 0; i < names.size(); ++i) {
        if (i > 0)
            text += i + 1 < names.size() ? ", " : " and ";
        text += names[i];
    }
    return text;
}

} // namespace velmont::catalogue
