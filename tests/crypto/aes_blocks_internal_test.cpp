// Each path of AES. Oracles: libcrypto's EVP interface and a model after FIPS 197 for the bytes, and libcrypto's AES
// functions, the path that every machine has, for the state of the object.
#include "framework/crypto/internal/aes_blocks.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <string>
#include <tuple>
#include <vector>

#include "framework/crypto/aes.h"
#include "framework/crypto/internal/cpu_features.h"
#include "tests/support/aes_model.h"
#include "tests/support/aes_oracle.h"
#include "tests/support/bytes.h"
#include "tests/support/object_bytes.h"
#include "tests/support/page_end.h"
#include "tests/support/test_seed.h"

namespace
{
using namespace orvel_internal;
constexpr CCipher::EAction g_aeACTIONS[] = {CCipher::eACTION_ENCRYPT, CCipher::eACTION_DECRYPT};
constexpr CCipher::EMode g_aeMODES[] = {CCipher::eMODE_CBC, CCipher::eMODE_CFB, CCipher::eMODE_CTR, CCipher::eMODE_ECB,
                                        CCipher::eMODE_OFB};
constexpr unsigned int g_auKEY_SIZES[] = {16, 24, 32};

struct SPath
{
    const char* pszName;
    ECpuFeature eFeature;
    unsigned int uAllowed;
};

void PrintTo(const SPath& rstPath, std::ostream* pStream)
{
    *pStream << rstPath.pszName;
}

constexpr SPath g_astPATHS[] = {
    {"Libcrypto", eCPU_PORTABLE, 0}, {"AesNi", eCPU_AES, ~0u - eCPU_VAES}, {"Vaes", eCPU_VAES, ~0u}};

class CAesPath : public testing::TestWithParam<SPath>
{
protected:
    void SetUp() override
    {
        if (!HasCpuFeature(GetParam().eFeature)) GTEST_SKIP() << "this processor does not have it";
        RestrictCpuFeatures(GetParam().uAllowed);
        ASSERT_EQ(GetParam().eFeature, CpuPath(ECpuAlgorithm::eAES));
    }
    void TearDown() override { RestrictCpuFeatures(~0u); }

    // Nothing behind the buffers is read or written.
    static Bytes Crypt(CCipher::EAction eAction, CCipher::EMode eMode, const Bytes& rKey, const Bytes& rIv,
                       const Bytes& rInput)
    {
        const CPageEnd key(rKey);
        const CPageEnd iv(rIv);
        const CPageEnd input(rInput);
        CPageEnd output(rInput.size() / 16 * 16);
        CAes aes;
        unsigned int uSize = 0;
        EXPECT_EQ(QV_RES_OK, aes.Begin(eAction, eMode, key.Get(), SizeOf(rKey), iv.Get(), 16));
        EXPECT_EQ(QV_RES_OK, aes.Update(input.Get(), SizeOf(rInput), output.Get(), &uSize));
        Bytes all = output.Bytes();
        EXPECT_EQ(all.size(), uSize);
        uint8_t auLast[16];
        EXPECT_EQ(QV_RES_OK, aes.End(auLast, &uSize));
        all.insert(all.end(), auLast, auLast + uSize);
        return all;
    }
};

template <typename Test>
void ForEachKind(Test test)
{
    for (const CCipher::EMode eMode : g_aeMODES)
    {
        for (const CCipher::EAction eAction : g_aeACTIONS)
        {
            for (const unsigned int uKeySize : g_auKEY_SIZES)
            {
                SCOPED_TRACE(testing::Message() << "mode " << eMode << ", action " << eAction << ", key " << uKeySize);
                test(eAction, eMode, uKeySize);
                if (testing::Test::HasFailure()) return;
            }
        }
    }
}
}  // namespace

TEST_P(CAesPath, EveryNumberOfBlocksGivesWhatTheModelDoes)
{
    std::mt19937 rng(TestSeed());
    ForEachKind(
        [&](CCipher::EAction eAction, CCipher::EMode eMode, unsigned int uKeySize)
        {
            const Bytes key = RandomBytes(rng, uKeySize, uKeySize);
            const Bytes iv = RandomBytes(rng, 16, 16);
            const Bytes bytes = RandomBytes(rng, 16 * 75, 16 * 75);
            const Bytes want = aes_model::Crypt(eAction, eMode, key, iv, bytes);
            for (std::size_t uSize = 0; uSize <= bytes.size(); uSize += 16)
            {
                // ECB, CTR and OFB begin alike whatever follows, and so do the others.
                const Bytes part(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(uSize));
                const Bytes got = Crypt(eAction, eMode, key, iv, part);
                ASSERT_EQ(Bytes(want.begin(), want.begin() + static_cast<std::ptrdiff_t>(uSize)), got) << uSize;
            }
        });
}

TEST_P(CAesPath, TheCounterWrapsAnywhere)
{
    std::mt19937 rng(TestSeed() + 1);
    const Bytes key = RandomBytes(rng, 32, 32);
    for (const std::size_t uHighOnes : {0u, 3u, 8u})
    {
        for (unsigned int uBefore = 0; uBefore <= 80; ++uBefore)
        {
            // So many counters before the low half wraps, and perhaps the high one.
            Bytes iv(16, 0x5A);
            std::fill(iv.begin() + 8, iv.end(), static_cast<unsigned char>(0xFF));
            std::fill_n(iv.begin() + 8 - static_cast<std::ptrdiff_t>(uHighOnes), uHighOnes,
                        static_cast<unsigned char>(0xFF));
            iv[15] = static_cast<unsigned char>(0xFF - uBefore);
            const Bytes bytes = RandomBytes(rng, 16 * 90, 16 * 90 + 15);
            const Bytes want = EvpCrypt(CCipher::eACTION_ENCRYPT, CCipher::eMODE_CTR, key, iv, bytes);
            ASSERT_EQ(want, Crypt(CCipher::eACTION_ENCRYPT, CCipher::eMODE_CTR, key, iv, bytes))
                << uBefore << " before " << uHighOnes;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Paths, CAesPath, testing::ValuesIn(g_astPATHS),
                         [](const auto& rInfo) { return std::string(rInfo.param.pszName); });

namespace
{
// Two objects that are given the same calls, one on the path that every machine has.
class CAesTwins
{
public:
    explicit CAesTwins(unsigned int uAllowed) : m_uAllowed(uAllowed) {}

    template <typename Call>
    void Do(Call call)
    {
        RestrictCpuFeatures(0);
        const QvResult resWant = call(m_plain, m_plainArena.data());
        RestrictCpuFeatures(m_uAllowed);
        const QvResult res = call(m_fast, m_fastArena.data());
        RestrictCpuFeatures(~0u);
        ASSERT_EQ(resWant, res);
        ASSERT_EQ(m_plainArena, m_fastArena);
        ASSERT_EQ(BytesAt(&m_plain, 0, sizeof(CAes)), BytesAt(&m_fast, 0, sizeof(CAes)));
    }
    // With what is now and then a counter that wraps soon.
    void Fill(std::mt19937& rRng)
    {
        m_plainArena = RandomBytes(rRng, uARENA, uARENA);
        if (Below(rRng, 3) == 0) std::fill_n(m_plainArena.begin() + 100, 16, static_cast<unsigned char>(0xFF));
        m_plainArena[115] = static_cast<unsigned char>(m_plainArena[115] - Below(rRng, 3));
        m_fastArena = m_plainArena;
    }

    static constexpr unsigned int uARENA = 8192;

private:
    unsigned int m_uAllowed;
    CAes m_plain;
    CAes m_fast;
    Bytes m_plainArena;
    Bytes m_fastArena;
};

unsigned int RandomSize(std::mt19937& rRng)
{
    switch (Below(rRng, 4))
    {
        case 0: return Below(rRng, 20);
        case 1: return 16 * Below(rRng, 12);
        case 2: return Below(rRng, 300);
        default: return Below(rRng, 3000);
    }
}

// Mostly apart or in place, now and then overlapping: behind the input at any distance, in front of it by two blocks at
// least. By less, libcrypto's CBC decryption overwrites the ciphertext that it still needs.
std::pair<unsigned int, unsigned int> RandomPlaces(std::mt19937& rRng)
{
    const unsigned int uIn = 1000 + Below(rRng, 64);
    switch (rRng() % 6)
    {
        case 0: return {uIn, uIn};
        case 1: return {uIn, uIn + 1 + Below(rRng, 200)};
        case 2: return {uIn, uIn - 32 - Below(rRng, 200)};
        default: return {uIn, 4500 + Below(rRng, 64)};
    }
}
}  // namespace

TEST_P(CAesPath, LeavesTheObjectAsLibcryptoDoes)
{
    std::mt19937 rng(TestSeed() + 2);
    for (unsigned int uRun = 0; uRun < 60; ++uRun)
    {
        SCOPED_TRACE(testing::Message() << "run " << uRun);
        CAesTwins twins(GetParam().uAllowed);
        for (unsigned int uStep = 0; uStep < 40; ++uStep)
        {
            twins.Fill(rng);
            const unsigned int uWhat = uStep == 0 ? 0 : Below(rng, 8);
            const CCipher::EAction eAction = g_aeACTIONS[rng() % 2];
            const CCipher::EMode eMode = g_aeMODES[rng() % 5];
            // Now and then one that is none.
            const unsigned int uKeySize = Below(rng, 20) == 0 ? 20 : g_auKEY_SIZES[Below(rng, 3)];
            const unsigned int uIvSize = Below(rng, 17);
            const unsigned int uSize = RandomSize(rng);
            const std::pair<unsigned int, unsigned int> places = RandomPlaces(rng);
            unsigned int uOut = 0;
            const auto Begin = [&](CAes& rAes, unsigned char* puArena)
            { return rAes.Begin(eAction, eMode, puArena, uKeySize, puArena + 100, uIvSize); };
            const auto Update = [&](CAes& rAes, unsigned char* puArena)
            { return rAes.Update(puArena + places.first, uSize, puArena + places.second, &uOut); };
            const auto End = [&](CAes& rAes, unsigned char* puArena)
            { return rAes.End(puArena + places.second, &uOut); };
            if (uWhat == 0) { ASSERT_NO_FATAL_FAILURE(twins.Do(Begin)); }
            else if (uWhat == 1) { ASSERT_NO_FATAL_FAILURE(twins.Do(End)); }
            else { ASSERT_NO_FATAL_FAILURE(twins.Do(Update)) << uSize << " bytes, step " << uStep; }
        }
    }
}
