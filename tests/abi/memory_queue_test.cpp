#include "tests/abi/told_size.h"

class CMemoryQueue
{
public:
    CMemoryQueue();
    virtual ~CMemoryQueue();
    bool Initialize(unsigned int uSize, unsigned int uAlignment);
    void Uninitialize();
    unsigned char* Push(unsigned int uSize);

    unsigned char* m_puBegin;
    unsigned char* m_puEnd;
    unsigned char* m_puDataEnd;
    unsigned char* m_puRead;
    unsigned char* m_puWrite;
    unsigned int m_uAlignment;
};

template <typename Value>
Value QV_ALIGNUP_VAL(Value uValue, unsigned long uAlignment);
template <typename Pointer>
Pointer QV_ALIGNUP_PTR(Pointer p, long nAlignment);
extern template unsigned int QV_ALIGNUP_VAL<unsigned int>(unsigned int, unsigned long);
extern template unsigned char* QV_ALIGNUP_PTR<unsigned char*>(unsigned char*, long);

enum EOsVersion : unsigned int
{
};
extern EOsVersion g_eOsVersion;
class COsVersion
{
public:
    static EOsVersion GetOsVersion();
};

// Neither needs the framework.
TEST(CMemoryQueueLayout, ThePointersFollowEachOtherIntoOneBuffer)
{
    static_assert(sizeof(CMemoryQueue) == 56);
    ExpectDestructorsAlone<CMemoryQueue>("12CMemoryQueue");
    const CGuarded<CMemoryQueue> queue;
    EXPECT_EQ(std::vector<unsigned char>(44), BytesAt(&*queue, 8, 44));
    ASSERT_TRUE(queue->Initialize(64, 8));
    unsigned char* const puBegin = queue->m_puBegin;
    ASSERT_NE(nullptr, puBegin);
    EXPECT_EQ(puBegin + 64, queue->m_puEnd);
    EXPECT_EQ(puBegin + 64, queue->m_puDataEnd);
    EXPECT_EQ(puBegin, queue->m_puRead);
    EXPECT_EQ(puBegin, queue->m_puWrite);
    EXPECT_EQ(8u, queue->m_uAlignment);
    queue->Uninitialize();
    EXPECT_EQ(std::vector<unsigned char>(44), BytesAt(&*queue, 8, 44));
}

TEST(CMemoryQueueLayout, AProgramThatMovesThePointersItselfIsFollowedAroundTheEnd)
{
    const CGuarded<CMemoryQueue> queue;
    ASSERT_TRUE(queue->Initialize(64, 1));
    unsigned char* const puBegin = queue->m_puBegin;
    queue->m_puRead = puBegin + 40;
    queue->m_puWrite = puBegin + 52;
    EXPECT_EQ(puBegin + 4, queue->Push(16)) << "the payload, behind its size";
    EXPECT_EQ(16u, LoadAt<unsigned int>(puBegin, 0));
    EXPECT_EQ(puBegin, queue->m_puWrite) << "the writer commits by moving the pointer itself";
    EXPECT_EQ(puBegin + 52, queue->m_puDataEnd);
    EXPECT_EQ(puBegin + 40, queue->m_puRead);
    queue->m_puWrite = puBegin + 20;
    EXPECT_EQ(nullptr, queue->Push(16)) << "the writer would reach the reader";
    EXPECT_EQ(puBegin + 24, queue->Push(12));
}

TEST(AlignmentCalls, RoundUpIn32BitsAndOnAddresses)
{
    EXPECT_EQ(8u, QV_ALIGNUP_VAL<unsigned int>(5, 4));
    EXPECT_EQ(0u, QV_ALIGNUP_VAL<unsigned int>(0xFFFFFFFF, 4));
    alignas(16) unsigned char auBytes[32];
    EXPECT_EQ(auBytes + 16, QV_ALIGNUP_PTR<unsigned char*>(auBytes + 1, 16));
}

TEST(OsVersionCalls, TheAnswerIsKeptInTheExportedVariable)
{
    static_assert(sizeof(g_eOsVersion) == 4);
    g_eOsVersion = EOsVersion(0);
    EXPECT_EQ(6u, COsVersion::GetOsVersion());
    EXPECT_EQ(6u, g_eOsVersion);
}
