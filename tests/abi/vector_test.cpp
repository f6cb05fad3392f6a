#include "tests/abi/foreign_vector.h"

class CCipher
{
public:
    enum EMode : int
    {
    };
};

struct SEComGuid;
class IEComUnknown;
class CEComUnknown;

struct SEComClsInfo
{
    const SEComGuid* pstClassId;
    int (*pfnCreate)(IEComUnknown* pOuterUnknown, CEComUnknown** ppCEComUnknown);
};

extern template class CVector<CCipher::EMode>;
extern template class CVector<SEComClsInfo>;

using CIntVector = CInts<CVectorBase>;

class CVectorBaseLayout : public CForeignProgram
{
protected:
    CForeignSource m_source;
};
class CVectorBaseInterface : public CVectorBaseLayout
{
};

TEST_F(CVectorBaseLayout, FieldsAreAllocatorCapacityLockElementSizeSizeFlagScratchStorage)
{
    CGuarded<CVectorBase> vector(4U, false, &m_source);
    const void* const pvVector = &*vector;
    const int nElement = 7;
    ASSERT_EQ(eOK, vector->ReserveCapacity(5));
    ASSERT_EQ(eOK, vector->Insert(0, 3, &nElement));
    EXPECT_EQ(&m_source, LoadAt<IAllocator*>(pvVector, 8));
    EXPECT_EQ(5U, LoadAt<uint32_t>(pvVector, 16));
    EXPECT_EQ(0U, LoadAt<uint32_t>(pvVector, 20));
    EXPECT_EQ(4U, LoadAt<uint32_t>(pvVector, 24));
    EXPECT_EQ(3U, LoadAt<uint32_t>(pvVector, 28));
    EXPECT_FALSE(LoadAt<bool>(pvVector, 32));
    EXPECT_NE(nullptr, LoadAt<void*>(pvVector, 40));
    EXPECT_EQ(vector->GetAt(0), LoadAt<void*>(pvVector, 48));
    static_assert(sizeof(CVectorBase) == 56, "the program's declaration");
}

TEST_F(CVectorBaseLayout, AChangedLockIsSeenByTheLibrary)
{
    CVectorBase vector(4, &m_source);
    vector.m_uLockCapacity = 9;
    EXPECT_EQ(9U, vector.GetLockCapacity());
    EXPECT_EQ(eINVALID_STATE, vector.ReserveCapacity(1));
    EXPECT_EQ(eINVALID_STATE, vector.ReduceCapacity(0));
    EXPECT_EQ(eINVALID_STATE, vector.Insert(0, 1));
}

TEST_F(CVectorBaseLayout, ANewVectorConstructsAndHasNoStorageUntilItHasElements)
{
    CVectorBase vector(4, nullptr);
    EXPECT_EQ(DefaultAllocator(), vector.m_pAllocator);
    EXPECT_TRUE(vector.m_bConstruct);
    EXPECT_EQ(nullptr, vector.m_pvStorage);
    EXPECT_EQ(0U, vector.m_uCapacity);
    EXPECT_TRUE(CVectorBase(4, true, nullptr).m_bConstruct);
    EXPECT_EQ(4U, vector.m_uElementSize);
    ASSERT_EQ(eOK, vector.Insert(0, 3));
    EXPECT_EQ(3U, vector.m_uSize);
}

TEST_F(CVectorBaseLayout, SlotsAreDestructorConstructConstructFromDestruct)
{
    CVectorBase vector(4, &m_source);
    EXPECT_EQ(0, OffsetToTop(&vector));
    EXPECT_TRUE(HasSlots(&vector, {"_ZN11CVectorBaseD1Ev", "_ZN11CVectorBaseD0Ev", "_ZN11CVectorBase9ConstructEPv",
                                   "_ZN11CVectorBase13ConstructFromEPvPKv", "_ZN11CVectorBase8DestructEPv"}));
}

TEST_F(CVectorBaseLayout, TheBasesElementOperationsDoNothing)
{
    CVectorBase vector(4, &m_source);
    int nElement = 5;
    const int nSource = 6;
    vector.CVectorBase::Construct(&nElement);
    vector.CVectorBase::ConstructFrom(&nElement, &nSource);
    vector.CVectorBase::Destruct(&nElement);
    EXPECT_EQ(5, nElement);
}

TEST_F(CVectorBaseLayout, TheLibraryCallsTheElementOperationsOfAProgramsClass)
{
    CIntVector vector(&m_source);
    ASSERT_EQ(eOK, vector.ReserveCapacity(3));
    ASSERT_EQ(eOK, vector.Insert(0, 2));
    EXPECT_EQ(2U, vector.m_uMade);
    vector.Fill({4});
    EXPECT_EQ(1U, vector.m_uCopied);
    EXPECT_EQ((Ints{CIntVector::g_nMADE, CIntVector::g_nMADE, 4}), IntsOf(vector));
    vector.Erase(0, 2);
    EXPECT_EQ(Ints{4}, IntsOf(vector));
    EXPECT_EQ(3U, vector.m_uDestroyed) << "two erased, one moved";
    EXPECT_EQ(2U, vector.m_uCopied) << "one inserted, one moved";
}

TEST_F(CVectorBaseLayout, ADestructorThroughItsSlotGivesTheStorageBack)
{
    CVectorBase* const pVector = new CVectorBase(4, &m_source);
    ASSERT_EQ(eOK, pVector->ReserveCapacity(8));
    EXPECT_EQ(1U, m_source.m_uOut);
    delete pVector;
    EXPECT_EQ(0U, m_source.m_uOut);
}

TEST_F(CVectorBaseLayout, ADestructorClearsTheLockAndTheElementSize)
{
    const CRemains<CVectorBase> vector(4U, &m_source);
    EXPECT_EQ(0U, vector.At(&CVectorBase::m_uLockCapacity));
    EXPECT_EQ(0U, vector.At(&CVectorBase::m_uElementSize));
}

TEST_F(CVectorBaseInterface, CapacityIsExactAndOneBlock)
{
    CVectorBase vector(3, false, &m_source);
    ASSERT_EQ(eOK, vector.ReserveCapacity(5));
    EXPECT_EQ(1U, m_source.m_uLastCount);
    EXPECT_EQ(15U, m_source.m_uLastSize);
    ASSERT_EQ(eOK, vector.Insert(0, 1));
    ASSERT_EQ(eOK, vector.ReduceCapacity(0));
    EXPECT_EQ(8U, m_source.m_uLastSize) << "3 bytes, raised to a link";
    EXPECT_EQ(15U, m_source.m_uLastCount) << "the old block's bytes are the count of its release";
    EXPECT_EQ(1U, vector.GetCapacity());
    m_source.m_bRefusing = true;
    EXPECT_EQ(eOUT_OF_MEMORY, vector.ReserveCapacity(6));
    EXPECT_EQ(1U, vector.GetCapacity());
}

TEST_F(CVectorBaseInterface, IndexesSpanTheSize)
{
    CIntVector vector(&m_source);
    EXPECT_TRUE(vector.IsEmpty());
    EXPECT_EQ(0xFFFFFFFFU, vector.GetLastIndex());
    vector.Fill({1, 2, 3});
    EXPECT_FALSE(vector.IsEmpty());
    EXPECT_EQ(3U, vector.GetSize());
    EXPECT_EQ(0U, vector.GetFirstIndex());
    EXPECT_EQ(2U, vector.GetLastIndex());
    EXPECT_EQ(3U, vector.GetEndIndex());
}

TEST_F(CVectorBaseInterface, AccessEndsAtTheSizeAndAtTheCapacity)
{
    CVectorBase vector(4, false, &m_source);
    const CVectorBase& rConst = vector;
    ASSERT_EQ(eOK, vector.ReserveCapacity(3));
    EXPECT_EQ(eINVALID_ARGUMENT, vector.Resize(4));
    ASSERT_EQ(eOK, vector.Resize(2));
    unsigned char* const puStorage = static_cast<unsigned char*>(vector.m_pvStorage);
    EXPECT_EQ(puStorage + 4, vector.GetAt(1));
    EXPECT_EQ(puStorage + 4, rConst.GetAt(1));
    EXPECT_EQ(nullptr, vector.GetAt(2));
    EXPECT_EQ(nullptr, rConst.GetAt(2));
    EXPECT_EQ(puStorage + 8, vector.GetAtInCapacity(2));
    EXPECT_EQ(puStorage + 8, rConst.GetAtInCapacity(2));
    EXPECT_EQ(nullptr, vector.GetAtInCapacity(3));
    EXPECT_EQ(nullptr, rConst.GetAtInCapacity(3));
}

TEST_F(CVectorBaseInterface, InsertsElementsAndVectorsInFrontOfAnIndex)
{
    CIntVector vector(&m_source);
    CIntVector other(nullptr);
    vector.Fill({1, 4});
    other.Fill({2, 3});
    EXPECT_EQ(eINVALID_ARGUMENT, vector.Insert(3, 1));
    EXPECT_EQ(eINVALID_ARGUMENT, vector.Insert(3, other));
    ASSERT_EQ(eOK, vector.Insert(1, other));
    EXPECT_EQ((Ints{1, 2, 3, 4}), IntsOf(vector));
    EXPECT_EQ(4U, vector.GetCapacity());
    *static_cast<int*>(vector.Allocate(4)) = 5;
    EXPECT_EQ(nullptr, vector.Allocate(6));
    EXPECT_EQ((Ints{1, 2, 3, 4, 5}), IntsOf(vector));
}

TEST_F(CVectorBaseInterface, RawElementsMadeWithoutASourceAreZero)
{
    CVectorBase vector(4, false, &m_source);
    ASSERT_EQ(eOK, vector.Insert(0, 2));
    EXPECT_EQ((Ints{0, 0}), IntsOf(vector));
}

TEST_F(CVectorBaseInterface, SortedInsertionPutsTheElementBeforeEqualOnes)
{
    CIntVector vector(&m_source);
    vector.Fill({11, 22, 32, 43});
    const int nElement = 52;
    ASSERT_EQ(eOK, vector.InsertSorted(&nElement, CompareModulo, 10));
    EXPECT_EQ((Ints{11, 52, 22, 32, 43}), IntsOf(vector));
}

TEST_F(CVectorBaseInterface, SortedAllocationRefusesEqualOnes)
{
    CIntVector vector(&m_source);
    vector.Fill({1, 3});
    void* pElement = nullptr;
    int nKey = 13;
    EXPECT_EQ(eINVALID_ARGUMENT, vector.AllocateSorted(&nKey, CompareModulo, 10, nullptr));
    EXPECT_EQ(eALREADY_EXISTS, vector.AllocateSorted(&nKey, CompareModulo, 10, &pElement));
    nKey = 2;
    ASSERT_EQ(eOK, vector.AllocateSorted(&nKey, CompareModulo, 10, &pElement));
    ASSERT_EQ(vector.GetAt(1), pElement);
    *static_cast<int*>(pElement) = 2;
    m_source.m_bRefusing = true;
    nKey = 5;
    EXPECT_EQ(eFAIL, vector.AllocateSorted(&nKey, CompareModulo, 10, &pElement));
}

TEST_F(CVectorBaseInterface, ErasesWhatIsThere)
{
    CIntVector vector(&m_source);
    vector.Fill({1, 2, 3, 4, 5});
    vector.Erase(5, 1);
    vector.Erase(0, 0);
    vector.Erase(1);
    EXPECT_EQ((Ints{1, 3, 4, 5}), IntsOf(vector));
    vector.Erase(1, 100);
    EXPECT_EQ(Ints{1}, IntsOf(vector));
    vector.EraseAll();
    EXPECT_TRUE(vector.IsEmpty());
    EXPECT_EQ(5U, vector.GetCapacity());
}

TEST_F(CVectorBaseInterface, MergeEmptiesTheSourceAndSplitReplacesTheDestination)
{
    CIntVector vector(&m_source);
    CIntVector other(nullptr);
    CVectorBase bytes(1, &m_source);
    vector.Fill({1, 4});
    other.Fill({2, 3});
    EXPECT_EQ(eINVALID_ARGUMENT, vector.Merge(3, other));
    EXPECT_EQ(eINVALID_ARGUMENT, vector.Merge(0, bytes));
    ASSERT_EQ(eOK, vector.Merge(1, other));
    EXPECT_EQ((Ints{1, 2, 3, 4}), IntsOf(vector));
    EXPECT_TRUE(other.IsEmpty());
    other.Fill({9});
    EXPECT_EQ(eINVALID_ARGUMENT, vector.Split(4, other));
    ASSERT_EQ(eOK, vector.Split(3, other));
    EXPECT_EQ((Ints{1, 2, 3}), IntsOf(vector));
    EXPECT_EQ(Ints{4}, IntsOf(other));
}

TEST_F(CVectorBaseInterface, SwapGoesThroughTheScratchElement)
{
    CIntVector vector(&m_source);
    vector.Fill({1, 2, 3});
    vector.Swap(0, 2);
    EXPECT_EQ((Ints{3, 2, 1}), IntsOf(vector));
    vector.m_bConstruct = false;
    vector.Swap(0, 1);
    vector.Swap(0, 3);
    EXPECT_EQ((Ints{2, 3, 1}), IntsOf(vector));
    EXPECT_EQ(2, *static_cast<int*>(vector.GetAt(0)));
    int nScratch = 0;
    std::memcpy(&nScratch, vector.m_pvScratch, sizeof(nScratch));
    EXPECT_TRUE(nScratch == 2 || nScratch == 3);
    vector.m_bConstruct = true;
}

TEST_F(CVectorBaseInterface, CopyAndMoveWorkOnSlotsAndLeaveTheSizes)
{
    CIntVector vector(&m_source);
    CIntVector other(nullptr);
    vector.Fill({1, 2, 3});
    other.Fill({7, 8});
    CVectorBase::Copy(&vector, 1, &other, 0, 2);
    EXPECT_EQ((Ints{1, 7, 8}), IntsOf(vector));
    EXPECT_EQ((Ints{7, 8}), IntsOf(other));
    CVectorBase::Move(&vector, 0, &other, 1, 1);
    EXPECT_EQ((Ints{8, 7, 8}), IntsOf(vector));
    EXPECT_EQ((Ints{7, 0}), IntsOf(other)) << "the source's Destruct() clears what it destroys";
}

TEST_F(CVectorBaseInterface, SortsAndSearchesWithTheCallersComparisonAndParameter)
{
    CIntVector vector(&m_source);
    vector.Fill({33, 12, 21, 42, 52});
    EXPECT_EQ(2U, vector.GetMinElementIndex(CompareModulo, 10));
    EXPECT_EQ(0U, vector.GetMaxElementIndex(CompareModulo, 10));
    EXPECT_EQ(4U, vector.GetMaxElementIndex(CompareModulo, g_uWHOLE));
    vector.Sort(CompareModulo, g_uWHOLE);
    EXPECT_EQ((Ints{12, 21, 33, 42, 52}), IntsOf(vector));
    vector.Sort(CompareModulo, 10);
    const int nTwo = 2;
    const int nFour = 4;
    EXPECT_EQ(21, IntsOf(vector)[0]);
    EXPECT_EQ(33, IntsOf(vector)[4]);
    EXPECT_EQ(1U, vector.FindSorted(&nTwo, CompareModulo, 10));
    EXPECT_EQ(5U, vector.FindSorted(&nFour, CompareModulo, 10));
    EXPECT_EQ(1U, vector.InternalFindSorted(&nTwo, CompareModulo, 10));
    EXPECT_EQ(5U, vector.InternalFindSorted(&nFour, CompareModulo, 10));
    EXPECT_EQ(2U, vector.Find(2, &nTwo, CompareModulo, 10));
    EXPECT_EQ(5U, vector.Find(9, &nTwo, CompareModulo, 10));
}

TEST_F(CVectorBaseInterface, ComparesAsBytes)
{
    CVectorBase shorter(1, false, &m_source);
    CVectorBase longer(1, false, &m_source);
    EXPECT_TRUE(shorter == longer);
    ASSERT_EQ(eOK, shorter.Insert(0, 1, "\x02"));
    ASSERT_EQ(eOK, longer.Insert(0, 1, "\x05"));
    ASSERT_EQ(eOK, longer.Insert(0, 1, "\x01"));
    EXPECT_TRUE(shorter != longer);
    EXPECT_FALSE(shorter == longer);
    EXPECT_TRUE(shorter < longer);
    EXPECT_TRUE(longer < shorter);
    EXPECT_FALSE(longer < longer);
}

TEST_F(CVectorBaseInterface, ACopyTakesCapacityAndLockAndAnAssignmentTheElements)
{
    CVectorBase vector(4, false, &m_source);
    const int nElement = 7;
    ASSERT_EQ(eOK, vector.ReserveCapacity(5));
    ASSERT_EQ(eOK, vector.Insert(0, 2, &nElement));
    vector.m_uLockCapacity = 1;
    CGuarded<CVectorBase> copy(vector);
    EXPECT_EQ(5U, copy->m_uCapacity);
    EXPECT_EQ(1U, copy->m_uLockCapacity);
    EXPECT_FALSE(copy->m_bConstruct);
    EXPECT_EQ(&m_source, copy->m_pAllocator);
    EXPECT_TRUE(*copy == vector);
    EXPECT_NE(copy->m_pvScratch, vector.m_pvScratch);

    CVectorBase assigned(4, false, nullptr);
    EXPECT_EQ(&assigned, &(assigned = vector));
    EXPECT_EQ((Ints{7, 7}), IntsOf(assigned));
    EXPECT_EQ(2U, assigned.GetCapacity());
    CVectorBase bytes(1, false, nullptr);
    EXPECT_EQ(&bytes, &(bytes = vector));
    EXPECT_TRUE(bytes.IsEmpty());
}

/// The instances of CVector<T>: their elements, and how their names are mangled.
struct SVoidPointers
{
    using Element = void*;
    static constexpr const char* g_pszMangled = "IPvE";
    static constexpr const char* g_pszVoidPointer = "S0_";  // a name mentions it for the second time
    static Element Make(std::uintptr_t uValue) { return reinterpret_cast<void*>(uValue); }
    static std::uintptr_t Value(Element element) { return reinterpret_cast<std::uintptr_t>(element); }
};
struct SCipherModes
{
    using Element = CCipher::EMode;
    static constexpr const char* g_pszMangled = "IN7CCipher5EModeEE";
    static constexpr const char* g_pszVoidPointer = "Pv";
    static Element Make(std::uintptr_t uValue) { return static_cast<Element>(uValue); }
    static std::uintptr_t Value(Element element) { return static_cast<std::uintptr_t>(element); }
};
struct SComponentClasses
{
    using Element = SEComClsInfo;
    static constexpr const char* g_pszMangled = "I12SEComClsInfoE";
    static constexpr const char* g_pszVoidPointer = "Pv";
    static Element Make(std::uintptr_t uValue)
    {
        return {reinterpret_cast<const SEComGuid*>(uValue), reinterpret_cast<decltype(Element::pfnCreate)>(~uValue)};
    }
    static std::uintptr_t Value(const Element& rElement)
    {
        const std::uintptr_t uValue = reinterpret_cast<std::uintptr_t>(rElement.pstClassId);
        EXPECT_EQ(~uValue, reinterpret_cast<std::uintptr_t>(rElement.pfnCreate)) << "the second word is lost";
        return uValue;
    }
};

template <typename Instance>
using VectorOf = CVector<typename Instance::Element>;

template <typename Instance>
class CVectorInstance : public CForeignProgram
{
protected:
    static std::vector<std::uintptr_t> ValuesOf(const VectorOf<Instance>& rVector)
    {
        std::vector<std::uintptr_t> values;
        for (unsigned int uIndex = 0; uIndex < rVector.GetSize(); ++uIndex)
            values.push_back(Instance::Value(rVector.GetAt(uIndex)));
        return values;
    }
    static std::string Mangled(const char* pszMember)
    {
        return std::string("_ZN7CVector") + Instance::g_pszMangled + pszMember;
    }
    static std::string MangledOperation(const char* pszMember, const char* pszMoreParameters)
    {
        return Mangled(pszMember) + Instance::g_pszVoidPointer + pszMoreParameters;
    }

    CForeignSource m_source;
};
using Values = std::vector<std::uintptr_t>;
using Instances = testing::Types<SVoidPointers, SCipherModes, SComponentClasses>;
TYPED_TEST_SUITE(CVectorInstance, Instances);

TYPED_TEST(CVectorInstance, IsAVectorBaseOfItsElementSize)
{
    VectorOf<TypeParam> vector(&this->m_source);
    EXPECT_EQ(&this->m_source, LoadAt<IAllocator*>(&vector, 8));
    EXPECT_EQ(sizeof(typename TypeParam::Element), LoadAt<uint32_t>(&vector, 24));
    EXPECT_TRUE(LoadAt<bool>(&vector, 32));
    EXPECT_FALSE(LoadAt<bool>(&*CGuarded<VectorOf<TypeParam>>(false, nullptr), 32));
}

TYPED_TEST(CVectorInstance, SlotsAreDestructorConstructConstructFromDestruct)
{
    VectorOf<TypeParam> vector(&this->m_source);
    EXPECT_EQ(0, OffsetToTop(&vector));
    EXPECT_TRUE(HasSlots(&vector, {this->Mangled("D1Ev").c_str(), this->Mangled("D0Ev").c_str(),
                                   this->MangledOperation("9ConstructE", "").c_str(),
                                   this->MangledOperation("13ConstructFromE", "PKv").c_str(),
                                   this->MangledOperation("8DestructE", "").c_str()}));
}

TYPED_TEST(CVectorInstance, ElementOperationsCopyTheWholeElement)
{
    VectorOf<TypeParam>* const pVector = new VectorOf<TypeParam>(&this->m_source);
    typename TypeParam::Element element = TypeParam::Make(1);
    const typename TypeParam::Element source = TypeParam::Make(0x12345678);
    pVector->Construct(&element);
    EXPECT_EQ(1U, TypeParam::Value(element)) << "default-initialisation leaves it as it is";
    pVector->ConstructFrom(&element, &source);
    EXPECT_EQ(0x12345678U, TypeParam::Value(element));
    pVector->Destruct(&element);
    pVector->CVector<typename TypeParam::Element>::Construct(&element);
    pVector->CVector<typename TypeParam::Element>::ConstructFrom(&element, &source);
    pVector->CVector<typename TypeParam::Element>::Destruct(&element);
    EXPECT_EQ(0x12345678U, TypeParam::Value(element));
    delete pVector;
}

TYPED_TEST(CVectorInstance, InsertsAppendsAndErases)
{
    CGuarded<VectorOf<TypeParam>> vector(&this->m_source);
    EXPECT_TRUE(vector->IsEmpty());
    ASSERT_EQ(eOK, vector->Append(TypeParam::Make(1)));
    EXPECT_EQ(1U, vector->GetCapacity()) << "growth is exact";
    ASSERT_EQ(eOK, vector->ReserveCapacity(6));
    ASSERT_EQ(eOK, vector->Append(TypeParam::Make(2)));
    ASSERT_EQ(eOK, vector->Insert(1, 2, TypeParam::Make(7)));
    EXPECT_EQ(eINVALID_ARGUMENT, vector->Insert(5, 1, TypeParam::Make(7)));
    EXPECT_EQ((Values{1, 7, 7, 2}), this->ValuesOf(*vector));
    EXPECT_EQ(4U, vector->GetEndIndex());
    vector->GetAt(1) = TypeParam::Make(8);
    vector->Erase(0);
    vector->Erase(1, 1);
    EXPECT_EQ((Values{8, 2}), this->ValuesOf(*vector));
    EXPECT_FALSE(vector->IsEmpty());
    ASSERT_EQ(eOK, vector->ReduceCapacity(0));
    EXPECT_EQ(2U, vector->GetCapacity());
    vector->EraseAll();
    EXPECT_EQ(0U, vector->GetSize());
    StoreAt<uint32_t>(&*vector, 20, 3);
    EXPECT_EQ(3U, vector->GetLockCapacity());
    EXPECT_EQ(eINVALID_STATE, vector->ReserveCapacity(3));
}

TYPED_TEST(CVectorInstance, ElementsMadeWithoutASourceAreZeroUnlessConstructed)
{
    VectorOf<TypeParam> vector(false, &this->m_source);
    ASSERT_EQ(eOK, vector.Insert(0, 2));
    const unsigned char* const puElements = LoadAt<const unsigned char*>(&vector, 48);
    const std::size_t uBytes = 2 * sizeof(typename TypeParam::Element);
    EXPECT_EQ(std::vector<unsigned char>(uBytes), BytesAt(puElements, 0, uBytes));
}
