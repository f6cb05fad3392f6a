#ifndef FRAMEWORK_KERNEL_INTERNAL_IS_WITHIN_H
#define FRAMEWORK_KERNEL_INTERNAL_IS_WITHIN_H
#include <stddef.h>
#include <stdint.h>

// Internal: whether a pointer that is handed in points into what an object owns. Any two pointers may be asked about,
// null as well: they are compared as numbers, since the language orders only pointers into one array.
namespace orvel_internal
{
/// Whether pv points at one of the uBytes bytes from pvBegin on.
inline bool IsWithin(const void* pv, const void* pvBegin, size_t uBytes)
{
    return reinterpret_cast<uintptr_t>(pv) - reinterpret_cast<uintptr_t>(pvBegin) < uBytes;
}

/// Whether two runs of bytes share one. The second counts from its address on also when it is empty.
inline bool Overlap(const void* pv1, size_t uBytes1, const void* pv2, size_t uBytes2)
{
    const uintptr_t u1 = reinterpret_cast<uintptr_t>(pv1);
    const uintptr_t u2 = reinterpret_cast<uintptr_t>(pv2);
    return uBytes1 != 0 && u1 < u2 + uBytes2 && u2 < u1 + uBytes1;
}
}  // namespace orvel_internal

#endif
