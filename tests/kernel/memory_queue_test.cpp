// Records that are built in place are the matter of fuzz/memory_queue_fuzz.cpp.
#include "framework/kernel/memory_queue.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <deque>
#include <random>
#include <thread>
#include <vector>

#include "framework/kernel/mutex.h"
#include "tests/support/object_bytes.h"
#include "tests/support/refusing_new.h"
#include "tests/support/sanitizers.h"
#include "tests/support/test_seed.h"

namespace
{
using TBytes = std::vector<unsigned char>;

unsigned char* BufferOf(const CMemoryQueue& rQueue)
{
    return LoadAt<unsigned char*>(&rQueue, 8);
}

/// The four pointers into the buffer, as distances from its begin: end, end of the data, reader, writer.
std::vector<std::ptrdiff_t> PlacesOf(const CMemoryQueue& rQueue)
{
    std::vector<std::ptrdiff_t> places;
    for (std::size_t uAt = 16; uAt < 48; uAt += 8)
        places.push_back(LoadAt<unsigned char*>(&rQueue, uAt) - BufferOf(rQueue));
    return places;
}

bool PushRecord(CMemoryQueue& rQueue, const TBytes& rBytes)
{
    unsigned char* const puPayload = rQueue.Push(static_cast<unsigned int>(rBytes.size()));
    if (puPayload == nullptr) return false;
    if (!rBytes.empty()) std::memcpy(puPayload, rBytes.data(), rBytes.size());
    return rQueue.Commit(puPayload);
}

bool PushSize(CMemoryQueue& rQueue, unsigned int uSize)
{
    return PushRecord(rQueue, TBytes(uSize, static_cast<unsigned char>(uSize)));
}

/// The oldest record, which stays.
TBytes Oldest(const CMemoryQueue& rQueue)
{
    unsigned int uSize = 0;
    const unsigned char* const puPayload = rQueue.Peek(&uSize);
    return puPayload != nullptr ? TBytes(puPayload, puPayload + uSize) : TBytes();
}
}  // namespace

TEST(CAlignUp, RoundsUpToTheNextMultipleInTheWidthOfTheValue)
{
    const unsigned int aauRows[][3] = {{5, 4, 8},
                                       {8, 4, 8},
                                       {0, 16, 0},
                                       {7, 1, 7},
                                       {1, 0x80000000, 0x80000000},
                                       {0xFFFFFFFD, 4, 0},
                                       {0xFFFFFFFC, 4, 0xFFFFFFFC}};
    for (const auto& rauRow : aauRows) EXPECT_EQ(rauRow[2], QV_ALIGNUP_VAL<unsigned int>(rauRow[0], rauRow[1]));
    alignas(64) unsigned char auBytes[128];
    for (std::ptrdiff_t n = 1; n <= 64; ++n)
    {
        EXPECT_EQ(auBytes + 64, QV_ALIGNUP_PTR<unsigned char*>(auBytes + n, 64));
        EXPECT_EQ(auBytes + n, QV_ALIGNUP_PTR<unsigned char*>(auBytes + n, 1));
    }
}

TEST(CMemoryQueue, WithoutABufferTakesAndGivesNothing)
{
    CMemoryQueue queue;
    unsigned int uSize = 5;
    unsigned char uByte = 1;
    EXPECT_EQ(nullptr, queue.Push(0));
    EXPECT_FALSE(queue.Commit(nullptr));
    EXPECT_FALSE(queue.Commit(&uByte));
    EXPECT_EQ(nullptr, queue.Peek(&uSize));
    EXPECT_EQ(5u, uSize);
    EXPECT_FALSE(queue.Pop());
    EXPECT_FALSE(queue.PushCopy(&uByte, 1));
    EXPECT_FALSE(queue.PushCopy(nullptr, 0));
    EXPECT_FALSE(queue.PopCopy(&uByte, 1));
    EXPECT_FALSE(queue.PopCopy(nullptr, 0));
    EXPECT_EQ(1, uByte);
    EXPECT_TRUE(queue.IsEmpty());
    queue.Uninitialize();
}

#if TESTS_OWN_OPERATOR_NEW
TEST(CMemoryQueue, StaysWithoutABufferWhereThereIsNoMemory)
{
    CMemoryQueue queue;
    {
        const CNoMemory none;
        EXPECT_FALSE(queue.Initialize(64, 8));
    }
    EXPECT_EQ(nullptr, queue.Push(0));
    EXPECT_TRUE(queue.Initialize(64, 8));
}
#endif

TEST(CMemoryQueuePush, OfASizeWhoseFootprintWrapsIsRefused)
{
    for (unsigned int uAlignment : {1u, 8u, 64u})
    {
        CMemoryQueue queue;
        ASSERT_TRUE(queue.Initialize(256, uAlignment));
        for (unsigned int uLess = 0; uLess < 80; ++uLess) EXPECT_EQ(nullptr, queue.Push(0xFFFFFFFF - uLess));
        EXPECT_TRUE(PushSize(queue, 100));
        EXPECT_EQ(nullptr, queue.Push(0xFFFFFFFF));
    }
    CMemoryQueue queue;
    ASSERT_TRUE(queue.Initialize(64, 0x80000000));
    EXPECT_EQ(nullptr, queue.Push(0)) << "the padding alone does not fit";
}

TEST(CMemoryQueueCommit, OfARecordThatWasReleasedIsRefusedWhereverTheWriterStands)
{
    CMemoryQueue queue;
    ASSERT_TRUE(queue.Initialize(64, 4));
    unsigned char* const puFirst = queue.Push(8);
    ASSERT_TRUE(queue.Commit(puFirst));
    unsigned char* const puSecond = queue.Push(8);
    ASSERT_TRUE(queue.Commit(puSecond));
    ASSERT_TRUE(queue.Pop());
    ASSERT_TRUE(queue.Pop());
    EXPECT_FALSE(queue.Commit(puFirst)) << "the queue is back at the front, where this one was";
    EXPECT_TRUE(queue.IsEmpty());
    ASSERT_TRUE(PushSize(queue, 8));
    EXPECT_FALSE(queue.Commit(puSecond)) << "the writer is back where this one was";
    ASSERT_TRUE(queue.Pop());
    EXPECT_TRUE(queue.IsEmpty());
}

TEST(CMemoryQueueCommit, OfAReleasedRecordThatWouldNotFitAnyMoreIsRefused)
{
    CMemoryQueue queue;
    ASSERT_TRUE(queue.Initialize(64, 1));
    ASSERT_TRUE(PushSize(queue, 4));
    unsigned char* const puOld = queue.Push(44);
    ASSERT_TRUE(queue.Commit(puOld));
    ASSERT_TRUE(PushSize(queue, 0));
    ASSERT_TRUE(queue.Pop());
    ASSERT_TRUE(queue.Pop());
    ASSERT_TRUE(PushSize(queue, 4));  // wraps: the next one would begin where the old one did
    EXPECT_FALSE(queue.Commit(puOld)) << "would run over the record that is left at the tail";
    EXPECT_EQ(0u, Oldest(queue).size());
    EXPECT_FALSE(queue.IsEmpty());
}

TEST(CMemoryQueueCommit, AtTheEndOfTheBufferReadsNothingBehindIt)
{
    CMemoryQueue queue;
    ASSERT_TRUE(queue.Initialize(32, 1));
    EXPECT_FALSE(queue.Commit(BufferOf(queue) + 4)) << "without a Push()";
    ASSERT_TRUE(PushSize(queue, 4));
    ASSERT_TRUE(PushSize(queue, 4));
    ASSERT_TRUE(queue.Pop());
    ASSERT_TRUE(PushSize(queue, 12));
    ASSERT_EQ(32, PlacesOf(queue)[3]);
    EXPECT_FALSE(queue.Commit(BufferOf(queue) + 32 + 4));
    EXPECT_EQ(4u, Oldest(queue).size());
}

namespace
{
struct SShape
{
    unsigned int uSize;
    unsigned int uAlignment;
    unsigned int uLongest;
};

class CMemoryQueueModel : public testing::TestWithParam<SShape>
{
};
}  // namespace

// Records that are copied in and out beside those that are built in place, and beside a deque.
TEST_P(CMemoryQueueModel, CopiesAreRecordsLikeAnyOther)
{
    std::mt19937 rng(TestSeed());
    CMemoryQueue inPlace;
    CMemoryQueue copied;
    ASSERT_TRUE(inPlace.Initialize(GetParam().uSize, GetParam().uAlignment));
    ASSERT_TRUE(copied.Initialize(GetParam().uSize, GetParam().uAlignment));
    std::deque<TBytes> model;
    unsigned int uRefused = 0;
    unsigned int uWraps = 0;
    for (unsigned int uStep = 0; uStep < Repetitions(6000); ++uStep)
    {
        SCOPED_TRACE(testing::Message() << "step " << uStep);
        // Long spells of mostly filling and of mostly draining.
        if (Below(rng, 8) < (uStep / 500 % 2 == 0 ? 5u : 3u))
        {
            const TBytes bytes = RandomBytes(rng, 0, GetParam().uLongest);
            const bool bTaken = PushRecord(inPlace, bytes);
            ASSERT_EQ(bTaken, copied.PushCopy(bytes.data(), static_cast<unsigned int>(bytes.size())));
            ASSERT_TRUE(bTaken || !model.empty()) << "an empty queue refuses nothing that fits at all";
            if (bTaken) model.push_back(bytes);
            else ++uRefused;
        }
        else
        {
            const TBytes oldest = model.empty() ? TBytes() : model.front();
            const unsigned int uSize = static_cast<unsigned int>(oldest.size());
            TBytes bytes(uSize + 1, 0xEE);
            ASSERT_FALSE(copied.PopCopy(bytes.data(), uSize + 1)) << "the record is shorter";
            ASSERT_EQ(TBytes(uSize + 1, 0xEE), bytes);
            ASSERT_EQ(!model.empty(), copied.PopCopy(bytes.data(), uSize));
            ASSERT_EQ(!model.empty(), inPlace.Pop());
            bytes.resize(uSize);
            ASSERT_EQ(oldest, bytes);
            if (!model.empty()) model.pop_front();
        }
        ASSERT_EQ(PlacesOf(inPlace), PlacesOf(copied));
        ASSERT_EQ(model.empty(), copied.IsEmpty());
        ASSERT_EQ(model.empty() ? TBytes() : model.front(), Oldest(inPlace));
        if (PlacesOf(copied)[3] < PlacesOf(copied)[2]) ++uWraps;
    }
    EXPECT_GT(uRefused, 0u);
    EXPECT_GT(uWraps, 0u);
}

INSTANTIATE_TEST_SUITE_P(Shapes, CMemoryQueueModel,
                         testing::Values(SShape{64, 1, 20}, SShape{64, 8, 20}, SShape{67, 1, 3}, SShape{1000, 16, 90},
                                         SShape{1000, 128, 300}, SShape{4096, 4, 200}));

TEST(CMemoryQueueCopy, MayBeOfNothing)
{
    CMemoryQueue queue;
    ASSERT_TRUE(queue.Initialize(16, 1));
    EXPECT_TRUE(queue.PushCopy(nullptr, 0));
    EXPECT_TRUE(queue.PopCopy(nullptr, 0));
    EXPECT_TRUE(queue.IsEmpty());
}

TEST(CMemoryQueueCopy, StartsOverWhereARecordWasBegun)
{
    CMemoryQueue queue;
    ASSERT_TRUE(queue.Initialize(64, 1));
    const unsigned char* const puBegun = queue.Push(8);
    EXPECT_TRUE(queue.PushCopy("abc", 3));
    EXPECT_FALSE(queue.Commit(puBegun)) << "it has become the copy";
    EXPECT_EQ((TBytes{'a', 'b', 'c'}), Oldest(queue));
    EXPECT_FALSE(queue.Commit(queue.Peek(nullptr)));
}

TEST(CMemoryQueueCopy, LeavesNothingToCommitBehindIt)
{
    CMemoryQueue queue;
    ASSERT_TRUE(queue.Initialize(64, 1));
    ASSERT_TRUE(queue.PushCopy("abcd", 4));
    const unsigned char* const puBegun = queue.Push(8);
    ASSERT_TRUE(queue.Pop());
    ASSERT_TRUE(queue.PushCopy("efgh", 4));
    EXPECT_FALSE(queue.Commit(puBegun)) << "the writer is back where this one was begun";
    EXPECT_EQ((TBytes{'e', 'f', 'g', 'h'}), Oldest(queue));
    EXPECT_TRUE(queue.Pop());
    EXPECT_TRUE(queue.IsEmpty());
}

TEST(CMemoryQueueThreads, OneProducerAndOneConsumerUnderALock)
{
    CMemoryQueue queue;
    ASSERT_TRUE(queue.Initialize(256, 8));
    const CMutex mutex;
    constexpr unsigned int uRECORDS = 20000;
    std::thread producer(
        [&]
        {
            for (unsigned int u = 0; u < uRECORDS;)
            {
                const CMutexGuard guard(&mutex);
                const TBytes bytes(u % 50, static_cast<unsigned char>(u));
                if (PushRecord(queue, bytes)) ++u;
                else std::this_thread::yield();
            }
        });
    for (unsigned int u = 0; u < uRECORDS;)
    {
        unsigned int uSize = 0;
        const unsigned char* puPayload = nullptr;
        {
            const CMutexGuard guard(&mutex);
            puPayload = queue.Peek(&uSize);
        }
        if (puPayload == nullptr)
        {
            std::this_thread::yield();
            continue;
        }
        // Without the lock: the record is the consumer's until it lets go.
        ASSERT_EQ(TBytes(u % 50, static_cast<unsigned char>(u)), TBytes(puPayload, puPayload + uSize));
        const CMutexGuard guard(&mutex);
        ASSERT_TRUE(queue.Pop());
        ++u;
    }
    producer.join();
    EXPECT_TRUE(queue.IsEmpty());
}
