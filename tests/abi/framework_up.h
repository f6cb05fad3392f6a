#ifndef TESTS_ABI_FRAMEWORK_UP_H
#define TESTS_ABI_FRAMEWORK_UP_H
#include <gtest/gtest.h>

#include "tests/abi/old_framework_initializer.h"

/// Keeps the framework up around all tests of the program that includes this.
class CFrameworkUp : public testing::Environment
{
public:
    void SetUp() override { ASSERT_EQ(QV_RES_OK, CFrameworkInitializer::Initialize()); }
    void TearDown() override { CFrameworkInitializer::Finalize(); }
};

inline testing::Environment* const g_pFrameworkUp = testing::AddGlobalTestEnvironment(new CFrameworkUp);

#endif
