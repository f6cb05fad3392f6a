#include "tests/support/own_operator_new.h"

#if TESTS_OWN_OPERATOR_NEW
#include <gtest/gtest.h>

#include <cstdlib>
#include <new>

#include "framework/kernel/singleton.h"
#include "tests/support/free_mutex.h"

namespace
{
/// The size that operator new refuses; what it and operator delete saw of that size.
constexpr std::size_t g_uWATCHED_SIZE = 1240;
bool g_bRefusing = false;
unsigned int g_uAllocated = 0;
unsigned int g_uReleased = 0;
void* g_pvWatched = nullptr;
}  // namespace

// Out of line, lest a compiler sees malloc() on one side and operator delete on the other.
__attribute__((noinline)) void* operator new(std::size_t uSize)
{
    if (uSize == g_uWATCHED_SIZE && g_bRefusing) throw std::bad_alloc();
    void* const pvBlock = std::malloc(uSize);
    if (pvBlock == nullptr) throw std::bad_alloc();
    if (uSize == g_uWATCHED_SIZE)
    {
        g_pvWatched = pvBlock;
        ++g_uAllocated;
    }
    return pvBlock;
}

__attribute__((noinline)) void operator delete(void* pvBlock) noexcept
{
    if (pvBlock != nullptr && pvBlock == g_pvWatched)
    {
        g_pvWatched = nullptr;
        ++g_uReleased;
    }
    std::free(pvBlock);
}

__attribute__((noinline)) void operator delete(void* pvBlock, std::size_t) noexcept
{
    operator delete(pvBlock);
}

namespace
{
class CBaseProbe : public CSingletonBase
{
public:
    using CSingletonBase::ms_pmutex;
};

/// A class with its own way to memory, which must not be taken.
class CSized : public CSingleton<CSized>
{
public:
    CSized() { bMutexHeld = !IsFreeForOthers(*CBaseProbe::ms_pmutex); }
    static void* operator new(std::size_t) = delete;
    static void operator delete(void* pvBlock) { ::operator delete(pvBlock); }
    static inline bool bMutexHeld = false;

private:
    [[maybe_unused]] char m_achRoom[g_uWATCHED_SIZE - sizeof(void*)] = {};
};
static_assert(sizeof(CSized) == g_uWATCHED_SIZE);

struct SCondition
{
};

class CThrowing : public CSingleton<CThrowing>
{
public:
    CThrowing()
    {
        if (ms_bThrow) throw SCondition();
    }
    static bool IsMade() { return ms_pInstance != nullptr; }
    static inline bool ms_bThrow = true;

private:
    [[maybe_unused]] char m_achRoom[g_uWATCHED_SIZE - sizeof(void*)] = {};
};

class CSingletonMemory : public testing::Test
{
protected:
    CSingletonMemory()
    {
        g_uAllocated = 0;
        g_uReleased = 0;
    }
    ~CSingletonMemory() override
    {
        EXPECT_TRUE(IsFreeForOthers(*CBaseProbe::ms_pmutex)) << "the mutex of all singletons was left locked";
    }
};
}  // namespace

TEST_F(CSingletonMemory, IsMadeByTheGlobalOperatorNewWithTheMutexHeld)
{
    CSized::Instance();
    EXPECT_TRUE(CSized::bMutexHeld);
    EXPECT_EQ(1u, g_uAllocated);
    EXPECT_EQ(0u, g_uReleased);
    CSized::DestroyInstance();
    EXPECT_EQ(1u, g_uReleased);
}

TEST_F(CSingletonMemory, WithoutMemoryTheExceptionPassesAndTheMutexIsFree)
{
    g_bRefusing = true;
    EXPECT_THROW(CSized::Instance(), std::bad_alloc);
    EXPECT_THROW(CSized::Instance(), std::bad_alloc);
    g_bRefusing = false;
    EXPECT_TRUE(IsFreeForOthers(*CBaseProbe::ms_pmutex));
    EXPECT_NE(nullptr, CSized::Instance());
    CSized::DestroyInstance();
}

TEST_F(CSingletonMemory, AThrowingConstructorPassesThroughReleasesTheMemoryAndLeavesTheMutexLocked)
{
    EXPECT_THROW(CThrowing::Instance(), SCondition);
    EXPECT_EQ(1u, g_uAllocated);
    EXPECT_EQ(1u, g_uReleased);
    EXPECT_FALSE(CThrowing::IsMade());
    EXPECT_FALSE(IsFreeForOthers(*CBaseProbe::ms_pmutex));
    CBaseProbe::ms_pmutex->Unlock();
    EXPECT_TRUE(IsFreeForOthers(*CBaseProbe::ms_pmutex));

    CThrowing::ms_bThrow = false;
    EXPECT_NE(nullptr, CThrowing::Instance());
    CThrowing::DestroyInstance();
}
#endif
