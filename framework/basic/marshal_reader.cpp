#include "framework/basic/marshal_reader.h"

#include <limits.h>

#include <algorithm>

#include "framework/basic/blob.h"
#include "framework/basic/string.h"

CMarshalReader::CMarshalReader(const CMarshaler& rMarshaler, unsigned int uMaxSize)
    : CMarshalReader(nullptr, 0, uMaxSize)
{
    m_uSize = static_cast<unsigned int>(std::min<size_t>(rMarshaler.GetUnreadSize(), UINT_MAX));
    // Asked first: programs that were compiled with an older header may have moved the marshaler past its writer.
    if (m_uSize == 0) return;
    const size_t uPiece = static_cast<size_t>(rMarshaler.GetReadLimit() - rMarshaler.m_puRead);
    m_puRead = rMarshaler.m_puRead;
    m_puPieceEnd = m_puRead + uPiece;
    m_uBehind = m_uSize - static_cast<unsigned int>(uPiece);
}

CMarshalReader::CMarshalReader(const CBlob& rBlob, unsigned int uMaxSize)
    : CMarshalReader(rBlob.GetFirstIndexPtr(), rBlob.GetSize(), uMaxSize)
{
}

bool CMarshalReader::Read(void* pvDst, unsigned int uSize)
{
    if (uSize == 0) return !HasFailed();
    unsigned char* puDst = static_cast<unsigned char*>(pvDst);
    if (!Demand(uSize))
    {
        memset(puDst, 0, uSize);
        return false;
    }
    for (; uSize > PieceSize(); EnterNextSegment())
    {
        puDst = std::copy(m_puRead, m_puPieceEnd, puDst);
        uSize -= PieceSize();
    }
    memcpy(puDst, m_puRead, uSize);
    m_puRead += uSize;
    return true;
}

bool CMarshalReader::Skip(unsigned int uSize)
{
    if (!Demand(uSize)) return false;
    for (; uSize > PieceSize(); EnterNextSegment()) uSize -= PieceSize();
    m_puRead += uSize;
    return true;
}

unsigned int CMarshalReader::ReadCount(unsigned int uMinBytes, unsigned int uMemory)
{
    const unsigned int uPosition = GetPosition();
    const uint64_t uCount = Take<unsigned int>();
    if (uCount * uMemory > m_uMaxSize) Fail(QV_RES_INVALID_ARGUMENT, uPosition);
    if (uCount * uMinBytes > GetRemaining()) Fail(QV_RES_FAIL, uPosition);
    return HasFailed() ? 0 : static_cast<unsigned int>(uCount);
}

// Whether so many bytes are there. Otherwise the value that begins here fails.
bool CMarshalReader::Demand(unsigned int uSize)
{
    if (uSize > GetRemaining()) Fail(QV_RES_FAIL, GetPosition());
    return !HasFailed();
}

void CMarshalReader::EnterNextSegment()
{
    memcpy(&m_puRead, m_puPieceEnd, sizeof(m_puRead));
    const unsigned int uPiece = std::min(m_uBehind, CMarshaler::uSEGMENT_SIZE);
    m_puPieceEnd = m_puRead + uPiece;
    m_uBehind -= uPiece;
}

CMarshalReader& operator>>(CMarshalReader& rReader, CString& rString)
{
    const unsigned int uPosition = rReader.GetPosition();
    unsigned short uSize = 0;
    rReader >> uSize;
    if (uSize > rReader.GetMaxSize()) rReader.Fail(QV_RES_INVALID_ARGUMENT, uPosition);
    if (uSize > rReader.GetRemaining()) rReader.Fail(QV_RES_FAIL, uPosition);
    if (rReader.HasFailed() || uSize == 0)
    {
        rString = CString();
        return rReader;
    }
    char* const pcBuffer = rString.ReserveCapacity(uSize) >= 0 ? rString.GetBuffer() : nullptr;
    if (pcBuffer == nullptr)
    {
        rReader.Fail(QV_RES_OUT_OF_MEMORY, uPosition);
        rString = CString();
        return rReader;
    }
    rReader.Read(pcBuffer, uSize);
    rString.Resize(uSize);
    return rReader;
}

CMarshalReader& operator>>(CMarshalReader& rReader, CBlob& rBlob)
{
    const unsigned int uPosition = rReader.GetPosition();
    rBlob.Clear();
    const unsigned int uSize = rReader.ReadCount(1, 1);
    rReader.Fail(rBlob.ReserveCapacity(uSize), uPosition);
    if (rReader.HasFailed()) return rReader;
    rBlob.Resize(uSize);
    rReader.Read(rBlob.GetFirstIndexPtr(), uSize);
    return rReader;
}
