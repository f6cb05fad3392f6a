// Long random sequences of operations on two containers of a kind, with refused memory and locked capacities in
// between, against std::vector.
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <type_traits>

#include "framework/basic/list.h"
#include "framework/basic/vector.h"
#include "framework/basic/vector_list.h"
#include "tests/basic/named_operations.h"
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
public:
    struct SPair
    {
        explicit SPair(IAllocator* pAllocator) : container(pAllocator) {}
        Container container;
        CModel model;
    };

    void BeginStep()
    {
        const bool bFirst = Below(m_rng, 2) == 0;
        m_pPair = bFirst ? m_pPair1.get() : m_pPair2.get();
        m_pOther = bFirst ? m_pPair2.get() : m_pPair1.get();
        m_bRefuse = Below(m_rng, 4) == 0;
        m_allocator1.SetRefusing(m_bRefuse);
        m_allocator2.SetRefusing(m_bRefuse);
        m_bLocked = Below(m_rng, 10) == 0;
        m_pPair->container.SetLockCapacity(m_bLocked ? 1 : 0);
        m_pOther->container.SetLockCapacity(m_bLocked ? 1 : 0);
        m_uIndex = Below(m_rng, Size() + 2);
        m_nValue = static_cast<int>(Below(m_rng, 50));
        m_bGoodArguments = true;
        m_res = QV_RES_OK;
    }
    /// The result is one that the arguments, the lock and the memory allow, and all is as the models say.
    void EndStep()
    {
        if (!m_bGoodArguments && m_res < 0) ASSERT_EQ(QV_RES_INVALID_ARGUMENT, m_res);
        else if (m_res == QV_RES_INVALID_STATE) ASSERT_TRUE(m_bLocked);
        else if (m_res < 0)
        {
            ASSERT_EQ(QV_RES_OUT_OF_MEMORY, m_res);
            ASSERT_TRUE(m_allocator1.HasRefused() || m_allocator2.HasRefused());
        }
        ASSERT_TRUE(Matches(*m_pPair1));
        ASSERT_TRUE(Matches(*m_pPair2));
        ASSERT_EQ(m_pPair1->model.size() + m_pPair2->model.size(), static_cast<std::size_t>(CCounted::ms_nLive));
        ASSERT_EQ(m_allocator1.GetLiveBlocks() + m_allocator2.GetLiveBlocks(),
                  m_pPair1->container.CountBlocks() + m_pPair2->container.CountBlocks());
    }

    void InsertCopies()
    {
        Insert([&](unsigned int uCount) { return It().Insert(m_uIndex, uCount, CCounted(m_nValue)); });
    }
    void InsertMade()
    {
        Insert([&](unsigned int uCount) { return It().Insert(m_uIndex, uCount); });
    }
    void Append()
    {
        m_res = It().Append(CCounted(m_nValue));
        if (m_res >= 0) Model().push_back({m_nValue, nullptr});
    }
    void InsertOther()
    {
        if (Size() + OtherModel().size() >= 120) return;
        m_bGoodArguments = IsInsertable();
        m_res = It().Insert(m_uIndex, m_pOther->container);
        if (m_res >= 0) InsertInto(Model(), IndexOfInserted(), OtherModel(), true);
    }
    void InsertItself()
    {
        if (Size() >= 50) return;
        m_bGoodArguments = IsInsertable();
        m_res = It().Insert(m_uIndex, It());
        if (m_res >= 0) InsertInto(Model(), IndexOfInserted(), CModel(Model()), true);
    }
    void Allocate()
    {
        void* const pElement = It().Allocate(m_uIndex);
        if (pElement == nullptr)
        {
            ASSERT_TRUE(!IsInsertable() || m_bLocked || m_bRefuse);
            return;
        }
        new (pElement) CCounted(m_nValue);
        InsertInto(Model(), m_uIndex, {{m_nValue, nullptr}}, true);
    }
    void Erase()
    {
        const unsigned int uCount = Below(m_rng, 5);
        const unsigned int uSize = Size();
        It().Erase(m_uIndex, uCount);
        if (m_uIndex >= uSize) return;
        Model().erase(Model().begin() + m_uIndex, Model().begin() + std::min(uSize, m_uIndex + uCount));
    }
    void EraseOne()
    {
        It().Erase(m_uIndex);
        if (m_uIndex < Size()) Model().erase(Model().begin() + m_uIndex);
    }
    void EraseAll()
    {
        It().EraseAll();
        Model().clear();
    }
    void Swap()
    {
        const unsigned int uIndex2 = Below(m_rng, Size() + 2);
        It().Swap(m_uIndex, uIndex2);
        if (m_uIndex >= Size() || uIndex2 >= Size()) return;
        if (Container::g_bSTABLE) std::swap(Model()[m_uIndex], Model()[uIndex2]);
        else std::swap(Model()[m_uIndex].nValue, Model()[uIndex2].nValue);
    }
    void SortByFunction()
    {
        It().Sort(CompareCounted, 0);
        AdoptSorted(*m_pPair);
    }
    void Sort()
    {
        It().Sort();
        AdoptSorted(*m_pPair);
    }
    void Merge()
    {
        m_bGoodArguments = IsInsertable();
        m_res = It().Merge(m_uIndex, m_pOther->container);
        if (m_res < 0) return;
        InsertInto(Model(), m_uIndex, OtherModel(), !m_bSharedSource);
        OtherModel().clear();
    }
    void Split()
    {
        m_bGoodArguments = m_uIndex < Size();
        m_res = It().Split(m_uIndex, m_pOther->container);
        if (m_res < 0) return;
        if (Container::g_bSPLIT_EMPTIES) OtherModel().clear();
        InsertInto(OtherModel(), 0, CModel(Model().begin() + m_uIndex, Model().end()), !m_bSharedSource);
        Model().resize(m_uIndex);
    }
    void ReserveCapacity() { m_res = It().ReserveCapacity(Below(m_rng, 80)); }
    void ReduceCapacity() { m_res = It().ReduceCapacity(Below(m_rng, 40)); }
    void Assign()
    {
        const std::size_t uSize = Size();
        It() = m_pOther->container;
        if (Matches(*m_pPair))
        {
            ASSERT_TRUE(m_bRefuse || m_bLocked || Model().empty() || uSize == OtherModel().size());
            return;
        }
        Model() = OtherModel();
        for (SModelElement& rElement : Model()) rElement.pAddress = nullptr;
    }
    void InsertSortedByFunction()
    {
        Sort();
        m_res = It().InsertSorted(CCounted(m_nValue), CompareCounted, 0);
        AdoptInserted();
    }
    void InsertSorted()
    {
        Sort();
        m_res = It().InsertSorted(CCounted(m_nValue));
        AdoptInserted();
    }

protected:
    void Run(bool bSharedSource)
    {
        m_rng.seed(TestSeed() + (bSharedSource ? 1 : 0));
        m_bSharedSource = bSharedSource;
        m_pPair1 = std::make_unique<SPair>(&m_allocator1);
        m_pPair2 = std::make_unique<SPair>(bSharedSource ? &m_allocator1 : &m_allocator2);
        DoAtRandom(*this, g_aOPERATIONS, 100000, m_rng);
        m_pPair1.reset();
        m_pPair2.reset();
        EXPECT_EQ(0, CCounted::ms_nLive);
        EXPECT_EQ(0, CCounted::ms_nStray);
    }

private:
    Container& It() { return m_pPair->container; }
    CModel& Model() { return m_pPair->model; }
    CModel& OtherModel() { return m_pOther->model; }
    unsigned int Size() { return static_cast<unsigned int>(Model().size()); }
    bool IsInsertable() { return m_uIndex <= Size(); }
    unsigned int IndexOfInserted() const { return Container::g_bINSERTS_LISTS_AT_FRONT ? 0 : m_uIndex; }

    template <typename InsertSome>
    void Insert(const InsertSome& insert)
    {
        const unsigned int uCount = Below(m_rng, 4);
        m_bGoodArguments = IsInsertable();
        m_res = insert(uCount);
        if (m_res < 0) return;
        CModel made;
        for (unsigned int u = 0; u < uCount; ++u) made.push_back({It().GetAt(m_uIndex)->GetValue(), nullptr});
        InsertInto(Model(), m_uIndex, made, true);
    }
    void AdoptInserted()
    {
        if (m_res < 0) return;
        const auto itPlace =
            std::lower_bound(Model().begin(), Model().end(), SModelElement{m_nValue, nullptr}, InOrder);
        InsertInto(Model(), static_cast<unsigned int>(itPlace - Model().begin()), {{m_nValue, nullptr}}, true);
    }

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

    static constexpr SNamedOperation<CSequenceModel> g_aOPERATIONS[] = {
        {"insert copies", 16, &CSequenceModel::InsertCopies},
        {"insert made ones", 16, &CSequenceModel::InsertMade},
        {"append", 16, &CSequenceModel::Append},
        {"insert the other", 16, &CSequenceModel::InsertOther},
        {"insert itself", 16, &CSequenceModel::InsertItself},
        {"allocate", 16, &CSequenceModel::Allocate},
        {"erase", 32, &CSequenceModel::Erase},
        {"erase one", 14, &CSequenceModel::EraseOne},
        {"erase all", 2, &CSequenceModel::EraseAll},
        {"swap", 16, &CSequenceModel::Swap},
        {"sort by a function", 8, &CSequenceModel::SortByFunction},
        {"sort", 8, &CSequenceModel::Sort},
        {"merge", 16, &CSequenceModel::Merge},
        {"split", 16, &CSequenceModel::Split},
        {"reserve capacity", 8, &CSequenceModel::ReserveCapacity},
        {"reduce capacity", 8, &CSequenceModel::ReduceCapacity},
        {"assign", 4, &CSequenceModel::Assign},
        {"insert sorted by a function", 8, &CSequenceModel::InsertSortedByFunction},
        {"insert sorted", 8, &CSequenceModel::InsertSorted},
    };

    std::mt19937 m_rng;
    CTestAllocator m_allocator1;
    CTestAllocator m_allocator2;
    std::unique_ptr<SPair> m_pPair1;
    std::unique_ptr<SPair> m_pPair2;
    bool m_bSharedSource = false;

    // What a step works with.
    SPair* m_pPair = nullptr;
    SPair* m_pOther = nullptr;
    unsigned int m_uIndex = 0;
    int m_nValue = 0;
    bool m_bRefuse = false;
    bool m_bLocked = false;
    bool m_bGoodArguments = true;
    QvResult m_res = QV_RES_OK;
};

using CProbes = testing::Types<CVectorProbe, CListProbe, CVListProbe>;
TYPED_TEST_SUITE(CSequenceModel, CProbes);

TYPED_TEST(CSequenceModel, TwoOfOneSourceOfMemoryMatchTheModelWhateverHappens)
{
    this->Run(true);
}

TYPED_TEST(CSequenceModel, TwoOfDifferentSourcesOfMemoryMatchTheModelWhateverHappens)
{
    this->Run(false);
}
}  // namespace
