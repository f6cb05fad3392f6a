#include "framework/kernel/result.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <map>
#include <regex>
#include <string>
#include <type_traits>

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

TEST(CResultSeverity, IsFailureExactlyInTheUpperTwoClasses)
{
    for (const uint32_t uRest : {0u, 1u, 0x8424u, 0x3FFFFFFFu})
    {
        for (uint32_t uClass = 0; uClass < 4; ++uClass)
        {
            const QvResult res = static_cast<QvResult>(uClass << 30 | uRest);
            EXPECT_EQ(uClass >= 2, QvFailed(res)) << std::hex << res;
            EXPECT_EQ(uClass < 2, QvSucceeded(res)) << std::hex << res;
        }
    }
    static_assert(QvFailed(QV_RES_FAIL) && !QvFailed(QV_RES_OK) && QvSucceeded(0x40000001));
}

// The codes as the header spells them: each line that defines one, read as text.
TEST(CResultName, IsThatOfEachCodeInTheHeader)
{
    std::ifstream header(ORVEL_SOURCE_DIR "/framework/kernel/result.h");
    const std::regex definition(
        "constexpr QvResult (QV_RES_[A-Z_]+) = (?:static_cast<QvResult>\\()?(0x[0-9A-F]+|0)\\)?;");
    std::map<uint32_t, std::string> names;
    unsigned int uLines = 0;
    for (std::string line; std::getline(header, line);)
    {
        if (line.rfind("constexpr QvResult ", 0) == 0) ++uLines;
        std::smatch match;
        if (std::regex_match(line, match, definition))
            names[static_cast<uint32_t>(std::stoul(match[2], nullptr, 0))] = match[1];
    }
    ASSERT_LE(13u, names.size());
    EXPECT_EQ(uLines, names.size()) << "a line was not understood, or a value stands there twice";
    for (const auto& [uCode, name] : names) EXPECT_EQ(name, QvResultName(static_cast<QvResult>(uCode)));

    // The numbers between and around them, in every class.
    for (uint32_t uClass = 0; uClass < 4; ++uClass)
    {
        for (uint32_t uNumber = 0; uNumber <= 0xFFFF; ++uNumber)
        {
            const uint32_t uCode = uClass << 30 | uNumber;
            const bool bNamed = names.count(uCode) != 0;
            ASSERT_EQ(bNamed, std::strcmp("unknown result", QvResultName(static_cast<QvResult>(uCode))) != 0) << uCode;
        }
    }
}

namespace
{
QvResult Counted(QvResult res, int& rnCalls)
{
    ++rnCalls;
    return res;
}

QvResult PassedOn(QvResult res, int& rnCalls)
{
    QV_RETURN_IF_FAILED(Counted(res, rnCalls));
    return 42;
}

template <typename First, typename Second>
QvResult ThatOf(QvResult res)
{
    return res;
}

// What stands around it must not matter.
QvResult AsOneStatement(bool bFirst, QvResult res)
{
    if (bFirst) QV_RETURN_IF_FAILED(res);
    else return 1;
    for (int n = 0; n < 3; ++n) QV_RETURN_IF_FAILED(n < 2 ? QV_RES_OK : (ThatOf<int, char>(res)));
    return 2;
}

constexpr QvResult AtCompileTime(QvResult res)
{
    QV_RETURN_IF_FAILED(res);
    return 3;
}
static_assert(AtCompileTime(QV_RES_FAIL) == QV_RES_FAIL && AtCompileTime(0x40000000) == 3);
}  // namespace

TEST(CResultReturn, PassesOnFailuresAlone)
{
    for (const QvResult res : {INT_MIN, QV_RES_FAIL, -1, QV_RES_OK, 1, 0x40000000, INT_MAX})
    {
        int nCalls = 0;
        EXPECT_EQ(res < 0 ? res : 42, PassedOn(res, nCalls));
        EXPECT_EQ(1, nCalls) << "evaluated once";
        EXPECT_EQ(res < 0 ? res : 2, AsOneStatement(true, res));
        EXPECT_EQ(1, AsOneStatement(false, res));
    }
}

// All of this compiles with -Wshadow.
TEST(CResultReturn, ToleratesNamesAndUsesWithinIt)
{
    const auto run = [](QvResult res)
    {
        QV_RETURN_IF_FAILED(res = res + 0);
        QV_RETURN_IF_FAILED(
            [&]() -> QvResult
            {
                QV_RETURN_IF_FAILED(
                    [&]() -> QvResult
                    {
                        QV_RETURN_IF_FAILED(res);
                        return res + 1;
                    }());
                return QV_RES_NO_INTERFACE;
            }());
        return QV_RES_OK;
    };
    EXPECT_EQ(QV_RES_FAIL, run(QV_RES_FAIL));
    EXPECT_EQ(QV_RES_NO_INTERFACE, run(QV_RES_OK));
}

// A bool, which would always look like a success, is no result.
template <typename Type, typename = void>
constexpr bool g_bCAN_FAIL = false;
template <typename Type>
constexpr bool g_bCAN_FAIL<Type, std::void_t<decltype(QvFailed(Type()))>> = true;
template <typename Type, typename = void>
constexpr bool g_bCAN_SUCCEED = false;
template <typename Type>
constexpr bool g_bCAN_SUCCEED<Type, std::void_t<decltype(QvSucceeded(Type()))>> = true;
static_assert(g_bCAN_FAIL<QvResult> && !g_bCAN_FAIL<bool>);
static_assert(g_bCAN_SUCCEED<QvResult> && !g_bCAN_SUCCEED<bool>);
static_assert(std::is_constructible_v<orvel_internal::CFailureOf, QvResult>);
static_assert(!std::is_constructible_v<orvel_internal::CFailureOf, bool>);
static_assert(!std::is_constructible_v<orvel_internal::CFailureOf, long>);
