#ifndef EXAMPLES_JOURNAL_FILES_H
#define EXAMPLES_JOURNAL_FILES_H
#include <sys/stat.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <optional>

#include "framework/framework.h"

/// A file that is read from its beginning to its end. Whatever fails is refused under the file's name.
class CInputFile
{
public:
    explicit CInputFile(const char* pszPath);
    /// Of a stream that is open already and stays so.
    CInputFile(std::FILE* pOpen, const char* pszName);
    ~CInputFile();
    CInputFile(const CInputFile&) = delete;
    CInputFile& operator=(const CInputFile&) = delete;

    /// Reads uSize bytes; fewer only where the file ends. Returns how many.
    size_t Read(void* pvData, size_t uSize);
    void Seek(uint64_t uOffset);

    int GetDescriptor() const { return fileno(m_pFile); }
    struct stat GetStatus() const;
    const char* GetName() const { return m_strName.CStr(); }

private:
    CString m_strName;
    std::FILE* m_pFile;
    bool m_bOwned;
};

/// What stat() tells about a file, which need not exist.
std::optional<struct stat> StatusOf(const char* pszPath);
/// The path up to its last slash; "." when there is none.
CString DirectoryOf(const CString& rPath);
/// Makes the creation or renaming of a file last through a power failure.
void SyncDirectoryOf(const CString& rPath);

#endif
