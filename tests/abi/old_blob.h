#ifndef TESTS_ABI_OLD_BLOB_H
#define TESTS_ABI_OLD_BLOB_H
#include "tests/abi/old_marshaler.h"
#include "tests/abi/old_vector.h"

class CString;

class CBlob : public CVectorBase
{
public:
    CBlob(IAllocator* pAllocator);
    CBlob(unsigned int uCapacity, IAllocator* pAllocator);
    CBlob(const unsigned char* puData, unsigned int uSize, unsigned int uCapacity, IAllocator* pAllocator);
    CBlob(const CBlob& rSrc);
    ~CBlob() override;
    CBlob& operator=(const CBlob& rSrc);
    void CopyMembers(const CBlob& rSrc);

    QvResult Insert(unsigned int uIndex, const unsigned char* puData, unsigned int uSize);
    QvResult Insert(unsigned int uIndex, const CBlob& rSrc, unsigned int uStartIndex, unsigned int uSize);
    QvResult Append(const unsigned char* puData, unsigned int uSize);
    QvResult Resize(unsigned int uSize);
    QvResult Resize(unsigned char* puEnd);
    QvResult ReserveCapacity(unsigned int uCapacity);
    unsigned int GetSize() const;
    unsigned int GetCapacity() const;
    unsigned int GetFirstIndex() const;
    unsigned int GetLastIndex() const;
    unsigned int GetEndIndex() const;
    unsigned char* GetAt(unsigned int uIndex);
    const unsigned char* GetAt(unsigned int uIndex) const;
    unsigned char* GetFirstIndexPtr();
    const unsigned char* GetFirstIndexPtr() const;

    unsigned char* Read(unsigned char* puDst, unsigned int uSize);
    unsigned char* ReadNoCopy(unsigned int uSize);
    QvResult SetReadIndex(unsigned int uIndex);
    unsigned int GetUnreadSize() const;
    unsigned int GetUnreadBits() const;

    void AppendBits(const unsigned char* puSrc, unsigned int uBitCount, unsigned int uSrcBitOffset);
    void ReadBits(unsigned char* puDst, unsigned int uBitCount, unsigned int uDstBitOffset);
    void PadBits(unsigned int uBitCount);
    void SkipBits(unsigned int uBitCount);
    void RealignReadBits(unsigned int uBitAlignment);
    void RealignAppendBits(unsigned int uBitAlignment);

    QvResult Assign(const unsigned char* puData, unsigned int uSize);
    QvResult Assign(const CString& rText);
    QvResult Assign(const char* pszText);
    QvResult AssignHex(const CString& rHex);
    QvResult AssignHex(const char* pszHex);
    QvResult ToText(CString* pstrText) const;
    QvResult ToHex(CString* pstrHex, bool bUpperCase) const;

    unsigned int m_uReadIndex;
    unsigned int m_uReadBitOffset;
    unsigned int m_uAppendBitsIndex;
    unsigned int m_uAppendBitsBitOffset;
};

CMarshaler& operator<<(CMarshaler& rMarshaler, const CBlob& rBlob);
CMarshaler& operator>>(CMarshaler& rMarshaler, CBlob& rBlob);

#endif
