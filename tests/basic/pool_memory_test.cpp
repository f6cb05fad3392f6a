// Setting a pool up when memory runs out: the n-th request of operator new is refused here.
#include "tests/support/sanitizers.h"

#if TESTS_OWN_OPERATOR_NEW
#include <gtest/gtest.h>

#include <cstdlib>
#include <new>

#include "framework/basic/marshaler.h"
#include "framework/basic/pool.h"

namespace
{
unsigned int g_uRefuseIn = 0;
bool g_bRefused = false;
int g_nOut = 0;

void RefuseNth(unsigned int uNth)
{
    g_uRefuseIn = uNth;
    g_bRefused = false;
}
}  // namespace

// Out of line, lest a compiler sees malloc() on one side and operator delete on the other.
__attribute__((noinline)) void* operator new(std::size_t uSize)
{
    if (g_uRefuseIn != 0 && --g_uRefuseIn == 0)
    {
        g_bRefused = true;
        throw std::bad_alloc();
    }
    void* const pvBlock = std::malloc(uSize);
    if (pvBlock == nullptr) throw std::bad_alloc();
    ++g_nOut;
    return pvBlock;
}

__attribute__((noinline)) void operator delete(void* pvBlock) noexcept
{
    if (pvBlock != nullptr) --g_nOut;
    std::free(pvBlock);
}

__attribute__((noinline)) void operator delete(void* pvBlock, std::size_t) noexcept
{
    operator delete(pvBlock);
}

namespace
{
using CMarshalerPool = CPool<CMarshaler>;

/// The number of requests that were refused before one attempt found them all granted.
unsigned int RefuseUntilItIsUp(bool bThreadSafe)
{
    for (unsigned int uNth = 1;; ++uNth)
    {
        CMarshalerPool::Uninitialize();
        const int nOut = g_nOut;
        RefuseNth(uNth);
        bool bThrown = false;
        try
        {
            CMarshalerPool::Initialize(bThreadSafe, 0, false, nullptr);
        }
        catch (const std::bad_alloc&)
        {
            bThrown = true;
        }
        RefuseNth(0);
        if (!bThrown) return uNth - 1;
        EXPECT_EQ(nOut, g_nOut) << "leaked when request " << uNth << " was refused";
        EXPECT_EQ(nullptr, CMarshalerPool::ms_pBlockAllocator) << "set up by halves at request " << uNth;
        EXPECT_EQ(nullptr, CMarshalerPool::Allocate());
    }
}
}  // namespace

TEST(CPoolMemory, APoolThatCannotBeSetUpIsDownAndMayBeSetUpAgain)
{
    for (const bool bThreadSafe : {false, true})
    {
        EXPECT_EQ(bThreadSafe ? 2u : 1u, RefuseUntilItIsUp(bThreadSafe));
        void* const pvBlock = CMarshalerPool::Allocate();
        EXPECT_NE(nullptr, pvBlock);
        CMarshalerPool::Deallocate(pvBlock);
        EXPECT_EQ(bThreadSafe, CMarshalerPool::ms_pmutex != nullptr);
    }
}
#endif
