#pragma once

/// \file
/// The memory-handle service. Every image that crosses the boundary is a block of this service, named by a
/// handle; the library and its host share blocks through it.
///
/// A handle is not a pointer to its block: lock the block to get one. A handle that is null, was freed, or
/// never came from this service is answered as each function says and never followed. Handles may be used
/// from several threads at once; one handle belongs to one thread at a time.

#include <velmont/export.h>

/// The block may move while it is not locked. Accepted and without effect of its own: every block of this
/// service may move while it is not locked.
#define KEL_MEM_MOVEABLE 2u
/// Every byte of the new block is zero. Without this flag the contents are undefined.
#define KEL_MEM_ZERO 64u

#ifdef __cplusplus
extern "C" {
#endif

/// Allocates a block of `bytes` bytes (0 is allowed and makes an empty block).
/// \param flags KEL_MEM_MOVEABLE and KEL_MEM_ZERO, or'ed; other bits are ignored.
/// \return a handle that the caller frees with KelMemFree, or null when there is no memory.
VELMONT_API void *KelMemAlloc(unsigned int flags, unsigned long bytes);

/// Locks the block in place. Locks nest; each needs its own KelMemUnlock.
/// \return the block's first byte, at least 16-byte aligned and valid until the matching unlock, or null for
/// a bad handle.
VELMONT_API void *KelMemLock(void *handle);

/// Undoes one lock.
/// \return the locks left on the block; 0 for none, for a block that was not locked, and for a bad handle.
VELMONT_API int KelMemUnlock(void *handle);

/// Releases the block, locked or not; the handle is stale from then on. A bad handle is ignored.
VELMONT_API void KelMemFree(void *handle);

/// \return the bytes given at allocation or at the last resize; 0 for a bad handle.
VELMONT_API unsigned long KelMemSize(void *handle);

/// Resizes the block and keeps its contents up to the smaller of the two sizes. With KEL_MEM_ZERO the bytes
/// gained are zero, else undefined.
/// \return the handle to use from now on (the same one), or null when there is no memory, when the handle is
/// bad, or when the block is locked and cannot grow in place; the old block is then untouched and still the
/// caller's.
VELMONT_API void *KelMemReAlloc(void *handle, unsigned long bytes, unsigned int flags);

#ifdef __cplusplus
}
#endif
