#include <gtest/gtest.h>

#include <array>
#include <new>
#include <optional>
#include <string>

#include "framework/basic/string.h"
#include "framework/kernel/framework_initializer.h"
#include "tests/support/string_probe.h"

namespace
{
void ExpectDown()
{
    EXPECT_EQ(nullptr, CStringProbe::ms_pmutex);
    EXPECT_EQ(nullptr, CStringProbe::ms_pAllocator);
    EXPECT_EQ(nullptr, CStringProbe::ms_pstEmptyStringInfo);
}

void ExpectUp()
{
    EXPECT_EQ(static_cast<void*>(CStringProbe::ms_auMutex), static_cast<void*>(CStringProbe::ms_pmutex));
    EXPECT_EQ(static_cast<IAllocator*>(CSingleton<CDefaultAllocator>::Instance()), CStringProbe::ms_pAllocator);
    ASSERT_EQ(static_cast<void*>(CStringProbe::ms_auEmptyStringInfo),
              static_cast<void*>(CStringProbe::ms_pstEmptyStringInfo));
    for (unsigned int u = 0; u < 7; ++u) EXPECT_EQ(0, CStringProbe::ms_auEmptyStringInfo[u]) << u;
}

/// Where the default allocator has put a string.
char* BlockOf(const CString& rString)
{
    return const_cast<char*>(rString.CStr()) - sizeof(SStringHeader);
}
}  // namespace

TEST(CStringStart, TheFrameworkBringsTheStaticsUpAndDown)
{
    ExpectDown();
    for (unsigned int uRound = 0; uRound < 2; ++uRound)
    {
        ASSERT_EQ(QV_RES_OK, CFrameworkInitializer::Initialize());
        ExpectUp();
        EXPECT_EQ("text", TextOf(CString("text")));
        CFrameworkInitializer::Finalize();
        ExpectDown();
    }
}

TEST(CStringStart, StringsMayBeDestroyedAfterTheShutDown)
{
    ASSERT_EQ(QV_RES_OK, CFrameworkInitializer::Initialize());
    auto texts = std::make_optional<std::array<CString, 4>>();
    (*texts)[1] = "alone";
    (*texts)[2] = "shared";
    (*texts)[3] = (*texts)[2];
    char* const apcBlocks[] = {BlockOf((*texts)[1]), BlockOf((*texts)[2])};
    CFrameworkInitializer::Finalize();
    texts.reset();
    // They are left behind. Freed here, they would be freed twice otherwise, which the sanitizer tells.
    for (char* const pcBlock : apcBlocks) ::operator delete[](pcBlock);
}

TEST(CStringStart, TheModuleComesUpAndGoesDownByItself)
{
    ASSERT_EQ(QV_RES_OK, CFrameworkInitializer::Initialize());
    void (*const apfnFinalize[])() = {&CString::FinalizeCString, &FinalizeCString};
    QvResult (*const apfnInitialize[])() = {&CString::InitializeCString, &InitializeCString};
    for (unsigned int u = 0; u < 2; ++u)
    {
        CString strAlive("still alive");
        apfnFinalize[u]();
        ExpectDown();
        // Shut-down frees no block.
        EXPECT_STREQ("still alive", strAlive.CStr());
        EXPECT_EQ(QV_RES_OK, apfnInitialize[u]());
        ExpectUp();
        EXPECT_EQ("still alive", TextOf(strAlive));
        EXPECT_EQ(1u, ShareCountOf(strAlive));
    }
    CFrameworkInitializer::Finalize();
}

TEST(CStringStart, StartUpClearsTheEmptyBlock)
{
    ASSERT_EQ(QV_RES_OK, CFrameworkInitializer::Initialize());
    CString::FinalizeCString();
    for (unsigned int u = 0; u < 7; ++u) CStringProbe::ms_auEmptyStringInfo[u] = 0xFF;
    EXPECT_EQ(QV_RES_OK, CString::InitializeCString());
    ExpectUp();
    EXPECT_STREQ("", CString().CStr());
    CFrameworkInitializer::Finalize();
}
