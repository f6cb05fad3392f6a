#include "examples/journal/files.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "examples/journal/refusal.h"

CInputFile::CInputFile(const char* pszPath) : m_strName(pszPath), m_pFile(std::fopen(pszPath, "rbe")), m_bOwned(true)
{
    if (m_pFile == nullptr) RefuseForErrno(pszPath);
}

CInputFile::CInputFile(std::FILE* pOpen, const char* pszName) : m_strName(pszName), m_pFile(pOpen), m_bOwned(false)
{
}

CInputFile::~CInputFile()
{
    if (m_bOwned) std::fclose(m_pFile);
}

size_t CInputFile::Read(void* pvData, size_t uSize)
{
    const size_t uRead = std::fread(pvData, 1, uSize, m_pFile);
    if (uRead < uSize && std::ferror(m_pFile)) RefuseForErrno(GetName());
    return uRead;
}

void CInputFile::Seek(uint64_t uOffset)
{
    if (fseeko(m_pFile, static_cast<off_t>(uOffset), SEEK_SET) != 0) RefuseForErrno(GetName());
}

struct stat CInputFile::GetStatus() const
{
    struct stat status;
    if (fstat(GetDescriptor(), &status) != 0) RefuseForErrno(GetName());
    return status;
}

std::optional<struct stat> StatusOf(const char* pszPath)
{
    struct stat status;
    if (stat(pszPath, &status) == 0) return status;
    if (errno != ENOENT) RefuseForErrno(pszPath);
    return std::nullopt;
}

CString DirectoryOf(const CString& rPath)
{
    const char* const pszSlash = std::strrchr(rPath.CStr(), '/');
    if (pszSlash == nullptr) return CString(".");
    const auto uLength = static_cast<unsigned int>(pszSlash - rPath.CStr());
    return uLength == 0 ? CString("/") : CString(rPath.CStr(), uLength);
}

void SyncDirectoryOf(const CString& rPath)
{
    const CString strDirectory = DirectoryOf(rPath);
    const int nDirectory = open(strDirectory.CStr(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    // Some file systems cannot sync a directory; they answer EINVAL.
    const bool bSynced = nDirectory >= 0 && (fsync(nDirectory) == 0 || errno == EINVAL);
    const int nErrno = errno;
    if (nDirectory >= 0) close(nDirectory);
    errno = nErrno;
    if (!bSynced) RefuseForErrno(strDirectory.CStr());
}
