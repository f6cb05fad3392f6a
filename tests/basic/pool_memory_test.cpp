// Setting a pool up when memory runs out: the n-th request of operator new is refused here.
#include "tests/support/refusing_new.h"

#if TESTS_OWN_OPERATOR_NEW
#include <gtest/gtest.h>

#include "framework/basic/marshaler.h"
#include "framework/basic/pool.h"

namespace
{
using CMarshalerPool = CPool<CMarshaler>;

/// The number of requests that were refused before one attempt found them all granted.
unsigned int RefuseUntilItIsUp(bool bThreadSafe)
{
    for (unsigned int uNth = 1;; ++uNth)
    {
        CMarshalerPool::Uninitialize();
        const long nOut = LiveNewBlocks();
        bool bThrown = false;
        try
        {
            const CRefusingNew refusal(uNth - 1, eNEW_OBJECT);
            CMarshalerPool::Initialize(bThreadSafe, 0, false, nullptr);
        }
        catch (const std::bad_alloc&)
        {
            bThrown = true;
        }
        if (!bThrown) return uNth - 1;
        EXPECT_EQ(nOut, LiveNewBlocks()) << "leaked when request " << uNth << " was refused";
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
