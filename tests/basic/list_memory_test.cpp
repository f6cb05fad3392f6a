// What a list takes from the global array allocation beside its nodes.
#include <gtest/gtest.h>

#include <iterator>
#include <new>
#include <vector>

#include "framework/basic/list.h"
#include "tests/basic/array_allocations.h"
#include "tests/support/refusing_new.h"

namespace
{
std::vector<int> ForwardsAndBackwards(CList<int>& rList)
{
    std::vector<int> values(rList.begin(), rList.end());
    values.insert(values.end(), std::make_reverse_iterator(rList.end()), std::make_reverse_iterator(rList.begin()));
    return values;
}

class CListMemory : public testing::TestWithParam<int>
{
protected:
    CListMemory()
    {
        for (int n = GetParam(); n > 0; --n) list.Append(n);
    }

    CArrayAllocations arrays;
    CList<int> list;
};

TEST_P(CListMemory, SortingTakesOneArrayOfAddressesAndGivesItBack)
{
    arrays.Watch();
    list.Sort();
    arrays.Stop();
    ASSERT_EQ(1u, arrays.GetMade().size());
    EXPECT_EQ(list.GetSize() * sizeof(void*), arrays.GetMade()[0].uSize);
    EXPECT_EQ(std::vector<void*>{arrays.GetMade()[0].pv}, arrays.GetFreed());
}

TEST_P(CListMemory, SortingWithoutMemoryThrowsAndLeavesTheListAsItWas)
{
    const std::vector<int> before = ForwardsAndBackwards(list);
    arrays.Watch(1);
    EXPECT_THROW(list.Sort(), std::bad_alloc);
    arrays.Stop();
    EXPECT_EQ(before, ForwardsAndBackwards(list));
}

INSTANTIATE_TEST_SUITE_P(Sizes, CListMemory, testing::Values(2, 3, 100, 1001), testing::PrintToStringParamName());

TEST(CListMemoryOfFew, FewerThanTwoElementsAreSortedWithoutAny)
{
    CArrayAllocations arrays;
    CList<int> list;
    arrays.Watch(1);
    list.Sort();
    arrays.Stop();
    list.Append(1);
    arrays.Watch(1);
    list.Sort();
    arrays.Stop();
    EXPECT_EQ(1u, list.GetSize());
}
}  // namespace
