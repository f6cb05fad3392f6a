// Linked to an example a second time, so that single requests for memory and single calls of the system can be refused.
// By the environment:
//   REFUSE_NEW=N         the N-th operator new, from 0 on
//   REFUSE_CALL=N        the N-th of the calls below, from 0 on
//   REFUSE_NAME=NAME     every call of that name instead
//   REFUSE_ERRNO=NUMBER  what a refused call answers instead of EIO
//   REFUSE_UNNAMED=1     there are no unnamed files
//   REFUSE_MARK=FILE     made when anything was refused
//   REFUSE_KILL=1        the program is killed instead, before the call
//   REFUSE_USER=NUMBER   who runs the program, as it is told
//   REFUSE_BEHIND=NUMBER what write() does not take of a call, which then takes so many bytes at most
//   REFUSE_STEP=NUMBER   each look at the steady clock finds it so many milliseconds later than the one before
//   REFUSE_RESIDUE=FILE  when the program ends, its memory is searched for the 32 bytes of FILE: found, it ends with 77
#include <fcntl.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <new>

#include "tests/support/refusing_new.h"

namespace
{
long NumberIn(const char* pszVariable)
{
    const char* const pszNumber = std::getenv(pszVariable);
    return pszNumber != nullptr ? std::strtol(pszNumber, nullptr, 10) : -1;
}

void Mark()
{
    const char* const pszMark = std::getenv("REFUSE_MARK");
    if (pszMark == nullptr) return;
    const long nFile = syscall(SYS_openat, AT_FDCWD, pszMark, O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
    if (nFile >= 0) syscall(SYS_close, nFile);
}

// Searched for inverted, so that what searches is not found itself.
struct SInverted
{
    unsigned char auBytes[32] = {};
};

bool IsThere(const SInverted& rWanted, const unsigned char* puBegin, const unsigned char* puEnd)
{
    // Its second half: over the first one, memory that was given back has notes about itself.
    constexpr std::size_t uHALF = sizeof(rWanted) / 2;
    for (const unsigned char* pu = puBegin; pu + uHALF <= puEnd; ++pu)
    {
        std::size_t u = 0;
        while (u < uHALF && static_cast<unsigned char>(~pu[u]) == rWanted.auBytes[uHALF + u]) ++u;
        if (u == uHALF) return true;
    }
    return false;
}

__attribute__((destructor)) void SearchForResidue()
{
    const char* const pszFile = std::getenv("REFUSE_RESIDUE");
    const int nFile = pszFile != nullptr ? static_cast<int>(syscall(SYS_openat, AT_FDCWD, pszFile, O_RDONLY)) : -1;
    if (nFile < 0) return;
    SInverted wanted;
    for (unsigned char& ruByte : wanted.auBytes)
    {
        unsigned char uByte = 0;
        if (syscall(SYS_read, nFile, &uByte, 1) != 1) _exit(78);
        ruByte = static_cast<unsigned char>(~uByte);
    }
    syscall(SYS_close, nFile);
    std::FILE* const pMaps = std::fopen("/proc/self/maps", "re");
    char szLine[512];
    while (pMaps != nullptr && std::fgets(szLine, sizeof(szLine), pMaps) != nullptr)
    {
        std::uintptr_t uBegin = 0;
        std::uintptr_t uEnd = 0;
        char szRights[8] = "";
        if (std::sscanf(szLine, "%lx-%lx %7s", &uBegin, &uEnd, szRights) != 3 || std::strncmp(szRights, "rw", 2) != 0)
            continue;
        if (!IsThere(wanted, reinterpret_cast<unsigned char*>(uBegin), reinterpret_cast<unsigned char*>(uEnd)))
            continue;
        std::fprintf(stderr, "found in %s", szLine);
        _exit(77);
    }
}

// True, with errno, when it is the turn of this call.
bool IsRefused(const char* pszName)
{
    static std::atomic<long> s_nCalls = 0;
    const char* const pszOnly = std::getenv("REFUSE_NAME");
    const bool bTurn = s_nCalls++ == NumberIn("REFUSE_CALL");
    if (pszOnly != nullptr ? std::strcmp(pszOnly, pszName) != 0 : !bTurn) return false;
    Mark();
    if (NumberIn("REFUSE_KILL") > 0) raise(SIGKILL);
    const long nErrno = NumberIn("REFUSE_ERRNO");
    errno = nErrno >= 0 ? static_cast<int>(nErrno) : EIO;
    return true;
}
}  // namespace

namespace
{
// What write() takes at most.
size_t FewerThan(size_t uSize)
{
    const long nAtMost = NumberIn("REFUSE_BEHIND");
    return nAtMost > 0 ? std::min(uSize, static_cast<size_t>(nAtMost)) : uSize;
}
}  // namespace

// The linker sends every call of NAME in the example to __wrap_NAME, and knows it itself as __real_NAME.
#define REFUSABLE(result, name, refused, parameters, arguments)        \
    result __real_##name parameters;                                   \
    result __wrap_##name parameters;                                   \
    result __wrap_##name parameters                                    \
    {                                                                  \
        return IsRefused(#name) ? (refused) : __real_##name arguments; \
    }

extern "C"
{
    REFUSABLE(std::FILE*, fopen, nullptr, (const char* pszPath, const char* pszMode), (pszPath, pszMode))
    REFUSABLE(ssize_t, pread, -1, (int nFile, void* pvData, size_t uSize, off_t nAt), (nFile, pvData, uSize, nAt))
    REFUSABLE(ssize_t, write, -1, (int nFile, const void* pvData, size_t uSize), (nFile, pvData, FewerThan(uSize)))
    REFUSABLE(int, fsync, -1, (int nFile), (nFile))
    REFUSABLE(int, flock, -1, (int nFile, int nOperation), (nFile, nOperation))
    REFUSABLE(int, fchown, -1, (int nFile, uid_t uOwner, gid_t uGroup), (nFile, uOwner, uGroup))
    REFUSABLE(int, fchmod, -1, (int nFile, mode_t uMode), (nFile, uMode))
    REFUSABLE(int, fstat, -1, (int nFile, struct stat* pStatus), (nFile, pStatus))
    REFUSABLE(int, stat, -1, (const char* pszPath, struct stat* pStatus), (pszPath, pStatus))
    REFUSABLE(int, access, -1, (const char* pszPath, int nMode), (pszPath, nMode))
    REFUSABLE(int, unlink, -1, (const char* pszPath), (pszPath))
    REFUSABLE(int, rename, -1, (const char* pszFrom, const char* pszTo), (pszFrom, pszTo))
    REFUSABLE(int, renameat2, -1, (int nFrom, const char* pszFrom, int nTo, const char* pszTo, unsigned int uFlags),
              (nFrom, pszFrom, nTo, pszTo, uFlags))
    REFUSABLE(int, link, -1, (const char* pszFrom, const char* pszTo), (pszFrom, pszTo))
    REFUSABLE(int, linkat, -1, (int nFrom, const char* pszFrom, int nTo, const char* pszTo, int nFlags),
              (nFrom, pszFrom, nTo, pszTo, nFlags))

    int __real_open(const char* pszPath, int nFlags, ...);
    int __wrap_open(const char* pszPath, int nFlags, ...);
    int __wrap_open(const char* pszPath, int nFlags, ...)
    {
        va_list args;
        va_start(args, nFlags);
        const bool bMakes = (nFlags & (O_CREAT | O_TMPFILE)) != 0;
        const mode_t uMode = bMakes ? va_arg(args, mode_t) : 0;
        va_end(args);
        const bool bUnnamed = (nFlags & O_TMPFILE) == O_TMPFILE;
        if (bUnnamed && NumberIn("REFUSE_UNNAMED") > 0)
        {
            errno = EOPNOTSUPP;
            return -1;
        }
        return IsRefused("open") ? -1 : __real_open(pszPath, nFlags, uMode);
    }

    uid_t __real_geteuid();
    uid_t __wrap_geteuid();
    uid_t __wrap_geteuid()
    {
        const long nUser = NumberIn("REFUSE_USER");
        return nUser >= 0 ? static_cast<uid_t>(nUser) : __real_geteuid();
    }
}

// Instead of the standard library's.
std::chrono::steady_clock::time_point std::chrono::steady_clock::now() noexcept
{
    static std::atomic<long> s_nLooks = 0;
    const long nStepMs = NumberIn("REFUSE_STEP");
    if (nStepMs > 0) return time_point(std::chrono::milliseconds(nStepMs * s_nLooks++));
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return time_point(std::chrono::seconds(now.tv_sec) + std::chrono::nanoseconds(now.tv_nsec));
}

namespace
{
// Runs before main(), and before whatever the program makes at its start.
__attribute__((constructor(101))) void BeginRefusals()
{
    // What is searched for residues is not used again, which might cover them.
    if (std::getenv("REFUSE_RESIDUE") != nullptr) KeepDeletedBlocks();
    const long nRequest = NumberIn("REFUSE_NEW");
    if (nRequest < 0) return;
    CallWhenNewRefuses(Mark);
    alignas(CRefusingNew) static unsigned char s_auRefusing[sizeof(CRefusingNew)];
    new (s_auRefusing) CRefusingNew(static_cast<unsigned long>(nRequest));  // for the life of the program
}
}  // namespace
