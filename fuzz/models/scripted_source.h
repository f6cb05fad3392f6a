#ifndef FUZZ_MODELS_SCRIPTED_SOURCE_H
#define FUZZ_MODELS_SCRIPTED_SOURCE_H
#include <cstdlib>
#include <cstring>
#include <map>
#include <vector>

#include "framework/basic/allocator.h"
#include "fuzz/check.h"

/// The requests that an operation makes of its source, and which of them is refused: one for the library's allocator,
/// one for the twin that only pretends.
struct SRequests
{
    /// The largest block that is given; more is refused always.
    static constexpr unsigned int uLARGEST = 1u << 20;

    unsigned int uRefuseIn = 0;
    /// Once one is refused, all are.
    bool bOnwards = false;
    bool bRefused = false;
    unsigned int uGiven = 0;
    std::vector<unsigned int> asked;
    std::vector<unsigned int> released;

    void Begin(unsigned int uNth)
    {
        uRefuseIn = uNth;
        bOnwards = false;
        bRefused = false;
        uGiven = 0;
        asked.clear();
        released.clear();
    }
    bool Ask(unsigned int uSize)
    {
        asked.push_back(uSize);
        bool bGiven = uSize <= uLARGEST && !(bOnwards && bRefused);
        if (uRefuseIn != 0 && --uRefuseIn == 0) bGiven = false;
        if (bGiven) ++uGiven;
        else bRefused = true;
        return bGiven;
    }
};

/// Gives blocks one at a time, filled with what nobody wrote, and looks at what comes back.
class CScriptedSource : public IAllocator
{
public:
    ~CScriptedSource() override
    {
        for (const auto& rBlock : m_sizes) std::free(rBlock.first);
    }

    SBlock* Allocate(unsigned int uCount, unsigned int uSize, SBlock** ppLast) override
    {
        if (uCount != 1 || uSize < sizeof(SBlock)) FuzzFailed("a request that no vector makes");
        if (!m_requests.Ask(uSize)) return nullptr;
        void* const pv = std::malloc(uSize);
        std::memset(pv, 0xEE, uSize);
        m_sizes[pv] = uSize;
        auto* const pBlock = static_cast<SBlock*>(pv);
        pBlock->pNext = nullptr;
        if (ppLast != nullptr) *ppLast = pBlock;
        return pBlock;
    }
    void Release(SBlock* pChain, unsigned int uCount) override
    {
        m_requests.released.push_back(uCount);
        while (pChain != nullptr)
        {
            if (m_sizes.erase(pChain) == 0) FuzzFailed("a block comes back that is not out");
            SBlock* const pNext = pChain->pNext;
            std::free(pChain);
            pChain = pNext;
        }
    }

    SRequests& GetRequests() { return m_requests; }
    std::size_t GetLiveBlocks() const { return m_sizes.size(); }

private:
    SRequests m_requests;
    std::map<void*, unsigned int> m_sizes;
};

#endif
