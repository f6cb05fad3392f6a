#include "framework/kernel/memory_queue.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <deque>
#include <random>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

#include "framework/kernel/mutex.h"
#include "tests/support/object_bytes.h"
#include "tests/support/test_seed.h"
#include "tests/support/vtable.h"

static_assert(sizeof(CMemoryQueue) == 56 && std::has_virtual_destructor_v<CMemoryQueue>);
static_assert(std::is_nothrow_destructible_v<CMemoryQueue> && !std::is_copy_constructible_v<CMemoryQueue>);

namespace
{
using TBytes = std::vector<unsigned char>;

/// The fields of a queue, the pointers as distances from the begin of its buffer.
struct SFields
{
    explicit SFields(const CMemoryQueue& rQueue)
        : puBegin(LoadAt<unsigned char*>(&rQueue, 8)),
          nEnd(LoadAt<unsigned char*>(&rQueue, 16) - puBegin),
          nDataEnd(LoadAt<unsigned char*>(&rQueue, 24) - puBegin),
          nRead(LoadAt<unsigned char*>(&rQueue, 32) - puBegin),
          nWrite(LoadAt<unsigned char*>(&rQueue, 40) - puBegin),
          uAlignment(LoadAt<unsigned int>(&rQueue, 48))
    {
    }
    unsigned char* puBegin;
    std::ptrdiff_t nEnd;
    std::ptrdiff_t nDataEnd;
    std::ptrdiff_t nRead;
    std::ptrdiff_t nWrite;
    unsigned int uAlignment;
};

void SetPositions(CMemoryQueue& rQueue, std::ptrdiff_t nRead, std::ptrdiff_t nWrite)
{
    unsigned char* const puBegin = SFields(rQueue).puBegin;
    StoreAt(&rQueue, 32, puBegin + nRead);
    StoreAt(&rQueue, 40, puBegin + nWrite);
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

struct SAlignUp
{
    unsigned int uValue;
    unsigned long uAlignment;
    unsigned int uWant;
};

class CAlignUp : public testing::TestWithParam<SAlignUp>
{
};

TEST_P(CAlignUp, RoundsUpToTheNextMultiple)
{
    const SAlignUp& rst = GetParam();
    EXPECT_EQ(rst.uWant, QV_ALIGNUP_VAL<unsigned int>(rst.uValue, rst.uAlignment));
}

INSTANTIATE_TEST_SUITE_P(Values, CAlignUp,
                         testing::Values(SAlignUp{5, 4, 8}, SAlignUp{8, 4, 8}, SAlignUp{0, 16, 0}, SAlignUp{7, 1, 7},
                                         SAlignUp{1, 0x80000000, 0x80000000}, SAlignUp{0xFFFFFFFD, 4, 0},
                                         SAlignUp{0xFFFFFFFC, 4, 0xFFFFFFFC}));

TEST(CAlignUpPointer, RoundsTheAddressAndLeavesNullNull)
{
    alignas(64) unsigned char auBytes[128];
    for (std::ptrdiff_t n = 1; n <= 64; ++n)
    {
        EXPECT_EQ(auBytes + 64, QV_ALIGNUP_PTR<unsigned char*>(auBytes + n, 64));
        EXPECT_EQ(auBytes + n, QV_ALIGNUP_PTR<unsigned char*>(auBytes + n, 1));
    }
    EXPECT_EQ(nullptr, QV_ALIGNUP_PTR<unsigned char*>(nullptr, 16));
}

TEST(CAlignUpExport, IsThereForProgramsThatDoNotInlineIt)
{
    unsigned int (*volatile pfnValue)(unsigned int, unsigned long) = &QV_ALIGNUP_VAL<unsigned int>;
    unsigned char* (*volatile pfnPointer)(unsigned char*, long) = &QV_ALIGNUP_PTR<unsigned char*>;
    EXPECT_EQ(8u, pfnValue(5, 8));
    EXPECT_EQ(nullptr, pfnPointer(nullptr, 8));
}

TEST(CMemoryQueueLayout, HasTheTwoDestructorsForSlots)
{
    const CMemoryQueue queue;
    EXPECT_EQ((std::vector<std::string>{"_ZN12CMemoryQueueD1Ev", "_ZN12CMemoryQueueD0Ev"}), VtableSlots(&queue));
}

TEST(CMemoryQueueLayout, IsAllNullWithoutABuffer)
{
    alignas(CMemoryQueue) unsigned char auStorage[sizeof(CMemoryQueue)];
    std::memset(auStorage, 0xEE, sizeof(auStorage));
    auto* const pQueue = new (auStorage) CMemoryQueue;
    EXPECT_EQ(TBytes(44), BytesAt(auStorage, 8, 44));
    EXPECT_TRUE(pQueue->Initialize(32, 8));
    pQueue->Uninitialize();
    EXPECT_EQ(TBytes(44), BytesAt(auStorage, 8, 44));
    pQueue->~CMemoryQueue();
}

TEST(CMemoryQueueLayout, PointsIntoTheBuffer)
{
    CMemoryQueue queue;
    ASSERT_TRUE(queue.Initialize(100, 8));
    const SFields stFields(queue);
    EXPECT_EQ(100, stFields.nEnd);
    EXPECT_EQ(100, stFields.nDataEnd);
    EXPECT_EQ(0, stFields.nRead);
    EXPECT_EQ(0, stFields.nWrite);
    EXPECT_EQ(8u, stFields.uAlignment);
}

TEST(CMemoryQueueInitialize, TakesAtLeastFourBytesAndAlignmentOne)
{
    for (unsigned int uSize : {0u, 2u, 4u})
    {
        CMemoryQueue queue;
        EXPECT_TRUE(queue.Initialize(uSize, 0));
        EXPECT_EQ(4, SFields(queue).nEnd);
        EXPECT_EQ(1u, SFields(queue).uAlignment);
    }
}

TEST(CMemoryQueueInitialize, TheSecondTimeIsRefusedAndChangesNothing)
{
    CMemoryQueue queue;
    ASSERT_TRUE(queue.Initialize(64, 4));
    ASSERT_TRUE(PushSize(queue, 5));
    const TBytes before = BytesAt(&queue, 0, sizeof(queue));
    EXPECT_FALSE(queue.Initialize(128, 8));
    EXPECT_EQ(before, BytesAt(&queue, 0, sizeof(queue)));
    EXPECT_EQ(TBytes(5, 5), Oldest(queue));
    queue.Uninitialize();
    EXPECT_TRUE(queue.Initialize(128, 8));
    EXPECT_TRUE(queue.IsEmpty());
}

TEST(CMemoryQueueInitialize, AnAlignmentThatIsNoPowerOfTwoIsRefused)
{
    for (unsigned int uAlignment : {3u, 6u, 12u, 0xFFFFFFFFu})
    {
        CMemoryQueue queue;
        EXPECT_FALSE(queue.Initialize(64, uAlignment));
        EXPECT_EQ(nullptr, SFields(queue).puBegin);
    }
}

TEST(CMemoryQueue, WithoutABufferTakesAndGivesNothing)
{
    CMemoryQueue queue;
    unsigned int uSize = 5;
    unsigned char uByte = 0;
    EXPECT_EQ(nullptr, queue.Push(0));
    EXPECT_EQ(nullptr, queue.Push(8));
    EXPECT_FALSE(queue.Commit(nullptr));
    EXPECT_FALSE(queue.Commit(&uByte));
    EXPECT_EQ(nullptr, queue.Peek(&uSize));
    EXPECT_EQ(5u, uSize);
    EXPECT_FALSE(queue.Pop());
    EXPECT_TRUE(queue.IsEmpty());
    queue.Uninitialize();
}

TEST(CMemoryQueuePush, IntoAnEmptyQueueNeverFillsItToTheEnd)
{
    CMemoryQueue queue;
    ASSERT_TRUE(queue.Initialize(16, 1));
    EXPECT_EQ(nullptr, queue.Push(12));
    EXPECT_EQ(nullptr, queue.Push(11));
    EXPECT_EQ(nullptr, queue.Push(9));
    EXPECT_EQ(SFields(queue).puBegin + 4, queue.Push(8));
}

TEST(CMemoryQueuePush, WritesTheSizeInFrontAndDoesNotAdvance)
{
    CMemoryQueue queue;
    ASSERT_TRUE(queue.Initialize(64, 1));
    unsigned char* const puPayload = queue.Push(7);
    EXPECT_EQ(7u, LoadAt<unsigned int>(puPayload - sizeof(unsigned int), 0));
    EXPECT_EQ(0, SFields(queue).nWrite);
    EXPECT_TRUE(queue.IsEmpty());
    EXPECT_EQ(puPayload, queue.Push(9)) << "starts over";
    EXPECT_TRUE(queue.Commit(puPayload));
    EXPECT_EQ(4 + 12, SFields(queue).nWrite);
}

struct SFootprint
{
    unsigned int uAlignment;
    unsigned int uSize;
    std::ptrdiff_t nWant;
};

class CMemoryQueueFootprint : public testing::TestWithParam<SFootprint>
{
};

TEST_P(CMemoryQueueFootprint, IsTheAlignedHeaderAndThePayloadRoundedUpToFour)
{
    const SFootprint& rst = GetParam();
    CMemoryQueue queue;
    ASSERT_TRUE(queue.Initialize(4096, rst.uAlignment));
    for (std::ptrdiff_t nRecord = 1; nRecord < 5; ++nRecord)
    {
        unsigned char* const puPayload = queue.Push(rst.uSize);
        ASSERT_NE(nullptr, puPayload);
        EXPECT_EQ(0u, reinterpret_cast<std::uintptr_t>(puPayload) % std::max(rst.uAlignment, 1u));
        ASSERT_TRUE(queue.Commit(puPayload));
        EXPECT_EQ(rst.nWant * nRecord, SFields(queue).nWrite);
        EXPECT_LE(puPayload + rst.uSize, SFields(queue).puBegin + rst.nWant * nRecord);
    }
}

INSTANTIATE_TEST_SUITE_P(Records, CMemoryQueueFootprint,
                         testing::Values(SFootprint{0, 0, 4}, SFootprint{1, 1, 8}, SFootprint{1, 4, 8},
                                         SFootprint{2, 5, 12}, SFootprint{4, 8, 12}, SFootprint{8, 0, 8},
                                         SFootprint{8, 1, 12}, SFootprint{8, 8, 16}, SFootprint{16, 1, 20},
                                         SFootprint{64, 3, 68}, SFootprint{256, 100, 356}));

TEST(CMemoryQueuePush, OfASizeWhoseFootprintWrapsIsRefused)
{
    for (unsigned int uAlignment : {1u, 8u, 64u})
    {
        CMemoryQueue queue;
        ASSERT_TRUE(queue.Initialize(256, uAlignment));
        for (unsigned int uLess = 0; uLess < 80; ++uLess) EXPECT_EQ(nullptr, queue.Push(UINT_MAX - uLess));
        EXPECT_TRUE(PushSize(queue, 100));
        EXPECT_EQ(nullptr, queue.Push(UINT_MAX));
    }
    CMemoryQueue queue;
    ASSERT_TRUE(queue.Initialize(64, 0x80000000));
    EXPECT_EQ(nullptr, queue.Push(0)) << "the padding alone does not fit";
}

TEST(CMemoryQueuePush, FillsTheTailExactlyOnlyWhenTheReaderHasLeftTheFront)
{
    CMemoryQueue queue;
    ASSERT_TRUE(queue.Initialize(32, 1));
    ASSERT_TRUE(PushSize(queue, 4));
    ASSERT_TRUE(PushSize(queue, 4));
    EXPECT_EQ(nullptr, queue.Push(12)) << "the reader is at the front";
    ASSERT_TRUE(queue.Pop());
    ASSERT_TRUE(PushSize(queue, 12));
    EXPECT_EQ(32, SFields(queue).nWrite);
    EXPECT_FALSE(queue.IsEmpty());
    EXPECT_EQ(nullptr, queue.Push(4)) << "the front is not larger than the record";
    EXPECT_TRUE(PushSize(queue, 0)) << "but larger than this";
    EXPECT_EQ(4, SFields(queue).nWrite);
    EXPECT_EQ(32, SFields(queue).nDataEnd);
}

TEST(CMemoryQueuePush, WrapsToTheFrontWhenTheTailIsTooShort)
{
    CMemoryQueue queue;
    ASSERT_TRUE(queue.Initialize(40, 1));
    ASSERT_TRUE(PushSize(queue, 12));
    ASSERT_TRUE(PushSize(queue, 12));
    ASSERT_TRUE(queue.Pop());
    unsigned char* const puPayload = queue.Push(8);
    EXPECT_EQ(SFields(queue).puBegin + 4, puPayload);
    EXPECT_EQ(32, SFields(queue).nDataEnd);
    EXPECT_EQ(0, SFields(queue).nWrite);
    EXPECT_TRUE(queue.Commit(puPayload));
    EXPECT_EQ(12, SFields(queue).nWrite);
    EXPECT_EQ(nullptr, queue.Push(0)) << "the writer never reaches the reader";
    EXPECT_EQ(TBytes(12, 12), Oldest(queue));
    EXPECT_TRUE(queue.Pop());
    EXPECT_EQ(0, SFields(queue).nRead) << "the reader wraps where the data ends";
    EXPECT_EQ(40, SFields(queue).nDataEnd);
    EXPECT_EQ(8u, Oldest(queue).size());
}

TEST(CMemoryQueuePush, OntoAnEmptyQueueInTheMiddleMovesTheReaderToTheFrontToo)
{
    CMemoryQueue queue;
    ASSERT_TRUE(queue.Initialize(32, 1));
    SetPositions(queue, 24, 24);
    EXPECT_EQ(nullptr, queue.Push(20)) << "of 24 at the front, and the reader is there";
    EXPECT_EQ(SFields(queue).puBegin + 4, queue.Push(16));
    EXPECT_EQ(0, SFields(queue).nRead);
    EXPECT_EQ(0, SFields(queue).nWrite);
    EXPECT_EQ(32, SFields(queue).nDataEnd);
}

TEST(CMemoryQueuePush, WrappedAndNotCommittedLosesNothing)
{
    CMemoryQueue queue;
    ASSERT_TRUE(queue.Initialize(40, 1));
    ASSERT_TRUE(PushSize(queue, 12));
    ASSERT_TRUE(PushSize(queue, 12));
    ASSERT_TRUE(queue.Pop());
    ASSERT_NE(nullptr, queue.Push(8));
    EXPECT_EQ(TBytes(12, 12), Oldest(queue));
    EXPECT_TRUE(queue.Pop());
    EXPECT_TRUE(queue.IsEmpty());
    EXPECT_TRUE(PushSize(queue, 32)) << "all but the last word";
}

TEST(CMemoryQueueCommit, TakesOnlyWhatTheLastPushGave)
{
    CMemoryQueue queue;
    ASSERT_TRUE(queue.Initialize(64, 4));
    unsigned char* const puPayload = queue.Push(8);
    EXPECT_FALSE(queue.Commit(nullptr));
    EXPECT_FALSE(queue.Commit(puPayload + 4));
    EXPECT_TRUE(queue.Commit(puPayload));
    EXPECT_FALSE(queue.Commit(puPayload)) << "is in already";
    EXPECT_FALSE(queue.Commit(queue.Push(1000)));
    EXPECT_EQ(8u, Oldest(queue).size());
    EXPECT_TRUE(queue.Pop());
    EXPECT_TRUE(queue.IsEmpty());
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

TEST(CMemoryQueueCommit, WithoutAPushIsRefused)
{
    CMemoryQueue queue;
    ASSERT_TRUE(queue.Initialize(64, 4));
    EXPECT_FALSE(queue.Commit(SFields(queue).puBegin + 4));
    EXPECT_TRUE(queue.IsEmpty());
}

TEST(CMemoryQueueCommit, AtTheEndOfTheBufferReadsNothingBehindIt)
{
    CMemoryQueue queue;
    ASSERT_TRUE(queue.Initialize(32, 1));
    ASSERT_TRUE(PushSize(queue, 4));
    ASSERT_TRUE(PushSize(queue, 4));
    ASSERT_TRUE(queue.Pop());
    ASSERT_TRUE(PushSize(queue, 12));
    ASSERT_EQ(32, SFields(queue).nWrite);
    EXPECT_FALSE(queue.Commit(SFields(queue).puBegin + 32 + 4));
    EXPECT_EQ(4u, Oldest(queue).size());
}

TEST(CMemoryQueuePeek, LeavesTheRecordAndNeedNotTellItsSize)
{
    CMemoryQueue queue;
    ASSERT_TRUE(queue.Initialize(64, 1));
    ASSERT_TRUE(PushRecord(queue, {1, 2, 3}));
    EXPECT_EQ(queue.Peek(nullptr), queue.Peek(nullptr));
    EXPECT_EQ((TBytes{1, 2, 3}), Oldest(queue));
    EXPECT_TRUE(queue.Pop());
    EXPECT_EQ(nullptr, queue.Peek(nullptr));
    EXPECT_FALSE(queue.Pop());
}

TEST(CMemoryQueuePeek, GivesRecordsWithoutAPayload)
{
    CMemoryQueue queue;
    ASSERT_TRUE(queue.Initialize(16, 1));
    for (int n = 0; n < 3; ++n) ASSERT_TRUE(PushSize(queue, 0));
    EXPECT_EQ(nullptr, queue.Push(0));
    for (int n = 0; n < 3; ++n)
    {
        unsigned int uSize = 9;
        EXPECT_NE(nullptr, queue.Peek(&uSize));
        EXPECT_EQ(0u, uSize);
        EXPECT_TRUE(queue.Pop());
    }
    EXPECT_TRUE(queue.IsEmpty());
}

TEST(CMemoryQueuePop, OfTheLastRecordPutsTheQueueBackToTheFront)
{
    CMemoryQueue queue;
    ASSERT_TRUE(queue.Initialize(32, 1));
    for (int n = 0; n < 10; ++n)
    {
        ASSERT_TRUE(PushSize(queue, 24)) << "is never refused by an empty queue";
        ASSERT_TRUE(queue.Pop());
        EXPECT_EQ(0, SFields(queue).nRead);
        EXPECT_EQ(0, SFields(queue).nWrite);
        EXPECT_EQ(32, SFields(queue).nDataEnd);
    }
}

struct SModel
{
    unsigned int uSize;
    unsigned int uAlignment;
    unsigned int uLongest;
};

class CMemoryQueueModel : public testing::TestWithParam<SModel>
{
};

TEST_P(CMemoryQueueModel, RandomUseMatchesADeque)
{
    std::mt19937 rng(TestSeed());
    CMemoryQueue queue;
    ASSERT_TRUE(queue.Initialize(GetParam().uSize, GetParam().uAlignment));
    std::deque<TBytes> model;
    unsigned int uRefused = 0;
    unsigned int uWraps = 0;
    for (unsigned int uStep = 0; uStep < 30000; ++uStep)
    {
        SCOPED_TRACE(testing::Message() << "step " << uStep);
        // Long spells of mostly filling and of mostly draining.
        const bool bFill = Below(rng, 8) < (uStep / 500 % 2 == 0 ? 5u : 3u);
        if (bFill)
        {
            const TBytes bytes = RandomBytes(rng, 0, GetParam().uLongest);
            const bool bTaken = PushRecord(queue, bytes);
            if (bTaken) model.push_back(bytes);
            else ++uRefused;
            ASSERT_TRUE(bTaken || !model.empty()) << "an empty queue refuses nothing that fits at all";
        }
        else
        {
            ASSERT_EQ(!model.empty(), queue.Pop());
            if (!model.empty()) model.pop_front();
        }
        const SFields stFields(queue);
        uWraps += stFields.nWrite < stFields.nRead ? 1 : 0;
        ASSERT_TRUE(stFields.nRead >= 0 && stFields.nRead < stFields.nDataEnd && stFields.nDataEnd <= stFields.nEnd);
        ASSERT_TRUE(stFields.nWrite >= 0 && stFields.nWrite <= stFields.nEnd);
        ASSERT_EQ(model.empty(), queue.IsEmpty());
        ASSERT_EQ(model.empty() ? TBytes() : model.front(), Oldest(queue));
    }
    EXPECT_GT(uRefused, 0u);
    EXPECT_GT(uWraps, 0u);
    while (!model.empty())
    {
        ASSERT_EQ(model.front(), Oldest(queue));
        ASSERT_TRUE(queue.Pop());
        model.pop_front();
    }
    EXPECT_TRUE(queue.IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Shapes, CMemoryQueueModel,
                         testing::Values(SModel{64, 1, 20}, SModel{64, 8, 20}, SModel{67, 1, 3}, SModel{1000, 16, 90},
                                         SModel{1000, 128, 300}, SModel{4096, 4, 200}));

// A queue whose records are copied in and out goes through the same states as one whose records are built in place.
TEST_P(CMemoryQueueModel, CopiesAreRecordsLikeAnyOther)
{
    std::mt19937 rng(TestSeed());
    CMemoryQueue inPlace;
    CMemoryQueue copied;
    ASSERT_TRUE(inPlace.Initialize(GetParam().uSize, GetParam().uAlignment));
    ASSERT_TRUE(copied.Initialize(GetParam().uSize, GetParam().uAlignment));
    for (unsigned int uStep = 0; uStep < 10000; ++uStep)
    {
        SCOPED_TRACE(testing::Message() << "step " << uStep);
        if (Below(rng, 8) < (uStep / 500 % 2 == 0 ? 5u : 3u))
        {
            const TBytes bytes = RandomBytes(rng, 0, GetParam().uLongest);
            ASSERT_EQ(PushRecord(inPlace, bytes),
                      copied.PushCopy(bytes.data(), static_cast<unsigned int>(bytes.size())));
        }
        else
        {
            const TBytes oldest = Oldest(inPlace);
            const unsigned int uSize = static_cast<unsigned int>(oldest.size());
            TBytes bytes(uSize + 1, 0xEE);
            ASSERT_FALSE(copied.PopCopy(bytes.data(), uSize + 1)) << "the record is shorter";
            ASSERT_EQ(TBytes(uSize + 1, 0xEE), bytes);
            ASSERT_EQ(inPlace.Pop(), copied.PopCopy(bytes.data(), uSize));
            bytes.resize(uSize);
            ASSERT_EQ(oldest, bytes);
        }
        const SFields stInPlace(inPlace);
        const SFields stCopied(copied);
        ASSERT_EQ(stInPlace.nDataEnd, stCopied.nDataEnd);
        ASSERT_EQ(stInPlace.nRead, stCopied.nRead);
        ASSERT_EQ(stInPlace.nWrite, stCopied.nWrite);
    }
}

TEST(CMemoryQueueCopy, WithoutABufferGoesNowhere)
{
    CMemoryQueue queue;
    unsigned char uByte = 1;
    EXPECT_FALSE(queue.PushCopy(&uByte, 1));
    EXPECT_FALSE(queue.PushCopy(nullptr, 0));
    EXPECT_FALSE(queue.PopCopy(&uByte, 1));
    EXPECT_FALSE(queue.PopCopy(nullptr, 0));
    EXPECT_EQ(1, uByte);
}

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
