#include <gtest/gtest.h>

#include <vector>

#include "framework/basic/blob.h"
#include "tests/support/blob_probe.h"
#include "tests/support/refusing_new.h"
#include "tests/support/test_allocator.h"

namespace
{

const unsigned char g_auBytes[8] = {1, 2, 3, 4, 5, 6, 7, 8};

/// Four bytes in a full block of an allocator that refuses from now on.
class CBlobWithoutMemory : public testing::Test
{
protected:
    CBlobWithoutMemory() : m_blob(g_auBytes, 4, 4, &m_allocator) { m_allocator.SetRefusing(true); }
    ~CBlobWithoutMemory() override
    {
        EXPECT_TRUE(m_allocator.HasRefused());
        EXPECT_EQ((Bytes{1, 2, 3, 4}), BytesOf(m_blob));
        EXPECT_EQ(4u, m_blob.GetCapacity());
    }

    CTestAllocator m_allocator;
    CBlob m_blob;
};
}  // namespace

TEST(CBlobMemory, BytesOfItselfThatCannotBeKeptAsideAreNotInserted)
{
    CTestAllocator allocator;
    CBlob blob(g_auBytes, 4, 4, &allocator);
    const CNoMemory noMemory;
    EXPECT_EQ(QV_RES_OUT_OF_MEMORY, blob.Append(blob.GetAt(1), 2));
    EXPECT_EQ(QV_RES_OUT_OF_MEMORY, blob.Insert(1, blob, 0, CBlob::uTO_END));
    blob.AppendBits(blob.GetAt(1), 11, 3);
    EXPECT_EQ((Bytes{1, 2, 3, 4}), BytesOf(blob));
}

TEST(CBlobMemory, BytesOfItselfAppendedWithinTheCapacityNeedNoMemory)
{
    CTestAllocator allocator;
    CBlob blob(g_auBytes, 4, 6, &allocator);
    const CNoMemory noMemory;
    EXPECT_EQ(QV_RES_OK, blob.Append(blob.GetAt(1), 2));
    EXPECT_EQ((Bytes{1, 2, 3, 4, 2, 3}), BytesOf(blob));
    EXPECT_EQ(1u, allocator.GetRequests().size());
}

TEST_F(CBlobWithoutMemory, AppendingIsRefused)
{
    EXPECT_EQ(QV_RES_OUT_OF_MEMORY, m_blob.Append(g_auBytes, 1));
}

TEST_F(CBlobWithoutMemory, InsertingIsRefused)
{
    EXPECT_EQ(QV_RES_OUT_OF_MEMORY, m_blob.Insert(1, g_auBytes, 1));
}

TEST_F(CBlobWithoutMemory, InsertingABlobIsRefused)
{
    EXPECT_EQ(QV_RES_OUT_OF_MEMORY, m_blob.Insert(1, m_blob, 0, CBlob::uTO_END));
    EXPECT_EQ(QV_RES_OUT_OF_MEMORY, m_blob.Insert(4, BlobOf({1, 2}), 0, 2));
}

TEST_F(CBlobWithoutMemory, ReservingIsRefused)
{
    EXPECT_EQ(QV_RES_OUT_OF_MEMORY, m_blob.ReserveCapacity(5));
}

TEST_F(CBlobWithoutMemory, AppendingBitsDoesNothing)
{
    m_blob.AppendBits(g_auBytes, 5, 0);
    EXPECT_EQ(4u, m_blob.GetSize());
    m_blob.PadBits(5);
    EXPECT_EQ(4u, m_blob.GetSize());
}

TEST_F(CBlobWithoutMemory, AppendingBitsWorksAgainWithMemory)
{
    m_blob.AppendBits(g_auBytes, 5, 0);
    m_allocator.SetRefusing(false);
    const unsigned char uBits = 0xA0;
    m_blob.AppendBits(&uBits, 3, 0);
    EXPECT_EQ((Bytes{1, 2, 3, 4, 0xA0}), BytesOf(m_blob));
    CBlob blob = BlobOf({1, 2, 3, 4}, &m_allocator);
    m_blob = std::move(blob);
    m_allocator.SetRefusing(true);
    EXPECT_EQ(QV_RES_OUT_OF_MEMORY, m_blob.ReserveCapacity(5));
}

TEST_F(CBlobWithoutMemory, RealigningTheAppendedBitsDoesNothing)
{
    m_allocator.SetRefusing(false);
    CBlob blob(&m_allocator);
    blob.AppendBits(g_auBytes, 3, 0);
    ASSERT_EQ(QV_RES_OK, blob.ReduceCapacity(0));
    m_allocator.SetRefusing(true);
    blob.RealignAppendBits(32);
    EXPECT_EQ(1u, blob.GetSize());
    EXPECT_EQ((SBlobCursors{0, 0, 0, 3}), CursorsOf(blob));
}

TEST_F(CBlobWithoutMemory, AssigningALongerOneLeavesTheBytes)
{
    const CBlob blob = BlobOf(Bytes(9, 7));
    m_blob = blob;
    EXPECT_EQ(4u, m_blob.GetSize());
}

TEST_F(CBlobWithoutMemory, ReducingIsRefused)
{
    m_allocator.SetRefusing(false);
    CBlob blob(g_auBytes, 4, 10, &m_allocator);
    m_allocator.SetRefusing(true);
    EXPECT_EQ(QV_RES_OUT_OF_MEMORY, blob.ReduceCapacity(5));
    EXPECT_EQ(10u, blob.GetCapacity());
    EXPECT_EQ((Bytes{1, 2, 3, 4}), BytesOf(blob));
}

TEST_F(CBlobWithoutMemory, ConstructorsGiveEmptyBlobs)
{
    EXPECT_EQ(0u, CBlob(10, &m_allocator).GetCapacity());
    const CBlob blob(g_auBytes, 4, 10, &m_allocator);
    EXPECT_EQ(0u, blob.GetCapacity());
    EXPECT_EQ(0u, blob.GetSize());
    const CBlob blobCopy(m_blob);
    EXPECT_EQ(0u, blobCopy.GetCapacity());
    EXPECT_EQ(0u, blobCopy.GetSize());
}

TEST_F(CBlobWithoutMemory, ExtractionSkipsTheBytesAndLeavesTheBlob)
{
    CMarshaler marshaler;
    marshaler << BlobOf(Bytes(1000, 7)) << 0xABCDu;
    marshaler >> m_blob;
    unsigned int uBehind = 0;
    marshaler >> uBehind;
    EXPECT_EQ(0xABCDu, uBehind);
    EXPECT_EQ(0u, marshaler.GetUnreadSize());
}

TEST(CBlobMemory, EveryRefusalLeavesABlobThatHoldsOneOfTheTwoStates)
{
    for (unsigned int uNth = 1; uNth < 12; ++uNth)
    {
        SCOPED_TRACE(uNth);
        CTestAllocator allocator;
        CBlob blob(&allocator);
        allocator.RefuseNth(uNth);
        unsigned int uBits = 0;
        for (unsigned int uStep = 0; uStep < 10; ++uStep)
        {
            const SBlobCursors stBefore = CursorsOf(blob);
            const Bytes before = BytesOf(blob);
            blob.AppendBits(g_auBytes, 37, 3);
            if (BytesOf(blob) == before) EXPECT_EQ(stBefore, CursorsOf(blob));
            else uBits += 37;
            ASSERT_EQ((uBits + 7) / 8, blob.GetSize());
        }
        EXPECT_EQ(allocator.HasRefused() ? 9u * 37 : 10u * 37, uBits);
    }
}

TEST(CBlobMemory, PaddingThatIsRefusedLeavesTheBlobAsItWas)
{
    for (unsigned int uNth = 1; uNth < 5; ++uNth)
    {
        CTestAllocator allocator;
        CBlob blob = BlobOf({1, 2, 3}, &allocator);
        allocator.RefuseNth(uNth);
        blob.PadBits(64);
        Bytes want = {1, 2, 3};
        // The chunks that find room are in.
        want.resize(blob.GetSize());
        EXPECT_EQ(want, BytesOf(blob));
    }
}
