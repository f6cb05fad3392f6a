#ifndef TESTS_SUPPORT_STRING_PROBE_H
#define TESTS_SUPPORT_STRING_PROBE_H
#include <cstdint>
#include <cstring>
#include <string>

#include "framework/basic/string.h"

/// A string that shows what CString keeps from its users.
class CStringProbe : public CString
{
public:
    using CString::CString;
    using CString::operator=;
    CStringProbe() = default;
    explicit CStringProbe(const CString& rSrc) : CString(rSrc) {}

    using CString::CreateCopy;
    using CString::DecRefCount;
    using CString::GetRefCount;
    using CString::IncRefCount;
    using CString::MakeNullSafe;
    using CString::MutexLock;
    using CString::MutexUnlock;
    using CString::Release;
    using CString::SStringInfo;

    using CString::ms_auEmptyStringInfo;
    using CString::ms_auMutex;
    using CString::ms_pAllocator;
    using CString::ms_pmutex;
    using CString::ms_pstEmptyStringInfo;
};

/// The words in front of the characters, as they lie in memory.
struct SStringHeader
{
    std::uint16_t uRefCount;
    std::uint16_t uCapacity;
    std::uint16_t uSize;
};

inline SStringHeader HeaderOf(const CString& rString)
{
    SStringHeader stHeader;
    std::memcpy(&stHeader, rString.CStr() - sizeof stHeader, sizeof stHeader);
    return stHeader;
}

inline unsigned int ShareCountOf(const CString& rString)
{
    return HeaderOf(rString).uRefCount;
}

inline std::string TextOf(const CString& rString)
{
    return std::string(rString.CStr(), rString.GetSize());
}

/// A string of these characters, NULs included.
inline CString StringOf(const std::string& rText)
{
    return CString(rText.data(), static_cast<unsigned int>(rText.size()));
}

/// While it lives, string blocks come from another allocator. Strings must not live across either end of it.
class CStringAllocatorScope
{
public:
    explicit CStringAllocatorScope(IAllocator& rAllocator) : m_pSaved(CStringProbe::ms_pAllocator)
    {
        CStringProbe::ms_pAllocator = &rAllocator;
    }
    ~CStringAllocatorScope() { CStringProbe::ms_pAllocator = m_pSaved; }
    CStringAllocatorScope(const CStringAllocatorScope&) = delete;
    CStringAllocatorScope& operator=(const CStringAllocatorScope&) = delete;

private:
    IAllocator* m_pSaved;
};

#endif
