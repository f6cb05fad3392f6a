// What several containers have in common; what one has alone stands in the test called after it.
#include "tests/abi/exports.h"
#include "tests/abi/foreign_source.h"
#include "tests/abi/framework_up.h"
#include "tests/abi/guarded.h"
#include "tests/abi/ints.h"
#include "tests/abi/old_aatree.h"
#include "tests/abi/old_list.h"
#include "tests/abi/old_vector.h"
#include "tests/abi/old_vector_list.h"

namespace
{
struct SVector
{
    using TBase = CVectorBase;
    static constexpr const char* ms_pszMANGLED = "11CVectorBase";
    static constexpr unsigned int ms_uBLOCKS_OF_THREE = 1;
    static CInts<CVectorBase> Make(IAllocator* pAllocator) { return CInts<CVectorBase>(pAllocator); }
    static CVectorBase MakeUntyped(IAllocator* pAllocator) { return {4, pAllocator}; }
    static QvResult Add(CVectorBase& rVector, int nElement) { return rVector.Insert(0, 1, &nElement); }
    static Ints ElementsOf(const CVectorBase& rVector) { return IntsOf(rVector); }
};

struct SList
{
    using TBase = CListBase;
    static constexpr const char* ms_pszMANGLED = "9CListBase";
    static constexpr unsigned int ms_uBLOCKS_OF_THREE = 3;
    static CIntList Make(IAllocator* pAllocator) { return CIntList(pAllocator); }
    static CListBase MakeUntyped(IAllocator* pAllocator) { return {4, pAllocator}; }
    static QvResult Add(CListBase& rList, int nElement) { return rList.Insert(0, 1, &nElement); }
    static Ints ElementsOf(const CListBase& rList) { return LinkedInts(rList); }
    static const CBlockAllocator& BlocksOf(const CListBase& rList) { return rList.m_nodeAllocator; }
};

struct SVectorList
{
    using TBase = CVListBase;
    static constexpr const char* ms_pszMANGLED = "10CVListBase";
    static constexpr unsigned int ms_uBLOCKS_OF_THREE = 3;
    static CIntVList Make(IAllocator* pAllocator) { return CIntVList(pAllocator); }
    static CVListBase MakeUntyped(IAllocator* pAllocator) { return {4, pAllocator}; }
    static QvResult Add(CVListBase& rVList, int nElement) { return rVList.Insert(0, 1, &nElement); }
    static Ints ElementsOf(const CVListBase& rVList) { return IntsOf(rVList); }
    static const CBlockAllocator& BlocksOf(const CVListBase& rVList) { return rVList.m_elementAllocator; }
};

struct STree
{
    using TBase = CAATreeBase;
    static constexpr const char* ms_pszMANGLED = "11CAATreeBase";
    static constexpr unsigned int ms_uBLOCKS_OF_THREE = 3;
    static CAATreeBase MakeUntyped(IAllocator* pAllocator) { return {4, CompareModulo, g_uWHOLE, pAllocator}; }
    static QvResult Add(CAATreeBase& rTree, int nElement) { return rTree.Insert(&nElement); }
};

class CNames
{
public:
    template <typename Container>
    static std::string GetName(int)
    {
        return Demangled(std::string("_Z") + Container::ms_pszMANGLED);
    }
};
}  // namespace

template <typename Container>
class CContainer : public testing::Test
{
protected:
    CForeignSource m_source;
};
using TContainers = testing::Types<SVector, SList, SVectorList, STree>;
TYPED_TEST_SUITE(CContainer, TContainers, CNames);

TYPED_TEST(CContainer, SlotsAreDestructorConstructConstructFromDestruct)
{
    using TBase = typename TypeParam::TBase;
    auto* const pContainer = new TBase(TypeParam::MakeUntyped(&this->m_source));
    const std::string name = std::string("_ZN") + TypeParam::ms_pszMANGLED;
    EXPECT_EQ(0, OffsetToTop(pContainer));
    EXPECT_TRUE(HasSlots(pContainer, {name + "D1Ev", name + "D0Ev", name + "9ConstructEPv",
                                      name + "13ConstructFromEPvPKv", name + "8DestructEPv"}));
    EXPECT_EQ(5u, TableOf(pContainer).size());

    int nElement = 5;
    const int nSource = 6;
    pContainer->TBase::Construct(&nElement);
    pContainer->TBase::ConstructFrom(&nElement, &nSource);
    pContainer->TBase::Destruct(&nElement);
    EXPECT_EQ(5, nElement) << "the base's element operations do nothing";

    ASSERT_EQ(QV_RES_OK, pContainer->ReserveCapacity(3));
    ASSERT_EQ(QV_RES_OK, TypeParam::Add(*pContainer, 1));
    EXPECT_EQ(TypeParam::ms_uBLOCKS_OF_THREE, this->m_source.m_uOut);
    delete &OfUnknownOrigin(*pContainer);
    EXPECT_EQ(0u, this->m_source.m_uOut);
}

TYPED_TEST(CContainer, ADestructorClearsTheElementSize)
{
    using TBase = typename TypeParam::TBase;
    CGuarded<TBase> container(TypeParam::MakeUntyped(&this->m_source));
    EXPECT_EQ(4u, container->m_uElementSize);
    container.Destroy();
    EXPECT_EQ(0u, container.Remains(&TBase::m_uElementSize));
}

/// Those whose order is the caller's.
template <typename Container>
class CSequence : public CContainer<Container>
{
};
using TSequences = testing::Types<SVector, SList, SVectorList>;
TYPED_TEST_SUITE(CSequence, TSequences, CNames);

TYPED_TEST(CSequence, IndexesSpanTheSize)
{
    auto container = TypeParam::Make(&this->m_source);
    EXPECT_TRUE(container.IsEmpty());
    EXPECT_EQ(0xFFFFFFFFu, container.GetLastIndex());
    container.Fill({1, 2, 3});
    EXPECT_FALSE(container.IsEmpty());
    EXPECT_EQ(3u, container.GetSize());
    EXPECT_EQ(0u, container.GetFirstIndex());
    EXPECT_EQ(2u, container.GetLastIndex());
    EXPECT_EQ(3u, container.GetEndIndex());
}

TYPED_TEST(CSequence, OrdersAndFindsWithTheCallersComparisonAndParameter)
{
    auto container = TypeParam::Make(&this->m_source);
    container.Fill({33, 12, 21});
    int nKey = 44;
    void* pElement = nullptr;
    EXPECT_EQ(2u, container.GetMinElementIndex(CompareModulo, 10));
    EXPECT_EQ(0u, container.GetMaxElementIndex(CompareModulo, 10));
    EXPECT_EQ(1u, container.GetMinElementIndex(CompareModulo, g_uWHOLE));
    container.Sort(CompareModulo, 10);
    EXPECT_EQ((Ints{21, 12, 33}), TypeParam::ElementsOf(container));
    ASSERT_EQ(QV_RES_OK, container.InsertSorted(&nKey, CompareModulo, 10));
    nKey = 30;
    ASSERT_EQ(QV_RES_OK, container.AllocateSorted(&nKey, CompareModulo, 10, &pElement));
    *static_cast<int*>(pElement) = nKey;
    EXPECT_EQ((Ints{30, 21, 12, 33, 44}), TypeParam::ElementsOf(container));
    nKey = 53;
    EXPECT_EQ(QV_RES_ALREADY_EXISTS, container.AllocateSorted(&nKey, CompareModulo, 10, &pElement));
    EXPECT_EQ(3u, container.FindSorted(&nKey, CompareModulo, 10));
    EXPECT_EQ(3u, container.InternalFindSorted(&nKey, CompareModulo, 10));
    EXPECT_EQ(3u, container.Find(1, &nKey, CompareModulo, 10));
    EXPECT_EQ(5u, container.Find(4, &nKey, CompareModulo, 10));
}

/// Those that have a block for each element.
template <typename Container>
class CSequenceOfBlocks : public CContainer<Container>
{
};
using TSequencesOfBlocks = testing::Types<SList, SVectorList>;
TYPED_TEST_SUITE(CSequenceOfBlocks, TSequencesOfBlocks, CNames);

TYPED_TEST(CSequenceOfBlocks, TheLibraryCallsTheElementOperationsOfAProgramsClass)
{
    auto container = TypeParam::Make(&this->m_source);
    ASSERT_EQ(QV_RES_OK, container.Insert(0, 2, nullptr));
    container.Fill({4});
    container.Erase(1, 1);
    EXPECT_EQ((Ints{container.ms_nMADE, 4}), TypeParam::ElementsOf(container));
    EXPECT_EQ(2u, container.m_uMade);
    EXPECT_EQ(1u, container.m_uCopied);
    EXPECT_EQ(1u, container.m_uDestroyed);
}

TYPED_TEST(CSequenceOfBlocks, ACopyHasTheElementSizeAndTheSourceAndAnAssignmentTheElements)
{
    using TBase = typename TypeParam::TBase;
    TBase untyped(12, &this->m_source);
    ASSERT_EQ(QV_RES_OK, untyped.Insert(0, 2, nullptr));
    const CGuarded<TBase> copy(untyped);
    EXPECT_EQ(2u, copy->GetSize());
    EXPECT_EQ(12u, copy->m_uElementSize);
    EXPECT_TRUE(TypeParam::BlocksOf(*copy) == TypeParam::BlocksOf(untyped));

    auto container = TypeParam::Make(&this->m_source);
    auto assigned = TypeParam::Make(nullptr);
    container.Fill({1, 2});
    assigned.Fill({9});
    EXPECT_EQ(&assigned, &(assigned.TBase::operator=(container)));
    EXPECT_EQ((Ints{1, 2}), TypeParam::ElementsOf(assigned));
}
