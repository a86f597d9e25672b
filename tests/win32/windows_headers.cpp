// The public headers go with those of the system, which have some of the same records.
#include <windows.h>

#include <velmont/velmont.h>

static_assert(sizeof(tagRECT) == 16 && sizeof(tagPOINT) == 8);
static_assert(sizeof(long) == 4 && sizeof(void *) == 4);
