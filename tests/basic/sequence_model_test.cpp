// Long random sequences of operations on two typed containers of a kind, with refused memory and locked capacities in
// between, against std::vector. The untyped bases are compared with a second implementation step by step: here it is
// about what the typed classes do themselves, for elements that are moved as bytes and for those that are not.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <iterator>
#include <memory>
#include <type_traits>
#include <utility>
#include <vector>

#include "framework/basic/list.h"
#include "framework/basic/vector.h"
#include "framework/basic/vector_list.h"
#include "tests/basic/named_operations.h"
#include "tests/support/container_elements.h"
#include "tests/support/test_allocator.h"
#include "tests/support/test_seed.h"

namespace
{
using CModel = std::vector<int>;

int ValueOf(int n)
{
    return n;
}

int ValueOf(const CCounted& rElement)
{
    return rElement.GetValue();
}

template <typename Iterator>
CModel ValuesIn(Iterator it, Iterator itEnd)
{
    CModel values;
    for (; it != itEnd; ++it) values.push_back(ValueOf(*it));
    return values;
}

template <typename Container>
class CSequenceModel : public testing::Test
{
    using Element = typename Container::value_type;
    static constexpr bool ms_bCOUNTED = std::is_same_v<Element, CCounted>;
    static constexpr bool ms_bLIST = std::is_same_v<Container, CList<Element>>;

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
        const bool bRefuse = Below(m_rng, 4) == 0;
        m_allocator1.SetRefusing(bRefuse);
        m_allocator2.SetRefusing(bRefuse);
        m_bLocked = Below(m_rng, 10) == 0;
        It().SetLockCapacity(m_bLocked ? 1 : 0);
        m_pOther->container.SetLockCapacity(m_bLocked ? 1 : 0);
        m_uIndex = Below(m_rng, Size() + 2);
        m_nValue = static_cast<int>(Below(m_rng, 50));
    }
    void EndStep()
    {
        ASSERT_NO_FATAL_FAILURE(ExpectMatch(*m_pPair1));
        ASSERT_NO_FATAL_FAILURE(ExpectMatch(*m_pPair2));
        if (!ms_bCOUNTED) return;
        ASSERT_EQ(m_pPair1->model.size() + m_pPair2->model.size(), static_cast<std::size_t>(CCounted::ms_nLive));
        ASSERT_EQ(0, CCounted::ms_nStray);
    }

    void InsertCopies()
    {
        const unsigned int uCount = Below(m_rng, 4);
        if (Done(It().Insert(m_uIndex, uCount, Element(m_nValue)), IsInsertable()))
            Model().insert(Model().begin() + m_uIndex, uCount, m_nValue);
    }
    void InsertMade()
    {
        if (!ms_bCOUNTED) return;  // numbers would be what happens to be in their slots
        if (Done(It().Insert(m_uIndex, 2), IsInsertable())) Model().insert(Model().begin() + m_uIndex, 2, 0);
    }
    void Append()
    {
        if (Done(It().Append(Element(m_nValue)), true)) Model().push_back(m_nValue);
    }
    void AppendOwnElement()
    {
        if (m_uIndex < Size() && Done(It().Append(*It().GetAt(m_uIndex)), true)) Model().push_back(Model()[m_uIndex]);
    }
    void InsertOther() { InsertAllOf(*m_pOther); }
    void InsertItself() { InsertAllOf(*m_pPair); }
    void Allocate()
    {
        void* const pElement = It().Allocate(m_uIndex);
        if (pElement == nullptr)
        {
            ASSERT_TRUE(!IsInsertable() || m_bLocked || HasRefused());
            return;
        }
        new (pElement) Element(m_nValue);
        Model().insert(Model().begin() + m_uIndex, m_nValue);
    }
    void Erase()
    {
        const unsigned int uCount = Below(m_rng, 5);
        It().Erase(m_uIndex, uCount);
        if (m_uIndex >= Size()) return;
        Model().erase(Model().begin() + m_uIndex, Model().begin() + std::min(Size(), m_uIndex + uCount));
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
        if (m_uIndex < Size() && uIndex2 < Size()) std::swap(Model()[m_uIndex], Model()[uIndex2]);
    }
    void Sort()
    {
        It().Sort();
        std::sort(Model().begin(), Model().end());
    }
    void SortDescending()
    {
        It().Sort([](const Element& r1, const Element& r2) { return ValueOf(r2) - ValueOf(r1); });
        std::sort(Model().begin(), Model().end(), std::greater<int>());
    }
    void InsertSorted()
    {
        Sort();
        if (!Done(It().InsertSorted(Element(m_nValue)), true)) return;
        Model().insert(std::lower_bound(Model().begin(), Model().end(), m_nValue), m_nValue);
    }
    void Merge()
    {
        if (!Done(It().Merge(m_uIndex, m_pOther->container), IsInsertable())) return;
        Model().insert(Model().begin() + m_uIndex, m_pOther->model.begin(), m_pOther->model.end());
        m_pOther->model.clear();
    }
    void Split()
    {
        if (!Done(It().Split(m_uIndex, m_pOther->container), m_uIndex < Size())) return;
        if (!ms_bLIST) m_pOther->model.clear();
        m_pOther->model.insert(m_pOther->model.begin(), Model().begin() + m_uIndex, Model().end());
        Model().resize(m_uIndex);
    }
    void ReserveCapacity() { Done(It().ReserveCapacity(Below(m_rng, 80)), true); }
    void ReduceCapacity() { Done(It().ReduceCapacity(Below(m_rng, 40)), true); }
    void Assign()
    {
        It() = m_pOther->container;
        const bool bTaken = ValuesIn(It().begin(), It().end()) == m_pOther->model;
        ASSERT_TRUE(bTaken || m_bLocked || HasRefused());
        if (bTaken) Model() = m_pOther->model;
    }
    void Copy()
    {
        const Container copy(It());
        ASSERT_TRUE(ValuesIn(copy.begin(), copy.end()) == Model() || HasRefused());
    }
    void Exchange()
    {
        Container moved(std::move(It()));
        ASSERT_TRUE(It().IsEmpty());
        It() = std::move(m_pOther->container);
        m_pOther->container = std::move(moved);
        std::swap(Model(), m_pOther->model);
    }

protected:
    void Run(bool bSharedSource)
    {
        m_rng.seed(TestSeed() + (bSharedSource ? 1 : 0));
        m_pPair1 = std::make_unique<SPair>(&m_allocator1);
        m_pPair2 = std::make_unique<SPair>(bSharedSource ? &m_allocator1 : &m_allocator2);
        DoAtRandom(*this, g_aOPERATIONS, 15000, m_rng);
        m_pPair1.reset();
        m_pPair2.reset();
        EXPECT_EQ(0, CCounted::ms_nLive);
        EXPECT_EQ(0u, m_allocator1.GetLiveBlocks() + m_allocator2.GetLiveBlocks());
    }

private:
    Container& It() { return m_pPair->container; }
    CModel& Model() { return m_pPair->model; }
    unsigned int Size() { return static_cast<unsigned int>(Model().size()); }
    bool IsInsertable() { return m_uIndex <= Size(); }
    bool HasRefused() const { return m_allocator1.HasRefused() || m_allocator2.HasRefused(); }

    /// Whether an operation was done; fails unless the arguments, the lock or the memory explain why it was not.
    bool Done(QvResult res, bool bGoodArguments)
    {
        if (!bGoodArguments) EXPECT_EQ(QV_RES_INVALID_ARGUMENT, res);
        else if (res == QV_RES_INVALID_STATE) EXPECT_TRUE(m_bLocked);
        else if (res != QV_RES_OK)
        {
            EXPECT_EQ(QV_RES_OUT_OF_MEMORY, res);
            EXPECT_TRUE(HasRefused());
        }
        return res >= 0;
    }
    void InsertAllOf(SPair& rPair)
    {
        if (Size() + rPair.model.size() >= 120) return;
        if (!Done(It().Insert(m_uIndex, rPair.container), IsInsertable())) return;
        const CModel inserted = rPair.model;
        Model().insert(Model().begin() + (ms_bLIST ? 0 : m_uIndex), inserted.begin(), inserted.end());
    }
    /// Forwards, backwards and by index.
    void ExpectMatch(SPair& rPair)
    {
        const Container& rContainer = rPair.container;
        ASSERT_EQ(rPair.model.size(), rContainer.GetSize());
        ASSERT_LE(rContainer.GetSize(), rContainer.GetCapacity());
        ASSERT_EQ(rPair.model, ValuesIn(rContainer.begin(), rContainer.end()));
        const CModel backwards(rPair.model.rbegin(), rPair.model.rend());
        ASSERT_EQ(backwards, ValuesIn(std::make_reverse_iterator(rContainer.end()),
                                      std::make_reverse_iterator(rContainer.begin())));
        if (rPair.model.empty()) return;
        const unsigned int uIndex = Below(m_rng, rPair.model.size());
        ASSERT_EQ(rPair.model[uIndex], ValueOf(*rContainer.GetAt(uIndex)));
    }

    static constexpr SNamedOperation<CSequenceModel> g_aOPERATIONS[] = {
        {"insert copies", 8, &CSequenceModel::InsertCopies},
        {"insert made ones", 8, &CSequenceModel::InsertMade},
        {"append", 16, &CSequenceModel::Append},
        {"append an element of its own", 8, &CSequenceModel::AppendOwnElement},
        {"insert the other", 8, &CSequenceModel::InsertOther},
        {"insert itself", 4, &CSequenceModel::InsertItself},
        {"allocate", 8, &CSequenceModel::Allocate},
        {"erase", 16, &CSequenceModel::Erase},
        {"erase one", 8, &CSequenceModel::EraseOne},
        {"erase all", 1, &CSequenceModel::EraseAll},
        {"swap", 8, &CSequenceModel::Swap},
        {"sort", 4, &CSequenceModel::Sort},
        {"sort by a comparison", 4, &CSequenceModel::SortDescending},
        {"insert sorted", 8, &CSequenceModel::InsertSorted},
        {"merge", 8, &CSequenceModel::Merge},
        {"split", 8, &CSequenceModel::Split},
        {"reserve capacity", 4, &CSequenceModel::ReserveCapacity},
        {"reduce capacity", 4, &CSequenceModel::ReduceCapacity},
        {"assign", 4, &CSequenceModel::Assign},
        {"copy", 2, &CSequenceModel::Copy},
        {"exchange", 2, &CSequenceModel::Exchange},
    };

    std::mt19937 m_rng;
    CTestAllocator m_allocator1;
    CTestAllocator m_allocator2;
    std::unique_ptr<SPair> m_pPair1;
    std::unique_ptr<SPair> m_pPair2;

    // What a step works with.
    SPair* m_pPair = nullptr;
    SPair* m_pOther = nullptr;
    unsigned int m_uIndex = 0;
    int m_nValue = 0;
    bool m_bLocked = false;
};

using Containers =
    testing::Types<CVector<CCounted>, CVector<int>, CList<CCounted>, CList<int>, CVList<CCounted>, CVList<int>>;
TYPED_TEST_SUITE(CSequenceModel, Containers);

TYPED_TEST(CSequenceModel, TwoOfOneSourceOfMemoryMatchTheModelWhateverHappens)
{
    this->Run(true);
}

TYPED_TEST(CSequenceModel, TwoOfDifferentSourcesOfMemoryMatchTheModelWhateverHappens)
{
    this->Run(false);
}
}  // namespace
