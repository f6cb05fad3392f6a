#include "examples/journal/files.h"

#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "examples/journal/refusal.h"

CInputFile::CInputFile(const char* pszPath)
    : m_strName(TextOf(pszPath)), m_pFile(std::fopen(pszPath, "rbe")), m_bOwned(true)
{
    if (m_pFile == nullptr) RefuseForErrno(pszPath);
}

CInputFile::CInputFile(std::FILE* pOpen, const char* pszName)
    : m_strName(TextOf(pszName)), m_pFile(pOpen), m_bOwned(false)
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

void CDescriptor::Reset(int nOpen)
{
    if (m_nOpen >= 0) close(m_nOpen);
    m_nOpen = nOpen;
}

std::optional<struct stat> StatusOf(const char* pszPath)
{
    struct stat status;
    if (stat(pszPath, &status) == 0) return status;
    if (errno != ENOENT) RefuseForErrno(pszPath);
    return std::nullopt;
}

bool Leads(const char* pszPath, const struct stat& rStatus)
{
    const std::optional<struct stat> now = StatusOf(pszPath);
    return now && now->st_ino == rStatus.st_ino && now->st_dev == rStatus.st_dev;
}

void Lock(int nFile, const char* pszName)
{
    if (flock(nFile, LOCK_EX | LOCK_NB) == 0) return;
    if (errno == EWOULDBLOCK) Refuse("%s: being written by somebody else", pszName);
    Refuse("%s: cannot be locked: %s", pszName, std::strerror(errno));
}

CString DirectoryOf(const CString& rPath)
{
    const char* const pszSlash = std::strrchr(rPath.CStr(), '/');
    if (pszSlash == nullptr) return TextOf(".");
    const auto uLength = static_cast<unsigned int>(pszSlash - rPath.CStr());
    return uLength == 0 ? TextOf("/") : TextOf(rPath.CStr(), uLength);
}
