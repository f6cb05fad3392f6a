#ifndef TESTS_ABI_OLD_AATREE_H
#define TESTS_ABI_OLD_AATREE_H
#include "tests/abi/compare.h"
#include "tests/abi/ints.h"
#include "tests/abi/old_allocator.h"

class CAATreeBase
{
public:
    class CAATreeNode
    {
    public:
        CAATreeNode();
        CAATreeNode(CAATreeNode* pLeft, CAATreeNode* pRight, CAATreeNode* pParent, unsigned int uLevel);

        CAATreeNode* m_pLeft;
        CAATreeNode* m_pRight;
        CAATreeNode* m_pParent;
        unsigned int m_uLevel;
    };
    struct SCompareVoidParams
    {
        SCompareVoidParams(PFNCompare pfn, unsigned int u);

        PFNCompare pfnCompare;
        unsigned int uParam;
    };

    CAATreeBase(unsigned int uSizeOfElement, PFNCompare pfnCompare, unsigned int uParam, IAllocator* pAllocator);
    CAATreeBase(unsigned int uSizeOfElement, PFNCompare pfnCompare, unsigned int uParam,
                const CBlockAllocator& rAllocator);
    CAATreeBase(const CAATreeBase& rSrc);
    virtual ~CAATreeBase();
    virtual void Construct(void* pElement);
    virtual void ConstructFrom(void* pElement, const void* pSource);
    virtual void Destruct(void* pElement);

    CAATreeBase& operator=(const CAATreeBase& rSrc);
    QvResult SetComparisonFunction(PFNCompare pfnCompare, unsigned int uParam);
    QvResult ReserveCapacity(unsigned int uCapacity);
    QvResult ReduceCapacity(unsigned int uCapacity);
    unsigned int GetCapacity() const;
    unsigned int GetLockCapacity() const;
    unsigned int GetSize() const;
    bool IsEmpty() const;
    unsigned int GetFirstIndex() const;
    unsigned int GetLastIndex() const;
    QvResult Insert(const void* pElement);
    QvResult AllocateSorted(const void* pKey, void** ppElement);
    void* Allocate();
    QvResult InsertAllocated(void* pElement);
    void EraseAllocated(void* pElement);
    void EraseElement(const void* pKey);
    void Erase(unsigned int uIndex);
    void EraseAll();
    CAATreeNode* FindNode(const void* pKey) const;
    CAATreeNode* FindNodeByIndex(unsigned int uIndex) const;
    CAATreeNode* FindNodeMin(CAATreeNode* pNode) const;
    CAATreeNode* FindNodeMax(CAATreeNode* pNode) const;
    CAATreeNode* GetCurrentNode() const;
    void SetCurrentNode(CAATreeNode* pNode) const;
    void InvalidateCurrentNode() const;
    bool CurrentNodeIsInvalid() const;
    void IncrementCurrentNode() const;
    void DecrementCurrentNode() const;
    static QvResult InitializeCAATreeBase();
    static void FinalizeCAATreeBase();

    static unsigned char ms_auNullNode[];
    static CAATreeNode* ms_pNullNode;

    CBlockAllocator m_nodeAllocator;
    unsigned int m_uElementSize;
    SCompareVoidParams m_stCompare;
    unsigned int m_uLockCapacity;
    unsigned int m_uSize;
    unsigned int m_uAllocatedCount;
    CAATreeNode* m_pRoot;
    CAATreeNode* m_pCurrentNode;
    unsigned int m_uCurrentIndex;
};

QvResult InitializeCAATreeBase();
void FinalizeCAATreeBase();

using CIntTree = CInts<CAATreeBase>;

#endif
