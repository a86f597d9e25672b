#pragma once

/// \file
/// The dispatcher: most effects by a numeric code and an untyped parameter.

#include <velmont/export.h>

/// Calls the effect with this code.
/// \param dib the image; null gives 0 whatever the code
/// \param code a number of the effect list (`velmont list` shows them); an unknown or reserved one gives 0
/// without a cursor change or a report
/// \param param the address of the effect's parameter record, or of a 32-bit int where the effect takes one (null
/// gives 0 there); ignored by effects without parameters
/// \return what the effect returns: a new handle, the caller's, or 0
VELMONT_API void *EnhanceAndEffects(void *dib, unsigned int code, long param);
