#include <gtest/gtest.h>

#include <optional>

#include "framework/basic/aatree.h"
#include "framework/kernel/framework_initializer.h"

TEST(CAATreeLifetime, AnEmptyTreeMayBeDestroyedAfterTheShutDown)
{
    ASSERT_EQ(QV_RES_OK, CFrameworkInitializer::Initialize());
    std::optional<CAATree<int>> tree(std::in_place);
    ASSERT_EQ(QV_RES_OK, tree->Insert(1));
    tree->EraseAll();
    ASSERT_EQ(QV_RES_OK, tree->ReduceCapacity(0));
    CFrameworkInitializer::Finalize();
    tree.reset();
}
