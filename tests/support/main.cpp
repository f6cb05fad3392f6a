// Runs a test binary with the framework up. A test that brings it up itself links plain gtest_main instead.
#include <gtest/gtest.h>

#include "framework/kernel/framework_initializer.h"

int main(int argc, char** argv)
{
    testing::InitGoogleTest(&argc, argv);
    const CFrameworkScope framework;
    if (framework.GetResult() < 0) return 1;
    return RUN_ALL_TESTS();
}
