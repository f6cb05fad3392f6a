// Long random sequences of operations on two containers of a kind, with refused memory and locked capacities in
// between, against std::vector.
#include <gtest/gtest.h>

#include <algorithm>
#include <type_traits>

#include "framework/basic/list.h"
#include "framework/basic/vector.h"
#include "framework/basic/vector_list.h"
#include "tests/support/container_elements.h"
#include "tests/support/test_allocator.h"
#include "tests/support/test_seed.h"

namespace
{
// What the model knows of an element: its value, and where it was seen first.
struct SModelElement
{
    int nValue;
    const void* pAddress;
};
using CModel = std::vector<SModelElement>;

// Each kind shows its insides, and says where it differs.
class CVectorProbe : public CVector<CCounted>
{
public:
    using CVector<CCounted>::CVector;
    static constexpr bool g_bSTABLE = false;
    static constexpr bool g_bINSERTS_LISTS_AT_FRONT = false;
    static constexpr bool g_bSPLIT_EMPTIES = true;

    bool IsSound() const { return GetSize() <= GetCapacity(); }
    // Blocks that it has from its allocator.
    std::size_t CountBlocks() const { return GetCapacity() != 0 ? 1 : 0; }
};

class CListProbe : public CList<CCounted>
{
public:
    using CList<CCounted>::CList;
    static constexpr bool g_bSTABLE = true;
    static constexpr bool g_bINSERTS_LISTS_AT_FRONT = true;
    static constexpr bool g_bSPLIT_EMPTIES = false;

    bool IsSound() const
    {
        const CListBase::SNode* pPrevious = nullptr;
        unsigned int uCount = 0;
        bool bCacheTrue = CListBase::m_pCachedNode == nullptr;
        for (const CListBase::SNode* pNode = m_pHead; pNode != nullptr; pNode = pNode->pFollowing, ++uCount)
        {
            if (pNode->GetPrevious() != pPrevious) return false;
            if (uCount == m_uCachedIndex && pNode == m_pCachedNode) bCacheTrue = true;
            pPrevious = pNode;
        }
        return bCacheTrue && pPrevious == m_pTail && uCount == m_uSize &&
               GetCapacity() == m_uSize + m_nodeAllocator.GetBlockCount();
    }
    std::size_t CountBlocks() const { return GetCapacity(); }
};

class CVListProbe : public CVList<CCounted>
{
public:
    using CVList<CCounted>::CVList;
    static constexpr bool g_bSTABLE = true;
    static constexpr bool g_bINSERTS_LISTS_AT_FRONT = false;
    static constexpr bool g_bSPLIT_EMPTIES = true;

    bool IsSound() const { return GetSize() <= GetCapacity(); }
    std::size_t CountBlocks() const { return GetSize() + m_elementAllocator.GetBlockCount(); }
};

template <typename Container>
class CSequenceModel : public testing::Test
{
protected:
    struct SPair
    {
        explicit SPair(IAllocator* pAllocator) : container(pAllocator) {}
        Container container;
        CModel model;
    };

    // Whether contents, addresses and insides are what they should be. New elements are looked up.
    static bool Matches(SPair& rPair)
    {
        const Container& rContainer = rPair.container;
        CModel& rModel = rPair.model;
        if (!rContainer.IsSound() || rContainer.GetSize() != rModel.size()) return false;
        auto it = rContainer.begin();
        for (SModelElement& rElement : rModel)
        {
            const CCounted* const pElement = &*it++;
            if (pElement->GetValue() != rElement.nValue) return false;
            const bool bMoved = rElement.pAddress != nullptr && rElement.pAddress != pElement;
            if (bMoved && Container::g_bSTABLE) return false;
            rElement.pAddress = pElement;
        }
        return it == rContainer.end();
    }

    static void InsertInto(CModel& rModel, unsigned int uIndex, CModel elements, bool bForget)
    {
        if (bForget)
        {
            for (SModelElement& rElement : elements) rElement.pAddress = nullptr;
        }
        rModel.insert(rModel.begin() + uIndex, elements.begin(), elements.end());
    }

    static bool InOrder(const SModelElement& rFirst, const SModelElement& rSecond)
    {
        return rFirst.nValue < rSecond.nValue;
    }

    // Sorted by what the container did; the model only checks that it is a sort that keeps all.
    static void AdoptSorted(SPair& rPair)
    {
        CModel sorted;
        for (const CCounted& rElement : rPair.container)
        {
            const void* const pAddress = Container::g_bSTABLE ? &rElement : nullptr;
            sorted.push_back({rElement.GetValue(), pAddress});
        }
        CModel expected = rPair.model;
        std::sort(expected.begin(), expected.end(), InOrder);
        const auto same = [](const SModelElement& r1, const SModelElement& r2) { return r1.nValue == r2.nValue; };
        EXPECT_TRUE(std::equal(expected.begin(), expected.end(), sorted.begin(), sorted.end(), same));
        rPair.model = sorted;
    }

    static void Run(bool bSharedSource);
};

template <typename Container>
void CSequenceModel<Container>::Run(bool bSharedSource)
{
    std::mt19937 rng(TestSeed() + (bSharedSource ? 1 : 0));
    {
        CTestAllocator allocator1;
        CTestAllocator allocator2;
        SPair pair1(&allocator1);
        SPair pair2(bSharedSource ? &allocator1 : &allocator2);
        for (unsigned int uStep = 0; uStep < 100000; ++uStep)
        {
            SCOPED_TRACE(testing::Message() << "step " << uStep);
            const bool bFirst = Below(rng, 2) == 0;
            SPair& rPair = bFirst ? pair1 : pair2;
            SPair& rOther = bFirst ? pair2 : pair1;
            Container& rContainer = rPair.container;
            CModel& rModel = rPair.model;
            const unsigned int uSize = static_cast<unsigned int>(rModel.size());
            const unsigned int uOtherSize = static_cast<unsigned int>(rOther.model.size());
            const bool bRefuse = Below(rng, 4) == 0;
            allocator1.SetRefusing(bRefuse);
            allocator2.SetRefusing(bRefuse);
            const bool bLocked = Below(rng, 10) == 0;
            rContainer.SetLockCapacity(bLocked ? 1 : 0);
            rOther.container.SetLockCapacity(bLocked ? 1 : 0);
            const unsigned int uIndex = Below(rng, uSize + 2);
            const bool bIndexToInsert = uIndex <= uSize;
            const int nValue = static_cast<int>(Below(rng, 50));
            bool bInsertable = true;  // the arguments are good
            QvResult res = QV_RES_OK;
            switch (Below(rng, 16))
            {
                case 0:
                case 1:
                {
                    const unsigned int uCount = Below(rng, 4);
                    res = Below(rng, 2) == 0 ? rContainer.Insert(uIndex, uCount, CCounted(nValue))
                                             : rContainer.Insert(uIndex, uCount);
                    bInsertable = bIndexToInsert;
                    if (res < 0) break;
                    CModel made;
                    for (unsigned int u = 0; u < uCount; ++u)
                        made.push_back({rContainer.GetAt(uIndex)->GetValue(), nullptr});
                    InsertInto(rModel, uIndex, made, true);
                    break;
                }
                case 2:
                    res = rContainer.Append(CCounted(nValue));
                    if (res >= 0) rModel.push_back({nValue, nullptr});
                    break;
                case 3:
                    bInsertable = bIndexToInsert && uSize + uOtherSize < 120;
                    if (uSize + uOtherSize >= 120) break;
                    res = rContainer.Insert(uIndex, rOther.container);
                    if (res >= 0)
                    {
                        const bool bFront = Container::g_bINSERTS_LISTS_AT_FRONT;
                        InsertInto(rModel, bFront ? 0 : uIndex, rOther.model, true);
                    }
                    break;
                case 4:
                    bInsertable = bIndexToInsert && uSize < 50;
                    if (uSize >= 50) break;
                    res = rContainer.Insert(uIndex, rContainer);
                    if (res >= 0)
                        InsertInto(rModel, Container::g_bINSERTS_LISTS_AT_FRONT ? 0 : uIndex, CModel(rModel), true);
                    break;
                case 5:
                {
                    void* const pElement = rContainer.Allocate(uIndex);
                    if (pElement == nullptr)
                    {
                        ASSERT_TRUE(!bIndexToInsert || bLocked || bRefuse);
                        break;
                    }
                    new (pElement) CCounted(nValue);
                    InsertInto(rModel, uIndex, {{nValue, nullptr}}, true);
                    break;
                }
                case 6:
                case 7:
                {
                    const unsigned int uCount = Below(rng, 5);
                    rContainer.Erase(uIndex, uCount);
                    if (uIndex >= uSize) break;
                    rModel.erase(rModel.begin() + uIndex, rModel.begin() + std::min(uSize, uIndex + uCount));
                    break;
                }
                case 8:
                    if (Below(rng, 8) == 0)
                    {
                        rContainer.EraseAll();
                        rModel.clear();
                        break;
                    }
                    rContainer.Erase(uIndex);
                    if (uIndex < uSize) rModel.erase(rModel.begin() + uIndex);
                    break;
                case 9:
                {
                    const unsigned int uIndex2 = Below(rng, uSize + 2);
                    rContainer.Swap(uIndex, uIndex2);
                    if (uIndex >= uSize || uIndex2 >= uSize) break;
                    if (Container::g_bSTABLE) std::swap(rModel[uIndex], rModel[uIndex2]);
                    else std::swap(rModel[uIndex].nValue, rModel[uIndex2].nValue);
                    break;
                }
                case 10:
                    if (Below(rng, 2) == 0) rContainer.Sort(CompareCounted, 0);
                    else rContainer.Sort();
                    AdoptSorted(rPair);
                    break;
                case 11:
                    bInsertable = bIndexToInsert;
                    res = rContainer.Merge(uIndex, rOther.container);
                    if (res < 0) break;
                    InsertInto(rModel, uIndex, rOther.model, !bSharedSource);
                    rOther.model.clear();
                    break;
                case 12:
                {
                    bInsertable = uIndex < uSize;
                    res = rContainer.Split(uIndex, rOther.container);
                    if (res < 0) break;
                    if (Container::g_bSPLIT_EMPTIES) rOther.model.clear();
                    InsertInto(rOther.model, 0, CModel(rModel.begin() + uIndex, rModel.end()), !bSharedSource);
                    rModel.resize(uIndex);
                    break;
                }
                case 13:
                    if (Below(rng, 2) == 0) res = rContainer.ReserveCapacity(Below(rng, 80));
                    else res = rContainer.ReduceCapacity(Below(rng, 40));
                    break;
                case 14:
                    if (Below(rng, 4) != 0) break;
                    rContainer = rOther.container;
                    if (!Matches(rPair))
                    {
                        rModel = rOther.model;
                        for (SModelElement& rElement : rModel) rElement.pAddress = nullptr;
                    }
                    else ASSERT_TRUE(bRefuse || bLocked || rModel.empty() || uSize == uOtherSize);
                    break;
                default:
                    rContainer.Sort();
                    AdoptSorted(rPair);
                    res = Below(rng, 2) == 0 ? rContainer.InsertSorted(CCounted(nValue), CompareCounted, 0)
                                             : rContainer.InsertSorted(CCounted(nValue));
                    if (res < 0) break;
                    InsertInto(rModel,
                               static_cast<unsigned int>(std::lower_bound(rModel.begin(), rModel.end(),
                                                                          SModelElement{nValue, nullptr}, InOrder) -
                                                         rModel.begin()),
                               {{nValue, nullptr}}, true);
            }
            if (!bInsertable && res < 0) ASSERT_EQ(QV_RES_INVALID_ARGUMENT, res);
            else if (res == QV_RES_INVALID_STATE) ASSERT_TRUE(bLocked);
            else if (res < 0)
            {
                ASSERT_EQ(QV_RES_OUT_OF_MEMORY, res);
                ASSERT_TRUE(allocator1.HasRefused() || allocator2.HasRefused());
            }
            ASSERT_TRUE(Matches(pair1));
            ASSERT_TRUE(Matches(pair2));
            ASSERT_EQ(pair1.model.size() + pair2.model.size(), static_cast<std::size_t>(CCounted::ms_nLive));
            ASSERT_EQ(allocator1.GetLiveBlocks() + allocator2.GetLiveBlocks(),
                      pair1.container.CountBlocks() + pair2.container.CountBlocks());
        }
    }
    EXPECT_EQ(0, CCounted::ms_nLive);
    EXPECT_EQ(0, CCounted::ms_nStray);
}

using CProbes = testing::Types<CVectorProbe, CListProbe, CVListProbe>;
TYPED_TEST_SUITE(CSequenceModel, CProbes);

TYPED_TEST(CSequenceModel, TwoOfOneSourceOfMemoryMatchTheModelWhateverHappens)
{
    TestFixture::Run(true);
}

TYPED_TEST(CSequenceModel, TwoOfDifferentSourcesOfMemoryMatchTheModelWhateverHappens)
{
    TestFixture::Run(false);
}
}  // namespace
