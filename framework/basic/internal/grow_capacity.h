#ifndef FRAMEWORK_BASIC_INTERNAL_GROW_CAPACITY_H
#define FRAMEWORK_BASIC_INTERNAL_GROW_CAPACITY_H
#include <limits.h>
#include <stddef.h>

#include "framework/kernel/result.h"

namespace orvel_internal
{
/// Makes the capacity of a container at least uSize.
///
/// - `QV_RES_OK`: it is.
/// - `QV_RES_INVALID_STATE`: it is locked and below uSize.
/// - `QV_RES_OUT_OF_MEMORY`: allocation failed, or 32 bits do not hold uSize.
template <typename Container>
QvResult GrowCapacity(Container& rContainer, size_t uSize)
{
    if (uSize <= rContainer.GetCapacity()) return QV_RES_OK;
    if (uSize <= UINT_MAX) return rContainer.ReserveCapacity(static_cast<unsigned int>(uSize));
    return rContainer.GetLockCapacity() != 0 ? QV_RES_INVALID_STATE : QV_RES_OUT_OF_MEMORY;
}

/// Makes the capacity of a container more than its size. Where it has to grow it doubles: at least to 64 bytes, below
/// which a block costs as much, at most to what 32 bits of bytes hold. If there is no memory for that, it grows by one.
/// Results as above.
template <typename Container>
QvResult DoubleCapacity(Container& rContainer, size_t uElementSize)
{
    const size_t uSize = rContainer.GetSize();
    if (uSize < rContainer.GetCapacity()) return QV_RES_OK;
    const size_t uLeast = 64 / uElementSize;
    const size_t uMost = UINT_MAX / uElementSize;
    size_t uTarget = uSize * 2;
    if (uTarget < uLeast) uTarget = uLeast;
    if (uTarget > uMost) uTarget = uMost;
    const QvResult res = GrowCapacity(rContainer, uTarget);
    // Also where the target is no more than the size: large elements, or the most.
    return res < 0 || uTarget <= uSize ? GrowCapacity(rContainer, uSize + 1) : res;
}

/// How many nodes push_back() takes at once when none is free: a source gives several for little more than one.
inline unsigned int NodesAhead(unsigned int uWished)
{
    constexpr unsigned int uMOST = 32;
    return uWished < uMOST ? uWished : uMOST;
}
}  // namespace orvel_internal

#endif
