// Oracle: the stream computed with libcrypto's HMAC-SHA1 from the generator's statics. Start-up, shut-down and the
// place of the state are the matter of tests/abi.
#include "framework/crypto/secure_prng.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <set>

#include "tests/support/bytes.h"
#include "tests/support/object_bytes.h"
#include "tests/support/prng_model.h"
#include "tests/support/run_program.h"
#include "tests/support/run_threads.h"
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

// The operations of a seeded generator, beside the model.
class CPrngSteps
{
public:
    struct SOperation
    {
        const char* pszName;
        void (CPrngSteps::*pfnStep)();
    };
    static const std::vector<SOperation>& Operations();

    explicit CPrngSteps(std::mt19937& rRng) : m_rRng(rRng) {}

    bool IsStateOfGenerator() const { return m_model.IsStateOfGenerator(); }

private:
    using DrawFunction = QvResult(unsigned int, uint8_t*);

    // No byte beside those wanted is written.
    void DrawRaw(DrawFunction* pfnGenerate, unsigned int uSize)
    {
        Bytes room(uSize + 2, 0xEE);
        Bytes want = m_model.Draw(uSize);
        want.insert(want.begin(), 0xEE);
        want.push_back(0xEE);
        EXPECT_EQ(QV_RES_OK, pfnGenerate(uSize, room.data() + 1));
        EXPECT_EQ(want, room);
    }
    void DrawFew() { DrawRaw(&CSecurePrng::Generate, Below(m_rRng, 25)); }
    void DrawMany() { DrawRaw(&CSecurePrng::Generate, Below(m_rRng, 2000)); }
    void DrawFromTheImplementation() { DrawRaw(&CSecurePrngBremoFw::Generate, Below(m_rRng, 50)); }

    void DrawIntoABlob()
    {
        const unsigned int uBefore = Below(m_rRng, 60);
        const unsigned int uSize = Below(m_rRng, 60);
        CBlob blob(Bytes(uBefore + 1, 'x').data(), uBefore, 0, &m_allocator);
        m_allocator.SetRefusing(m_rRng() % 2 == 0);
        const QvResult res = CSecurePrngBremoFw::Generate(uSize, &blob);
        const bool bRefused = m_allocator.HasRefused();
        m_allocator.SetRefusing(false);
        if (bRefused)
        {
            EXPECT_EQ(QV_RES_OUT_OF_MEMORY, res);
            EXPECT_EQ(Bytes(uBefore, 'x'), BytesOf(blob));
            return;
        }
        // A blob without storage counts as a null pointer.
        EXPECT_EQ(uBefore == 0 && uSize == 0 ? QV_RES_INVALID_ARGUMENT : QV_RES_OK, res);
        EXPECT_EQ(m_model.Draw(uSize), BytesOf(blob));
        EXPECT_EQ(std::max(uBefore, uSize), blob.GetCapacity());
    }

    void MixASeedIn()
    {
        Bytes seed = RandomBytes(m_rRng, 1, 200);
        const Bytes before = seed;
        EXPECT_EQ(QV_RES_OK, CSecurePrng::SetSeed(SizeOf(seed), seed.data()));
        EXPECT_EQ(before, seed);
        m_model.SetSeed(seed);
    }

    void MoveTheCounterToItsEnd()
    {
        StoreAt<uint32_t>(CPrngProbe::ms_auCurrentBytes, 20, 0xFFFFFFFE);
        m_model = CPrngModel();
    }

    void BeRefused()
    {
        uint8_t uByte = 1;
        EXPECT_EQ(QV_RES_INVALID_ARGUMENT, CSecurePrng::Generate(5, nullptr));
        EXPECT_EQ(QV_RES_INVALID_ARGUMENT, CSecurePrng::Generate(5, NULL));
        EXPECT_EQ(QV_RES_INVALID_ARGUMENT, CSecurePrng::Generate(0, 0));
        EXPECT_EQ(QV_RES_INVALID_ARGUMENT, CSecurePrng::Generate(5, static_cast<CBlob*>(nullptr)));
        EXPECT_EQ(QV_RES_INVALID_ARGUMENT, CSecurePrngBremoFw::Generate(5, static_cast<uint8_t*>(nullptr)));
        EXPECT_EQ(QV_RES_INVALID_ARGUMENT, CSecurePrng::SetSeed(0, nullptr)) << "null comes first";
        EXPECT_EQ(QV_RES_FAIL, CSecurePrng::SetSeed(0, &uByte));
    }

    std::mt19937& m_rRng;
    CTestAllocator m_allocator;
    CPrngModel m_model;
};

const std::vector<CPrngSteps::SOperation>& CPrngSteps::Operations()
{
    static const std::vector<SOperation> s_operations = {
        {"a draw", &CPrngSteps::DrawFew},
        {"a large draw", &CPrngSteps::DrawMany},
        {"a draw from the implementation", &CPrngSteps::DrawFromTheImplementation},
        {"a draw into a blob", &CPrngSteps::DrawIntoABlob},
        {"a seed mixed in", &CPrngSteps::MixASeedIn},
        {"a counter about to wrap", &CPrngSteps::MoveTheCounterToItsEnd},
        {"refused calls", &CPrngSteps::BeRefused}};
    return s_operations;
}
}  // namespace

TEST_F(CPrng, GivesTheStreamHoweverItIsDrawn)
{
    Seed();
    CPrngSteps steps(m_rng);
    for (unsigned int uStep = 0; uStep < 3000; ++uStep)
    {
        const CPrngSteps::SOperation& rOperation =
            CPrngSteps::Operations()[Below(m_rng, CPrngSteps::Operations().size())];
        SCOPED_TRACE(testing::Message() << "step " << uStep << ": " << rOperation.pszName);
        (steps.*rOperation.pfnStep)();
        ASSERT_TRUE(steps.IsStateOfGenerator());
        ASSERT_FALSE(HasFailure());
    }
    EXPECT_TRUE(CPrngProbe::ms_bInitialized);
    EXPECT_EQ(0u, SeedsGathered());
}

TEST_F(CPrng, FirstCallsSeedOrDoNot)
{
    struct SCall
    {
        const char* pszName;
        QvResult (*pfnCall)(CBlob& rblob);
        QvResult resWant;
        unsigned int uSeeds;
        bool bSeeded;
    };
    static uint8_t s_auBytes[50];
    const SCall astCalls[] = {
        {"a draw", [](CBlob&) { return CSecurePrng::Generate(50, s_auBytes); }, QV_RES_OK, 1, true},
        {"a draw of nothing", [](CBlob&) { return CSecurePrng::Generate(0, s_auBytes); }, QV_RES_OK, 1, true},
        {"a draw to nowhere", [](CBlob&) { return CSecurePrng::Generate(5, nullptr); }, QV_RES_INVALID_ARGUMENT, 1,
         true},
        {"a draw into a blob", [](CBlob& rblob) { return CSecurePrng::Generate(5, &rblob); }, QV_RES_OK, 1, true},
        {"a draw into no blob", [](CBlob&) { return CSecurePrngBremoFw::Generate(5, static_cast<CBlob*>(nullptr)); },
         QV_RES_INVALID_ARGUMENT, 1, true},
        {"InitializeSeed(), twice",
         [](CBlob&)
         {
             CSecurePrng::InitializeSeed();
             CSecurePrng::InitializeSeed();
             return QV_RES_OK;
         },
         QV_RES_OK, 1, true},
        {"a seed of one's own", [](CBlob&) { return CSecurePrng::SetSeed(3, s_auBytes); }, QV_RES_OK, 0, true},
        {"no seed", [](CBlob&) { return CSecurePrng::SetSeed(5, nullptr); }, QV_RES_INVALID_ARGUMENT, 0, false},
        {"an empty seed", [](CBlob&) { return CSecurePrng::SetSeed(0, s_auBytes); }, QV_RES_FAIL, 0, false},
    };
    unsigned int uSeeds = 0;
    for (const SCall& rstCall : astCalls)
    {
        SCOPED_TRACE(rstCall.pszName);
        CBlob blob;
        InitializeCSecurePrngBremoFw();
        std::fill_n(CPrngProbe::ms_auSeed, 20, uint8_t{0xAB});
        EXPECT_EQ(rstCall.resWant, rstCall.pfnCall(blob));
        uSeeds += rstCall.uSeeds;
        EXPECT_EQ(uSeeds, SeedsGathered());
        EXPECT_EQ(rstCall.bSeeded, CPrngProbe::ms_bInitialized);
        const Bytes key = BytesAt(CPrngProbe::ms_auSeed, 0, 20);
        EXPECT_EQ(rstCall.uSeeds == 0, key == Bytes(20, 0xAB)) << "the seed is the key";
        if (!rstCall.bSeeded) continue;
        CPrngModel model;
        EXPECT_EQ(model.Draw(30), Draw(30)) << "no later draw seeds";
        EXPECT_EQ(uSeeds, SeedsGathered());
    }
}

TEST_F(CPrng, TheGatheredSeedIsTheKeyOfTheStream)
{
    const Bytes drawn = Draw(50);
    CPrngModel model(BytesAt(CPrngProbe::ms_auSeed, 0, 20));
    EXPECT_EQ(model.Draw(50), drawn);
}

TEST_F(CPrng, ABlobWithoutMemoryIsRefusedAfterSeeding)
{
    CTestAllocator allocator;
    CBlob blob(&allocator);
    allocator.SetRefusing(true);
    EXPECT_EQ(QV_RES_OUT_OF_MEMORY, CSecurePrng::Generate(30, &blob));
    EXPECT_EQ(1u, SeedsGathered());
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
}  // namespace

TEST_F(CPrng, SeveralThreadsShareTheStreamAndNoByteIsHandedOutTwice)
{
    constexpr unsigned int uDRAWS = 300;
    constexpr unsigned int uSIZE = 27;
    Seed();
    CPrngModel model;
    std::vector<Bytes> drawn[g_uTHREADS];
    RunThreads(g_uTHREADS,
               [&drawn](unsigned int uThread)
               {
                   for (unsigned int u = 0; u < uDRAWS; ++u) drawn[uThread].push_back(Draw(uSIZE));
               });
    std::vector<Bytes> all;
    std::vector<Bytes> want;
    for (const std::vector<Bytes>& rOfThread : drawn) all.insert(all.end(), rOfThread.begin(), rOfThread.end());
    for (unsigned int u = 0; u < g_uTHREADS * uDRAWS; ++u) want.push_back(model.Draw(uSIZE));
    std::sort(all.begin(), all.end());
    std::sort(want.begin(), want.end());
    EXPECT_TRUE(want == all);
    EXPECT_TRUE(model.IsStateOfGenerator());
}

TEST_F(CPrng, SeveralThreadsThatComeFirstGatherOneSeed)
{
    RunThreads(g_uTHREADS, [](unsigned int) { Draw(5); });
    EXPECT_EQ(1u, SeedsGathered());
    EXPECT_TRUE(CPrngProbe::ms_bInitialized);
}

TEST_F(CPrng, SetSeedMayMeetDraws)
{
    RunThreads(g_uTHREADS,
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

// What goes into a seed is the matter of secure_seed_devices_start_test.cpp.
TEST(CSecureSeedSeeds, AreCountedAtomicallyAndDifferOnSeveralThreads)
{
    constexpr unsigned int uSEEDS = 100;
    const unsigned int uCounter = CSeedProbe::ms_uCounter;
    std::vector<Bytes> seedsOf[g_uTHREADS];
    RunThreads(g_uTHREADS,
               [&seedsOf](unsigned int uThread)
               {
                   for (unsigned int u = 0; u < uSEEDS; ++u)
                   {
                       // Twenty bytes and no more.
                       Bytes room(22, 0xEE);
                       EXPECT_EQ(QV_RES_OK, CSecureSeed::GenerateSeed(&room[1]));
                       EXPECT_EQ(0xEE, room[0] & room[21]);
                       seedsOf[uThread].push_back(room);
                   }
               });
    std::set<Bytes> all;
    for (const std::vector<Bytes>& rSeeds : seedsOf) all.insert(rSeeds.begin(), rSeeds.end());
    EXPECT_EQ(g_uTHREADS * uSEEDS, all.size());
    EXPECT_EQ(uCounter + g_uTHREADS * uSEEDS, CSeedProbe::ms_uCounter);
}
