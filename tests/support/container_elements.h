#ifndef TESTS_SUPPORT_CONTAINER_ELEMENTS_H
#define TESTS_SUPPORT_CONTAINER_ELEMENTS_H
#include <cstddef>
#include <utility>
#include <vector>

/// An element that counts its lives, and notices when it is copied from or destroyed where none lives.
class CCounted
{
public:
    explicit CCounted(int nValue = 0) : m_nValue(nValue), m_pSelf(this) { ++ms_nLive; }
    CCounted(const CCounted& rSrc) : m_nValue(rSrc.GetValue()), m_pSelf(this) { ++ms_nLive; }
    CCounted& operator=(const CCounted& rSrc)
    {
        m_nValue = rSrc.GetValue();
        return *this;
    }
    ~CCounted()
    {
        GetValue();
        m_pSelf = nullptr;
        --ms_nLive;
    }

    int GetValue() const
    {
        if (m_pSelf != this) ++ms_nStray;
        return m_nValue;
    }
    void SetValue(int nValue) { m_nValue = nValue; }
    friend bool operator<(const CCounted& rFirst, const CCounted& rSecond)
    {
        return rFirst.GetValue() < rSecond.GetValue();
    }

    static inline int ms_nLive = 0;
    static inline int ms_nStray = 0;

private:
    int m_nValue;
    const CCounted* m_pSelf;
};

/// As a callback: by value.
inline int CompareCounted(const void* pFirst, const void* pSecond, unsigned int)
{
    const int nFirst = static_cast<const CCounted*>(pFirst)->GetValue();
    const int nSecond = static_cast<const CCounted*>(pSecond)->GetValue();
    return nFirst < nSecond ? -1 : nFirst > nSecond;
}

/// An element that comparisons see by its key, and the log of comparisons by its name.
struct SKeyed
{
    int nKey;
    int nName;
};

/// The names of what was compared, in order.
using CCallLog = std::vector<std::pair<int, int>>;
inline CCallLog g_callLog;
constexpr unsigned int g_uLOG_PARAM = 0xC0FFEE;

inline int CompareLogging(const void* pFirst, const void* pSecond, unsigned int uParam)
{
    const SKeyed& rFirst = *static_cast<const SKeyed*>(pFirst);
    const SKeyed& rSecond = *static_cast<const SKeyed*>(pSecond);
    g_callLog.emplace_back(rFirst.nName, uParam == g_uLOG_PARAM ? rSecond.nName : -1);
    return rFirst.nKey < rSecond.nKey ? -1 : rFirst.nKey > rSecond.nKey;
}

/// What an operation asked, from an empty log on.
template <typename Operation>
CCallLog CallsOf(Operation operation)
{
    g_callLog.clear();
    operation();
    return std::move(g_callLog);
}

#endif
