#include "examples/journal/replacement_file.h"

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>

#include "examples/journal/files.h"
#include "examples/journal/refusal.h"

namespace
{
// The name to remove when a signal ends the program.
std::atomic<const char*> g_pszTemporary = nullptr;
static_assert(std::atomic<const char*>::is_always_lock_free, "read by a signal handler");

void RemoveAndDie(int nSignal)
{
    const char* const pszTemporary = g_pszTemporary;
    if (pszTemporary != nullptr) unlink(pszTemporary);
    signal(nSignal, SIG_DFL);
    raise(nSignal);
}

void HandleSignals()
{
    for (const int nSignal : {SIGHUP, SIGINT, SIGTERM})
    {
        struct sigaction action = {};
        sigaction(nSignal, nullptr, &action);
        // Who started the program with a signal ignored (nohup does) wants it to live through it.
        if (action.sa_handler == SIG_IGN) continue;
        action = {};
        action.sa_handler = &RemoveAndDie;
        sigaction(nSignal, &action, nullptr);
    }
}

CString TemporaryNameIn(const CString& rDirectory)
{
    unsigned long uRandom;
    Check(CSecurePrng::Generate(sizeof(uRandom), reinterpret_cast<uint8_t*>(&uRandom)));
    CString strName;
    Check(strName.Format(0, "%s/.journal-%016lx.tmp", rDirectory.CStr(), uRandom));
    return strName;
}
}  // namespace

CReplacementFile::CReplacementFile(const CString& rPath, const std::optional<struct stat>& rPrevious)
    : m_strPath(rPath), m_strTemporary(TemporaryNameIn(DirectoryOf(rPath))), m_bReplaces(rPrevious), m_pFile(nullptr)
{
    HandleSignals();
    g_pszTemporary = m_strTemporary.CStr();
    m_pFile = std::fopen(m_strTemporary.CStr(), "wbxe");
    if (m_pFile == nullptr)
    {
        g_pszTemporary = nullptr;
        RefuseForErrno(m_strPath.CStr());
    }
    if (rPrevious) TakeOverOwnerAndMode(*rPrevious);
}

CReplacementFile::~CReplacementFile()
{
    if (m_pFile != nullptr)
    {
        std::fclose(m_pFile);
        unlink(m_strTemporary.CStr());
    }
    g_pszTemporary = nullptr;
}

void CReplacementFile::Write(const void* pvData, size_t uSize)
{
    if (std::fwrite(pvData, 1, uSize, m_pFile) != uSize) RefuseForErrno(m_strPath.CStr());
}

void CReplacementFile::Commit()
{
    if (std::fflush(m_pFile) != 0 || fsync(fileno(m_pFile)) != 0 || !Rename()) RefuseForErrno(m_strPath.CStr());
    std::fclose(m_pFile);
    m_pFile = nullptr;
    SyncDirectoryOf(m_strPath);
}

void CReplacementFile::TakeOverOwnerAndMode(const struct stat& rPrevious)
{
    const int nFile = fileno(m_pFile);
    // Only root can give files away: for anybody else the journal becomes the writer's, who is also who reads the key.
    const bool bOwned = fchown(nFile, rPrevious.st_uid, rPrevious.st_gid) == 0 || errno == EPERM;
    if (!bOwned || fchmod(nFile, rPrevious.st_mode & 07777) != 0) RefuseForErrno(m_strPath.CStr());
}

bool CReplacementFile::Rename() const
{
    const char* const pszFrom = m_strTemporary.CStr();
    const char* const pszTo = m_strPath.CStr();
    if (m_bReplaces) return rename(pszFrom, pszTo) == 0;
    if (renameat2(AT_FDCWD, pszFrom, AT_FDCWD, pszTo, RENAME_NOREPLACE) == 0) return true;
    // File systems without that flag answer EINVAL.
    return errno == EINVAL && rename(pszFrom, pszTo) == 0;
}
