// Runs a test binary with the framework up. A test that brings it up itself links plain gtest_main instead.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>

#include "framework/kernel/framework_initializer.h"
#include "tests/support/test_seed.h"

std::uint32_t TestSeed()
{
    const char* const pszSeed = std::getenv("TEST_SEED");
    return pszSeed != nullptr ? static_cast<std::uint32_t>(std::strtoul(pszSeed, nullptr, 0)) : 20260923u;
}

namespace
{
class CSeedPrinter : public testing::EmptyTestEventListener
{
    void OnTestEnd(const testing::TestInfo& rInfo) override
    {
        if (rInfo.result()->Failed()) std::printf("TEST_SEED=%u replays it\n", TestSeed());
    }
};
}  // namespace

int main(int argc, char** argv)
{
    testing::InitGoogleTest(&argc, argv);
    testing::UnitTest::GetInstance()->listeners().Append(new CSeedPrinter);
    const CFrameworkScope framework;
    if (framework.GetResult() < 0) return 1;
    return RUN_ALL_TESTS();
}
