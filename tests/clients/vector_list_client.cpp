#include "framework/basic/vector_list.h"

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
class CInts : public CVListBase
{
public:
    explicit CInts(IAllocator* pAllocator) : CVListBase(sizeof(int), pAllocator) {}
    explicit CInts(const CBlockAllocator& rAllocator) : CVListBase(sizeof(int), rAllocator) {}
    CInts(const CInts& rSrc) : CVListBase(sizeof(int), nullptr) { *this = rSrc; }
    CInts& operator=(const CInts& rSrc)
    {
        CVListBase::operator=(rSrc);
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
    CHECK(rList.Allocate(7) == nullptr);

    const CInts& rConst = rList;
    CHECK(rConst.Find(0, &nTwo, CompareInts, 3) == 2 && rConst.FindSorted(&nTwo, CompareInts, 3) == 2);
    CHECK(rConst.InternalFindSorted(&nTwo, CompareInts, 3) == 2);
    CHECK(rList.GetMinElementIndex(CompareInts, 3) == 0 && rList.GetMaxElementIndex(CompareInts, 3) == 5);
    CHECK(rConst.GetSize() == 6 && !rConst.IsEmpty() && rConst.GetFirstIndex() == 0);
    CHECK(rConst.GetLastIndex() == 5 && rConst.GetEndIndex() == 6 && rConst.GetLockCapacity() == 0);
    rList.Swap(0, 5);
    rList.Swap(0, 6);
    CHECK(rList.At(0) == 4 && rList.At(5) == 0);
    *static_cast<int*>(rList.GetAt(0)) = 5;
    rList.Erase(5, 9);
    CHECK(rList.GetSize() == 5 && rList.m_uDestructed == 1);
}

void Transfers(CInts& rList)
{
    const CInts& rConst = rList;
    CInts copy(rConst);
    CHECK(copy.Insert(2, rConst) == QV_RES_OK && copy.GetSize() == 10 && copy.At(2) == 5);
    CHECK(copy.Merge(10, rList) == QV_RES_OK && rList.IsEmpty());
    CHECK(copy.Split(10, rList) == QV_RES_OK && rList.GetSize() == 5);
    CHECK(&(copy = rConst) == &copy && copy.GetSize() == 5);
    CHECK(copy.ReserveCapacity(20) == QV_RES_OK && copy.GetCapacity() == 20);
    CHECK(copy.ReduceCapacity(0) == QV_RES_OK && copy.GetCapacity() == 5);
    CHECK(CVListBase::Copy(&copy, 0, &rConst, 0, 0) == QV_RES_OK);
    CHECK(CVListBase::Move(&copy, 0, &rList, 0, 0) == QV_RES_OK);
    copy.EraseAll();
    CHECK(copy.IsEmpty() && copy.GetLastIndex() == 0xFFFFFFFF);
}
}  // namespace

void VectorListClient()
{
    using B = CVListBase;
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
    Promised<QvResult (*)(CVListBase*, unsigned int, const CVListBase*, unsigned int, unsigned int)>(&CVListBase::Copy);
    Promised<QvResult (*)(CVListBase*, unsigned int, CVListBase*, unsigned int, unsigned int)>(&CVListBase::Move);
    Promised<QvResult (CVListBase::*)(unsigned int, unsigned int, const void*)>(&CVListBase::Insert);
    Promised<QvResult (CVListBase::*)(unsigned int, const CVListBase&)>(&CVListBase::Insert);
    Promised<QvResult (CVListBase::*)(unsigned int, CVListBase&)>(&CVListBase::Merge);
    Promised<QvResult (CVListBase::*)(unsigned int, CVListBase&)>(&CVListBase::Split);
    Promised<void (CVListBase::*)(unsigned int, unsigned int)>(&CVListBase::Erase);
    Promised<void* (CVListBase::*)(unsigned int)>(&CVListBase::GetAt);
    Promised<const void* (CVListBase::*)(unsigned int) const>(&CVListBase::GetAt);
    static_assert(std::has_virtual_destructor_v<CVListBase>);

    const CBlockAllocator blocks(sizeof(int), nullptr);
    CInts list(blocks);
    Elements(list);
    Transfers(list);

    CVListBase raw(sizeof(int), nullptr);
    CVListBase fromNull(sizeof(int), NULL);
    CVListBase fromBlocks(sizeof(int), blocks);
    CHECK(raw.Insert(0, 3, nullptr) == QV_RES_OK);
    const CVListBase& rRaw = raw;
    CVListBase copy(rRaw);
    unsigned int uSize = sizeof(int);  // not a constant: braces refuse to narrow it
    const CVListBase sized{uSize, nullptr};
    const CVListBase sizedToo{uSize, blocks};
    CHECK(sized.GetCapacity() == 0 && sizedToo.IsEmpty());
    CHECK(copy.GetSize() == 3 && fromBlocks.Merge(0, copy) == QV_RES_OK && copy.IsEmpty());
    fromNull = raw;
    CVListBase* const pBase = &list;
    pBase->EraseAll();
}
