#include "tests/support/refusing_new.h"

#if TESTS_OWN_OPERATOR_NEW
#include <gtest/gtest.h>

#include "framework/kernel/singleton.h"
#include "tests/support/free_mutex.h"

namespace
{
/// Of the classes here, so that what is asked for them can be told from the rest.
constexpr std::size_t g_uWATCHED_SIZE = 1240;

/// A class with its own way to memory, which must not be taken.
class CSized : public CSingleton<CSized>
{
public:
    CSized() { bMutexHeld = !IsFreeForOthers(*CSingletonBase::ms_pmutex); }
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
    ~CSingletonMemory() override
    {
        EXPECT_TRUE(IsFreeForOthers(*CSingletonBase::ms_pmutex)) << "the mutex of all singletons was left locked";
    }

    const CNewRecord m_record{eNEW_OBJECT, g_uWATCHED_SIZE};
};
}  // namespace

TEST_F(CSingletonMemory, IsMadeByTheGlobalOperatorNewWithTheMutexHeld)
{
    CSized::Instance();
    EXPECT_TRUE(CSized::bMutexHeld);
    EXPECT_EQ(1u, m_record.GetMade().size());
    EXPECT_EQ(0u, m_record.GetFreed().size());
    CSized::DestroyInstance();
    EXPECT_EQ(1u, m_record.GetFreed().size());
}

TEST_F(CSingletonMemory, WithoutMemoryTheExceptionPassesAndTheMutexIsFree)
{
    {
        const CRefusingNew refusing(0, eALL_FORMS, ERefused::eALL_BEHIND, g_uWATCHED_SIZE);
        EXPECT_THROW(CSized::Instance(), std::bad_alloc);
        EXPECT_THROW(CSized::Instance(), std::bad_alloc);
    }
    EXPECT_TRUE(IsFreeForOthers(*CSingletonBase::ms_pmutex));
    EXPECT_NE(nullptr, CSized::Instance());
    CSized::DestroyInstance();
}

TEST_F(CSingletonMemory, AThrowingConstructorPassesThroughReleasesTheMemoryAndLeavesTheMutexLocked)
{
    EXPECT_THROW(CThrowing::Instance(), SCondition);
    EXPECT_EQ(1u, m_record.GetMade().size());
    EXPECT_EQ(1u, m_record.GetFreed().size());
    EXPECT_FALSE(CThrowing::IsMade());
    EXPECT_FALSE(IsFreeForOthers(*CSingletonBase::ms_pmutex));
    CSingletonBase::ms_pmutex->Unlock();
    EXPECT_TRUE(IsFreeForOthers(*CSingletonBase::ms_pmutex));

    CThrowing::ms_bThrow = false;
    EXPECT_NE(nullptr, CThrowing::Instance());
    CThrowing::DestroyInstance();
}
#endif
