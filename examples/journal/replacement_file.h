#ifndef EXAMPLES_JOURNAL_REPLACEMENT_FILE_H
#define EXAMPLES_JOURNAL_REPLACEMENT_FILE_H
#include <sys/stat.h>

#include <cstddef>
#include <memory>
#include <optional>

#include "examples/journal/files.h"
#include "framework/framework.h"

/// A file that takes the place of another only once it is complete and on the disk. Until Commit() only its writer can
/// read it, and it has no name, so that nothing is left behind however the program ends. Two cases need a name in the
/// same directory: the moment of replacing, and file systems without unnamed files. It is taken off with this object
/// and by SIGHUP, SIGINT and SIGTERM; what a kill leaves is taken off by the next one for the same path.
class CReplacementFile
{
public:
    /// rPrevious: the file that is there and will be replaced; owner and mode are taken from it. Without one, the mode
    /// is uNewMode less the umask, and Commit() refuses if a file has appeared there in the meantime.
    CReplacementFile(const CString& rPath, const std::optional<struct stat>& rPrevious, mode_t uNewMode);
    ~CReplacementFile();
    CReplacementFile(const CReplacementFile&) = delete;
    CReplacementFile& operator=(const CReplacementFile&) = delete;

    void Write(const void* pvData, size_t uSize);
    /// Puts it in place: nothing is refused any more once it is there.
    void Commit();
    /// Makes that last through a power failure. False, with errno, if it cannot.
    bool SyncDirectory() const;

private:
    static constexpr size_t uBUFFER_SIZE = 64 * 1024;

    bool OpenUnnamed(const CString& rDirectory);
    void OpenNamed();
    void RemoveLeftover() const;
    void SetNamed(bool bNamed);
    void Flush();
    void SetOwnerAndMode();
    bool Link(const char* pszPath) const;
    bool Replace();
    bool PutInNewPlace();

    CString m_strPath;
    CString m_strTemporary;
    std::optional<struct stat> m_previous;
    mode_t m_uNewMode;
    std::unique_ptr<char[]> m_pcBuffer;
    size_t m_uBuffered = 0;
    CDescriptor m_directory;
    CDescriptor m_file;
    bool m_bNamed = false;  // as m_strTemporary
};

#endif
