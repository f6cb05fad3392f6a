#ifndef EXAMPLES_JOURNAL_JOURNAL_FORMAT_H
#define EXAMPLES_JOURNAL_JOURNAL_FORMAT_H
#include <cstdint>
#include <optional>

#include "examples/journal/files.h"
#include "examples/journal/key_file.h"
#include "framework/framework.h"

/// A journal file is a header, a frame for each record, and a closing frame. README.md describes every field.

/// The code that authenticates a header or a frame: HMAC-SHA1 under the journal's key.
struct SMac
{
    uint8_t auBytes[20];
};

/// Takes the same time wherever they differ.
bool IsSame(const SMac& rLeft, const SMac& rRight);

/// What a header or a frame ends with.
struct STail
{
    SMac mac;       // of all before it
    uint32_t uCrc;  // CRC-32 of all before it, the MAC included
};

/// As it lies in the file.
struct SHeader
{
    char acMagic[8];
    uint32_t uVersion;
    uint8_t auJournalId[16];
    STail tail;
};

/// What tells one journal from the others under the same key; random.
struct SJournalId
{
    uint8_t auBytes[16];
};

SJournalId MakeJournalId();
SHeader MakeHeader(const SJournalId& rId, const SKey& rKey);
bool HasMagic(const SHeader& rHeader);
bool IsKnownVersion(const SHeader& rHeader);
/// Whether the CRC fits: a cheap first check, which fails after nearly every accidental change.
bool IsUndamaged(const SHeader& rHeader);
bool IsAuthentic(const SHeader& rHeader, const SKey& rKey);

/// What a sealed text was encrypted with beside the key; random, and never used for another text.
struct SNonce
{
    uint8_t auBytes[16];
};

/// Tells any two frames apart, also without the key that is needed to check their codes.
struct SDigest
{
    uint8_t auBytes[32];
};

/// A line of text in the journal.
struct SRecord
{
    uint64_t uNumber = 0;         // from 1 on
    uint64_t uTime = 0;           // when it was written, in seconds since the epoch
    std::optional<SNonce> nonce;  // there while the text is encrypted, see CTextSeal
    CString strText;
};

/// Replaces the text by uSize characters, at most CString::uMAX_SIZE, NULs included.
void SetText(CString& rText, const char* pcText, unsigned int uSize);

/// One record, or the closing frame of the journal, as it lies in the file. Its code also covers its link, which is the
/// code of what stands before it. So one can tell of any frame whether it is intact, and whether it is in its place.
class CFrame
{
public:
    enum EReading
    {
        eREAD,
        eAT_END,     // there is no byte left
        eCUT_SHORT,  // the file ends inside it
        eIMPOSSIBLE  // its kind and length fit no frame
    };

    CFrame();

    void SetRecord(const SRecord& rRecord, const SMac& rLink, const SKey& rKey);
    void SetClosing(uint64_t uRecordCount, const SMac& rLink, const SKey& rKey);
    EReading ReadFrom(CInputFile& rFile);

    // Of a frame that was set or read:
    bool IsClosing() const;
    bool IsUndamaged() const;
    bool IsAuthentic(const SKey& rKey) const;
    bool Follows(const SMac& rMac) const { return IsSame(GetHead().link, rMac); }
    SMac GetMac() const { return GetTail().mac; }
    /// SHA-256 of all of it.
    SDigest GetDigest() const;
    /// False when the content is not that of a record; rRecord is then of no use.
    bool GetRecord(SRecord& rRecord) const;
    uint64_t GetRecordCount() const;
    const CBlob& GetBytes() const { return m_blobBytes; }

private:
    struct SHead
    {
        uint32_t uKind;
        uint32_t uPayloadSize;
        SMac link;
    };

    static bool IsPossible(const SHead& rHead);

    void Set(uint32_t uKind, CMarshaler& rPayload, unsigned int uPayloadSize, const SMac& rLink, const SKey& rKey);
    SHead GetHead() const;
    STail GetTail() const;
    const uint8_t* GetPayload() const { return m_blobBytes.begin() + sizeof(SHead); }

    CBlob m_blobBytes;
};

#endif
