// Strings when memory runs out: the n-th request of the whole process is refused here, wherever it comes from.
#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "framework/basic/string.h"
#include "tests/support/refusing_new.h"
#include "tests/support/string_probe.h"

namespace
{
/// Refuses the uNth request, counted from 1, and all behind it if told to.
class CRefusal : public CRefusingNew
{
public:
    explicit CRefusal(unsigned int uNth, bool bAllBehind = true)
        : CRefusingNew(uNth - 1, eNOTHROW_ARRAY, bAllBehind ? ERefused::eALL_BEHIND : ERefused::eONE)
    {
    }
};

const std::string g_str40(40, 'a');
const std::string g_str600(600, 'b');

/// An operation, what it makes of a text of 40 characters, and what it leaves when memory runs out.
struct SOperation
{
    const char* pszName;
    /// A negative result, or 0 from what returns nothing.
    std::function<QvResult(CString&)> fnRun;
    std::string strDone;
    std::string strRefused;
    bool bReports;
};

class CStringWithoutMemory : public testing::TestWithParam<SOperation>
{
protected:
    /// Refuses each request of the operation in turn until it succeeds without a refusal.
    void Sweep(bool bShared, bool bAllBehind)
    {
        for (unsigned int uNth = 1;; ++uNth)
        {
            SCOPED_TRACE(testing::Message() << "request " << uNth << (bShared ? ", shared" : ", private"));
            ASSERT_LT(uNth, 20u);
            CString strText(g_str40.c_str());
            CString strCopy;
            if (bShared) strCopy = strText;
            QvResult res;
            bool bRefused;
            {
                const CRefusal refusal(uNth, bAllBehind);
                res = GetParam().fnRun(strText);
                bRefused = refusal.HasRefused();
            }
            ASSERT_EQ('\0', *strText.end());
            if (bShared)
            {
                ASSERT_EQ(g_str40, TextOf(strCopy));
                ASSERT_EQ(64u, strCopy.GetCapacity());
            }
            if (!bRefused)
            {
                ASSERT_EQ(QV_RES_OK, res);
                ASSERT_EQ(GetParam().strDone, TextOf(strText));
                return;
            }
            ASSERT_EQ(GetParam().bReports ? QV_RES_OUT_OF_MEMORY : QV_RES_OK, res);
            // Only cutting a text short is refused as well when the block is shared.
            if (bShared && TextOf(strText) == g_str40) continue;
            ASSERT_EQ(GetParam().strRefused, TextOf(strText));
        }
    }
};
TEST_P(CStringWithoutMemory, APrivateStringStaysAsItWas)
{
    Sweep(false, true);
}
TEST_P(CStringWithoutMemory, ASharedStringStaysAsItWas)
{
    Sweep(true, true);
}
TEST_P(CStringWithoutMemory, ASingleRefusalIsNoticedToo)
{
    Sweep(false, false);
    Sweep(true, false);
}

SOperation Silent(const char* pszName, std::function<void(CString&)> fnRun, const std::string& rDone)
{
    return {pszName,
            [fnRun](CString& rText)
            {
                fnRun(rText);
                return QV_RES_OK;
            },
            rDone, g_str40, false};
}
SOperation Reporting(const char* pszName, std::function<QvResult(CString&)> fnRun, const std::string& rDone,
                     const std::string& rRefused = g_str40)
{
    return {pszName, fnRun, rDone, rRefused, true};
}

std::string WithoutFirst(const std::string& rText)
{
    return rText.substr(1);
}

INSTANTIATE_TEST_SUITE_P(
    All, CStringWithoutMemory,
    testing::Values(
        Reporting(
            "InsertText", [](CString& r) { return r.Insert(0, 1, "x", 1); }, std::string("x") + g_str40),
        Reporting(
            "InsertLongText", [](CString& r) { return r.Insert(40, 1, g_str600.c_str(), 600); }, g_str40 + g_str600),
        Reporting(
            "InsertCharacters", [](CString& r) { return r.Insert(0, 600, 'b'); }, g_str600 + g_str40),
        Reporting(
            "InsertItself", [](CString& r) { return r.Insert(40, 1, r, 0, 40); }, g_str40 + g_str40),
        Reporting(
            "InsertItsPiece", [](CString& r) { return r.Insert(0, 1, r.CStr() + 30, 10); }, g_str40 + "aaaaaaaaaa"),
        Reporting(
            "Reserve", [](CString& r) { return r.ReserveCapacity(1000); }, g_str40),
        Reporting(
            "Reduce",
            [](CString& r)
            {
                const QvResult res = r.ReduceCapacity(0);
                EXPECT_EQ(64u, r.GetCapacity());
                return res;
            },
            g_str40),
        Reporting(
            "FormatShort", [](CString& r) { return r.Format(1, "%s", "bc"); }, "abc", "a"),
        Reporting(
            "FormatLong", [](CString& r) { return r.Format(1, "%s", g_str600.c_str()); }, std::string("a") + g_str600,
            "a"),
        Reporting(
            "FormatItself", [](CString& r) { return r.Format(40, "%s%s", r.CStr(), r.CStr()); },
            g_str40 + g_str40 + g_str40),
        Silent(
            "AssignText", [](CString& r) { r = "text"; }, "text"),
        Silent(
            "AssignLongText", [](CString& r) { r = g_str600.c_str(); }, g_str600),
        Silent(
            "AssignItsPiece", [](CString& r) { r = r.CStr() + 1; }, WithoutFirst(g_str40)),
        Silent(
            "AssignCharacter", [](CString& r) { r = 'x'; }, "x"),
        Silent(
            "AppendText", [](CString& r) { r += g_str600.c_str(); }, g_str40 + g_str600),
        Silent(
            "AppendItself", [](CString& r) { r += r; }, g_str40 + g_str40),
        Silent(
            "AppendCharacter", [](CString& r) { r += 'x'; }, g_str40 + "x"),
        Silent(
            "SetAt", [](CString& r) { r.SetAt(0, 'x'); }, std::string("x") + WithoutFirst(g_str40)),
        Silent(
            "LowerCase", [](CString& r) { r.ToLowerCase(); }, g_str40),
        Silent(
            "Erase", [](CString& r) { r.Erase(0, 1); }, WithoutFirst(g_str40)),
        Silent(
            "EraseAll", [](CString& r) { r.EraseAll(); }, ""),
        Silent(
            "TrimLeft", [](CString& r) { r.TrimLeftSide('a'); }, ""),
        Silent(
            "TrimRight", [](CString& r) { r.TrimRightSide('a'); }, ""),
        Silent(
            "Resize", [](CString& r) { r.Resize(1); }, "a"),
        Silent(
            "Buffer",
            [](CString& r)
            {
                char* const pcBuffer = r.GetBuffer();
                if (pcBuffer != nullptr) pcBuffer[0] = 'x';
            },
            std::string("x") + WithoutFirst(g_str40))),
    [](const auto& rInfo) { return std::string(rInfo.param.pszName); });
}  // namespace

TEST(CStringMemory, AConstructorWithoutMemoryGivesAnEmptyString)
{
    const CRefusal refusal(1);
    EXPECT_EQ(0u, CString("text").GetSize());
    EXPECT_EQ(0u, CString("text", 2).GetSize());
    EXPECT_EQ(0u, ShareCountOf(CString("text")));
}

TEST(CStringMemory, APieceOfASharedBlockThatCannotBeKeptAsideIsNotAssigned)
{
    CString strText("abcdef");
    const CString strCopy(strText);
    {
        const CRefusal refusal(1, false);
        strText = strText.CStr() + 2;
    }
    EXPECT_EQ("abcdef", TextOf(strText));
    EXPECT_EQ("abcdef", TextOf(strCopy));
}

TEST(CStringMemory, ACopyNeedsNone)
{
    const CString strText("text");
    const CRefusal refusal(1);
    const CString strCopy(strText);
    CString strAssigned;
    strAssigned = strText;
    EXPECT_FALSE(refusal.HasRefused());
    EXPECT_EQ("text", TextOf(strAssigned));
    EXPECT_EQ(3u, ShareCountOf(strText));
}

TEST(CStringMemory, APrivateCopyThatCannotBeHadLeavesTheStringOnTheSharedBlock)
{
    const CString strText("text");
    CStringProbe strCopy(strText);
    const CRefusal refusal(1);
    EXPECT_EQ(QV_RES_OUT_OF_MEMORY, strCopy.CreateCopy());
    EXPECT_EQ(strText.CStr(), strCopy.CStr());
    EXPECT_EQ(2u, ShareCountOf(strText));
    EXPECT_EQ(nullptr, strCopy.GetBuffer());
}

TEST(CStringMemory, SumsWithoutMemoryKeepWhatTheyHave)
{
    const CString strText("text");
    const CRefusal refusal(1);
    EXPECT_EQ("text", TextOf(strText + "more"));
    EXPECT_EQ("text", TextOf(strText + strText));
    EXPECT_EQ("text", TextOf(strText + 'c'));
    EXPECT_EQ("text", TextOf(strText));
}

TEST(CStringMemory, AStringThatCannotBeReadIsEmptyAndItsCharactersAreSkipped)
{
    for (const bool bShared : {false, true})
    {
        CMarshaler marshaler;
        marshaler << CString(g_str600.c_str()) << 0xABCDu;
        CString strText("before");
        CString strCopy;
        if (bShared) strCopy = strText;
        {
            const CRefusal refusal(1);
            marshaler >> strText;
        }
        unsigned int uBehind = 0;
        marshaler >> uBehind;
        EXPECT_EQ(0xABCDu, uBehind);
        EXPECT_EQ("", TextOf(strText));
        EXPECT_EQ(bShared ? "before" : "", TextOf(strCopy));
    }
}

TEST(CStringMemory, AShortStringReadIntoASharedOneWithoutMemoryLeavesTheOtherAlone)
{
    CMarshaler marshaler;
    marshaler << CString("abc") << 0xABCDu;
    CString strText("before");
    const CString strCopy(strText);
    {
        const CRefusal refusal(1);
        marshaler >> strText;
    }
    unsigned int uBehind = 0;
    marshaler >> uBehind;
    EXPECT_EQ(0xABCDu, uBehind);
    EXPECT_EQ("", TextOf(strText));
    EXPECT_EQ("before", TextOf(strCopy));
}
