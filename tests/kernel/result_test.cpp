#include "framework/kernel/result.h"

#include <gtest/gtest.h>

#include <climits>

TEST(CResultWorstOf, IsTheOneOfTheHigherOfFourClassesAndElseTheFirst)
{
    for (uint32_t uFirst = 0; uFirst < 4; ++uFirst)
    {
        for (uint32_t uSecond = 0; uSecond < 4; ++uSecond)
        {
            for (const uint32_t uRest : {0u, 1u, 0x3FFFFFFEu})
            {
                const QvResult resFirst = static_cast<QvResult>(uFirst << 30 | uRest);
                const QvResult resSecond = static_cast<QvResult>(uSecond << 30 | (0x3FFFFFFF - uRest));
                EXPECT_EQ(uFirst < uSecond ? resSecond : resFirst, QvRGetWorstOf(resFirst, resSecond))
                    << std::hex << resFirst << " and " << resSecond;
            }
        }
    }
}

TEST(CResultMessage, IsTheSameEmptyTextForEveryCode)
{
    ASSERT_STREQ("", QvResultGetMsgStr(QV_RES_OK));
    for (const QvResult res : {1, -1, INT_MAX, INT_MIN, QV_RES_FAIL, QV_RES_NO_INTERFACE})
        EXPECT_EQ(QvResultGetMsgStr(QV_RES_OK), QvResultGetMsgStr(res));
}
