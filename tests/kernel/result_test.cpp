#include "framework/kernel/result.h"

#include <gtest/gtest.h>

#include <climits>
#include <string>
#include <type_traits>

static_assert(std::is_signed_v<QvResult> && sizeof(QvResult) == 4);

namespace
{
constexpr QvResult Code(uint32_t uBits)
{
    return static_cast<QvResult>(uBits);
}

struct SCode
{
    const char* pszName;
    QvResult res;
    uint32_t uWant;
};

constexpr SCode g_astCODES[] = {
    {"Ok", QV_RES_OK, 0x00000000},
    {"Fail", QV_RES_FAIL, 0x80000001},
    {"InvalidState", QV_RES_INVALID_STATE, 0x80000002},
    {"InvalidArgument", QV_RES_INVALID_ARGUMENT, 0x80000003},
    {"OutOfMemory", QV_RES_OUT_OF_MEMORY, 0x80000007},
    {"AlreadyExists", QV_RES_ALREADY_EXISTS, 0x80000009},
    {"ThreadAttributes", QV_RES_THREAD_ATTRIBUTES, 0x80008417},
    {"ThreadCreateFailed", QV_RES_THREAD_CREATE_FAILED, 0x80008418},
    {"TsdUnavailable", QV_RES_TSD_UNAVAILABLE, 0x80008419},
    {"TsdKeyNotFound", QV_RES_TSD_KEY_NOT_FOUND, 0x8000841A},
    {"ThreadJoinSelf", QV_RES_THREAD_JOIN_SELF, 0x8000841B},
    {"NoInterface", QV_RES_NO_INTERFACE, 0x80008422},
    {"ClassNotRegistered", QV_RES_CLASS_NOT_REGISTERED, 0x80008424},
};
}  // namespace

class CResultCode : public testing::TestWithParam<SCode>
{
};

TEST_P(CResultCode, HasItsPublishedValue)
{
    EXPECT_EQ(GetParam().uWant, static_cast<uint32_t>(GetParam().res));
}

TEST_P(CResultCode, IsNegativeExactlyWhenItIsAFailure)
{
    EXPECT_EQ(GetParam().pszName != std::string("Ok"), GetParam().res < 0);
}

TEST_P(CResultCode, HasAnEmptyMessage)
{
    EXPECT_STREQ("", QvResultGetMsgStr(GetParam().res));
}

INSTANTIATE_TEST_SUITE_P(All, CResultCode, testing::ValuesIn(g_astCODES),
                         [](const auto& rInfo) { return std::string(rInfo.param.pszName); });

struct SWorst
{
    uint32_t uFirst;
    uint32_t uSecond;
    uint32_t uWant;
};

class CResultWorstOf : public testing::TestWithParam<SWorst>
{
};

TEST_P(CResultWorstOf, IsTheOneOfTheHigherClassAndElseTheFirst)
{
    EXPECT_EQ(Code(GetParam().uWant), QvRGetWorstOf(Code(GetParam().uFirst), Code(GetParam().uSecond)));
}

INSTANTIATE_TEST_SUITE_P(
    Pairs, CResultWorstOf,
    testing::Values(SWorst{0x80000001, 0x80000003, 0x80000001}, SWorst{0x80000003, 0x80000001, 0x80000003},
                    SWorst{0x00000000, 0x80000003, 0x80000003}, SWorst{0xC0000001, 0x80000003, 0xC0000001},
                    SWorst{0x80000003, 0xC0000001, 0xC0000001}, SWorst{0x40000000, 0x00000000, 0x40000000},
                    SWorst{0x3FFFFFFF, 0x40000000, 0x40000000}, SWorst{0xBFFFFFFF, 0xC0000000, 0xC0000000},
                    SWorst{0x00000001, 0x3FFFFFFF, 0x00000001}, SWorst{0x80000000, 0xBFFFFFFF, 0x80000000}));

TEST(CResultWorstOf, RanksAllFourClasses)
{
    for (uint32_t uFirst = 0; uFirst < 4; ++uFirst)
    {
        for (uint32_t uSecond = 0; uSecond < 4; ++uSecond)
        {
            const QvResult resFirst = Code(uFirst << 30 | 0x111);
            const QvResult resSecond = Code(uSecond << 30 | 0x222);
            EXPECT_EQ(uFirst < uSecond ? resSecond : resFirst, QvRGetWorstOf(resFirst, resSecond))
                << "classes " << uFirst << " and " << uSecond;
        }
    }
}

TEST(CResultMessage, IsTheSameTextForEveryCode)
{
    const char* const pszText = QvResultGetMsgStr(QV_RES_OK);
    ASSERT_NE(nullptr, pszText);
    EXPECT_EQ('\0', *pszText);
    for (QvResult res : {1, -1, INT_MAX, INT_MIN, QV_RES_FAIL, QV_RES_NO_INTERFACE})
    {
        EXPECT_EQ(pszText, QvResultGetMsgStr(res));
    }
}

TEST(CResultInspect, ReturnsTheCodeWhateverThePackage)
{
    for (QvResult res : {0, 1, -1, INT_MAX, INT_MIN, QV_RES_FAIL})
    {
        EXPECT_EQ(res, QvResultInspect(res, ePACKAGE_FRAMEWORK));
        EXPECT_EQ(res, QvResultInspect(res, ePACKAGE_CRYPTO));
        EXPECT_EQ(res, QvResultInspect(res, static_cast<EQvPackageId>(-1)));
        EXPECT_EQ(res, QvResultInspect(res, static_cast<EQvPackageId>(INT_MAX)));
    }
}

TEST(CResultModule, StartsAndStopsWithoutEffect)
{
    const char* const pszText = QvResultGetMsgStr(QV_RES_OK);
    EXPECT_EQ(QV_RES_OK, InitializeResult());
    FinalizeResult();
    EXPECT_EQ(pszText, QvResultGetMsgStr(QV_RES_OK));
}
