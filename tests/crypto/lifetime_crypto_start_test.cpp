// What needs the framework ends a process that has not brought it up, with one line that names the class; the rest does
// without.
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <string>

#include "framework/framework.h"

namespace
{
uint8_t g_auBytes[64];

struct SUse
{
    const char* pszName;
    const char* pszClass;
    void (*pfnUse)();
};

void PrintTo(const SUse& rstUse, std::ostream* pStream)
{
    *pStream << rstUse.pszName;
}

const SUse g_astUSES[] = {{"Generate", "CSecurePrng", [] { static_cast<void>(CSecurePrng::Generate(4, g_auBytes)); }},
                          {"GenerateOfTheImplementation", "CSecurePrng",
                           [] { static_cast<void>(CSecurePrngBremoFw::Generate(4, g_auBytes)); }},
                          {"SetSeed", "CSecurePrng", [] { static_cast<void>(CSecurePrng::SetSeed(4, g_auBytes)); }},
                          {"Lock", "CSecurePrng", [] { CSecurePrng::Lock(); }},
                          {"CryptoInstance", "CCrypto", [] { CCrypto::Instance()->Enter(); }},
                          {"CryptoStartUp", "CSecurePrng", [] { InitializeCCrypto(); }}};

class COutsideLifetime : public testing::TestWithParam<SUse>
{
protected:
    void SetUp() override
    {
        GTEST_FLAG_SET(death_test_style, "fast");
        const rlimit stNoCore = {0, 0};
        setrlimit(RLIMIT_CORE, &stNoCore);
    }
};

std::string LineOf(const char* pszClass, const char* pszReason)
{
    return std::string("^liborvel_framework: ") + pszClass + " is used" + pszReason + "\n$";
}
}  // namespace

TEST_P(COutsideLifetime, EndsTheProcessBeforeTheStartUp)
{
    EXPECT_EXIT(GetParam().pfnUse(), testing::KilledBySignal(SIGABRT),
                LineOf(GetParam().pszClass, ", but CFrameworkInitializer::Initialize\\(\\) was not called"));
}

TEST_P(COutsideLifetime, EndsTheProcessAfterTheShutDown)
{
    const auto UseTooLate = []
    {
        static_cast<void>(CFrameworkInitializer::Initialize());
        static_cast<void>(CSecurePrng::Generate(4, g_auBytes));
        CFrameworkInitializer::Finalize();
        GetParam().pfnUse();
    };
    EXPECT_EXIT(UseTooLate(), testing::KilledBySignal(SIGABRT),
                LineOf(GetParam().pszClass, " after the last Finalize\\(\\): the framework is down"));
}

INSTANTIATE_TEST_SUITE_P(Uses, COutsideLifetime, testing::ValuesIn(g_astUSES),
                         [](const auto& rInfo) { return std::string(rInfo.param.pszName); });

// On raw bytes, the algorithms have nothing that start-up makes.
TEST(CWithoutFramework, RefusedDrawsAndSeedsAreRefused)
{
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, CSecurePrng::SetSeed(4, nullptr));
    EXPECT_EQ(QV_RES_FAIL, CSecurePrng::SetSeed(0, g_auBytes));
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, CSecureSeed::GenerateSeed(nullptr));
}

TEST(CWithoutFramework, DigestsAndCodesAreMade)
{
    CMd5 md5;
    CSha1 sha1;
    CSha256 sha256;
    for (CHash* const pHash : {static_cast<CHash*>(&md5), static_cast<CHash*>(&sha1), static_cast<CHash*>(&sha256)})
    {
        EXPECT_EQ(QV_RES_OK, pHash->Begin());
        EXPECT_EQ(QV_RES_OK, pHash->Update(g_auBytes, sizeof(g_auBytes)));
        EXPECT_EQ(QV_RES_OK, pHash->End(g_auBytes));
    }
    CSha1Mac mac;
    EXPECT_EQ(QV_RES_OK, mac.Begin(g_auBytes, 20));
    EXPECT_EQ(QV_RES_OK, mac.Update(g_auBytes, 20));
    EXPECT_EQ(QV_RES_OK, mac.End(g_auBytes));
    EXPECT_EQ(QV_RES_OK, CSecureSeed::GenerateSeed(g_auBytes));
}

TEST(CWithoutFramework, CiphersAndSumsWork)
{
    unsigned int uSize = 0;
    CAes aes;
    EXPECT_EQ(nullptr, aes.GetSupportedModes());
    EXPECT_EQ(QV_RES_OK, aes.Begin(CCipher::eACTION_ENCRYPT, CCipher::eMODE_CTR, g_auBytes, 32, nullptr, 0));
    EXPECT_EQ(QV_RES_OK, aes.Update(g_auBytes, 32, g_auBytes + 32, &uSize));
    EXPECT_EQ(QV_RES_OK, aes.End(g_auBytes, &uSize));
    CBase64 base64;
    EXPECT_EQ(QV_RES_OK, base64.Update(g_auBytes, 12, g_auBytes + 32, &uSize));
    EXPECT_EQ(QV_RES_OK, base64.End(g_auBytes, &uSize));
    CCrc crc;
    uint32_t uCrc = 0;
    EXPECT_EQ(QV_RES_OK, crc.Begin(CCrc::eCRC32));
    EXPECT_EQ(QV_RES_OK, crc.Update(g_auBytes, 12));
    EXPECT_EQ(QV_RES_OK, crc.End(&uCrc));
}
