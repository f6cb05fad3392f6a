#ifndef TESTS_ABI_FOREIGN_BLOB_H
#define TESTS_ABI_FOREIGN_BLOB_H
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

// The blob as an old program knows it. It derives privately, but access is no part of the binary interface.

class IAllocator;

class CVectorBase
{
public:
    virtual ~CVectorBase();
    virtual void Construct(void* pElement);
    virtual void ConstructFrom(void* pElement, const void* pSource);
    virtual void Destruct(void* pElement);

    IAllocator* m_pAllocator;
    unsigned int m_uCapacity;
    unsigned int m_uLockCapacity;
    unsigned int m_uElementSize;
    unsigned int m_uSize;
    bool m_bConstruct;
    void* m_pScratch;
    unsigned char* m_puStorage;

protected:
    CVectorBase() {}  // only for declaring what derives from it: the library builds all objects
};

class CBlob : public CVectorBase
{
public:
    explicit CBlob(IAllocator* pAllocator);
    CBlob(const unsigned char* puData, unsigned int uSize, unsigned int uCapacity, IAllocator* pAllocator);
    ~CBlob() override;

    unsigned int m_uReadIndex;
    unsigned int m_uReadBitOffset;
    unsigned int m_uAppendBitsIndex;
    unsigned int m_uAppendBitsBitOffset;
};
static_assert(sizeof(CBlob) == 72);

inline const std::uint8_t* BytesOf(std::string_view text)
{
    return reinterpret_cast<const std::uint8_t*>(text.data());
}

inline unsigned int SizeOf(std::string_view text)
{
    return static_cast<unsigned int>(text.size());
}

/// A blob that holds a text, and whose content reads as one.
class CTextBlob : public CBlob
{
public:
    explicit CTextBlob(std::string_view text = {}) : CBlob(BytesOf(text), SizeOf(text), 0, nullptr) {}
    std::string Text() const
    {
        return m_uSize == 0 ? std::string() : std::string(reinterpret_cast<const char*>(m_puStorage), m_uSize);
    }
};

/// The digits of bytes, for comparing with published values.
inline std::string Hex(const void* pvBytes, std::size_t uSize)
{
    static const char s_szDIGITS[] = "0123456789abcdef";
    std::string hex;
    for (std::size_t u = 0; u < uSize; ++u)
    {
        const unsigned char uByte = static_cast<const unsigned char*>(pvBytes)[u];
        hex += s_szDIGITS[uByte >> 4];
        hex += s_szDIGITS[uByte & 15];
    }
    return hex;
}

inline std::string HexOf(const CBlob& rBlob)
{
    return Hex(rBlob.m_puStorage, rBlob.m_uSize);
}

#endif
