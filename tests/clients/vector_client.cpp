#include "framework/basic/vector.h"

#include <cstddef>
#include <cstring>
#include <memory>
#include <new>
#include <string>
#include <type_traits>
#include <utility>

#include "framework/basic/allocator.h"
#include "framework/basic/list.h"
#include "framework/basic/vector_list.h"
#include "framework/crypto/cipher.h"
#include "framework/ecom/ecom.h"
#include "framework/kernel/result.h"
#include "tests/clients/client.h"

namespace
{
using PFNCompare = int (*)(const void*, const void*, unsigned int);

int CompareInts(const void* pElement, const void* pKey, unsigned int uParam)
{
    CHECK(uParam == 3);
    const int nElement = *static_cast<const int*>(pElement);
    const int nKey = *static_cast<const int*>(pKey);
    return nElement < nKey ? -1 : nElement > nKey ? 1 : 0;
}

/// A typed layer over the untyped base.
class CStrings : public CVectorBase
{
public:
    explicit CStrings(IAllocator* pAllocator) : CVectorBase(sizeof(std::string), pAllocator) {}
    CStrings(const CStrings& rSrc) : CVectorBase(sizeof(std::string), nullptr) { *this = rSrc; }
    CStrings& operator=(const CStrings& rSrc)
    {
        CVectorBase::operator=(rSrc);
        return *this;
    }
    ~CStrings() override { EraseAll(); }

    void Construct(void* pElement) override { ::new (pElement) std::string("new"); }
    void ConstructFrom(void* pElement, const void* pSource) override
    {
        ::new (pElement) std::string(*static_cast<const std::string*>(pSource));
    }
    void Destruct(void* pElement) override { static_cast<std::string*>(pElement)->~basic_string(); }

    const std::string& Text(unsigned int uIndex) const { return *static_cast<const std::string*>(GetAt(uIndex)); }
};

/// Told of each element, although it derives from the front-end.
class CCounted : public CVector<void*>
{
public:
    CCounted() : CVector<void*>(nullptr) {}
    ~CCounted() override { EraseAll(); }
    void Construct(void* pElement) override { CVector<void*>::Construct(pElement); }
    void ConstructFrom(void* pElement, const void* pSource) override
    {
        ++m_uCopied;
        CVector<void*>::ConstructFrom(pElement, pSource);
    }
    void Destruct(void* pElement) override
    {
        ++m_uDestroyed;
        CVector<void*>::Destruct(pElement);
    }

    unsigned int m_uCopied = 0;
    unsigned int m_uDestroyed = 0;
};

int At(CVectorBase& rVector, unsigned int uIndex)
{
    return *static_cast<int*>(rVector.GetAt(uIndex));
}

void Untyped()
{
    CVectorBase vector(sizeof(int), false, nullptr);
    const int nOne = 1, nTwo = 2, nThree = 3;
    CHECK(vector.Insert(0, 2, &nTwo) == QV_RES_OK && vector.GetCapacity() == 2);
    CHECK(vector.Insert(0, 1) == QV_RES_OK && At(vector, 0) == 0);
    CHECK(vector.Insert(3, 1, nullptr) == QV_RES_OK && vector.Insert(9, 1, &nOne) == QV_RES_INVALID_ARGUMENT);
    CHECK(vector.InsertSorted(&nOne, CompareInts, 3) == QV_RES_OK);
    CHECK(vector.InsertSorted(&nThree, &CompareInts, 3) == QV_RES_OK);
    vector.Sort(CompareInts, 3);  // 0 0 1 2 2 3
    const CVectorBase& rConst = vector;
    CHECK(rConst.Find(0, &nTwo, CompareInts, 3) == 3 && rConst.FindSorted(&nTwo, CompareInts, 3) == 3);
    CHECK(rConst.InternalFindSorted(&nTwo, CompareInts, 3) == 3);
    CHECK(rConst.GetMinElementIndex(CompareInts, 3) == 0 && rConst.GetMaxElementIndex(CompareInts, 3) == 5);
    CHECK(rConst.GetSize() == 6 && !rConst.IsEmpty() && rConst.GetFirstIndex() == 0);
    CHECK(rConst.GetLastIndex() == 5 && rConst.GetEndIndex() == 6 && rConst.GetLockCapacity() == 0);
    const void* const pvConst = rConst.GetAt(0);
    void* const pvSlot = vector.GetAt(0);
    CHECK(pvConst == pvSlot && rConst.GetAt(6) == nullptr && rConst.GetAtInCapacity(0) == pvSlot);
    CHECK(vector.GetAtInCapacity(vector.GetCapacity()) == nullptr);
    Promised<void* (CVectorBase::*)(unsigned int)>(&CVectorBase::GetAt);
    Promised<const void* (CVectorBase::*)(unsigned int) const>(&CVectorBase::GetAt);

    void* pvNew = nullptr;
    CHECK(vector.AllocateSorted(&nOne, CompareInts, 3, &pvNew) == QV_RES_ALREADY_EXISTS);
    CHECK(vector.AllocateSorted(&nOne, CompareInts, 3, nullptr) == QV_RES_INVALID_ARGUMENT);
    const int nFour = 4;
    CHECK(vector.AllocateSorted(&nFour, CompareInts, 3, &pvNew) == QV_RES_OK);
    std::memcpy(pvNew, &nFour, sizeof nFour);
    void* const pvFront = vector.Allocate(0);
    std::memcpy(pvFront, &nFour, sizeof nFour);
    vector.Swap(0, 1);
    CHECK(At(vector, 0) == 0 && At(vector, 1) == 4);
    vector.Erase(1);
    vector.Erase(0, 2);
    CHECK(vector.GetSize() == 5);

    CVectorBase copy(rConst);
    CHECK(copy == rConst && !(copy != rConst) && !(copy < rConst) && rConst == copy);
    unsigned int uSize = sizeof(int);  // not a constant: braces refuse to narrow it
    const CVectorBase sized{uSize, nullptr};
    const CVectorBase flagged{uSize, true, nullptr};
    CHECK(sized.IsEmpty() && flagged.GetCapacity() == 0);
    CVectorBase other(sizeof(int), 0);
    CVectorBase third(sizeof(int), false, NULL);
    CHECK(&(third = vector) == &third && third.Insert(5, rConst) == QV_RES_OK && third.GetSize() == 10);
    CHECK(third.Merge(0, copy) == QV_RES_OK && copy.IsEmpty());
    CHECK(third.Split(10, copy) == QV_RES_OK && copy.GetSize() == 5);
    CHECK(third.Split(1, other) == QV_RES_OK);
    CHECK(vector.ReserveCapacity(20) == QV_RES_OK && vector.Resize(20) == QV_RES_OK);
    CHECK(vector.Resize(21) == QV_RES_INVALID_ARGUMENT && vector.ReduceCapacity(0) == QV_RES_OK);
    CVectorBase::Copy(&vector, 10, &rConst, 0, 3);
    CHECK(At(vector, 10) == At(vector, 0));
    CVectorBase::Move(&vector, 12, &rConst, 1, 2);
    CVectorBase::Move(&vector, 0, &vector, 1, 2);
    vector.EraseAll();
    CHECK(vector.IsEmpty() && vector.GetLastIndex() == 0xFFFFFFFF && vector.GetCapacity() == 20);
}

void Derived()
{
    CStrings strings(CSingleton<CDefaultAllocator>::Instance());
    const std::string strText = "a text that is too long to be kept in place";
    CHECK(strings.Insert(0, 2, &strText) == QV_RES_OK && strings.Insert(0, 1) == QV_RES_OK);
    CStrings copy(strings);
    copy.Swap(0, 2);
    CHECK(copy.Text(2) == "new" && strings.Text(0) == "new");
    CVectorBase* const pBase = &strings;
    CHECK(pBase->Merge(1, copy) == QV_RES_OK && strings.GetSize() == 6);
    pBase->EraseAll();

    CCounted counted;
    CHECK(counted.ReserveCapacity(2) == QV_RES_OK);
    CHECK(counted.Append(nullptr) == QV_RES_OK && counted.Append(&strings) == QV_RES_OK && counted.m_uCopied == 2);
    counted.EraseAll();
    CHECK(counted.m_uDestroyed == 2);
}

template <typename T>
void Typed(const T& rElement)
{
    CVector<T> vector(nullptr);
    CVector<T> fromNull(0);
    CVector<T> flagged(true, nullptr);
    CVector<T> raw(false, NULL);
    const CVector<T>& rConst = vector;
    CHECK(vector.ReserveCapacity(4) == QV_RES_OK && rConst.GetCapacity() == 4 && rConst.GetLockCapacity() == 0);
    CHECK(vector.Append(rElement) == QV_RES_OK && vector.Insert(0, 1, rElement) == QV_RES_OK);
    CHECK(raw.Insert(0, 2) == QV_RES_OK && raw.GetSize() == 2 && flagged.Append(rElement) == QV_RES_OK);
    CHECK(rConst.GetSize() == 2 && rConst.GetEndIndex() == 2 && !rConst.IsEmpty());
    CHECK(std::memcmp(&*rConst.GetAt(0), &rElement, sizeof(T)) == 0);
    *vector.GetAt(1) = rElement;
    vector.Erase(0);
    vector.Erase(0, 1);
    vector.EraseAll();
    CHECK(vector.IsEmpty() && vector.ReduceCapacity(0) == QV_RES_OK && fromNull.IsEmpty());
}

/// The calls of all typed sequences that came with push_back().
template <typename Container, typename MoveOnly>
void Manners()
{
    Container numbers{3, 1};
    const Container& rConst = numbers;
    numbers.push_back(2);
    numbers.emplace_back(4);
    numbers.insert(numbers.begin(), 5);
    CHECK(*numbers.Emplace(0, 6) == 6 && numbers.size() == 6 && !numbers.empty());
    CHECK(numbers.front() == 6 && rConst.back() == 4 && *rConst.rbegin() == 4 && *rConst.cbegin() == 6);
    numbers.erase(numbers.begin());
    numbers.pop_back();
    CHECK(numbers == (Container{5, 3, 1, 2}) && numbers != Container(rConst.cbegin(), rConst.cbegin()));
    Container other;
    swap(numbers, other);
    other = {1};
    CHECK(rConst.empty() && other.size() == 1);
    other.clear();

    MoveOnly owned;
    owned.push_back(std::make_unique<int>(1));
    CHECK(owned.Append(std::make_unique<int>(2)) == QV_RES_OK &&
          owned.Insert(0, std::make_unique<int>(0)) == QV_RES_OK);
    MoveOnly moved(std::move(owned));
    CHECK(owned.Merge(0, moved) == QV_RES_OK && **owned.Emplace(1, new int(7)) == 7 && owned.size() == 4);
}
}  // namespace

void VectorClient()
{
    Manners<CVector<int>, CVector<std::unique_ptr<int>>>();
    Manners<CList<int>, CList<std::unique_ptr<int>>>();
    Manners<CVList<int>, CVList<std::unique_ptr<int>>>();

    using B = CVectorBase;
    Promised<QvResult (B::*)(unsigned int)>(&B::ReserveCapacity);
    Promised<QvResult (B::*)(unsigned int)>(&B::ReduceCapacity);
    Promised<QvResult (B::*)(const void*, PFNCompare, unsigned int)>(&B::InsertSorted);
    Promised<void* (B::*)(unsigned int)>(&B::Allocate);
    Promised<QvResult (B::*)(const void*, PFNCompare, unsigned int, void**)>(&B::AllocateSorted);
    Promised<void (B::*)(unsigned int, unsigned int)>(&B::Swap);
    Promised<void (B::*)(PFNCompare, unsigned int)>(&B::Sort);
    Promised<unsigned int (B::*)(unsigned int, const void*, PFNCompare, unsigned int) const>(&B::Find);
    Promised<unsigned int (B::*)(const void*, PFNCompare, unsigned int) const>(&B::FindSorted);
    Promised<unsigned int (B::*)(const void*, PFNCompare, unsigned int) const>(&B::InternalFindSorted);
    Promised<unsigned int (B::*)(PFNCompare, unsigned int) const>(&B::GetMinElementIndex);
    Promised<unsigned int (B::*)(PFNCompare, unsigned int) const>(&B::GetMaxElementIndex);
    Promised<QvResult (B::*)(unsigned int)>(&B::Resize);
    Promised<void* (B::*)(unsigned int)>(&B::GetAtInCapacity);
    Promised<const void* (B::*)(unsigned int) const>(&B::GetAtInCapacity);
    Promised<void (B::*)(unsigned int, unsigned int)>(&B::Erase);
    Promised<void (B::*)(unsigned int)>(&B::Erase);
    Promised<void (B::*)()>(&B::EraseAll);
    Promised<QvResult (B::*)(unsigned int, B&)>(&B::Merge);
    Promised<QvResult (B::*)(unsigned int, B&)>(&B::Split);
    using V = CVector<int>;
    Promised<QvResult (V::*)(unsigned int)>(&V::ReserveCapacity);
    Promised<QvResult (V::*)(unsigned int)>(&V::ReduceCapacity);
    Promised<QvResult (V::*)(const int&)>(&V::Append);
    Promised<void (V::*)(unsigned int)>(&V::Erase);
    Promised<void (V::*)(unsigned int, unsigned int)>(&V::Erase);
    static_assert(std::has_virtual_destructor_v<CVectorBase> && !std::is_convertible_v<CVector<int>*, CVectorBase*>);
    Promised<void (*)(CVectorBase*, unsigned int, const CVectorBase*, unsigned int, unsigned int)>(&CVectorBase::Copy);
    Promised<void (*)(CVectorBase*, unsigned int, const CVectorBase*, unsigned int, unsigned int)>(&CVectorBase::Move);
    Promised<QvResult (CVectorBase::*)(unsigned int, unsigned int, const void*)>(&CVectorBase::Insert);
    Promised<QvResult (CVectorBase::*)(unsigned int, unsigned int)>(&CVectorBase::Insert);
    Promised<QvResult (CVectorBase::*)(unsigned int, const CVectorBase&)>(&CVectorBase::Insert);
    Promised<QvResult (CVector<int>::*)(unsigned int, unsigned int)>(&CVector<int>::Insert);
    Promised<QvResult (CVector<int>::*)(unsigned int, unsigned int, const int&)>(&CVector<int>::Insert);
    Untyped();
    Derived();
    Typed<int>(7);
    Typed<void*>(nullptr);
    Typed<CCipher::EMode>(CCipher::eMODE_CTR);
    Typed<SEComClsInfo>(SEComClsInfo{nullptr, nullptr});
}
