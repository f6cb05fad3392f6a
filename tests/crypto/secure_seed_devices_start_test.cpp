// How seeds are gathered from the operating system, whose place this binary takes. Oracle for the hash: libcrypto.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/random.h>
#include <sys/resource.h>
#include <sys/select.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstring>
#include <ctime>
#include <string>
#include <vector>

#include "tests/support/bytes.h"
#include "tests/support/digest_oracle.h"
#include "tests/support/prng_probe.h"

namespace
{
// One wait for a device, and the read that may follow.
struct SPass
{
    long nLeftUs = 10000;  // what the wait leaves of the time-out
    int nSelect = 1;       // its result: 1 readable, 0 time-out, -1 failure
    int nRead = 32;        // the result of the read; at most what is asked for
    int nErrno = 0;        // of a wait or read that fails, or behind a read of nothing
};

SPass Reads(int nRead, long nLeftUs = 10000)
{
    return {nLeftUs, 1, nRead, 0};
}

SPass FailsToRead(int nErrno, long nLeftUs = 10000)
{
    return {nLeftUs, 1, -1, nErrno};
}

SPass TimesOut()
{
    return {0, 0, 0, 0};
}

SPass FailsToWait(int nErrno, long nLeftUs = 10000)
{
    return {nLeftUs, -1, 0, nErrno};
}

struct SDevice
{
    bool bOpens = false;
    std::vector<SPass> passes;
};

SDevice Missing()
{
    return {};
}

SDevice Gives(std::vector<SPass> passes)
{
    return {true, std::move(passes)};
}

// The operating system as the library sees it while a CFakeSystem lives.
class CFakeSystem
{
public:
    explicit CFakeSystem(std::vector<SDevice> devices, int nFirstFd = 700)
        : m_devices(std::move(devices)), m_nFirstFd(nFirstFd)
    {
        ms_pCurrent = this;
    }
    CFakeSystem(const CFakeSystem&) = delete;
    CFakeSystem& operator=(const CFakeSystem&) = delete;
    ~CFakeSystem() { ms_pCurrent = nullptr; }

    static CFakeSystem* Current() { return ms_pCurrent; }

    int Open(const char* pszPath, int nFlags)
    {
        static const char* const apszPaths[] = {"/dev/urandom", "/dev/random", "/dev/srandom"};
        m_strCalls += std::string(pszPath + std::strlen("/dev/")) + ' ';
        EXPECT_EQ(O_RDONLY | O_NONBLOCK | O_NOCTTY | O_NOFOLLOW, nFlags);
        for (std::size_t u = 0; u < m_devices.size(); ++u)
        {
            if (std::strcmp(pszPath, apszPaths[u]) != 0 || !m_devices[u].bOpens) continue;
            m_nOpen = m_nFirstFd + static_cast<int>(u);
            m_uDevice = u;
            m_uPass = 0;
            return m_nOpen;
        }
        errno = ENOENT;
        return -1;
    }

    int Select(int nCount, fd_set* pReadable, fd_set* pWritable, fd_set* pExceptional, timeval* pTimeout)
    {
        EXPECT_EQ(m_nOpen + 1, nCount);
        EXPECT_EQ(nullptr, pWritable);
        EXPECT_EQ(nullptr, pExceptional);
        EXPECT_EQ(0, pTimeout->tv_sec);
        for (int n = 0; n < FD_SETSIZE; ++n) EXPECT_EQ(n == m_nOpen, FD_ISSET(n, pReadable) != 0) << n;
        m_strCalls += "select " + std::to_string(pTimeout->tv_usec) + ", ";
        if (m_uPass == m_devices[m_uDevice].passes.size())
        {
            ADD_FAILURE() << "one wait too many";
            *pTimeout = {0, 0};
            return -1;
        }
        const SPass& rstPass = m_devices[m_uDevice].passes[m_uPass++];
        *pTimeout = {0, rstPass.nLeftUs};
        if (rstPass.nSelect == 0) FD_ZERO(pReadable);
        errno = rstPass.nErrno;
        return rstPass.nSelect;
    }

    ssize_t Read(int nFd, void* pvBuffer, std::size_t uSize)
    {
        EXPECT_EQ(m_nOpen, nFd);
        m_strCalls += "read " + std::to_string(uSize) + ", ";
        const SPass& rstPass = m_devices[m_uDevice].passes[m_uPass == 0 ? 0 : m_uPass - 1];
        EXPECT_EQ(1, rstPass.nSelect) << "nothing is readable";
        errno = rstPass.nErrno;
        if (rstPass.nRead < 0) return -1;
        const std::size_t uRead = std::min(uSize, static_cast<std::size_t>(rstPass.nRead));
        for (std::size_t u = 0; u < uRead; ++u)
        {
            m_given.push_back(static_cast<unsigned char>(0x31 + 7 * m_given.size()));
            static_cast<unsigned char*>(pvBuffer)[u] = m_given.back();
        }
        return static_cast<ssize_t>(uRead);
    }

    int Close(int nFd)
    {
        EXPECT_EQ(m_nOpen, nFd);
        m_nOpen = -1;
        m_strCalls += "close. ";
        return 0;
    }

    // The kernel's own randomness; its bytes are others than those of the devices.
    ssize_t GetRandom(void* pvBuffer, std::size_t uSize, unsigned int uFlags)
    {
        m_randomFlags.push_back(uFlags);
        if (m_randomFlags.size() <= m_uRefusedRandom)
        {
            errno = EAGAIN;
            return -1;
        }
        for (std::size_t u = 0; u < uSize; ++u)
        {
            m_filled.push_back(static_cast<unsigned char>(0xD4 - 5 * m_filled.size()));
            static_cast<unsigned char*>(pvBuffer)[u] = m_filled.back();
        }
        return static_cast<ssize_t>(uSize);
    }

    bool IsOpen(int nFd) const { return m_nOpen == nFd; }

    const std::string& Calls() const { return m_strCalls; }
    const Bytes& Given() const { return m_given; }
    const Bytes& Filled() const { return m_filled; }
    const std::vector<unsigned int>& RandomFlags() const { return m_randomFlags; }

    int m_nProcess = 4711;
    unsigned int m_uUser = 1000;
    std::time_t m_nTime = 1234567890;
    unsigned int m_uRefusedRandom = 0;  // so many first calls of getrandom()

private:
    static CFakeSystem* ms_pCurrent;

    std::vector<SDevice> m_devices;
    int m_nFirstFd;
    int m_nOpen = -1;
    std::size_t m_uDevice = 0;
    std::size_t m_uPass = 0;
    std::string m_strCalls;
    Bytes m_given;
    Bytes m_filled;
    std::vector<unsigned int> m_randomFlags;
};

CFakeSystem* CFakeSystem::ms_pCurrent = nullptr;

// Stops the clock of the real system.
const std::time_t* g_pnFixedTime = nullptr;

template <typename Value>
void Append(Bytes& rBytes, Value value)
{
    const unsigned char* const pu = reinterpret_cast<const unsigned char*>(&value);
    rBytes.insert(rBytes.end(), pu, pu + sizeof(value));
}

// The seed that these system values give, after uCounter - 1 others.
Bytes Want(const CFakeSystem& rSystem, unsigned int uCounter)
{
    Bytes input = rSystem.Given();
    // The last seed's, when there are more.
    const Bytes& rFilled = rSystem.Filled();
    const std::size_t uFiller = std::min(rFilled.size(), 32 - input.size());
    const unsigned char* const puFillerEnd = rFilled.data() + rFilled.size();
    input.insert(input.end(), puFillerEnd - uFiller, puFillerEnd);
    input.resize(32);
    Append<int64_t>(input, rSystem.m_nProcess);
    Append<uint64_t>(input, rSystem.m_uUser);
    Append<int64_t>(input, rSystem.m_nTime);
    Append<uint32_t>(input, uCounter);
    return EvpDigest(EVP_sha1(), input);
}

Bytes Seed()
{
    Bytes seed(20);
    EXPECT_EQ(QV_RES_OK, CSecureSeed::GenerateSeed(seed.data()));
    return seed;
}
}  // namespace

// The library finds these only when the binary exports them.
#pragma GCC visibility push(default)
extern "C"
{
    int open(const char* pszPath, int nFlags, ...)
    {
        if (CFakeSystem::Current() != nullptr && std::strncmp(pszPath, "/dev/", 5) == 0)
        {
            return CFakeSystem::Current()->Open(pszPath, nFlags);
        }
        va_list args;
        va_start(args, nFlags);
        const mode_t uMode = (nFlags & O_CREAT) != 0 ? va_arg(args, mode_t) : 0;
        va_end(args);
        return static_cast<int>(syscall(SYS_openat, AT_FDCWD, pszPath, nFlags, uMode));
    }

    int select(int nCount, fd_set* pReadable, fd_set* pWritable, fd_set* pExceptional, timeval* pTimeout)
    {
        if (CFakeSystem::Current() != nullptr)
        {
            return CFakeSystem::Current()->Select(nCount, pReadable, pWritable, pExceptional, pTimeout);
        }
        return static_cast<int>(syscall(SYS_select, nCount, pReadable, pWritable, pExceptional, pTimeout));
    }

    ssize_t read(int nFd, void* pvBuffer, std::size_t uSize)
    {
        if (CFakeSystem::Current() != nullptr && CFakeSystem::Current()->IsOpen(nFd))
        {
            return CFakeSystem::Current()->Read(nFd, pvBuffer, uSize);
        }
        return syscall(SYS_read, nFd, pvBuffer, uSize);
    }

    ssize_t getrandom(void* pvBuffer, std::size_t uSize, unsigned int uFlags)
    {
        if (CFakeSystem::Current() != nullptr) return CFakeSystem::Current()->GetRandom(pvBuffer, uSize, uFlags);
        return syscall(SYS_getrandom, pvBuffer, uSize, uFlags);
    }

    int close(int nFd)
    {
        if (CFakeSystem::Current() != nullptr && CFakeSystem::Current()->IsOpen(nFd))
        {
            return CFakeSystem::Current()->Close(nFd);
        }
        return static_cast<int>(syscall(SYS_close, nFd));
    }

    pid_t getpid() noexcept
    {
        if (CFakeSystem::Current() != nullptr) return CFakeSystem::Current()->m_nProcess;
        return static_cast<pid_t>(syscall(SYS_getpid));
    }

    uid_t getuid() noexcept
    {
        if (CFakeSystem::Current() != nullptr) return CFakeSystem::Current()->m_uUser;
        return static_cast<uid_t>(syscall(SYS_getuid));
    }

    std::time_t time(std::time_t* pnTime) noexcept
    {
        std::time_t nTime = static_cast<std::time_t>(syscall(SYS_time, nullptr));
        if (CFakeSystem::Current() != nullptr) nTime = CFakeSystem::Current()->m_nTime;
        if (g_pnFixedTime != nullptr) nTime = *g_pnFixedTime;
        if (pnTime != nullptr) *pnTime = nTime;
        return nTime;
    }
}
#pragma GCC visibility pop

namespace
{
const std::vector<SDevice> g_allMissing(3);

// Who is asked, in order, and what for.
struct SCase
{
    const char* pszName;
    std::vector<SDevice> devices;
    const char* pszCalls;
};

TEST(CSeedDevices, AreAskedInOrderAndTheirBytesHashed)
{
    const SCase astCases[] = {
        {"the first answers at once",
         {Gives({Reads(32)}), Gives({Reads(32)}), Gives({Reads(32)})},
         "urandom select 10000, read 32, close. "},
        {"the first is missing",
         {Missing(), Gives({Reads(32)}), Gives({Reads(32)})},
         "urandom random select 10000, read 32, close. "},
        {"only the third is there",
         {Missing(), Missing(), Gives({Reads(32)})},
         "urandom random srandom select 10000, read 32, close. "},
        {"all are missing", {Missing(), Missing(), Missing()}, "urandom random srandom "},
        {"a device that answers at once is read only once",
         {Gives({Reads(10)}), Gives({Reads(32)}), Gives({Reads(32)})},
         "urandom select 10000, read 32, close. random select 10000, read 22, close. "},
        {"all together give too little",
         {Gives({Reads(10)}), Gives({Reads(5)}), Gives({Reads(1)})},
         "urandom select 10000, read 32, close. random select 10000, read 22, close. "
         "srandom select 10000, read 17, close. "},
        {"a device that lets wait is read again for the rest of the time",
         {Gives({Reads(10, 9999), Reads(8, 4000), Reads(32, 1)}), Missing(), Missing()},
         "urandom select 10000, read 32, select 9999, read 22, select 4000, read 14, close. "},
        {"a wait that used up all time is the last",
         {Gives({Reads(10, 5000), Reads(8, 0)}), Gives({Reads(32)}), Missing()},
         "urandom select 10000, read 32, select 5000, read 22, close. random select 10000, read 14, close. "},
        {"a later wait without delay does not end the device",
         {Gives({Reads(10, 5000), Reads(8, 5000), Reads(32, 5000)}), Missing(), Missing()},
         "urandom select 10000, read 32, select 5000, read 22, select 5000, read 14, close. "},
        {"each device has a time-out of its own, which ends it",
         {Gives({Reads(10, 300), TimesOut()}), Gives({TimesOut()}), Gives({Reads(1, 100), TimesOut()})},
         "urandom select 10000, read 32, select 300, close. random select 10000, close. "
         "srandom select 10000, read 22, select 100, close. "},
        {"a failed wait ends the device",
         {Gives({FailsToWait(EINTR, 5000)}), Gives({FailsToWait(EBADF)}), Gives({FailsToWait(EAGAIN)})},
         "urandom select 10000, close. random select 10000, close. srandom select 10000, close. "},
        {"a read that was interrupted or would block is repeated",
         {Gives({FailsToRead(EAGAIN, 9000), FailsToRead(EINTR, 8000), Reads(32, 7000)}), Missing(), Missing()},
         "urandom select 10000, read 32, select 9000, read 32, select 8000, read 32, close. "},
        {"but not without a wait",
         {Gives({FailsToRead(EINTR)}), Gives({FailsToRead(EAGAIN)}), Gives({Reads(32)})},
         "urandom select 10000, read 32, close. random select 10000, read 32, close. "
         "srandom select 10000, read 32, close. "},
        {"a failed read and a read of nothing end the device",
         {Gives({FailsToRead(EIO, 9000)}), Gives({Reads(0, 9000)}), Gives({Reads(32)})},
         "urandom select 10000, read 32, close. random select 10000, read 32, close. "
         "srandom select 10000, read 32, close. "},
        {"a failure behind a part keeps the part",
         {Gives({Reads(12, 9000), FailsToRead(EIO, 8000)}), Gives({Reads(20, 9000)}), Missing()},
         "urandom select 10000, read 32, select 9000, read 20, close. random select 10000, read 20, close. "},
    };
    for (const SCase& rstCase : astCases)
    {
        SCOPED_TRACE(rstCase.pszName);
        CSecureSeed::InitializeCSecureSeedBremoFw();
        const CFakeSystem system(rstCase.devices);
        const Bytes seed = Seed();
        EXPECT_EQ(rstCase.pszCalls, system.Calls());
        EXPECT_EQ(32u, system.Given().size() + system.Filled().size()) << "the kernel gives what the devices do not";
        EXPECT_EQ(Want(system, 1), seed) << system.Given().size() << " bytes given";
    }
}

TEST(CSeedDevices, OfDescriptorsThatNoSetHoldsAreReadWithoutAWait)
{
    const std::pair<int, const char*> aCases[] = {
        {0, "urandom select 10000, read 32, close. random select 10000, read 22, close. "},
        {FD_SETSIZE - 2, "urandom select 10000, read 32, close. random select 10000, read 22, close. "},
        {FD_SETSIZE, "urandom read 32, close. random read 22, close. "}};
    for (const auto& [nFirstFd, pszCalls] : aCases)
    {
        SCOPED_TRACE(nFirstFd);
        CSecureSeed::InitializeCSecureSeedBremoFw();
        const CFakeSystem system({Gives({Reads(10)}), Gives({Reads(32)}), Missing()}, nFirstFd);
        const Bytes seed = Seed();
        EXPECT_EQ(Want(system, 1), seed);
        EXPECT_EQ(pszCalls, system.Calls());
    }
}

class CSeedInput : public testing::Test
{
protected:
    CSeedInput() { CSecureSeed::InitializeCSecureSeedBremoFw(); }
};

TEST_F(CSeedInput, IsProcessUserTimeAndCounter)
{
    const std::pair<int, unsigned int> aIdentities[] = {{4711, 1000}, {4712, 1000}, {4712, 0}, {-2, 0xFFFFFFFE}};
    CFakeSystem system(g_allMissing);
    unsigned int uCounter = 0;
    for (const auto& [nProcess, uUser] : aIdentities)
    {
        for (const std::time_t nTime : {std::time_t{1234567890}, std::time_t{0x123456789A}})
        {
            system.m_nProcess = nProcess;
            system.m_uUser = uUser;
            system.m_nTime = nTime;
            const Bytes first = Seed();
            EXPECT_EQ(Want(system, ++uCounter), first);
            const Bytes second = Seed();
            EXPECT_EQ(Want(system, ++uCounter), second) << "within the same second";
        }
    }
    CSeedProbe::ms_uCounter = 0xFFFFFFFF;
    const Bytes wrapped = Seed();
    EXPECT_EQ(Want(system, 0), wrapped);
    EXPECT_EQ(0u, CSeedProbe::ms_uCounter);
}

TEST_F(CSeedInput, TheKernelIsAskedWithoutWaitingForWhatTheDevicesDoNotGive)
{
    struct SKernel
    {
        const char* pszName;
        unsigned int uRefused;
        std::vector<unsigned int> flags;
        std::size_t uFilled;
    };
    const SKernel astKernels[] = {{"gives", 0, {GRND_NONBLOCK}, 22},
                                  {"has just come up", 1, {GRND_NONBLOCK, GRND_INSECURE}, 22},
                                  {"has nothing to give", 2, {GRND_NONBLOCK, GRND_INSECURE}, 0}};
    for (const SKernel& rstKernel : astKernels)
    {
        SCOPED_TRACE(rstKernel.pszName);
        CSecureSeed::InitializeCSecureSeedBremoFw();
        CFakeSystem system({Gives({Reads(10)}), Missing(), Missing()});
        system.m_uRefusedRandom = rstKernel.uRefused;
        const Bytes seed = Seed();
        EXPECT_EQ(Want(system, 1), seed);
        EXPECT_EQ(rstKernel.uFilled, system.Filled().size());
        EXPECT_EQ(rstKernel.flags, system.RandomFlags());
    }
}

TEST_F(CSeedInput, AProcessWithoutAFreeDescriptorGathersSecrets)
{
    // All else that goes into the seed is the same twice.
    Bytes seeds[2];
    for (Bytes& rSeed : seeds)
    {
        CSecureSeed::InitializeCSecureSeedBremoFw();
        const int nFree = dup(0);
        close(nFree);
        rlimit stLimit;
        ASSERT_EQ(0, getrlimit(RLIMIT_NOFILE, &stLimit));
        const rlimit stNone = {static_cast<rlim_t>(nFree), stLimit.rlim_max};
        ASSERT_EQ(0, setrlimit(RLIMIT_NOFILE, &stNone));
        std::time_t nTime = 1234567890;
        g_pnFixedTime = &nTime;
        rSeed = Seed();
        g_pnFixedTime = nullptr;
        ASSERT_EQ(0, setrlimit(RLIMIT_NOFILE, &stLimit));
    }
    EXPECT_NE(seeds[0], seeds[1]);
}

TEST_F(CSeedInput, TheImplementationGathersTheSameSeed)
{
    const CFakeSystem system({Gives({Reads(32)}), Missing(), Missing()});
    Bytes seed(20);
    EXPECT_EQ(QV_RES_OK, CSecureSeedBremoFw::GenerateSeed(seed.data()));
    EXPECT_EQ(Want(system, 1), seed);
}

TEST_F(CSeedInput, NullIsRefusedBeforeAnyDeviceIsOpened)
{
    const CFakeSystem system({Gives({Reads(32)}), Missing(), Missing()});
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, CSecureSeed::GenerateSeed(nullptr));
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, CSecureSeedBremoFw::GenerateSeed(nullptr));
    EXPECT_EQ("", system.Calls());
    EXPECT_EQ(0u, CSeedProbe::ms_uCounter);
}
}  // namespace
