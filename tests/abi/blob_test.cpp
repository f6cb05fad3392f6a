#include <memory>

#include "tests/abi/exports.h"
#include "tests/abi/foreign_source.h"
#include "tests/abi/framework_up.h"
#include "tests/abi/guarded.h"
#include "tests/abi/old_blob.h"
#include "tests/abi/old_marshaler.h"
#include "tests/abi/old_string.h"
#include "tests/support/derived.h"

namespace
{
using Bytes = std::vector<unsigned char>;

/// Five bytes with 32-bit words to load from the first one on.
constexpr unsigned char g_auBYTES[] = {0xA1, 0xB2, 0xC3, 0xD4, 0xE5, 0, 0, 0, 0};

Bytes BytesOf(const CBlob& rBlob)
{
    const unsigned char* const puFirst = static_cast<const unsigned char*>(rBlob.m_pvStorage);
    return {puFirst, puFirst + rBlob.m_uSize};
}

/// Where the blob is read and where bits are appended: an index and a bit offset each.
using Cursors = std::vector<unsigned int>;
Cursors CursorsOf(const CBlob& rBlob)
{
    return {rBlob.m_uReadIndex, rBlob.m_uReadBitOffset, rBlob.m_uAppendBitsIndex, rBlob.m_uAppendBitsBitOffset};
}
}  // namespace

TEST(CBlobLayout, VectorComesFirstAndTheFourCursorsFollow)
{
    static_assert(sizeof(CVectorBase) == 56 && sizeof(CBlob) == 72);
    CForeignSource source;
    auto* const pBlob = new CBlob(g_auBYTES, 4, 7, &source);
    EXPECT_EQ(static_cast<void*>(pBlob), static_cast<CVectorBase*>(pBlob));
    EXPECT_EQ(0, OffsetToTop(pBlob));
    EXPECT_TRUE(HasSlots(pBlob, {"_ZN5CBlobD1Ev", "_ZN5CBlobD0Ev", "_ZN11CVectorBase9ConstructEPv",
                                 "_ZN11CVectorBase13ConstructFromEPvPKv", "_ZN11CVectorBase8DestructEPv"}));
    EXPECT_EQ(5u, TableOf(pBlob).size());
    EXPECT_EQ(static_cast<IAllocator*>(&source), pBlob->m_pAllocator);
    EXPECT_EQ((Cursors{7, 1, 4, 0}),
              (Cursors{pBlob->m_uCapacity, pBlob->m_uElementSize, pBlob->m_uSize, pBlob->m_bConstruct}));
    ASSERT_EQ(QV_RES_OK, pBlob->SetReadIndex(1));
    pBlob->SkipBits(3);
    pBlob->AppendBits(g_auBYTES, 13, 0);
    EXPECT_EQ((Cursors{2, 3, 5, 5}), CursorsOf(*pBlob));
    EXPECT_EQ(10u, pBlob->m_uCapacity) << "the bits and room to store a whole word";
    delete &OfUnknownOrigin(static_cast<CVectorBase&>(*pBlob));
    EXPECT_EQ(0u, source.m_uOut);
}

TEST(CBlobConstruction, SetsRoomBytesAndCursors)
{
    CBlob empty(nullptr);
    EXPECT_EQ(DefaultAllocator(), empty.m_pAllocator);
    EXPECT_EQ((Cursors{0, 0, 0, 0}), CursorsOf(empty));
    EXPECT_EQ(9u, CBlob(9, nullptr).m_uCapacity);

    CBlob filled(g_auBYTES, 3, 5, nullptr);
    EXPECT_EQ(5u, filled.m_uCapacity);
    filled.SkipBits(5);
    filled.AppendBits(g_auBYTES, 2, 0);
    const Bytes bytes{0xA1, 0xB2, 0xC3, 0x80};
    const CBlob copy(filled);
    EXPECT_EQ(bytes, BytesOf(copy));
    EXPECT_EQ((Cursors{1, 5, 3, 2}), CursorsOf(copy));
    empty.CopyMembers(filled);
    EXPECT_EQ(0u, empty.m_uSize) << "the cursors alone";
    EXPECT_EQ((Cursors{1, 5, 3, 2}), CursorsOf(empty));
    EXPECT_EQ(&empty, &(empty = filled));
    EXPECT_EQ(bytes, BytesOf(empty));
}

TEST(CBlobConstruction, ServesADerivedClassThatIsDeletedThroughItsBase)
{
    const CBlob source(g_auBYTES, 3, 5, nullptr);
    EXPECT_EQ(0u, CDerived<CBlob>(nullptr).m_uCapacity);
    EXPECT_EQ(9u, CDerived<CBlob>(9, nullptr).m_uCapacity);
    EXPECT_EQ((Bytes{0xA1, 0xB2}), BytesOf(CDerived<CBlob>(g_auBYTES, 2, 0, nullptr)));
    CDerived<CBlob>::ms_uDestroyed = 0;
    std::unique_ptr<CVectorBase> pCopy = std::make_unique<CDerived<CBlob>>(source);
    EXPECT_EQ(3u, pCopy->m_uSize);
    pCopy.reset();
    EXPECT_EQ(1u, CDerived<CBlob>::ms_uDestroyed);
}

TEST(CBlobBytes, AreInsertedAppendedAndCut)
{
    CForeignSource source;
    CBlob blob(&source);
    EXPECT_EQ(QV_RES_OK, blob.Append(g_auBYTES, 2));
    EXPECT_EQ(QV_RES_OK, blob.Insert(1, g_auBYTES + 4, 1));
    EXPECT_EQ(QV_RES_OK, blob.Insert(0, CBlob(g_auBYTES, 4, 0, nullptr), 2, 0xFFFFFFFF));
    EXPECT_EQ((Bytes{0xC3, 0xD4, 0xA1, 0xE5, 0xB2}), BytesOf(blob));
    EXPECT_EQ(QV_RES_OK, blob.ReserveCapacity(19));
    EXPECT_EQ((Cursors{1, 19, 5}),
              (Cursors{source.m_uAllocatedCount, source.m_uAllocatedSize, source.m_uReleasedCount}));
    EXPECT_EQ(QV_RES_OK, blob.Resize(4u));
    EXPECT_EQ(4u, blob.m_uSize);
    EXPECT_EQ(QV_RES_OK, blob.Resize(blob.GetFirstIndexPtr() + 3));
    EXPECT_EQ(3u, blob.m_uSize);
    source.m_bRefusing = true;
    EXPECT_EQ(QV_RES_OUT_OF_MEMORY, blob.ReserveCapacity(100));
}

TEST(CBlobBytes, OutOfLineFormsReadTheFields)
{
    CBlob blob(g_auBYTES, 3, 5, nullptr);
    const CBlob& rBlob = blob;
    EXPECT_EQ((Cursors{3, 5, 0, 2, 3}), (Cursors{blob.GetSize(), blob.GetCapacity(), blob.GetFirstIndex(),
                                                 blob.GetLastIndex(), blob.GetEndIndex()}));
    EXPECT_EQ(blob.m_pvStorage, blob.GetFirstIndexPtr());
    EXPECT_EQ(blob.m_pvStorage, rBlob.GetFirstIndexPtr());
    EXPECT_EQ(blob.GetFirstIndexPtr() + 2, blob.GetAt(2));
    EXPECT_EQ(blob.m_pvStorage, rBlob.GetAt(0));
    EXPECT_EQ(nullptr, blob.GetAt(3));
}

TEST(CBlobTexts, ComeAndGo)
{
    CBlob blob(nullptr);
    CString strText("CAFE");
    EXPECT_EQ(QV_RES_OK, blob.AssignHex(strText));
    EXPECT_EQ((Bytes{0xCA, 0xFE}), BytesOf(blob));
    EXPECT_EQ(QV_RES_OK, blob.AssignHex("0a"));
    EXPECT_EQ(QV_RES_OK, blob.ToHex(&strText, true));
    EXPECT_TRUE(strText == "0A");
    EXPECT_EQ(QV_RES_OK, blob.Assign(strText));
    EXPECT_EQ((Bytes{'0', 'A'}), BytesOf(blob));
    EXPECT_EQ(QV_RES_OK, blob.Assign("abc"));
    EXPECT_EQ(QV_RES_OK, blob.ToText(&strText));
    EXPECT_TRUE(strText == "abc");
    EXPECT_EQ(QV_RES_OK, blob.Assign(g_auBYTES, 1));
    EXPECT_EQ((Bytes{0xA1}), BytesOf(blob));
}

TEST(CBlobReading, MovesTheReadCursor)
{
    CBlob blob(g_auBYTES, 5, 0, nullptr);
    unsigned char auRead[2] = {};
    EXPECT_EQ(auRead, blob.Read(auRead, 2));
    EXPECT_EQ((Bytes{0xA1, 0xB2}), BytesAt(auRead, 0, 2));
    EXPECT_EQ(blob.GetFirstIndexPtr() + 2, blob.ReadNoCopy(1));
    blob.ReadBits(auRead, 4, 4);
    EXPECT_EQ(0xAD, auRead[0]);
    EXPECT_EQ((Cursors{4, 4, 0, 0}), CursorsOf(blob));
    blob.SkipBits(1);
    EXPECT_EQ((Cursors{1, 11}), (Cursors{blob.GetUnreadSize(), blob.GetUnreadBits()}));
    blob.RealignReadBits(8);
    EXPECT_EQ((Cursors{4, 0, 0, 0}), CursorsOf(blob));
    EXPECT_EQ(QV_RES_OK, blob.SetReadIndex(3));
    EXPECT_EQ((Cursors{3, 0, 0, 0}), CursorsOf(blob));
}

TEST(CBlobBits, AreAppendedMostSignificantFirst)
{
    CBlob blob(nullptr);
    blob.AppendBits(g_auBYTES, 12, 4);
    EXPECT_EQ((Bytes{0x1B, 0x20}), BytesOf(blob));
    blob.PadBits(1);
    EXPECT_EQ((Cursors{0, 0, 1, 5}), CursorsOf(blob));
    blob.RealignAppendBits(8);
    EXPECT_EQ((Cursors{0, 0, 2, 0}), CursorsOf(blob));
}

TEST(CBlobSerialisation, IsALengthOfFourBytesAndTheBytes)
{
    CMarshaler marshaler;
    EXPECT_EQ(&marshaler, &(marshaler << CBlob(g_auBYTES, 2, 0, nullptr)));
    unsigned char auStored[6];
    marshaler.Extract(auStored, sizeof(auStored));
    EXPECT_EQ((Bytes{2, 0, 0, 0, 0xA1, 0xB2}), BytesAt(auStored, 0, sizeof(auStored)));

    marshaler.Insert("\3\0\0\0abc", 7);
    CBlob blob(nullptr);
    EXPECT_EQ(&marshaler, &(marshaler >> blob));
    EXPECT_EQ((Bytes{'a', 'b', 'c'}), BytesOf(blob));
}
