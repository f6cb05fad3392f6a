#include "examples/journal/journal_format.h"

#include <charconv>
#include <cstddef>
#include <cstring>
#include <new>
#include <type_traits>

#include "examples/journal/refusal.h"

static_assert(sizeof(STail) == 24 && offsetof(STail, uCrc) == 20 && sizeof(SHeader) == 52 &&
                  offsetof(SHeader, tail) == 28,
              "written to the file as they lie in memory");

namespace
{
constexpr char g_acMagic[] = {'o', 'r', 'v', 'l', 'j', 'r', 'n', 'l'};
constexpr uint32_t g_uVersion = 2;
constexpr uint32_t g_uRecordKind = 'R';
constexpr uint32_t g_uSealedKind = 'S';
constexpr uint32_t g_uClosingKind = 'C';

// A CString in a marshaler is its 16-bit length and its characters; a stamp is two decimal numbers and a space.
constexpr unsigned int g_uMarshaledLength = sizeof(uint16_t);
constexpr unsigned int g_uMinStamp = 3;
constexpr unsigned int g_uMaxStamp = 20 + 1 + 20;
constexpr unsigned int g_uMinRecord = g_uMarshaledLength + g_uMinStamp + g_uMarshaledLength;
constexpr unsigned int g_uMaxRecord = g_uMarshaledLength + g_uMaxStamp + g_uMarshaledLength + CString::uMAX_SIZE;
constexpr unsigned int g_uNonceSize = sizeof(SNonce);
constexpr unsigned int g_uClosingSize = sizeof(uint64_t);
static_assert(g_uClosingSize >= g_uMinRecord, "room for either");

// What the tail of a header or a frame of uSize bytes, that tail included, should hold.
SMac MacFor(const uint8_t* puBegin, size_t uSize, const SKey& rKey)
{
    SMac result;
    CSha1Mac mac;
    Check(mac.Begin(rKey.auBytes, sizeof(rKey.auBytes)));
    Check(mac.Update(puBegin, static_cast<unsigned int>(uSize - sizeof(STail))));
    Check(mac.End(result.auBytes));
    return result;
}

uint32_t CrcFor(const uint8_t* puBegin, size_t uSize)
{
    uint32_t uResult = 0;
    CCrc crc;
    Check(crc.Begin(CCrc::eCRC32));
    Check(crc.Update(puBegin, static_cast<unsigned int>(uSize - sizeof(STail::uCrc))));
    Check(crc.End(&uResult));
    return uResult;
}

void SetTail(uint8_t* puBegin, size_t uSize, const SKey& rKey)
{
    const SMac mac = MacFor(puBegin, uSize, rKey);
    std::memcpy(puBegin + uSize - sizeof(STail), &mac, sizeof(mac));
    const uint32_t uCrc = CrcFor(puBegin, uSize);
    std::memcpy(puBegin + uSize - sizeof(uCrc), &uCrc, sizeof(uCrc));
}

const uint8_t* BytesOf(const SHeader& rHeader)
{
    return reinterpret_cast<const uint8_t*>(&rHeader);
}

unsigned int PayloadSizeOf(const SRecord& rRecord, const CString& rStamp)
{
    const unsigned int uStrings = 2 * g_uMarshaledLength + rStamp.GetSize() + rRecord.strText.GetSize();
    return uStrings + (rRecord.nonce ? g_uNonceSize : 0);
}

struct SLengths
{
    uint16_t uStamp;
    uint16_t uText;
};

// Of the two strings in a payload of uSize bytes, at least g_uMinRecord; nothing when they do not fill it.
std::optional<SLengths> LengthsIn(const uint8_t* puPayload, unsigned int uSize)
{
    SLengths lengths;
    std::memcpy(&lengths.uStamp, puPayload, g_uMarshaledLength);
    const unsigned int uTextAt = g_uMarshaledLength + lengths.uStamp;
    if (uTextAt + g_uMarshaledLength > uSize) return std::nullopt;
    std::memcpy(&lengths.uText, puPayload + uTextAt, g_uMarshaledLength);
    if (uTextAt + g_uMarshaledLength + lengths.uText != uSize) return std::nullopt;
    return lengths;
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
    return QvIsEqualConstantTime(rLeft.auBytes, rRight.auBytes, sizeof(SMac::auBytes));
}

SJournalId MakeJournalId()
{
    SJournalId id;
    Check(CSecurePrng::Generate(sizeof(id.auBytes), id.auBytes));
    return id;
}

SHeader MakeHeader(const SJournalId& rId, const SKey& rKey)
{
    SHeader header;
    std::memcpy(header.acMagic, g_acMagic, sizeof(g_acMagic));
    header.uVersion = g_uVersion;
    std::memcpy(header.auJournalId, rId.auBytes, sizeof(header.auJournalId));
    SetTail(reinterpret_cast<uint8_t*>(&header), sizeof(header), rKey);
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

bool IsUndamaged(const SHeader& rHeader)
{
    return rHeader.tail.uCrc == CrcFor(BytesOf(rHeader), sizeof(rHeader));
}

bool IsAuthentic(const SHeader& rHeader, const SKey& rKey)
{
    return IsSame(rHeader.tail.mac, MacFor(BytesOf(rHeader), sizeof(rHeader), rKey));
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
    Check(m_blobBytes.ReserveCapacity(sizeof(SHead) + g_uMaxRecord + g_uNonceSize + sizeof(STail)));
}

void CFrame::SetRecord(const SRecord& rRecord, const SMac& rLink, const SKey& rKey)
{
    CString strStamp;
    Check(strStamp.Format(0, "%lu %lu", rRecord.uNumber, rRecord.uTime));
    CMarshaler marshaler;
    marshaler << strStamp << rRecord.strText;
    if (rRecord.nonce) marshaler.Insert(rRecord.nonce->auBytes, g_uNonceSize);
    Set(rRecord.nonce ? g_uSealedKind : g_uRecordKind, marshaler, PayloadSizeOf(rRecord, strStamp), rLink, rKey);
}

void CFrame::SetClosing(uint64_t uRecordCount, const SMac& rLink, const SKey& rKey)
{
    CMarshaler marshaler;
    marshaler << uRecordCount;
    Set(g_uClosingKind, marshaler, g_uClosingSize, rLink, rKey);
}

CFrame::EReading CFrame::ReadFrom(CInputFile& rFile)
{
    SHead head;
    const size_t uRead = rFile.Read(&head, sizeof(head));
    if (uRead == 0) return eAT_END;
    if (uRead < sizeof(head)) return eCUT_SHORT;
    if (!IsPossible(head)) return eIMPOSSIBLE;

    const unsigned int uRest = head.uPayloadSize + static_cast<unsigned int>(sizeof(STail));
    Check(m_blobBytes.Resize(static_cast<unsigned int>(sizeof(head)) + uRest));
    std::memcpy(m_blobBytes.begin(), &head, sizeof(head));
    return rFile.Read(m_blobBytes.begin() + sizeof(head), uRest) == uRest ? eREAD : eCUT_SHORT;
}

bool CFrame::IsClosing() const
{
    return GetHead().uKind == g_uClosingKind;
}

bool CFrame::IsUndamaged() const
{
    return GetTail().uCrc == CrcFor(m_blobBytes.begin(), m_blobBytes.GetSize());
}

bool CFrame::IsAuthentic(const SKey& rKey) const
{
    return IsSame(GetMac(), MacFor(m_blobBytes.begin(), m_blobBytes.GetSize(), rKey));
}

SDigest CFrame::GetDigest() const
{
    SDigest digest;
    CSha256 sha256;
    Check(sha256.Begin());
    Check(sha256.Update(m_blobBytes.begin(), m_blobBytes.GetSize()));
    Check(sha256.End(digest.auBytes));
    return digest;
}

bool CFrame::GetRecord(SRecord& rRecord) const
{
    // What the lengths in a forged payload promise need not be there.
    const unsigned int uNonceSize = GetHead().uKind == g_uSealedKind ? g_uNonceSize : 0;
    const std::optional<SLengths> lengths = LengthsIn(GetPayload(), GetHead().uPayloadSize - uNonceSize);
    if (!lengths) return false;
    CMarshaler marshaler;
    marshaler.Insert(GetPayload(), GetHead().uPayloadSize);
    if (marshaler.GetUnreadSize() != GetHead().uPayloadSize) throw std::bad_alloc();
    CString strStamp;
    marshaler >> strStamp >> rRecord.strText;
    rRecord.nonce.reset();
    if (uNonceSize != 0) marshaler.Extract(rRecord.nonce.emplace().auBytes, g_uNonceSize);
    const bool bWhole = strStamp.GetSize() == lengths->uStamp && rRecord.strText.GetSize() == lengths->uText;
    if (!bWhole) throw std::bad_alloc();
    return ParseStamp(strStamp, rRecord);
}

uint64_t CFrame::GetRecordCount() const
{
    CMarshaler marshaler;
    marshaler.Insert(GetPayload(), g_uClosingSize);
    if (marshaler.GetUnreadSize() != g_uClosingSize) throw std::bad_alloc();
    uint64_t uCount = 0;
    marshaler >> uCount;
    return uCount;
}

bool CFrame::IsPossible(const SHead& rHead)
{
    if (rHead.uKind == g_uClosingKind) return rHead.uPayloadSize == g_uClosingSize;
    if (rHead.uKind != g_uRecordKind && rHead.uKind != g_uSealedKind) return false;
    const unsigned int uNonce = rHead.uKind == g_uSealedKind ? g_uNonceSize : 0;
    return rHead.uPayloadSize >= uNonce + g_uMinRecord && rHead.uPayloadSize <= uNonce + g_uMaxRecord;
}

void CFrame::Set(uint32_t uKind, CMarshaler& rPayload, unsigned int uPayloadSize, const SMac& rLink, const SKey& rKey)
{
    // A marshaler tells of bytes that found no memory by their absence only.
    if (rPayload.GetUnreadSize() != uPayloadSize) throw std::bad_alloc();
    const SHead head = {uKind, uPayloadSize, rLink};
    Check(m_blobBytes.Resize(static_cast<unsigned int>(sizeof(head) + uPayloadSize + sizeof(STail))));
    std::memcpy(m_blobBytes.begin(), &head, sizeof(head));
    rPayload.Extract(m_blobBytes.begin() + sizeof(head), uPayloadSize);
    SetTail(m_blobBytes.begin(), m_blobBytes.GetSize(), rKey);
}

CFrame::SHead CFrame::GetHead() const
{
    SHead head;
    std::memcpy(&head, m_blobBytes.begin(), sizeof(head));
    return head;
}

STail CFrame::GetTail() const
{
    STail tail;
    std::memcpy(&tail, m_blobBytes.end() - sizeof(tail), sizeof(tail));
    return tail;
}
