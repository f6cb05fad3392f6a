// A pool of its own kind over a source that runs out, and block allocators that reserve, reduce, pop and push, beside
// twins that are lists: which block comes next, what is asked of the source, and what goes back to it.
// Options: -max_len=1500
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "framework/basic/allocator.h"
#include "framework/basic/pool.h"
#include "fuzz/models/trail.h"

namespace
{
/// Blocks of 40 bytes; not the pool that marshalers share.
struct SPooled
{
    unsigned char auBytes[40];
};

class CPoolProbe : public CPool<SPooled>
{
public:
    static unsigned int GetAllocatedCount() { return ms_uAllocatedCount; }
    static unsigned int GetCapacity() { return ms_uCapacity; }
    static unsigned int GetFreeCount() { return ms_pBlockAllocator->GetBlockCount(); }
};

/// Gives chains and remembers them.
class CChainSource : public IAllocator
{
public:
    ~CChainSource() override
    {
        for (void* const pv : m_live) std::free(pv);
    }
    SBlock* Allocate(unsigned int uCount, unsigned int uSize, SBlock** ppLast) override
    {
        m_asked.push_back(uCount);
        m_uSize = uSize;
        if (m_bRefuses) return nullptr;
        SBlock* pHead = nullptr;
        m_given.clear();
        for (unsigned int i = 0; i < uCount; ++i)
        {
            auto* const pBlock = static_cast<SBlock*>(std::malloc(uSize));
            if (pHead == nullptr && ppLast != nullptr) *ppLast = pBlock;
            pBlock->pNext = pHead;
            pHead = pBlock;
            m_live.insert(pBlock);
            m_given.insert(m_given.begin(), pBlock);
        }
        return pHead;
    }
    void Release(SBlock* pChain, unsigned int uCount) override
    {
        m_counts.push_back(uCount);
        while (pChain != nullptr)
        {
            if (m_live.erase(pChain) == 0) FuzzFailed("a block comes back that is not out");
            SBlock* const pNext = pChain->pNext;
            m_released.push_back(pChain);
            std::free(pChain);
            pChain = pNext;
        }
    }

    bool m_bRefuses = false;
    unsigned int m_uSize = 0;
    std::set<void*> m_live;
    /// Of the last request, in the order of the chain.
    std::vector<void*> m_given;
    std::vector<unsigned int> m_asked, m_counts;
    std::vector<void*> m_released;
};

/// The free list, the next block to be popped in front.
using Free = std::vector<void*>;

class CPoolRun
{
public:
    CPoolRun(const std::uint8_t* puData, std::size_t uSize) : m_bytes(puData, uSize) {}
    ~CPoolRun() { CPoolProbe::Uninitialize(); }

    void Run()
    {
        if (m_bytes.Flag()) RunBlockAllocator();
        else RunPool();
    }

private:
    /// Appends what was reserved to the list; false when the source refused.
    bool Reserved(Free& rFree, unsigned int uCount)
    {
        m_want.push_back(uCount);
        if (m_source.m_bRefuses) return false;
        rFree.insert(rFree.end(), m_source.m_given.begin(), m_source.m_given.end());
        return true;
    }
    /// What goes back of the list when uKeep blocks stay.
    void Reduced(Free& rFree, unsigned int uKeep)
    {
        if (uKeep >= rFree.size()) return;
        const auto uRelease = static_cast<unsigned int>(rFree.size()) - uKeep;
        const bool bFront = uKeep != 0 && uRelease < uKeep;
        const auto itFrom = bFront ? rFree.begin() : rFree.begin() + uKeep;
        m_wantReleased.insert(m_wantReleased.end(), itFrom, itFrom + uRelease);
        m_wantCounts.push_back(uRelease);
        rFree.erase(itFrom, itFrom + uRelease);
    }
    void Check()
    {
        m_trail.True(m_source.m_asked == m_want, "the same is asked of the source");
        m_trail.True(m_source.m_counts == m_wantCounts, "the same counts go back to the source");
        m_trail.True(m_source.m_released == m_wantReleased, "the same blocks go back to the source, in the same order");
    }

    void RunBlockAllocator()
    {
        const unsigned int uSize = m_bytes.Below(40);
        auto pLibrary = std::make_unique<CBlockAllocator>(uSize, &m_source);
        Free free;
        std::vector<void*> out;
        for (unsigned int uStep = 0; uStep < 200 && !m_bytes.IsSpent(); ++uStep)
        {
            m_source.m_bRefuses = m_bytes.Rarely(6);
            const char* const pszRefusing = m_source.m_bRefuses ? ", refusing" : "";
            switch (m_bytes.Below(6))
            {
                case 0:
                {
                    const unsigned int uCount = m_bytes.Below(20);
                    m_trail.Step("Reserve(%u)%s", uCount, pszRefusing);
                    const bool bDone = pLibrary->Reserve(uCount);
                    const bool bEnough = uCount <= free.size();
                    m_trail.Same("the result", bDone,
                                 bEnough || Reserved(free, uCount - static_cast<unsigned int>(free.size())));
                    break;
                }
                case 1:
                {
                    const unsigned int uCount = m_bytes.Below(20);
                    m_trail.Step("Reduce(%u)", uCount);
                    pLibrary->Reduce(uCount);
                    Reduced(free, uCount);
                    break;
                }
                case 2:
                case 3:
                {
                    m_trail.Step("Pop%s", pszRefusing);
                    void* const pv = pLibrary->Pop();
                    if (free.empty()) Reserved(free, 1);
                    m_trail.True(pv == (free.empty() ? nullptr : free.front()), "the block in front is popped");
                    if (pv == nullptr) break;
                    free.erase(free.begin());
                    out.push_back(pv);
                    m_trail.Same("the block size", m_source.m_uSize, std::max(uSize, 8u));
                    break;
                }
                case 4:
                {
                    m_trail.Step("Push");
                    if (out.empty() || m_bytes.Rarely(8))
                    {
                        pLibrary->Push(nullptr);
                        break;
                    }
                    const unsigned int uAt = m_bytes.Below(out.size());
                    pLibrary->Push(out[uAt]);
                    free.insert(free.begin(), out[uAt]);
                    out.erase(out.begin() + uAt);
                    break;
                }
                default:
                {
                    m_trail.Step("a copy");
                    const CBlockAllocator copy(*pLibrary);
                    m_trail.Same("the free blocks of a copy", copy.GetBlockCount(), 0);
                    m_trail.True(copy == *pLibrary && !(copy != *pLibrary), "a copy is equal");
                }
            }
            m_trail.Same("the number of free blocks", pLibrary->GetBlockCount(), static_cast<long long>(free.size()));
            m_trail.Same("whether one is free", pLibrary->HasFree(), !free.empty());
            Check();
        }
        m_trail.Step("the end");
        for (void* const pv : out)
        {
            pLibrary->Push(pv);
            free.insert(free.begin(), pv);
        }
        pLibrary.reset();
        Reduced(free, 0);
        Check();
        m_trail.Same("the blocks that are out", static_cast<long long>(m_source.m_live.size()), 0);
    }

    void RunPool()
    {
        const unsigned int uReserved = m_bytes.Below(6);
        const bool bLock = m_bytes.Flag();
        const bool bThreadSafe = m_bytes.Flag();
        m_trail.Step("Initialize(%d, %u, %d)", bThreadSafe, uReserved, bLock);
        m_trail.True(CPoolProbe::Allocate() == nullptr, "no block before the pool is set up");
        m_source.m_bRefuses = m_bytes.Rarely(8);
        CPoolProbe::Initialize(bThreadSafe, uReserved, bLock, &m_source);
        Free free;
        if (uReserved != 0) Reserved(free, uReserved);
        std::vector<void*> out;
        unsigned int uCapacity = uReserved;
        for (unsigned int uStep = 0; uStep < 200 && !m_bytes.IsSpent(); ++uStep)
        {
            m_source.m_bRefuses = m_bytes.Rarely(6);
            if (m_bytes.Below(5) < 3)
            {
                m_trail.Step("Allocate%s", m_source.m_bRefuses ? ", refusing" : "");
                void* const pv = CPoolProbe::Allocate();
                const bool bGrows = out.size() >= uCapacity;
                if (bGrows && bLock) m_trail.True(pv == nullptr, "a locked pool hands out no more than its capacity");
                else
                {
                    if (free.empty()) Reserved(free, 1);
                    m_trail.True(pv == (free.empty() ? nullptr : free.front()), "the block in front is handed out");
                    if (pv == nullptr) continue;
                    free.erase(free.begin());
                    out.push_back(pv);
                    if (bGrows) ++uCapacity;
                }
            }
            else if (m_bytes.Rarely(10))
            {
                m_trail.Step("Initialize again, and null given back");
                CPoolProbe::Initialize(!bThreadSafe, 9, !bLock, nullptr);
                CPoolProbe::Deallocate(nullptr);
            }
            else if (!out.empty())
            {
                const unsigned int uAt = m_bytes.Below(out.size());
                m_trail.Step("Deallocate of block %u", uAt);
                CPoolProbe::Deallocate(out[uAt]);
                free.insert(free.begin(), out[uAt]);
                out.erase(out.begin() + uAt);
            }
            m_trail.Same("the number handed out", CPoolProbe::GetAllocatedCount(), static_cast<long long>(out.size()));
            m_trail.Same("the capacity", CPoolProbe::GetCapacity(), uCapacity);
            m_trail.Same("the number of free blocks", CPoolProbe::GetFreeCount(), static_cast<long long>(free.size()));
            Check();
        }
        m_trail.Step("Uninitialize");
        for (void* const pv : out)
        {
            CPoolProbe::Deallocate(pv);
            free.insert(free.begin(), pv);
        }
        CPoolProbe::Uninitialize();
        Reduced(free, 0);
        Check();
        CPoolProbe::Uninitialize();
    }

    CStepBytes m_bytes;
    CTrail m_trail;
    CChainSource m_source;
    std::vector<unsigned int> m_want, m_wantCounts;
    std::vector<void*> m_wantReleased;
};
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* puData, std::size_t uSize)
{
    CPoolRun(puData, uSize).Run();
    return 0;
}
