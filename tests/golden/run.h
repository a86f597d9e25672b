#pragma once

/// \file
/// The runs behind a golden digest.

#include "tests/golden/cases.h"
#include <cstdint>

namespace velmont::golden {

/// The digest of what hosts see of a case: the result, the record, the operands, the events, locks and blocks that
/// are left, and what the generator draws next.
uint32_t digestOf(const Group &group, const Case &one);

} // namespace velmont::golden
