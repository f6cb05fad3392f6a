// Oracles: the vectors of RFC 4648 and of Python, libcrypto, and a plain model of the steps.
#include "framework/crypto/base64.h"

#include <gtest/gtest.h>
#include <openssl/evp.h>

#include <climits>
#include <cstdint>
#include <string>
#include <vector>

#include "tests/support/base64_model.h"
#include "tests/support/object_bytes.h"
#include "tests/support/page_end.h"
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

std::string RandomText(std::mt19937& rRng, unsigned int uMin, unsigned int uMax)
{
    const std::vector<unsigned char> bytes = RandomBytes(rRng, uMin, uMax);
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

// An Update() whose input ends, and whose output would, at the end of a page; no byte behind what it reports changes.
SOutcome Feed(CBase64& rBase64, const std::string& rstrIn, std::size_t uRoom)
{
    const CPageEnd input(rstrIn);
    CPageEnd output(std::string(uRoom, static_cast<char>(g_uUNTOUCHED)));
    unsigned int uSize = UINT_MAX;
    const QvResult res = rBase64.Update(input.Get(), SizeOf(rstrIn), output.Get(), &uSize);
    EXPECT_LE(uSize, uRoom);
    for (std::size_t u = uSize; u < uRoom; ++u) EXPECT_EQ(g_uUNTOUCHED, output.Get()[u]) << "byte " << u;
    return {res, std::string(output.Get(), output.Get() + uSize)};
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
        unsigned int uLast = 77;
        EXPECT_EQ(QV_RES_OK, decoder.End(nullptr, &uLast));
        EXPECT_EQ(0u, uLast);
    }
}
INSTANTIATE_TEST_SUITE_P(Published, CBase64Vector, testing::ValuesIn(ReadVectors("base64.vec")));

class CBase64WithAlphabet : public testing::TestWithParam<unsigned int>
{
protected:
    CBase64Model Model() const { return CBase64Model(GetParam()); }
};

TEST_P(CBase64WithAlphabet, EveryLengthInEveryPairOfCutsEncodesTheSame)
{
    std::mt19937 rng(TestSeed());
    for (unsigned int uLength = 0; uLength <= 300; ++uLength)
    {
        const std::string strBytes = RandomText(rng, uLength, uLength);
        const std::string strWant = Model().Encode(strBytes);
        for (std::size_t uCut = 0; uCut <= uLength; ++uCut)
        {
            CBase64 base64 = Make(g_eENCODE, GetParam());
            std::string strText;
            for (const std::string& rstrPart : {strBytes.substr(0, uCut), strBytes.substr(uCut)})
            {
                if (rstrPart.empty()) continue;
                std::string strOut(Query(base64, rstrPart), '?');
                unsigned int uSize = 0;
                ASSERT_EQ(QV_RES_OK, base64.Update(BytesOf(rstrPart), SizeOf(rstrPart),
                                                   reinterpret_cast<uint8_t*>(strOut.data()), &uSize));
                ASSERT_EQ(strOut.size(), uSize);
                strText += strOut;
            }
            strText += Flush(base64);
            ASSERT_EQ(strWant, strText) << uLength << " bytes cut at " << uCut;
        }
    }
}

TEST_P(CBase64WithAlphabet, EveryLengthInEveryPairOfCutsDecodesAsTheModelDoes)
{
    std::mt19937 rng(TestSeed());
    for (unsigned int uLength = 1; uLength <= 225; ++uLength)
    {
        const std::string strText = Model().Encode(RandomText(rng, uLength, uLength));
        for (std::size_t uCut = 0; uCut <= strText.size(); ++uCut)
        {
            CBase64 base64 = Make(g_eDECODE, GetParam());
            CBase64Model model = Model();
            for (const std::string& rstrPart : {strText.substr(0, uCut), strText.substr(uCut)})
            {
                if (rstrPart.empty()) continue;
                const std::size_t uAsked = model.QueryDecoded(rstrPart);
                ASSERT_EQ(uAsked, Query(base64, rstrPart));
                SOutcome stWant;
                stWant.res = model.UpdateDecoding(rstrPart, stWant.strOut);
                std::string strOut(uAsked + 1, '?');
                unsigned int uSize = UINT_MAX;
                const QvResult res = base64.Update(BytesOf(rstrPart), SizeOf(rstrPart),
                                                   reinterpret_cast<uint8_t*>(strOut.data()), &uSize);
                ASSERT_EQ(stWant, (SOutcome{res, strOut.substr(0, uSize)})) << uLength << " cut at " << uCut;
                ASSERT_EQ('?', strOut[uAsked]);
            }
            unsigned int uLast = 0;
            ASSERT_EQ(model.IsGroupBegun() ? QV_RES_FAIL : QV_RES_OK, base64.End(nullptr, &uLast));
        }
    }
}

// The byte stands in a group with letters, with up to three characters of the group fed before, behind a run of good
// groups that every path takes whole.
TEST_P(CBase64WithAlphabet, EveryByteAtEveryPlaceOfAGroupDecodesAsTheModelDoes)
{
    for (unsigned int uByte = 0; uByte < 256; ++uByte)
    {
        for (std::size_t uPlace = 0; uPlace < 4; ++uPlace)
        {
            for (const char* const pszGroup : {"Qx9z", "Qx9=", "Qx==", "Q=9z"})
            {
                for (const std::size_t uGoodGroups : {0u, 1u, 9u, 40u})
                {
                    std::string strText;
                    for (std::size_t u = 0; u < uGoodGroups; ++u) strText += "Zm9v";
                    strText += pszGroup;
                    strText[4 * uGoodGroups + uPlace] = static_cast<char>(uByte);
                    strText += "YmFyYmFy";
                    for (std::size_t uBefore = 0; uBefore < 4; ++uBefore)
                    {
                        CBase64 base64 = Make(g_eDECODE, GetParam());
                        CBase64Model model = Model();
                        for (const std::string& rstrPart : {strText.substr(0, uBefore), strText.substr(uBefore)})
                        {
                            if (rstrPart.empty()) continue;
                            const std::size_t uAsked = model.QueryDecoded(rstrPart);
                            ASSERT_EQ(uAsked, Query(base64, rstrPart));
                            SOutcome stWant;
                            stWant.res = model.UpdateDecoding(rstrPart, stWant.strOut);
                            std::string strOut(uAsked + 1, '?');
                            unsigned int uSize = UINT_MAX;
                            const QvResult res = base64.Update(BytesOf(rstrPart), SizeOf(rstrPart),
                                                               reinterpret_cast<uint8_t*>(strOut.data()), &uSize);
                            ASSERT_EQ(stWant, (SOutcome{res, strOut.substr(0, uSize)}))
                                << "byte " << uByte << " at " << uPlace << " of " << pszGroup << " behind "
                                << uGoodGroups;
                            ASSERT_EQ(std::string(strOut.size() - uSize, '?'), strOut.substr(uSize));
                        }
                        unsigned int uLast = 0;
                        ASSERT_EQ(model.IsGroupBegun() ? QV_RES_FAIL : QV_RES_OK, base64.End(nullptr, &uLast));
                    }
                }
            }
        }
    }
}

TEST_P(CBase64WithAlphabet, AnErrorStopsALongInputInFrontOfItsGroup)
{
    std::string strGood;
    for (unsigned int u = 0; u < 100; ++u) strGood += "Qx9z" + std::to_string(1000 + 37 * u);
    std::string strBytes;
    ASSERT_EQ(QV_RES_OK, Model().Decode(strGood, strBytes));
    for (std::size_t uAt = 0; uAt < strGood.size(); ++uAt)
    {
        std::string strText = strGood;
        strText[uAt] = '*';
        CBase64 base64 = Make(g_eDECODE, GetParam());
        ASSERT_EQ((SOutcome{QV_RES_FAIL, strBytes.substr(0, uAt / 4 * 3)}), Feed(base64, strText, 600)) << uAt;
    }
}

TEST_P(CBase64WithAlphabet, RandomTextsInRandomPartsDecodeAsTheModelDoes)
{
    std::mt19937 rng(TestSeed());
    const char szUsual[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789";
    for (unsigned int uRound = 0; uRound < 3000; ++uRound)
    {
        CBase64 base64 = Make(g_eDECODE, GetParam());
        CBase64Model model = Model();
        for (unsigned int uPart = 0; uPart < 5; ++uPart)
        {
            std::string strText(1 + Below(rng, uRound % 3 == 0 ? 400 : 14), '\0');
            for (char& rc : strText) rc = szUsual[Below(rng, 62)];
            if (rng() % 2 == 0) strText[Below(rng, strText.size())] = "+/-_=*"[Below(rng, 6)];
            if (rng() % 2 == 0) strText.back() = '=';
            ASSERT_EQ(model.QueryDecoded(strText), Query(base64, strText));
            SOutcome stWant;
            stWant.res = model.UpdateDecoding(strText, stWant.strOut);
            ASSERT_EQ(stWant, Feed(base64, strText, stWant.strOut.size() + 8)) << strText;
        }
    }
}

TEST_P(CBase64WithAlphabet, PositionIsTheValueOfACharacter)
{
    CBase64 base64 = Make(g_eENCODE, GetParam());
    for (unsigned int u = 0; u < 256; ++u)
    {
        EXPECT_EQ(Model().Value(static_cast<unsigned char>(u)), base64.Position(static_cast<uint8_t>(u))) << u;
    }
}

TEST_P(CBase64WithAlphabet, EncodeTakesAWholeMessage)
{
    std::mt19937 rng(TestSeed());
    CBase64 base64 = Make(g_eENCODE, GetParam());
    for (unsigned int uLength = 0; uLength < 300; ++uLength)
    {
        const std::string strBytes = RandomText(rng, uLength, uLength);
        const std::string strWant = Model().Encode(strBytes);
        CPageEnd output(strWant.size());
        base64.Encode(CPageEnd(strBytes).Get(), uLength, output.Get());
        ASSERT_EQ(strWant, std::string(output.GetText(), strWant.size()));
    }
}

TEST_P(CBase64WithAlphabet, DecodeRefusesAnUnfinishedGroupBehindTheOthers)
{
    CBase64 base64 = Make(g_eENCODE, GetParam());
    uint8_t auOut[9];
    for (const unsigned int uSize : {1u, 2u, 3u, 5u, 6u, 7u})
    {
        unsigned int uWritten = 77;
        EXPECT_EQ(QV_RES_FAIL, base64.Decode(BytesOf("Zm9vYmFy"), uSize, auOut, &uWritten));
        EXPECT_EQ(uSize / 4 * 3, uWritten);
    }
    unsigned int uWritten = 77;
    EXPECT_EQ(QV_RES_OK, base64.Decode(BytesOf("Zg==Zm"), 6, auOut, &uWritten));
    EXPECT_EQ(1u, uWritten);
    EXPECT_EQ(QV_RES_OK, base64.Decode(BytesOf(""), 0, auOut, &uWritten));
    EXPECT_EQ(0u, uWritten);
}

INSTANTIATE_TEST_SUITE_P(Alphabets, CBase64WithAlphabet, testing::Values(0u, 1u, 2u, UINT_MAX),
                         [](const auto& rInfo) { return "Selector" + std::to_string(rInfo.param); });

TEST(CBase64Peer, RandomDataIsEncodedAndDecodedAsLibcryptoDoes)
{
    std::mt19937 rng(TestSeed());
    for (unsigned int uRound = 0; uRound < 200; ++uRound)
    {
        const std::string strBytes = RandomText(rng, 1, uRound < 190 ? 2000 : 200000);
        std::string strPeer(strBytes.size() / 3 * 4 + 5, '\0');
        strPeer.resize(static_cast<std::size_t>(EVP_EncodeBlock(reinterpret_cast<uint8_t*>(strPeer.data()),
                                                                BytesOf(strBytes), static_cast<int>(strBytes.size()))));
        CBase64 encoder;
        std::string strText = Feed(encoder, strBytes, strBytes.size() / 3 * 4).strOut;
        strText += Flush(encoder);
        ASSERT_EQ(strPeer, strText);
        CBase64 decoder = Make(g_eDECODE, 0);
        ASSERT_EQ((SOutcome{QV_RES_OK, strBytes}), Feed(decoder, strText, strBytes.size()));
    }
}

TEST(CBase64Padding, WhatFollowsAPaddedGroupInOneCallIsIgnored)
{
    CBase64 base64 = Make(g_eDECODE, 0);
    EXPECT_EQ((SOutcome{QV_RES_OK, "f"}), Feed(base64, "Zg==Zm8=", 5));
    EXPECT_EQ((SOutcome{QV_RES_OK, "f"}), Feed(base64, "Zg==****", 5));
    EXPECT_EQ((SOutcome{QV_RES_OK, "foofo"}), Feed(base64, "Zm9vZm8=Zm9v", 9));
}

TEST(CBase64Padding, AGroupBegunBeforeIsDecodedByItself)
{
    CBase64 base64 = Make(g_eDECODE, 0);
    EXPECT_EQ((SOutcome{QV_RES_OK, ""}), Feed(base64, "Zg", 3));
    EXPECT_EQ((SOutcome{QV_RES_OK, "ffo"}), Feed(base64, "==Zm8=", 6));
}

TEST(CBase64Padding, ALetterBehindAPadFails)
{
    CBase64 base64 = Make(g_eDECODE, 0);
    EXPECT_EQ((SOutcome{QV_RES_FAIL, ""}), Feed(base64, "Zg=g", 3));
    EXPECT_EQ((SOutcome{QV_RES_FAIL, ""}), Feed(base64, "Z===", 3));
    EXPECT_EQ((SOutcome{QV_RES_FAIL, ""}), Feed(base64, "====", 3));
}

TEST(CBase64End, AnUnfinishedGroupFailsAndStaysUntilBegin)
{
    CBase64 base64 = Make(g_eDECODE, 0);
    EXPECT_EQ((SOutcome{QV_RES_OK, ""}), Feed(base64, "Zm9", 3));
    uint8_t auOut[4] = {g_uUNTOUCHED};
    for (unsigned int u = 0; u < 2; ++u)
    {
        unsigned int uSize = 77;
        EXPECT_EQ(QV_RES_FAIL, base64.End(auOut, &uSize));
        EXPECT_EQ(0u, uSize);
    }
    EXPECT_EQ(g_uUNTOUCHED, auOut[0]);
    EXPECT_EQ((SOutcome{QV_RES_OK, "foo"}), Feed(base64, "v", 3));
    EXPECT_EQ((SOutcome{QV_RES_OK, ""}), Feed(base64, "Zm9", 3));
    ASSERT_EQ(QV_RES_OK, base64.Begin(g_eDECODE, CCipher::eMODE_CBC, nullptr, nullptr));
    unsigned int uSize = 77;
    EXPECT_EQ(QV_RES_OK, base64.End(auOut, &uSize));
}

TEST(CBase64End, AGroupThatFailedIsGone)
{
    CBase64 base64 = Make(g_eDECODE, 0);
    EXPECT_EQ((SOutcome{QV_RES_OK, ""}), Feed(base64, "Zm*", 3));
    EXPECT_EQ((SOutcome{QV_RES_FAIL, ""}), Feed(base64, "vZm9v", 6));
    unsigned int uSize = 77;
    EXPECT_EQ(QV_RES_OK, base64.End(nullptr, &uSize));
    EXPECT_EQ((SOutcome{QV_RES_OK, "foo"}), Feed(base64, "Zm9v", 3));
}

TEST(CBase64Queries, ChangeNothing)
{
    CBase64 base64;
    EXPECT_EQ((SOutcome{QV_RES_OK, ""}), Feed(base64, "fo", 4));
    EXPECT_EQ(4u, Query(base64, "o"));
    EXPECT_EQ(4u, Query(base64, "o"));
    EXPECT_EQ(4u, Query(base64, "oba"));
    EXPECT_EQ(8u, Query(base64, "obar"));
    unsigned int uSize = 0;
    EXPECT_EQ(QV_RES_OK, base64.End(nullptr, &uSize));
    EXPECT_EQ(4u, uSize);
    EXPECT_EQ((SOutcome{QV_RES_OK, "Zm9v"}), Feed(base64, "o", 4));
    EXPECT_EQ("", Flush(base64));
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
    EXPECT_EQ(QV_RES_OK, base64.Begin(g_eENCODE, CCipher::eMODE_DEFAULT, nullptr, 5, nullptr, 6));
    EXPECT_EQ(QV_RES_OK, base64.Begin(g_eENCODE, CCipher::eMODE_CTR, &blob, &blob));
}

TEST(CBase64Begin, TheDefaultActionEncodes)
{
    CBase64 fresh;
    EXPECT_EQ((SOutcome{QV_RES_OK, "Zm9v"}), Feed(fresh, "foo", 4));
    CBase64 base64 = Make(g_eDECODE, 0);
    ASSERT_EQ(QV_RES_OK, base64.Begin(CCipher::eACTION_DEFAULT, CCipher::eMODE_DEFAULT, nullptr, 0, nullptr, 0));
    EXPECT_EQ((SOutcome{QV_RES_OK, "Zm9v"}), Feed(base64, "foo", 4));
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
    CBlob blobText(BytesOf("0123456789"), 10, 0, &allocator);
    CBase64 base64;
    ASSERT_EQ(QV_RES_OK, base64.Update(&blobFirst, &blobText, false));
    EXPECT_EQ("Zm9v", TextOf(blobText));
    ASSERT_EQ(QV_RES_OK, base64.Update(&blobSecond, &blobText, true));
    EXPECT_EQ("Zm9vYmFy", TextOf(blobText));
    EXPECT_EQ(10u, blobText.GetCapacity()) << "room for one byte more than the text";
    ASSERT_EQ(QV_RES_OK, base64.End(&blobText, true));
    EXPECT_EQ("Zm9vYmFyISE=", TextOf(blobText));
    EXPECT_EQ(12u, blobText.GetCapacity());
    ASSERT_EQ(QV_RES_OK, base64.End(&blobText, true));
    EXPECT_EQ("Zm9vYmFyISE=", TextOf(blobText));

    CBlob blobBytes(BytesOf("<"), 1, 0, &allocator);
    ASSERT_EQ(QV_RES_OK, base64.Begin(g_eDECODE, CCipher::eMODE_DEFAULT, nullptr, nullptr));
    ASSERT_EQ(QV_RES_OK, base64.Update(&blobText, &blobBytes, true));
    EXPECT_EQ("<foobar!!", TextOf(blobBytes));
    ASSERT_EQ(QV_RES_OK, base64.End(&blobBytes, true));
    EXPECT_EQ("<foobar!!", TextOf(blobBytes));
    ASSERT_EQ(QV_RES_OK, base64.End(&blobBytes, false));
    EXPECT_EQ("", TextOf(blobBytes));
}

TEST(CBase64Blobs, TwoPaddedGroupsGiveTheFirst)
{
    const CBlob blobText(BytesOf("Zg==Zm8="), 8);
    CBlob blobBytes;
    CBase64 base64 = Make(g_eDECODE, 0);
    ASSERT_EQ(QV_RES_OK, base64.Update(&blobText, &blobBytes, false));
    EXPECT_EQ("f", TextOf(blobBytes));
}

TEST(CBase64Blobs, OneBlobMayBeInputAndOutput)
{
    CBlob blob(BytesOf("foobarfoobarfoobarfoobarfoobarfoobarfoobarfoobar"), 48);
    CBase64 base64;
    ASSERT_EQ(QV_RES_OK, base64.Update(&blob, &blob, false));
    EXPECT_EQ("Zm9vYmFyZm9vYmFyZm9vYmFyZm9vYmFyZm9vYmFyZm9vYmFyZm9vYmFyZm9vYmFy", TextOf(blob));
    ASSERT_EQ(QV_RES_OK, base64.Begin(g_eDECODE, CCipher::eMODE_DEFAULT, nullptr, nullptr));
    ASSERT_EQ(QV_RES_OK, base64.Update(&blob, &blob, true));
    EXPECT_EQ(
        "Zm9vYmFyZm9vYmFyZm9vYmFyZm9vYmFyZm9vYmFyZm9vYmFyZm9vYmFyZm9vYmFy"
        "foobarfoobarfoobarfoobarfoobarfoobarfoobarfoobar",
        TextOf(blob));
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
}

TEST(CBase64Blobs, EndWithoutMemoryCanBeAskedAgain)
{
    CTestAllocator allocator;
    const CBlob blobIn(BytesOf("f"), 1);
    CBlob blobOut(&allocator);
    CBase64 base64;
    ASSERT_EQ(QV_RES_OK, base64.Update(&blobIn, &blobOut, false));
    blobOut.ReduceCapacity(0);
    allocator.SetRefusing(true);
    EXPECT_EQ(QV_RES_OUT_OF_MEMORY, base64.End(&blobOut, true));
    allocator.SetRefusing(false);
    EXPECT_EQ(QV_RES_OK, base64.End(&blobOut, true));
    EXPECT_EQ("Zg==", TextOf(blobOut));
}

TEST(CBase64Object, TellsWhatItIs)
{
    CBase64 base64;
    EXPECT_EQ(1u, base64.GetAlgorithm());
    EXPECT_EQ(0u, base64.GetBlockSizeInBits());
    EXPECT_EQ(0u, base64.GetBlockSizeInByte());
    EXPECT_EQ(nullptr, base64.GetSupportedModes());
}

TEST(CBase64Object, HoldsItsFieldsInTheirOrder)
{
    ASSERT_EQ(40u, sizeof(CBase64));
    alignas(CBase64) unsigned char auStorage[sizeof(CBase64)];
    CBase64* const pBase64 = new (auStorage) CBase64;
    const std::vector<unsigned int> fresh = {1, 5, 1, 5};
    EXPECT_EQ(fresh,
              (std::vector<unsigned int>{LoadAt<unsigned int>(auStorage, 8), LoadAt<unsigned int>(auStorage, 12),
                                         LoadAt<unsigned int>(auStorage, 16), LoadAt<unsigned int>(auStorage, 20)}));
    EXPECT_EQ(0u, LoadAt<unsigned int>(auStorage, 28));
    EXPECT_EQ(0u, LoadAt<unsigned int>(auStorage, 32));
    pBase64->SetAlphabet(CBase64::eALPHABET_URL_SAFE);
    EXPECT_EQ(1u, LoadAt<unsigned int>(auStorage, 32));
    ASSERT_EQ(QV_RES_OK, pBase64->Begin(g_eDECODE, CCipher::eMODE_CTR, nullptr, nullptr));
    EXPECT_EQ((SOutcome{QV_RES_OK, ""}), Feed(*pBase64, "Zm9", 3));
    EXPECT_EQ(0u, LoadAt<unsigned int>(auStorage, 16));
    EXPECT_EQ((std::vector<unsigned char>{'Z', 'm', '9'}), BytesAt(auStorage, 24, 3));
    EXPECT_EQ(3u, LoadAt<unsigned int>(auStorage, 28));
    pBase64->~CBase64();
}

TEST(CBase64Object, DestructionSetsBackAllButTheAlphabet)
{
    alignas(CBase64) unsigned char auStorage[sizeof(CBase64)];
    CBase64* const pBase64 = new (auStorage) CBase64;
    for (const std::size_t uField : {8u, 12u, 16u, 20u}) StoreAt(auStorage, uField, 0u);
    StoreAt(auStorage, 28, 3u);
    StoreAt(auStorage, 32, 1u);
    pBase64->~CBase64();
    EXPECT_EQ(1u, LoadAt<unsigned int>(auStorage, 8));
    EXPECT_EQ(5u, LoadAt<unsigned int>(auStorage, 12));
    EXPECT_EQ(1u, LoadAt<unsigned int>(auStorage, 16));
    EXPECT_EQ(5u, LoadAt<unsigned int>(auStorage, 20));
    EXPECT_EQ(0u, LoadAt<unsigned int>(auStorage, 28));
    EXPECT_EQ(1u, LoadAt<unsigned int>(auStorage, 32));
}

TEST(CBase64Object, CopiesGoOnByThemselves)
{
    CBase64 base64;
    EXPECT_EQ((SOutcome{QV_RES_OK, "Zm9v"}), Feed(base64, "foob", 4));
    CBase64 copy(base64);
    EXPECT_EQ((SOutcome{QV_RES_OK, "YmFy"}), Feed(copy, "ar", 4));
    EXPECT_EQ("Yg==", Flush(base64));
    EXPECT_EQ("", Flush(copy));
}
}  // namespace
