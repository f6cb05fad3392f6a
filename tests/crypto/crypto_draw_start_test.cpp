// What the start-up of the crypto lock asks of the generator, which this binary takes the place of.
#include <gtest/gtest.h>

#include "framework/crypto/crypto.h"
#include "framework/crypto/secure_prng.h"

namespace
{
unsigned int g_uDraws = 0;
unsigned int g_uSize = 0;
bool g_bIntoMemory = false;
QvResult g_res = QV_RES_OK;
}  // namespace

QvResult CSecurePrng::Generate(unsigned int uSize, uint8_t* puOut)
{
    ++g_uDraws;
    g_uSize = uSize;
    g_bIntoMemory = puOut != nullptr;
    return g_res;
}

TEST(CCryptoStartUp, IsOneDrawOfFortyBytes)
{
    g_uDraws = 0;
    EXPECT_EQ(QV_RES_OK, CCrypto::InitializeCCrypto());
    EXPECT_EQ(1u, g_uDraws);
    EXPECT_EQ(40u, g_uSize);
    EXPECT_TRUE(g_bIntoMemory);
}

TEST(CCryptoStartUp, SucceedsAlsoWhenTheDrawFails)
{
    g_uDraws = 0;
    g_res = QV_RES_FAIL;
    EXPECT_EQ(QV_RES_OK, CCrypto::InitializeCCrypto());
    EXPECT_EQ(QV_RES_OK, InitializeCCrypto());
    EXPECT_EQ(2u, g_uDraws);
    g_res = QV_RES_OK;
}
