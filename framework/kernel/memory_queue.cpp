#include "framework/kernel/memory_queue.h"

#include <algorithm>
#include <new>

static_assert(sizeof(CMemoryQueue) == 56, "field order and widths are the binary interface");

template QV_EXPORT unsigned int QV_ALIGNUP_VAL<unsigned int>(unsigned int, unsigned long);
template QV_EXPORT unsigned char* QV_ALIGNUP_PTR<unsigned char*>(unsigned char*, long);

namespace
{
// The inline members belong to the binary interface: this makes the compiler emit them.
struct SEmitted
{
    unsigned char* (CMemoryQueue::*pfnPush)(unsigned int);
    bool (CMemoryQueue::*pfnCommit)(const unsigned char*);
    unsigned char* (CMemoryQueue::*pfnPeek)(unsigned int*) const;
    bool (CMemoryQueue::*pfnPop)();
};
[[gnu::used]] constexpr SEmitted g_stEMITTED = {&CMemoryQueue::Push, &CMemoryQueue::Commit, &CMemoryQueue::Peek,
                                                &CMemoryQueue::Pop};
}  // namespace

CMemoryQueue::CMemoryQueue()
    : m_puBegin(nullptr), m_puEnd(nullptr), m_puDataEnd(nullptr), m_puRead(nullptr), m_puWrite(nullptr), m_uAlignment(0)
{
}

CMemoryQueue::~CMemoryQueue()
{
    Uninitialize();
}

bool CMemoryQueue::Initialize(unsigned int uSize, unsigned int uAlignment)
{
    if (m_puBegin != nullptr || (uAlignment & (uAlignment - 1)) != 0) return false;
    const unsigned int uBufferSize = std::max(uSize, uHEADER_SIZE);
    m_puBegin = new (std::nothrow) unsigned char[uBufferSize];
    if (m_puBegin == nullptr) return false;
    m_puDataEnd = m_puEnd = m_puBegin + uBufferSize;
    m_puRead = m_puBegin;
    MoveWriter(m_puBegin);
    m_uAlignment = std::max(uAlignment, 1U);
    return true;
}

void CMemoryQueue::Uninitialize()
{
    delete[] m_puBegin;
    m_puBegin = m_puEnd = m_puDataEnd = m_puRead = m_puWrite = nullptr;
    m_uAlignment = 0;
}
