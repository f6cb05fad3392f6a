#include "examples/journal/journal_reader.h"

#include <cstdarg>
#include <cstring>

#include "examples/journal/refusal.h"

namespace
{
constexpr char g_szDAMAGED[] = "damaged: its CRC-32 does not fit";
constexpr char g_szFORGED[] = "forged: its CRC-32 fits, its HMAC does not";
}  // namespace

CJournalReader::CJournalReader(CInputFile& rFile, const SKey* pKey) : m_rFile(rFile), m_pKey(pKey), m_header()
{
    const size_t uRead = m_rFile.Read(&m_header, sizeof(m_header));
    if (uRead >= sizeof(m_header.acMagic) && !HasMagic(m_header)) Refuse("%s: header: not a journal", rFile.GetName());
    if (uRead < sizeof(m_header)) Refuse("%s: header: truncated, or not a journal", rFile.GetName());
    CheckHeader();
    m_lastMac = m_header.tail.mac;
}

bool CJournalReader::Next()
{
    ReadFrame();
    if (m_frame.IsClosing())
    {
        CheckClosing();
        return false;
    }
    CheckRecord();
    ++m_uCount;
    m_lastMac = m_frame.GetMac();
    m_uOffset += m_frame.GetBytes().GetSize();
    return true;
}

const SRecord& CJournalReader::ReadAgain(uint64_t uNumber, uint64_t uOffset, const SDigest& rDigest)
{
    m_rFile.Seek(uOffset);
    const bool bSame = m_frame.ReadFrom(m_rFile) == CFrame::eREAD &&
                       std::memcmp(m_frame.GetDigest().auBytes, rDigest.auBytes, sizeof(rDigest.auBytes)) == 0 &&
                       m_frame.GetRecord(m_record);
    if (!bSame) Refuse("%s: record %lu: changed while it was being read", m_rFile.GetName(), uNumber);
    return m_record;
}

void CJournalReader::CheckHeader()
{
    const char* const pszName = m_rFile.GetName();
    if (!IsKnownVersion(m_header)) Refuse("%s: header: unknown version %u", pszName, m_header.uVersion);
    if (!IsUndamaged(m_header)) Refuse("%s: header: %s", pszName, g_szDAMAGED);
    if (m_pKey == nullptr || IsAuthentic(m_header, *m_pKey)) return;
    // If the key fits a frame, whatever that links to, it is the right key.
    const bool bRightKey = m_frame.ReadFrom(m_rFile) == CFrame::eREAD && m_frame.IsAuthentic(*m_pKey);
    Refuse("%s: header: %s", pszName, bRightKey ? g_szFORGED : "not made under this key, or forged");
}

void CJournalReader::ReadFrame()
{
    switch (m_frame.ReadFrom(m_rFile))
    {
        case CFrame::eREAD: break;
        case CFrame::eAT_END: RefuseRecord("truncated: the journal ends before it and without a closing record");
        case CFrame::eCUT_SHORT: RefuseRecord("truncated, or its length is corrupted: the journal ends inside it");
        case CFrame::eIMPOSSIBLE: RefuseRecord("damaged: no record has such a kind and length");
    }
    if (!m_frame.IsUndamaged()) RefuseFrame(g_szDAMAGED);
    if (m_pKey != nullptr && !m_frame.IsAuthentic(*m_pKey)) RefuseFrame(g_szFORGED);
}

void CJournalReader::CheckRecord()
{
    if (!m_frame.GetRecord(m_record)) RefuseRecord("forged: its CRC-32 fits, but it holds no record");
    if (m_record.uNumber != m_uCount + 1) RefuseRecord("found record %lu in its place", m_record.uNumber);
    if (m_frame.Follows(m_lastMac)) return;
    if (m_pKey == nullptr) RefuseRecord("does not continue what stands before it");
    RefuseRecord("found record %lu of another journal in its place", m_record.uNumber);
}

void CJournalReader::CheckClosing()
{
    const uint64_t uPromised = m_frame.GetRecordCount();
    if (uPromised != m_uCount) RefuseRecord("found the closing record of %lu records in its place", uPromised);
    if (!m_frame.Follows(m_lastMac))
    {
        RefuseClosing(m_pKey == nullptr ? "does not continue what stands before it" : "found that of another journal");
    }
    uint8_t uMore;
    if (m_rFile.Read(&uMore, 1) != 0) RefuseClosing("something follows it");
}

void CJournalReader::RefuseFrame(const char* pszReason)
{
    if (m_frame.IsClosing()) RefuseClosing(pszReason);
    RefuseRecord("%s", pszReason);
}

void CJournalReader::RefuseRecord(const char* pszFormat, ...)
{
    CString strReason;
    va_list args;
    va_start(args, pszFormat);
    const QvResult res = strReason.Format(0, pszFormat, args);
    va_end(args);
    Check(res);
    Refuse("%s: record %lu: %s", m_rFile.GetName(), m_uCount + 1, strReason.CStr());
}

void CJournalReader::RefuseClosing(const char* pszReason)
{
    Refuse("%s: closing record: %s", m_rFile.GetName(), pszReason);
}
