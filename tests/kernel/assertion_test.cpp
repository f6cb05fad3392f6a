#include "framework/kernel/assertion.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <string>

namespace
{
void FailHandler(unsigned int, const char*, int, const char*, const char*, unsigned int)
{
}
void OtherFailHandler(unsigned int, const char*, int, const char*, const char*, unsigned int)
{
}
void PlainHandler(unsigned int)
{
}
void OtherPlainHandler(unsigned int)
{
}

// The four registries, one shape for all tests.
struct SFail
{
    using TRecord = SAssertFailHandler;
    static TRecord* Current() { return g_pstAssertFailHandler; }
    static TRecord Set(TRecord* pstHandler) { return QvAssertSetNewFailHandler(pstHandler); }
    static constexpr auto pfnDEFAULT = &QvDefaultAssertFailHandler;
    static constexpr auto pfnFIRST = &FailHandler;
    static constexpr auto pfnSECOND = &OtherFailHandler;
};
struct STrace
{
    using TRecord = SAssertTraceHandler;
    static TRecord* Current() { return g_pstAssertTraceHandler; }
    static TRecord Set(TRecord* pstHandler) { return QvAssertSetNewTraceHandler(pstHandler); }
    static constexpr PFNAssertTraceHandler pfnDEFAULT = nullptr;
    static constexpr auto pfnFIRST = &FailHandler;
    static constexpr auto pfnSECOND = &OtherFailHandler;
};
struct SCallStackTrace
{
    using TRecord = SAssertCallStackTraceHandler;
    static TRecord* Current() { return g_pstAssertCallStackTraceHandler; }
    static TRecord Set(TRecord* pstHandler) { return QvAssertSetNewCallStackTraceHandler(pstHandler); }
    static constexpr PFNAssertCallStackTraceHandler pfnDEFAULT = nullptr;
    static constexpr auto pfnFIRST = &PlainHandler;
    static constexpr auto pfnSECOND = &OtherPlainHandler;
};
struct SFinalBehavior
{
    using TRecord = SAssertFinalBehaviorHandler;
    static TRecord* Current() { return g_pstAssertFinalBehaviorHandler; }
    static TRecord Set(TRecord* pstHandler) { return QvAssertSetNewFinalBehaviorHandler(pstHandler); }
    static constexpr PFNAssertFinalBehaviorHandler pfnDEFAULT = nullptr;
    static constexpr auto pfnFIRST = &PlainHandler;
    static constexpr auto pfnSECOND = &OtherPlainHandler;
};

template <typename TRegistry>
void ExpectCurrent(decltype(TRegistry::TRecord::pfnHandler) pfnHandler, unsigned int uOpaque)
{
    EXPECT_EQ(pfnHandler, TRegistry::Current()->pfnHandler);
    EXPECT_EQ(uOpaque, TRegistry::Current()->uOpaque);
}

template <typename TRegistry>
void ExpectDefault()
{
    ExpectCurrent<TRegistry>(TRegistry::pfnDEFAULT, 0);
}

void ExpectAllDefault()
{
    ExpectDefault<SFail>();
    ExpectDefault<STrace>();
    ExpectDefault<SCallStackTrace>();
    ExpectDefault<SFinalBehavior>();
}
}  // namespace

template <typename TRegistry>
class CAssertRegistry : public testing::Test
{
protected:
    using TRecord = typename TRegistry::TRecord;
    CAssertRegistry() { InitializeQvAssert(); }
    ~CAssertRegistry() override { InitializeQvAssert(); }
    static TRecord First() { return TRecord{TRegistry::pfnFIRST, 0xFFFFFFF1}; }
    static TRecord Second() { return TRecord{TRegistry::pfnSECOND, 22}; }
};
using TRegistries = testing::Types<SFail, STrace, SCallStackTrace, SFinalBehavior>;
TYPED_TEST_SUITE(CAssertRegistry, TRegistries);

TYPED_TEST(CAssertRegistry, StartsWithTheDefault)
{
    ExpectDefault<TypeParam>();
}

TYPED_TEST(CAssertRegistry, LivesInTheStaticStorageOfTheLibrary)
{
    Dl_info info;
    ASSERT_NE(0, dladdr(TypeParam::Current(), &info));
    EXPECT_NE(std::string::npos, std::string(info.dli_fname).find("liborvel_framework"));
}

TYPED_TEST(CAssertRegistry, CopiesBothFieldsAndReturnsThePreviousRecord)
{
    auto stFirst = this->First();
    auto stSecond = this->Second();
    const auto stBefore = TypeParam::Set(&stFirst);
    EXPECT_EQ(TypeParam::pfnDEFAULT, stBefore.pfnHandler);
    EXPECT_EQ(0u, stBefore.uOpaque);
    ExpectCurrent<TypeParam>(TypeParam::pfnFIRST, 0xFFFFFFF1);

    const auto stBetween = TypeParam::Set(&stSecond);
    EXPECT_EQ(TypeParam::pfnFIRST, stBetween.pfnHandler);
    EXPECT_EQ(0xFFFFFFF1, stBetween.uOpaque);
    ExpectCurrent<TypeParam>(TypeParam::pfnSECOND, 22);
}

TYPED_TEST(CAssertRegistry, KeepsACopyAndLeavesTheArgumentAlone)
{
    auto stHandler = this->First();
    auto* const pstCurrent = TypeParam::Current();
    TypeParam::Set(&stHandler);
    EXPECT_EQ(TypeParam::pfnFIRST, stHandler.pfnHandler);
    EXPECT_EQ(0xFFFFFFF1, stHandler.uOpaque);
    stHandler = this->Second();
    ExpectCurrent<TypeParam>(TypeParam::pfnFIRST, 0xFFFFFFF1);
    EXPECT_EQ(pstCurrent, TypeParam::Current());
}

TYPED_TEST(CAssertRegistry, NullRestoresTheDefaultAndReturnsThePreviousRecord)
{
    auto stHandler = this->First();
    TypeParam::Set(&stHandler);
    const auto stBefore = TypeParam::Set(nullptr);
    EXPECT_EQ(TypeParam::pfnFIRST, stBefore.pfnHandler);
    EXPECT_EQ(0xFFFFFFF1, stBefore.uOpaque);
    ExpectDefault<TypeParam>();
}

TYPED_TEST(CAssertRegistry, ARecordWithoutAFunctionRestoresTheDefaultToo)
{
    auto stHandler = this->First();
    TypeParam::Set(&stHandler);
    stHandler.pfnHandler = nullptr;
    stHandler.uOpaque = 33;
    const auto stBefore = TypeParam::Set(&stHandler);
    EXPECT_EQ(TypeParam::pfnFIRST, stBefore.pfnHandler);
    EXPECT_EQ(0xFFFFFFF1, stBefore.uOpaque);
    ExpectDefault<TypeParam>();
    EXPECT_EQ(33u, stHandler.uOpaque);
}

TYPED_TEST(CAssertRegistry, SettingTheCurrentRecordChangesNothing)
{
    auto stHandler = this->First();
    TypeParam::Set(&stHandler);
    const auto stBefore = TypeParam::Set(TypeParam::Current());
    EXPECT_EQ(TypeParam::pfnFIRST, stBefore.pfnHandler);
    ExpectCurrent<TypeParam>(TypeParam::pfnFIRST, 0xFFFFFFF1);
}

TYPED_TEST(CAssertRegistry, LeavesTheOtherThreeAlone)
{
    auto stHandler = this->First();
    TypeParam::Set(&stHandler);
    TypeParam::Current()->pfnHandler = TypeParam::pfnDEFAULT;
    TypeParam::Current()->uOpaque = 0;
    ExpectAllDefault();
}

TYPED_TEST(CAssertRegistry, ANewStartUpDropsTheHandler)
{
    auto stHandler = this->First();
    TypeParam::Set(&stHandler);
    EXPECT_EQ(QV_RES_OK, InitializeQvAssert());
    ExpectDefault<TypeParam>();
}

TYPED_TEST(CAssertRegistry, IsNullWhileTheModuleIsDownAndTheSameRecordAfterwards)
{
    auto* const pstCurrent = TypeParam::Current();
    auto stHandler = this->First();
    TypeParam::Set(&stHandler);
    FinalizeQvAssert();
    EXPECT_EQ(nullptr, TypeParam::Current());
    FinalizeQvAssert();
    EXPECT_EQ(nullptr, TypeParam::Current());
    EXPECT_EQ(QV_RES_OK, InitializeQvAssert());
    EXPECT_EQ(pstCurrent, TypeParam::Current());
    ExpectDefault<TypeParam>();
}

TEST(CAssertFailHandler, TheDefaultReturnsWhateverItIsGiven)
{
    QvDefaultAssertFailHandler(0, nullptr, 0, nullptr, nullptr, 0);
    QvDefaultAssertFailHandler(~0u, "file", -1, "function", "condition", ~0u);
    ExpectAllDefault();
}

TEST(CAssertRecords, AreFourDifferentOnes)
{
    const void* const apvRecords[] = {g_pstAssertFailHandler, g_pstAssertTraceHandler, g_pstAssertCallStackTraceHandler,
                                      g_pstAssertFinalBehaviorHandler};
    for (int n = 0; n < 4; ++n)
    {
        for (int nOther = 0; nOther < n; ++nOther) EXPECT_NE(apvRecords[nOther], apvRecords[n]);
    }
}
