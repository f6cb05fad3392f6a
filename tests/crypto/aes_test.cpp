// Oracles: the vectors of FIPS 197, SP 800-38A and NIST's validation program, and libcrypto's EVP interface.
// Any order of calls, right ones and wrong ones, is the matter of fuzz/aes_fuzz.cpp, which knows every field; the paths
// are that of aes_blocks_internal_test.cpp.
#include "framework/crypto/aes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstdint>
#include <string>
#include <vector>

#include "tests/support/aes_oracle.h"
#include "tests/support/object_bytes.h"
#include "tests/support/test_allocator.h"
#include "tests/support/vector_file.h"

namespace
{
using Data = std::vector<unsigned char>;

constexpr CCipher::EAction g_aeACTIONS[] = {CCipher::eACTION_ENCRYPT, CCipher::eACTION_DECRYPT};
constexpr CCipher::EMode g_aeMODES[] = {CCipher::eMODE_CBC, CCipher::eMODE_CFB, CCipher::eMODE_CTR, CCipher::eMODE_ECB,
                                        CCipher::eMODE_OFB};

const char* NameOf(CCipher::EMode eMode)
{
    const char* const apszNames[] = {"Cbc", "Cfb", "Ctr", "Ecb", "Ofb"};
    return apszNames[eMode];
}

CCipher::EMode ModeOf(const std::string& rstrName)
{
    for (const CCipher::EMode eMode : g_aeMODES)
    {
        std::string strName = NameOf(eMode);
        strName[0] = static_cast<char>(strName[0] - 'A' + 'a');
        if (strName == rstrName) return eMode;
    }
    return CCipher::eMODE_DEFAULT;
}

bool IsStreamMode(CCipher::EMode eMode)
{
    return eMode == CCipher::eMODE_CFB || eMode == CCipher::eMODE_CTR || eMode == CCipher::eMODE_OFB;
}

QvResult Begin(CAes& rAes, CCipher::EAction eAction, CCipher::EMode eMode, const Data& rKey, const Data& rIv)
{
    return rAes.Begin(eAction, eMode, rKey.data(), static_cast<unsigned int>(rKey.size()), rIv.data(),
                      static_cast<unsigned int>(rIv.size()));
}

// Appends what an Update() gives, whose whole output must be where it says.
void Feed(CAes& rAes, const unsigned char* puIn, std::size_t uSize, Data& rOut)
{
    Data out(uSize + 15, 0xEE);
    unsigned int uOutSize = UINT_MAX;
    ASSERT_EQ(QV_RES_OK, rAes.Update(puIn, static_cast<unsigned int>(uSize), out.data(), &uOutSize));
    ASSERT_LE(uOutSize, out.size());
    ASSERT_EQ(0u, uOutSize % 16);
    ASSERT_TRUE(std::all_of(out.begin() + uOutSize, out.end(), [](unsigned char u) { return u == 0xEE; }));
    rOut.insert(rOut.end(), out.begin(), out.begin() + uOutSize);
}

void Finish(CAes& rAes, Data& rOut)
{
    unsigned char auOut[16];
    unsigned int uOutSize = UINT_MAX;
    ASSERT_EQ(QV_RES_OK, rAes.End(auOut, &uOutSize));
    ASSERT_LT(uOutSize, 16u);
    rOut.insert(rOut.end(), auOut, auOut + uOutSize);
}

Data Crypt(CCipher::EAction eAction, CCipher::EMode eMode, const Data& rKey, const Data& rIv, const Data& rIn)
{
    CAes aes;
    Data out;
    EXPECT_EQ(QV_RES_OK, Begin(aes, eAction, eMode, rKey, rIv));
    Feed(aes, rIn.data(), rIn.size(), out);
    Finish(aes, out);
    return out;
}

Data Key(std::size_t uSize)
{
    Data key(uSize);
    for (std::size_t u = 0; u < uSize; ++u) key[u] = static_cast<unsigned char>(u * 37 + 11);
    return key;
}

const Data g_iv = {0xF0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15};

class CAesVector : public testing::TestWithParam<SVectorRecord>
{
};
TEST_P(CAesVector, GivesThePublishedText)
{
    const SVectorRecord& rRecord = GetParam();
    const CCipher::EMode eMode = ModeOf(rRecord.Text("mode"));
    EXPECT_EQ(rRecord.Bytes("ciphertext"), Crypt(CCipher::eACTION_ENCRYPT, eMode, rRecord.Bytes("key"),
                                                 rRecord.Bytes("iv"), rRecord.Bytes("plaintext")));
    EXPECT_EQ(rRecord.Bytes("plaintext"), Crypt(CCipher::eACTION_DECRYPT, eMode, rRecord.Bytes("key"),
                                                rRecord.Bytes("iv"), rRecord.Bytes("ciphertext")));
}
INSTANTIATE_TEST_SUITE_P(Fips197, CAesVector, testing::ValuesIn(ReadVectors("aes_fips197.vec")));
INSTANTIATE_TEST_SUITE_P(Sp80038a, CAesVector, testing::ValuesIn(ReadVectors("aes_sp800_38a.vec")));
INSTANTIATE_TEST_SUITE_P(Cavp, CAesVector, testing::ValuesIn(ReadVectors("aes_cavp.vec")));

class CAesMode : public testing::TestWithParam<CCipher::EMode>
{
};

TEST_P(CAesMode, EverySplitOfUpToAHundredBytesGivesWhatOneCallGives)
{
    const Data bytes = Key(100);
    for (const unsigned int uKeySize : {16u, 24u, 32u})
    {
        const Data key = Key(uKeySize);
        for (std::size_t uCase = 0; uCase <= 2 * bytes.size() + 1; ++uCase)
        {
            const CCipher::EAction eAction = g_aeACTIONS[uCase % 2];
            const std::size_t uSize = uCase / 2;
            const std::size_t uWhole = IsStreamMode(GetParam()) ? uSize : uSize / 16 * 16;
            const Data want =
                EvpCrypt(eAction, GetParam(), key, g_iv, Data(bytes.begin(), bytes.begin() + static_cast<int>(uWhole)));
            for (std::size_t uCut = 0; uCut <= uSize; ++uCut)
            {
                CAes aes;
                Data out;
                ASSERT_EQ(QV_RES_OK, Begin(aes, eAction, GetParam(), key, g_iv));
                ASSERT_NO_FATAL_FAILURE(Feed(aes, bytes.data(), uCut, out));
                ASSERT_EQ(uCut / 16 * 16, out.size());
                // A copy goes on by itself.
                CAes copy(aes);
                Data copyOut = out;
                ASSERT_NO_FATAL_FAILURE(Feed(copy, bytes.data() + uCut, uSize - uCut, copyOut));
                ASSERT_NO_FATAL_FAILURE(Feed(aes, bytes.data() + uCut, uSize - uCut, out));
                ASSERT_EQ(uSize / 16 * 16, out.size());
                ASSERT_EQ(out, copyOut);
                if (uWhole == uSize) { ASSERT_NO_FATAL_FAILURE(Finish(aes, out)); }
                ASSERT_EQ(want, out) << uSize << " bytes cut at " << uCut;
            }
        }
    }
}

TEST_P(CAesMode, BlobsGiveWhatBuffersGive)
{
    const Data bytes = Key(IsStreamMode(GetParam()) ? 83 : 80);
    CTestAllocator allocator;
    const CBlob blobKey(Key(24).data(), 24, 0, &allocator);
    const CBlob blobIv(g_iv.data(), 16, 0, &allocator);
    for (const CCipher::EAction eAction : g_aeACTIONS)
    {
        CBlob blobFirst(bytes.data(), 35, 0, &allocator);
        CBlob blobSecond(bytes.data() + 35, static_cast<unsigned int>(bytes.size()) - 35, 0, &allocator);
        CBlob blobOut(Key(50).data(), 50, 0, &allocator);
        CAes aes;
        ASSERT_EQ(QV_RES_OK, aes.Begin(eAction, GetParam(), &blobKey, &blobIv));
        ASSERT_EQ(QV_RES_OK, aes.Update(&blobFirst, &blobOut, false));
        EXPECT_EQ(32u, blobOut.GetSize());
        EXPECT_EQ(51u, blobOut.GetCapacity());
        ASSERT_EQ(QV_RES_OK, aes.Update(&blobSecond, &blobOut, true));
        EXPECT_EQ(bytes.size() / 16 * 16, blobOut.GetSize());
        EXPECT_EQ(32u + blobSecond.GetSize() + 16, blobOut.GetCapacity());
        CAes copy(aes);
        CBlob blobCopy(blobOut);
        ASSERT_EQ(QV_RES_OK, aes.End(&blobOut, true));
        EXPECT_EQ(EvpCrypt(eAction, GetParam(), Key(24), g_iv, bytes), Data(blobOut.begin(), blobOut.end()));
        ASSERT_EQ(QV_RES_OK, copy.End(&blobCopy, false));
        EXPECT_EQ(Data(blobOut.begin() + bytes.size() / 16 * 16, blobOut.end()),
                  Data(blobCopy.begin(), blobCopy.end()));
    }
}

INSTANTIATE_TEST_SUITE_P(Modes, CAesMode, testing::ValuesIn(g_aeMODES),
                         [](const auto& rInfo) { return NameOf(rInfo.param); });

TEST(CAesBegin, OnlyTheThreeKeySizesMakeASchedule)
{
    const Data key = Key(300);
    // The last but one would be 128 bits if its product wrapped.
    for (const unsigned int uSize : {0u, 1u, 15u, 17u, 20u, 23u, 25u, 31u, 33u, 64u, 128u, 256u, 0x20000010u, UINT_MAX})
    {
        for (const CCipher::EAction eAction : g_aeACTIONS)
        {
            CAes aes;
            uint8_t auOut[16];
            unsigned int uOutSize = 0;
            ASSERT_EQ(QV_RES_OK, Begin(aes, eAction, CCipher::eMODE_ECB, Key(16), g_iv));
            EXPECT_EQ(QV_RES_FAIL, aes.Begin(eAction, CCipher::eMODE_ECB, key.data(), uSize, nullptr, 0)) << uSize;
            // Nor is the schedule of the message before used.
            EXPECT_EQ(QV_RES_INVALID_STATE, aes.Update(key.data(), 16, auOut, &uOutSize));
        }
    }
}

TEST(CAesDefaults, AreCheckedForTheirSizesOnly)
{
    CAes aes;
    const Data bytes = Key(40);
    for (const unsigned int uSize : {0u, 1u, 15u, 16u, 17u, 20u, 32u, 33u, UINT_MAX})
    {
        SCOPED_TRACE(uSize);
        EXPECT_EQ(uSize == 0 ? QV_RES_OK : QV_RES_INVALID_ARGUMENT, aes.SetDefaultKey(nullptr, uSize));
        EXPECT_EQ(uSize <= 32 ? QV_RES_OK : QV_RES_INVALID_ARGUMENT, aes.SetDefaultKey(bytes.data(), uSize));
        EXPECT_EQ(QV_RES_INVALID_ARGUMENT, aes.SetDefaultIV(nullptr, uSize));
        EXPECT_EQ(uSize == 16 ? QV_RES_OK : QV_RES_INVALID_ARGUMENT, aes.SetDefaultIV(bytes.data(), uSize));
    }
    EXPECT_EQ(QV_RES_OK, aes.Begin(CCipher::eACTION_ENCRYPT, CCipher::eMODE_CTR, nullptr, 0, nullptr, 0));
    EXPECT_EQ(Key(32), BytesAt(&aes, 24, 32)) << "the last that was not refused";
    ASSERT_EQ(QV_RES_OK, aes.SetDefaultKey(bytes.data(), 20));
    EXPECT_EQ(QV_RES_FAIL, aes.Begin(CCipher::eACTION_ENCRYPT, CCipher::eMODE_CTR, nullptr, 0, nullptr, 0));
}

TEST(CAesRefusals, AnOutputOfFourGibibytesIsRefusedUntouched)
{
    CAes aes;
    unsigned char auBytes[32] = {};
    unsigned int uSize = 77;
    ASSERT_EQ(QV_RES_OK, Begin(aes, CCipher::eACTION_ENCRYPT, CCipher::eMODE_CTR, Key(16), g_iv));
    ASSERT_EQ(QV_RES_OK, aes.Update(auBytes, 1, auBytes, &uSize));
    uSize = 77;
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, aes.Update(auBytes, UINT_MAX, auBytes, &uSize));
    EXPECT_EQ(77u, uSize);
    EXPECT_EQ(1u, LoadAt<unsigned int>(&aes, 360));
}

TEST(CAesBlobs, WithoutStorageAreNullPointers)
{
    CAes aes;
    CBlob blobEmpty;
    CBlob blobOut;
    EXPECT_EQ(QV_RES_FAIL, aes.Begin(CCipher::eACTION_ENCRYPT, CCipher::eMODE_CBC, &blobEmpty, &blobEmpty));
    ASSERT_EQ(QV_RES_OK, aes.SetDefaultKey(Key(16).data(), 16));
    EXPECT_EQ(QV_RES_OK, aes.Begin(CCipher::eACTION_ENCRYPT, CCipher::eMODE_CBC, &blobEmpty, &blobEmpty));
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, aes.Update(&blobEmpty, &blobOut, false));
    ASSERT_EQ(QV_RES_OK, blobEmpty.ReserveCapacity(1));
    EXPECT_EQ(QV_RES_OK, aes.Update(&blobEmpty, &blobOut, false));
    EXPECT_EQ(0u, blobOut.GetSize());
}

TEST(CAesBlobs, AFailureIsReturnedAndLeavesTheOutputAsItWas)
{
    CTestAllocator allocator;
    CBlob blobIn(Key(20).data(), 20);
    CBlob blobOut(Key(3).data(), 3, 0, &allocator);
    CBlob blobBoth(Key(32).data(), 32, 100, &allocator);
    CAes aes;
    EXPECT_EQ(QV_RES_INVALID_STATE, aes.Update(&blobIn, &blobOut, false)) << "no message was begun";
    ASSERT_EQ(QV_RES_OK, Begin(aes, CCipher::eACTION_ENCRYPT, CCipher::eMODE_CTR, Key(16), g_iv));
    blobOut.ReduceCapacity(0);
    allocator.SetRefusing(true);
    EXPECT_EQ(QV_RES_OUT_OF_MEMORY, aes.Update(&blobIn, &blobOut, true));
    EXPECT_EQ(QV_RES_OUT_OF_MEMORY, aes.End(&blobOut, true));
    EXPECT_EQ(Key(3), Data(blobOut.begin(), blobOut.end()));
    EXPECT_EQ(QV_RES_OUT_OF_MEMORY, aes.Update(&blobBoth, &blobBoth, false)) << "no copy of the input";
    EXPECT_EQ(Key(32), Data(blobBoth.begin(), blobBoth.end()));
    allocator.SetRefusing(false);
    EXPECT_EQ(QV_RES_OK, aes.Update(&blobIn, &blobOut, false));
    EXPECT_EQ(QV_RES_OK, aes.End(&blobOut, true));
    EXPECT_EQ(EvpCrypt(CCipher::eACTION_ENCRYPT, CCipher::eMODE_CTR, Key(16), g_iv, Key(20)),
              Data(blobOut.begin(), blobOut.end()));

    ASSERT_EQ(QV_RES_OK, Begin(aes, CCipher::eACTION_ENCRYPT, CCipher::eMODE_CBC, Key(16), g_iv));
    ASSERT_EQ(QV_RES_OK, aes.Update(&blobIn, &blobOut, false));
    for (const bool bAppend : {true, false})
    {
        EXPECT_EQ(QV_RES_INVALID_STATE, aes.End(&blobOut, bAppend)) << "bytes are held back";
        EXPECT_EQ(16u, blobOut.GetSize());
    }
}
}  // namespace
