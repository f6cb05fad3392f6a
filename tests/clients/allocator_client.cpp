#include "framework/basic/allocator.h"

#include <cstddef>
#include <type_traits>

#include "framework/kernel/result.h"
#include "framework/kernel/singleton.h"
#include "tests/clients/client.h"

namespace
{
/// Hands on to the default allocator and counts.
class CMyAllocator : public IAllocator
{
public:
    ~CMyAllocator() override { CHECK(m_uOut == 0); }

    IAllocator::SBlock* Allocate(unsigned int uCount, unsigned int uSize, IAllocator::SBlock** ppLast) override
    {
        IAllocator::SBlock* const pChain = CSingleton<CDefaultAllocator>::Instance()->Allocate(uCount, uSize, ppLast);
        if (pChain != nullptr) m_uOut += uCount;
        return pChain;
    }
    void Release(IAllocator::SBlock* pChain, unsigned int uCount) override
    {
        m_uOut -= uCount;
        CSingleton<CDefaultAllocator>::Instance()->Release(pChain, uCount);
    }

    unsigned int m_uOut = 0;
};

class CMyBlockAllocator : public CBlockAllocator
{
public:
    using CBlockAllocator::CBlockAllocator;
    ~CMyBlockAllocator() override { Reduce(0); }
    void Push(void* pBlock) override
    {
        ++m_uPushed;
        CBlockAllocator::Push(pBlock);
    }

    unsigned int m_uPushed = 0;
};

void DefaultAllocator()
{
    Promised<IAllocator::SBlock* (IAllocator::*)(unsigned int, unsigned int, IAllocator::SBlock**)>(
        &IAllocator::Allocate);
    Promised<void (IAllocator::*)(IAllocator::SBlock*, unsigned int)>(&IAllocator::Release);
    static_assert(sizeof(IAllocator::SBlock) == sizeof(void*) && std::has_virtual_destructor_v<IAllocator>);
    CDefaultAllocator* const pDefault = CSingleton<CDefaultAllocator>::Instance();
    CSingleton<CDefaultAllocator>* const pFirstBase = pDefault;
    IAllocator* const pSource = pDefault;
    CHECK(static_cast<void*>(pFirstBase) == static_cast<void*>(pDefault));

    IAllocator::SBlock* pLast = nullptr;
    IAllocator::SBlock* pChain = pSource->Allocate(2, 16, &pLast);
    CHECK(pChain != nullptr && pChain->pNext == pLast && pLast->pNext == nullptr);
    pSource->Release(pChain, 2);
    pChain = pDefault->Allocate(1, 8, nullptr);
    pDefault->Release(pChain, 1);
    CHECK(pDefault->Allocate(0, 16, NULL) == nullptr && pDefault->Allocate(1, 7, 0) == nullptr);
    pDefault->Release(nullptr, 0);

    Promised<QvResult (*)()>(&CDefaultAllocator::InitializeCDefaultAllocator);
    Promised<void (*)()>(&CDefaultAllocator::FinalizeCDefaultAllocator);
    CHECK(CDefaultAllocator::InitializeCDefaultAllocator() == 0 && InitializeCDefaultAllocator() == 0);
    Promised<void (*)()>(&FinalizeCDefaultAllocator);
}

void BlockAllocator()
{
    Promised<bool (CBlockAllocator::*)(unsigned int)>(&CBlockAllocator::Reserve);
    Promised<void (CBlockAllocator::*)(unsigned int)>(&CBlockAllocator::Reduce);
    Promised<void* (CBlockAllocator::*)()>(&CBlockAllocator::Pop);
    Promised<void (CBlockAllocator::*)(void*)>(&CBlockAllocator::Push);

    CMyAllocator mine;
    CMyBlockAllocator blocks(0, &mine);
    CBlockAllocator* const pBase = &blocks;
    CHECK(pBase->Reserve(10) && blocks.GetBlockCount() == 10 && mine.m_uOut == 10);
    blocks.Reduce(7);
    CHECK(blocks.GetBlockCount() == 7);
    void* const pBlock = blocks.Pop();
    pBase->Push(pBlock);
    CHECK(blocks.m_uPushed == 1 && blocks.Pop() == pBlock);
    blocks.Push(pBlock);
    blocks.Push(nullptr);
    blocks.Push(NULL);
    blocks.Push(0);
    CHECK(blocks.GetBlockCount() == 7);

    const CBlockAllocator& rConst = blocks;
    const CBlockAllocator copy(rConst);
    unsigned int uSize = 16;  // not a constant: braces refuse to narrow it
    const CBlockAllocator sized{uSize, &mine};
    CHECK(sized == rConst && sized.GetBlockCount() == 0);
    CBlockAllocator other(16, nullptr);
    CBlockAllocator another(16, 0);
    CBlockAllocator third(16, NULL);
    CHECK(copy == rConst && !(copy != rConst) && copy != other && another == third);
    unsigned int uCount = other.GetBlockCount();
    CHECK(uCount == 0);
}
}  // namespace

void AllocatorClient()
{
    DefaultAllocator();
    BlockAllocator();
}
