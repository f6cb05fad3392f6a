#include "framework/kernel/assertion.h"

#include <gtest/gtest.h>

#include <type_traits>

namespace
{
template <typename... Arguments>
void First(Arguments...)
{
}
template <typename... Arguments>
void Second(Arguments...)
{
}

// The four registries, one shape for all tests.
template <typename Record, Record*& rpstCurrent, Record (*pfnSet)(Record*)>
struct SRegistry
{
    using THandler = decltype(Record::pfnHandler);

    static THandler Default()
    {
        if constexpr (std::is_same_v<Record, SAssertFailHandler>) return QvDefaultAssertFailHandler;
        else return nullptr;
    }
    static Record* Current() { return rpstCurrent; }
    static Record Set(Record* pstHandler) { return pfnSet(pstHandler); }
    static void Expect(THandler pfnHandler, unsigned int uOpaque, const Record& rstRecord)
    {
        EXPECT_EQ(pfnHandler, rstRecord.pfnHandler);
        EXPECT_EQ(uOpaque, rstRecord.uOpaque);
    }
    static void ExpectDefault() { Expect(Default(), 0, *rpstCurrent); }
};
using TFail = SRegistry<SAssertFailHandler, g_pstAssertFailHandler, QvAssertSetNewFailHandler>;
using TTrace = SRegistry<SAssertTraceHandler, g_pstAssertTraceHandler, QvAssertSetNewTraceHandler>;
using TCallStackTrace =
    SRegistry<SAssertCallStackTraceHandler, g_pstAssertCallStackTraceHandler, QvAssertSetNewCallStackTraceHandler>;
using TFinalBehavior =
    SRegistry<SAssertFinalBehaviorHandler, g_pstAssertFinalBehaviorHandler, QvAssertSetNewFinalBehaviorHandler>;
}  // namespace

template <typename Registry>
class CAssertRegistry : public testing::Test
{
protected:
    CAssertRegistry()
    {
        InitializeQvAssert();
        m_stFirst.pfnHandler = First;
        m_stFirst.uOpaque = 0xFFFFFFF1;
        Registry::Set(&m_stFirst);
    }
    ~CAssertRegistry() override { InitializeQvAssert(); }

    std::remove_pointer_t<decltype(Registry::Current())> m_stFirst;
};
using TRegistries = testing::Types<TFail, TTrace, TCallStackTrace, TFinalBehavior>;
TYPED_TEST_SUITE(CAssertRegistry, TRegistries);

TYPED_TEST(CAssertRegistry, KeepsACopyAndReturnsThePreviousRecord)
{
    auto* const pstCurrent = TypeParam::Current();
    auto stSecond = this->m_stFirst;
    stSecond.pfnHandler = Second;
    stSecond.uOpaque = 22;
    this->m_stFirst.uOpaque = 5;
    TypeParam::Expect(First, 0xFFFFFFF1, *TypeParam::Current());
    TypeParam::Expect(First, 0xFFFFFFF1, TypeParam::Set(&stSecond));
    TypeParam::Expect(Second, 22, stSecond);
    TypeParam::Set(TypeParam::Current());
    TypeParam::Expect(Second, 22, *TypeParam::Current());
    EXPECT_EQ(pstCurrent, TypeParam::Current());
}

TYPED_TEST(CAssertRegistry, ARecordWithoutAFunctionRestoresTheDefault)
{
    auto stNone = this->m_stFirst;
    stNone.pfnHandler = nullptr;
    TypeParam::Expect(First, 0xFFFFFFF1, TypeParam::Set(&stNone));
    TypeParam::ExpectDefault();
    EXPECT_EQ(0xFFFFFFF1, stNone.uOpaque);
}

TYPED_TEST(CAssertRegistry, LeavesTheOtherThreeAlone)
{
    TypeParam::Current()->pfnHandler = TypeParam::Default();
    TypeParam::Current()->uOpaque = 0;
    TFail::ExpectDefault();
    TTrace::ExpectDefault();
    TCallStackTrace::ExpectDefault();
    TFinalBehavior::ExpectDefault();
}

TYPED_TEST(CAssertRegistry, IsNullWhileTheModuleIsDownAndTheSameRecordWithTheDefaultAfterwards)
{
    auto* const pstCurrent = TypeParam::Current();
    for (int n = 0; n < 2; ++n)
    {
        FinalizeQvAssert();
        EXPECT_EQ(nullptr, TypeParam::Current());
    }
    EXPECT_EQ(QV_RES_OK, InitializeQvAssert());
    EXPECT_EQ(pstCurrent, TypeParam::Current());
    TypeParam::ExpectDefault();
}
