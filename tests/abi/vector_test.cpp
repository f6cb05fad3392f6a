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

namespace
{
using Values = std::vector<unsigned int>;
using CIntVector = CInts<CVectorBase>;

class CVectors : public testing::Test
{
protected:
    CForeignSource m_source;
    CIntVector m_vector{&m_source};
};
}  // namespace

TEST_F(CVectors, FieldsAreAllocatorCapacityLockElementSizeSizeFlagScratchStorage)
{
    static_assert(sizeof(CVectorBase) == 56);
    CGuarded<CVectorBase> vector(4u, false, &m_source);
    const int nElement = 7;
    ASSERT_EQ(QV_RES_OK, vector->ReserveCapacity(5));
    ASSERT_EQ(QV_RES_OK, vector->Insert(0, 3, &nElement));
    EXPECT_EQ(&m_source, vector->m_pAllocator);
    EXPECT_EQ((Values{5, 0, 4, 3, 0}), (Values{vector->m_uCapacity, vector->m_uLockCapacity, vector->m_uElementSize,
                                               vector->m_uSize, vector->m_bConstruct}));
    EXPECT_EQ(vector->GetAt(0), vector->m_pvStorage);
    ASSERT_NE(nullptr, vector->m_pvScratch);
    *static_cast<int*>(vector->GetAt(2)) = 8;
    vector->Swap(0, 2);
    EXPECT_EQ((Ints{8, 7, 7}), IntsOf(*vector));
    const int nScratch = *static_cast<int*>(vector->m_pvScratch);
    EXPECT_TRUE(nScratch == 7 || nScratch == 8) << nScratch;
    vector->m_uLockCapacity = 9;
    EXPECT_EQ(9u, vector->GetLockCapacity());
    EXPECT_EQ(QV_RES_INVALID_STATE, vector->ReserveCapacity(6));
    vector.Destroy();
    EXPECT_EQ(0u, vector.Remains(&CVectorBase::m_uLockCapacity));
}

TEST_F(CVectors, ConstructAndTakeTheDefaultAllocatorUnlessToldOtherwise)
{
    const CVectorBase vector(4, nullptr);
    EXPECT_EQ(DefaultAllocator(), vector.m_pAllocator);
    EXPECT_TRUE(vector.m_bConstruct);
    EXPECT_EQ(nullptr, vector.m_pvStorage);
    EXPECT_TRUE(CVectorBase(4, true, nullptr).m_bConstruct);
}

TEST_F(CVectors, AreCopiedWithCapacityAndLockAndAssignedWithTheElements)
{
    CVectorBase vector(4, false, &m_source);
    const int nElement = 7;
    ASSERT_EQ(QV_RES_OK, vector.ReserveCapacity(5));
    ASSERT_EQ(QV_RES_OK, vector.Insert(0, 2, &nElement));
    vector.m_uLockCapacity = 1;
    const CGuarded<CVectorBase> copy(vector);
    EXPECT_EQ((Values{5, 1, 0}), (Values{copy->m_uCapacity, copy->m_uLockCapacity, copy->m_bConstruct}));
    EXPECT_EQ(&m_source, copy->m_pAllocator);
    EXPECT_TRUE(*copy == vector);
    EXPECT_FALSE(*copy != vector);
    CVectorBase assigned(4, false, nullptr);
    EXPECT_EQ(&assigned, &(assigned = vector));
    EXPECT_EQ((Ints{7, 7}), IntsOf(assigned));
    EXPECT_EQ(2u, assigned.GetCapacity());
    EXPECT_FALSE(assigned < vector);
}

TEST_F(CVectors, TakeOneBlockOfTheExactSize)
{
    CVectorBase vector(3, false, &m_source);
    ASSERT_EQ(QV_RES_OK, vector.ReserveCapacity(5));
    EXPECT_EQ((Values{1, 15}), (Values{m_source.m_uAllocatedCount, m_source.m_uAllocatedSize}));
    ASSERT_EQ(QV_RES_OK, vector.Insert(0, 1));
    ASSERT_EQ(QV_RES_OK, vector.ReduceCapacity(0));
    EXPECT_EQ(8u, m_source.m_uAllocatedSize) << "3 bytes, raised to a link";
    EXPECT_EQ(15u, m_source.m_uReleasedCount) << "the old block's bytes are the count of its release";
}

TEST_F(CVectors, AreReadUpToTheSizeAndUpToTheCapacity)
{
    CVectorBase vector(4, false, &m_source);
    const CVectorBase& rVector = vector;
    ASSERT_EQ(QV_RES_OK, vector.ReserveCapacity(3));
    ASSERT_EQ(QV_RES_OK, vector.Resize(2));
    unsigned char* const puStorage = static_cast<unsigned char*>(vector.m_pvStorage);
    EXPECT_EQ(puStorage + 4, vector.GetAt(1));
    EXPECT_EQ(puStorage + 4, rVector.GetAt(1));
    EXPECT_EQ(nullptr, vector.GetAt(2));
    EXPECT_EQ(puStorage + 8, vector.GetAtInCapacity(2));
    EXPECT_EQ(puStorage + 8, rVector.GetAtInCapacity(2));
    EXPECT_EQ(nullptr, rVector.GetAtInCapacity(3));
}

TEST_F(CVectors, InsertMakeAndEraseElementsThroughTheSlots)
{
    CIntVector other(nullptr);
    m_vector.Fill({1, 4});
    other.Fill({2, 3});
    ASSERT_EQ(QV_RES_OK, m_vector.ReserveCapacity(6));
    ASSERT_EQ(QV_RES_OK, m_vector.Insert(1, other));
    *static_cast<int*>(m_vector.Allocate(4)) = 5;
    m_vector.m_uMade = m_vector.m_uDestroyed = 0;
    ASSERT_EQ(QV_RES_OK, m_vector.Insert(5, 1));
    EXPECT_EQ((Ints{1, 2, 3, 4, 5, CIntVector::ms_nMADE}), IntsOf(m_vector));
    m_vector.Erase(5);
    m_vector.Erase(2, 9);
    EXPECT_EQ((Ints{1, 2}), IntsOf(m_vector));
    m_vector.EraseAll();
    EXPECT_EQ((Values{0, 1, 6}), (Values{m_vector.m_uSize, m_vector.m_uMade, m_vector.m_uDestroyed}));
}

TEST_F(CVectors, CopyAndMoveOnSlotsMergeAndSplit)
{
    CIntVector other(nullptr);
    m_vector.Fill({1, 2, 3});
    other.Fill({7, 8});
    CVectorBase::Copy(&m_vector, 1, &other, 0, 2);
    EXPECT_EQ((Ints{1, 7, 8}), IntsOf(m_vector));
    CVectorBase::Move(&m_vector, 0, &other, 1, 1);
    EXPECT_EQ((Ints{8, 7, 8}), IntsOf(m_vector));
    EXPECT_EQ((Ints{7, 0}), IntsOf(other)) << "the source's Destruct() clears what it destroys";
    ASSERT_EQ(QV_RES_OK, m_vector.Merge(1, other));
    EXPECT_EQ((Ints{8, 7, 0, 7, 8}), IntsOf(m_vector));
    ASSERT_EQ(QV_RES_OK, m_vector.Split(3, other));
    EXPECT_EQ((Ints{7, 8}), IntsOf(other));
}

/// The instances of CVector<T>: their elements, and how their names are mangled.
struct SVoidPointers
{
    using Element = void*;
    static constexpr const char* ms_pszMANGLED = "IPvE";
    static constexpr const char* ms_pszVOID_POINTER = "S0_";  // a name mentions it for the second time
    static Element Make(std::uintptr_t uValue) { return reinterpret_cast<void*>(uValue); }
    static std::uintptr_t Value(Element element) { return reinterpret_cast<std::uintptr_t>(element); }
};
struct SCipherModes
{
    using Element = CCipher::EMode;
    static constexpr const char* ms_pszMANGLED = "IN7CCipher5EModeEE";
    static constexpr const char* ms_pszVOID_POINTER = "Pv";
    static Element Make(std::uintptr_t uValue) { return static_cast<Element>(uValue); }
    static std::uintptr_t Value(Element element) { return static_cast<std::uintptr_t>(element); }
};
struct SComponentClasses
{
    using Element = SEComClsInfo;
    static constexpr const char* ms_pszMANGLED = "I12SEComClsInfoE";
    static constexpr const char* ms_pszVOID_POINTER = "Pv";
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
        return std::string("_ZN7CVector") + Instance::ms_pszMANGLED + pszMember;
    }
    static std::string MangledOperation(const char* pszMember, const char* pszMoreParameters)
    {
        return Mangled(pszMember) + Instance::ms_pszVOID_POINTER + pszMoreParameters;
    }

    CForeignSource m_source;
};
using Elements = std::vector<std::uintptr_t>;
using Instances = testing::Types<SVoidPointers, SCipherModes, SComponentClasses>;
TYPED_TEST_SUITE(CVectorInstance, Instances);

TYPED_TEST(CVectorInstance, IsAVectorBaseOfItsElementSizeWithSlotsOfItsOwn)
{
    using TVector = VectorOf<TypeParam>;
    auto* const pVector = new TVector(&this->m_source);
    EXPECT_EQ(&this->m_source, pVector->m_pAllocator);
    EXPECT_EQ(sizeof(typename TypeParam::Element), pVector->m_uElementSize);
    EXPECT_TRUE(pVector->m_bConstruct);
    EXPECT_EQ(0, OffsetToTop(pVector));
    EXPECT_TRUE(HasSlots(
        pVector, {this->Mangled("D1Ev"), this->Mangled("D0Ev"), this->MangledOperation("9ConstructE", ""),
                  this->MangledOperation("13ConstructFromE", "PKv"), this->MangledOperation("8DestructE", "")}));
    EXPECT_EQ(5u, TableOf(pVector).size());

    typename TypeParam::Element element = TypeParam::Make(1);
    const typename TypeParam::Element source = TypeParam::Make(0x12345678);
    pVector->TVector::Construct(&element);
    EXPECT_EQ(1u, TypeParam::Value(element)) << "default-initialisation leaves it as it is";
    pVector->TVector::ConstructFrom(&element, &source);
    pVector->TVector::Destruct(&element);
    EXPECT_EQ(0x12345678u, TypeParam::Value(element));
    delete &OfUnknownOrigin(*pVector);
}

TYPED_TEST(CVectorInstance, InsertsAppendsAndErases)
{
    const CGuarded<VectorOf<TypeParam>> vector(&this->m_source);
    EXPECT_TRUE(vector->IsEmpty());
    ASSERT_EQ(QV_RES_OK, vector->Append(TypeParam::Make(1)));
    ASSERT_EQ(QV_RES_OK, vector->ReserveCapacity(6));
    EXPECT_EQ(6u, vector->GetCapacity());
    ASSERT_EQ(QV_RES_OK, vector->Append(TypeParam::Make(2)));
    ASSERT_EQ(QV_RES_OK, vector->Insert(1, 2, TypeParam::Make(7)));
    EXPECT_EQ((Elements{1, 7, 7, 2}), this->ValuesOf(*vector));
    EXPECT_EQ(4u, vector->GetEndIndex());
    vector->GetAt(1) = TypeParam::Make(8);
    vector->Erase(0);
    vector->Erase(1, 1);
    EXPECT_EQ((Elements{8, 2}), this->ValuesOf(*vector));
    ASSERT_EQ(QV_RES_OK, vector->ReduceCapacity(0));
    ASSERT_EQ(QV_RES_OK, vector->Insert(2, 2));
    EXPECT_EQ((Values{4, 4}), (Values{vector->m_uCapacity, vector->m_uSize}));
    vector->EraseAll();
    EXPECT_EQ(0u, vector->m_uSize);
    vector->m_uLockCapacity = 3;
    EXPECT_EQ(3u, vector->GetLockCapacity());
    EXPECT_EQ(QV_RES_INVALID_STATE, vector->ReserveCapacity(5));
}

TYPED_TEST(CVectorInstance, ElementsMadeWithoutASourceAreZeroUnlessConstructed)
{
    VectorOf<TypeParam> vector(false, &this->m_source);
    EXPECT_FALSE(vector.m_bConstruct);
    ASSERT_EQ(QV_RES_OK, vector.Insert(0, 2));
    const std::size_t uBytes = 2 * sizeof(typename TypeParam::Element);
    EXPECT_EQ(std::vector<unsigned char>(uBytes), BytesAt(vector.m_pvStorage, 0, uBytes));
}
