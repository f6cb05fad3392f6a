#ifndef TESTS_BASIC_TRACED_VECTOR_H
#define TESTS_BASIC_TRACED_VECTOR_H
#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "framework/basic/vector.h"

/// What was done to which element, in order, with addresses translated to names when the story is told.
class CTrace
{
public:
    void Add(const std::string& strWho, const char* pszWhat, const void* pv1, const void* pv2 = nullptr)
    {
        m_events.push_back({strWho, pszWhat, pv1, pv2});
    }
    /// Element u from pvFirst on is called strName followed by u.
    void Name(const std::string& strName, const void* pvFirst, unsigned int uCount, unsigned int uElementSize)
    {
        const unsigned char* puElement = static_cast<const unsigned char*>(pvFirst);
        for (unsigned int u = 0; u < uCount; ++u, puElement += uElementSize)
            m_names[puElement] = strName + std::to_string(u);
    }
    void Name(const std::string& strName, const void* pv) { m_names[pv] = strName; }
    /// The events since the last Clear(); addresses without a name are ?1, ?2 ... as they first appear.
    std::string Text()
    {
        std::ostringstream text;
        unsigned int uUnknown = 0;
        const auto name = [&](const void* pv) -> const std::string&
        {
            std::string& rstrName = m_names[pv];
            if (rstrName.empty()) rstrName.append(1, '?').append(std::to_string(++uUnknown));
            return rstrName;
        };
        const char* pszSeparator = "";
        for (const SEvent& rEvent : m_events)
        {
            text << pszSeparator << rEvent.strWho << '.' << rEvent.pszWhat << '(' << name(rEvent.pv1);
            if (rEvent.pv2 != nullptr) text << ',' << name(rEvent.pv2);
            text << ')';
            pszSeparator = " ";
        }
        return text.str();
    }
    void Clear()
    {
        m_events.clear();
        m_names.clear();
    }

private:
    struct SEvent
    {
        std::string strWho;
        const char* pszWhat;
        const void* pv1;
        const void* pv2;
    };
    std::vector<SEvent> m_events;
    std::map<const void*, std::string> m_names;
};

/// A vector of int that tells its trace about every element operation, and opens what is protected.
class CTracedVector : public CVectorBase
{
public:
    CTracedVector(CTrace& rTrace, const char* pszName, bool bConstruct, IAllocator* pAllocator)
        : CVectorBase(sizeof(int), bConstruct, pAllocator), m_rTrace(rTrace), m_strName(pszName)
    {
    }
    CTracedVector(const CTracedVector&) = delete;
    CTracedVector& operator=(const CTracedVector& rSrc)
    {
        CVectorBase::operator=(rSrc);
        return *this;
    }
    ~CTracedVector() override { EraseAll(); }

    void Construct(void* pElement) override
    {
        m_rTrace.Add(m_strName, "Construct", pElement);
        const int nValue = -1;
        memcpy(pElement, &nValue, sizeof(int));
    }
    void ConstructFrom(void* pElement, const void* pSource) override
    {
        m_rTrace.Add(m_strName, "From", pElement, pSource);
        memcpy(pElement, pSource, sizeof(int));
    }
    void Destruct(void* pElement) override
    {
        m_rTrace.Add(m_strName, "Destruct", pElement);
        memset(pElement, 0xEE, sizeof(int));
    }

    using CVectorBase::InternalFindSorted;
    void* Scratch() const { return m_pvScratch; }
    void* Storage() const { return m_pvStorage; }
    /// Gives the slots of the current storage names.
    void NameSlots(const std::string& strName) { m_rTrace.Name(strName, m_pvStorage, m_uCapacity, sizeof(int)); }

private:
    CTrace& m_rTrace;
    const std::string m_strName;
};

inline void Fill(CVectorBase& rVector, const std::vector<int>& values)
{
    const unsigned int uSize = static_cast<unsigned int>(values.size());
    ASSERT_EQ(QV_RES_OK, rVector.ReserveCapacity(uSize));
    for (unsigned int u = 0; u < uSize; ++u) ASSERT_EQ(QV_RES_OK, rVector.Insert(u, 1, &values[u]));
}

inline std::vector<int> ValuesOf(const CVectorBase& rVector)
{
    std::vector<int> values(rVector.GetSize());
    for (unsigned int u = 0; u < rVector.GetSize(); ++u) memcpy(&values[u], rVector.GetAt(u), sizeof(int));
    return values;
}

inline int CompareInts(const void* pElement, const void* pKey, unsigned int)
{
    const int nElement = *static_cast<const int*>(pElement);
    const int nKey = *static_cast<const int*>(pKey);
    return (nElement > nKey) - (nElement < nKey);
}

#endif
