// Oracle: the stream computed with libcrypto's HMAC-SHA1 from the generator's statics.
#include "framework/crypto/secure_prng.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <string>
#include <thread>

#include "tests/support/bytes.h"
#include "tests/support/object_bytes.h"
#include "tests/support/prng_model.h"
#include "tests/support/run_program.h"
#include "tests/support/test_allocator.h"
#include "tests/support/test_seed.h"

namespace
{
Bytes Draw(unsigned int uSize)
{
    Bytes drawn(uSize + 1);
    EXPECT_EQ(QV_RES_OK, CSecurePrng::Generate(uSize, drawn.data()));
    drawn.pop_back();
    return drawn;
}

// Each test begins in the unseeded state with a key left over.
class CPrng : public testing::Test
{
protected:
    CPrng()
    {
        InitializeCSecurePrngBremoFw();
        std::fill_n(CPrngProbe::ms_auSeed, 20, uint8_t{0xAB});
        m_uSeedsBefore = CSeedProbe::ms_uCounter;
    }

    unsigned int SeedsGathered() const { return CSeedProbe::ms_uCounter - m_uSeedsBefore; }

    // Takes the place of the seed, so that the stream is always the same.
    static void Seed()
    {
        const char* const pszSeed = "twenty bytes of seed";
        std::copy_n(pszSeed, 20, CPrngProbe::ms_auSeed);
        CPrngProbe::ms_bInitialized = true;
    }

    std::mt19937 m_rng{TestSeed()};

private:
    unsigned int m_uSeedsBefore;
};
}  // namespace

TEST_F(CPrng, DrawsAreTheStreamHoweverTheyAreCut)
{
    Seed();
    CPrngModel model;
    for (unsigned int uStep = 0; uStep < 2000; ++uStep)
    {
        const unsigned int uSize = Below(m_rng, uStep % 10 == 0 ? 200 : 25);
        ASSERT_EQ(model.Draw(uSize), Draw(uSize)) << "step " << uStep;
        ASSERT_TRUE(model.IsStateOfGenerator()) << "step " << uStep;
    }
}

TEST_F(CPrng, ManyDrawsYieldTheBytesOfOne)
{
    Seed();
    const Bytes whole = Draw(40);
    InitializeCSecurePrngBremoFw();
    Seed();
    Bytes pieces = Draw(7);
    for (const unsigned int uSize : {13u, 20u})
    {
        const Bytes piece = Draw(uSize);
        pieces.insert(pieces.end(), piece.begin(), piece.end());
    }
    EXPECT_EQ(whole, pieces);
}

TEST_F(CPrng, TheFirstBlockIsTheHmacOfNothingButTheCounter)
{
    Seed();
    Bytes data(20, 0);
    data.insert(data.end(), {1, 0, 0, 0});
    EXPECT_EQ(EvpHmac(EVP_sha1(), BytesAt(CPrngProbe::ms_auSeed, 0, 20), data), Draw(20));
    EXPECT_EQ(0u, CPrngProbe::ms_uBytesRemaining) << "no block is made ahead";
}

TEST_F(CPrng, TheCounterWrapsInItsFourBytes)
{
    Seed();
    Draw(3);
    StoreAt<uint32_t>(CPrngProbe::ms_auCurrentBytes, 20, 0xFFFFFFFE);
    CPrngModel model;
    EXPECT_EQ(model.Draw(100), Draw(100));
    EXPECT_TRUE(model.IsStateOfGenerator());
    EXPECT_EQ(3u, LoadAt<uint32_t>(CPrngProbe::ms_auCurrentBytes, 20));
}

TEST_F(CPrng, OneLargeDrawIsTheStream)
{
    Seed();
    CPrngModel model;
    EXPECT_EQ(model.Draw(10011), Draw(10011));
    EXPECT_TRUE(model.IsStateOfGenerator());
}

TEST_F(CPrng, ADrawOfNothingWritesNothingAndConsumesNothing)
{
    Seed();
    Draw(7);
    const CPrngModel model;
    uint8_t uByte = 0xEE;
    EXPECT_EQ(QV_RES_OK, CSecurePrng::Generate(0, &uByte));
    EXPECT_EQ(0xEE, uByte);
    EXPECT_TRUE(model.IsStateOfGenerator());
}

TEST_F(CPrng, ADrawOfNothingSeeds)
{
    uint8_t uByte = 0xEE;
    EXPECT_EQ(QV_RES_OK, CSecurePrng::Generate(0, &uByte));
    EXPECT_TRUE(CPrngProbe::ms_bInitialized);
    EXPECT_EQ(1u, SeedsGathered());
    EXPECT_EQ(0xEE, uByte);
}

TEST_F(CPrng, WritesNoByteBesideThoseWanted)
{
    Seed();
    CPrngModel model;
    Bytes room(60, 0xEE);
    ASSERT_EQ(QV_RES_OK, CSecurePrng::Generate(28, room.data() + 16));
    Bytes want(16, 0xEE);
    const Bytes drawn = model.Draw(28);
    want.insert(want.end(), drawn.begin(), drawn.end());
    want.resize(60, 0xEE);
    EXPECT_EQ(want, room);
}

TEST_F(CPrng, TheImplementationDrawsTheSameStream)
{
    Seed();
    CPrngModel model;
    Bytes drawn(33);
    ASSERT_EQ(QV_RES_OK, CSecurePrngBremoFw::Generate(33, drawn.data()));
    EXPECT_EQ(model.Draw(33), drawn);
    EXPECT_EQ(model.Draw(11), Draw(11));
}

TEST_F(CPrng, TheFirstDrawSeedsAndLaterOnesDoNot)
{
    const Bytes keyBefore = BytesAt(CPrngProbe::ms_auSeed, 0, 20);
    Draw(1);
    EXPECT_TRUE(CPrngProbe::ms_bInitialized);
    EXPECT_EQ(1u, SeedsGathered());
    const Bytes key = BytesAt(CPrngProbe::ms_auSeed, 0, 20);
    EXPECT_NE(keyBefore, key);
    Draw(100);
    EXPECT_EQ(1u, SeedsGathered());
    EXPECT_EQ(key, BytesAt(CPrngProbe::ms_auSeed, 0, 20));
}

TEST_F(CPrng, TheGatheredSeedIsTheKeyOfTheStream)
{
    const Bytes drawn = Draw(50);
    CPrngModel model(BytesAt(CPrngProbe::ms_auSeed, 0, 20));
    EXPECT_EQ(model.Draw(50), drawn);
}

TEST_F(CPrng, NullIsRefusedAfterSeeding)
{
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, CSecurePrng::Generate(5, static_cast<uint8_t*>(nullptr)));
    EXPECT_TRUE(CPrngProbe::ms_bInitialized);
    EXPECT_EQ(1u, SeedsGathered());
    const CPrngModel model;
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, CSecurePrng::Generate(5, static_cast<uint8_t*>(nullptr)));
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, CSecurePrng::Generate(0, static_cast<uint8_t*>(nullptr)));
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, CSecurePrngBremoFw::Generate(5, static_cast<uint8_t*>(nullptr)));
    EXPECT_TRUE(model.IsStateOfGenerator());
    EXPECT_EQ(1u, SeedsGathered());
}

TEST_F(CPrng, ABlobEndsUpWithExactlyTheBytesDrawn)
{
    Seed();
    CPrngModel model;
    CTestAllocator allocator;
    for (const unsigned int uBefore : {0u, 1u, 29u, 30u, 31u, 100u})
    {
        const Bytes before(uBefore + 1, 'x');
        CBlob blob(before.data(), uBefore, 0, &allocator);
        ASSERT_EQ(QV_RES_OK, CSecurePrngBremoFw::Generate(30, &blob));
        EXPECT_EQ(model.Draw(30), BytesOf(blob)) << uBefore << " bytes in the blob";
        EXPECT_EQ(std::max(uBefore, 30u), blob.GetCapacity());
    }
    CBlob blob(&allocator);
    ASSERT_EQ(QV_RES_OK, CSecurePrng::Generate(30, &blob));
    EXPECT_EQ(model.Draw(30), BytesOf(blob));
}

TEST_F(CPrng, ADrawIntoABlobSeeds)
{
    CTestAllocator allocator;
    CBlob blob(&allocator);
    EXPECT_EQ(QV_RES_OK, CSecurePrng::Generate(8, &blob));
    EXPECT_TRUE(CPrngProbe::ms_bInitialized);
    EXPECT_EQ(1u, SeedsGathered());
}

TEST_F(CPrng, ANullBlobIsRefusedAfterSeeding)
{
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, CSecurePrngBremoFw::Generate(5, static_cast<CBlob*>(nullptr)));
    EXPECT_TRUE(CPrngProbe::ms_bInitialized);
    EXPECT_EQ(1u, SeedsGathered());
    const CPrngModel model;
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, CSecurePrng::Generate(5, static_cast<CBlob*>(nullptr)));
    EXPECT_TRUE(model.IsStateOfGenerator());
}

TEST_F(CPrng, ABlobThatGetsNoRoomStaysAndConsumesNothing)
{
    CTestAllocator allocator;
    const Bytes before(10, 'x');
    CBlob blob(before.data(), 10, 0, &allocator);
    CBlob none(&allocator);
    allocator.SetRefusing(true);
    EXPECT_EQ(QV_RES_OUT_OF_MEMORY, CSecurePrngBremoFw::Generate(30, &blob));
    EXPECT_TRUE(CPrngProbe::ms_bInitialized) << "seeding comes first";
    EXPECT_EQ(before, BytesOf(blob));
    const CPrngModel model;
    EXPECT_EQ(QV_RES_OUT_OF_MEMORY, CSecurePrngBremoFw::Generate(30, &blob));
    EXPECT_EQ(QV_RES_OUT_OF_MEMORY, CSecurePrngBremoFw::Generate(30, &none));
    EXPECT_EQ(0u, none.GetSize());
    EXPECT_TRUE(allocator.HasRefused());
    EXPECT_TRUE(model.IsStateOfGenerator());
}

TEST_F(CPrng, ABlobGivesUpItsBytesForADrawOfNothing)
{
    Seed();
    CTestAllocator allocator;
    const Bytes before(10, 'x');
    CBlob blob(before.data(), 10, 0, &allocator);
    const CPrngModel model;
    EXPECT_EQ(QV_RES_OK, CSecurePrngBremoFw::Generate(0, &blob));
    EXPECT_EQ(0u, blob.GetSize());
    EXPECT_TRUE(model.IsStateOfGenerator());
}

TEST_F(CPrng, ABlobWithoutStorageIsANullPointerForADrawOfNothing)
{
    CTestAllocator allocator;
    CBlob blob(&allocator);
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, CSecurePrngBremoFw::Generate(0, &blob));
}

TEST_F(CPrng, SetSeedWritesItsDigestOverTheBlockAndNothingElse)
{
    Seed();
    Draw(7);
    for (const unsigned int uSize : {1u, 20u, 64u, 500u})
    {
        CPrngModel model;
        Bytes seed = RandomBytes(m_rng, uSize, uSize);
        const Bytes before = seed;
        EXPECT_EQ(QV_RES_OK, CSecurePrngBremoFw::SetSeed(uSize, seed.data()));
        EXPECT_EQ(before, seed);
        model.SetSeed(seed);
        EXPECT_TRUE(model.IsStateOfGenerator());
        EXPECT_TRUE(CPrngProbe::ms_bInitialized);
        EXPECT_EQ(model.Draw(55), Draw(55));
    }
    EXPECT_EQ(0u, SeedsGathered());
}

TEST_F(CPrng, SetSeedBeforeTheFirstDrawSuppressesTheGathering)
{
    uint8_t auSeed[] = {1, 2, 3};
    EXPECT_EQ(QV_RES_OK, CSecurePrng::SetSeed(3, auSeed));
    EXPECT_TRUE(CPrngProbe::ms_bInitialized);
    CPrngModel model;
    EXPECT_EQ(model.Draw(50), Draw(50));
    EXPECT_EQ(0u, SeedsGathered());
    EXPECT_EQ(Bytes(20, 0xAB), BytesAt(CPrngProbe::ms_auSeed, 0, 20)) << "the key is the one before";
}

TEST_F(CPrng, SetSeedUnderAKeyNeverGatheredGivesAStreamThatCanBeRepeated)
{
    std::fill_n(CPrngProbe::ms_auSeed, 20, uint8_t{0});
    uint8_t auSeed[] = {'a', 'b', 'c'};
    ASSERT_EQ(QV_RES_OK, CSecurePrng::SetSeed(3, auSeed));
    // SHA-1("abc") as FIPS 180 prints it, then the counter.
    const Bytes data = {0xa9, 0x99, 0x3e, 0x36, 0x47, 0x06, 0x81, 0x6a, 0xba, 0x3e, 0x25, 0x71,
                        0x78, 0x50, 0xc2, 0x6c, 0x9c, 0xd0, 0xd8, 0x9d, 1,    0,    0,    0};
    EXPECT_EQ(EvpHmac(EVP_sha1(), Bytes(20, 0), data), Draw(20));
}

TEST_F(CPrng, SetSeedRefusesNullAndNothingAndChangesNothing)
{
    const CPrngModel model;
    uint8_t uByte = 1;
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, CSecurePrng::SetSeed(5, nullptr));
    EXPECT_EQ(QV_RES_FAIL, CSecurePrng::SetSeed(0, &uByte));
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, CSecurePrng::SetSeed(0, nullptr)) << "null comes first";
    EXPECT_TRUE(model.IsStateOfGenerator());
    EXPECT_FALSE(CPrngProbe::ms_bInitialized);
    EXPECT_EQ(0u, SeedsGathered());

    Seed();
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, CSecurePrng::SetSeed(5, nullptr));
    EXPECT_EQ(QV_RES_FAIL, CSecurePrng::SetSeed(0, &uByte));
    EXPECT_TRUE(CPrngProbe::ms_bInitialized);
}

TEST_F(CPrng, InitializeSeedGathersOnce)
{
    const Bytes current = BytesAt(CPrngProbe::ms_auCurrentBytes, 0, 24);
    CPrngProbe::InitializeSeed();
    EXPECT_TRUE(CPrngProbe::ms_bInitialized);
    CPrngProbe::InitializeSeed();
    EXPECT_EQ(1u, SeedsGathered());
    EXPECT_EQ(current, BytesAt(CPrngProbe::ms_auCurrentBytes, 0, 24));
    EXPECT_EQ(0u, CPrngProbe::ms_uBytesRemaining);
}

TEST_F(CPrng, StartUpClearsAllButTheKey)
{
    for (QvResult (*const pfnInitialize)() :
         {&CSecurePrngBremoFw::InitializeCSecurePrngBremoFw, &InitializeCSecurePrngBremoFw})
    {
        Seed();
        Draw(7);
        const Bytes key = BytesAt(CPrngProbe::ms_auSeed, 0, 20);
        EXPECT_EQ(QV_RES_OK, pfnInitialize());
        EXPECT_EQ(key, BytesAt(CPrngProbe::ms_auSeed, 0, 20));
        EXPECT_EQ(Bytes(24, 0), BytesAt(CPrngProbe::ms_auCurrentBytes, 0, 24));
        EXPECT_EQ(0u, CPrngProbe::ms_uBytesRemaining);
        EXPECT_FALSE(CPrngProbe::ms_bInitialized);
    }
}

TEST_F(CPrng, ShutDownDoesNothing)
{
    Seed();
    Draw(7);
    const CPrngModel model;
    CSecurePrngBremoFw::FinalizeCSecurePrngBremoFw();
    FinalizeCSecurePrngBremoFw();
    EXPECT_TRUE(model.IsStateOfGenerator());
    EXPECT_TRUE(CPrngProbe::ms_bInitialized);
}

namespace
{
// What a forked child draws, after it has called pfnPrepare.
Bytes DrawOfChild(void (*pfnPrepare)())
{
    int anPipe[2];
    EXPECT_EQ(0, pipe(anPipe));
    const auto draw = [&]
    {
        uint8_t auDrawn[32];
        pfnPrepare();
        return CSecurePrng::Generate(32, auDrawn) == QV_RES_OK && write(anPipe[1], auDrawn, 32) == 32 ? 0 : 1;
    };
    EXPECT_EQ(0, StatusOfChild(draw));
    close(anPipe[1]);
    Bytes drawn(32);
    EXPECT_EQ(32, read(anPipe[0], drawn.data(), 32));
    close(anPipe[0]);
    return drawn;
}
}  // namespace

TEST_F(CPrng, NullInAnySpellingIsTheRawForm)
{
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, CSecurePrng::Generate(5, nullptr));
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, CSecurePrng::Generate(5, NULL));
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, CSecurePrng::Generate(5, 0));
    CBlob* const pblobNone = nullptr;
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, CSecurePrng::Generate(5, pblobNone));
}

TEST_F(CPrng, BlobsOfDerivedClassesAreBlobs)
{
    class CNamedBlob : public CBlob
    {
    };
    CNamedBlob blob;
    EXPECT_EQ(QV_RES_OK, CSecurePrng::Generate(5, &blob));
    EXPECT_EQ(5u, blob.GetSize());
    QvResult (*const pfnGenerate)(unsigned int, CBlob*) = &CSecurePrng::Generate;
    EXPECT_EQ(QV_RES_OK, pfnGenerate(7, &blob));
    EXPECT_EQ(7u, blob.GetSize());
}

TEST_F(CPrng, SeedingAndTheLockAreForEverybody)
{
    CSecurePrngBremoFw::InitializeSeed();
    EXPECT_TRUE(CPrngProbe::ms_bInitialized);
    CSecurePrngBremoFw::Lock();
    CSecurePrngBremoFw::Unlock();
    CSecurePrng::Lock();
    CSecurePrng::Unlock();
}

TEST_F(CPrng, AForkedChildThatStartsAfreshDrawsBytesOfItsOwn)
{
    Draw(7);
    const Bytes repeated = DrawOfChild([] {});
    const Bytes own = DrawOfChild([] { InitializeCSecurePrngBremoFw(); });
    const Bytes parent = Draw(32);
    EXPECT_EQ(parent, repeated) << "which is why it has to";
    EXPECT_NE(parent, own);
}

namespace
{
constexpr unsigned int g_uTHREADS = 4;

template <typename Work>
void RunThreads(Work work)
{
    std::atomic<bool> bGo{false};
    std::vector<std::thread> threads;
    for (unsigned int u = 0; u < g_uTHREADS; ++u)
    {
        threads.emplace_back(
            [&bGo, &work, u]
            {
                while (!bGo) std::this_thread::yield();
                work(u);
            });
    }
    bGo = true;
    for (std::thread& rThread : threads) rThread.join();
}
}  // namespace

TEST_F(CPrng, SeveralThreadsShareTheStreamAndNoByteIsHandedOutTwice)
{
    constexpr unsigned int uDraws = 300;
    constexpr unsigned int uSize = 27;
    Seed();
    CPrngModel model;
    std::vector<Bytes> drawn[g_uTHREADS];
    RunThreads(
        [&drawn](unsigned int uThread)
        {
            for (unsigned int u = 0; u < uDraws; ++u) drawn[uThread].push_back(Draw(uSize));
        });
    std::vector<std::string> all;
    std::vector<std::string> want;
    for (const std::vector<Bytes>& rOfThread : drawn)
    {
        for (const Bytes& rDraw : rOfThread) all.emplace_back(rDraw.begin(), rDraw.end());
    }
    for (unsigned int u = 0; u < g_uTHREADS * uDraws; ++u)
    {
        const Bytes draw = model.Draw(uSize);
        want.emplace_back(draw.begin(), draw.end());
    }
    std::sort(all.begin(), all.end());
    std::sort(want.begin(), want.end());
    EXPECT_TRUE(want == all);
    EXPECT_TRUE(model.IsStateOfGenerator());
}

TEST_F(CPrng, SeveralThreadsThatComeFirstGatherOneSeed)
{
    RunThreads([](unsigned int) { Draw(5); });
    EXPECT_EQ(1u, SeedsGathered());
    EXPECT_TRUE(CPrngProbe::ms_bInitialized);
}

TEST_F(CPrng, SetSeedMayMeetDraws)
{
    RunThreads(
        [](unsigned int uThread)
        {
            uint8_t auSeed[] = {static_cast<uint8_t>(uThread), 1};
            for (unsigned int u = 0; u < 100; ++u)
            {
                const bool bSeeds = uThread % 2 == 0;
                EXPECT_EQ(bSeeds ? QV_RES_OK : QV_RES_FAIL, CSecurePrng::SetSeed(bSeeds ? 2 : 0, auSeed));
                Draw(9);
            }
        });
    EXPECT_TRUE(CPrngProbe::ms_bInitialized);
}

TEST_F(CPrng, LockKeepsDrawsOut)
{
    Seed();
    Draw(1);
    std::atomic<bool> bStarted{false};
    CPrngProbe::Lock();
    const CPrngModel model;
    std::thread drawing(
        [&bStarted]
        {
            bStarted = true;
            Draw(20);
        });
    while (!bStarted) std::this_thread::yield();
    for (unsigned int u = 0; u < 100; ++u) std::this_thread::yield();
    EXPECT_TRUE(model.IsStateOfGenerator());
    CPrngProbe::Unlock();
    drawing.join();
    EXPECT_FALSE(model.IsStateOfGenerator());
}
