#include "examples/journal/journal_format.h"

#include <charconv>
#include <cstddef>
#include <cstring>
#include <new>
#include <type_traits>

#include "examples/journal/refusal.h"

static_assert(sizeof(SHeader) == 48 && offsetof(SHeader, mac) == 28, "written to the file as it lies in memory");

namespace
{
constexpr char g_acMagic[] = {'o', 'r', 'v', 'l', 'j', 'r', 'n', 'l'};
constexpr uint32_t g_uVersion = 1;
constexpr uint32_t g_uRecordKind = 'R';
constexpr uint32_t g_uClosingKind = 'C';

// A CString in a marshaler is its 16-bit length and its characters; a stamp is two decimal numbers and a space.
constexpr unsigned int g_uMarshaledLength = sizeof(uint16_t);
constexpr unsigned int g_uMinStamp = 3;
constexpr unsigned int g_uMaxStamp = 20 + 1 + 20;
constexpr unsigned int g_uMinRecord = g_uMarshaledLength + g_uMinStamp + g_uMarshaledLength;
constexpr unsigned int g_uMaxRecord = g_uMarshaledLength + g_uMaxStamp + g_uMarshaledLength + CString::uMAX_SIZE;
constexpr unsigned int g_uClosingSize = sizeof(uint64_t);
static_assert(g_uClosingSize >= g_uMinRecord, "room for either");

SMac MacOf(const uint8_t* puData, size_t uSize, const SKey& rKey)
{
    SMac result;
    CSha1Mac mac;
    Check(mac.Begin(rKey.auBytes, sizeof(rKey.auBytes)));
    Check(mac.Update(puData, static_cast<unsigned int>(uSize)));
    Check(mac.End(result.auBytes));
    return result;
}

SMac MacOf(const SHeader& rHeader, const SKey& rKey)
{
    return MacOf(reinterpret_cast<const uint8_t*>(&rHeader), offsetof(SHeader, mac), rKey);
}

bool ParseStamp(const CString& rStamp, SRecord& rRecord)
{
    const auto stNumber = std::from_chars(rStamp.begin(), rStamp.end(), rRecord.uNumber);
    if (stNumber.ec != std::errc() || stNumber.ptr == rStamp.end() || *stNumber.ptr != ' ') return false;
    const auto stTime = std::from_chars(stNumber.ptr + 1, rStamp.end(), rRecord.uTime);
    return stTime.ec == std::errc() && stTime.ptr == rStamp.end();
}
}  // namespace

bool IsSame(const SMac& rLeft, const SMac& rRight)
{
    unsigned int uDifference = 0;
    for (size_t u = 0; u < sizeof(SMac::auBytes); ++u) uDifference |= rLeft.auBytes[u] ^ rRight.auBytes[u];
    return uDifference == 0;
}

SHeader MakeHeader(const SKey& rKey)
{
    SHeader header;
    std::memcpy(header.acMagic, g_acMagic, sizeof(g_acMagic));
    header.uVersion = g_uVersion;
    Check(CSecurePrng::Generate(sizeof(header.auJournalId), header.auJournalId));
    header.mac = MacOf(header, rKey);
    return header;
}

bool HasMagic(const SHeader& rHeader)
{
    return std::memcmp(rHeader.acMagic, g_acMagic, sizeof(g_acMagic)) == 0;
}

bool IsKnownVersion(const SHeader& rHeader)
{
    return rHeader.uVersion == g_uVersion;
}

bool IsSealedBy(const SHeader& rHeader, const SKey& rKey)
{
    return IsSame(rHeader.mac, MacOf(rHeader, rKey));
}

void SetText(CString& rText, const char* pcText, unsigned int uSize)
{
    // Insert() would take 65,535 characters for "up to the NUL".
    rText.EraseAll();
    if (uSize == 0) return;
    Check(rText.ReserveCapacity(static_cast<unsigned short>(uSize)));
    char* const pcBuffer = rText.GetBuffer();
    if (pcBuffer == nullptr) throw std::bad_alloc();
    std::memcpy(pcBuffer, pcText, uSize);
    rText.Resize(uSize);
}

CFrame::CFrame()
{
    static_assert(sizeof(SHead) == 28 && std::is_trivially_copyable_v<SHead>, "written as it lies in memory");
    // Once for all frames: blobs grow by no more than what they are asked for.
    Check(m_blobBytes.ReserveCapacity(sizeof(SHead) + g_uMaxRecord + sizeof(SMac)));
}

void CFrame::SetRecord(const SRecord& rRecord, const SMac& rLink, const SKey& rKey)
{
    CString strStamp;
    Check(strStamp.Format(0, "%lu %lu", rRecord.uNumber, rRecord.uTime));
    CMarshaler marshaler;
    marshaler << strStamp << rRecord.strText;
    const unsigned int uSize = 2 * g_uMarshaledLength + strStamp.GetSize() + rRecord.strText.GetSize();
    Seal(g_uRecordKind, marshaler, uSize, rLink, rKey);
}

void CFrame::SetClosing(uint64_t uRecordCount, const SMac& rLink, const SKey& rKey)
{
    CMarshaler marshaler;
    marshaler << uRecordCount;
    Seal(g_uClosingKind, marshaler, g_uClosingSize, rLink, rKey);
}

CFrame::EReading CFrame::ReadFrom(CInputFile& rFile)
{
    SHead head;
    const size_t uRead = rFile.Read(&head, sizeof(head));
    if (uRead == 0) return eAT_END;
    if (uRead < sizeof(head)) return eCUT_SHORT;
    if (!IsPossible(head)) return eIMPOSSIBLE;

    const unsigned int uRest = head.uPayloadSize + static_cast<unsigned int>(sizeof(SMac));
    Check(m_blobBytes.Resize(static_cast<unsigned int>(sizeof(head)) + uRest));
    std::memcpy(m_blobBytes.begin(), &head, sizeof(head));
    return rFile.Read(m_blobBytes.begin() + sizeof(head), uRest) == uRest ? eREAD : eCUT_SHORT;
}

bool CFrame::IsClosing() const
{
    return GetHead().uKind == g_uClosingKind;
}

bool CFrame::IsSealedBy(const SKey& rKey) const
{
    return IsSame(GetMac(), MacOf(m_blobBytes.begin(), m_blobBytes.GetSize() - sizeof(SMac), rKey));
}

SMac CFrame::GetMac() const
{
    SMac mac;
    std::memcpy(&mac, m_blobBytes.end() - sizeof(mac), sizeof(mac));
    return mac;
}

bool CFrame::GetRecord(SRecord& rRecord) const
{
    CMarshaler marshaler;
    marshaler.Insert(GetPayload(), GetHead().uPayloadSize);
    if (marshaler.GetUnreadSize() != GetHead().uPayloadSize) throw std::bad_alloc();
    CString strStamp;
    marshaler >> strStamp >> rRecord.strText;
    // What the lengths in an unsealed payload promise need not be there.
    const unsigned int uSize = 2 * g_uMarshaledLength + strStamp.GetSize() + rRecord.strText.GetSize();
    return uSize == GetHead().uPayloadSize && ParseStamp(strStamp, rRecord);
}

uint64_t CFrame::GetRecordCount() const
{
    CMarshaler marshaler;
    marshaler.Insert(GetPayload(), g_uClosingSize);
    uint64_t uCount = 0;
    marshaler >> uCount;
    return uCount;
}

bool CFrame::IsPossible(const SHead& rHead)
{
    if (rHead.uKind == g_uClosingKind) return rHead.uPayloadSize == g_uClosingSize;
    return rHead.uKind == g_uRecordKind && rHead.uPayloadSize >= g_uMinRecord && rHead.uPayloadSize <= g_uMaxRecord;
}

void CFrame::Seal(uint32_t uKind, CMarshaler& rPayload, unsigned int uPayloadSize, const SMac& rLink, const SKey& rKey)
{
    // A marshaler tells of bytes that found no memory by their absence only.
    if (rPayload.GetUnreadSize() != uPayloadSize) throw std::bad_alloc();
    const SHead head = {uKind, uPayloadSize, rLink};
    Check(m_blobBytes.Resize(static_cast<unsigned int>(sizeof(head)) + uPayloadSize));
    std::memcpy(m_blobBytes.begin(), &head, sizeof(head));
    rPayload.Extract(m_blobBytes.begin() + sizeof(head), uPayloadSize);
    const SMac mac = MacOf(m_blobBytes.begin(), m_blobBytes.GetSize(), rKey);
    Check(m_blobBytes.Append(mac.auBytes, sizeof(mac.auBytes)));
}

CFrame::SHead CFrame::GetHead() const
{
    SHead head;
    std::memcpy(&head, m_blobBytes.begin(), sizeof(head));
    return head;
}
