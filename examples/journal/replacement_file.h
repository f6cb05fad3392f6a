#ifndef EXAMPLES_JOURNAL_REPLACEMENT_FILE_H
#define EXAMPLES_JOURNAL_REPLACEMENT_FILE_H
#include <sys/stat.h>

#include <cstddef>
#include <cstdio>
#include <optional>

#include "framework/framework.h"

/// A file that takes the place of another only once it is complete and on the disk. Until Commit() it has a name of its
/// own in the same directory, which goes away with this object, and when the program is ended by SIGHUP, SIGINT or
/// SIGTERM. One at a time in a process.
class CReplacementFile
{
public:
    /// rPrevious: the file that is there and will be replaced; owner and mode are taken from it. Without one, Commit()
    /// refuses if a file has appeared there in the meantime.
    CReplacementFile(const CString& rPath, const std::optional<struct stat>& rPrevious);
    ~CReplacementFile();
    CReplacementFile(const CReplacementFile&) = delete;
    CReplacementFile& operator=(const CReplacementFile&) = delete;

    void Write(const void* pvData, size_t uSize);
    void Commit();

private:
    void TakeOverOwnerAndMode(const struct stat& rPrevious);
    bool Rename() const;

    CString m_strPath;
    CString m_strTemporary;
    bool m_bReplaces;
    std::FILE* m_pFile;
};

#endif
