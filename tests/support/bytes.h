#ifndef TESTS_SUPPORT_BYTES_H
#define TESTS_SUPPORT_BYTES_H
#include <cstdint>
#include <vector>

#include "framework/basic/blob.h"

using Bytes = std::vector<unsigned char>;

/// A pointer that is not null, however few bytes there are.
inline const uint8_t* DataOf(const Bytes& rBytes)
{
    static const uint8_t uNone = 0;
    return rBytes.empty() ? &uNone : rBytes.data();
}

inline unsigned int SizeOf(const Bytes& rBytes)
{
    return static_cast<unsigned int>(rBytes.size());
}

inline Bytes BytesOf(const CBlob& rblob)
{
    return {rblob.begin(), rblob.end()};
}

#endif
