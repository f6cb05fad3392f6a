#include <memory>

#include "tests/abi/exports.h"
#include "tests/abi/foreign_source.h"
#include "tests/abi/framework_up.h"
#include "tests/abi/old_blob.h"
#include "tests/abi/old_marshaler.h"
#include "tests/support/derived.h"

namespace
{
using Bytes = std::vector<unsigned char>;

/// Five bytes with 32-bit words to load from the first one on.
constexpr unsigned char g_auBytes[] = {0xA1, 0xB2, 0xC3, 0xD4, 0xE5, 0, 0, 0, 0};

Bytes BytesOf(const CBlob& rBlob)
{
    const unsigned char* const puFirst = static_cast<const unsigned char*>(rBlob.m_pvStorage);
    return {puFirst, puFirst + rBlob.m_uSize};
}

void ExpectReadAt(unsigned int uIndex, unsigned int uBitOffset, const CBlob& rBlob)
{
    EXPECT_EQ(uIndex, rBlob.m_uReadIndex);
    EXPECT_EQ(uBitOffset, rBlob.m_uReadBitOffset);
}

void ExpectAppendAt(unsigned int uIndex, unsigned int uBitOffset, const CBlob& rBlob)
{
    EXPECT_EQ(uIndex, rBlob.m_uAppendBitsIndex);
    EXPECT_EQ(uBitOffset, rBlob.m_uAppendBitsBitOffset);
}
}  // namespace

TEST(CBlobLayout, VectorComesFirstAndTheFourCursorsFollow)
{
    static_assert(sizeof(CVectorBase) == 56);
    static_assert(sizeof(CBlob) == 72);
    CForeignSource source;
    CBlob blob(g_auBytes, 4, 7, &source);
    ASSERT_EQ(QV_RES_OK, blob.SetReadIndex(1));
    blob.SkipBits(3);
    blob.AppendBits(g_auBytes, 13, 0);
    EXPECT_EQ(static_cast<IAllocator*>(&source), LoadAt<IAllocator*>(&blob, 8));
    EXPECT_EQ(10u, LoadAt<unsigned int>(&blob, 16)) << "capacity: the bits and room to store a whole word";
    EXPECT_EQ(0u, LoadAt<unsigned int>(&blob, 20)) << "capacity lock";
    EXPECT_EQ(1u, LoadAt<unsigned int>(&blob, 24)) << "element size";
    EXPECT_EQ(6u, LoadAt<unsigned int>(&blob, 28)) << "size";
    EXPECT_FALSE(LoadAt<bool>(&blob, 32)) << "elements are constructed";
    EXPECT_NE(nullptr, LoadAt<void*>(&blob, 40)) << "scratch element";
    EXPECT_EQ(blob.GetFirstIndexPtr(), LoadAt<unsigned char*>(&blob, 48));
    EXPECT_EQ(2u, LoadAt<unsigned int>(&blob, 56)) << "read index";
    EXPECT_EQ(3u, LoadAt<unsigned int>(&blob, 60)) << "read bit offset";
    EXPECT_EQ(5u, LoadAt<unsigned int>(&blob, 64)) << "append-bits index";
    EXPECT_EQ(5u, LoadAt<unsigned int>(&blob, 68)) << "append-bits bit offset";
    EXPECT_EQ(static_cast<void*>(&blob), static_cast<CVectorBase*>(&blob));
    EXPECT_EQ(0, OffsetToTop(&blob));
}

TEST(CBlobLayout, SlotsAreTheDestructorAndTheVectorsElementOperations)
{
    const CBlob blob(nullptr);
    EXPECT_TRUE(HasSlots(&blob, {"_ZN5CBlobD1Ev", "_ZN5CBlobD0Ev", "_ZN11CVectorBase9ConstructEPv",
                                 "_ZN11CVectorBase13ConstructFromEPvPKv", "_ZN11CVectorBase8DestructEPv"}));
    EXPECT_EQ(5u, TableOf(&blob).size());
}

TEST(CBlobLayout, ElementOperationsLeaveBytesAlone)
{
    CBlob blob(nullptr);
    CVectorBase& rVector = blob;
    unsigned char uByte = 0xA5;
    rVector.Construct(&uByte);
    rVector.ConstructFrom(&uByte, g_auBytes);
    rVector.Destruct(&uByte);
    EXPECT_EQ(0xA5, uByte);
}

TEST(CBlobConstruction, SetsRoomBytesAndCursors)
{
    CBlob empty(nullptr);
    EXPECT_EQ(0u, empty.m_uCapacity);
    EXPECT_EQ(nullptr, empty.m_pvStorage);
    EXPECT_NE(nullptr, empty.m_pAllocator) << "the default one";
    ExpectReadAt(0, 0, empty);
    ExpectAppendAt(0, 0, empty);

    const CBlob reserved(9, nullptr);
    EXPECT_EQ(9u, reserved.m_uCapacity);
    EXPECT_EQ(0u, reserved.m_uSize);

    CBlob filled(g_auBytes, 3, 5, nullptr);
    EXPECT_EQ(5u, filled.m_uCapacity);
    EXPECT_EQ((Bytes{0xA1, 0xB2, 0xC3}), BytesOf(filled));

    filled.SkipBits(5);
    const CBlob copy(filled);
    EXPECT_EQ(5u, copy.m_uCapacity);
    EXPECT_EQ((Bytes{0xA1, 0xB2, 0xC3}), BytesOf(copy));
    ExpectReadAt(1, 5, copy);

    EXPECT_EQ(&empty, &(empty = filled));
    EXPECT_EQ((Bytes{0xA1, 0xB2, 0xC3}), BytesOf(empty));
    ExpectReadAt(1, 5, empty);
}

TEST(CBlobConstruction, CopiesTheFourCursorsAlone)
{
    CBlob source(g_auBytes, 3, 5, nullptr);
    source.SkipBits(5);
    source.AppendBits(g_auBytes, 2, 0);
    CBlob blob(nullptr);
    blob.CopyMembers(source);
    EXPECT_EQ(0u, blob.m_uSize);
    ExpectReadAt(1, 5, blob);
    ExpectAppendAt(3, 2, blob);
}

TEST(CBlobConstruction, ServesADerivedClassThatIsDeletedThroughItsBase)
{
    const CBlob source(g_auBytes, 3, 5, nullptr);
    EXPECT_EQ(0u, CDerived<CBlob>(nullptr).m_uCapacity);
    EXPECT_EQ(9u, CDerived<CBlob>(9, nullptr).m_uCapacity);
    EXPECT_EQ((Bytes{0xA1, 0xB2}), BytesOf(CDerived<CBlob>(g_auBytes, 2, 0, nullptr)));
    CDerived<CBlob>::ms_uDestroyed = 0;
    std::unique_ptr<CVectorBase> pCopy = std::make_unique<CDerived<CBlob>>(source);
    EXPECT_EQ(3u, pCopy->m_uSize);
    pCopy.reset();
    EXPECT_EQ(1u, CDerived<CBlob>::ms_uDestroyed);
}

TEST(CBlobMemory, IsOneBlockOfTheExactSizeFromTheProgramsAllocator)
{
    CForeignSource source;
    {
        std::unique_ptr<CVectorBase> pBlob = std::make_unique<CBlob>(g_auBytes, 2, 0, &source);
        EXPECT_EQ(1u, source.m_uAllocatedCount);
        EXPECT_EQ(8u, source.m_uAllocatedSize) << "never less";
        EXPECT_FALSE(source.m_bLastAsked);
        EXPECT_EQ(QV_RES_OK, static_cast<CBlob*>(pBlob.get())->ReserveCapacity(19));
        EXPECT_EQ(19u, source.m_uAllocatedSize);
        EXPECT_EQ(2u, source.m_uReleasedCount) << "the old capacity";
        EXPECT_EQ(1u, source.m_uReleasedBlocks);
    }
    EXPECT_EQ(19u, source.m_uReleasedCount);
}

TEST(CBlobMemory, RefusalIsReportedAndChangesNothing)
{
    CForeignSource source;
    CBlob blob(g_auBytes, 3, 0, &source);
    source.m_bRefusing = true;
    EXPECT_EQ(QV_RES_OUT_OF_MEMORY, blob.ReserveCapacity(100));
    EXPECT_EQ(QV_RES_OUT_OF_MEMORY, blob.Append(g_auBytes, 1));
    EXPECT_EQ((Bytes{0xA1, 0xB2, 0xC3}), BytesOf(blob));
}

TEST(CBlobBytes, AreInsertedAppendedAndCut)
{
    CBlob blob(nullptr);
    EXPECT_EQ(QV_RES_OK, blob.Append(g_auBytes, 2));
    EXPECT_EQ(QV_RES_OK, blob.Insert(1, g_auBytes + 4, 1));
    EXPECT_EQ((Bytes{0xA1, 0xE5, 0xB2}), BytesOf(blob));
    EXPECT_EQ(3u, blob.m_uCapacity);
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, blob.Insert(4, g_auBytes, 1));
    EXPECT_EQ(QV_RES_OK, blob.Insert(0, CBlob(g_auBytes, 4, 0, nullptr), 2, 0xFFFFFFFF));
    EXPECT_EQ((Bytes{0xC3, 0xD4, 0xA1, 0xE5, 0xB2}), BytesOf(blob));
    EXPECT_EQ(QV_RES_OK, blob.Resize(4u));
    EXPECT_EQ(4u, blob.m_uSize);
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, blob.Resize(6u));
    EXPECT_EQ(QV_RES_OK, blob.Resize(blob.GetFirstIndexPtr() + 3));
    EXPECT_EQ(3u, blob.m_uSize);
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, blob.Resize(blob.GetFirstIndexPtr() + 5));
}

TEST(CBlobBytes, OutOfLineFormsReadTheFields)
{
    CBlob blob(g_auBytes, 3, 5, nullptr);
    const CBlob& rBlob = blob;
    EXPECT_EQ(3u, blob.GetSize());
    EXPECT_EQ(5u, blob.GetCapacity());
    EXPECT_EQ(0u, blob.GetFirstIndex());
    EXPECT_EQ(2u, blob.GetLastIndex());
    EXPECT_EQ(3u, blob.GetEndIndex());
    EXPECT_EQ(blob.m_pvStorage, blob.GetFirstIndexPtr());
    EXPECT_EQ(blob.m_pvStorage, rBlob.GetFirstIndexPtr());
    EXPECT_EQ(blob.GetFirstIndexPtr() + 2, blob.GetAt(2));
    EXPECT_EQ(nullptr, blob.GetAt(3));
    EXPECT_EQ(nullptr, CBlob(nullptr).GetFirstIndexPtr());
}

TEST(CBlobReading, MovesTheReadIndex)
{
    CBlob blob(g_auBytes, 5, 0, nullptr);
    unsigned char auRead[2] = {};
    EXPECT_EQ(auRead, blob.Read(auRead, 2));
    EXPECT_EQ((Bytes{0xA1, 0xB2}), BytesAt(auRead, 0, 2));
    ExpectReadAt(2, 0, blob);
    EXPECT_EQ(blob.GetFirstIndexPtr() + 2, blob.ReadNoCopy(2));
    ExpectReadAt(4, 0, blob);
    EXPECT_EQ(nullptr, blob.Read(auRead, 2));
    EXPECT_EQ(nullptr, blob.ReadNoCopy(2));
    EXPECT_EQ(1u, blob.GetUnreadSize());
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, blob.SetReadIndex(5));
    EXPECT_EQ(QV_RES_OK, blob.SetReadIndex(3));
    ExpectReadAt(3, 0, blob);
    blob.SkipBits(3);
    EXPECT_EQ(1u, blob.GetUnreadSize());
    EXPECT_EQ(13u, blob.GetUnreadBits());
}

TEST(CBlobBits, AreAppendedMostSignificantFirst)
{
    CBlob blob(nullptr);
    blob.AppendBits(g_auBytes, 12, 4);
    EXPECT_EQ((Bytes{0x1B, 0x20}), BytesOf(blob));
    ExpectAppendAt(1, 4, blob);
    blob.PadBits(1);
    ExpectAppendAt(1, 5, blob);
    blob.RealignAppendBits(8);
    EXPECT_EQ((Bytes{0x1B, 0x20}), BytesOf(blob));
    ExpectAppendAt(2, 0, blob);
    blob.PadBits(33);
    ExpectAppendAt(6, 1, blob);
}

TEST(CBlobBits, AreReadMostSignificantFirst)
{
    CBlob blob(g_auBytes, 5, 0, nullptr);
    unsigned char auRead[2] = {0xFF, 0xFF};
    blob.ReadBits(auRead, 4, 4);
    EXPECT_EQ((Bytes{0xFA, 0xFF}), BytesAt(auRead, 0, 2));
    ExpectReadAt(1, 4, blob);
    blob.SkipBits(5);
    ExpectReadAt(2, 1, blob);
    blob.RealignReadBits(8);
    ExpectReadAt(2, 0, blob);
    EXPECT_EQ(24u, blob.GetUnreadBits());
}

TEST(CBlobSerialisation, IsALengthOfFourBytesAndTheBytes)
{
    CMarshaler marshaler;
    EXPECT_EQ(&marshaler, &(marshaler << CBlob(g_auBytes, 2, 0, nullptr)));
    unsigned char auStored[6];
    marshaler.Extract(auStored, sizeof(auStored));
    EXPECT_EQ((Bytes{2, 0, 0, 0, 0xA1, 0xB2}), BytesAt(auStored, 0, sizeof(auStored)));

    marshaler.Insert("\3\0\0\0abc", 7);
    CBlob blob(nullptr);
    EXPECT_EQ(&marshaler, &(marshaler >> blob));
    EXPECT_EQ((Bytes{'a', 'b', 'c'}), BytesOf(blob));
}
