#ifndef FUZZ_MODELS_BLOB_TWIN_H
#define FUZZ_MODELS_BLOB_TWIN_H
#include <algorithm>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "framework/kernel/result.h"
#include "fuzz/models/scripted_source.h"
#include "tests/support/blob_probe.h"

/// A second, plain implementation of the blob: one bit at a time, with every request for memory.
class CBlobTwin
{
public:
    using Bytes = std::vector<unsigned char>;
    static constexpr unsigned int uTO_END = 0xFFFFFFFF;

    explicit CBlobTwin(SRequests& rRequests) : m_pRequests(&rRequests) {}
    CBlobTwin(unsigned int uCapacity, SRequests& rRequests) : CBlobTwin(rRequests) { Reserve(uCapacity); }
    CBlobTwin(const Bytes& rBytes, unsigned int uCapacity, SRequests& rRequests) : CBlobTwin(rRequests)
    {
        Reserve(std::max<unsigned int>(uCapacity, static_cast<unsigned int>(rBytes.size())));
        Insert(m_uSize, rBytes);
    }
    CBlobTwin(const CBlobTwin& rSrc) : CBlobTwin(*rSrc.m_pRequests)
    {
        Reserve(rSrc.GetCapacity());
        *this = rSrc;
    }
    CBlobTwin(CBlobTwin&& rSrc) : CBlobTwin(*rSrc.m_pRequests) { Exchange(rSrc); }
    ~CBlobTwin() { GiveBack(); }
    CBlobTwin& operator=(const CBlobTwin& rSrc)
    {
        if (&rSrc == this) return *this;
        if (Reserve(rSrc.m_uSize) >= 0)
        {
            m_uSize = rSrc.m_uSize;
            std::copy_n(rSrc.m_storage.begin(), m_uSize, m_storage.begin());
            m_uKnown = m_uSize;
        }
        m_cursors = rSrc.m_cursors;
        return *this;
    }
    CBlobTwin& operator=(CBlobTwin&& rSrc)
    {
        Exchange(rSrc);
        return *this;
    }

    unsigned int GetSize() const { return m_uSize; }
    unsigned int GetCapacity() const { return static_cast<unsigned int>(m_storage.size()); }
    /// So many bytes from the front are certain; the rest of the storage holds what it held.
    unsigned int GetKnown() const { return m_uKnown; }
    const Bytes& GetStorage() const { return m_storage; }
    Bytes GetBytes(unsigned int uFrom, unsigned int uCount) const
    {
        return Bytes(m_storage.begin() + uFrom, m_storage.begin() + uFrom + uCount);
    }
    const SBlobCursors& GetCursors() const { return m_cursors; }
    unsigned int GetUnreadSize() const { return m_uSize - m_cursors.uReadIndex; }
    unsigned int GetUnreadBits() const
    {
        return GetUnreadSize() * 8 + (m_cursors.uReadBitOffset != 0 ? 8 - m_cursors.uReadBitOffset : 0);
    }

    QvResult Reserve(std::uint64_t uCapacity)
    {
        if (GetCapacity() >= uCapacity) return QV_RES_OK;
        return Reallocate(uCapacity) ? QV_RES_OK : QV_RES_OUT_OF_MEMORY;
    }
    QvResult Reduce(unsigned int uCapacity)
    {
        const unsigned int uTarget = std::max(uCapacity, m_uSize);
        if (uTarget >= GetCapacity()) return QV_RES_OK;
        return Reallocate(uTarget) ? QV_RES_OK : QV_RES_OUT_OF_MEMORY;
    }
    QvResult Insert(unsigned int uIndex, const Bytes& rBytes)
    {
        if (uIndex > m_uSize) return QV_RES_INVALID_ARGUMENT;
        const QvResult res = Reserve(std::uint64_t{m_uSize} + rBytes.size());
        if (res < 0) return res;
        Bytes after = GetBytes(0, m_uSize);
        after.insert(after.begin() + uIndex, rBytes.begin(), rBytes.end());
        PutBytes(after);
        return QV_RES_OK;
    }
    QvResult Insert(unsigned int uIndex, const CBlobTwin& rSrc, unsigned int uStart, unsigned int uCount)
    {
        if (uStart > rSrc.m_uSize) return QV_RES_INVALID_ARGUMENT;
        if (uCount == uTO_END) uCount = rSrc.m_uSize - uStart;
        if (uCount > rSrc.m_uSize - uStart) return QV_RES_INVALID_ARGUMENT;
        return Insert(uIndex, rSrc.GetBytes(uStart, uCount));
    }
    QvResult PushBack(unsigned char uByte)
    {
        if (m_uSize == GetCapacity() && Reserve(std::max(16u, 2 * m_uSize)) < 0 && Reserve(m_uSize + 1) < 0)
            return QV_RES_OUT_OF_MEMORY;
        return Insert(m_uSize, Bytes{uByte});
    }
    QvResult Assign(const Bytes& rBytes)
    {
        const QvResult res = Reserve(rBytes.size());
        if (res < 0) return res;
        PutBytes(rBytes);
        m_cursors = SBlobCursors{0, 0, 0, 0};
        return QV_RES_OK;
    }
    QvResult AssignHex(const std::string& rText)
    {
        if (rText.size() % 2 != 0 || rText.find_first_not_of("0123456789abcdefABCDEF") != std::string::npos)
            return QV_RES_INVALID_ARGUMENT;
        Bytes bytes;
        for (std::size_t u = 0; u < rText.size(); u += 2)
            bytes.push_back(static_cast<unsigned char>(std::stoul(rText.substr(u, 2), nullptr, 16)));
        return Assign(bytes);
    }
    void Erase(unsigned int uIndex, unsigned int uCount)
    {
        if (uIndex >= m_uSize) return;
        uCount = std::min(uCount, m_uSize - uIndex);
        Bytes after = GetBytes(0, m_uSize);
        after.erase(after.begin() + uIndex, after.begin() + uIndex + uCount);
        PutBytes(after);
    }
    void Clear()
    {
        m_uSize = 0;
        m_uKnown = 0;
        m_cursors = SBlobCursors{0, 0, 0, 0};
    }
    QvResult Resize(std::uint64_t uSize)
    {
        if (uSize > GetCapacity()) return QV_RES_INVALID_ARGUMENT;
        m_uSize = static_cast<unsigned int>(uSize);
        return QV_RES_OK;
    }
    /// Bytes written through a pointer to the storage.
    void Overwrite(unsigned int uFrom, const Bytes& rBytes)
    {
        std::copy(rBytes.begin(), rBytes.end(), m_storage.begin() + uFrom);
        m_uKnown = std::max<unsigned int>(m_uKnown, uFrom + static_cast<unsigned int>(rBytes.size()));
    }

    /// False: nothing can be read, and nothing was.
    bool Read(unsigned int uCount, Bytes& rBytes)
    {
        if (uCount == 0 || !CanRead(uCount)) return false;
        RealignRead(8);
        rBytes = GetBytes(m_cursors.uReadIndex, uCount);
        m_cursors.uReadIndex += uCount;
        return true;
    }
    /// The index of the byte that is pointed to, or -1.
    std::int64_t ReadNoCopy(unsigned int uCount)
    {
        if (!CanRead(uCount)) return -1;
        RealignRead(8);
        const std::int64_t nIndex = m_cursors.uReadIndex < m_uSize ? std::int64_t{m_cursors.uReadIndex} : -1;
        m_cursors.uReadIndex += uCount;
        return nIndex;
    }
    QvResult SetReadIndex(unsigned int uIndex)
    {
        if (uIndex >= m_uSize && uIndex != 0) return QV_RES_INVALID_ARGUMENT;
        m_cursors.uReadIndex = uIndex;
        return QV_RES_OK;
    }

    /// False when memory ran out and nothing was appended; the cursor has found its byte by then.
    bool AppendBits(const Bytes& rSrc, unsigned int uCount, unsigned int uOffset)
    {
        if (m_cursors.uAppendIndex + 1 != m_uSize) m_cursors.uAppendIndex = m_uSize;
        const std::uint64_t uBytes = (std::uint64_t{uCount} + m_cursors.uAppendBitOffset + 7) / 8;
        if (Reserve(m_uSize + uBytes + 4) < 0) return false;
        if (uCount == 0) return true;
        if (m_cursors.uAppendIndex == m_uSize)
        {
            ++m_uSize;
            m_cursors.uAppendBitOffset = 0;
        }
        unsigned int uAt = m_cursors.uAppendIndex;
        unsigned int uBit = m_cursors.uAppendBitOffset;
        // Of the byte that is gone on with, only what was appended as bits stays.
        m_storage[uAt] = static_cast<unsigned char>(uBit == 0 ? 0 : m_storage[uAt] & 0xFF << (8 - uBit));
        for (unsigned int i = 0; i < uCount; ++i)
        {
            if (uBit == 8)
            {
                uBit = 0;
                m_storage[++uAt] = 0;
            }
            if (BitOf(rSrc, uOffset + i)) m_storage[uAt] = static_cast<unsigned char>(m_storage[uAt] | 0x80 >> uBit);
            ++uBit;
        }
        m_uSize = uAt + 1;
        m_uKnown = m_uSize;
        m_cursors.uAppendBitOffset = uBit % 8;
        m_cursors.uAppendIndex = uBit == 8 ? m_uSize : uAt;
        return true;
    }
    /// In chunks, up to the one that memory does not suffice for.
    bool PadBits(unsigned int uCount)
    {
        while (uCount != 0)
        {
            const unsigned int uChunk = std::min(uCount, 32u);
            if (!AppendBits(Bytes(4), uChunk, 0)) return false;
            uCount -= uChunk;
        }
        return true;
    }
    bool RealignAppend(unsigned int uAlignment)
    {
        if (uAlignment == 0) return true;
        const std::uint64_t uPosition =
            std::uint64_t{m_cursors.uAppendIndex % uAlignment} * 8 + m_cursors.uAppendBitOffset;
        const unsigned int uRest = static_cast<unsigned int>(uPosition % uAlignment);
        return uRest == 0 || PadBits(uAlignment - uRest);
    }
    /// The bits, the first on top of the first byte.
    std::vector<bool> ReadBits(unsigned int uCount)
    {
        std::vector<bool> bits;
        if (m_cursors.uReadIndex == 0) m_cursors.uReadBitOffset = 0;
        uCount = static_cast<unsigned int>(std::min<std::uint64_t>(uCount, ReadableBits()));
        std::uint64_t uPosition = GetReadPosition();
        for (unsigned int i = 0; i < uCount; ++i, ++uPosition)
            bits.push_back((m_storage[uPosition / 8] >> (7 - uPosition % 8) & 1) != 0);
        if (uCount != 0) SetReadPosition(uPosition);
        return bits;
    }
    void SkipBits(std::uint64_t uCount)
    {
        uCount = std::min(uCount, ReadableBits());
        if (uCount == 0) return;
        if (m_cursors.uReadBitOffset == 0) ++m_cursors.uReadIndex;
        const std::uint64_t uBits = uCount + m_cursors.uReadBitOffset;
        m_cursors.uReadIndex += static_cast<unsigned int>(uBits / 8);
        m_cursors.uReadBitOffset = uBits % 8;
        if (m_cursors.uReadBitOffset == 0) --m_cursors.uReadIndex;
    }
    void RealignRead(unsigned int uAlignment)
    {
        if (uAlignment == 0) return;
        const unsigned int uBytes = m_cursors.uReadIndex - (m_cursors.uReadBitOffset != 0 ? 1 : 0);
        const std::uint64_t uPosition = std::uint64_t{uBytes % uAlignment} * 8 + m_cursors.uReadBitOffset;
        const unsigned int uRest = static_cast<unsigned int>(uPosition % uAlignment);
        if (uRest != 0) SkipBits(uAlignment - uRest);
    }

    /// Extraction of so many bytes from a marshaler; false leaves all as it was.
    bool TakeExtracted(const Bytes& rBytes)
    {
        if (Reserve(rBytes.size()) < 0) return false;
        PutBytes(rBytes);
        return true;
    }

    static bool BitOf(const Bytes& rBytes, unsigned int uBit) { return (rBytes[uBit / 8] >> (7 - uBit % 8) & 1) != 0; }

private:
    bool Reallocate(std::uint64_t uCapacity)
    {
        if (uCapacity > 0xFFFFFFFF) return false;
        if (uCapacity != 0 && !m_pRequests->Ask(std::max(8u, static_cast<unsigned int>(uCapacity)))) return false;
        Bytes kept = GetBytes(0, m_uSize);
        GiveBack();
        m_storage.assign(uCapacity, 0);
        PutBytes(kept);
        return true;
    }
    void GiveBack()
    {
        if (GetCapacity() != 0) m_pRequests->released.push_back(GetCapacity());
        m_storage.clear();
    }
    void PutBytes(const Bytes& rBytes)
    {
        m_uSize = static_cast<unsigned int>(rBytes.size());
        std::copy(rBytes.begin(), rBytes.end(), m_storage.begin());
        m_uKnown = m_uSize;
    }
    void Exchange(CBlobTwin& rOther)
    {
        std::swap(m_pRequests, rOther.m_pRequests);
        m_storage.swap(rOther.m_storage);
        std::swap(m_uSize, rOther.m_uSize);
        std::swap(m_uKnown, rOther.m_uKnown);
        std::swap(m_cursors, rOther.m_cursors);
    }
    bool CanRead(unsigned int uCount) const
    {
        const unsigned int uUnread = m_cursors.uReadIndex > m_uSize ? 0 : m_uSize - m_cursors.uReadIndex;
        return uCount <= uUnread;
    }
    std::uint64_t ReadableBits() const
    {
        if (m_cursors.uReadIndex > m_uSize) return 0;
        return std::uint64_t{m_uSize - m_cursors.uReadIndex} * 8 +
               (m_cursors.uReadBitOffset != 0 ? 8 - m_cursors.uReadBitOffset : 0);
    }
    std::uint64_t GetReadPosition() const
    {
        const unsigned int uByte = m_cursors.uReadIndex - (m_cursors.uReadBitOffset != 0 ? 1 : 0);
        return std::uint64_t{uByte} * 8 + m_cursors.uReadBitOffset;
    }
    void SetReadPosition(std::uint64_t uPosition)
    {
        m_cursors.uReadBitOffset = uPosition % 8;
        m_cursors.uReadIndex = static_cast<unsigned int>(uPosition / 8) + (uPosition % 8 != 0 ? 1 : 0);
    }

    SRequests* m_pRequests;
    Bytes m_storage;
    unsigned int m_uSize = 0;
    unsigned int m_uKnown = 0;
    SBlobCursors m_cursors{0, 0, 0, 0};
};

#endif
