#include "tests/abi/ecom_cls_info.h"
#include "tests/abi/exports.h"
#include "tests/abi/foreign_source.h"
#include "tests/abi/framework_up.h"
#include "tests/abi/guarded.h"
#include "tests/abi/ints.h"
#include "tests/abi/old_cipher.h"
#include "tests/abi/old_vector.h"

extern template class CVector<CCipher::EMode>;
extern template class CVector<SEComClsInfo>;

using CIntVector = CInts<CVectorBase>;

class CVectorBaseLayout : public testing::Test
{
protected:
    CForeignSource m_source;
};
class CVectorBaseInterface : public CVectorBaseLayout
{
};

TEST_F(CVectorBaseLayout, FieldsAreAllocatorCapacityLockElementSizeSizeFlagScratchStorage)
{
    CGuarded<CVectorBase> vector(4u, false, &m_source);
    const void* const pvVector = &*vector;
    const int nElement = 7;
    ASSERT_EQ(QV_RES_OK, vector->ReserveCapacity(5));
    ASSERT_EQ(QV_RES_OK, vector->Insert(0, 3, &nElement));
    EXPECT_EQ(&m_source, LoadAt<IAllocator*>(pvVector, 8));
    EXPECT_EQ(5u, LoadAt<uint32_t>(pvVector, 16));
    EXPECT_EQ(0u, LoadAt<uint32_t>(pvVector, 20));
    EXPECT_EQ(4u, LoadAt<uint32_t>(pvVector, 24));
    EXPECT_EQ(3u, LoadAt<uint32_t>(pvVector, 28));
    EXPECT_FALSE(LoadAt<bool>(pvVector, 32));
    EXPECT_NE(nullptr, LoadAt<void*>(pvVector, 40));
    EXPECT_EQ(vector->GetAt(0), LoadAt<void*>(pvVector, 48));
    static_assert(sizeof(CVectorBase) == 56, "the program's declaration");
}

TEST_F(CVectorBaseLayout, AChangedLockIsSeenByTheLibrary)
{
    CVectorBase vector(4, &m_source);
    vector.m_uLockCapacity = 9;
    EXPECT_EQ(9u, vector.GetLockCapacity());
    EXPECT_EQ(QV_RES_INVALID_STATE, vector.ReserveCapacity(1));
    EXPECT_EQ(QV_RES_INVALID_STATE, vector.ReduceCapacity(0));
    EXPECT_EQ(QV_RES_INVALID_STATE, vector.Insert(0, 1));
}

TEST_F(CVectorBaseLayout, ANewVectorConstructsAndHasNoStorageUntilItHasElements)
{
    CVectorBase vector(4, nullptr);
    EXPECT_EQ(DefaultAllocator(), vector.m_pAllocator);
    EXPECT_TRUE(vector.m_bConstruct);
    EXPECT_EQ(nullptr, vector.m_pvStorage);
    EXPECT_EQ(0u, vector.m_uCapacity);
    EXPECT_TRUE(CVectorBase(4, true, nullptr).m_bConstruct);
    EXPECT_EQ(4u, vector.m_uElementSize);
    ASSERT_EQ(QV_RES_OK, vector.Insert(0, 3));
    EXPECT_EQ(3u, vector.m_uSize);
}

TEST_F(CVectorBaseLayout, TheLibraryCallsTheElementOperationsOfAProgramsClass)
{
    CIntVector vector(&m_source);
    ASSERT_EQ(QV_RES_OK, vector.ReserveCapacity(3));
    ASSERT_EQ(QV_RES_OK, vector.Insert(0, 2));
    EXPECT_EQ(2u, vector.m_uMade);
    vector.Fill({4});
    EXPECT_EQ(1u, vector.m_uCopied);
    EXPECT_EQ((Ints{CIntVector::ms_nMADE, CIntVector::ms_nMADE, 4}), IntsOf(vector));
    vector.Erase(0, 2);
    EXPECT_EQ(Ints{4}, IntsOf(vector));
    EXPECT_EQ(3u, vector.m_uDestroyed) << "two erased, one moved";
    EXPECT_EQ(2u, vector.m_uCopied) << "one inserted, one moved";
}

TEST_F(CVectorBaseLayout, ADestructorClearsTheLockAndTheElementSize)
{
    CGuarded<CVectorBase> vector(4u, &m_source);
    vector.Destroy();
    EXPECT_EQ(0u, vector.Remains(&CVectorBase::m_uLockCapacity));
    EXPECT_EQ(0u, vector.Remains(&CVectorBase::m_uElementSize));
}

TEST_F(CVectorBaseInterface, CapacityIsExactAndOneBlock)
{
    CVectorBase vector(3, false, &m_source);
    ASSERT_EQ(QV_RES_OK, vector.ReserveCapacity(5));
    EXPECT_EQ(1u, m_source.m_uAllocatedCount);
    EXPECT_EQ(15u, m_source.m_uAllocatedSize);
    ASSERT_EQ(QV_RES_OK, vector.Insert(0, 1));
    ASSERT_EQ(QV_RES_OK, vector.ReduceCapacity(0));
    EXPECT_EQ(8u, m_source.m_uAllocatedSize) << "3 bytes, raised to a link";
    EXPECT_EQ(15u, m_source.m_uReleasedCount) << "the old block's bytes are the count of its release";
    EXPECT_EQ(1u, vector.GetCapacity());
    m_source.m_bRefusing = true;
    EXPECT_EQ(QV_RES_OUT_OF_MEMORY, vector.ReserveCapacity(6));
    EXPECT_EQ(1u, vector.GetCapacity());
}

TEST_F(CVectorBaseInterface, AccessEndsAtTheSizeAndAtTheCapacity)
{
    CVectorBase vector(4, false, &m_source);
    const CVectorBase& rConst = vector;
    ASSERT_EQ(QV_RES_OK, vector.ReserveCapacity(3));
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, vector.Resize(4));
    ASSERT_EQ(QV_RES_OK, vector.Resize(2));
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
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, vector.Insert(3, 1));
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, vector.Insert(3, other));
    ASSERT_EQ(QV_RES_OK, vector.Insert(1, other));
    EXPECT_EQ((Ints{1, 2, 3, 4}), IntsOf(vector));
    EXPECT_EQ(4u, vector.GetCapacity());
    *static_cast<int*>(vector.Allocate(4)) = 5;
    EXPECT_EQ(nullptr, vector.Allocate(6));
    EXPECT_EQ((Ints{1, 2, 3, 4, 5}), IntsOf(vector));
}

TEST_F(CVectorBaseInterface, RawElementsMadeWithoutASourceAreZero)
{
    CVectorBase vector(4, false, &m_source);
    ASSERT_EQ(QV_RES_OK, vector.Insert(0, 2));
    EXPECT_EQ((Ints{0, 0}), IntsOf(vector));
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
    EXPECT_EQ(5u, vector.GetCapacity());
}

TEST_F(CVectorBaseInterface, MergeEmptiesTheSourceAndSplitReplacesTheDestination)
{
    CIntVector vector(&m_source);
    CIntVector other(nullptr);
    CVectorBase bytes(1, &m_source);
    vector.Fill({1, 4});
    other.Fill({2, 3});
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, vector.Merge(3, other));
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, vector.Merge(0, bytes));
    ASSERT_EQ(QV_RES_OK, vector.Merge(1, other));
    EXPECT_EQ((Ints{1, 2, 3, 4}), IntsOf(vector));
    EXPECT_TRUE(other.IsEmpty());
    other.Fill({9});
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, vector.Split(4, other));
    ASSERT_EQ(QV_RES_OK, vector.Split(3, other));
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

TEST_F(CVectorBaseInterface, ComparesAsBytes)
{
    CVectorBase shorter(1, false, &m_source);
    CVectorBase longer(1, false, &m_source);
    EXPECT_TRUE(shorter == longer);
    ASSERT_EQ(QV_RES_OK, shorter.Insert(0, 1, "\x02"));
    ASSERT_EQ(QV_RES_OK, longer.Insert(0, 1, "\x05"));
    ASSERT_EQ(QV_RES_OK, longer.Insert(0, 1, "\x01"));
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
    ASSERT_EQ(QV_RES_OK, vector.ReserveCapacity(5));
    ASSERT_EQ(QV_RES_OK, vector.Insert(0, 2, &nElement));
    vector.m_uLockCapacity = 1;
    CGuarded<CVectorBase> copy(vector);
    EXPECT_EQ(5u, copy->m_uCapacity);
    EXPECT_EQ(1u, copy->m_uLockCapacity);
    EXPECT_FALSE(copy->m_bConstruct);
    EXPECT_EQ(&m_source, copy->m_pAllocator);
    EXPECT_TRUE(*copy == vector);
    EXPECT_NE(copy->m_pvScratch, vector.m_pvScratch);

    CVectorBase assigned(4, false, nullptr);
    EXPECT_EQ(&assigned, &(assigned = vector));
    EXPECT_EQ((Ints{7, 7}), IntsOf(assigned));
    EXPECT_EQ(2u, assigned.GetCapacity());
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
        return {reinterpret_cast<const SEComGuid*>(uValue),
                reinterpret_cast<decltype(Element::m_pfnCreateInstance)>(~uValue)};
    }
    static std::uintptr_t Value(const Element& rElement)
    {
        const std::uintptr_t uValue = reinterpret_cast<std::uintptr_t>(rElement.m_pClsid);
        EXPECT_EQ(~uValue, reinterpret_cast<std::uintptr_t>(rElement.m_pfnCreateInstance)) << "the second word is lost";
        return uValue;
    }
};

template <typename Instance>
using VectorOf = CVector<typename Instance::Element>;

template <typename Instance>
class CVectorInstance : public testing::Test
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
    EXPECT_TRUE(HasSlots(
        &vector, {this->Mangled("D1Ev"), this->Mangled("D0Ev"), this->MangledOperation("9ConstructE", ""),
                  this->MangledOperation("13ConstructFromE", "PKv"), this->MangledOperation("8DestructE", "")}));
    EXPECT_EQ(5u, TableOf(&vector).size());
}

TYPED_TEST(CVectorInstance, ElementOperationsCopyTheWholeElement)
{
    VectorOf<TypeParam>* const pVector = new VectorOf<TypeParam>(&this->m_source);
    typename TypeParam::Element element = TypeParam::Make(1);
    const typename TypeParam::Element source = TypeParam::Make(0x12345678);
    CVectorBase& rBase = OfUnknownOrigin(static_cast<CVectorBase&>(*pVector));
    rBase.Construct(&element);
    EXPECT_EQ(1u, TypeParam::Value(element)) << "default-initialisation leaves it as it is";
    rBase.ConstructFrom(&element, &source);
    EXPECT_EQ(0x12345678u, TypeParam::Value(element));
    rBase.Destruct(&element);
    pVector->CVector<typename TypeParam::Element>::Construct(&element);
    pVector->CVector<typename TypeParam::Element>::ConstructFrom(&element, &source);
    pVector->CVector<typename TypeParam::Element>::Destruct(&element);
    EXPECT_EQ(0x12345678u, TypeParam::Value(element));
    delete pVector;
}

TYPED_TEST(CVectorInstance, InsertsAppendsAndErases)
{
    CGuarded<VectorOf<TypeParam>> vector(&this->m_source);
    EXPECT_TRUE(vector->IsEmpty());
    ASSERT_EQ(QV_RES_OK, vector->Append(TypeParam::Make(1)));
    EXPECT_EQ(1u, vector->GetCapacity()) << "growth is exact";
    ASSERT_EQ(QV_RES_OK, vector->ReserveCapacity(6));
    EXPECT_EQ(6u, vector->GetCapacity());
    ASSERT_EQ(QV_RES_OK, vector->Append(TypeParam::Make(2)));
    ASSERT_EQ(QV_RES_OK, vector->Insert(1, 2, TypeParam::Make(7)));
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, vector->Insert(5, 1, TypeParam::Make(7)));
    EXPECT_EQ((Values{1, 7, 7, 2}), this->ValuesOf(*vector));
    EXPECT_EQ(4u, vector->GetEndIndex());
    const auto stored =
        LoadAt<typename TypeParam::Element>(vector->m_pvStorage, 3 * sizeof(typename TypeParam::Element));
    EXPECT_EQ(2u, TypeParam::Value(stored));
    vector->GetAt(1) = TypeParam::Make(8);
    vector->Erase(0);
    vector->Erase(1, 1);
    EXPECT_EQ((Values{8, 2}), this->ValuesOf(*vector));
    EXPECT_FALSE(vector->IsEmpty());
    ASSERT_EQ(QV_RES_OK, vector->ReduceCapacity(0));
    EXPECT_EQ(2u, vector->GetCapacity());
    ASSERT_EQ(QV_RES_OK, vector->Insert(2, 2));
    EXPECT_EQ(4u, vector->m_uSize);
    EXPECT_EQ(2u, TypeParam::Value(vector->GetAt(1)));
    vector->EraseAll();
    EXPECT_EQ(0u, vector->GetSize());
    EXPECT_EQ(0u, vector->m_uSize);
    StoreAt<uint32_t>(&*vector, 20, 3);
    EXPECT_EQ(3u, vector->GetLockCapacity());
    EXPECT_EQ(QV_RES_INVALID_STATE, vector->ReserveCapacity(5));
    EXPECT_EQ(QV_RES_INVALID_STATE, vector->ReduceCapacity(0));
    vector->m_uLockCapacity = 0;
    ASSERT_EQ(QV_RES_OK, vector->ReduceCapacity(0));
    EXPECT_EQ(nullptr, vector->m_pvStorage);
}

TYPED_TEST(CVectorInstance, ElementsMadeWithoutASourceAreZeroUnlessConstructed)
{
    VectorOf<TypeParam> vector(false, &this->m_source);
    ASSERT_EQ(QV_RES_OK, vector.Insert(0, 2));
    const unsigned char* const puElements = LoadAt<const unsigned char*>(&vector, 48);
    const std::size_t uBytes = 2 * sizeof(typename TypeParam::Element);
    EXPECT_EQ(std::vector<unsigned char>(uBytes), BytesAt(puElements, 0, uBytes));
}
