#ifndef TESTS_ABI_STARTED_FRAMEWORK_H
#define TESTS_ABI_STARTED_FRAMEWORK_H
#include <gtest/gtest.h>

class CFrameworkInitializer
{
public:
    static int Initialize();
    static void Finalize();
};

/// Keeps the framework up around all tests of the program that includes this.
class CStartedFramework : public testing::Environment
{
public:
    void SetUp() override { ASSERT_EQ(0, CFrameworkInitializer::Initialize()); }
    void TearDown() override { CFrameworkInitializer::Finalize(); }
};

inline testing::Environment* const g_pStartedFramework = testing::AddGlobalTestEnvironment(new CStartedFramework);

#endif
