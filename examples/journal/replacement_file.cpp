#include "examples/journal/replacement_file.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/file.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "examples/journal/files.h"
#include "examples/journal/refusal.h"

namespace
{
// The names to remove when a signal ends the program: of a journal and of its key.
std::atomic<const char*> g_apszTemporaries[2];
static_assert(std::atomic<const char*>::is_always_lock_free, "read by a signal handler");

void ReplaceName(const char* pszOld, const char* pszNew)
{
    for (std::atomic<const char*>& rpszName : g_apszTemporaries)
    {
        const char* pszExpected = pszOld;
        if (rpszName.compare_exchange_strong(pszExpected, pszNew)) return;
    }
}

void RemoveAndDie(int nSignal)
{
    for (const char* const pszName : g_apszTemporaries)
    {
        if (pszName != nullptr) unlink(pszName);
    }
    signal(nSignal, SIG_DFL);
    raise(nSignal);
}

void HandleSignals()
{
    for (const int nSignal : {SIGHUP, SIGINT, SIGTERM})
    {
        struct sigaction action = {};
        sigaction(nSignal, nullptr, &action);
        // If the program was started with the signal ignored (as by nohup), it should survive the signal.
        if (action.sa_handler == SIG_IGN) continue;
        action = {};
        action.sa_handler = &RemoveAndDie;
        sigaction(nSignal, &action, nullptr);
    }
}

// The name is the same for every writer of a file, so that the next one finds what a killed one left.
CString TemporaryNameFor(const CString& rPath, const CString& rDirectory)
{
    const char* const pszSlash = std::strrchr(rPath.CStr(), '/');
    const char* const pszName = pszSlash != nullptr ? pszSlash + 1 : rPath.CStr();
    uint64_t auDigest[4];
    CSha256 sha256;
    Check(sha256.Begin());
    Check(sha256.Update(reinterpret_cast<const uint8_t*>(pszName), static_cast<unsigned int>(std::strlen(pszName))));
    Check(sha256.End(reinterpret_cast<uint8_t*>(auDigest)));
    CString strName;
    Check(strName.Format(0, "%s/.journal-%016lx.tmp", rDirectory.CStr(), auDigest[0]));
    return strName;
}

// An open file that has no name is linked to by this one.
class CDescriptorPath
{
public:
    explicit CDescriptorPath(int nFile) { std::snprintf(m_szPath, sizeof(m_szPath), "/proc/self/fd/%d", nFile); }
    const char* Get() const { return m_szPath; }

private:
    char m_szPath[32];
};

// Locks a file unless others have locked it. On a file system without locks, two writers at the same time notice each
// other at the latest when one of them puts its file in place.
bool IsLockedByOthers(int nFile)
{
    return flock(nFile, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK;
}

// Only root can give files away. For any other writer the journal becomes the writer's own, who is also the one that
// reads the key. False when not even the group could be set to that of the previous file.
bool GiveTo(int nFile, const struct stat& rPrevious)
{
    const uid_t uKeep = static_cast<uid_t>(-1);
    return fchown(nFile, rPrevious.st_uid, rPrevious.st_gid) == 0 || fchown(nFile, uKeep, rPrevious.st_gid) == 0;
}

// The file has changed its group: members of the old group are others now, and others may be members of the new one.
// Each of the two classes gets only what both were allowed.
mode_t ForAnyGroup(mode_t uMode)
{
    const mode_t uBoth = uMode >> 3 & uMode & S_IRWXO;
    return (uMode & S_IRWXU) | uBoth << 3 | uBoth;
}

mode_t GetUmask()
{
    const mode_t uMask = umask(077);
    umask(uMask);
    return uMask;
}
}  // namespace

CReplacementFile::CReplacementFile(const CString& rPath, const std::optional<struct stat>& rPrevious, mode_t uNewMode)
    : m_strPath(rPath), m_previous(rPrevious), m_uNewMode(uNewMode), m_pcBuffer(new char[uBUFFER_SIZE])
{
    const CString strDirectory = DirectoryOf(rPath);
    m_strTemporary = TemporaryNameFor(rPath, strDirectory);
    m_directory.Reset(open(strDirectory.CStr(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!m_directory.IsOpen()) RefuseForErrno(rPath.CStr());
    HandleSignals();
    RemoveLeftover();
    if (!OpenUnnamed(strDirectory)) OpenNamed();
}

CReplacementFile::~CReplacementFile()
{
    // The key may have passed through it.
    explicit_bzero(m_pcBuffer.get(), uBUFFER_SIZE);
    if (!m_bNamed) return;
    unlink(m_strTemporary.CStr());
    SetNamed(false);
}

void CReplacementFile::Write(const void* pvData, size_t uSize)
{
    const char* pcData = static_cast<const char*>(pvData);
    while (uSize != 0)
    {
        const size_t uPart = std::min(uSize, uBUFFER_SIZE - m_uBuffered);
        std::memcpy(m_pcBuffer.get() + m_uBuffered, pcData, uPart);
        m_uBuffered += uPart;
        if (m_uBuffered == uBUFFER_SIZE) Flush();
        pcData += uPart;
        uSize -= uPart;
    }
}

void CReplacementFile::Commit()
{
    Flush();
    SetOwnerAndMode();
    const bool bDone = fsync(m_file.Get()) == 0 && (m_previous ? Replace() : PutInNewPlace());
    if (!bDone) RefuseForErrno(m_strPath.CStr());
}

bool CReplacementFile::SyncDirectory() const
{
    // Some file systems cannot sync a directory; they answer EINVAL.
    return fsync(m_directory.Get()) == 0 || errno == EINVAL;
}

// False when the file system has no unnamed files, or no way to name them later.
bool CReplacementFile::OpenUnnamed(const CString& rDirectory)
{
    m_file.Reset(open(rDirectory.CStr(), O_WRONLY | O_TMPFILE | O_CLOEXEC, 0600));
    if (!m_file.IsOpen())
    {
        if (errno == EOPNOTSUPP || errno == EISDIR || errno == EINVAL) return false;
        RefuseForErrno(m_strPath.CStr());
    }
    if (access(CDescriptorPath(m_file.Get()).Get(), F_OK) == 0)
    {
        // Locked for the moment in which it will have a name, see OpenNamed().
        IsLockedByOthers(m_file.Get());
        return true;
    }
    return false;
}

void CReplacementFile::OpenNamed()
{
    const char* const pszName = m_strTemporary.CStr();
    m_file.Reset(open(pszName, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
    if (!m_file.IsOpen() && errno != EEXIST) RefuseForErrno(m_strPath.CStr());
    // The lock shows others that the file is in use and not left over. One of them may have taken the lock first.
    const bool bOurs = m_file.IsOpen() && !IsLockedByOthers(m_file.Get());
    if (!bOurs) Refuse("%s: being written by somebody else", m_strPath.CStr());
    SetNamed(true);
}

void CReplacementFile::RemoveLeftover() const
{
    const char* const pszName = m_strTemporary.CStr();
    const CDescriptor leftover(open(pszName, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    if (!leftover.IsOpen() && errno == ENOENT) return;
    if (!leftover.IsOpen()) RefuseForErrno(pszName);
    if (IsLockedByOthers(leftover.Get())) Refuse("%s: being written by somebody else", m_strPath.CStr());
    struct stat status;
    if (fstat(leftover.Get(), &status) != 0) RefuseForErrno(pszName);
    if (Leads(pszName, status) && unlink(pszName) != 0) RefuseForErrno(pszName);
}

void CReplacementFile::SetNamed(bool bNamed)
{
    m_bNamed = bNamed;
    const char* const pszName = m_strTemporary.CStr();
    if (bNamed) ReplaceName(nullptr, pszName);
    else ReplaceName(pszName, nullptr);
}

void CReplacementFile::Flush()
{
    for (size_t uDone = 0; uDone < m_uBuffered;)
    {
        const ssize_t nWritten = write(m_file.Get(), m_pcBuffer.get() + uDone, m_uBuffered - uDone);
        if (nWritten < 0 && errno != EINTR) RefuseForErrno(m_strPath.CStr());
        if (nWritten > 0) uDone += static_cast<size_t>(nWritten);
    }
    m_uBuffered = 0;
}

void CReplacementFile::SetOwnerAndMode()
{
    // The other bits of a mode, such as those of a program file, have no place on a journal.
    constexpr mode_t uBITS = S_IRWXU | S_IRWXG | S_IRWXO;
    mode_t uMode = m_previous ? m_previous->st_mode & uBITS : m_uNewMode & ~GetUmask();
    if (m_previous && !GiveTo(m_file.Get(), *m_previous)) uMode = ForAnyGroup(uMode);
    if (fchmod(m_file.Get(), uMode) != 0) RefuseForErrno(m_strPath.CStr());
}

bool CReplacementFile::Link(const char* pszPath) const
{
    return linkat(AT_FDCWD, CDescriptorPath(m_file.Get()).Get(), AT_FDCWD, pszPath, AT_SYMLINK_FOLLOW) == 0;
}

bool CReplacementFile::Replace()
{
    if (!m_bNamed)
    {
        if (!Link(m_strTemporary.CStr())) return false;
        SetNamed(true);
    }
    if (rename(m_strTemporary.CStr(), m_strPath.CStr()) != 0) return false;
    SetNamed(false);
    return true;
}

bool CReplacementFile::PutInNewPlace()
{
    if (!m_bNamed) return Link(m_strPath.CStr());
    const char* const pszFrom = m_strTemporary.CStr();
    const char* const pszTo = m_strPath.CStr();
    if (renameat2(AT_FDCWD, pszFrom, AT_FDCWD, pszTo, RENAME_NOREPLACE) == 0)
    {
        SetNamed(false);
        return true;
    }
    // File systems without that flag answer EINVAL. The temporary name goes away with this object.
    return errno == EINVAL && link(pszFrom, pszTo) == 0;
}
