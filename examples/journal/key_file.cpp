#include "examples/journal/key_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

#include "examples/journal/files.h"
#include "examples/journal/refusal.h"
#include "framework/framework.h"

namespace
{
bool WriteAndSync(int nFile, const SKey& rKey)
{
    // A regular file takes 32 bytes at once, or the disk is full.
    errno = ENOSPC;
    return write(nFile, rKey.auBytes, sizeof(rKey.auBytes)) == sizeof(rKey.auBytes) && fsync(nFile) == 0;
}

SKey MakeKey(const char* pszPath)
{
    SKey key;
    Check(CSecurePrng::Generate(sizeof(key.auBytes), key.auBytes));
    const int nFile = open(pszPath, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (nFile < 0) RefuseForErrno(pszPath);
    const bool bWritten = WriteAndSync(nFile, key);
    const int nErrno = errno;
    close(nFile);
    if (!bWritten)
    {
        unlink(pszPath);
        errno = nErrno;
        RefuseForErrno(pszPath);
    }
    SyncDirectoryOf(CString(pszPath));
    return key;
}
}  // namespace

SKey LoadKey(const char* pszPath)
{
    CInputFile file(pszPath);
    const struct stat status = file.GetStatus();
    if (!S_ISREG(status.st_mode)) Refuse("%s: not a key file", pszPath);
    if ((status.st_mode & (S_IRWXG | S_IRWXO)) != 0)
    {
        Refuse("%s: a key is for its owner only, but the mode is %04o: chmod 600 it", pszPath, status.st_mode & 07777);
    }
    SKey key;
    const auto uSize = static_cast<size_t>(status.st_size);
    if (uSize != sizeof(key.auBytes) || file.Read(key.auBytes, uSize) != uSize)
    {
        Refuse("%s: not a key file: %zu bytes instead of %zu", pszPath, uSize, sizeof(key.auBytes));
    }
    return key;
}

SKey LoadOrMakeKey(const char* pszPath)
{
    return StatusOf(pszPath) ? LoadKey(pszPath) : MakeKey(pszPath);
}
