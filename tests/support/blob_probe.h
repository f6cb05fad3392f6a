#ifndef TESTS_SUPPORT_BLOB_PROBE_H
#define TESTS_SUPPORT_BLOB_PROBE_H
#include <cstdint>
#include <cstring>
#include <ostream>

#include "framework/basic/blob.h"
#include "tests/support/bytes.h"

/// The four cursor members, as they lie in memory behind the vector.
struct SBlobCursors
{
    std::uint32_t uReadIndex;
    std::uint32_t uReadBitOffset;
    std::uint32_t uAppendIndex;
    std::uint32_t uAppendBitOffset;

    bool operator==(const SBlobCursors&) const = default;
    friend std::ostream& operator<<(std::ostream& rStream, const SBlobCursors& rstCursors)
    {
        return rStream << "read " << rstCursors.uReadIndex << "." << rstCursors.uReadBitOffset << ", append "
                       << rstCursors.uAppendIndex << "." << rstCursors.uAppendBitOffset;
    }
};

inline SBlobCursors CursorsOf(const CBlob& rBlob)
{
    static_assert(sizeof(CBlob) == sizeof(CVectorBase) + sizeof(SBlobCursors));
    SBlobCursors stCursors;
    std::memcpy(&stCursors, reinterpret_cast<const unsigned char*>(&rBlob) + sizeof(CVectorBase), sizeof stCursors);
    return stCursors;
}

inline CBlob BlobOf(const Bytes& rBytes, IAllocator* pAllocator = nullptr)
{
    return CBlob(rBytes.data(), static_cast<unsigned int>(rBytes.size()), 0, pAllocator);
}

#endif
