#include "framework/basic/aatree.h"

#include <cstddef>
#include <type_traits>

#include "framework/basic/allocator.h"
#include "framework/kernel/result.h"
#include "tests/clients/client.h"

namespace
{
using PFNCompare = int (*)(const void*, const void*, unsigned int);

int CompareInts(const void* pFirst, const void* pSecond, unsigned int uParam)
{
    CHECK(uParam == 3);
    return *static_cast<const int*>(pFirst) - *static_cast<const int*>(pSecond);
}

/// A typed layer: the base itself does nothing with elements.
class CInts : public CAATreeBase
{
public:
    explicit CInts(IAllocator* pAllocator) : CAATreeBase(sizeof(int), CompareInts, 3, pAllocator) {}
    explicit CInts(const CBlockAllocator& rAllocator) : CAATreeBase(sizeof(int), &CompareInts, 3, rAllocator) {}
    CInts(const CInts& rSrc) : CAATreeBase(sizeof(int), nullptr, 0, nullptr) { *this = rSrc; }
    CInts& operator=(const CInts& rSrc)
    {
        CAATreeBase::operator=(rSrc);
        return *this;
    }
    ~CInts() override { EraseAll(); }

    void Construct(void* pElement) override { *static_cast<int*>(pElement) = 0; }
    void ConstructFrom(void* pElement, const void* pSource) override
    {
        *static_cast<int*>(pElement) = *static_cast<const int*>(pSource);
    }
    void Destruct(void*) override { ++m_uDestructed; }

    unsigned int m_uDestructed = 0;
};

void Elements(CInts& rTree)
{
    for (int nElement = 1; nElement <= 7; ++nElement) CHECK(rTree.Insert(&nElement) == QV_RES_OK);
    int nFour = 4;
    const int nEight = 8;
    CHECK(rTree.Insert(&nFour) == QV_RES_ALREADY_EXISTS && rTree.GetSize() == 7);
    CHECK(rTree.SetComparisonFunction(CompareInts, 3) == QV_RES_INVALID_STATE);
    void* pvNew = nullptr;
    CHECK(rTree.AllocateSorted(&nEight, nullptr) == QV_RES_INVALID_ARGUMENT);
    CHECK(rTree.AllocateSorted(&nEight, &pvNew) == QV_RES_OK);
    *static_cast<int*>(pvNew) = nEight;
    CHECK(rTree.AllocateSorted(&nEight, &pvNew) == QV_RES_ALREADY_EXISTS);

    void* const pvNine = rTree.Allocate();
    *static_cast<int*>(pvNine) = 9;
    CHECK(rTree.InsertAllocated(pvNine) == QV_RES_OK && rTree.GetSize() == 9);
    CHECK(rTree.InsertAllocated(nullptr) == QV_RES_INVALID_ARGUMENT);
    rTree.EraseAllocated(rTree.Allocate());
    rTree.EraseAllocated(nullptr);
    rTree.EraseAllocated(NULL);

    rTree.EraseElement(&nFour);
    rTree.Erase(0);
    rTree.Erase(100);
    CHECK(rTree.GetSize() == 7 && rTree.m_uDestructed == 2);  // 2 3 5 6 7 8 9
}

void Nodes(const CInts& rConst)
{
    using Node = CAATreeBase::CAATreeNode;
    const int nFive = 5;
    Node* const pFive = rConst.FindNode(&nFive);
    CHECK(pFive != CAATreeBase::ms_pNullNode && rConst.FindNodeByIndex(2) == pFive);
    const int nMissing = 100;
    CHECK(rConst.FindNode(&nMissing) == CAATreeBase::ms_pNullNode);
    CHECK(rConst.FindNodeByIndex(7) == CAATreeBase::ms_pNullNode);
    Node* const pFirst = rConst.FindNodeByIndex(0);
    Node* const pLast = rConst.FindNodeByIndex(6);
    CHECK(rConst.FindNodeMin(pFirst) == pFirst && rConst.FindNodeMax(pLast) == pLast);
    rConst.SetCurrentNode(pFirst);
    rConst.IncrementCurrentNode();
    CHECK(!rConst.CurrentNodeIsInvalid() && rConst.GetCurrentNode() == rConst.FindNodeByIndex(1));
    rConst.SetCurrentNode(pFive);
    rConst.DecrementCurrentNode();
    CHECK(rConst.GetCurrentNode() != pFive);
    rConst.InvalidateCurrentNode();
    CHECK(rConst.CurrentNodeIsInvalid() && rConst.GetCurrentNode() == CAATreeBase::ms_pNullNode);
}

/// Found by its number as well.
struct SUser
{
    explicit SUser(int nTheId) : nId(nTheId) {}

    int nId;
};

struct SById
{
    int operator()(const SUser& rFirst, const SUser& rSecond) const { return rFirst.nId - rSecond.nId; }
    int operator()(const SUser& rUser, int nId) const { return rUser.nId - nId; }
};

void Keys()
{
    using Users = CAATree<SUser>;
    Users users{SById()};
    Users::handle found;
    Users::const_handle foundToo;
    CHECK(users.Insert(SUser(3), &found) == QV_RES_OK && found->nId == 3);
    CHECK(users.Insert(SUser(3), &found) == QV_RES_ALREADY_EXISTS && users.Insert(SUser(1)) == QV_RES_OK);
    CHECK(users.FindOrInsert(5, &found, SById()) == QV_RES_OK && found->nId == 5);
    CHECK(users.FindOrInsert(SUser(6), &found) == QV_RES_OK && users.GetSize() == 4);
    CHECK(users.FindOrInsert(7, nullptr, SById()) == QV_RES_INVALID_ARGUMENT);
    const Users& rConst = users;
    foundToo = rConst.Find(5, SById());
    CHECK(foundToo && users.Find(5, SById()) && !rConst.Find(4, SById()) && rConst.Find(SUser(3)));
    CHECK(users.FindLowerBound(3, SById())->nId == 3 && rConst.FindUpperBound(3, SById())->nId == 5);
    CHECK(users.FindLowerBound(SUser(4))->nId == 5 && !rConst.FindUpperBound(SUser(6)));

    CAATree<long> numbers;
    CAATree<long>::handle number;
    CHECK(numbers.FindOrInsert(7, &number) == QV_RES_OK && *number == 7 && numbers.Find(7) == number);
    CHECK(numbers.FindLowerBound(8) != number && numbers.FindUpperBound(6) == number);
}

void Manners()
{
    using Ints = CAATree<int>;
    Promised<QvResult (Ints::*)(int&&)>(&Ints::Insert);
    Promised<QvResult (Ints::*)(int&&, Ints::handle*)>(&Ints::Insert);
    Promised<Ints::handle (Ints::*)(int&&)>(&Ints::Emplace<int>);
    Promised<QvResult (Ints::*)(Ints::handle*, int&&)>(&Ints::TryEmplace<int>);
    Promised<bool (Ints::*)(const int&) const>(&Ints::contains);
    Promised<unsigned int (Ints::*)() const>(&Ints::size);
    Promised<bool (Ints::*)() const>(&Ints::empty);
    Promised<void (Ints::*)()>(&Ints::clear);
    static_assert(std::is_same_v<Ints::key_type, int> && std::is_same_v<Ints::value_type, int>);
    static_assert(std::is_same_v<Ints::size_type, unsigned int> && std::is_same_v<Ints::difference_type, ptrdiff_t>);
    static_assert(std::is_same_v<Ints::pointer, int*> && std::is_same_v<Ints::const_pointer, const int*>);
    Ints ints = {2, 1};
    const Ints& rConst = ints;
    const Ints same(ints.cbegin(), ints.cend());
    CHECK(ints == same && ints.size() == 2 && !ints.empty() && rConst.contains(2) && !rConst.contains(3));
    CHECK(*ints.rbegin() == 2 && *rConst.rbegin() == 2 && rConst.crbegin() != rConst.crend());
    CHECK(ints.Emplace(3) && !ints.Emplace(3) && ints != same);
    Ints::handle place;
    CHECK(ints.TryEmplace(&place, 3) == QV_RES_ALREADY_EXISTS && *place == 3);
    swap(ints, ints);
    ints.clear();
    CHECK(ints.empty());
    const CAATree<SUser> users({SUser(3), SUser(1)}, SById());
    CHECK(users.GetFirst()->nId == 1 && users.contains(3, SById()));
}

void Types()
{
    using Node = CAATreeBase::CAATreeNode;
    static_assert(sizeof(Node) == 32 && std::is_same_v<decltype(CAATreeBase::ms_pNullNode), Node*>);
    static_assert(sizeof(CAATreeBase::ms_auNullNode) == sizeof(Node));
    CHECK(static_cast<void*>(CAATreeBase::ms_pNullNode) == static_cast<void*>(CAATreeBase::ms_auNullNode));
    static_assert(std::is_same_v<decltype(Node::pLeft), Node*> && std::is_same_v<decltype(Node::pRight), Node*>);
    static_assert(std::is_same_v<decltype(Node::pParent), Node*> &&
                  std::is_same_v<decltype(Node::uLevel), unsigned int>);
    const Node zero;
    Node* const pNull = CAATreeBase::ms_pNullNode;
    const Node node(pNull, pNull, pNull, 1);
    CHECK(zero.pLeft == nullptr && zero.pRight == nullptr && zero.pParent == nullptr && zero.uLevel == 0);
    CHECK(node.pLeft == pNull && node.pRight == pNull && node.pParent == pNull && node.uLevel == 1);
    CHECK(pNull->pLeft == pNull && pNull->pRight == pNull && pNull->pParent == pNull && pNull->uLevel == 0);
    CAATreeBase::SCompareVoidParams stParams(CompareInts, 3);
    CHECK(sizeof stParams == 16 && stParams.pfnCompare == CompareInts && stParams.uParam == 3);
    static_assert(std::is_enum_v<CAATreeBase::EInsertAction>);
    static_assert(std::has_virtual_destructor_v<CAATreeBase>);
    Promised<QvResult (CAATreeBase::*)(PFNCompare, unsigned int)>(&CAATreeBase::SetComparisonFunction);
    Promised<QvResult (CAATreeBase::*)(const void*)>(&CAATreeBase::Insert);
    Promised<QvResult (CAATreeBase::*)(const void*, void**)>(&CAATreeBase::AllocateSorted);
    Promised<QvResult (CAATreeBase::*)(unsigned int)>(&CAATreeBase::ReserveCapacity);
    Promised<QvResult (CAATreeBase::*)(unsigned int)>(&CAATreeBase::ReduceCapacity);
    Promised<void* (CAATreeBase::*)()>(&CAATreeBase::Allocate);
    Promised<QvResult (CAATreeBase::*)(void*)>(&CAATreeBase::InsertAllocated);
    Promised<void (CAATreeBase::*)(void*)>(&CAATreeBase::EraseAllocated);
    Promised<void (CAATreeBase::*)(const void*)>(&CAATreeBase::EraseElement);
    Promised<void (CAATreeBase::*)(unsigned int)>(&CAATreeBase::Erase);
    Promised<Node* (CAATreeBase::*)(const void*) const>(&CAATreeBase::FindNode);
    Promised<Node* (CAATreeBase::*)(unsigned int) const>(&CAATreeBase::FindNodeByIndex);
    Promised<QvResult (*)()>(&CAATreeBase::InitializeCAATreeBase);
    Promised<void (*)()>(&CAATreeBase::FinalizeCAATreeBase);
    Promised<QvResult (*)()>(&InitializeCAATreeBase);
    Promised<void (*)()>(&FinalizeCAATreeBase);
}
}  // namespace

void AATreeClient()
{
    Types();
    Keys();
    Manners();
    const CBlockAllocator blocks(sizeof(int) + 32, nullptr);
    CInts tree(blocks);
    Elements(tree);
    Nodes(tree);

    const CInts& rConst = tree;
    CHECK(!rConst.IsEmpty() && rConst.GetFirstIndex() == 0 && rConst.GetLastIndex() == 6);
    CHECK(rConst.GetLockCapacity() == 0 && rConst.GetCapacity() >= 7);
    CInts copy(rConst);
    CHECK(copy.GetSize() == 7 && &(copy = rConst) == &copy);
    CHECK(copy.ReserveCapacity(20) == QV_RES_OK && copy.GetCapacity() == 20);
    CHECK(copy.ReduceCapacity(0) == QV_RES_OK && copy.GetCapacity() == 7);
    CAATreeBase* const pBase = &copy;
    pBase->EraseAll();
    CHECK(copy.IsEmpty() && copy.GetLastIndex() == 0xFFFFFFFF);
    CHECK(copy.SetComparisonFunction(&CompareInts, 3) == QV_RES_OK);

    // The base by itself, filled through what it hands out.
    CAATreeBase raw(sizeof(int), CompareInts, 3, nullptr);
    CAATreeBase fromNull(sizeof(int), CompareInts, 3, NULL);
    CAATreeBase fromBlocks(sizeof(int), CompareInts, 3, blocks);
    void* const pvElement = raw.Allocate();
    *static_cast<int*>(pvElement) = 1;
    CHECK(raw.InsertAllocated(pvElement) == QV_RES_OK && raw.GetSize() == 1);
    const CAATreeBase& rFromBlocks = fromBlocks;
    CAATreeBase rawCopy(rFromBlocks);
    unsigned int uNumber = sizeof(int);  // not a constant: braces refuse to narrow it
    const CAATreeBase sized{uNumber, CompareInts, uNumber, nullptr};
    const CAATreeBase sizedToo{uNumber, CompareInts, uNumber, blocks};
    CHECK(sized.GetSize() == 0 && sizedToo.IsEmpty());
    CHECK(rawCopy.IsEmpty() && fromNull.IsEmpty() && (rawCopy = fromNull).IsEmpty());

    FinalizeCAATreeBase();
    CHECK(CAATreeBase::ms_pNullNode == nullptr && InitializeCAATreeBase() == QV_RES_OK);
}
