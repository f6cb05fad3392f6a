#include <memory>

#include "tests/abi/exported_symbol.h"
#include "tests/abi/foreign_program.h"

using QvResult = int;

namespace
{
constexpr QvResult g_nOk = 0;
constexpr QvResult g_nInvalidArgument = static_cast<QvResult>(0x80000003U);
constexpr QvResult g_nOutOfMemory = static_cast<QvResult>(0x80000007U);
}  // namespace

class CFrameworkInitializer
{
public:
    static QvResult Initialize();
    static void Finalize();
};

class IAllocator
{
public:
    struct SBlock
    {
        SBlock* m_pNext;
    };
    virtual ~IAllocator();
    virtual SBlock* Allocate(unsigned int uCount, unsigned int uSize, SBlock** ppLast) = 0;
    virtual void Release(SBlock* pChain, unsigned int uCount) = 0;
};

class CVectorBase
{
public:
    virtual ~CVectorBase();
    virtual void Construct(void* pvElement);
    virtual void ConstructFrom(void* pvElement, const void* pvSource);
    virtual void Destruct(void* pvElement);

    IAllocator* m_pAllocator;
    unsigned int m_uCapacity;
    unsigned int m_uLockCapacity;
    unsigned int m_uSizeOfElement;
    unsigned int m_uSize;
    bool m_bConstruct;
    void* m_pvScratch;
    void* m_pvStorage;
};

class CMarshaler
{
public:
    CMarshaler();
    ~CMarshaler();
    void Insert(const void* pvData, unsigned int uSize);
    void Extract(void* pvData, unsigned int uSize);
    void* m_apvMembers[12];
};

class CBlob : public CVectorBase
{
public:
    CBlob(IAllocator* pAllocator);
    CBlob(unsigned int uCapacity, IAllocator* pAllocator);
    CBlob(const unsigned char* puData, unsigned int uSize, unsigned int uCapacity, IAllocator* pAllocator);
    CBlob(const CBlob& rSrc);
    ~CBlob() override;
    CBlob& operator=(const CBlob& rSrc);
    void CopyMembers(const CBlob& rSrc);

    QvResult Insert(unsigned int uIndex, const unsigned char* puData, unsigned int uSize);
    QvResult Insert(unsigned int uIndex, const CBlob& rSrc, unsigned int uStartIndex, unsigned int uSize);
    QvResult Append(const unsigned char* puData, unsigned int uSize);
    QvResult Resize(unsigned int uSize);
    QvResult Resize(unsigned char* puEnd);
    QvResult ReserveCapacity(unsigned int uCapacity);
    unsigned int GetSize() const;
    unsigned int GetCapacity() const;
    unsigned int GetFirstIndex() const;
    unsigned int GetLastIndex() const;
    unsigned int GetEndIndex() const;
    unsigned char* GetAt(unsigned int uIndex);
    unsigned char* GetFirstIndexPtr();
    const unsigned char* GetFirstIndexPtr() const;

    unsigned char* Read(unsigned char* puDst, unsigned int uSize);
    unsigned char* ReadNoCopy(unsigned int uSize);
    QvResult SetReadIndex(unsigned int uIndex);
    unsigned int GetUnreadSize() const;
    unsigned int GetUnreadBits() const;

    void AppendBits(const unsigned char* puSrc, unsigned int uBitCount, unsigned int uSrcBitOffset);
    void ReadBits(unsigned char* puDst, unsigned int uBitCount, unsigned int uDstBitOffset);
    void PadBits(unsigned int uBitCount);
    void SkipBits(unsigned int uBitCount);
    void RealignReadBits(unsigned int uBitAlignment);
    void RealignAppendBits(unsigned int uBitAlignment);

    unsigned int m_uReadIndex;
    unsigned int m_uReadBitOffset;
    unsigned int m_uAppendBitsIndex;
    unsigned int m_uAppendBitsBitOffset;
};

CMarshaler& operator<<(CMarshaler& rMarshaler, const CBlob& rBlob);
CMarshaler& operator>>(CMarshaler& rMarshaler, CBlob& rBlob);

namespace
{
class CFramework : public testing::Environment
{
public:
    void SetUp() override { ASSERT_EQ(g_nOk, CFrameworkInitializer::Initialize()); }
    void TearDown() override { CFrameworkInitializer::Finalize(); }
};
const testing::Environment* const g_pFramework = testing::AddGlobalTestEnvironment(new CFramework);

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

/// A program's own source of memory, called by the library.
class CLender : public IAllocator
{
public:
    SBlock* Allocate(unsigned int uCount, unsigned int uSize, SBlock** ppLast) override
    {
        m_uAllocatedCount = uCount;
        m_uAllocatedSize = uSize;
        m_bLastAsked = ppLast != nullptr;
        return m_bRefusing ? nullptr : reinterpret_cast<SBlock*>(new unsigned char[uSize]);
    }
    void Release(SBlock* pChain, unsigned int uCount) override
    {
        m_uReleasedCount = uCount;
        m_bReleasedOne = pChain->m_pNext == nullptr;
        delete[] reinterpret_cast<unsigned char*>(pChain);
    }

    unsigned int m_uAllocatedCount = 0;
    unsigned int m_uAllocatedSize = 0;
    unsigned int m_uReleasedCount = 0;
    bool m_bLastAsked = true;
    bool m_bReleasedOne = false;
    bool m_bRefusing = false;
};

/// Constructs and destroys its base as a base object, which takes entry points of its own.
class CNamedBlob : public CBlob
{
public:
    using CBlob::CBlob;
    CNamedBlob(const CBlob& rSrc) : CBlob(rSrc) {}
    ~CNamedBlob() override { ++ms_uDestroyed; }
    static unsigned int ms_uDestroyed;
};
unsigned int CNamedBlob::ms_uDestroyed = 0;
}  // namespace

TEST(CBlobLayout, VectorComesFirstAndTheFourCursorsFollow)
{
    static_assert(sizeof(CVectorBase) == 56);
    static_assert(sizeof(CBlob) == 72);
    CLender lender;
    CBlob blob(g_auBytes, 4, 7, &lender);
    ASSERT_EQ(g_nOk, blob.SetReadIndex(1));
    blob.SkipBits(3);
    blob.AppendBits(g_auBytes, 13, 0);
    EXPECT_EQ(static_cast<IAllocator*>(&lender), LoadAt<IAllocator*>(&blob, 8));
    EXPECT_EQ(10U, LoadAt<unsigned int>(&blob, 16)) << "capacity: the bits and room to store a whole word";
    EXPECT_EQ(0U, LoadAt<unsigned int>(&blob, 20)) << "capacity lock";
    EXPECT_EQ(1U, LoadAt<unsigned int>(&blob, 24)) << "element size";
    EXPECT_EQ(6U, LoadAt<unsigned int>(&blob, 28)) << "size";
    EXPECT_FALSE(LoadAt<bool>(&blob, 32)) << "elements are constructed";
    EXPECT_NE(nullptr, LoadAt<void*>(&blob, 40)) << "scratch element";
    EXPECT_EQ(blob.GetFirstIndexPtr(), LoadAt<unsigned char*>(&blob, 48));
    EXPECT_EQ(2U, LoadAt<unsigned int>(&blob, 56)) << "read index";
    EXPECT_EQ(3U, LoadAt<unsigned int>(&blob, 60)) << "read bit offset";
    EXPECT_EQ(5U, LoadAt<unsigned int>(&blob, 64)) << "append-bits index";
    EXPECT_EQ(5U, LoadAt<unsigned int>(&blob, 68)) << "append-bits bit offset";
    EXPECT_EQ(static_cast<void*>(&blob), static_cast<CVectorBase*>(&blob));
    EXPECT_EQ(0, OffsetToTop(&blob));
}

TEST(CBlobLayout, SlotsAreTheDestructorAndTheVectorsElementOperations)
{
    const CBlob blob(nullptr);
    EXPECT_EQ("CBlob::~CBlob()", FunctionInSlot(&blob, 0));
    EXPECT_EQ("CBlob::~CBlob()", FunctionInSlot(&blob, 1));
    EXPECT_TRUE(LeadsTo("_ZN11CVectorBase9ConstructEPv", &blob, 2));
    EXPECT_TRUE(LeadsTo("_ZN11CVectorBase13ConstructFromEPvPKv", &blob, 3));
    EXPECT_TRUE(LeadsTo("_ZN11CVectorBase8DestructEPv", &blob, 4));
    EXPECT_TRUE(Covers("_ZTV5CBlob", 7 * sizeof(void*)));
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
    EXPECT_EQ(0U, empty.m_uCapacity);
    EXPECT_EQ(nullptr, empty.m_pvStorage);
    EXPECT_NE(nullptr, empty.m_pAllocator) << "the default one";
    ExpectReadAt(0, 0, empty);
    ExpectAppendAt(0, 0, empty);

    const CBlob reserved(9, nullptr);
    EXPECT_EQ(9U, reserved.m_uCapacity);
    EXPECT_EQ(0U, reserved.m_uSize);

    CBlob filled(g_auBytes, 3, 5, nullptr);
    EXPECT_EQ(5U, filled.m_uCapacity);
    EXPECT_EQ((Bytes{0xA1, 0xB2, 0xC3}), BytesOf(filled));

    filled.SkipBits(5);
    const CBlob copy(filled);
    EXPECT_EQ(5U, copy.m_uCapacity);
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
    EXPECT_EQ(0U, blob.m_uSize);
    ExpectReadAt(1, 5, blob);
    ExpectAppendAt(3, 2, blob);
}

TEST(CBlobConstruction, ServesADerivedClassThatIsDeletedThroughItsBase)
{
    const CBlob source(g_auBytes, 3, 5, nullptr);
    EXPECT_EQ(0U, CNamedBlob(nullptr).m_uCapacity);
    EXPECT_EQ(9U, CNamedBlob(9, nullptr).m_uCapacity);
    EXPECT_EQ((Bytes{0xA1, 0xB2}), BytesOf(CNamedBlob(g_auBytes, 2, 0, nullptr)));
    CNamedBlob::ms_uDestroyed = 0;
    std::unique_ptr<CVectorBase> pCopy = std::make_unique<CNamedBlob>(source);
    EXPECT_EQ(3U, pCopy->m_uSize);
    pCopy.reset();
    EXPECT_EQ(1U, CNamedBlob::ms_uDestroyed);
}

TEST(CBlobMemory, IsOneBlockOfTheExactSizeFromTheProgramsAllocator)
{
    CLender lender;
    {
        std::unique_ptr<CVectorBase> pBlob = std::make_unique<CBlob>(g_auBytes, 2, 0, &lender);
        EXPECT_EQ(1U, lender.m_uAllocatedCount);
        EXPECT_EQ(8U, lender.m_uAllocatedSize) << "never less";
        EXPECT_FALSE(lender.m_bLastAsked);
        EXPECT_EQ(g_nOk, static_cast<CBlob*>(pBlob.get())->ReserveCapacity(19));
        EXPECT_EQ(19U, lender.m_uAllocatedSize);
        EXPECT_EQ(2U, lender.m_uReleasedCount) << "the old capacity";
        EXPECT_TRUE(lender.m_bReleasedOne);
    }
    EXPECT_EQ(19U, lender.m_uReleasedCount);
}

TEST(CBlobMemory, RefusalIsReportedAndChangesNothing)
{
    CLender lender;
    CBlob blob(g_auBytes, 3, 0, &lender);
    lender.m_bRefusing = true;
    EXPECT_EQ(g_nOutOfMemory, blob.ReserveCapacity(100));
    EXPECT_EQ(g_nOutOfMemory, blob.Append(g_auBytes, 1));
    EXPECT_EQ((Bytes{0xA1, 0xB2, 0xC3}), BytesOf(blob));
}

TEST(CBlobBytes, AreInsertedAppendedAndCut)
{
    CBlob blob(nullptr);
    EXPECT_EQ(g_nOk, blob.Append(g_auBytes, 2));
    EXPECT_EQ(g_nOk, blob.Insert(1, g_auBytes + 4, 1));
    EXPECT_EQ((Bytes{0xA1, 0xE5, 0xB2}), BytesOf(blob));
    EXPECT_EQ(3U, blob.m_uCapacity);
    EXPECT_EQ(g_nInvalidArgument, blob.Insert(4, g_auBytes, 1));
    EXPECT_EQ(g_nOk, blob.Insert(0, CBlob(g_auBytes, 4, 0, nullptr), 2, 0xFFFFFFFF));
    EXPECT_EQ((Bytes{0xC3, 0xD4, 0xA1, 0xE5, 0xB2}), BytesOf(blob));
    EXPECT_EQ(g_nOk, blob.Resize(4U));
    EXPECT_EQ(4U, blob.m_uSize);
    EXPECT_EQ(g_nInvalidArgument, blob.Resize(6U));
    EXPECT_EQ(g_nOk, blob.Resize(blob.GetFirstIndexPtr() + 3));
    EXPECT_EQ(3U, blob.m_uSize);
    EXPECT_EQ(g_nInvalidArgument, blob.Resize(blob.GetFirstIndexPtr() + 5));
}

TEST(CBlobBytes, OutOfLineFormsReadTheFields)
{
    CBlob blob(g_auBytes, 3, 5, nullptr);
    const CBlob& rBlob = blob;
    EXPECT_EQ(3U, blob.GetSize());
    EXPECT_EQ(5U, blob.GetCapacity());
    EXPECT_EQ(0U, blob.GetFirstIndex());
    EXPECT_EQ(2U, blob.GetLastIndex());
    EXPECT_EQ(3U, blob.GetEndIndex());
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
    EXPECT_EQ(1U, blob.GetUnreadSize());
    EXPECT_EQ(g_nInvalidArgument, blob.SetReadIndex(5));
    EXPECT_EQ(g_nOk, blob.SetReadIndex(3));
    ExpectReadAt(3, 0, blob);
    blob.SkipBits(3);
    EXPECT_EQ(1U, blob.GetUnreadSize());
    EXPECT_EQ(13U, blob.GetUnreadBits());
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
    EXPECT_EQ(24U, blob.GetUnreadBits());
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
