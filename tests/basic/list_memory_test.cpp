// What a list takes from the global array allocation beside its nodes.
#include <gtest/gtest.h>

#include <iterator>
#include <new>
#include <vector>

#include "framework/basic/list.h"
#include "tests/basic/counting_new.h"

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
    ~CListMemory() override { rNew.Stop(); }

    CArrayAllocations& rNew = CArrayAllocations::Instance();
    CList<int> list;
};

TEST_P(CListMemory, SortingTakesOneArrayOfAddressesAndGivesItBack)
{
    rNew.Watch();
    list.Sort();
    rNew.Stop();
    ASSERT_EQ(1u, rNew.GetMade().size());
    EXPECT_EQ(list.GetSize() * sizeof(void*), rNew.GetMade()[0].uSize);
    EXPECT_EQ(std::vector<void*>{rNew.GetMade()[0].pv}, rNew.GetFreed());
}

TEST_P(CListMemory, SortingWithoutMemoryThrowsAndLeavesTheListAsItWas)
{
    const std::vector<int> before = ForwardsAndBackwards(list);
    rNew.Watch(1);
    EXPECT_THROW(list.Sort(), std::bad_alloc);
    rNew.Stop();
    EXPECT_EQ(before, ForwardsAndBackwards(list));
}

INSTANTIATE_TEST_SUITE_P(Sizes, CListMemory, testing::Values(2, 3, 100, 1001), testing::PrintToStringParamName());

TEST(CListMemoryOfFew, FewerThanTwoElementsAreSortedWithoutAny)
{
    CArrayAllocations& rNew = CArrayAllocations::Instance();
    CList<int> list;
    rNew.Watch(1);
    list.Sort();
    rNew.Stop();
    list.Append(1);
    rNew.Watch(1);
    list.Sort();
    rNew.Stop();
    EXPECT_EQ(1u, list.GetSize());
}
}  // namespace
