#ifndef TESTS_ABI_TEXT_BLOB_H
#define TESTS_ABI_TEXT_BLOB_H
#include <cstdint>
#include <string>
#include <string_view>

#include "tests/abi/old_blob.h"

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
        return m_uSize == 0 ? std::string() : std::string(static_cast<const char*>(m_pvStorage), m_uSize);
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
    return Hex(rBlob.m_pvStorage, rBlob.m_uSize);
}

#endif
