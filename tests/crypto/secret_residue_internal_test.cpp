// What a draw, a seed and a code leave in the memory that they worked in: nothing that gives a secret away. Each runs
// on a stack of its own, which is searched afterwards.
#include <gtest/gtest.h>
#include <pthread.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "framework/crypto/hmac.h"
#include "framework/crypto/internal/cpu_features.h"
#include "framework/kernel/framework_initializer.h"
#include "tests/support/bytes.h"
#include "tests/support/prng_model.h"
#include "tests/support/sanitizers.h"
#include "tests/support/sha_model.h"

namespace
{
using namespace orvel_internal;
constexpr std::size_t g_uSTACK_SIZE = 256 * 1024;

const Bytes g_key = {0x9c, 0x11, 0xd8, 0x27, 0x53, 0xbe, 0x40, 0xf6, 0x8a, 0x6d,
                     0x05, 0xe9, 0x72, 0x3b, 0xc4, 0xaf, 0x18, 0x91, 0x66, 0xdd};

// Written by the work and compared with the stack by the test: in static storage, so not on the stack itself.
uint8_t g_auOut[64];
alignas(64) unsigned char g_auStack[g_uSTACK_SIZE];

// Deep enough that the end of the thread does not write over what the work has left.
void* RunOnStack(void* pvWork)
{
    unsigned char auDepth[16 * 1024];
    asm volatile("" : : "r"(auDepth) : "memory");
    reinterpret_cast<void (*)()>(pvWork)();
    asm volatile("" : : "r"(auDepth) : "memory");
    return nullptr;
}

// What the stack of the work holds when it is done. The first run is for the dynamic linker, which puts registers away.
const unsigned char* StackAfter(void (*pfnWork)())
{
    for (int n = 0; n < 2; ++n)
    {
        std::memset(g_auStack, 0, sizeof(g_auStack));
        pthread_attr_t attributes;
        pthread_attr_init(&attributes);
        EXPECT_EQ(0, pthread_attr_setstack(&attributes, g_auStack, sizeof(g_auStack)));
        pthread_t thread;
        EXPECT_EQ(0, pthread_create(&thread, &attributes, RunOnStack, reinterpret_cast<void*>(pfnWork)));
        pthread_join(thread, nullptr);
        pthread_attr_destroy(&attributes);
    }
    return g_auStack;
}

Bytes WithEachByte(Bytes bytes, unsigned char uMask)
{
    for (unsigned char& ru : bytes) ru ^= uMask;
    return bytes;
}

Bytes WithWordsTurned(Bytes bytes)
{
    for (std::size_t u = 0; u + 4 <= bytes.size(); u += 4) std::reverse(&bytes[u], &bytes[u] + 4);
    return bytes;
}

// Any two words of it are enough to be found.
void ExpectNoTraceOf(const Bytes& rSecret, const unsigned char* puStack, const char* pszWhat)
{
    for (const Bytes& rForm : {rSecret, WithWordsTurned(rSecret)})
    {
        for (std::size_t u = 0; u + 8 <= rForm.size(); u += 4)
        {
            const unsigned char* const puEnd = puStack + g_uSTACK_SIZE;
            const unsigned char* const puFound = std::search(puStack, puEnd, &rForm[u], &rForm[u] + 8);
            EXPECT_EQ(puEnd, puFound) << pszWhat << ", bytes " << u << " to " << u + 7 << ", " << puEnd - puFound
                                      << " bytes below the top";
            if (puFound != puEnd) return;
        }
    }
}

// The last words of the message schedule of SHA-1, from which the block can be computed: FIPS 180-4, section 6.1.2.
Bytes ScheduleEndOf(Bytes block)
{
    block.resize(4 * 80);
    const auto Word = [&block](std::size_t u) {
        return LoadAt<uint32_t>(WithWordsTurned({&block[4 * u], &block[4 * u] + 4}).data(), 0);
    };
    for (std::size_t u = 16; u < 80; ++u)
    {
        const uint32_t uWord = Word(u - 3) ^ Word(u - 8) ^ Word(u - 14) ^ Word(u - 16);
        StoreAt(block.data(), 4 * u, __builtin_bswap32(uWord << 1 | uWord >> 31));
    }
    return {block.begin() + 4 * 64, block.end()};
}

Bytes PadOf(Bytes key, unsigned char uMask)
{
    key.resize(64);
    return WithEachByte(key, uMask);
}

// The chaining words behind the block of a pad, which serve as well as the key.
Bytes WordsBehind(const Bytes& rBlock)
{
    std::vector<uint32_t> words = sha_model::SSha1::Start();
    sha_model::SSha1::Block(words, rBlock.data());
    return BytesAt(words.data(), 0, 20);
}

void ExpectNoTraceOfKey(const Bytes& rKey, const unsigned char* puStack)
{
    ExpectNoTraceOf(rKey, puStack, "the key");
    ExpectNoTraceOf(WithEachByte(rKey, 0x36), puStack, "the key in the inner pad");
    ExpectNoTraceOf(WithEachByte(rKey, 0x5C), puStack, "the key in the outer pad");
    ExpectNoTraceOf(ScheduleEndOf(PadOf(rKey, 0x36)), puStack, "the schedule of the inner pad");
    ExpectNoTraceOf(ScheduleEndOf(PadOf(rKey, 0x5C)), puStack, "the schedule of the outer pad");
    ExpectNoTraceOf(WordsBehind(PadOf(rKey, 0x36)), puStack, "the words behind the inner pad");
    ExpectNoTraceOf(WordsBehind(PadOf(rKey, 0x5C)), puStack, "the words behind the outer pad");
}

bool KeepsAllOnTheStack()
{
#if !defined(NDEBUG)
    return true;  // not optimised
#else
    return g_bSANITIZED;
#endif
}

// By the path that this processor has, and by the portable one.
class CSecretResidue : public testing::TestWithParam<bool>
{
protected:
    void SetUp() override
    {
        if (KeepsAllOnTheStack()) GTEST_SKIP() << "such code keeps on the stack what else is in registers";
        EXPECT_EQ(QV_RES_OK, CFrameworkInitializer::Initialize());
        if (GetParam()) RestrictCpuFeatures(0);
    }
    void TearDown() override
    {
        if (KeepsAllOnTheStack()) return;
        RestrictCpuFeatures(~0u);
        CFrameworkInitializer::Finalize();
    }
};
}  // namespace

TEST_P(CSecretResidue, TheSearchFindsWhatIsLeft)
{
    const auto Leave = []
    {
        uint8_t auLeft[64];
        std::memcpy(auLeft, g_key.data(), g_key.size());
        asm volatile("" : : "r"(auLeft) : "memory");
    };
    const unsigned char* const puStack = StackAfter(Leave);
    EXPECT_NE(puStack + g_uSTACK_SIZE, std::search(puStack, puStack + g_uSTACK_SIZE, g_key.begin(), g_key.end()));
}

namespace
{
Bytes GeneratorsKey()
{
    return BytesAt(CPrngProbe::ms_auSeed, 0, 20);
}

struct SWork
{
    const char* pszName;
    void (*pfnWork)();
    // Null where there is none.
    Bytes (*pfnKey)();
    Bytes (*pfnSecret)();
};

const SWork g_astWORKS[] = {
    {"a draw", [] { static_cast<void>(CSecurePrng::Generate(64, g_auOut)); }, GeneratorsKey, nullptr},
    {"a draw that seeds",
     []
     {
         InitializeCSecurePrngBremoFw();
         static_cast<void>(CSecurePrng::Generate(64, g_auOut));
     },
     GeneratorsKey, nullptr},
    {"a gathered seed", [] { static_cast<void>(CSecureSeed::GenerateSeed(g_auOut)); }, nullptr,
     [] { return BytesAt(g_auOut, 0, 20); }},
    {"a seed of one's own",
     []
     {
         uint8_t auSeed[] = {1, 2, 3};
         static_cast<void>(CSecurePrng::SetSeed(3, auSeed));
     },
     nullptr, [] { return BytesAt(CPrngProbe::ms_auCurrentBytes, 0, 20); }},
    {"a code",
     []
     {
         CSha1Mac mac;
         static_cast<void>(mac.Begin(g_key.data(), static_cast<unsigned int>(g_key.size())));
         static_cast<void>(mac.Update(g_key.data(), 3));
         static_cast<void>(mac.End(g_auOut));
     },
     [] { return g_key; }, nullptr},
    // The words after the inner pad have the same use as the key.
    {"a code that is never ended",
     []
     {
         CSha1Mac mac;
         static_cast<void>(mac.Begin(g_key.data(), static_cast<unsigned int>(g_key.size())));
         std::memcpy(g_auOut, reinterpret_cast<const char*>(&mac) + 96, 20);
     },
     [] { return g_key; }, [] { return BytesAt(g_auOut, 0, 20); }},
};
}  // namespace

TEST_P(CSecretResidue, NothingOfASecretIsLeft)
{
    for (const SWork& rstWork : g_astWORKS)
    {
        SCOPED_TRACE(rstWork.pszName);
        const unsigned char* const puStack = StackAfter(rstWork.pfnWork);
        if (rstWork.pfnKey != nullptr) ExpectNoTraceOfKey(rstWork.pfnKey(), puStack);
        if (rstWork.pfnSecret != nullptr) ExpectNoTraceOf(rstWork.pfnSecret(), puStack, "the secret");
    }
}

INSTANTIATE_TEST_SUITE_P(Paths, CSecretResidue, testing::Bool(),
                         [](const auto& rInfo) { return rInfo.param ? "Portable" : "OfThisProcessor"; });
