#ifndef TESTS_ABI_OLD_STRING_H
#define TESTS_ABI_OLD_STRING_H
#include <cstdarg>
#include <cstddef>

#include "tests/abi/old_allocator.h"
#include "tests/abi/old_marshaler.h"
#include "tests/abi/old_mutex.h"
#include "tests/abi/old_result.h"

struct STextPiece
{
    const char* pText;
    std::size_t uSize;
};

class CString
{
public:
    struct SStringInfo
    {
        unsigned short m_uReferenceCount;
        unsigned short m_uCapacity;
        unsigned short m_uSize;
        char m_acCharacters[2];
    };

    CString();
    CString(const char* psz);
    CString(const char* psz, unsigned int uSize);
    CString(const CString& rSrc);
    virtual ~CString();

    CString& operator=(const CString& rSrc);
    CString& operator=(const char* psz);
    CString& operator=(char c);

    bool operator==(const CString& rOther) const;
    bool operator==(const char* psz) const;
    int CaseInsCmp(const char* psz) const;
    unsigned int FindSubstring(unsigned int uStartIndex, const char* pszSubstring) const;

    const char* CStr() const;
    unsigned int GetSize() const;
    unsigned int GetCapacity() const;
    const char& GetAt(unsigned int uIndex) const;
    char* GetBuffer();
    void SetAt(unsigned int uIndex, char c);
    void ToLowerCase();

    QvResult Insert(unsigned int uIndex, unsigned int uRepetition, const char* pszSrc, unsigned int uSize);
    QvResult Insert(unsigned int uIndex, unsigned int uRepetition, const CString& rSrc, unsigned int uStartIndex,
                    unsigned int uSize);
    QvResult Insert(unsigned int uIndex, unsigned int uRepetition, char c);
    void Erase(unsigned int uIndex, unsigned int uSize);
    void EraseAll();
    void TrimLeftSide(char c);
    void TrimRightSide(char c);
    void Resize(unsigned int uSize);
    QvResult ReserveCapacity(unsigned short uCapacity);
    QvResult ReduceCapacity(unsigned short uCapacity);

    CString& operator+=(const CString& rRhs);
    CString& operator+=(const char* pszRhs);
    CString& operator+=(char cRhs);
    CString operator+(const CString& rRhs) const;
    CString operator+(const char* pszRhs) const;
    CString operator+(char cRhs) const;

    QvResult Format(unsigned int uStartIndex, const char* pszFormat, ...);
    QvResult Format(unsigned int uStartIndex, const char* pszFormat, va_list args);

    // What programs compiled for version 1.1 call, by themselves or through what was inline.
    QvResult AssignText(const char* pText, std::size_t uSize);
    QvResult AppendText(const char* pText, std::size_t uSize);
    int CompareRest(const char* psz) const;
    unsigned int FindLast(STextPiece text) const;
    CString Substring(unsigned int uIndex, unsigned int uSize) const;
    void ToUpperCase();
    void Trim(STextPiece characters);
    QvResult Replace(STextPiece oldText, STextPiece newText);
    static QvResult ParseNumber(STextPiece text, long* pnNumber, unsigned int uBase);
    static QvResult ParseNumber(STextPiece text, unsigned long* puNumber, unsigned int uBase);
    static QvResult ParseNumber(STextPiece text, double* pNumber);
    static QvResult ParseNumber(STextPiece text, float* pNumber);
    QvResult AppendNumber(long nNumber, unsigned int uBase);
    QvResult AppendNumber(unsigned long uNumber, unsigned int uBase);
    QvResult AppendNumber(double number);
    QvResult AppendNumber(float number);

    static QvResult InitializeCString();
    static void FinalizeCString();

    void Release();
    void CreateCopy();
    static void MutexLock();
    static void MutexUnlock();
    unsigned short GetRefCount();
    void IncRefCount();
    void DecRefCount();
    static const char* MakeNullSafe(const char* psz);

    static CMutex* ms_pmutex;
    static unsigned char ms_auMutex[];
    static IAllocator* ms_pAllocator;
    static SStringInfo* ms_pstEmptyStringInfo;
    static unsigned char ms_auEmptyStringInfo[];

    SStringInfo* m_pstInfo;
};

CString operator+(const char* pszLhs, const CString& rRhs);
CString operator+(char cLhs, const CString& rRhs);
CMarshaler& operator<<(CMarshaler& rMarshaler, const CString& rString);
CMarshaler& operator>>(CMarshaler& rMarshaler, CString& rString);
QvResult InitializeCString();
void FinalizeCString();
extern const char g_szEMPTY_STRING[];

#endif
