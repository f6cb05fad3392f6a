#include "examples/journal/progress.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>

namespace
{
constexpr std::chrono::milliseconds g_FIRST_AFTER(500);
constexpr std::chrono::milliseconds g_NEXT_AFTER(250);
constexpr char g_szERASE_LINE[] = "\r\033[K";
}  // namespace

CProgress::CProgress(const char* pszDoing, uint64_t uTotalBytes)
    : m_pszDoing(pszDoing),
      m_uTotalBytes(uTotalBytes),
      m_bOnTerminal(isatty(STDERR_FILENO) == 1),
      m_next(CClock::now() + g_FIRST_AFTER)
{
}

CProgress::~CProgress()
{
    Erase();
}

void CProgress::Advance(uint64_t uBytes)
{
    m_uBytes += uBytes;
    ++m_uRecords;
    if (!m_bOnTerminal || m_bHidden) return;
    const CClock::time_point now = CClock::now();
    if (now < m_next) return;
    m_next = now + g_NEXT_AFTER;
    Show();
}

void CProgress::SetHidden(bool bHidden)
{
    m_bHidden = bHidden;
    if (bHidden) Erase();
}

void CProgress::Show()
{
    m_bShown = true;
    std::fprintf(stderr, "%s%s: %lu records", g_szERASE_LINE, m_pszDoing, m_uRecords);
    // A file may have grown since its size was taken.
    if (m_uTotalBytes != 0) std::fprintf(stderr, ", %lu %%", std::min<uint64_t>(m_uBytes * 100 / m_uTotalBytes, 100));
}

void CProgress::Erase()
{
    if (m_bShown) std::fputs(g_szERASE_LINE, stderr);
    m_bShown = false;
}
