#ifndef EXAMPLES_JOURNAL_KEY_FILE_H
#define EXAMPLES_JOURNAL_KEY_FILE_H
#include <cstdint>
#include <cstring>

#include "examples/journal/replacement_file.h"

/// The secret of a journal; as a file, these bytes and nothing else, which only the owner may read. In memory it is
/// wiped when it is no longer needed. It is never returned but filled in, so that no copy is left on the way.
struct SKey
{
    SKey() = default;
    SKey(const SKey&) = delete;
    SKey& operator=(const SKey&) = delete;
    ~SKey() { explicit_bzero(auBytes, sizeof(auBytes)); }

    uint8_t auBytes[32] = {};
};

/// Refuses a file of another size, of another user, or one that anybody but its owner may use.
void LoadKey(const char* pszPath, SKey& rKey);
void MakeKey(SKey& rKey);

/// The file of a new key. It has no name until Commit(), and loses it again if Keep() does not follow: no key is left
/// of a call that made no journal.
class CNewKeyFile
{
public:
    CNewKeyFile(const char* pszPath, const SKey& rKey);
    ~CNewKeyFile();
    CNewKeyFile(const CNewKeyFile&) = delete;
    CNewKeyFile& operator=(const CNewKeyFile&) = delete;

    /// Refuses if a key has appeared there in the meantime.
    void Commit();
    void Keep() { m_bCommitted = false; }

private:
    CString m_strPath;
    CReplacementFile m_file;
    bool m_bCommitted = false;  // and to be removed
};

#endif
