#ifndef FUZZ_MODELS_MARSHALER_TWIN_H
#define FUZZ_MODELS_MARSHALER_TWIN_H
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

/// What a pool of segments would say: how many blocks it has handed out, and whether it can hand out one more.
struct SSegments
{
    static constexpr unsigned int uNO_LIMIT = 0xFFFFFFFF;

    unsigned int uLimit = uNO_LIMIT;
    unsigned int uOut = 0;

    bool Take()
    {
        if (uOut >= uLimit) return false;
        ++uOut;
        return true;
    }
};

/// A second, plain implementation of the marshaler: one run of bytes, and a count of the segments it lies in. The first
/// has 56 bytes, the others have 88; one is taken when the first byte comes that needs it.
class CMarshalerTwin
{
public:
    explicit CMarshalerTwin(SSegments& rSegments) : m_pSegments(&rSegments) {}
    CMarshalerTwin(const CMarshalerTwin& rSrc) : m_pSegments(rSrc.m_pSegments) { *this = rSrc; }
    ~CMarshalerTwin() { Clear(); }
    /// Copies what is in it and how much of that was extracted, as far as segments can be had.
    CMarshalerTwin& operator=(const CMarshalerTwin& rSrc)
    {
        if (&rSrc == this) return *this;
        Clear();
        while (m_uSegments < rSrc.m_uSegments && m_pSegments->Take()) ++m_uSegments;
        m_bytes.assign(rSrc.m_bytes.begin(),
                       rSrc.m_bytes.begin() + static_cast<std::ptrdiff_t>(std::min(rSrc.m_bytes.size(), GetRoom())));
        m_uRead = std::min(rSrc.m_uRead, m_bytes.size());
        return *this;
    }

    std::size_t GetUnreadSize() const { return m_bytes.size() - m_uRead; }
    std::size_t GetSize() const { return m_bytes.size(); }
    unsigned int GetSegments() const { return m_uSegments; }

    void Insert(const std::vector<unsigned char>& rBytes)
    {
        for (const unsigned char uByte : rBytes)
        {
            if (m_bytes.size() == GetRoom())
            {
                // What finds no room is dropped.
                if (!m_pSegments->Take()) return;
                ++m_uSegments;
            }
            m_bytes.push_back(uByte);
        }
    }
    /// Zeros where nothing was written; the reader stays at the writer.
    std::vector<unsigned char> Extract(std::size_t uCount)
    {
        const std::size_t uThere = std::min(uCount, GetUnreadSize());
        const auto itFrom = m_bytes.begin() + static_cast<std::ptrdiff_t>(m_uRead);
        std::vector<unsigned char> bytes(itFrom, itFrom + static_cast<std::ptrdiff_t>(uThere));
        bytes.resize(uCount, 0);
        m_uRead += uThere;
        return bytes;
    }
    std::uint64_t ExtractNumber(unsigned int uBytes)
    {
        const std::vector<unsigned char> bytes = Extract(uBytes);
        std::uint64_t uValue = 0;
        for (unsigned int i = uBytes; i-- > 0;) uValue = uValue << 8 | bytes[i];
        return uValue;
    }
    void Skip(std::size_t uCount) { m_uRead += std::min(uCount, GetUnreadSize()); }
    void Clear()
    {
        m_pSegments->uOut -= m_uSegments;
        m_uSegments = 0;
        m_uRead = 0;
        m_bytes.clear();
    }

private:
    std::size_t GetRoom() const { return 56 + std::size_t{m_uSegments} * 88; }

    SSegments* m_pSegments;
    std::vector<unsigned char> m_bytes;
    std::size_t m_uRead = 0;
    unsigned int m_uSegments = 0;
};

#endif
