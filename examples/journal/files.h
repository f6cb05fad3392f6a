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
    /// Reads from a stream that is open already, and leaves it open.
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

/// An open file or directory, closed in the end.
class CDescriptor
{
public:
    explicit CDescriptor(int nOpen = -1) : m_nOpen(nOpen) {}
    ~CDescriptor() { Reset(-1); }
    CDescriptor(const CDescriptor&) = delete;
    CDescriptor& operator=(const CDescriptor&) = delete;

    bool IsOpen() const { return m_nOpen >= 0; }
    int Get() const { return m_nOpen; }
    void Reset(int nOpen);

private:
    int m_nOpen;
};

/// What stat() tells about a file, which need not exist.
std::optional<struct stat> StatusOf(const char* pszPath);
/// Whether a path leads to that very file, not to one that has taken its place.
bool Leads(const char* pszPath, const struct stat& rStatus);
/// Locks an open file against other writers until it is closed. Refuses at once when another writer has locked it, and
/// with a different message when it cannot be locked at all.
void Lock(int nFile, const char* pszName);
/// The path up to its last slash; "." when there is none.
CString DirectoryOf(const CString& rPath);

#endif
