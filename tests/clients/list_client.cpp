#include "framework/basic/list.h"

#include <cstddef>
#include <type_traits>

#include "framework/basic/allocator.h"
#include "framework/kernel/result.h"
#include "tests/clients/client.h"

namespace
{
using PFNCompare = int (*)(const void*, const void*, unsigned int);

int CompareInts(const void* pElement, const void* pKey, unsigned int uParam)
{
    CHECK(uParam == 3);
    return *static_cast<const int*>(pElement) - *static_cast<const int*>(pKey);
}

/// A typed layer: the base itself does nothing with elements.
class CInts : public CListBase
{
public:
    explicit CInts(IAllocator* pAllocator) : CListBase(sizeof(int), pAllocator) {}
    explicit CInts(const CBlockAllocator& rAllocator) : CListBase(sizeof(int), rAllocator) {}
    CInts(const CInts& rSrc) : CListBase(sizeof(int), nullptr) { *this = rSrc; }
    CInts& operator=(const CInts& rSrc)
    {
        CListBase::operator=(rSrc);
        return *this;
    }
    ~CInts() override { EraseAll(); }

    void Construct(void* pElement) override { *static_cast<int*>(pElement) = 0; }
    void ConstructFrom(void* pElement, const void* pSource) override
    {
        *static_cast<int*>(pElement) = *static_cast<const int*>(pSource);
    }
    void Destruct(void*) override { ++m_uDestructed; }

    int At(unsigned int uIndex) const { return *static_cast<const int*>(GetAt(uIndex)); }

    unsigned int m_uDestructed = 0;
};

void Elements(CInts& rList)
{
    const int nOne = 1, nTwo = 2, nThree = 3, nFour = 4;
    CHECK(rList.Insert(0, 2, &nTwo) == QV_RES_OK && rList.Insert(2, 1, nullptr) == QV_RES_OK);
    CHECK(rList.Insert(9, 1, &nTwo) == QV_RES_INVALID_ARGUMENT);
    rList.Sort(CompareInts, 3);  // 0 2 2
    CHECK(rList.InsertSorted(&nThree, CompareInts, 3) == QV_RES_OK);
    void* pvNew = nullptr;
    CHECK(rList.AllocateSorted(&nOne, CompareInts, 3, nullptr) == QV_RES_INVALID_ARGUMENT);
    CHECK(rList.AllocateSorted(&nOne, CompareInts, 3, &pvNew) == QV_RES_OK);
    *static_cast<int*>(pvNew) = nOne;
    CHECK(rList.AllocateSorted(&nOne, CompareInts, 3, &pvNew) == QV_RES_ALREADY_EXISTS);
    *static_cast<int*>(rList.Allocate(5)) = nFour;  // 0 1 2 2 3 4

    const CInts& rConst = rList;
    CHECK(rConst.Find(0, &nTwo, CompareInts, 3) == 2 && rConst.FindSorted(&nTwo, CompareInts, 3) == 2);
    CHECK(rConst.InternalFindSorted(&nTwo, CompareInts, 3) == 2);
    CHECK(rConst.GetMinElementIndex(CompareInts, 3) == 0 && rConst.GetMaxElementIndex(CompareInts, 3) == 5);
    CHECK(rConst.GetSize() == 6 && !rConst.IsEmpty() && rConst.GetFirstIndex() == 0);
    CHECK(rConst.GetLastIndex() == 5 && rConst.GetEndIndex() == 6 && rConst.GetCapacity() >= 6);
    CHECK(rConst.GetAt(6) == nullptr && rList.GetAt(6) == nullptr);

    rList.MoveToFirst(rConst.Find(5));
    rList.MoveToLast(rConst.Find(1));  // 4 1 2 2 3 0
    CHECK(rList.At(0) == 4 && rList.At(5) == 0);
    rList.MoveToFirst(CListBase::SPtr());
    rList.MoveToLast(CListBase::SPtr());
    rList.Swap(0, 5);
    rList.Swap(0, 1);
    CHECK(rList.At(0) == 1 && rList.At(1) == 0 && rList.At(5) == 4);
    rList.Erase(rConst.Find(0));
    rList.Erase(CListBase::SPtr());
    rList.Erase(0, 1);
    CHECK(rList.GetSize() == 4 && rList.m_uDestructed == 2);
}

void Transfers(CInts& rList)
{
    const CInts& rConst = rList;
    CInts copy(rConst);
    CHECK(copy.Insert(2, rConst) == QV_RES_OK && copy.GetSize() == 8);
    CHECK(CListBase::Copy(&copy, 0, &rConst, 0, 1) == QV_RES_OK);
    CHECK(CListBase::Move(&copy, 0, &rList, 0, 1) == QV_RES_OK && rList.GetSize() == 3);
    CHECK(copy.Merge(10, rList) == QV_RES_OK && rList.IsEmpty());
    CHECK(copy.Split(10, rList) == QV_RES_OK && rList.GetSize() == 3);
    CHECK(&(copy = rConst) == &copy && copy.GetSize() == 3);
    CHECK(copy.ReserveCapacity(20) == QV_RES_OK && copy.GetCapacity() == 20);
    CHECK(copy.ReduceCapacity(0) == QV_RES_OK && copy.GetCapacity() == 3);
    copy.EraseAll();
    CHECK(copy.IsEmpty() && copy.GetLastIndex() == 0xFFFFFFFF);
}
}  // namespace

void ListClient()
{
    using B = CListBase;
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
    Promised<CListBase::SPtr (B::*)(unsigned int) const>(&B::Find);
    Promised<QvResult (*)(CListBase*, unsigned int, const CListBase*, unsigned int, unsigned int)>(&CListBase::Copy);
    Promised<QvResult (*)(CListBase*, unsigned int, CListBase*, unsigned int, unsigned int)>(&CListBase::Move);
    Promised<void (CListBase::*)(unsigned int, unsigned int)>(&CListBase::Erase);
    Promised<void (CListBase::*)(CListBase::SPtr)>(&CListBase::Erase);
    Promised<void (CListBase::*)(CListBase::SPtr)>(&CListBase::MoveToFirst);
    Promised<void (CListBase::*)(CListBase::SPtr)>(&CListBase::MoveToLast);
    Promised<QvResult (CListBase::*)(unsigned int, unsigned int, const void*)>(&CListBase::Insert);
    Promised<QvResult (CListBase::*)(unsigned int, const CListBase&)>(&CListBase::Insert);
    Promised<QvResult (CListBase::*)(unsigned int, CListBase&)>(&CListBase::Merge);
    Promised<QvResult (CListBase::*)(unsigned int, CListBase&)>(&CListBase::Split);
    Promised<void* (CListBase::*)(unsigned int)>(&CListBase::GetAt);
    Promised<const void* (CListBase::*)(unsigned int) const>(&CListBase::GetAt);
    static_assert(std::has_virtual_destructor_v<CListBase>);

    const CBlockAllocator blocks(sizeof(int) + 16, nullptr);
    CInts list(blocks);
    Elements(list);
    Transfers(list);

    // The base by itself: what its elements are is its caller's matter.
    CListBase raw(sizeof(int), nullptr);
    CListBase fromNull(sizeof(int), NULL);
    CListBase fromBlocks(sizeof(int), blocks);
    CHECK(raw.Insert(0, 3, nullptr) == QV_RES_OK && raw.GetSize() == 3);
    const CListBase& rRaw = raw;
    CListBase copy(rRaw);
    unsigned int uSize = sizeof(int);  // not a constant: braces refuse to narrow it
    const CListBase sized{uSize, nullptr};
    const CListBase sizedToo{uSize, blocks};
    CHECK(sized.IsEmpty() && sizedToo.IsEmpty());
    CHECK(copy.GetSize() == 3 && fromNull.IsEmpty() && fromBlocks.Merge(0, copy) == QV_RES_OK);
    fromNull = raw;
    CListBase* const pBase = &list;
    pBase->EraseAll();
}
