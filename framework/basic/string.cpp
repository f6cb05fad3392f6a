// Sharing. A string is a pointer to a block, and a copy of a string is the same pointer:
// ```
//   CString --+    0        2          4      6
//             +--> | shares | capacity | size | characters NUL ... |     allocated: capacity + 8 bytes
//   CString --+    |<- link word of a free block ->|
// ```
// - Who counts. ms_pmutex guards the share counts of all strings. A count of 1 can be raised only through the one
//   string that has the share, so that a string which reads 1 goes on without the mutex; only a count above 1 is read
//   again under it, since the other shares may be ending meanwhile. A share is given up with release order and
//   IsShared() reads with acquire order: the last one left writes where the others have read. A count that is full, at
//   65,535, is not raised: the next copy gets a block of its own.
// - When characters are copied. Nothing is written into a block whose count is above 1. What changes a string makes its
//   block private first, and leaves the string alone if there is no memory for that.
// - The empty block, in ms_auEmptyStringInfo, is what every string without characters of its own points at. Its count
//   is 0, which no other has: it is neither counted, nor freed, nor written to, so that any thread may read it.
// - Start-up and shut-down. The three pointers to statics are null while the module is down: whoever needs one passes
//   it through RequireUp(). After the shut-down a string may still be read and destroyed, since neither needs a static;
//   the block of its last share is then left behind, because the allocator that it came from may be gone.
//
// A text that an operation is given may lie in the string's own block, behind the size as well, where Resize() and
// GetBuffer() leave texts. A new block takes over nothing behind the size, and the old one may be gone with the last
// share: a new block is filled before the old one is given up, and in place such a text is copied aside.
#include "framework/basic/string.h"

#include <ctype.h>
#include <stdio.h>
#include <string.h>

#include <algorithm>
#include <atomic>
#include <memory>
#include <new>

#include "framework/kernel/internal/lifetime.h"

static_assert(sizeof(CString) == 16, "field order and widths are the binary interface");

const char g_szEMPTY_STRING[1] = "";
const char g_szNULL[5] = "NULL";

alignas(CMutex) unsigned char CString::ms_auMutex[sizeof(CMutex)];
CMutex* CString::ms_pmutex = nullptr;
IAllocator* CString::ms_pAllocator = nullptr;
alignas(uint16_t) unsigned char CString::ms_auEmptyStringInfo[sizeof(SStringInfo)];
CString::SStringInfo* CString::ms_pstEmptyStringInfo = nullptr;

namespace
{
constexpr unsigned int g_uGROWTH_STEP = 32;
// The fields before the characters, their NUL and a spare byte.
constexpr unsigned int g_uBLOCK_OVERHEAD = 8;
constexpr unsigned int g_uRELEASED_SIZE = 8;  // what a string tells the allocator, whatever its capacity
constexpr unsigned int g_uMAX_REF_COUNT = 65535;

unsigned int RoundUpCapacity(unsigned int uCapacity)
{
    return std::min((uCapacity + g_uGROWTH_STEP - 1) / g_uGROWTH_STEP * g_uGROWTH_STEP, CString::uMAX_SIZE);
}

// The capacity that doubling from uCapacity reaches for uLength characters behind uStartIndex, or 0 for none.
unsigned int CapacityToFormat(unsigned int uCapacity, unsigned int uStartIndex, unsigned int uLength)
{
    if (uCapacity == 0) uCapacity = g_uGROWTH_STEP;
    while (uLength >= uCapacity - uStartIndex)
    {
        // 16 bits on purpose: the end of growth, pinned by CStringFormatLimit.DoublingIn16BitsDecidesWhatFindsRoom.
        const uint16_t uDoubled = static_cast<uint16_t>(uCapacity * 2);
        if (uDoubled <= uCapacity) return 0;
        uCapacity = uDoubled;
    }
    return uCapacity;
}

// The first occurrence of a text that is not empty; null when there is none.
const char* FindIn(const char* pBegin, const char* pEnd, STextPiece text)
{
    const size_t uSize = static_cast<size_t>(pEnd - pBegin);
    const void* const pvFound =
        text.uSize == 1 ? memchr(pBegin, *text.pText, uSize) : memmem(pBegin, uSize, text.pText, text.uSize);
    return static_cast<const char*>(pvFound);
}

// Copies a run of characters with each occurrence of a text replaced, the first of which begins at pFound, and returns
// the end of what it has written. In place as well, where that gets no longer.
char* CopyReplacing(char* pDest, const char* pBegin, const char* pEnd, const char* pFound, STextPiece oldText,
                    STextPiece newText)
{
    while (pFound != nullptr)
    {
        const size_t uKept = static_cast<size_t>(pFound - pBegin);
        if (pDest != pBegin) memmove(pDest, pBegin, uKept);
        memcpy(pDest + uKept, newText.pText, newText.uSize);
        pDest += uKept + newText.uSize;
        pBegin = pFound + oldText.uSize;
        pFound = FindIn(pBegin, pEnd, oldText);
    }
    const size_t uKept = static_cast<size_t>(pEnd - pBegin);
    if (pDest != pBegin) memmove(pDest, pBegin, uKept);
    return pDest + uKept;
}

bool IsOneOf(char c, STextPiece characters)
{
    for (size_t u = 0; u != characters.uSize; ++u)
    {
        if (characters.pText[u] == c) return true;
    }
    return false;
}

int LowerCase(char c)
{
    return tolower(static_cast<unsigned char>(c));
}

int UpperCase(char c)
{
    return toupper(static_cast<unsigned char>(c));
}

// vsnprintf() on a copy of the list, which can so be read again.
__attribute__((format(printf, 3, 0))) int FormatInto(char* pszBuffer, size_t uSize, const char* pszFormat, va_list args)
{
    va_list argsOfThisPass;
    va_copy(argsOfThisPass, args);
    const int nLength = vsnprintf(pszBuffer, uSize, pszFormat, argsOfThisPass);
    va_end(argsOfThisPass);
    return nLength;
}

using Aside = std::unique_ptr<char[]>;

// memcpy() that makes no call for the sizes that are appended most often.
void CopyFew(char* pszDest, const char* pszSrc, unsigned int uSize)
{
    if (uSize == 1) *pszDest = *pszSrc;
    else if (uSize - 4 > 12) memcpy(pszDest, pszSrc, uSize);
    else
    {
        // Two words, which meet or overlap.
        const unsigned int uLast = uSize - (uSize >= 8 ? 8 : 4);
        if (uSize >= 8)
        {
            memcpy(pszDest + uLast, pszSrc + uLast, 8);
            memcpy(pszDest, pszSrc, 8);
        }
        else
        {
            memcpy(pszDest + uLast, pszSrc + uLast, 4);
            memcpy(pszDest, pszSrc, 4);
        }
    }
}

// Returns the end of what it has written.
char* Repeat(char* pszDest, unsigned int uRepetition, const char* pszSrc, unsigned int uSize)
{
    if (uSize == 0) return pszDest;  // an empty text may come four thousand million times
    if (uSize == 1 && uRepetition != 1) return static_cast<char*>(memset(pszDest, *pszSrc, uRepetition)) + uRepetition;
    for (; uRepetition != 0; --uRepetition, pszDest += uSize) CopyFew(pszDest, pszSrc, uSize);
    return pszDest;
}

// The inline members belong to the binary interface: this makes the compiler emit them.
struct SEmitted
{
    const char* (CString::*pfnCStr)() const;
    unsigned int (CString::*apfnCounts[2])() const;
    const char& (CString::*pfnGetAt)(unsigned int) const;
    bool (CString::*pfnEqual)(const CString&) const;
    bool (CString::*pfnEqualText)(const char*) const;
    bool (CString::*pfnLess)(const CString&) const;
    char* (CString::*pfnGetBuffer)();
    void (CString::*pfnSetAt)(unsigned int, char);
    CString& (CString::*pfnAppend)(const CString&);
    CString& (CString::*pfnAppendText)(const char*);
    CString& (CString::*pfnAppendCharacter)(char);
};
[[gnu::used]] constexpr SEmitted g_stEMITTED = {&CString::CStr, {&CString::GetSize, &CString::GetCapacity},
                                                &CString::GetAt, &CString::operator==, &CString::operator==,
                                                &CString::operator<, &CString::GetBuffer, &CString::SetAt,
                                                &CString::operator+=, &CString::operator+=, &CString::operator+= };
}  // namespace

// Gives back a block that this string alone has a share of.
inline void CString::FreeBlock()
{
    SStringInfo* const pstInfo = m_pstInfo;
    IAllocator* const pAllocator = ms_pAllocator;
    if (pstInfo == ms_pstEmptyStringInfo || pAllocator == nullptr) return;  // no allocator: after the shut-down
    // The header becomes the link word of a chain of one block.
    static_assert(sizeof(SStringInfo) == sizeof(IAllocator::SBlock), "cleared as one word");
    memset(pstInfo, 0, sizeof(SStringInfo));
    pAllocator->Release(reinterpret_cast<IAllocator::SBlock*>(pstInfo), g_uRELEASED_SIZE);
}

// A private block whose characters and their NUL are still to be set; null when memory runs out.
inline CString::SStringInfo* CString::NewBlock(unsigned int uCapacity, unsigned int uSize)
{
    IAllocator* const pAllocator = orvel_internal::RequireUp(ms_pAllocator, "CString");
    void* const pvBlock = pAllocator->Allocate(1, uCapacity + g_uBLOCK_OVERHEAD, nullptr);
    if (pvBlock == nullptr) return nullptr;
    SStringInfo* const pstInfo = new (pvBlock) SStringInfo;
    pstInfo->uRefCount = 1;
    SetExtent(pstInfo, uCapacity | uSize << 16);
    return pstInfo;
}

// Release() in a form that the compiler can inline.
inline void CString::GiveUpShare()
{
    if (m_pstInfo->uRefCount >= 2) DecRefCount();
    else FreeBlock();
    m_pstInfo = ms_pstEmptyStringInfo;
}

// Not inlined, so that a string which shares nothing saves no registers.
[[gnu::noinline]] void CString::GiveUpShareLocked()
{
    const CMutexGuardIfThreaded guard(ms_pmutex);
    GiveUpShare();
}

CString::CString() : m_pstInfo(orvel_internal::RequireUp(ms_pstEmptyStringInfo, "CString"))
{
}

QV_CACHE_LINE_ALIGNED CString::CString(const char* pszText)
    : m_pstInfo(orvel_internal::RequireUp(ms_pstEmptyStringInfo, "CString"))
{
    if (pszText == nullptr) return;
    const size_t uLength = strlen(pszText);
    if (uLength == 0 || uLength > uMAX_SIZE) return;
    SStringInfo* const pstInfo =
        NewBlock(RoundUpCapacity(static_cast<unsigned int>(uLength)), static_cast<unsigned int>(uLength));
    if (pstInfo == nullptr) return;
    m_pstInfo = pstInfo;
    memcpy(CharactersOf(pstInfo), pszText, uLength + 1);
}

CString::CString(const char* pszText, unsigned int uSize) : CString()
{
    static_cast<void>(Insert(0, 1, pszText, uSize));  // Assign() tells
}

// Takes a share of a block in place of the string's own.
inline void CString::ShareBlockOf(const CString& rSrc)
{
    const CMutexGuardIfThreaded guard(ms_pmutex);
    SStringInfo* pstInfo = rSrc.m_pstInfo;
    const bool bCountFull = pstInfo->uRefCount == g_uMAX_REF_COUNT;
    if (bCountFull) pstInfo = rSrc.CopyBlock(pstInfo->uCapacity);
    if (pstInfo == nullptr) return;
    Release();
    m_pstInfo = pstInfo;
    if (!bCountFull && GetRefCount() != 0) IncRefCount();
}

QV_CACHE_LINE_ALIGNED CString::CString(const CString& rSrc) : CString()
{
    if (this != &rSrc) ShareBlockOf(rSrc);
}

CString::CString(CString&& rSrc) noexcept : CString()
{
    std::swap(m_pstInfo, rSrc.m_pstInfo);
}

QV_CACHE_LINE_ALIGNED CString::~CString()
{
    if (!IsShared()) FreeBlock();
    else if (__libc_single_threaded != 0) DecRefCount();
    else GiveUpShareLocked();
}

CString& CString::operator=(const CString& rSrc)
{
    if (this == &rSrc) return *this;
    orvel_internal::RequireUp(ms_pmutex, "CString");
    ShareBlockOf(rSrc);
    return *this;
}

CString& CString::operator=(CString&& rSrc) noexcept
{
    std::swap(m_pstInfo, rSrc.m_pstInfo);
    return *this;
}

CString& CString::operator=(const char* pszText)
{
    // As promised, a text that cannot be taken changes nothing.
    static_cast<void>(Assign(pszText));
    return *this;
}

CString& CString::operator=(char c)
{
    const char szText[2] = {c, '\0'};
    return *this = szText;
}

QvResult CString::AssignText(const char* pText, size_t uTextSize)
{
    if (pText == nullptr) uTextSize = 0;
    if (uTextSize > uMAX_SIZE) return QV_RES_INVALID_ARGUMENT;
    const unsigned int uSize = static_cast<unsigned int>(uTextSize);
    if (!HasRoom(uSize))
    {
        SStringInfo* const pstInfo = NewBlock(CapacityFor(uSize), uSize);
        if (pstInfo == nullptr) return QV_RES_OUT_OF_MEMORY;
        if (uSize != 0) memcpy(CharactersOf(pstInfo), pText, uSize);
        TakeBlock(pstInfo);
    }
    else if (uSize != 0) memmove(Characters(), pText, uSize);
    SetSize(uSize);
    return QV_RES_OK;
}

int CString::CompareRest(const char* pszOther) const
{
    const size_t uSize = GetSize();
    const size_t uOtherSize = strlen(pszOther);
    const int nOrder = memcmp(CStr(), pszOther, std::min(uSize, uOtherSize));
    if (nOrder != 0) return nOrder;
    if (uSize == uOtherSize) return 0;
    return uSize < uOtherSize ? -1 : 1;
}

int CString::CaseInsCmp(const char* pszOther) const
{
    const char* pszOwn = CStr();
    while (*pszOwn != '\0' && *pszOther != '\0' && LowerCase(*pszOwn) == LowerCase(*pszOther))
    {
        ++pszOwn;
        ++pszOther;
    }
    return LowerCase(*pszOwn) - LowerCase(*pszOther);
}

unsigned int CString::FindSubstring(unsigned int uStartIndex, const char* pszSubstring) const
{
    pszSubstring = MakeNullSafe(pszSubstring);
    if (uStartIndex >= GetSize() || *pszSubstring == '\0') return GetSize();
    const char* const pszFound = strstr(CStr() + uStartIndex, pszSubstring);
    return pszFound != nullptr ? static_cast<unsigned int>(pszFound - CStr()) : GetSize();
}

unsigned int CString::FindLast(STextPiece text) const
{
    if (text.uSize == 0 || text.uSize > GetSize()) return GetSize();
    // By its last character, of which there are as many as the text has places.
    const char cLast = text.pText[text.uSize - 1];
    const char* const pFirstPlace = CStr() + text.uSize - 1;
    const char* pPlacesEnd = end();
    while (pPlacesEnd != pFirstPlace)
    {
        const void* const pvFound = memrchr(pFirstPlace, cLast, static_cast<size_t>(pPlacesEnd - pFirstPlace));
        if (pvFound == nullptr) break;
        pPlacesEnd = static_cast<const char*>(pvFound);
        const char* const pBegin = pPlacesEnd + 1 - text.uSize;
        if (memcmp(pBegin, text.pText, text.uSize - 1) == 0) return static_cast<unsigned int>(pBegin - CStr());
    }
    return GetSize();
}

CString CString::Substring(unsigned int uIndex, unsigned int uSize) const
{
    if (uIndex >= GetSize()) return {};
    uSize = std::min(uSize, GetSize() - uIndex);
    if (uSize == GetSize()) return *this;
    return {CStr() + uIndex, uSize};  // which is below uMAX_SIZE, and so a plain length
}

void CString::ToLowerCase()
{
    if (CreateCopy() < 0) return;
    for (char* psz = Characters(); *psz != '\0'; ++psz) *psz = static_cast<char>(LowerCase(*psz));
}

void CString::ToUpperCase()
{
    if (CreateCopy() < 0) return;
    for (char* psz = Characters(); *psz != '\0'; ++psz) *psz = static_cast<char>(UpperCase(*psz));
}

QvResult CString::Insert(unsigned int uIndex, unsigned int uRepetition, const char* pszSrc, unsigned int uSize)
{
    if (uRepetition == 0 || uSize == 0) return QV_RES_OK;
    if (uSize == uMAX_SIZE || pszSrc == nullptr)
    {
        pszSrc = MakeNullSafe(pszSrc);
        uSize = static_cast<unsigned int>(std::min<size_t>(strlen(pszSrc), uMAX_SIZE + 1));
    }
    const uint64_t uInserted = uint64_t{uRepetition} * uSize;
    const uint64_t uNewSize = uInserted + GetSize();
    if (uIndex > GetSize() || uNewSize > uMAX_SIZE) return QV_RES_INVALID_ARGUMENT;

    const unsigned int uTail = GetSize() - uIndex;
    if (!HasRoom(static_cast<unsigned int>(uNewSize)))
    {
        const unsigned int uTaken = static_cast<unsigned int>(uNewSize);
        SStringInfo* const pstInfo = NewBlock(CapacityFor(uTaken), uTaken);
        if (pstInfo == nullptr) return QV_RES_OUT_OF_MEMORY;
        char* const pszNew = CharactersOf(pstInfo);
        if (uIndex != 0) memcpy(pszNew, CStr(), uIndex);
        char* const pszEnd = Repeat(pszNew + uIndex, uRepetition, pszSrc, uSize);
        if (uTail != 0) memcpy(pszEnd, CStr() + uIndex, uTail);
        pszNew[uNewSize] = '\0';
        TakeBlock(pstInfo);
        return QV_RES_OK;
    }
    if (HoldsAddress(pszSrc))
    {
        Aside pszAside(new (std::nothrow) char[uSize]);
        if (pszAside == nullptr) return QV_RES_OUT_OF_MEMORY;
        memcpy(pszAside.get(), pszSrc, uSize);
        memmove(Characters() + uIndex + uInserted, Characters() + uIndex, uTail);
        Repeat(Characters() + uIndex, uRepetition, pszAside.get(), uSize);
    }
    else
    {
        if (uTail != 0) memmove(Characters() + uIndex + uInserted, Characters() + uIndex, uTail);
        Repeat(Characters() + uIndex, uRepetition, pszSrc, uSize);
    }
    SetSize(static_cast<unsigned int>(uNewSize));
    return QV_RES_OK;
}

QvResult CString::Insert(unsigned int uIndex, unsigned int uRepetition, const CString& rSrc, unsigned int uStartIndex,
                         unsigned int uSize)
{
    if (uint64_t{uStartIndex} + uSize > rSrc.GetSize()) return QV_RES_INVALID_ARGUMENT;
    return Insert(uIndex, uRepetition, rSrc.CStr() + uStartIndex, uSize);
}

QvResult CString::Insert(unsigned int uIndex, unsigned int uRepetition, char c)
{
    return Insert(uIndex, uRepetition, &c, 1);
}

void CString::Erase(unsigned int uIndex, unsigned int uSize)
{
    if (uSize == 0 || uint64_t{uIndex} + uSize > GetSize() || CreateCopy() < 0) return;
    char* const pszErased = Characters() + uIndex;
    memmove(pszErased, pszErased + uSize, GetSize() - uIndex - uSize);
    SetSize(GetSize() - uSize);
}

void CString::EraseAll()
{
    Erase(0, GetSize());
}

void CString::TrimLeftSide(char c)
{
    unsigned int uCount = 0;
    while (uCount < GetSize() && GetAt(uCount) == c) ++uCount;
    Erase(0, uCount);
}

void CString::TrimRightSide(char c)
{
    unsigned int uCount = 0;
    while (uCount < GetSize() && GetAt(GetSize() - 1 - uCount) == c) ++uCount;
    Erase(GetSize() - uCount, uCount);
}

void CString::Trim(STextPiece characters)
{
    const char* pBegin = begin();
    const char* pEnd = end();
    while (pEnd != pBegin && IsOneOf(pEnd[-1], characters)) --pEnd;
    while (pBegin != pEnd && IsOneOf(*pBegin, characters)) ++pBegin;
    const size_t uSize = static_cast<size_t>(pEnd - pBegin);
    // Where memory runs out, all stays, as promised.
    if (uSize != GetSize()) static_cast<void>(AssignText(pBegin, uSize));
}

QvResult CString::Replace(STextPiece oldText, STextPiece newText)
{
    const char* const pFirst = oldText.uSize != 0 ? FindIn(begin(), end(), oldText) : nullptr;
    if (pFirst == nullptr) return QV_RES_OK;
    const bool bInPlace =
        newText.uSize <= oldText.uSize && !IsShared() && !HoldsAddress(oldText.pText) && !HoldsAddress(newText.pText);
    if (bInPlace)
    {
        char* const pDest = Characters() + (pFirst - begin());
        const char* const pEnd = CopyReplacing(pDest, pFirst, end(), pFirst, oldText, newText);
        SetSize(static_cast<unsigned int>(pEnd - begin()));
        return QV_RES_OK;
    }

    if (newText.uSize > uMAX_SIZE) return QV_RES_INVALID_ARGUMENT;
    size_t uNewSize = GetSize();
    for (const char* p = pFirst; p != nullptr; p = FindIn(p + oldText.uSize, end(), oldText))
        uNewSize += newText.uSize - oldText.uSize;
    if (uNewSize > uMAX_SIZE) return QV_RES_INVALID_ARGUMENT;
    const unsigned int uSize = static_cast<unsigned int>(uNewSize);
    SStringInfo* const pstInfo = NewBlock(CapacityFor(uSize), uSize);
    if (pstInfo == nullptr) return QV_RES_OUT_OF_MEMORY;
    CopyReplacing(CharactersOf(pstInfo), begin(), end(), pFirst, oldText, newText);
    TakeBlock(pstInfo);
    SetSize(uSize);
    return QV_RES_OK;
}

void CString::Resize(unsigned int uSize)
{
    if (uSize <= GetCapacity() && CreateCopy() >= 0) SetSize(uSize);
}

QvResult CString::ReserveCapacity(unsigned short uCapacity)
{
    return GetCapacity() >= uCapacity ? QV_RES_OK : Reallocate(RoundUpCapacity(uCapacity));
}

QvResult CString::ReduceCapacity(unsigned short uCapacity)
{
    if (uCapacity >= GetCapacity()) return QV_RES_OK;
    return Reallocate(RoundUpCapacity(std::max<unsigned int>(uCapacity, GetSize())));
}

CString CString::operator+(const CString& rRight) const
{
    CString strSum(*this);
    strSum += rRight;
    return strSum;
}

CString CString::operator+(const char* pszRight) const
{
    CString strSum(*this);
    strSum += pszRight;
    return strSum;
}

CString CString::operator+(char cRight) const
{
    CString strSum(*this);
    strSum += cRight;
    return strSum;
}

QvResult CString::Format(unsigned int uStartIndex, const char* pszFormat, ...)
{
    va_list args;
    va_start(args, pszFormat);
    const QvResult res = Format(uStartIndex, pszFormat, args);
    va_end(args);
    return res;
}

QvResult CString::Format(unsigned int uStartIndex, const char* pszFormat, va_list args)
{
    // A 0 or nullptr, written as the only argument, is a pointer to a list for the compiler, too, and the better
    // match. No list is null: it is the argument, and zero in every type.
    if (args == nullptr) return Format(uStartIndex, pszFormat, static_cast<void*>(nullptr));
    if (uStartIndex > GetSize()) return QV_RES_INVALID_ARGUMENT;
    // The whole text is made before the string is touched: format and arguments may be parts of it.
    char szShort[512];
    const int nLength = FormatInto(szShort, sizeof(szShort), MakeNullSafe(pszFormat), args);
    const unsigned int uLength = static_cast<unsigned int>(nLength);
    QvResult res = QV_RES_FAIL;
    if (nLength >= 0 && uLength < sizeof(szShort)) res = PutFormatted(uStartIndex, szShort, uLength);
    else if (nLength >= 0 && uLength > uMAX_SIZE) res = QV_RES_INVALID_ARGUMENT;
    else if (nLength >= 0)
    {
        const Aside pszLong(new (std::nothrow) char[uLength + 1]);
        if (pszLong != nullptr) FormatInto(pszLong.get(), uLength + 1, MakeNullSafe(pszFormat), args);
        res = pszLong != nullptr ? PutFormatted(uStartIndex, pszLong.get(), uLength) : QV_RES_OUT_OF_MEMORY;
    }
    if (res < 0) Resize(uStartIndex);
    return res;
}

QvResult CString::InitializeCString()
{
    ms_pmutex = new (ms_auMutex) CMutex;
    ms_pAllocator = CDefaultAllocator::Instance();
    ms_pstEmptyStringInfo = new (ms_auEmptyStringInfo) SStringInfo();
    return QV_RES_OK;
}

void CString::FinalizeCString()
{
    orvel_internal::RequireUp(ms_pmutex, "CString")->~CMutex();
    ms_pmutex = nullptr;
    ms_pAllocator = nullptr;
    ms_pstEmptyStringInfo = nullptr;
}

void CString::Release()
{
    GiveUpShare();
}

QvResult CString::CreateCopy()
{
    if (!IsShared()) return QV_RES_OK;
    const CMutexGuardIfThreaded guard(ms_pmutex);
    if (GetRefCount() <= 1) return QV_RES_OK;
    SStringInfo* const pstCopy = CopyBlock(m_pstInfo->uCapacity);
    if (pstCopy == nullptr) return QV_RES_OUT_OF_MEMORY;
    Release();
    m_pstInfo = pstCopy;
    return QV_RES_OK;
}

void CString::MutexLock()
{
    orvel_internal::RequireUp(ms_pmutex, "CString")->Lock();
}

void CString::MutexUnlock()
{
    orvel_internal::RequireUp(ms_pmutex, "CString")->Unlock();
}

unsigned int CString::GetRefCount()
{
    return m_pstInfo->uRefCount;
}

void CString::IncRefCount()
{
    const uint16_t uRefCount = static_cast<uint16_t>(GetRefCount() + 1);
    std::atomic_ref<uint16_t>(m_pstInfo->uRefCount).store(uRefCount, std::memory_order_relaxed);
}

void CString::DecRefCount()
{
    // Release order: a string that then finds itself alone with the block may write to what this one has read.
    const uint16_t uRefCount = static_cast<uint16_t>(GetRefCount() - 1);
    std::atomic_ref<uint16_t>(m_pstInfo->uRefCount).store(uRefCount, std::memory_order_release);
}

const char* CString::MakeNullSafe(const char* pszText)
{
    return pszText != nullptr ? pszText : g_szEMPTY_STRING;
}

bool CString::HoldsAddress(const char* psz) const
{
    return orvel_internal::IsWithin(psz, CStr(), GetCapacity() + sizeof(SStringInfo::szCharacters));
}

// Sets the size of a private block, or of the empty one, which stays as it is: only 0 fits it.
void CString::SetSize(unsigned int uSize)
{
    if (m_pstInfo == ms_pstEmptyStringInfo) return;
    Characters()[uSize] = '\0';
    SetExtent(m_pstInfo, GetCapacity() | uSize << 16);
}

// A private copy of the block with another capacity, not below the size; null when memory runs out.
CString::SStringInfo* CString::CopyBlock(unsigned int uCapacity) const
{
    SStringInfo* const pstCopy = NewBlock(uCapacity, GetSize());
    if (pstCopy == nullptr) return nullptr;
    memcpy(CharactersOf(pstCopy), CStr(), GetSize());
    CharactersOf(pstCopy)[GetSize()] = '\0';
    return pstCopy;
}

QvResult CString::Reallocate(unsigned int uCapacity)
{
    SStringInfo* const pstCopy = CopyBlock(uCapacity);
    if (pstCopy == nullptr) return QV_RES_OUT_OF_MEMORY;
    TakeBlock(pstCopy);
    return QV_RES_OK;
}

// Replaces the block of the string by another one, which is complete already, and gives up the old one.
void CString::TakeBlock(SStringInfo* pstInfo)
{
    if (!IsShared()) FreeBlock();
    else GiveUpShareLocked();
    m_pstInfo = pstInfo;
}

// Insert() at the end; a text that takes a block with more room comes here for it directly.
QV_CACHE_LINE_ALIGNED void CString::AppendElsewhere(const char* pszText, unsigned int uSize)
{
    // Insert() knows what no text, no size and uMAX_SIZE mean, and that they change nothing when they do not fit.
    if (pszText == nullptr || uSize - 1 >= uMAX_SIZE - 1) static_cast<void>(Insert(GetSize(), 1, pszText, uSize));
    else static_cast<void>(AppendText(pszText, uSize));
}

// Appends characters for which the block has no room, or which it may not be given, so that they get a new one.
QvResult CString::AppendText(const char* pText, size_t uSize)
{
    const unsigned int uOldSize = GetSize();
    if (uSize > uMAX_SIZE - uOldSize) return QV_RES_INVALID_ARGUMENT;
    const unsigned int uNewSize = uOldSize + static_cast<unsigned int>(uSize);
    SStringInfo* const pstInfo = NewBlock(CapacityFor(uNewSize), uNewSize);
    if (pstInfo == nullptr) return QV_RES_OUT_OF_MEMORY;
    char* const pNew = CharactersOf(pstInfo);
    if (uOldSize != 0) memcpy(pNew, CStr(), uOldSize);
    CopyFew(pNew + uOldSize, pText, static_cast<unsigned int>(uSize));
    pNew[uNewSize] = '\0';
    TakeBlock(pstInfo);
    return QV_RES_OK;
}

// Whether uSize characters can be written into the block as it is.
bool CString::HasRoom(unsigned int uSize) const
{
    return uSize <= GetCapacity() && !IsShared();
}

// Of a new block for uSize characters: as it is where that suffices.
unsigned int CString::CapacityFor(unsigned int uSize) const
{
    return uSize <= GetCapacity() ? GetCapacity() : RoundUpCapacity(uSize);
}

// A private block for uSize characters; unchanged on failure.
QvResult CString::MakeRoom(unsigned int uSize)
{
    return GetCapacity() < uSize ? ReserveCapacity(static_cast<unsigned short>(uSize)) : CreateCopy();
}

QvResult CString::PutFormatted(unsigned int uStartIndex, const char* pszText, unsigned int uLength)
{
    const unsigned int uCapacity = CapacityToFormat(GetCapacity(), uStartIndex, uLength);
    if (uCapacity == 0) return QV_RES_INVALID_ARGUMENT;
    const QvResult res = MakeRoom(uCapacity);
    if (res < 0) return res;
    memcpy(Characters() + uStartIndex, pszText, uLength);
    SetSize(uStartIndex + uLength);
    return QV_RES_OK;
}

CString operator+(const char* pszLeft, const CString& rRight)
{
    CString strSum(pszLeft);
    strSum += rRight;
    return strSum;
}

CString operator+(char cLeft, const CString& rRight)
{
    CString strSum;
    strSum = cLeft;
    strSum += rRight;
    return strSum;
}

CMarshaler& operator<<(CMarshaler& rMarshaler, const CString& rString)
{
    rMarshaler << static_cast<unsigned short>(rString.GetSize());
    rMarshaler.Store(rString.CStr(), rString.GetSize());
    return rMarshaler;
}

CMarshaler& operator>>(CMarshaler& rMarshaler, CString& rString)
{
    unsigned short uLength = 0;
    rMarshaler >> uLength;
    rString.EraseAll();
    char* const pszBuffer = rString.ReserveCapacity(uLength) >= 0 ? rString.GetBuffer() : nullptr;
    if (pszBuffer == nullptr)
    {
        rMarshaler.Skip(uLength);
        rString = CString();
        return rMarshaler;
    }
    rMarshaler.Load(pszBuffer, uLength);
    rString.Resize(uLength);
    return rMarshaler;
}

QvResult InitializeCString()
{
    return CString::InitializeCString();
}

void FinalizeCString()
{
    CString::FinalizeCString();
}
