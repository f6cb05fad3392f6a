#ifndef TESTS_ABI_OLD_ALLOCATOR_H
#define TESTS_ABI_OLD_ALLOCATOR_H
#include "tests/abi/old_result.h"
#include "tests/abi/old_singleton.h"

class IAllocator
{
public:
    struct SBlock
    {
        SBlock* pNext;
    };

    virtual ~IAllocator();
    virtual SBlock* Allocate(unsigned int uCount, unsigned int uSize, SBlock** ppLast) = 0;
    virtual void Release(SBlock* pChain, unsigned int uCount) = 0;
};

class CDefaultAllocator : public CSingleton<CDefaultAllocator>, public IAllocator
{
public:
    CDefaultAllocator();
    ~CDefaultAllocator() override;
    SBlock* Allocate(unsigned int uCount, unsigned int uSize, SBlock** ppLast) override;
    void Release(SBlock* pChain, unsigned int uCount) override;
    static QvResult InitializeCDefaultAllocator();
    static void FinalizeCDefaultAllocator();
};

extern template class CSingleton<CDefaultAllocator>;

QvResult InitializeCDefaultAllocator();
void FinalizeCDefaultAllocator();

class CBlockAllocator
{
public:
    CBlockAllocator(unsigned int uBlockSize, IAllocator* pAllocator);
    CBlockAllocator(const CBlockAllocator& rOther);
    virtual ~CBlockAllocator();
    virtual void Push(void* pBlock);
    bool Reserve(unsigned int uCount);
    void Reduce(unsigned int uCount);
    void* Pop();
    unsigned int GetBlockCount() const;
    bool operator==(const CBlockAllocator& rOther) const;
    bool operator!=(const CBlockAllocator& rOther) const;

    IAllocator* m_pAllocator;
    IAllocator::SBlock* m_pHead;
    IAllocator::SBlock* m_pTail;
    unsigned int m_uBlockCount;
    unsigned int m_uBlockSize;
};

inline IAllocator* DefaultAllocator()
{
    return CSingleton<CDefaultAllocator>::Instance();
}

#endif
