// What the containers open to everybody, and what classes derived from the typed ones are told.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "framework/basic/aatree.h"
#include "framework/basic/list.h"
#include "framework/basic/vector.h"
#include "framework/basic/vector_list.h"
#include "tests/support/test_allocator.h"

namespace
{
int CompareInts(const void* pElement, const void* pKey, unsigned int)
{
    return SNaturalOrder()(*static_cast<const int*>(pElement), *static_cast<const int*>(pKey));
}

/// A container of int that is derived from another: counts the calls of its element operations.
template <typename Container>
class CCounting : public Container
{
public:
    using Container::Container;
    ~CCounting() override { Container::EraseAll(); }

    void Construct(void* pElement) override
    {
        ++m_uMade;
        *static_cast<int*>(pElement) = 0;
    }
    void ConstructFrom(void* pElement, const void* pSource) override
    {
        ++m_uCopied;
        *static_cast<int*>(pElement) = *static_cast<const int*>(pSource);
    }
    void Destruct(void*) override { ++m_uDestroyed; }

    /// The calls since the last time, as made/copied/destroyed.
    std::string Calls()
    {
        const std::string strCalls =
            std::to_string(m_uMade) + '/' + std::to_string(m_uCopied) + '/' + std::to_string(m_uDestroyed);
        m_uMade = m_uCopied = m_uDestroyed = 0;
        return strCalls;
    }

private:
    unsigned int m_uMade = 0;
    unsigned int m_uCopied = 0;
    unsigned int m_uDestroyed = 0;
};

struct SDefaulted
{
    int nValue = 5;
};
}  // namespace

template <typename Container>
class CContainerInterface : public testing::Test
{
};
using CUntyped = testing::Types<CVectorBase, CListBase, CVListBase>;
TYPED_TEST_SUITE(CContainerInterface, CUntyped);

TYPED_TEST(CContainerInterface, TheLowerBoundIsOpenToAll)
{
    TypeParam container(4, nullptr);
    const int nKey = 3;
    EXPECT_EQ(0u, container.InternalFindSorted(&nKey, CompareInts, 0));
}

TEST(CVectorBaseInterface, MoveTakesTheParametersOfCopyToo)
{
    using PFNTransfer = void (*)(CVectorBase*, unsigned int, const CVectorBase*, unsigned int, unsigned int);
    const PFNTransfer pfnMove = &CVectorBase::Move;
    const PFNTransfer pfnCopy = &CVectorBase::Copy;
    EXPECT_NE(pfnCopy, pfnMove);

    CCounting<CVectorBase> source(4, nullptr);
    CCounting<CVectorBase> dest(4, nullptr);
    const int nElement = 7;
    ASSERT_EQ(QV_RES_OK, source.Insert(0, 2, &nElement));
    ASSERT_EQ(QV_RES_OK, dest.ReserveCapacity(2));
    source.Calls();
    pfnMove(&dest, 0, &source, 0, 2);
    ASSERT_EQ(QV_RES_OK, dest.Resize(2));
    ASSERT_EQ(QV_RES_OK, source.Resize(0));
    EXPECT_EQ(7, *static_cast<int*>(dest.GetAt(1)));
    EXPECT_EQ("0/2/0", dest.Calls());
    EXPECT_EQ("0/0/2", source.Calls());
}

TEST(CAATreeInterface, TheSentinelAndTheActionsAreOpenToAll)
{
    const CAATreeBase tree(4, CompareInts, 0, nullptr);
    const int nKey = 3;
    EXPECT_EQ(CAATreeBase::ms_pNullNode, tree.FindNode(&nKey));
    EXPECT_EQ(static_cast<void*>(CAATreeBase::ms_auNullNode), CAATreeBase::ms_pNullNode);
    EXPECT_EQ(2, CAATreeBase::eLINK_ALLOCATED);
}

TEST(CVectorDerived, EveryOperationCallsItsElementOperations)
{
    CCounting<CVector<int>> vector(nullptr);
    ASSERT_EQ(QV_RES_OK, vector.ReserveCapacity(2));
    EXPECT_EQ("0/0/0", vector.Calls());
    ASSERT_EQ(QV_RES_OK, vector.Append(2));
    ASSERT_EQ(QV_RES_OK, vector.Append(1));
    EXPECT_EQ("0/2/0", vector.Calls()) << "within the capacity";
    ASSERT_EQ(QV_RES_OK, vector.Append(3));
    EXPECT_EQ("0/3/2", vector.Calls()) << "two move, one comes";
    ASSERT_EQ(QV_RES_OK, vector.ReserveCapacity(8));
    EXPECT_EQ("0/3/3", vector.Calls());
    ASSERT_EQ(QV_RES_OK, vector.Insert(0, 2, 9));
    EXPECT_EQ("0/5/3", vector.Calls()) << "three make room";
    ASSERT_EQ(QV_RES_OK, vector.Insert(5, 1));
    EXPECT_EQ("1/0/0", vector.Calls());
    vector.Erase(0, 2);
    EXPECT_EQ("0/4/6", vector.Calls()) << "two go, four move down";
    vector.Erase(3);
    EXPECT_EQ("0/0/1", vector.Calls());
    ASSERT_EQ(QV_RES_OK, vector.ReduceCapacity(0));
    EXPECT_EQ("0/3/3", vector.Calls());
    vector.Sort();
    EXPECT_NE("0/0/0", vector.Calls());
    EXPECT_EQ((std::vector<int>{1, 2, 3}), std::vector<int>(vector.begin(), vector.end()));
    CCounting<CVector<int>> copy(nullptr);
    copy.CVector<int>::operator=(vector);
    EXPECT_EQ("0/3/0", copy.Calls());
    vector.EraseAll();
    EXPECT_EQ("0/0/3", vector.Calls());
}

TEST(CVectorDerived, WithoutConstructionElementsAreBytes)
{
    CCounting<CVector<int>> vector(false, nullptr);
    for (int n = 0; n < 4; ++n) ASSERT_EQ(QV_RES_OK, vector.Append(n));
    vector.Erase(1);
    EXPECT_EQ((std::vector<int>{0, 2, 3}), std::vector<int>(vector.begin(), vector.end()));
    vector.EraseAll();
    EXPECT_EQ("0/0/0", vector.Calls());
}

TEST(CListDerived, EveryOperationCallsItsElementOperations)
{
    CCounting<CList<int>> list(nullptr);
    ASSERT_EQ(QV_RES_OK, list.ReserveCapacity(1));
    ASSERT_EQ(QV_RES_OK, list.Append(1));
    EXPECT_EQ("0/1/0", list.Calls()) << "into a free node";
    ASSERT_EQ(QV_RES_OK, list.Append(2));
    EXPECT_EQ("0/1/0", list.Calls());
    list.EraseAll();
    EXPECT_EQ("0/0/2", list.Calls());
}

// The promised growth: exact, one block for one, each given back with its size.
TEST(CVectorGrowth, AppendsAskTheAllocatorAsDescribedThoughTheElementsMoveAtOnce)
{
    CTestAllocator allocator;
    CVector<int> vector(&allocator);
    for (int n = 0; n < 100; ++n)
    {
        ASSERT_EQ(QV_RES_OK, vector.Append(n));
        ASSERT_EQ(vector.GetSize(), vector.GetCapacity());
    }
    ASSERT_EQ(100u, allocator.GetRequests().size());
    ASSERT_EQ(99u, allocator.GetReleases().size());
    for (unsigned int u = 0; u < 100; ++u)
    {
        EXPECT_EQ(1u, allocator.GetRequests()[u].uCount);
        EXPECT_EQ(u == 0 ? 8 : 4 * (u + 1), allocator.GetRequests()[u].uSize);
        EXPECT_EQ(4 * u, u == 0 ? 0 : allocator.GetReleases()[u - 1]);
        EXPECT_EQ(static_cast<int>(u), vector[u]);
    }
    allocator.SetRefusing(true);
    EXPECT_EQ(QV_RES_OUT_OF_MEMORY, vector.Append(7));
    EXPECT_EQ(100u, vector.GetSize());
}

TEST(CVectorGrowth, PlainElementsAreStillMadeByTheirDefault)
{
    CVector<SDefaulted> vector;
    ASSERT_EQ(QV_RES_OK, vector.Append({1}));
    ASSERT_EQ(QV_RES_OK, vector.ReserveCapacity(8));
    vector.Erase(7);
    ASSERT_EQ(QV_RES_OK, vector.Insert(1, 2));
    EXPECT_EQ(1, vector[0].nValue);
    EXPECT_EQ(5, vector[1].nValue);
    EXPECT_EQ(5, vector[2].nValue);
}

TEST(CVectorGap, IsFilledWithCopiesOrZerosWhateverTheSizes)
{
    for (const unsigned int uElementSize : {1u, 2u, 3u, 8u, 13u, 100u})
    {
        std::vector<unsigned char> element(uElementSize);
        for (unsigned int u = 0; u < uElementSize; ++u) element[u] = static_cast<unsigned char>(u + 1);
        for (const unsigned int uCount : {0u, 1u, 2u, 3u, 7u, 64u, 1000u})
        {
            SCOPED_TRACE(testing::Message() << uCount << " elements of " << uElementSize << " bytes");
            CTestAllocator allocator;
            CVectorBase vector(uElementSize, false, &allocator);
            ASSERT_EQ(QV_RES_OK, vector.Insert(0, 2, element.data()));
            ASSERT_EQ(QV_RES_OK, vector.Insert(1, uCount));
            ASSERT_EQ(QV_RES_OK, vector.Insert(1 + uCount, uCount, element.data()));
            ASSERT_EQ(2 * uCount + 2, vector.GetSize());
            std::vector<unsigned char> model = element;
            model.insert(model.end(), std::size_t{uCount} * uElementSize, 0);
            for (unsigned int u = 0; u <= uCount; ++u) model.insert(model.end(), element.begin(), element.end());
            EXPECT_EQ(0, memcmp(model.data(), vector.GetAt(0), model.size()));
        }
    }
}
