#ifndef EXAMPLES_JOURNAL_TEXT_SEAL_H
#define EXAMPLES_JOURNAL_TEXT_SEAL_H
#include "examples/journal/journal_format.h"
#include "examples/journal/key_file.h"
#include "framework/framework.h"

/// Encrypts the texts of records, and decrypts them: AES-256 in counter mode, under a key derived from the journal's.
/// That alone hides a text but does not protect it: the code of the frame does, and it is to be checked before Open().
class CTextSeal
{
public:
    explicit CTextSeal(const SKey& rKey);

    /// Under a new random nonce.
    void Seal(SRecord& rRecord);
    /// Of a sealed record.
    void Open(SRecord& rRecord);

private:
    void Transform(CCipher::EAction eAction, const SNonce& rNonce, CString& rText);

    CAes m_aes;
    CBlob m_blobResult;
};

/// Nonce and encrypted text of a sealed record, in base64.
CBlob SealedTextOf(const SRecord& rRecord);

#endif
