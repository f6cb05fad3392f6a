#include "framework/crypto/secure_seed.h"

#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <sys/random.h>
#include <sys/select.h>
#include <time.h>
#include <unistd.h>

#include <atomic>

#include "framework/crypto/internal/wiped.h"
#include "framework/crypto/sha1.h"

static_assert(sizeof(CSecureSeed) == 8, "no instance data");

unsigned int CSecureSeedBremoFw::ms_uCounter = 0;

namespace
{
constexpr unsigned int g_uDEVICE_BYTES = 32;
constexpr suseconds_t g_nDEVICE_TIMEOUT_US = 10000;

void SetZero(timeval& rTimeout)
{
    rTimeout.tv_sec = 0;
    rTimeout.tv_usec = 0;
}

bool IsZero(const timeval& rTimeout)
{
    return rTimeout.tv_sec == 0 && rTimeout.tv_usec == 0;
}

// Waits until the descriptor is readable. rTimeout becomes the time that is left, 0 after a failure.
bool WaitReadable(int nDescriptor, timeval& rTimeout)
{
    if (nDescriptor >= FD_SETSIZE) return true;  // too high for select(); read() does not block on it
    fd_set descriptors;
    FD_ZERO(&descriptors);
    FD_SET(nDescriptor, &descriptors);
    const int nReady = select(nDescriptor + 1, &descriptors, nullptr, nullptr, &rTimeout);
    if (nReady < 0) SetZero(rTimeout);
    return nReady > 0;
}

// Closes the descriptor also when the thread is cancelled, which it may be in every call here.
class CDevice
{
public:
    explicit CDevice(const char* pszDevice)
        : m_nDescriptor(open(pszDevice, O_RDONLY | O_NONBLOCK | O_NOCTTY | O_NOFOLLOW))
    {
    }
    ~CDevice()
    {
        if (m_nDescriptor >= 0) close(m_nDescriptor);
    }
    CDevice(const CDevice&) = delete;
    CDevice& operator=(const CDevice&) = delete;

    int Descriptor() const { return m_nDescriptor; }

private:
    const int m_nDescriptor;
};

// Appends what a device gives to the uGathered bytes of puBuffer; returns how many there are then.
unsigned int GatherFrom(const char* pszDevice, uint8_t* puBuffer, unsigned int uGathered)
{
    const CDevice device(pszDevice);
    const int nDescriptor = device.Descriptor();
    if (nDescriptor < 0) return uGathered;
    timeval timeout;
    SetZero(timeout);
    timeout.tv_usec = g_nDEVICE_TIMEOUT_US;
    for (bool bGoOn = true; bGoOn;)
    {
        ssize_t nRead = 0;
        if (WaitReadable(nDescriptor, timeout))
        {
            nRead = read(nDescriptor, puBuffer + uGathered, g_uDEVICE_BYTES - uGathered);
            if (nRead > 0) uGathered += static_cast<unsigned int>(nRead);
        }
        // The device has answered without using up any time: it is read only this once.
        if (timeout.tv_sec == 0 && timeout.tv_usec == g_nDEVICE_TIMEOUT_US) SetZero(timeout);
        const bool bNothing = nRead <= 0 && errno != EINTR && errno != EAGAIN;
        bGoOn = !bNothing && !IsZero(timeout) && uGathered < g_uDEVICE_BYTES;
    }
    return uGathered;
}

// Random bytes from the kernel itself, without a descriptor or a device. It never waits: a kernel that has just started
// gives what its devices would give then.
void GatherFromKernel(uint8_t* puBuffer, size_t uSize)
{
    for (const unsigned int uFlags : {unsigned{GRND_NONBLOCK}, unsigned{GRND_INSECURE}})
    {
        if (getrandom(puBuffer, uSize, uFlags) == static_cast<ssize_t>(uSize)) return;
    }
}

void GatherDeviceBytes(uint8_t* puBuffer)
{
    unsigned int uGathered = 0;
    for (const char* pszDevice : {"/dev/urandom", "/dev/random", "/dev/srandom"})
    {
        if (uGathered < g_uDEVICE_BYTES) uGathered = GatherFrom(pszDevice, puBuffer, uGathered);
    }
    if (uGathered < g_uDEVICE_BYTES) GatherFromKernel(puBuffer + uGathered, g_uDEVICE_BYTES - uGathered);
}

template <typename T>
QvResult UpdateFromValue(CSha1& rSha1, T value)
{
    uint8_t auBytes[sizeof(value)];
    memcpy(auBytes, &value, sizeof(value));
    return rSha1.Update(auBytes, sizeof(value));
}
}  // namespace

CSecureSeedBremoFw::~CSecureSeedBremoFw() = default;

QvResult CSecureSeedBremoFw::GenerateSeed(uint8_t* puSeed)
{
    if (puSeed == nullptr) return QV_RES_INVALID_ARGUMENT;
    // Wiped, since its state contains the seed.
    orvel_internal::CWiped<CSha1> sha1;
    const QvResult res = sha1->Begin();
    if (res < 0) return res;
    const pid_t nProcessId = getpid();
    orvel_internal::CWiped<uint8_t[g_uDEVICE_BYTES]> auDeviceBytes;
    memset(*auDeviceBytes, 0, g_uDEVICE_BYTES);
    GatherDeviceBytes(*auDeviceBytes);
    // The first step that fails ends the hashing; the seed is made of what was hashed before.
    if (sha1->Update(*auDeviceBytes, g_uDEVICE_BYTES) >= 0 &&
        UpdateFromValue(*sha1, static_cast<int64_t>(nProcessId)) >= 0 &&
        UpdateFromValue(*sha1, static_cast<uint64_t>(getuid())) >= 0 &&
        UpdateFromValue(*sha1, static_cast<int64_t>(time(nullptr))) >= 0)
    {
        UpdateFromValue(*sha1, std::atomic_ref<unsigned int>(ms_uCounter).fetch_add(1, std::memory_order_relaxed) + 1);
    }
    return sha1->End(puSeed);
}

QvResult CSecureSeedBremoFw::InitializeCSecureSeedBremoFw()
{
    ms_uCounter = 0;
    return QV_RES_OK;
}

void CSecureSeedBremoFw::FinalizeCSecureSeedBremoFw()
{
}

CSecureSeed::~CSecureSeed() = default;

QvResult CSecureSeed::GenerateSeed(uint8_t* puSeed)
{
    return CSecureSeedBremoFw::GenerateSeed(puSeed);
}

QvResult InitializeCSecureSeedBremoFw()
{
    return CSecureSeedBremoFw::InitializeCSecureSeedBremoFw();
}

void FinalizeCSecureSeedBremoFw()
{
    CSecureSeedBremoFw::FinalizeCSecureSeedBremoFw();
}
