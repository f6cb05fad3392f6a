// One case per client, each with a framework of its own.
#include <gtest/gtest.h>

#include <cstdio>

#include "framework/kernel/framework_initializer.h"
#include "tests/clients/client.h"

namespace
{
unsigned int g_uFailures = 0;

class CClients : public testing::Test
{
protected:
    void SetUp() override
    {
        g_uFailures = 0;
        ASSERT_EQ(QV_RES_OK, CFrameworkInitializer::Initialize());
    }
    void TearDown() override
    {
        CFrameworkInitializer::Finalize();
        EXPECT_EQ(0u, CFrameworkInitializer::ms_uInitializationCount);
    }
};
}  // namespace

void CheckFailed(const char* pszCondition, const char* pszFile, int nLine)
{
    std::printf("%s:%d: does not hold: %s\n", pszFile, nLine, pszCondition);
    ++g_uFailures;
}

#define CLIENT_CASE(Name)           \
    TEST_F(CClients, Name)          \
    {                               \
        Name##Client();             \
        EXPECT_EQ(0u, g_uFailures); \
    }
CLIENTS(CLIENT_CASE)
