#include "framework/kernel/version.h"

#include <limits.h>
#include <stdint.h>

#include <algorithm>

#include "framework/kernel/internal/read_unsigned.h"
#include "framework/kernel/string_format.h"

static_assert(sizeof(CVersion) == 4, "field order and widths are the binary interface");

namespace
{
uint32_t Rank(const CVersion& rVersion)
{
    return uint32_t{rVersion.GetMajor()} << 24 | uint32_t{rVersion.GetMinor()} << 16 |
           uint32_t{rVersion.GetRelease()} << 8 | rVersion.GetBuild();
}

bool SkipDot(const char*& rpszText)
{
    return *rpszText++ == '.';
}
}  // namespace

CVersion::CVersion() : m_uMajor(0), m_uMinor(0), m_uRelease(0), m_uBuild(0)
{
}

CVersion::CVersion(const CVersion& rOther) = default;

CVersion::CVersion(const char* pszVersion)
{
    SetStr(pszVersion);
}

CVersion::~CVersion() = default;

CVersion& CVersion::operator=(const CVersion& rOther) = default;

unsigned char CVersion::GetMajor() const
{
    return m_uMajor;
}

unsigned char CVersion::GetMinor() const
{
    return m_uMinor;
}

unsigned char CVersion::GetRelease() const
{
    return m_uRelease;
}

unsigned char CVersion::GetBuild() const
{
    return m_uBuild;
}

CVersion& CVersion::SetMajor(unsigned char uMajor)
{
    m_uMajor = uMajor;
    return *this;
}

CVersion& CVersion::SetMinor(unsigned char uMinor)
{
    m_uMinor = uMinor;
    return *this;
}

CVersion& CVersion::SetRelease(unsigned char uRelease)
{
    m_uRelease = uRelease;
    return *this;
}

CVersion& CVersion::SetBuild(unsigned char uBuild)
{
    m_uBuild = uBuild;
    return *this;
}

int CVersion::GetStr(char* pszBuf, unsigned int uSize) const
{
    const int nSize = static_cast<int>(std::min<unsigned int>(uSize, INT_MAX));
    return QvSnprintf(pszBuf, nSize, "%u.%u.%u.%u", unsigned{m_uMajor}, unsigned{m_uMinor}, unsigned{m_uRelease},
                      unsigned{m_uBuild});
}

bool CVersion::SetStr(const char* pszVersion)
{
    if (pszVersion == nullptr) return false;
    unsigned char auParts[4];
    const char* pszRest = pszVersion;
    for (int nPart = 0; nPart < 4; ++nPart)
    {
        unsigned int uPart = 0;
        if (nPart != 0 && !SkipDot(pszRest)) return false;
        if (!orvel_internal::ReadUnsigned(pszRest, UCHAR_MAX, uPart)) return false;
        auParts[nPart] = static_cast<unsigned char>(uPart);
    }
    m_uMajor = auParts[0];
    m_uMinor = auParts[1];
    m_uRelease = auParts[2];
    m_uBuild = auParts[3];
    return true;
}

bool CVersion::operator==(const CVersion& rOther) const
{
    return Rank(*this) == Rank(rOther);
}

bool CVersion::operator!=(const CVersion& rOther) const
{
    return !(*this == rOther);
}

bool CVersion::operator<(const CVersion& rOther) const
{
    return Rank(*this) < Rank(rOther);
}

bool CVersion::operator<=(const CVersion& rOther) const
{
    return *this < rOther || *this == rOther;
}

bool CVersion::operator>(const CVersion& rOther) const
{
    return !(*this <= rOther);
}

bool CVersion::operator>=(const CVersion& rOther) const
{
    return !(*this < rOther);
}

// By value: part of the binary interface. NOLINTNEXTLINE(performance-unnecessary-value-param)
bool CVersion::IsInRange(CVersion minimum, CVersion maximum) const
{
    return minimum <= *this && *this <= maximum;
}
