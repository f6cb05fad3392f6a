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
constexpr char g_acMAGIC[] = {'o', 'r', 'v', 'l', 'j', 'r', 'n', 'l'};
constexpr uint32_t g_uVERSION = 2;
constexpr uint32_t g_uRECORD_KIND = 'R';
constexpr uint32_t g_uSEALED_KIND = 'S';
constexpr uint32_t g_uCLOSING_KIND = 'C';

// A CString in a marshaler is its 16-bit length and its characters; a stamp is two decimal numbers and a space.
constexpr unsigned int g_uMARSHALED_LENGTH = sizeof(uint16_t);
constexpr unsigned int g_uMIN_STAMP = 3;
constexpr unsigned int g_uMAX_STAMP = 20 + 1 + 20;
constexpr unsigned int g_uMIN_RECORD = g_uMARSHALED_LENGTH + g_uMIN_STAMP + g_uMARSHALED_LENGTH;
constexpr unsigned int g_uMAX_RECORD = g_uMARSHALED_LENGTH + g_uMAX_STAMP + g_uMARSHALED_LENGTH + CString::uMAX_SIZE;
constexpr unsigned int g_uNONCE_SIZE = sizeof(SNonce);
constexpr unsigned int g_uCLOSING_SIZE = sizeof(uint64_t);
static_assert(g_uCLOSING_SIZE >= g_uMIN_RECORD, "room for either");

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
    const unsigned int uStrings = 2 * g_uMARSHALED_LENGTH + rStamp.GetSize() + rRecord.strText.GetSize();
    return uStrings + (rRecord.nonce ? g_uNONCE_SIZE : 0);
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
    std::memcpy(header.acMagic, g_acMAGIC, sizeof(g_acMAGIC));
    header.uVersion = g_uVERSION;
    std::memcpy(header.auJournalId, rId.auBytes, sizeof(header.auJournalId));
    SetTail(reinterpret_cast<uint8_t*>(&header), sizeof(header), rKey);
    return header;
}

bool HasMagic(const SHeader& rHeader)
{
    return std::memcmp(rHeader.acMagic, g_acMAGIC, sizeof(g_acMAGIC)) == 0;
}

bool IsKnownVersion(const SHeader& rHeader)
{
    return rHeader.uVersion == g_uVERSION;
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
    Check(m_blobBytes.ReserveCapacity(sizeof(SHead) + g_uMAX_RECORD + g_uNONCE_SIZE + sizeof(STail)));
}

void CFrame::SetRecord(const SRecord& rRecord, const SMac& rLink, const SKey& rKey)
{
    CString strStamp;
    Check(strStamp.Format(0, "%lu %lu", rRecord.uNumber, rRecord.uTime));
    CMarshaler marshaler;
    marshaler << strStamp << rRecord.strText;
    if (rRecord.nonce) marshaler.Insert(rRecord.nonce->auBytes, g_uNONCE_SIZE);
    Set(rRecord.nonce ? g_uSEALED_KIND : g_uRECORD_KIND, marshaler, PayloadSizeOf(rRecord, strStamp), rLink, rKey);
}

void CFrame::SetClosing(uint64_t uRecordCount, const SMac& rLink, const SKey& rKey)
{
    CMarshaler marshaler;
    marshaler << uRecordCount;
    Set(g_uCLOSING_KIND, marshaler, g_uCLOSING_SIZE, rLink, rKey);
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
    return GetHead().uKind == g_uCLOSING_KIND;
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
    CMarshalReader reader(GetPayload(), GetHead().uPayloadSize, CString::uMAX_SIZE);
    CString strStamp;
    reader >> strStamp >> rRecord.strText;
    rRecord.nonce.reset();
    if (GetHead().uKind == g_uSEALED_KIND) reader.Read(rRecord.nonce.emplace().auBytes, g_uNONCE_SIZE);
    if (reader.GetResult() == QV_RES_OUT_OF_MEMORY) throw std::bad_alloc();
    return reader.HasReadAll() && ParseStamp(strStamp, rRecord);
}

uint64_t CFrame::GetRecordCount() const
{
    uint64_t uCount = 0;
    CMarshalReader(GetPayload(), g_uCLOSING_SIZE, 0) >> uCount;
    return uCount;
}

bool CFrame::IsPossible(const SHead& rHead)
{
    if (rHead.uKind == g_uCLOSING_KIND) return rHead.uPayloadSize == g_uCLOSING_SIZE;
    if (rHead.uKind != g_uRECORD_KIND && rHead.uKind != g_uSEALED_KIND) return false;
    const unsigned int uNonce = rHead.uKind == g_uSEALED_KIND ? g_uNONCE_SIZE : 0;
    return rHead.uPayloadSize >= uNonce + g_uMIN_RECORD && rHead.uPayloadSize <= uNonce + g_uMAX_RECORD;
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
