#include "examples/journal/journal_writer.h"

#include <ctime>

CJournalWriter::CJournalWriter(CReplacementFile& rOutput, const SKey& rKey, bool bSeal)
    : m_rOutput(rOutput), m_rKey(rKey), m_lastMac()
{
    if (bSeal) m_seal.emplace(m_rKey);
}

void CJournalWriter::Begin()
{
    Continue(MakeHeader(MakeJournalId(), m_rKey));
}

void CJournalWriter::Continue(const SHeader& rHeader)
{
    m_rOutput.Write(&rHeader, sizeof(rHeader));
    m_lastMac = rHeader.tail.mac;
}

void CJournalWriter::CopyRecord(const CFrame& rFrame)
{
    ++m_record.uNumber;
    WriteFrame(rFrame);
}

void CJournalWriter::Append(const char* pcText, unsigned int uSize)
{
    ++m_record.uNumber;
    m_record.uTime = static_cast<uint64_t>(std::time(nullptr));
    SetText(m_record.strText, pcText, uSize);
    if (m_seal) m_seal->Seal(m_record);
    m_frame.SetRecord(m_record, m_lastMac, m_rKey);
    WriteFrame(m_frame);
}

void CJournalWriter::Close()
{
    m_frame.SetClosing(m_record.uNumber, m_lastMac, m_rKey);
    WriteFrame(m_frame);
}

void CJournalWriter::WriteFrame(const CFrame& rFrame)
{
    m_rOutput.Write(rFrame.GetBytes().begin(), rFrame.GetBytes().GetSize());
    m_lastMac = rFrame.GetMac();
}
