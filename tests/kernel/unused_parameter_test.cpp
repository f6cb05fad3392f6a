#include "framework/kernel/unused_parameter.h"

#include <gtest/gtest.h>

#include <string>
#include <type_traits>

TEST(CUnusedParameter, TheTemplateReturnsTheVeryObject)
{
    const int n = 7;
    std::string text("text");
    const std::string* const pText = &text;
    EXPECT_EQ(&n, &QV_REMOVE_UNUSED_FUNCTION_PARAM_WARNING(n));
    EXPECT_EQ(&text, &QV_REMOVE_UNUSED_FUNCTION_PARAM_WARNING(text));
    EXPECT_EQ(&pText, &QV_REMOVE_UNUSED_FUNCTION_PARAM_WARNING(pText));
    EXPECT_EQ(7, n);
    EXPECT_EQ("text", text);
}

TEST(CUnusedParameter, TheTemplateTakesAndReturnsAConstantReference)
{
    std::string text;
    static_assert(std::is_same_v<const std::string&, decltype(QV_REMOVE_UNUSED_FUNCTION_PARAM_WARNING(text))>);
    static_assert(std::is_same_v<const int&, decltype(QV_REMOVE_UNUSED_FUNCTION_PARAM_WARNING(1))>);
}

TEST(CUnusedParameter, TheFunctionReturnsItsValue)
{
    static_assert(std::is_same_v<uintptr_t (*)(uintptr_t), decltype(&QvRemoveUnusedFunctionParamWarning)>);
    int n = 0;
    const uintptr_t uAddress = reinterpret_cast<uintptr_t>(&n);
    for (uintptr_t u : {uintptr_t{0}, uintptr_t{1}, uintptr_t{0x100000000}, UINTPTR_MAX, uAddress})
    {
        EXPECT_EQ(u, QvRemoveUnusedFunctionParamWarning(u));
    }
}
