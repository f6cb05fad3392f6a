#ifndef TESTS_ABI_FRAMEWORK_UP_H
#define TESTS_ABI_FRAMEWORK_UP_H
#include <gtest/gtest.h>

#include "tests/abi/old_framework_initializer.h"

/// How a module goes up and down; most have these two as functions of their own and as static members.
struct SModuleFunctions
{
    QvResult (*pfnInitialize)();
    void (*pfnFinalize)();
};

/// Keeps the framework up around all tests of the program that includes this.
class CFrameworkUp : public testing::Environment
{
public:
    void SetUp() override { ASSERT_EQ(QV_RES_OK, CFrameworkInitializer::Initialize()); }
    void TearDown() override { CFrameworkInitializer::Finalize(); }
};

inline testing::Environment* const g_pFrameworkUp = testing::AddGlobalTestEnvironment(new CFrameworkUp);

#endif
