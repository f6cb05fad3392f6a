#ifndef TESTS_ABI_OLD_MARSHALER_H
#define TESTS_ABI_OLD_MARSHALER_H

class CMarshaler
{
public:
    CMarshaler();
    ~CMarshaler();
    CMarshaler& operator=(const CMarshaler& rSrc);

    void Insert(const void* pvData, unsigned int uSize);
    void Extract(void* pvData, unsigned int uSize);
    void Store(const void* pvData, unsigned int uSize);
    bool Load(void* pvData, unsigned int uSize);
    CMarshaler& operator<<(unsigned int uValue);
    CMarshaler& operator>>(unsigned int& ruValue);
    CMarshaler& operator<<(unsigned short uValue);
    CMarshaler& operator>>(unsigned short& ruValue);
    void Clear();
    void ReleaseSegments();
    void ResetMembers();

    unsigned char* m_puWrite;
    unsigned char* m_puWriteSegmentEnd;
    unsigned char* m_puRead;
    unsigned char* m_puReadSegmentEnd;
    unsigned char m_auInline[56];
    unsigned char* m_puInlineLink;
};

#endif
