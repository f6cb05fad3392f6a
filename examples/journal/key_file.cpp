#include "examples/journal/key_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

#include "examples/journal/files.h"
#include "examples/journal/refusal.h"
#include "framework/framework.h"

namespace
{
void CheckStatus(const char* pszPath, const struct stat& rStatus)
{
    if (!S_ISREG(rStatus.st_mode)) Refuse("%s: not a key file", pszPath);
    // The owner of the file knows the key, and can change the mode.
    if (rStatus.st_uid != geteuid()) Refuse("%s: a key is for its owner only, who is user %u", pszPath, rStatus.st_uid);
    if ((rStatus.st_mode & (S_IRWXG | S_IRWXO)) != 0)
    {
        Refuse("%s: a key is for its owner only, but the mode is %04o: chmod 600 it", pszPath, rStatus.st_mode & 07777);
    }
    constexpr auto uSIZE = static_cast<off_t>(sizeof(SKey::auBytes));
    if (rStatus.st_size == uSIZE) return;
    Refuse("%s: not a key file: %ld bytes instead of %ld", pszPath, rStatus.st_size, uSIZE);
}
}  // namespace

void LoadKey(const char* pszPath, SKey& rKey)
{
    CInputFile file(pszPath);
    CheckStatus(pszPath, file.GetStatus());
    // Read past the stream, whose buffer would keep the key.
    const ssize_t nRead = pread(file.GetDescriptor(), rKey.auBytes, sizeof(rKey.auBytes), 0);
    if (nRead < 0) RefuseForErrno(pszPath);
    if (nRead != sizeof(rKey.auBytes)) Refuse("%s: not a key file: cut short", pszPath);
}

void MakeKey(SKey& rKey)
{
    Check(CSecurePrng::Generate(sizeof(rKey.auBytes), rKey.auBytes));
}

CNewKeyFile::CNewKeyFile(const char* pszPath, const SKey& rKey)
    : m_strPath(TextOf(pszPath)), m_file(m_strPath, std::nullopt, 0600)
{
    m_file.Write(rKey.auBytes, sizeof(rKey.auBytes));
}

CNewKeyFile::~CNewKeyFile()
{
    if (m_bCommitted) unlink(m_strPath.CStr());
}

void CNewKeyFile::Commit()
{
    m_file.Commit();
    m_bCommitted = true;
    if (!m_file.SyncDirectory()) RefuseForErrno(m_strPath.CStr());
}
