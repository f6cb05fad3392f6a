#ifndef EXAMPLES_JOURNAL_JOURNAL_READER_H
#define EXAMPLES_JOURNAL_JOURNAL_READER_H
#include <cstdint>

#include "examples/journal/files.h"
#include "examples/journal/journal_format.h"
#include "examples/journal/key_file.h"

/// Walks through a journal and refuses it at the first thing that is not as it was written.
/// Without a key only structure, checksums, numbers and links can be checked, which anybody can forge.
class CJournalReader
{
public:
    /// Reads the header. Both are borrowed; pKey may be null.
    CJournalReader(CInputFile& rFile, const SKey* pKey);

    /// The next record; false once the closing record was found in its place, and nothing behind it.
    bool Next();

    const SHeader& GetHeader() const { return m_header; }
    const SRecord& GetRecord() const { return m_record; }
    const CFrame& GetFrame() const { return m_frame; }
    /// How many records were read.
    uint64_t GetCount() const { return m_uCount; }
    /// Where in the file what Next() will read begins.
    uint64_t GetOffset() const { return m_uOffset; }

    /// Goes back to record uNumber at an offset, where Next() found a frame of this digest, and refuses if any byte of
    /// it has changed since, with or without a key. Next() is of no use afterwards.
    const SRecord& ReadAgain(uint64_t uNumber, uint64_t uOffset, const SDigest& rDigest);

private:
    void CheckHeader();
    void ReadFrame();
    void CheckRecord();
    void CheckClosing();
    [[noreturn]] void RefuseFrame(const char* pszReason);
    [[noreturn]] void RefuseRecord(const char* pszFormat, ...) __attribute__((format(printf, 2, 3)));
    [[noreturn]] void RefuseClosing(const char* pszReason);

    CInputFile& m_rFile;
    const SKey* m_pKey;
    SHeader m_header;
    CFrame m_frame;
    SRecord m_record;
    SMac m_lastMac;  // of the last record read, to which the next one links
    uint64_t m_uCount = 0;
    uint64_t m_uOffset = sizeof(SHeader);
};

#endif
