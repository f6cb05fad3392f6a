#ifndef FUZZ_MODELS_TRACE_H
#define FUZZ_MODELS_TRACE_H
#include <cstdint>
#include <cstring>
#include <iterator>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "framework/basic/allocator.h"

/// What a container and its twin are made to leave behind: every call of an element operation, every comparison and
/// every request to a source of memory, with the values and the places of the elements.
namespace twin
{
/// The bytes that tell elements apart; the others follow from them.
inline std::uint32_t ValueOf(const void* pElement, unsigned int uSize)
{
    std::uint32_t uValue = 0;
    std::memcpy(&uValue, pElement, uSize < sizeof(uValue) ? uSize : sizeof(uValue));
    return uValue;
}

inline void FillElement(void* pElement, std::uint32_t uValue, unsigned int uSize)
{
    unsigned char* const puElement = static_cast<unsigned char*>(pElement);
    std::memcpy(puElement, &uValue, uSize < sizeof(uValue) ? uSize : sizeof(uValue));
    for (unsigned int u = sizeof(uValue); u < uSize; ++u) puElement[u] = static_cast<unsigned char>(uValue * 37 + u);
}

/// The events of one side. Addresses become places, which are the same on both sides: the number of the block, counted
/// in the order in which the sources gave them, and the offset in it; 0 is outside of all blocks.
class CTrace
{
public:
    enum EKind : unsigned int
    {
        eCONSTRUCT,
        eCONSTRUCT_FROM,
        eDESTRUCT,
        eCOMPARE,
        eREQUEST,
        eRELEASE,
        eRELEASED_BLOCK
    };
    struct SEvent
    {
        EKind eKind;
        std::uint64_t auValues[5];
        bool operator==(const SEvent& rOther) const
        {
            return eKind == rOther.eKind && std::memcmp(auValues, rOther.auValues, sizeof(auValues)) == 0;
        }
    };

    std::vector<SEvent>& GetEvents() { return m_events; }

    std::uint64_t PlaceOf(const void* pv) const
    {
        const auto* const pu = static_cast<const unsigned char*>(pv);
        auto it = m_blocks.upper_bound(pu);
        if (it == m_blocks.begin()) return 0;
        --it;
        const std::size_t uOffset = static_cast<std::size_t>(pu - it->first);
        return uOffset <= it->second.uSize ? (static_cast<std::uint64_t>(it->second.uNumber) << 32) + uOffset : 0;
    }

    void Construct(void* pElement, unsigned int uSize)
    {
        m_events.push_back({eCONSTRUCT, {PlaceOf(pElement), uSize}});
        FillElement(pElement, 77, uSize);
    }
    void ConstructFrom(void* pElement, const void* pSource, unsigned int uSize)
    {
        m_events.push_back({eCONSTRUCT_FROM, {PlaceOf(pElement), PlaceOf(pSource), ValueOf(pSource, uSize)}});
        std::memmove(pElement, pSource, uSize);
    }
    void Destruct(void* pElement, unsigned int uSize)
    {
        m_events.push_back({eDESTRUCT, {PlaceOf(pElement), ValueOf(pElement, uSize)}});
        std::memset(pElement, 0xDD, uSize);
    }
    void Compare(const void* pFirst, const void* pSecond, unsigned int uParam, unsigned int uSize)
    {
        m_events.push_back(
            {eCOMPARE, {PlaceOf(pFirst), ValueOf(pFirst, uSize), PlaceOf(pSecond), ValueOf(pSecond, uSize), uParam}});
    }
    void Request(unsigned int uCount, unsigned int uSize, bool bRefused)
    {
        m_events.push_back({eREQUEST, {uCount, uSize, bRefused}});
    }
    void Release(unsigned int uCount) { m_events.push_back({eRELEASE, {uCount}}); }
    void ReleasedBlock(const void* pBlock) { m_events.push_back({eRELEASED_BLOCK, {PlaceOf(pBlock)}}); }

    void Given(const unsigned char* puBlock, unsigned int uSize) { m_blocks[puBlock] = {uSize, ++m_uBlocks}; }
    void Taken(const unsigned char* puBlock) { m_blocks.erase(puBlock); }
    bool IsGiven(const void* pv) const { return m_blocks.count(static_cast<const unsigned char*>(pv)) != 0; }
    std::size_t GetLiveBlocks() const { return m_blocks.size(); }

    static std::string Tell(const SEvent& rEvent)
    {
        const auto Place = [](std::uint64_t u)
        {
            std::ostringstream text;
            if (u == 0) return std::string("outside");
            text << "block " << (u >> 32) << " + " << (u & 0xFFFFFFFFu);
            return text.str();
        };
        const std::uint64_t* const pu = rEvent.auValues;
        std::ostringstream text;
        switch (rEvent.eKind)
        {
            case eCONSTRUCT: text << "Construct(" << Place(pu[0]) << ")"; break;
            case eCONSTRUCT_FROM:
                text << "ConstructFrom(" << Place(pu[0]) << ", " << Place(pu[1]) << ": " << pu[2] << ")";
                break;
            case eDESTRUCT: text << "Destruct(" << Place(pu[0]) << ": " << pu[1] << ")"; break;
            case eCOMPARE:
                text << "compare(" << Place(pu[0]) << ": " << pu[1] << ", " << Place(pu[2]) << ": " << pu[3] << ", "
                     << pu[4] << ")";
                break;
            case eREQUEST:
                text << "Allocate(" << pu[0] << ", " << pu[1] << ")" << (pu[2] != 0 ? " refused" : "");
                break;
            case eRELEASE: text << "Release(chain, " << pu[0] << ")"; break;
            case eRELEASED_BLOCK: text << "    of the chain: " << Place(pu[0]); break;
        }
        return text.str();
    }

private:
    struct SBlockRecord
    {
        unsigned int uSize;
        unsigned int uNumber;
    };
    std::map<const unsigned char*, SBlockRecord> m_blocks;
    std::vector<SEvent> m_events;
    unsigned int m_uBlocks = 0;
};

/// Where CompareElements() leaves its calls: the side that runs.
inline CTrace* g_pTrace = nullptr;

/// What a comparison is told: the element size and whether the order is reversed.
inline unsigned int CompareParam(unsigned int uElementSize, bool bDescending)
{
    return (uElementSize << 8) + (bDescending ? 1 : 0);
}

/// Eight values are one key, so that elements that compare equal can be told apart.
inline int CompareElements(const void* pFirst, const void* pSecond, unsigned int uParam)
{
    const unsigned int uSize = uParam >> 8;
    g_pTrace->Compare(pFirst, pSecond, uParam, uSize);
    const int nDifference =
        static_cast<int>(ValueOf(pFirst, uSize) / 8) - static_cast<int>(ValueOf(pSecond, uSize) / 8);
    return (uParam & 1) != 0 ? -nDifference : nDifference;
}

/// A source that leaves its requests in a trace and refuses the one that it is told to, and what is very large.
class CTracedSource : public IAllocator
{
public:
    explicit CTracedSource(CTrace& rTrace) : m_rTrace(rTrace) {}

    /// Whether a sequence asks for bytes that no 32 bits can count, or refuses by itself, is its own affair: that is no
    /// request here. Trees ask.
    void CountOversized() { m_bCountsOversized = true; }

    SBlock* Allocate(unsigned int uCount, unsigned int uSize, SBlock** ppLast) override
    {
        const std::uint64_t uBytes = static_cast<std::uint64_t>(uCount) * uSize;
        if (uBytes > 0xFFFFFFFFu && !m_bCountsOversized) return nullptr;
        const bool bRefused = IsToBeRefused() || uBytes > (1u << 20);
        m_rTrace.Request(uCount, uSize, bRefused);
        if (bRefused) return nullptr;
        SBlock* pChain = nullptr;
        for (unsigned int u = 0; u < uCount; ++u)
        {
            unsigned char* const puBlock = new unsigned char[uSize];
            std::memset(puBlock, 0xC3, uSize);
            m_rTrace.Given(puBlock, uSize);
            pChain = ::new (puBlock) SBlock{pChain};
            if (u == 0 && ppLast != nullptr) *ppLast = pChain;
        }
        return pChain;
    }

    void Release(SBlock* pChain, unsigned int uCount) override
    {
        m_rTrace.Release(uCount);
        while (pChain != nullptr)
        {
            m_rTrace.ReleasedBlock(pChain);
            if (!m_rTrace.IsGiven(pChain)) return;  // seen in the trace: the twin never gives back what is not out
            SBlock* const pNext = pChain->pNext;
            m_rTrace.Taken(reinterpret_cast<unsigned char*>(pChain));
            delete[] reinterpret_cast<unsigned char*>(pChain);
            pChain = pNext;
        }
    }

    /// Refuses uCount requests, after uGranted that are granted.
    void Refuse(unsigned int uGranted, unsigned int uCount)
    {
        m_uGranted = uGranted;
        m_uRefused = uCount;
    }

private:
    bool IsToBeRefused()
    {
        if (m_uRefused == 0) return false;
        if (m_uGranted != 0)
        {
            --m_uGranted;
            return false;
        }
        --m_uRefused;
        return true;
    }

    CTrace& m_rTrace;
    bool m_bCountsOversized = false;
    unsigned int m_uGranted = 0;
    unsigned int m_uRefused = 0;
};
}  // namespace twin

#endif
