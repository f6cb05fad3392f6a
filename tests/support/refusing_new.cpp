#include "tests/support/refusing_new.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <mutex>

namespace
{
// How many requests are still granted before those that are not; negative: none is refused.
constexpr long g_nNONE = -1;
std::atomic<long> g_nGranted = g_nNONE;
std::atomic<unsigned int> g_uForms = 0;
std::atomic<std::size_t> g_uOnlySize = 0;
std::atomic<bool> g_bAllBehind = false;
std::atomic<bool> g_bRefused = false;
std::atomic<void (*)()> g_pfnRefused = nullptr;
std::atomic<bool> g_bKeep = false;
std::atomic<long> g_nLive = 0;
std::atomic<CNewRecord*> g_pRecord = nullptr;
std::mutex g_recordMutex;

bool IsMeant(ENewForms eForm, std::size_t uSize, unsigned int uForms, std::size_t uOnlySize)
{
    return (uForms & eForm) != 0 && (uOnlySize == 0 || uSize == uOnlySize);
}

#if TESTS_OWN_OPERATOR_NEW
bool IsRefused(ENewForms eForm, std::size_t uSize)
{
    if (g_nGranted.load() < 0 || !IsMeant(eForm, uSize, g_uForms, g_uOnlySize)) return false;
    const long nGranted = g_nGranted.fetch_sub(1);
    // Another thread may have taken the last grant meanwhile.
    if (nGranted > 0 || (nGranted < 0 && !g_bAllBehind)) return false;
    if (g_bAllBehind) g_nGranted = 0;
    g_bRefused = true;
    if (g_pfnRefused != nullptr) g_pfnRefused.load()();
    return true;
}

void* Take(ENewForms eForm, std::size_t uSize, std::size_t uAlignment = alignof(std::max_align_t))
{
    constexpr std::size_t uFILLED = 65536;  // of what is larger, the beginning: it may be more than the machine has
    const std::size_t uRounded =
        (uSize + uAlignment) / uAlignment * uAlignment;  // aligned_alloc() wants a multiple, not 0
    void* pvBlock = nullptr;
    if (!IsRefused(eForm, uSize))
        pvBlock = uAlignment > alignof(std::max_align_t) ? std::aligned_alloc(uAlignment, uRounded)
                                                         : std::malloc(uSize == 0 ? 1 : uSize);
    if (pvBlock != nullptr)
    {
        ++g_nLive;
        std::memset(pvBlock, 0xEE, std::min(uSize, uFILLED));
    }
    if (g_pRecord != nullptr) CNewRecord::NoteRequest(eForm, uSize, pvBlock);
    return pvBlock;
}

void Give(bool bArray, void* pvBlock)
{
    if (pvBlock == nullptr) return;
    --g_nLive;
    if (g_pRecord != nullptr) CNewRecord::NoteFree(bArray, pvBlock);
    if (!g_bKeep) std::free(pvBlock);
}

void* OrThrow(void* pvBlock)
{
    if (pvBlock == nullptr) throw std::bad_alloc();
    return pvBlock;
}
#endif
}  // namespace

CRefusingNew::CRefusingNew(unsigned long uNth, ENewForms eForms, ERefused eRefused, std::size_t uOnlySize)
{
    g_bRefused = false;
    g_bAllBehind = eRefused == ERefused::eALL_BEHIND;
    g_uForms = eForms;
    g_uOnlySize = uOnlySize;
    g_nGranted = static_cast<long>(uNth);
}

CRefusingNew::~CRefusingNew()
{
    g_nGranted = g_nNONE;
}

bool CRefusingNew::HasRefused() const
{
    return g_bRefused;
}

CNewRecord::CNewRecord(ENewForms eForms, std::size_t uOnlySize)
    : m_pOuter(g_pRecord), m_uForms(eForms), m_uOnlySize(uOnlySize)
{
    g_pRecord = this;
}

CNewRecord::~CNewRecord()
{
    g_pRecord = m_pOuter;
}

std::size_t CNewRecord::GetSizeOf(const void* pv) const
{
    const auto found = m_live.find(pv);
    return found == m_live.end() ? 0 : found->second;
}

void CNewRecord::NoteRequest(ENewForms eForm, std::size_t uSize, void* pv)
{
    const std::lock_guard guard(g_recordMutex);
    for (CNewRecord* p = g_pRecord; p != nullptr; p = p->m_pOuter)
    {
        if (!IsMeant(eForm, uSize, p->m_uForms, p->m_uOnlySize)) continue;
        p->m_requests.push_back(uSize);
        if (pv == nullptr) continue;
        p->m_made.push_back({pv, uSize});
        p->m_live[pv] = uSize;
    }
}

void CNewRecord::NoteFree(bool bArray, void* pv)
{
    const std::lock_guard guard(g_recordMutex);
    for (CNewRecord* p = g_pRecord; p != nullptr; p = p->m_pOuter)
    {
        const bool bLive = p->m_live.erase(pv) != 0;
        const unsigned int uForms = bArray ? eARRAYS : eNEW_OBJECT | eNOTHROW_OBJECT;
        if (bLive || (p->m_uOnlySize == 0 && (p->m_uForms & uForms) != 0)) p->m_freed.push_back(pv);
    }
}

long LiveNewBlocks()
{
    return g_nLive;
}

void CallWhenNewRefuses(void (*pfn)())
{
    g_pfnRefused = pfn;
}

void KeepDeletedBlocks()
{
    g_bKeep = true;
}

#if TESTS_OWN_OPERATOR_NEW
// Out of line, lest a compiler sees malloc() on one side and operator delete on the other.
#define ORVEL_OUT_OF_LINE __attribute__((noinline))
ORVEL_OUT_OF_LINE void* operator new(std::size_t uSize)
{
    return OrThrow(Take(eNEW_OBJECT, uSize));
}
ORVEL_OUT_OF_LINE void* operator new[](std::size_t uSize)
{
    return OrThrow(Take(eNEW_ARRAY, uSize));
}
ORVEL_OUT_OF_LINE void* operator new(std::size_t uSize, const std::nothrow_t&) noexcept
{
    return Take(eNOTHROW_OBJECT, uSize);
}
ORVEL_OUT_OF_LINE void* operator new[](std::size_t uSize, const std::nothrow_t&) noexcept
{
    return Take(eNOTHROW_ARRAY, uSize);
}
ORVEL_OUT_OF_LINE void* operator new(std::size_t uSize, std::align_val_t eAlignment)
{
    return OrThrow(Take(eNEW_OBJECT, uSize, static_cast<std::size_t>(eAlignment)));
}
ORVEL_OUT_OF_LINE void* operator new[](std::size_t uSize, std::align_val_t eAlignment)
{
    return OrThrow(Take(eNEW_ARRAY, uSize, static_cast<std::size_t>(eAlignment)));
}
ORVEL_OUT_OF_LINE void* operator new(std::size_t uSize, std::align_val_t eAlignment, const std::nothrow_t&) noexcept
{
    return Take(eNOTHROW_OBJECT, uSize, static_cast<std::size_t>(eAlignment));
}
ORVEL_OUT_OF_LINE void* operator new[](std::size_t uSize, std::align_val_t eAlignment, const std::nothrow_t&) noexcept
{
    return Take(eNOTHROW_ARRAY, uSize, static_cast<std::size_t>(eAlignment));
}
ORVEL_OUT_OF_LINE void operator delete(void* pvBlock) noexcept
{
    Give(false, pvBlock);
}
ORVEL_OUT_OF_LINE void operator delete[](void* pvBlock) noexcept
{
    Give(true, pvBlock);
}
ORVEL_OUT_OF_LINE void operator delete(void* pvBlock, std::size_t) noexcept
{
    Give(false, pvBlock);
}
ORVEL_OUT_OF_LINE void operator delete[](void* pvBlock, std::size_t) noexcept
{
    Give(true, pvBlock);
}
ORVEL_OUT_OF_LINE void operator delete(void* pvBlock, const std::nothrow_t&) noexcept
{
    Give(false, pvBlock);
}
ORVEL_OUT_OF_LINE void operator delete[](void* pvBlock, const std::nothrow_t&) noexcept
{
    Give(true, pvBlock);
}
ORVEL_OUT_OF_LINE void operator delete(void* pvBlock, std::align_val_t) noexcept
{
    Give(false, pvBlock);
}
ORVEL_OUT_OF_LINE void operator delete[](void* pvBlock, std::align_val_t) noexcept
{
    Give(true, pvBlock);
}
ORVEL_OUT_OF_LINE void operator delete(void* pvBlock, std::size_t, std::align_val_t) noexcept
{
    Give(false, pvBlock);
}
ORVEL_OUT_OF_LINE void operator delete[](void* pvBlock, std::size_t, std::align_val_t) noexcept
{
    Give(true, pvBlock);
}
#endif
