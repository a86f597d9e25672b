#pragma once

/// \file
/// Exports that write into the image that they are given, as effects: they work on a copy.

#include <velmont/memory.h>

namespace velmont::catalogue {

/// A copy of an image, with whatever its block holds behind the rows; null for a depth that is not among `depths`, and
/// where there is no memory.
void *copyOf(void *dib, unsigned depths);

/// Hands a copy of the image to `change`, which answers whether there is a result.
/// \return the copy, or null
template <typename Change>
void *onCopy(void *dib, unsigned depths, Change change)
{
    void *const copy = copyOf(dib, depths);
    if (!copy || change(copy))
        return copy;
    KelMemFree(copy);
    return nullptr;
}

} // namespace velmont::catalogue
