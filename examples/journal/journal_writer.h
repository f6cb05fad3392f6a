#ifndef EXAMPLES_JOURNAL_JOURNAL_WRITER_H
#define EXAMPLES_JOURNAL_JOURNAL_WRITER_H
#include <cstdint>
#include <optional>

#include "examples/journal/journal_format.h"
#include "examples/journal/key_file.h"
#include "examples/journal/replacement_file.h"
#include "examples/journal/text_seal.h"

/// Writes a journal: Begin() or Continue(), then a record for each Append(), then Close().
class CJournalWriter
{
public:
    /// Output and key are borrowed, the output is committed by the caller. bSeal: the texts of new records are sealed.
    CJournalWriter(CReplacementFile& rOutput, const SKey& rKey, bool bSeal);

    void Begin();
    /// Goes on behind the records of another journal, copied by CopyRecord() one by one as they were verified.
    void Continue(const SHeader& rHeader);
    void CopyRecord(const CFrame& rFrame);
    /// A record of uSize characters, at most CString::uMAX_SIZE, and the present time.
    void Append(const char* pcText, unsigned int uSize);
    void Close();

    uint64_t GetCount() const { return m_record.uNumber; }

private:
    void WriteFrame(const CFrame& rFrame);

    CReplacementFile& m_rOutput;
    const SKey& m_rKey;
    std::optional<CTextSeal> m_seal;
    SRecord m_record;  // the last one
    SMac m_lastMac;    // its code, or the header's
    CFrame m_frame;
};

#endif
