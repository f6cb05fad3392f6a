// Oracles: libcrypto, and FIPS 180-4 written out.
#include "framework/crypto/internal/sha_blocks.h"

#include <gtest/gtest.h>

#include <iterator>
#include <random>
#include <vector>

#include "framework/crypto/internal/cpu_features.h"
#include "tests/support/bytes.h"
#include "tests/support/digest_oracle.h"
#include "tests/support/sha_model.h"
#include "tests/support/test_seed.h"

namespace
{
using namespace orvel_internal;

// Copied whole into states of that many words.
static_assert(sizeof(g_auSHA1_START) == 5 * sizeof(uint32_t));

using Words = std::vector<uint32_t>;

bool HasShaInstructions()
{
    return HasCpuFeature(eCPU_SHA);
}

bool Always()
{
    return true;
}

struct SPath
{
    const char* pszName;
    void (*pfnBlocks)(uint32_t* puState, const uint8_t* puBlocks, size_t uCount);
    Words (*pfnStart)();
    void (*pfnModel)(Words& rState, const unsigned char* puBlock);
    const EVP_MD* (*pfnOracle)();
    bool (*pfnRuns)();
    // Where the path does not run: what then is in use, and must take its place.
    void (*pfnInstead)(uint32_t* puState, const uint8_t* puBlocks, size_t uCount);
};

void PrintTo(const SPath& rstPath, std::ostream* pStream)
{
    *pStream << rstPath.pszName;
}

using sha_model::SSha1;
using sha_model::SSha256;

constexpr SPath g_astPATHS[] = {
    {"Sha1", Sha1Blocks, SSha1::Start, SSha1::Block, EVP_sha1, Always, nullptr},
    {"Sha1Portable", Sha1BlocksPortable, SSha1::Start, SSha1::Block, EVP_sha1, Always, nullptr},
    {"Sha1Instructions", Sha1BlocksShaExtensions, SSha1::Start, SSha1::Block, EVP_sha1, HasShaInstructions, Sha1Blocks},
    {"Sha256", Sha256Blocks, SSha256::Start, SSha256::Block, EVP_sha256, Always, nullptr},
    {"Sha256Portable", Sha256BlocksPortable, SSha256::Start, SSha256::Block, EVP_sha256, Always, nullptr},
    {"Sha256Instructions", Sha256BlocksShaExtensions, SSha256::Start, SSha256::Block, EVP_sha256, HasShaInstructions,
     Sha256Blocks},
};

class CShaBlocks : public testing::TestWithParam<SPath>
{
protected:
    // The path under test; without the instructions it needs, the one that then is in use.
    void Run(Words& rState, const uint8_t* puBlocks, size_t uCount) const
    {
        const auto pfnBlocks = GetParam().pfnRuns() ? GetParam().pfnBlocks : GetParam().pfnInstead;
        pfnBlocks(rState.data(), puBlocks, uCount);
    }

    std::mt19937 m_rng{TestSeed()};
};

INSTANTIATE_TEST_SUITE_P(Paths, CShaBlocks, testing::ValuesIn(g_astPATHS),
                         [](const auto& rInfo) { return std::string(rInfo.param.pszName); });
}  // namespace

TEST_P(CShaBlocks, WithThePaddingBlockTheyAreTheDigest)
{
    for (const unsigned int uBlocks : {0u, 1u, 2u, 3u, 4u, 5u, 16u, 33u})
    {
        const Bytes message = RandomBytes(m_rng, 64 * uBlocks, 64 * uBlocks);
        Bytes padded = message;
        const Bytes padding = sha_model::Padding(message.size(), 8 * message.size());
        padded.insert(padded.end(), padding.begin(), padding.end());
        Words state = GetParam().pfnStart();
        Run(state, padded.data(), uBlocks + 1);
        EXPECT_EQ(EvpDigest(GetParam().pfnOracle(), message), sha_model::BigEndian(state)) << uBlocks << " blocks";
    }
}

TEST_P(CShaBlocks, ChangeAnyStateAsTheStandardSaysFromAnyAddress)
{
    for (unsigned int uStep = 0; uStep < 200; ++uStep)
    {
        const unsigned int uBlocks = Below(m_rng, 5);
        const unsigned int uOffset = Below(m_rng, 17);
        const Bytes bytes = RandomBytes(m_rng, 64 * uBlocks + uOffset, 64 * uBlocks + uOffset);
        Words state = GetParam().pfnStart();
        for (uint32_t& ruWord : state) ruWord = static_cast<uint32_t>(m_rng());
        Words want = state;
        for (unsigned int u = 0; u < uBlocks; ++u) GetParam().pfnModel(want, bytes.data() + uOffset + 64 * u);
        // Nothing behind the words is written.
        state.insert(state.end(), 4, 0xEEEEEEEE);
        want.insert(want.end(), 4, 0xEEEEEEEE);
        Run(state, bytes.data() + uOffset, uBlocks);
        ASSERT_EQ(want, state) << "step " << uStep << ", " << uBlocks << " blocks";
    }
}

TEST(Sha256Constants, AreTheCubeRootsOfTheFirstPrimes)
{
    EXPECT_EQ(SSha256::Fractions(64, 3), Words(std::begin(g_auSHA256_CONSTANTS), std::end(g_auSHA256_CONSTANTS)));
}
