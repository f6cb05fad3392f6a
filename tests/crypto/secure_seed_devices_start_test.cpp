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
        m_calls.push_back(std::string("open ") + pszPath);
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
        m_calls.push_back("select " + std::to_string(pTimeout->tv_usec));
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
        m_calls.push_back("read " + std::to_string(uSize));
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
        m_calls.push_back("close");
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

    const std::vector<std::string>& Calls() const { return m_calls; }
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
    std::vector<std::string> m_calls;
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
using Calls = std::vector<std::string>;

struct SCase
{
    const char* pszName;
    std::vector<SDevice> devices;
    Calls calls;
};

void PrintTo(const SCase& rstCase, std::ostream* pStream)
{
    *pStream << rstCase.pszName;
}

class CSeedDevices : public testing::TestWithParam<SCase>
{
};
}  // namespace

TEST_P(CSeedDevices, AreAskedInOrderAndTheirBytesHashed)
{
    CSecureSeed::InitializeCSecureSeedBremoFw();
    const CFakeSystem system(GetParam().devices);
    const Bytes seed = Seed();
    EXPECT_EQ(GetParam().calls, system.Calls());
    EXPECT_EQ(32u, system.Given().size() + system.Filled().size()) << "the kernel gives what the devices do not";
    EXPECT_EQ(Want(system, 1), seed) << system.Given().size() << " bytes given";
}

namespace
{
const char* const g_pszUrandom = "open /dev/urandom";
const char* const g_pszRandom = "open /dev/random";
const char* const g_pszSrandom = "open /dev/srandom";

const std::vector<SCase> g_cases = {
    {"TheFirstAnswersAtOnce",
     {Gives({Reads(32)}), Gives({Reads(32)}), Gives({Reads(32)})},
     {g_pszUrandom, "select 10000", "read 32", "close"}},
    {"TheFirstIsMissing",
     {Missing(), Gives({Reads(32)}), Gives({Reads(32)})},
     {g_pszUrandom, g_pszRandom, "select 10000", "read 32", "close"}},
    {"OnlyTheThirdIsThere",
     {Missing(), Missing(), Gives({Reads(32)})},
     {g_pszUrandom, g_pszRandom, g_pszSrandom, "select 10000", "read 32", "close"}},
    {"AllAreMissing", {Missing(), Missing(), Missing()}, {g_pszUrandom, g_pszRandom, g_pszSrandom}},
    {"ADeviceThatAnswersAtOnceIsReadOnlyOnce",
     {Gives({Reads(10)}), Gives({Reads(32)}), Gives({Reads(32)})},
     {g_pszUrandom, "select 10000", "read 32", "close", g_pszRandom, "select 10000", "read 22", "close"}},
    {"EachGivesAPart",
     {Gives({Reads(10)}), Gives({Reads(21)}), Gives({Reads(32)})},
     {g_pszUrandom, "select 10000", "read 32", "close", g_pszRandom, "select 10000", "read 22", "close", g_pszSrandom,
      "select 10000", "read 1", "close"}},
    {"AllTogetherGiveTooLittle",
     {Gives({Reads(10)}), Gives({Reads(5)}), Gives({Reads(1)})},
     {g_pszUrandom, "select 10000", "read 32", "close", g_pszRandom, "select 10000", "read 22", "close", g_pszSrandom,
      "select 10000", "read 17", "close"}},
    {"ADeviceThatLetsWaitIsReadAgainForTheRestOfTheTime",
     {Gives({Reads(10, 9999), Reads(8, 4000), Reads(32, 1)}), Missing(), Missing()},
     {g_pszUrandom, "select 10000", "read 32", "select 9999", "read 22", "select 4000", "read 14", "close"}},
    {"AWaitThatUsedUpAllTimeIsTheLast",
     {Gives({Reads(10, 5000), Reads(8, 0)}), Gives({Reads(32)}), Missing()},
     {g_pszUrandom, "select 10000", "read 32", "select 5000", "read 22", "close", g_pszRandom, "select 10000",
      "read 14", "close"}},
    {"ALaterWaitWithoutDelayDoesNotEndTheDevice",
     {Gives({Reads(10, 5000), Reads(8, 5000), Reads(32, 5000)}), Missing(), Missing()},
     {g_pszUrandom, "select 10000", "read 32", "select 5000", "read 22", "select 5000", "read 14", "close"}},
    {"EachDeviceHasATimeOutOfItsOwn",
     {Gives({Reads(10, 300), TimesOut()}), Gives({Reads(10, 200), TimesOut()}), Gives({Reads(1, 100), TimesOut()})},
     {g_pszUrandom, "select 10000", "read 32", "select 300", "close", g_pszRandom, "select 10000", "read 22",
      "select 200", "close", g_pszSrandom, "select 10000", "read 12", "select 100", "close"}},
    {"ATimeOutEndsTheDevice",
     {Gives({TimesOut()}), Gives({Reads(32)}), Missing()},
     {g_pszUrandom, "select 10000", "close", g_pszRandom, "select 10000", "read 32", "close"}},
    {"AFailedWaitEndsTheDevice",
     {Gives({FailsToWait(EINTR, 5000)}), Gives({FailsToWait(EBADF)}), Gives({FailsToWait(EAGAIN)})},
     {g_pszUrandom, "select 10000", "close", g_pszRandom, "select 10000", "close", g_pszSrandom, "select 10000",
      "close"}},
    {"AnInterruptedReadIsRepeated",
     {Gives({FailsToRead(EINTR, 9000), Reads(32, 8000)}), Missing(), Missing()},
     {g_pszUrandom, "select 10000", "read 32", "select 9000", "read 32", "close"}},
    {"AReadThatWouldBlockIsRepeated",
     {Gives({FailsToRead(EAGAIN, 9000), FailsToRead(EINTR, 8000), Reads(32, 7000)}), Missing(), Missing()},
     {g_pszUrandom, "select 10000", "read 32", "select 9000", "read 32", "select 8000", "read 32", "close"}},
    {"AnInterruptedReadWithoutAWaitIsNotRepeated",
     {Gives({FailsToRead(EINTR)}), Gives({FailsToRead(EAGAIN)}), Gives({Reads(32)})},
     {g_pszUrandom, "select 10000", "read 32", "close", g_pszRandom, "select 10000", "read 32", "close", g_pszSrandom,
      "select 10000", "read 32", "close"}},
    {"AFailedReadEndsTheDevice",
     {Gives({FailsToRead(EIO, 9000)}), Gives({Reads(32)}), Missing()},
     {g_pszUrandom, "select 10000", "read 32", "close", g_pszRandom, "select 10000", "read 32", "close"}},
    {"AReadOfNothingEndsTheDevice",
     {Gives({Reads(0, 9000)}), Gives({Reads(32)}), Missing()},
     {g_pszUrandom, "select 10000", "read 32", "close", g_pszRandom, "select 10000", "read 32", "close"}},
    {"AFailureBehindAPartKeepsThePart",
     {Gives({Reads(12, 9000), FailsToRead(EIO, 8000)}), Gives({Reads(20, 9000)}), Missing()},
     {g_pszUrandom, "select 10000", "read 32", "select 9000", "read 20", "close", g_pszRandom, "select 10000",
      "read 20", "close"}},
};
}  // namespace

INSTANTIATE_TEST_SUITE_P(Answers, CSeedDevices, testing::ValuesIn(g_cases),
                         [](const auto& rInfo) { return std::string(rInfo.param.pszName); });

namespace
{
const std::vector<SDevice> g_allMissing(3);
}  // namespace

TEST(CSeedInput, ASeedWithoutDevicesComesFromProcessUserTimeAndCounter)
{
    CSecureSeed::InitializeCSecureSeedBremoFw();
    CFakeSystem system(g_allMissing);
    Bytes before = Seed();
    EXPECT_EQ(Want(system, 1), before);
    const auto ExpectNew = [&](unsigned int uCounter)
    {
        const Bytes seed = Seed();
        EXPECT_EQ(Want(system, uCounter), seed);
        EXPECT_NE(before, seed);
        before = seed;
    };
    ExpectNew(2);  // within the same second
    system.m_nProcess = 4712;
    ExpectNew(3);
    system.m_uUser = 0;
    ExpectNew(4);
    system.m_nTime += 1;
    ExpectNew(5);
}

TEST(CSeedInput, TheKernelIsAskedWithoutWaitingForWhatTheDevicesDoNotGive)
{
    CSecureSeed::InitializeCSecureSeedBremoFw();
    const CFakeSystem system({Gives({Reads(10)}), Missing(), Missing()});
    const Bytes seed = Seed();
    EXPECT_EQ(Want(system, 1), seed);
    EXPECT_EQ(22u, system.Filled().size());
    EXPECT_EQ(std::vector<unsigned int>{GRND_NONBLOCK}, system.RandomFlags());
}

TEST(CSeedInput, AKernelThatHasJustComeUpGivesWhatItsDevicesWould)
{
    CSecureSeed::InitializeCSecureSeedBremoFw();
    CFakeSystem system(g_allMissing);
    system.m_uRefusedRandom = 1;
    const Bytes seed = Seed();
    EXPECT_EQ(Want(system, 1), seed);
    EXPECT_EQ(32u, system.Filled().size());
    EXPECT_EQ((std::vector<unsigned int>{GRND_NONBLOCK, GRND_INSECURE}), system.RandomFlags());
}

TEST(CSeedInput, WithoutAnyRandomnessTheSeedsStillDiffer)
{
    CSecureSeed::InitializeCSecureSeedBremoFw();
    CFakeSystem system(g_allMissing);
    system.m_uRefusedRandom = 4;
    const Bytes first = Seed();
    const Bytes second = Seed();
    EXPECT_EQ(Want(system, 1), first);
    EXPECT_EQ(Want(system, 2), second);
    EXPECT_NE(first, second);
    EXPECT_EQ(0u, system.Filled().size());
}

TEST(CSeedInput, AProcessWithoutAFreeDescriptorGathersSecrets)
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

TEST(CSeedInput, TheProcessIsSignExtendedAndTheUserZeroExtended)
{
    CSecureSeed::InitializeCSecureSeedBremoFw();
    CFakeSystem system(g_allMissing);
    system.m_nProcess = -2;
    system.m_uUser = 0xFFFFFFFE;
    system.m_nTime = 0x123456789A;
    const Bytes seed = Seed();
    EXPECT_EQ(Want(system, 1), seed);
}

TEST(CSeedInput, TheCounterWraps)
{
    CSeedProbe::ms_uCounter = 0xFFFFFFFE;
    const CFakeSystem system(g_allMissing);
    const Bytes last = Seed();
    EXPECT_EQ(Want(system, 0xFFFFFFFF), last);
    const Bytes first = Seed();
    EXPECT_EQ(Want(system, 0), first);
    EXPECT_EQ(0u, CSeedProbe::ms_uCounter);
}

TEST(CSeedInput, TheImplementationGathersTheSameSeed)
{
    CSecureSeed::InitializeCSecureSeedBremoFw();
    const CFakeSystem system({Gives({Reads(32)}), Missing(), Missing()});
    Bytes seed(20);
    EXPECT_EQ(QV_RES_OK, CSecureSeedBremoFw::GenerateSeed(seed.data()));
    EXPECT_EQ(Want(system, 1), seed);
}

TEST(CSeedInput, NullIsRefusedBeforeAnyDeviceIsOpened)
{
    CSecureSeed::InitializeCSecureSeedBremoFw();
    const CFakeSystem system({Gives({Reads(32)}), Missing(), Missing()});
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, CSecureSeed::GenerateSeed(nullptr));
    EXPECT_EQ(Calls(), system.Calls());
    EXPECT_EQ(0u, CSeedProbe::ms_uCounter);
}

TEST(CSeedInput, TheFirstAndTheLastDescriptorOfASetWillDo)
{
    for (const int nFd : {0, FD_SETSIZE - 1})
    {
        CSecureSeed::InitializeCSecureSeedBremoFw();
        const CFakeSystem system({Gives({Reads(32)}), Missing(), Missing()}, nFd);
        const Bytes seed = Seed();
        EXPECT_EQ(Want(system, 1), seed);
        EXPECT_EQ(32u, system.Given().size());
    }
}

TEST(CSeedInput, ADescriptorThatNoSetHoldsIsReadWithoutAWait)
{
    CSecureSeed::InitializeCSecureSeedBremoFw();
    const CFakeSystem system({Gives({Reads(10)}), Gives({FailsToRead(EAGAIN)}), Gives({Reads(32)})}, FD_SETSIZE);
    const Bytes seed = Seed();
    EXPECT_EQ(Want(system, 1), seed);
    EXPECT_EQ(
        (Calls{g_pszUrandom, "read 32", "close", g_pszRandom, "read 22", "close", g_pszSrandom, "read 22", "close"}),
        system.Calls());
}
