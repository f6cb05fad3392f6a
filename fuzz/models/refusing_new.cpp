#include "fuzz/models/refusing_new.h"

#include <new>

#if TESTS_OWN_OPERATOR_NEW
void* operator new[](std::size_t uSize, const std::nothrow_t&) noexcept
{
    return CRefusingNew::Allocate(uSize);
}

void* operator new[](std::size_t uSize)
{
    void* const pv = std::malloc(uSize);
    if (pv == nullptr) throw std::bad_alloc();
    return pv;
}

void operator delete[](void* pv) noexcept
{
    CRefusingNew::Free(pv);
}

void operator delete[](void* pv, std::size_t) noexcept
{
    CRefusingNew::Free(pv);
}

void operator delete[](void* pv, const std::nothrow_t&) noexcept
{
    CRefusingNew::Free(pv);
}
#endif
