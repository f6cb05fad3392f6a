#ifndef FUZZ_MODELS_MAP_STEPS_H
#define FUZZ_MODELS_MAP_STEPS_H
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <new>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "framework/basic/map.h"
#include "framework/basic/string.h"
#include "fuzz/input.h"
#include "fuzz/models/map_twin.h"
#include "fuzz/models/trace.h"

namespace twin
{
/// Sequences of operations on two maps over one source of memory, and on their twins.
template <typename K>
class CMapSteps
{
    static constexpr bool bTEXTS = std::is_same_v<K, CString>;
    using Plain = std::conditional_t<bTEXTS, std::string, int>;
    using Map = CMap<K, long>;
    using Twin = CMapTwin<Plain>;
    using Handle = typename Map::handle;

public:
    explicit CMapSteps(CFuzzInput& rInput) : m_rInput(rInput), m_maps{Map(&m_source), Map(&m_source)} {}

    /// What differed, or an empty text.
    std::string Run()
    {
        unsigned int uStep = 0;
        const char* pszName = "";
        try
        {
            while (!m_rInput.IsSpent())
            {
                const SOperation& rstOperation = s_astOPERATIONS[m_rInput.Below(std::size(s_astOPERATIONS))];
                pszName = rstOperation.pszName;
                ++uStep;
                Begin();
                (this->*rstOperation.pfnRun)();
                m_source.Refuse(0, 0);
                for (unsigned int u = 0; u < 2; ++u) CompareStates(m_maps[u], m_twins[u]);
                const std::size_t uNodes = m_twins[0].GetCapacity() + std::size_t{m_twins[1].GetCapacity()};
                Require(m_trace.GetLiveBlocks() == uNodes, "the capacities are not what the source has given");
            }
        }
        catch (const SDifference& rstDifference)
        {
            return "step " + std::to_string(uStep) + ", " + pszName + ": " + rstDifference.strWhat;
        }
        return "";
    }

private:
    struct SDifference
    {
        std::string strWhat;
    };
    struct SOperation
    {
        const char* pszName;
        void (CMapSteps::*pfnRun)();
    };

    static void Require(bool bHolds, const char* pszWhat)
    {
        if (!bHolds) throw SDifference{pszWhat};
    }
    static Plain PlainOf(const K& rKey)
    {
        if constexpr (bTEXTS) return std::string(rKey.CStr(), rKey.GetSize());
        else return rKey;
    }
    static Plain PlainKey(unsigned int uKey)
    {
        // Some differ early, some late.
        if constexpr (bTEXTS) return (uKey % 2 != 0 ? "a common beginning " : "") + std::to_string(uKey);
        else return static_cast<int>(uKey) - 30;
    }

    void Begin()
    {
        const unsigned int uWhich = m_rInput.Byte();
        m_pMap = &m_maps[uWhich & 1];
        m_pTwin = &m_twins[uWhich & 1];
        m_bRefuses = uWhich % 8 == 7;
        m_source.Refuse(0, m_bRefuses ? 1 : 0);
        m_plain = PlainKey(m_rInput.Below(60));
        if constexpr (bTEXTS) m_key = m_plain.c_str();
        else m_key = m_plain;
        m_nValue = m_rInput.Byte();
    }

    void CompareStates(Map& rMap, Twin& rTwin)
    {
        Require(rMap.GetSize() == rTwin.GetSize() && rMap.size() == rTwin.GetSize(), "the size");
        Require(rMap.IsEmpty() == rTwin.GetEntries().empty() && rMap.empty() == rMap.IsEmpty(), "whether it is empty");
        Require(rMap.GetCapacity() == rTwin.GetCapacity(), "the capacity");
        auto itTwin = rTwin.GetEntries().begin();
        for (const auto& [key, value] : std::as_const(rMap))
        {
            Require(itTwin->first == PlainOf(key), "a key");
            Require(itTwin->second.nValue == value, "a value");
            if (itTwin->second.pvEntry == nullptr) itTwin->second.pvEntry = &key;
            Require(itTwin->second.pvEntry == &key, "an entry has moved");
            ++itTwin;
        }
        for (auto it = rMap.rbegin(); it != rMap.rend(); ++it)
            Require((--itTwin)->second.pvEntry == &it->key, "an entry backwards");
    }
    template <typename Position, typename Found>
    void ExpectAt(Position itExpected, Found found)
    {
        Require((itExpected != m_pTwin->GetEntries().end()) == static_cast<bool>(found), "whether one is found");
        if (found) Require(itExpected->first == PlainOf(found->key), "which one is found");
    }
    // What is there after an insertion, which gave a result.
    void ExpectInserted(QvResult res, QvResult resGot, Handle entry)
    {
        Require(res == resGot, "the result");
        Require((res == QV_RES_OK || res == QV_RES_ALREADY_EXISTS) == static_cast<bool>(entry), "whether there is one");
        if (entry) Require(entry == m_pMap->Find(m_key) && entry->value == m_pTwin->Find(m_plain)->nValue, "which one");
    }
    QvResult InsertIntoTwin(long nValue) { return m_pTwin->Insert(m_plain, nValue, m_bRefuses); }

    void Count()
    {
        const QvResult res = InsertIntoTwin(0);
        const bool bThere = m_pTwin->Find(m_plain) != nullptr;
        try
        {
            if (m_nValue % 2 == 0) ++(*m_pMap)[m_key];
            else ++(*m_pMap)[K(m_key)];
            Require(bThere, "an entry is had where there is none");
            m_pTwin->Assign(m_plain, m_pTwin->Find(m_plain)->nValue + 1);
        }
        catch (const std::bad_alloc&)
        {
            Require(res < 0 && !bThere, "it throws though there is an entry");
        }
    }
    void Insert()
    {
        Handle entry;
        const QvResult res = InsertIntoTwin(m_nValue);
        ExpectInserted(res, m_pMap->Insert(m_key, m_nValue, &entry), entry);
    }
    void InsertMoved()
    {
        Handle entry;
        const QvResult res = InsertIntoTwin(m_nValue);
        K key(m_key);
        ExpectInserted(res, m_pMap->Insert(std::move(key), m_nValue, &entry), entry);
        // NOLINTNEXTLINE(bugprone-use-after-move): only what was put in is taken.
        Require(res == QV_RES_OK || PlainOf(key) == m_plain, "a key is gone that was refused");
    }
    void InsertOrAssign()
    {
        const QvResult res = InsertIntoTwin(m_nValue);
        const QvResult resGot =
            m_nValue % 2 == 0 ? m_pMap->InsertOrAssign(m_key, m_nValue) : m_pMap->InsertOrAssign(K(m_key), m_nValue);
        if (res == QV_RES_ALREADY_EXISTS) m_pTwin->Assign(m_plain, m_nValue);
        Require(resGot == (res == QV_RES_ALREADY_EXISTS ? QV_RES_OK : res), "the result");
    }
    void FindOrInsert()
    {
        Handle entry;
        const QvResult res = InsertIntoTwin(0);
        const QvResult resGot =
            m_nValue % 2 == 0 ? m_pMap->FindOrInsert(m_key, &entry) : m_pMap->FindOrInsert(K(m_key), &entry);
        ExpectInserted(res == QV_RES_ALREADY_EXISTS ? QV_RES_OK : res, resGot, entry);
    }
    void Emplace()
    {
        const QvResult res = InsertIntoTwin(m_nValue);
        const Handle entry = m_nValue % 2 == 0 ? m_pMap->Emplace(m_key, m_nValue) : m_pMap->Emplace(K(m_key), m_nValue);
        Require((res == QV_RES_OK) == static_cast<bool>(entry), "whether it is new");
        if (entry) Require(entry == m_pMap->Find(m_key), "which one it is");
    }
    void TryEmplace()
    {
        Handle entry;
        const QvResult res = InsertIntoTwin(0);
        const QvResult resGot =
            m_nValue % 2 == 0 ? m_pMap->TryEmplace(m_key, &entry) : m_pMap->TryEmplace(K(m_key), &entry);
        ExpectInserted(res, resGot, entry);
    }

    void Find()
    {
        ExpectAt(m_pTwin->GetEntries().find(m_plain), m_pMap->Find(m_key));
        ExpectAt(m_pTwin->GetEntries().find(m_plain), std::as_const(*m_pMap).Find(m_key));
        Require(m_pMap->contains(m_key) == (m_pTwin->Find(m_plain) != nullptr), "contains()");
    }
    void FindBounds()
    {
        ExpectAt(m_pTwin->GetEntries().lower_bound(m_plain), m_pMap->FindLowerBound(m_key));
        ExpectAt(m_pTwin->GetEntries().upper_bound(m_plain), m_pMap->FindUpperBound(m_key));
        ExpectAt(m_pTwin->GetEntries().lower_bound(m_plain), std::as_const(*m_pMap).FindLowerBound(m_key));
        ExpectAt(m_pTwin->GetEntries().upper_bound(m_plain), std::as_const(*m_pMap).FindUpperBound(m_key));
    }
    void GetAt()
    {
        const unsigned int uIndex = static_cast<unsigned int>(m_nValue) % 64;
        const auto* const pEntry = m_pMap->GetAt(uIndex);
        Require((uIndex < m_pTwin->GetSize()) == (pEntry != nullptr), "whether one is at an index");
        if (pEntry != nullptr)
            Require(std::next(m_pTwin->GetEntries().begin(), uIndex)->first == PlainOf(pEntry->key), "the one there");
    }

    void Erase() { Require(m_pTwin->Erase(m_plain) == m_pMap->Erase(m_key), "whether there was one"); }
    void EraseByHandle()
    {
        if (m_nValue % 2 == 0) m_pMap->Erase(m_pMap->Find(m_key));
        else m_pMap->Erase(std::as_const(*m_pMap).Find(m_key));
        m_pTwin->Erase(m_plain);
    }
    void EraseByItsOwnKey()
    {
        const Handle entry = m_pMap->Find(m_key);
        if (entry) Require(m_pMap->Erase(entry->key) && m_pTwin->Erase(m_plain), "it was there");
    }
    void EraseAll()
    {
        if (m_nValue % 2 == 0) m_pMap->EraseAll();
        else m_pMap->clear();
        m_pTwin->EraseAll();
    }

    void Copy()
    {
        Map copy(*m_pMap);
        Require(copy.GetSize() == (m_bRefuses ? 0 : m_pTwin->GetSize()), "the size of a copy");
        if (m_bRefuses) return;
        Require(copy == *m_pMap && !(copy != *m_pMap), "a copy is equal");
        Require(copy.GetCapacity() == copy.GetSize() && copy.GetLockCapacity() == 0, "and has no more");
        copy[m_key] = m_nValue;
        Require((copy != *m_pMap) == (m_pTwin->Find(m_plain) == nullptr || m_pTwin->Find(m_plain)->nValue != m_nValue),
                "until it is changed");
    }
    void Assign()
    {
        const unsigned int uOther = m_pMap == &m_maps[0] ? 1 : 0;
        m_source.Refuse(0, 0);
        *m_pMap = m_maps[uOther];
        m_pTwin->CopyEntries(m_twins[uOther]);
    }
    void Exchange()
    {
        switch (m_nValue % 4)
        {
            case 0: swap(m_maps[0], m_maps[1]); break;
            case 1: std::swap(m_maps[0], m_maps[1]); break;
            case 2: m_maps[0] = std::move(m_maps[1]); break;
            default:
                // One that is moved from is empty, and has no capacity.
                Map moved(std::move(m_maps[0]));
                Require(m_maps[0].IsEmpty() && m_maps[0].GetCapacity() == 0, "what is left behind");
                m_maps[0] = std::move(m_maps[1]);
                m_maps[1] = std::move(moved);
        }
        std::swap(m_twins[0], m_twins[1]);
    }
    void MakeOfARange()
    {
        std::vector<std::pair<K, long>> pairs;
        for (const auto& [key, value] : *m_pMap) pairs.emplace_back(key, value);
        pairs.emplace_back(m_key, m_nValue);
        try
        {
            const Map map(pairs.rbegin(), pairs.rend(), &m_source);
            Require(!m_bRefuses, "a refused node is missed");
            // Of equal keys the first one counts, which here is the last.
            const unsigned int uNew = m_pTwin->Find(m_plain) == nullptr ? 1 : 0;
            Require(map.GetSize() == m_pTwin->GetSize() + uNew && map.Find(m_key)->value == m_nValue, "what it holds");
        }
        catch (const std::bad_alloc&)
        {
            Require(m_bRefuses, "it throws though there is memory");
        }
    }

    void ReserveCapacity()
    {
        const unsigned int uCapacity = static_cast<unsigned int>(m_nValue) % 80;
        const QvResult res = m_pTwin->ReserveCapacity(uCapacity, m_bRefuses);
        Require(m_pMap->ReserveCapacity(uCapacity) == res, "the result");
    }
    void ReduceCapacity()
    {
        const unsigned int uCapacity = static_cast<unsigned int>(m_nValue) % 80;
        const QvResult res = m_pTwin->ReduceCapacity(uCapacity);
        Require(m_pMap->ReduceCapacity(uCapacity) == res, "the result");
    }
    void SetLockCapacity()
    {
        const bool bLocked = m_nValue % 4 == 0;
        m_pMap->SetLockCapacity(bLocked ? 1 : 0);
        m_pTwin->SetLocked(bLocked);
        Require((m_pMap->GetLockCapacity() != 0) == bLocked, "the lock");
    }

    static constexpr SOperation s_astOPERATIONS[] = {{"count", &CMapSteps::Count},
                                                     {"Insert", &CMapSteps::Insert},
                                                     {"Insert of a moved key", &CMapSteps::InsertMoved},
                                                     {"InsertOrAssign", &CMapSteps::InsertOrAssign},
                                                     {"FindOrInsert", &CMapSteps::FindOrInsert},
                                                     {"Emplace", &CMapSteps::Emplace},
                                                     {"TryEmplace", &CMapSteps::TryEmplace},
                                                     {"Find", &CMapSteps::Find},
                                                     {"bounds", &CMapSteps::FindBounds},
                                                     {"GetAt", &CMapSteps::GetAt},
                                                     {"Erase", &CMapSteps::Erase},
                                                     {"Erase by handle", &CMapSteps::EraseByHandle},
                                                     {"Erase by its own key", &CMapSteps::EraseByItsOwnKey},
                                                     {"EraseAll", &CMapSteps::EraseAll},
                                                     {"copy", &CMapSteps::Copy},
                                                     {"assignment", &CMapSteps::Assign},
                                                     {"exchange", &CMapSteps::Exchange},
                                                     {"a range", &CMapSteps::MakeOfARange},
                                                     {"ReserveCapacity", &CMapSteps::ReserveCapacity},
                                                     {"ReduceCapacity", &CMapSteps::ReduceCapacity},
                                                     {"SetLockCapacity", &CMapSteps::SetLockCapacity}};

    CFuzzInput& m_rInput;
    CTrace m_trace;
    CTracedSource m_source{m_trace};
    Map m_maps[2];
    Twin m_twins[2];
    // What the step is about.
    Map* m_pMap = nullptr;
    Twin* m_pTwin = nullptr;
    bool m_bRefuses = false;
    Plain m_plain{};
    K m_key{};
    long m_nValue = 0;
};

/// What differs between maps of numbers or texts and std::map in the operations that an input stands for; nothing
/// should.
inline std::string CompareMaps(const std::uint8_t* puData, std::size_t uSize)
{
    CFuzzInput input(puData, uSize);
    return input.Flag() ? CMapSteps<CString>(input).Run() : CMapSteps<int>(input).Run();
}
}  // namespace twin

#endif
