// Oracles: the vectors of FIPS 197, SP 800-38A and NIST's validation program, and libcrypto's EVP interface.
// Any order of calls, right ones and wrong ones, is the matter of fuzz/aes_fuzz.cpp, which knows every field.
#include "framework/crypto/aes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstdint>
#include <string>
#include <tuple>
#include <vector>

#include "tests/support/aes_oracle.h"
#include "tests/support/object_bytes.h"
#include "tests/support/page_end.h"
#include "tests/support/test_allocator.h"
#include "tests/support/test_seed.h"
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

class CAesMode : public testing::TestWithParam<std::tuple<CCipher::EMode, unsigned int>>
{
protected:
    CCipher::EMode Mode() const { return std::get<0>(GetParam()); }
    unsigned int KeySize() const { return std::get<1>(GetParam()); }
};

TEST_P(CAesMode, EverySplitOfUpToAHundredBytesGivesWhatOneCallGives)
{
    const Data bytes = Key(100);
    const Data key = Key(KeySize());
    for (const CCipher::EAction eAction : g_aeACTIONS)
    {
        for (std::size_t uSize = 0; uSize <= bytes.size(); ++uSize)
        {
            const std::size_t uWhole = IsStreamMode(Mode()) ? uSize : uSize / 16 * 16;
            const Data want =
                EvpCrypt(eAction, Mode(), key, g_iv, Data(bytes.begin(), bytes.begin() + static_cast<int>(uWhole)));
            for (std::size_t uCut = 0; uCut <= uSize; ++uCut)
            {
                CAes aes;
                Data out;
                ASSERT_EQ(QV_RES_OK, Begin(aes, eAction, Mode(), key, g_iv));
                ASSERT_NO_FATAL_FAILURE(Feed(aes, bytes.data(), uCut, out));
                ASSERT_EQ(uCut / 16 * 16, out.size());
                ASSERT_NO_FATAL_FAILURE(Feed(aes, bytes.data() + uCut, uSize - uCut, out));
                ASSERT_EQ(uSize / 16 * 16, out.size());
                if (uWhole == uSize) { ASSERT_NO_FATAL_FAILURE(Finish(aes, out)); }
                ASSERT_EQ(want, out) << uSize << " bytes cut at " << uCut;
            }
        }
    }
}

TEST_P(CAesMode, RandomLengthsUpToAMebibyteAreThoseOfEvp)
{
    std::mt19937 rng(TestSeed());
    for (const unsigned int uLimit : {100u, 5000u, 70000u, 1u << 20})
    {
        Data bytes = RandomBytes(rng, uLimit / 2, uLimit);
        if (!IsStreamMode(Mode())) bytes.resize(bytes.size() / 16 * 16);
        const Data key = RandomBytes(rng, KeySize(), KeySize());
        const Data iv = RandomBytes(rng, 16, 16);
        const CCipher::EAction eAction = g_aeACTIONS[rng() % 2];
        const Data want = EvpCrypt(eAction, Mode(), key, iv, bytes);
        CAes aes;
        Data out;
        ASSERT_EQ(QV_RES_OK, Begin(aes, eAction, Mode(), key, iv));
        const std::size_t uCut = Below(rng, bytes.size() + 1);
        ASSERT_NO_FATAL_FAILURE(Feed(aes, bytes.data(), uCut, out));
        ASSERT_NO_FATAL_FAILURE(Feed(aes, bytes.data() + uCut, bytes.size() - uCut, out));
        ASSERT_NO_FATAL_FAILURE(Finish(aes, out));
        ASSERT_TRUE(want == out) << bytes.size() << " bytes cut at " << uCut;
    }
}

TEST_P(CAesMode, WholeBlocksMayBeReplacedInPlace)
{
    const Data bytes = Key(160);
    for (const CCipher::EAction eAction : g_aeACTIONS)
    {
        CAes aes;
        ASSERT_EQ(QV_RES_OK, Begin(aes, eAction, Mode(), Key(KeySize()), g_iv));
        Data inPlace = bytes;
        unsigned int uSize = 0;
        ASSERT_EQ(QV_RES_OK, aes.Update(inPlace.data(), 64, inPlace.data(), &uSize));
        ASSERT_EQ(QV_RES_OK, aes.Update(inPlace.data() + 64, 96, inPlace.data() + 64, &uSize));
        EXPECT_EQ(EvpCrypt(eAction, Mode(), Key(KeySize()), g_iv, bytes), inPlace);
    }
}

TEST_P(CAesMode, BlobsGiveWhatBuffersGive)
{
    const Data bytes = Key(IsStreamMode(Mode()) ? 83 : 80);
    const Data key = Key(KeySize());
    CTestAllocator allocator;
    const CBlob blobKey(key.data(), KeySize(), 0, &allocator);
    const CBlob blobIv(g_iv.data(), 16, 0, &allocator);
    for (const CCipher::EAction eAction : g_aeACTIONS)
    {
        const Data want = EvpCrypt(eAction, Mode(), key, g_iv, bytes);
        CBlob blobFirst(bytes.data(), 35, 0, &allocator);
        CBlob blobSecond(bytes.data() + 35, static_cast<unsigned int>(bytes.size()) - 35, 0, &allocator);
        CBlob blobOut(Key(50).data(), 50, 0, &allocator);
        CAes aes;
        ASSERT_EQ(QV_RES_OK, aes.Begin(eAction, Mode(), &blobKey, &blobIv));
        ASSERT_EQ(QV_RES_OK, aes.Update(&blobFirst, &blobOut, false));
        EXPECT_EQ(32u, blobOut.GetSize());
        EXPECT_EQ(51u, blobOut.GetCapacity());
        ASSERT_EQ(QV_RES_OK, aes.Update(&blobSecond, &blobOut, true));
        EXPECT_EQ(bytes.size() / 16 * 16, blobOut.GetSize());
        EXPECT_EQ(32u + blobSecond.GetSize() + 16, blobOut.GetCapacity());
        ASSERT_EQ(QV_RES_OK, aes.End(&blobOut, true));
        EXPECT_EQ(want, Data(blobOut.begin(), blobOut.end()));
    }
}

INSTANTIATE_TEST_SUITE_P(Modes, CAesMode,
                         testing::Combine(testing::ValuesIn(g_aeMODES), testing::Values(16u, 24u, 32u)),
                         [](const auto& rInfo)
                         { return NameOf(std::get<0>(rInfo.param)) + std::to_string(8 * std::get<1>(rInfo.param)); });

TEST(CAesCounter, WrapsThroughAllSixteenBytes)
{
    for (unsigned int uOnes = 0; uOnes <= 16; ++uOnes)
    {
        Data iv(16, 0x12);
        std::fill(iv.end() - static_cast<int>(uOnes), iv.end(), static_cast<unsigned char>(0xFF));
        const Data bytes = Key(16 * 5 + 3);
        // Counters written out, one block of ECB for each.
        Data counter = iv;
        Data want;
        for (std::size_t u = 0; u < bytes.size(); ++u)
        {
            const Data stream = EvpCrypt(CCipher::eACTION_ENCRYPT, CCipher::eMODE_ECB, Key(16), g_iv, counter);
            want.push_back(static_cast<unsigned char>(bytes[u] ^ stream[u % 16]));
            for (int n = 15; u % 16 == 15 && n >= 0 && ++counter[static_cast<std::size_t>(n)] == 0; --n) continue;
        }
        EXPECT_EQ(want, Crypt(CCipher::eACTION_ENCRYPT, CCipher::eMODE_CTR, Key(16), iv, bytes)) << uOnes;
        EXPECT_EQ(bytes, Crypt(CCipher::eACTION_DECRYPT, CCipher::eMODE_CTR, Key(16), iv, want)) << uOnes;
    }
}

TEST(CAesBegin, OnlyTheThreeKeySizesMakeASchedule)
{
    const Data key = Key(300);
    // The last would be 128 bits if its product wrapped.
    for (const unsigned int uSize : {0u, 1u, 15u, 17u, 20u, 23u, 25u, 31u, 33u, 64u, 128u, 256u, 0x20000010u, UINT_MAX})
    {
        CAes aes;
        EXPECT_EQ(QV_RES_FAIL, aes.Begin(CCipher::eACTION_ENCRYPT, CCipher::eMODE_ECB, key.data(), uSize, nullptr, 0))
            << uSize;
        EXPECT_EQ(QV_RES_FAIL, aes.Begin(CCipher::eACTION_DECRYPT, CCipher::eMODE_ECB, key.data(), uSize, nullptr, 0));
    }
}

TEST(CAesDefaults, AKeyIsCheckedForItsLengthOnly)
{
    CAes aes;
    const Data key = Key(40);
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, aes.SetDefaultKey(nullptr, 1));
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, aes.SetDefaultKey(nullptr, 33));
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, aes.SetDefaultKey(key.data(), 33));
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, aes.SetDefaultKey(key.data(), UINT_MAX));
    EXPECT_EQ(QV_RES_OK, aes.SetDefaultKey(key.data(), 20));
    EXPECT_EQ(QV_RES_FAIL, aes.Begin(CCipher::eACTION_ENCRYPT, CCipher::eMODE_CTR, nullptr, 0, nullptr, 0));
    EXPECT_EQ(QV_RES_OK, aes.SetDefaultKey(key.data(), 32));
    EXPECT_EQ(QV_RES_OK, aes.Begin(CCipher::eACTION_ENCRYPT, CCipher::eMODE_CTR, nullptr, 0, nullptr, 0));
    EXPECT_EQ(Key(32), BytesAt(&aes, 24, 32));
    EXPECT_EQ(32u, LoadAt<unsigned int>(&aes, 56));
}

TEST(CAesDefaults, AVectorHasExactlySixteenBytes)
{
    CAes aes;
    const Data iv = Key(32);
    for (const unsigned int uSize : {0u, 1u, 15u, 17u, 32u, UINT_MAX})
    {
        EXPECT_EQ(QV_RES_INVALID_ARGUMENT, aes.SetDefaultIV(iv.data(), uSize)) << uSize;
        EXPECT_EQ(QV_RES_INVALID_ARGUMENT, aes.SetDefaultIV(nullptr, uSize)) << uSize;
    }
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, aes.SetDefaultIV(nullptr, 16));
    EXPECT_EQ(Data(16, 0), BytesAt(&aes, 60, 16));
    EXPECT_EQ(QV_RES_OK, aes.SetDefaultIV(iv.data(), 16));
    EXPECT_EQ(Key(16), BytesAt(&aes, 60, 16));
}

TEST(CAesRefusals, NullPointersAreRefusedFirst)
{
    CAes aes;
    unsigned char auBytes[32] = {};
    unsigned int uSize = 77;
    CBlob blob(auBytes, 16);
    for (unsigned int u = 0; u < 2; ++u)
    {
        EXPECT_EQ(QV_RES_INVALID_ARGUMENT, aes.Update(nullptr, 16, auBytes, &uSize));
        EXPECT_EQ(QV_RES_INVALID_ARGUMENT, aes.Update(nullptr, 0, auBytes, &uSize));
        EXPECT_EQ(QV_RES_INVALID_ARGUMENT, aes.Update(auBytes, 16, nullptr, &uSize));
        EXPECT_EQ(QV_RES_INVALID_ARGUMENT, aes.Update(auBytes, 16, auBytes, nullptr));
        EXPECT_EQ(QV_RES_INVALID_ARGUMENT, aes.End(nullptr, &uSize));
        EXPECT_EQ(QV_RES_INVALID_ARGUMENT, aes.End(auBytes, nullptr));
        EXPECT_EQ(QV_RES_INVALID_ARGUMENT, aes.Update(nullptr, &blob, false));
        EXPECT_EQ(QV_RES_INVALID_ARGUMENT, aes.Update(&blob, nullptr, false));
        EXPECT_EQ(QV_RES_INVALID_ARGUMENT, aes.End(nullptr, false));
        EXPECT_EQ(77u, uSize);
        ASSERT_EQ(QV_RES_OK, Begin(aes, CCipher::eACTION_ENCRYPT, CCipher::eMODE_CBC, Key(16), g_iv));
    }
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

TEST(CAesBlobs, AnInputWithoutStorageIsANullPointer)
{
    CAes aes;
    CBlob blobEmpty;
    CBlob blobOut;
    ASSERT_EQ(QV_RES_OK, Begin(aes, CCipher::eACTION_ENCRYPT, CCipher::eMODE_CBC, Key(16), g_iv));
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, aes.Update(&blobEmpty, &blobOut, false));
    ASSERT_EQ(QV_RES_OK, blobEmpty.ReserveCapacity(1));
    EXPECT_EQ(QV_RES_OK, aes.Update(&blobEmpty, &blobOut, false));
    EXPECT_EQ(0u, blobOut.GetSize());
}

TEST(CAesBlobs, AKeyWithoutStorageIsTheDefaultOne)
{
    CAes aes;
    CBlob blobEmpty;
    EXPECT_EQ(QV_RES_FAIL, aes.Begin(CCipher::eACTION_ENCRYPT, CCipher::eMODE_CBC, &blobEmpty, &blobEmpty));
    ASSERT_EQ(QV_RES_OK, aes.SetDefaultKey(Key(16).data(), 16));
    EXPECT_EQ(QV_RES_OK, aes.Begin(CCipher::eACTION_ENCRYPT, CCipher::eMODE_CBC, &blobEmpty, &blobEmpty));
}

TEST(CAesBlobs, AFailedReservationIsReturnedAndChangesNothing)
{
    CTestAllocator allocator;
    CBlob blobIn(Key(20).data(), 20);
    CBlob blobOut(Key(3).data(), 3, 0, &allocator);
    CAes aes;
    ASSERT_EQ(QV_RES_OK, Begin(aes, CCipher::eACTION_ENCRYPT, CCipher::eMODE_CTR, Key(16), g_iv));
    allocator.SetRefusing(true);
    EXPECT_EQ(QV_RES_OUT_OF_MEMORY, aes.Update(&blobIn, &blobOut, true));
    EXPECT_EQ(QV_RES_OUT_OF_MEMORY, aes.End(&blobOut, true));
    EXPECT_EQ(Key(3), Data(blobOut.begin(), blobOut.end()));
    allocator.SetRefusing(false);
    EXPECT_EQ(QV_RES_OK, aes.Update(&blobIn, &blobOut, false));
    EXPECT_EQ(QV_RES_OK, aes.End(&blobOut, true));
    EXPECT_EQ(EvpCrypt(CCipher::eACTION_ENCRYPT, CCipher::eMODE_CTR, Key(16), g_iv, Key(20)),
              Data(blobOut.begin(), blobOut.end()));
}

TEST(CAesBlobs, ACopyOfTheInputThatCannotBeHadIsReported)
{
    CTestAllocator allocator;
    CBlob blob(Key(32).data(), 32, 100, &allocator);
    CAes aes;
    ASSERT_EQ(QV_RES_OK, Begin(aes, CCipher::eACTION_ENCRYPT, CCipher::eMODE_CBC, Key(16), g_iv));
    allocator.SetRefusing(true);
    EXPECT_EQ(QV_RES_OUT_OF_MEMORY, aes.Update(&blob, &blob, false));
    EXPECT_EQ(Key(32), Data(blob.begin(), blob.end()));
    allocator.SetRefusing(false);
}

TEST(CAesBlobs, AFailedUpdateOrEndLeavesTheOutputAsItWas)
{
    CBlob blobIn(Key(17).data(), 17);
    CBlob blobOut(Key(3).data(), 3);
    CAes aes;
    EXPECT_EQ(QV_RES_INVALID_STATE, aes.Update(&blobIn, &blobOut, false));
    EXPECT_EQ(Key(3), Data(blobOut.begin(), blobOut.end()));
    ASSERT_EQ(QV_RES_OK, Begin(aes, CCipher::eACTION_ENCRYPT, CCipher::eMODE_CBC, Key(16), g_iv));
    ASSERT_EQ(QV_RES_OK, aes.Update(&blobIn, &blobOut, true));
    ASSERT_EQ(19u, blobOut.GetSize());
    EXPECT_EQ(QV_RES_INVALID_STATE, aes.End(&blobOut, true));
    EXPECT_EQ(QV_RES_INVALID_STATE, aes.End(&blobOut, false));
    EXPECT_EQ(19u, blobOut.GetSize());
}

TEST(CAesBlobs, EndReplacesOrAppends)
{
    CBlob blobIn(Key(5).data(), 5);
    CBlob blobOut;
    CAes aes;
    ASSERT_EQ(QV_RES_OK, Begin(aes, CCipher::eACTION_ENCRYPT, CCipher::eMODE_CTR, Key(16), g_iv));
    ASSERT_EQ(QV_RES_OK, aes.Update(&blobIn, &blobOut, false));
    ASSERT_EQ(0u, blobOut.GetSize());
    ASSERT_EQ(QV_RES_OK, blobOut.Append(Key(3).data(), 3));
    CAes copy(aes);
    CBlob blobCopy(blobOut);
    ASSERT_EQ(QV_RES_OK, aes.End(&blobOut, true));
    EXPECT_EQ(8u, blobOut.GetSize());
    ASSERT_EQ(QV_RES_OK, copy.End(&blobCopy, false));
    EXPECT_EQ(EvpCrypt(CCipher::eACTION_ENCRYPT, CCipher::eMODE_CTR, Key(16), g_iv, Key(5)),
              Data(blobCopy.begin(), blobCopy.end()));
}

TEST(CAesObject, TellsWhatItIs)
{
    CAes aes;
    EXPECT_EQ(0u, aes.GetAlgorithm());
    EXPECT_EQ(128u, aes.GetBlockSizeInBits());
    EXPECT_EQ(16u, aes.GetBlockSizeInByte());
    const CVector<CCipher::EMode>* const pModes = aes.GetSupportedModes();
    ASSERT_NE(nullptr, pModes);
    EXPECT_EQ(std::vector<CCipher::EMode>(
                  {CCipher::eMODE_CBC, CCipher::eMODE_CFB, CCipher::eMODE_ECB, CCipher::eMODE_OFB, CCipher::eMODE_CTR}),
              std::vector<CCipher::EMode>(pModes->begin(), pModes->end()));
    EXPECT_EQ(5u, pModes->GetCapacity());
}

TEST(CAesObject, CopiesGoOnByThemselves)
{
    const Data bytes = Key(64);
    CAes aes;
    Data out;
    ASSERT_EQ(QV_RES_OK, Begin(aes, CCipher::eACTION_ENCRYPT, CCipher::eMODE_CBC, Key(16), g_iv));
    ASSERT_NO_FATAL_FAILURE(Feed(aes, bytes.data(), 21, out));
    CAes copy(aes);
    Data copyOut = out;
    ASSERT_NO_FATAL_FAILURE(Feed(copy, bytes.data() + 21, 43, copyOut));
    ASSERT_NO_FATAL_FAILURE(Feed(aes, bytes.data() + 21, 43, out));
    EXPECT_EQ(out, copyOut);
    EXPECT_EQ(EvpCrypt(CCipher::eACTION_ENCRYPT, CCipher::eMODE_CBC, Key(16), g_iv, bytes), out);
}
}  // namespace
