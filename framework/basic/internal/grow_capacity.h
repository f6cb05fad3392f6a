#ifndef FRAMEWORK_BASIC_INTERNAL_GROW_CAPACITY_H
#define FRAMEWORK_BASIC_INTERNAL_GROW_CAPACITY_H
#include <limits.h>
#include <stddef.h>

#include "framework/kernel/result.h"

namespace orvel_internal
{
/// Makes the capacity of a container at least uSize.
/// QV_RES_OK             it is
/// QV_RES_INVALID_STATE  it is locked and below uSize
/// QV_RES_OUT_OF_MEMORY  allocation failed, or 32 bits do not hold uSize
template <typename Container>
QvResult GrowCapacity(Container& rContainer, size_t uSize)
{
    if (uSize <= rContainer.GetCapacity()) return QV_RES_OK;
    if (uSize <= UINT_MAX) return rContainer.ReserveCapacity(static_cast<unsigned int>(uSize));
    return rContainer.GetLockCapacity() != 0 ? QV_RES_INVALID_STATE : QV_RES_OUT_OF_MEMORY;
}
}  // namespace orvel_internal

#endif
