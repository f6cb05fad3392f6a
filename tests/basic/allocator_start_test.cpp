// The default allocator's life: from its first use to its module's shut-down.
#include <gtest/gtest.h>

#include "framework/basic/allocator.h"
#include "framework/kernel/framework_initializer.h"
#include "framework/kernel/singleton.h"

namespace
{
class CProbe : public CDefaultAllocator
{
public:
    using CSingleton<CDefaultAllocator>::ms_pInstance;
};

class CDefaultAllocatorLife : public testing::Test
{
protected:
    CDefaultAllocatorLife() { EXPECT_EQ(QV_RES_OK, InitializeCSingleton()); }
    ~CDefaultAllocatorLife() override { FinalizeCSingleton(); }
};
}  // namespace

TEST_F(CDefaultAllocatorLife, StartUpMakesNoInstance)
{
    EXPECT_EQ(QV_RES_OK, InitializeCDefaultAllocator());
    EXPECT_EQ(nullptr, CProbe::ms_pInstance);
    EXPECT_EQ(QV_RES_OK, CDefaultAllocator::InitializeCDefaultAllocator());
    EXPECT_EQ(nullptr, CProbe::ms_pInstance);
}

TEST_F(CDefaultAllocatorLife, TheFirstUseMakesTheInstanceAndShutDownDeletesIt)
{
    for (void (*pfnFinalize)() : {&CDefaultAllocator::FinalizeCDefaultAllocator, &FinalizeCDefaultAllocator})
    {
        CDefaultAllocator* const pFirst = CDefaultAllocator::Instance();
        ASSERT_NE(nullptr, pFirst);
        EXPECT_EQ(pFirst, CDefaultAllocator::Instance());
        EXPECT_EQ(pFirst, CProbe::ms_pInstance);
        pfnFinalize();
        EXPECT_EQ(nullptr, CProbe::ms_pInstance);
        pfnFinalize();
        EXPECT_EQ(nullptr, CProbe::ms_pInstance);
    }
}

TEST(DefaultAllocatorInTheFramework, EndsWithIt)
{
    ASSERT_EQ(QV_RES_OK, CFrameworkInitializer::Initialize());
    {
        CBlockAllocator blocks(8, nullptr);
    }
    EXPECT_NE(nullptr, CProbe::ms_pInstance);
    CFrameworkInitializer::Finalize();
    EXPECT_EQ(nullptr, CProbe::ms_pInstance);
}
