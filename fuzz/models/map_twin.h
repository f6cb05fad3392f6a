#ifndef FUZZ_MODELS_MAP_TWIN_H
#define FUZZ_MODELS_MAP_TWIN_H
#include <map>
#include <string>

#include "framework/kernel/result.h"

namespace twin
{
/// CMap<K, long> once more, over std::map and with as many nodes as the capacity says. K is a number or a text.
template <typename K>
class CMapTwin
{
public:
    struct SValue
    {
        long nValue = 0;
        /// Where the entry was seen first: there it stays.
        const void* pvEntry = nullptr;
    };
    using Entries = std::map<K, SValue>;

    Entries& GetEntries() { return m_entries; }
    const SValue* Find(const K& rKey) const
    {
        const auto it = m_entries.find(rKey);
        return it != m_entries.end() ? &it->second : nullptr;
    }

    /// What putting a key in gives. The source refuses what it is asked for, or does not.
    QvResult Insert(const K& rKey, long nValue, bool bRefuses)
    {
        if (m_entries.count(rKey) != 0) return QV_RES_ALREADY_EXISTS;
        if (m_uFree == 0 && m_bLocked) return QV_RES_INVALID_STATE;
        if (m_uFree == 0 && bRefuses) return QV_RES_OUT_OF_MEMORY;
        if (m_uFree != 0) --m_uFree;
        m_entries[rKey].nValue = nValue;
        return QV_RES_OK;
    }
    void Assign(const K& rKey, long nValue) { m_entries[rKey].nValue = nValue; }
    bool Erase(const K& rKey)
    {
        if (m_entries.erase(rKey) == 0) return false;
        ++m_uFree;
        return true;
    }
    void EraseAll()
    {
        m_uFree += GetSize();
        m_entries.clear();
    }
    /// Entries, neither capacity nor lock.
    void CopyEntries(const CMapTwin& rSrc)
    {
        const QvResult res = ReserveCapacity(rSrc.GetSize(), false);
        if (res < 0) return;
        EraseAll();
        m_uFree -= rSrc.GetSize();
        for (const auto& [key, value] : rSrc.m_entries) m_entries[key].nValue = value.nValue;
    }

    unsigned int GetSize() const { return static_cast<unsigned int>(m_entries.size()); }
    unsigned int GetCapacity() const { return GetSize() + m_uFree; }
    void SetLocked(bool bLocked) { m_bLocked = bLocked; }
    bool IsLocked() const { return m_bLocked; }
    QvResult ReserveCapacity(unsigned int uCapacity, bool bRefuses)
    {
        if (GetCapacity() >= uCapacity) return QV_RES_OK;
        if (m_bLocked) return QV_RES_INVALID_STATE;
        if (bRefuses) return QV_RES_OUT_OF_MEMORY;
        m_uFree = uCapacity - GetSize();
        return QV_RES_OK;
    }
    QvResult ReduceCapacity(unsigned int uCapacity)
    {
        if (m_bLocked) return QV_RES_INVALID_STATE;
        const unsigned int uKept = uCapacity > GetSize() ? uCapacity - GetSize() : 0;
        if (m_uFree > uKept) m_uFree = uKept;
        return QV_RES_OK;
    }

private:
    Entries m_entries;
    unsigned int m_uFree = 0;
    bool m_bLocked = false;
};
}  // namespace twin

#endif
