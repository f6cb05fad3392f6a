// Oracles: the vectors of RFC 4648 and of Python, and a plain model of the steps. Random messages in random cuts are
// for fuzz/base64_fuzz.cpp, which compares with libcrypto, the paths for base64_internal_test.cpp.
#include "framework/crypto/base64.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <string>
#include <vector>

#include "tests/support/base64_model.h"
#include "tests/support/object_bytes.h"
#include "tests/support/page_end.h"
#include "tests/support/string_probe.h"
#include "tests/support/test_allocator.h"
#include "tests/support/test_seed.h"
#include "tests/support/vector_file.h"

namespace
{
constexpr CCipher::EAction g_eENCODE = CCipher::eACTION_ENCRYPT;
constexpr CCipher::EAction g_eDECODE = CCipher::eACTION_DECRYPT;
constexpr unsigned char g_uUNTOUCHED = 0xEE;

const uint8_t* BytesOf(const std::string& rstr)
{
    return reinterpret_cast<const uint8_t*>(rstr.data());
}

unsigned int SizeOf(const std::string& rstr)
{
    return static_cast<unsigned int>(rstr.size());
}

std::string TextOf(const CBlob& rblob)
{
    return std::string(rblob.begin(), rblob.end());
}

std::string RandomText(std::mt19937& rRng, unsigned int uSize)
{
    const std::vector<unsigned char> bytes = RandomBytes(rRng, uSize, uSize);
    return std::string(bytes.begin(), bytes.end());
}

CBase64 Make(CCipher::EAction eAction, unsigned int uAlphabet)
{
    CBase64 base64;
    base64.SetAlphabet(static_cast<CBase64::EAlphabet>(uAlphabet));
    EXPECT_EQ(QV_RES_OK, base64.Begin(eAction, CCipher::eMODE_DEFAULT, nullptr, 0, nullptr, 0));
    return base64;
}

struct SOutcome
{
    QvResult res;
    std::string strOut;
    bool operator==(const SOutcome& rOther) const { return res == rOther.res && strOut == rOther.strOut; }
};

void PrintTo(const SOutcome& rst, std::ostream* pStream)
{
    *pStream << rst.res << " with " << rst.strOut.size() << " bytes";
}

// An Update(); no byte behind what it reports changes.
SOutcome Feed(CBase64& rBase64, const std::string& rstrIn, std::size_t uRoom)
{
    std::string strOut(uRoom + 1, static_cast<char>(g_uUNTOUCHED));
    unsigned int uSize = UINT_MAX;
    const QvResult res =
        rBase64.Update(BytesOf(rstrIn), SizeOf(rstrIn), reinterpret_cast<uint8_t*>(strOut.data()), &uSize);
    EXPECT_LE(uSize, uRoom);
    EXPECT_EQ(std::string::npos, strOut.find_first_not_of(static_cast<char>(g_uUNTOUCHED), uSize));
    strOut.resize(uSize);
    return {res, strOut};
}

unsigned int Query(CBase64& rBase64, const std::string& rstrIn)
{
    unsigned int uSize = UINT_MAX;
    EXPECT_EQ(QV_RES_OK, rBase64.Update(BytesOf(rstrIn), SizeOf(rstrIn), nullptr, &uSize));
    return uSize;
}

// What End() adds to an encoded text.
std::string Flush(CBase64& rBase64)
{
    unsigned int uAsked = UINT_MAX;
    unsigned int uSize = UINT_MAX;
    uint8_t auOut[4];
    EXPECT_EQ(QV_RES_OK, rBase64.End(nullptr, &uAsked));
    EXPECT_EQ(QV_RES_OK, rBase64.End(auOut, &uSize));
    EXPECT_EQ(uAsked, uSize);
    return std::string(auOut, auOut + uSize);
}

// A text in two parts, one of which may be empty, beside the model.
void ExpectToDecodeAsTheModel(unsigned int uAlphabet, const std::string& rstrFirst, const std::string& rstrSecond)
{
    CBase64 base64 = Make(g_eDECODE, uAlphabet);
    CBase64Model model(uAlphabet);
    for (const std::string& rstrPart : {rstrFirst, rstrSecond})
    {
        if (rstrPart.empty()) continue;
        const std::size_t uAsked = model.QueryDecoded(rstrPart);
        ASSERT_EQ(uAsked, Query(base64, rstrPart));
        SOutcome stWant;
        stWant.res = model.UpdateDecoding(rstrPart, stWant.strOut);
        ASSERT_EQ(stWant, Feed(base64, rstrPart, uAsked)) << rstrFirst << " | " << rstrSecond;
    }
    unsigned int uLast = UINT_MAX;
    ASSERT_EQ(model.IsGroupBegun() ? QV_RES_FAIL : QV_RES_OK, base64.End(nullptr, &uLast));
    ASSERT_EQ(0u, uLast);
}

class CBase64Vector : public testing::TestWithParam<SVectorRecord>
{
};
TEST_P(CBase64Vector, EncodesAndDecodesAsPublished)
{
    const std::vector<unsigned char> bytes = GetParam().Bytes("bytes");
    const std::string strBytes(bytes.begin(), bytes.end());
    for (const unsigned int uAlphabet : {0u, 1u})
    {
        const std::vector<unsigned char> want = GetParam().Bytes(uAlphabet == 0 ? "standard" : "url");
        const std::string strWant(want.begin(), want.end());
        CBase64 encoder = Make(g_eENCODE, uAlphabet);
        std::string strText = Feed(encoder, strBytes, Query(encoder, strBytes)).strOut;
        strText += Flush(encoder);
        EXPECT_EQ(strWant, strText);
        CBase64 decoder = Make(g_eDECODE, uAlphabet);
        EXPECT_EQ(strBytes.size(), Query(decoder, strWant));
        EXPECT_EQ((SOutcome{QV_RES_OK, strBytes}), Feed(decoder, strWant, strBytes.size()));

        const CBase64::EAlphabet eAlphabet = static_cast<CBase64::EAlphabet>(uAlphabet);
        const CBlob blob(BytesOf(strBytes), SizeOf(strBytes));
        CString strAtOnce("before");
        EXPECT_EQ(QV_RES_OK, CBase64::ToText(blob, &strAtOnce, eAlphabet));
        EXPECT_EQ(strWant, TextOf(strAtOnce));
        CBlob blobBack(BytesOf("before"), 6);
        EXPECT_EQ(QV_RES_OK, CBase64::FromText(strAtOnce, &blobBack, eAlphabet));
        EXPECT_EQ(blob, blobBack);
        EXPECT_EQ(QV_RES_OK, CBase64::FromText(strWant.c_str(), &blobBack, eAlphabet));
        EXPECT_EQ(blob, blobBack);
    }
}
INSTANTIATE_TEST_SUITE_P(Published, CBase64Vector, testing::ValuesIn(ReadVectors("base64.vec")));

class CBase64WithAlphabet : public testing::TestWithParam<unsigned int>
{
protected:
    std::mt19937 m_rng{TestSeed()};
    const CBase64Model m_model{GetParam()};
};

TEST_P(CBase64WithAlphabet, EveryLengthInEveryPairOfCutsEncodesTheSame)
{
    for (unsigned int uLength = 0; uLength <= 150; ++uLength)
    {
        const std::string strBytes = RandomText(m_rng, uLength);
        const std::string strWant = m_model.Encode(strBytes);
        for (std::size_t uCut = 0; uCut <= uLength; ++uCut)
        {
            CBase64 base64 = Make(g_eENCODE, GetParam());
            std::string strText;
            for (const std::string& rstrPart : {strBytes.substr(0, uCut), strBytes.substr(uCut)})
            {
                if (rstrPart.empty()) continue;
                const unsigned int uAsked = Query(base64, rstrPart);
                const SOutcome stOutcome = Feed(base64, rstrPart, uAsked);
                ASSERT_EQ(QV_RES_OK, stOutcome.res);
                ASSERT_EQ(uAsked, stOutcome.strOut.size());
                strText += stOutcome.strOut;
            }
            strText += Flush(base64);
            ASSERT_EQ(strWant, strText) << uLength << " bytes cut at " << uCut;
        }
        CPageEnd output(strWant.size());
        Make(g_eENCODE, GetParam()).Encode(CPageEnd(strBytes).Get(), uLength, output.Get());
        ASSERT_EQ(strWant, std::string(output.GetText(), strWant.size())) << "at once";
    }
}

TEST_P(CBase64WithAlphabet, EveryLengthInEveryPairOfCutsDecodesAsTheModelDoes)
{
    for (unsigned int uLength = 1; uLength <= 110; ++uLength)
    {
        const std::string strText = m_model.Encode(RandomText(m_rng, uLength));
        for (std::size_t uCut = 0; uCut <= strText.size(); ++uCut)
        {
            ASSERT_NO_FATAL_FAILURE(
                ExpectToDecodeAsTheModel(GetParam(), strText.substr(0, uCut), strText.substr(uCut)));
        }
    }
}

// The byte stands in a group with letters, with up to three characters of the group fed before, behind a run of good
// groups that every path takes whole.
TEST_P(CBase64WithAlphabet, EveryByteAtEveryPlaceOfAGroupDecodesAsTheModelDoes)
{
    for (unsigned int uCase = 0; uCase < 256 * 4 * 2 * 4 * 4; ++uCase)
    {
        const std::size_t uPlace = uCase / 256 % 4;
        const std::size_t uGoodGroups = uCase / 1024 % 2 * 40;
        const std::size_t uBefore = uCase / 2048 % 4;
        const char* const apszGroups[] = {"Qx9z", "Qx9=", "Qx==", "Q=9z"};
        std::string strText;
        for (std::size_t u = 0; u < uGoodGroups; ++u) strText += "Zm9v";
        strText += apszGroups[uCase / 8192];
        strText[4 * uGoodGroups + uPlace] = static_cast<char>(uCase % 256);
        strText += "YmFyYmFy";
        ASSERT_NO_FATAL_FAILURE(
            ExpectToDecodeAsTheModel(GetParam(), strText.substr(0, uBefore), strText.substr(uBefore)));
    }
}

TEST_P(CBase64WithAlphabet, PositionIsTheValueOfACharacter)
{
    // All selectors from 2 on stand for the same.
    CBase64 base64 = Make(g_eENCODE, GetParam() == 2 ? UINT_MAX : GetParam());
    for (unsigned int u = 0; u < 256; ++u)
    {
        EXPECT_EQ(m_model.Value(static_cast<unsigned char>(u)), base64.Position(static_cast<uint8_t>(u))) << u;
    }
}

TEST_P(CBase64WithAlphabet, DecodeRefusesAnUnfinishedGroupBehindTheOthers)
{
    struct SCase
    {
        const char* pszText;
        unsigned int uSize;
        QvResult res;
        unsigned int uWritten;
    };
    const SCase astCases[] = {{"Zm9vYmFy", 1, QV_RES_FAIL, 0}, {"Zm9vYmFy", 3, QV_RES_FAIL, 0},
                              {"Zm9vYmFy", 5, QV_RES_FAIL, 3}, {"Zm9vYmFy", 7, QV_RES_FAIL, 3},
                              {"Zg==Zm", 6, QV_RES_OK, 1},     {"", 0, QV_RES_OK, 0}};
    for (const SCase& rstCase : astCases)
    {
        uint8_t auOut[9];
        unsigned int uWritten = 77;
        EXPECT_EQ(rstCase.res,
                  Make(g_eENCODE, GetParam()).Decode(BytesOf(rstCase.pszText), rstCase.uSize, auOut, &uWritten));
        EXPECT_EQ(rstCase.uWritten, uWritten) << rstCase.uSize << " of " << rstCase.pszText;
    }
}

// Good and damaged texts: with a character changed, dropped, doubled or appended, at every place.
TEST_P(CBase64WithAlphabet, AtOnceOnlyTextsThatEncodingGivesAreTaken)
{
    const auto eAlphabet = static_cast<CBase64::EAlphabet>(GetParam());
    unsigned int uTaken = 0;
    for (unsigned int uCase = 0; uCase < 20000; ++uCase)
    {
        std::string strText = m_model.Encode(RandomText(m_rng, Below(m_rng, 70)));
        const std::size_t uAt = Below(m_rng, strText.size() + 1);
        const char c = "=A/+-_ 9\n\0"[Below(m_rng, 10)];
        switch (Below(m_rng, 5))
        {
            case 0: strText.insert(uAt, 1, c); break;
            case 1: strText.erase(uAt < strText.size() ? uAt : 0, 1); break;
            case 2: strText.replace(uAt, 1, 1, c); break;
            case 3: strText += m_model.Encode(RandomText(m_rng, Below(m_rng, 5))); break;
            default: break;
        }
        std::string strWant;
        const bool bGood = m_model.Decode(strText, strWant) >= 0 && m_model.Encode(strWant) == strText;
        uTaken += bGood ? 1 : 0;
        const std::string strBefore = RandomText(m_rng, Below(m_rng, 3) * 20);
        CBlob blob(BytesOf(strBefore), SizeOf(strBefore));
        blob.SkipBits(13);
        const unsigned int uUnread = blob.GetUnreadBits();
        ASSERT_EQ(bGood ? QV_RES_OK : QV_RES_INVALID_ARGUMENT,
                  CBase64::FromText(CString(strText.data(), SizeOf(strText)), &blob, eAlphabet))
            << strText;
        ASSERT_EQ(bGood ? strWant : strBefore, TextOf(blob)) << strText;
        ASSERT_EQ(bGood ? blob.GetSize() * 8 : uUnread, blob.GetUnreadBits()) << "the cursors";
    }
    EXPECT_LT(1000u, uTaken);
    EXPECT_GT(14000u, uTaken);
}

INSTANTIATE_TEST_SUITE_P(Alphabets, CBase64WithAlphabet, testing::Values(0u, 1u, 2u),
                         [](const auto& rInfo) { return "Selector" + std::to_string(rInfo.param); });

// Texts in the parts that are fed, and what each gives.
TEST(CBase64Decoding, TreatsGroupsThatEndOrFailAsItAlwaysHas)
{
    struct SPart
    {
        const char* pszText;
        QvResult res;
        const char* pszBytes;
    };
    struct SCase
    {
        const char* pszName;
        std::vector<SPart> parts;
        QvResult resEnd;
    };
    const SCase astCases[] = {
        {"what follows a padded group in one call is ignored", {{"Zg==Zm8=", QV_RES_OK, "f"}}, QV_RES_OK},
        {"whatever it is", {{"Zg==****", QV_RES_OK, "f"}}, QV_RES_OK},
        {"behind others as well", {{"Zm9vZm8=Zm9v", QV_RES_OK, "foofo"}}, QV_RES_OK},
        {"a group begun before is decoded by itself", {{"Zg", QV_RES_OK, ""}, {"==Zm8=", QV_RES_OK, "ffo"}}, QV_RES_OK},
        {"a letter behind a pad", {{"Zg=g", QV_RES_FAIL, ""}}, QV_RES_OK},
        {"too many pads", {{"Z===", QV_RES_FAIL, ""}}, QV_RES_OK},
        {"an unfinished group stays beyond End()", {{"Zm9", QV_RES_OK, ""}}, QV_RES_FAIL},
        {"a group that failed is gone",
         {{"Zm*", QV_RES_OK, ""}, {"vZm9v", QV_RES_FAIL, ""}, {"Zm9v", QV_RES_OK, "foo"}},
         QV_RES_OK},
    };
    for (const SCase& rstCase : astCases)
    {
        SCOPED_TRACE(rstCase.pszName);
        CBase64 base64 = Make(g_eDECODE, 0);
        for (const SPart& rstPart : rstCase.parts)
        {
            EXPECT_EQ((SOutcome{rstPart.res, rstPart.pszBytes}), Feed(base64, rstPart.pszText, 9));
        }
        for (unsigned int u = 0; u < 2; ++u)
        {
            uint8_t uOut = g_uUNTOUCHED;
            unsigned int uSize = 77;
            EXPECT_EQ(rstCase.resEnd, base64.End(&uOut, &uSize));
            EXPECT_EQ(0u, uSize);
            EXPECT_EQ(g_uUNTOUCHED, uOut);
        }
        if (rstCase.resEnd == QV_RES_FAIL) { EXPECT_EQ((SOutcome{QV_RES_OK, "foo"}), Feed(base64, "v", 3)); }
    }
}

TEST(CBase64Queries, ChangeNothing)
{
    CBase64 base64;
    EXPECT_EQ((SOutcome{QV_RES_OK, ""}), Feed(base64, "fo", 4));
    EXPECT_EQ(4u, Query(base64, "o"));
    EXPECT_EQ(4u, Query(base64, "o"));
    EXPECT_EQ(8u, Query(base64, "obar"));
    unsigned int uSize = 0;
    EXPECT_EQ(QV_RES_OK, base64.End(nullptr, &uSize));
    EXPECT_EQ(4u, uSize);
    CBase64 copy(base64);
    EXPECT_EQ((SOutcome{QV_RES_OK, "Zm9v"}), Feed(base64, "o", 4));
    EXPECT_EQ("", Flush(base64));
    EXPECT_EQ("Zm8=", Flush(copy));
}

TEST(CBase64Refusals, HaveTheirCodes)
{
    CBase64 base64;
    uint8_t auBytes[8] = {1, 2, 3};
    unsigned int uSize = 77;
    CBlob blob(auBytes, 3);
    CBlob blobEmpty;
    for (const CCipher::EAction eAction : {g_eENCODE, g_eDECODE, static_cast<CCipher::EAction>(3)})
    {
        ASSERT_EQ(QV_RES_OK, base64.Begin(eAction, CCipher::eMODE_DEFAULT, nullptr, nullptr));
        EXPECT_EQ(QV_RES_INVALID_ARGUMENT, base64.Update(nullptr, 3, auBytes, &uSize));
        EXPECT_EQ(QV_RES_INVALID_ARGUMENT, base64.Update(auBytes, 0, auBytes, &uSize));
        EXPECT_EQ(QV_RES_INVALID_ARGUMENT, base64.Update(auBytes, 3, auBytes, nullptr));
        EXPECT_EQ(QV_RES_INVALID_ARGUMENT, base64.End(auBytes, nullptr));
        EXPECT_EQ(QV_RES_INVALID_ARGUMENT, base64.Update(nullptr, &blob, false));
        EXPECT_EQ(QV_RES_INVALID_ARGUMENT, base64.Update(&blob, nullptr, false));
        EXPECT_EQ(QV_RES_INVALID_ARGUMENT, base64.Update(&blobEmpty, &blob, false));
        EXPECT_EQ(QV_RES_INVALID_ARGUMENT, base64.End(nullptr, false));
    }
    EXPECT_EQ(77u, uSize);
}

TEST(CBase64Refusals, AnOutputThatNeedsMoreThan32BitsIsRefused)
{
    CBase64 base64;
    const uint8_t uByte = 0;
    unsigned int uSize = 77;
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, base64.Update(&uByte, UINT_MAX, nullptr, &uSize));
    EXPECT_EQ(77u, uSize);
    // 4 * (2^30 - 1) characters just fit.
    EXPECT_EQ(QV_RES_OK, base64.Update(&uByte, 3 * ((1u << 30) - 1) + 2, nullptr, &uSize));
    EXPECT_EQ(0xFFFFFFFCu, uSize);
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, base64.Update(&uByte, 3u << 30, nullptr, &uSize));
    EXPECT_EQ((SOutcome{QV_RES_OK, ""}), Feed(base64, "x", 0));
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, base64.Update(&uByte, (3u << 30) - 1, nullptr, &uSize)) << "with the rest";
    EXPECT_EQ(QV_RES_OK, base64.Update(&uByte, (3u << 30) - 2, nullptr, &uSize));
}

TEST(CBase64Begin, RefusesKeysAndVectorsOfTheRawFormOnly)
{
    CBase64 base64 = Make(g_eDECODE, 0);
    const uint8_t uByte = 0;
    const CBlob blob(&uByte, 1);
    EXPECT_EQ((SOutcome{QV_RES_OK, ""}), Feed(base64, "Zm9", 3));
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, base64.Begin(g_eENCODE, CCipher::eMODE_DEFAULT, &uByte, 0, nullptr, 0));
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, base64.Begin(g_eENCODE, CCipher::eMODE_DEFAULT, nullptr, 0, &uByte, 0));
    EXPECT_EQ((SOutcome{QV_RES_OK, "foo"}), Feed(base64, "v", 3)) << "a refused call changes nothing";
    EXPECT_EQ(QV_RES_OK, base64.Begin(CCipher::eACTION_DEFAULT, CCipher::eMODE_DEFAULT, nullptr, 5, nullptr, 6));
    EXPECT_EQ((SOutcome{QV_RES_OK, "Zm9v"}), Feed(base64, "foox", 4)) << "the default action encodes";
    EXPECT_EQ(QV_RES_OK, base64.Begin(g_eENCODE, CCipher::eMODE_CTR, &blob, &blob));
    EXPECT_EQ("", Flush(base64)) << "the group that was begun is empty";
}

TEST(CBase64Begin, AnActionThatIsNoneDoesNothing)
{
    CBase64 base64;
    CBlob blobIn(BytesOf("foo"), 3);
    CBlob blobOut(BytesOf("keep"), 4);
    uint8_t auOut[8] = {g_uUNTOUCHED};
    unsigned int uSize = 77;
    ASSERT_EQ(QV_RES_OK, base64.Begin(static_cast<CCipher::EAction>(3), CCipher::eMODE_DEFAULT, nullptr, nullptr));
    EXPECT_EQ(QV_RES_OK, base64.Update(BytesOf("foo"), 3, auOut, &uSize));
    EXPECT_EQ(QV_RES_OK, base64.End(auOut, &uSize));
    EXPECT_EQ(77u, uSize);
    EXPECT_EQ(g_uUNTOUCHED, auOut[0]);
    EXPECT_EQ(QV_RES_OK, base64.Update(&blobIn, &blobOut, true));
    EXPECT_EQ(QV_RES_OK, base64.End(&blobOut, true));
    EXPECT_EQ("keep", TextOf(blobOut));
}

TEST(CBase64Alphabet, StaysAcrossBegin)
{
    CBase64 base64;
    EXPECT_EQ(CBase64::eALPHABET_STANDARD, base64.GetAlphabet());
    base64.SetAlphabet(CBase64::eALPHABET_URL_SAFE);
    ASSERT_EQ(QV_RES_OK, base64.Begin(g_eENCODE, CCipher::eMODE_DEFAULT, nullptr, nullptr));
    EXPECT_EQ(CBase64::eALPHABET_URL_SAFE, base64.GetAlphabet());
    EXPECT_EQ((SOutcome{QV_RES_OK, "-_-_"}), Feed(base64, "\xFB\xFF\xBF", 4));
    base64.SetAlphabet(CBase64::eALPHABET_STANDARD);
    EXPECT_EQ((SOutcome{QV_RES_OK, "+/+/"}), Feed(base64, "\xFB\xFF\xBF", 4));
}

TEST(CBase64Blobs, GiveWhatBuffersGive)
{
    CTestAllocator allocator;
    const CBlob blobFirst(BytesOf("foob"), 4, 0, &allocator);
    const CBlob blobSecond(BytesOf("ar!!"), 4, 0, &allocator);
    CBlob blobText(BytesOf("0123"), 4, 0, &allocator);
    CBase64 base64;
    ASSERT_EQ(QV_RES_OK, base64.Update(&blobFirst, &blobText, false));
    EXPECT_EQ("Zm9v", TextOf(blobText));
    EXPECT_EQ(5u, blobText.GetCapacity()) << "room for one byte more than the text";
    ASSERT_EQ(QV_RES_OK, base64.Update(&blobSecond, &blobText, true));
    EXPECT_EQ("Zm9vYmFy", TextOf(blobText));
    EXPECT_EQ(9u, blobText.GetCapacity());
    ASSERT_EQ(QV_RES_OK, base64.End(&blobText, true));
    EXPECT_EQ("Zm9vYmFyISE=", TextOf(blobText));
    EXPECT_EQ(12u, blobText.GetCapacity());
    ASSERT_EQ(QV_RES_OK, base64.End(&blobText, true));
    EXPECT_EQ("Zm9vYmFyISE=", TextOf(blobText));

    CBlob blobBytes(BytesOf("<"), 1, 0, &allocator);
    ASSERT_EQ(QV_RES_OK, base64.Begin(g_eDECODE, CCipher::eMODE_DEFAULT, nullptr, nullptr));
    ASSERT_EQ(QV_RES_OK, base64.Update(&blobText, &blobBytes, true));
    EXPECT_EQ("<foobar!!", TextOf(blobBytes));
    ASSERT_EQ(QV_RES_OK, base64.End(&blobBytes, false));
    EXPECT_EQ("", TextOf(blobBytes));
}

TEST(CBase64Blobs, AFailureIsReturnedAndLeavesTheOutputAsItWas)
{
    CTestAllocator allocator;
    const CBlob blobBad(BytesOf("Zm9vZm*v"), 8);
    const CBlob blobGood(BytesOf("Zm9vZm9vZm9"), 11);
    CBlob blobOut(BytesOf("keep"), 4, 0, &allocator);
    CBase64 base64 = Make(g_eDECODE, 0);
    EXPECT_EQ(QV_RES_FAIL, base64.Update(&blobBad, &blobOut, true));
    EXPECT_EQ("keep", TextOf(blobOut));
    blobOut.ReduceCapacity(0);
    allocator.SetRefusing(true);
    EXPECT_EQ(QV_RES_OUT_OF_MEMORY, base64.Update(&blobGood, &blobOut, true));
    EXPECT_EQ("keep", TextOf(blobOut));
    allocator.SetRefusing(false);
    EXPECT_EQ(QV_RES_OK, base64.Update(&blobGood, &blobOut, true));
    EXPECT_EQ(QV_RES_FAIL, base64.End(&blobOut, true));
    EXPECT_EQ("keepfoofoo", TextOf(blobOut));

    const CBlob blobIn(BytesOf("f"), 1);
    blobOut.ReduceCapacity(0);
    base64 = Make(g_eENCODE, 0);
    ASSERT_EQ(QV_RES_OK, base64.Update(&blobIn, &blobOut, false));
    blobOut.ReduceCapacity(0);
    allocator.SetRefusing(true);
    EXPECT_EQ(QV_RES_OUT_OF_MEMORY, base64.End(&blobOut, true));
    allocator.SetRefusing(false);
    EXPECT_EQ(QV_RES_OK, base64.End(&blobOut, true)) << "nothing is lost";
    EXPECT_EQ("Zg==", TextOf(blobOut));
}

TEST(CBase64AtOnce, ATextThatAStringCannotHoldIsRefused)
{
    const std::string strBytes(49150, '\0');
    CString strText("before");
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, CBase64::ToText(CBlob(BytesOf(strBytes), 49150), &strText));
    EXPECT_EQ("before", TextOf(strText));
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, CBase64::ToText(CBlob(), nullptr));
    EXPECT_EQ(QV_RES_OK, CBase64::ToText(CBlob(BytesOf(strBytes), 49149), &strText));
    EXPECT_EQ(std::string(65532, 'A'), TextOf(strText));
    EXPECT_EQ(QV_RES_OK, CBase64::ToText(CBlob(), &strText));
    EXPECT_EQ("", TextOf(strText));
}

TEST(CBase64AtOnce, ATextMayStandInTheBlobAndBeLongerThanAString)
{
    const std::string strText(100000, 'A');
    for (const unsigned int uCapacity : {0u, 200000u})
    {
        CBlob blob(BytesOf(strText), 100001, uCapacity);  // with its NUL
        EXPECT_EQ(QV_RES_OK, CBase64::FromText(reinterpret_cast<const char*>(blob.begin()), &blob));
        EXPECT_EQ(std::string(75000, '\0'), TextOf(blob));
        blob.Clear();
        ASSERT_EQ(QV_RES_OK, blob.Assign(BytesOf(std::string("....Zm9v")), 9));
        EXPECT_EQ(QV_RES_OK, CBase64::FromText(reinterpret_cast<const char*>(blob.begin() + 4), &blob));
        EXPECT_EQ("foo", TextOf(blob));
    }
}

TEST(CBase64AtOnce, RefusalsChangeNothing)
{
    CTestAllocator allocator;
    CBlob blob(BytesOf("keep"), 4, 0, &allocator);
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, CBase64::FromText("Zm9v", nullptr));
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, CBase64::FromText(nullptr, &blob));
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, CBase64::FromText("-_-_", &blob));
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, CBase64::FromText("+/+/", &blob, CBase64::eALPHABET_URL_SAFE));
    ASSERT_EQ(QV_RES_OK, blob.ReduceCapacity(0));
    allocator.SetRefusing(true);
    EXPECT_EQ(QV_RES_OUT_OF_MEMORY, CBase64::FromText("Zm9v", &blob));
    EXPECT_EQ("keep", TextOf(blob));
    allocator.SetRefusing(false);
    EXPECT_EQ(QV_RES_OK, CBase64::FromText("", &blob));
    EXPECT_EQ("", TextOf(blob));
    EXPECT_EQ(QV_RES_OK, CBase64::FromText("", &blob));
}

TEST(CBase64Object, DestructionSetsBackAllButTheAlphabet)
{
    alignas(CBase64) unsigned char auStorage[sizeof(CBase64)];
    CBase64* const pBase64 = new (auStorage) CBase64;
    for (const std::size_t uField : {8u, 12u, 16u, 20u}) StoreAt(auStorage, uField, 0u);
    StoreAt(auStorage, 28, 3u);
    StoreAt(auStorage, 32, 1u);
    pBase64->~CBase64();
    const std::pair<std::size_t, unsigned int> aFields[] = {{8, 1}, {12, 5}, {16, 1}, {20, 5}, {28, 0}, {32, 1}};
    for (const auto& [uField, uWant] : aFields) EXPECT_EQ(uWant, LoadAt<unsigned int>(auStorage, uField)) << uField;
}
}  // namespace
