#include "tests/support/refusing_new.h"

#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <new>

namespace
{
constexpr long g_nNONE = -1;
// How many requests are still granted before the one that is not; negative: none is refused.
std::atomic<long> g_nGranted = g_nNONE;
std::atomic<bool> g_bRefused = false;
std::atomic<long> g_nLive = 0;

#if TESTS_OWN_OPERATOR_NEW
bool IsRefused()
{
    if (g_nGranted.load() < 0 || g_nGranted.fetch_sub(1) != 0) return false;
    g_bRefused = true;
    return true;
}

void* Take(std::size_t uSize, std::size_t uAlignment = alignof(std::max_align_t))
{
    if (IsRefused()) return nullptr;
    const std::size_t uRounded =
        (uSize + uAlignment) / uAlignment * uAlignment;  // aligned_alloc() wants a multiple, not 0
    void* const pvBlock = uAlignment > alignof(std::max_align_t) ? std::aligned_alloc(uAlignment, uRounded)
                                                                 : std::malloc(uSize == 0 ? 1 : uSize);
    if (pvBlock != nullptr) ++g_nLive;
    return pvBlock;
}

void Give(void* pvBlock)
{
    if (pvBlock == nullptr) return;
    --g_nLive;
    std::free(pvBlock);
}

void* OrThrow(void* pvBlock)
{
    if (pvBlock == nullptr) throw std::bad_alloc();
    return pvBlock;
}
#endif
}  // namespace

CRefusingNew::CRefusingNew(unsigned long uNth)
{
    g_bRefused = false;
    g_nGranted = static_cast<long>(uNth);
}

CRefusingNew::~CRefusingNew()
{
    g_nGranted = g_nNONE;
}

bool CRefusingNew::HasRefused() const
{
    return g_bRefused;
}

long LiveNewBlocks()
{
    return g_nLive;
}

#if TESTS_OWN_OPERATOR_NEW
// Out of line, lest a compiler sees malloc() on one side and operator delete on the other.
#define ORVEL_OUT_OF_LINE __attribute__((noinline))
ORVEL_OUT_OF_LINE void* operator new(std::size_t uSize)
{
    return OrThrow(Take(uSize));
}
ORVEL_OUT_OF_LINE void* operator new[](std::size_t uSize)
{
    return OrThrow(Take(uSize));
}
ORVEL_OUT_OF_LINE void* operator new(std::size_t uSize, const std::nothrow_t&) noexcept
{
    return Take(uSize);
}
ORVEL_OUT_OF_LINE void* operator new[](std::size_t uSize, const std::nothrow_t&) noexcept
{
    return Take(uSize);
}
ORVEL_OUT_OF_LINE void* operator new(std::size_t uSize, std::align_val_t eAlignment)
{
    return OrThrow(Take(uSize, static_cast<std::size_t>(eAlignment)));
}
ORVEL_OUT_OF_LINE void* operator new[](std::size_t uSize, std::align_val_t eAlignment)
{
    return OrThrow(Take(uSize, static_cast<std::size_t>(eAlignment)));
}
ORVEL_OUT_OF_LINE void* operator new(std::size_t uSize, std::align_val_t eAlignment, const std::nothrow_t&) noexcept
{
    return Take(uSize, static_cast<std::size_t>(eAlignment));
}
ORVEL_OUT_OF_LINE void* operator new[](std::size_t uSize, std::align_val_t eAlignment, const std::nothrow_t&) noexcept
{
    return Take(uSize, static_cast<std::size_t>(eAlignment));
}
ORVEL_OUT_OF_LINE void operator delete(void* pvBlock) noexcept
{
    Give(pvBlock);
}
ORVEL_OUT_OF_LINE void operator delete[](void* pvBlock) noexcept
{
    Give(pvBlock);
}
ORVEL_OUT_OF_LINE void operator delete(void* pvBlock, std::size_t) noexcept
{
    Give(pvBlock);
}
ORVEL_OUT_OF_LINE void operator delete[](void* pvBlock, std::size_t) noexcept
{
    Give(pvBlock);
}
ORVEL_OUT_OF_LINE void operator delete(void* pvBlock, std::align_val_t) noexcept
{
    Give(pvBlock);
}
ORVEL_OUT_OF_LINE void operator delete[](void* pvBlock, std::align_val_t) noexcept
{
    Give(pvBlock);
}
ORVEL_OUT_OF_LINE void operator delete(void* pvBlock, std::size_t, std::align_val_t) noexcept
{
    Give(pvBlock);
}
ORVEL_OUT_OF_LINE void operator delete[](void* pvBlock, std::size_t, std::align_val_t) noexcept
{
    Give(pvBlock);
}
#endif
