// Sharing, locks, threads and comparison of strings. What each operation does step by step, memory refused now and
// then, fuzz.string compares with a second implementation.
#include "framework/basic/string.h"

#include <gtest/gtest.h>
#include <sys/mman.h>

#include <memory>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

#include "framework/kernel/semaphore.h"
#include "tests/support/free_mutex.h"
#include "tests/support/page_end.h"
#include "tests/support/string_probe.h"
#include "tests/support/test_allocator.h"

namespace
{
/// Notes whether the caller holds the mutex of all strings.
class CLockWatcher : public CTestAllocator
{
public:
    SBlock* Allocate(unsigned int uCount, unsigned int uSize, SBlock** ppLast) override
    {
        m_bLocked = !IsFreeForOthers(*CStringProbe::ms_pmutex);
        return CTestAllocator::Allocate(uCount, uSize, ppLast);
    }
    bool m_bLocked = false;
};

/// Lets many threads use one allocator.
class CLockedAllocator : public IAllocator
{
public:
    explicit CLockedAllocator(IAllocator& rSource) : m_rSource(rSource) {}
    SBlock* Allocate(unsigned int uCount, unsigned int uSize, SBlock** ppLast) override
    {
        const std::lock_guard<std::mutex> guard(m_mutex);
        return m_rSource.Allocate(uCount, uSize, ppLast);
    }
    void Release(SBlock* pChain, unsigned int uCount) override
    {
        const std::lock_guard<std::mutex> guard(m_mutex);
        m_rSource.Release(pChain, uCount);
    }

private:
    IAllocator& m_rSource;
    std::mutex m_mutex;
};

/// Shows the first eight bytes of each block that comes back.
class CHeaderReader : public CTestAllocator
{
public:
    void Release(SBlock* pChain, unsigned int uCount) override
    {
        std::memcpy(&m_uHeader, static_cast<const void*>(pChain), sizeof m_uHeader);
        CTestAllocator::Release(pChain, uCount);
    }
    std::uint64_t m_uHeader = 1;
};

/// Gives up a share while a string gets its private copy, as another thread may do right behind it.
class CShareEnder : public CTestAllocator
{
public:
    SBlock* Allocate(unsigned int uCount, unsigned int uSize, SBlock** ppLast) override
    {
        SBlock* const pBlock = CTestAllocator::Allocate(uCount, uSize, ppLast);
        pstrShare = nullptr;
        return pBlock;
    }
    std::unique_ptr<CString> pstrShare;
};
}  // namespace

TEST(CStringConstruct, FromCharactersItReadsThoseAlone)
{
    const CPageEnd text(std::string("abc"));
    EXPECT_EQ("abc", TextOf(CString(text.GetText(), 3)));
}

TEST(CStringConstruct, OfMoreThanTheLargestSizeItIsEmpty)
{
    const std::string strLongest(65535, 'x');
    const std::string strTooLong(65536, 'x');
    EXPECT_EQ(strLongest, TextOf(CString(strLongest.c_str())));
    EXPECT_EQ(0u, CString(strTooLong.c_str()).GetSize());
    EXPECT_EQ(0u, CString(strTooLong.data(), 65536).GetSize());
    EXPECT_EQ("hello", TextOf(CString("hello", 65535))) << "which stands for the length of the text";
}

TEST(CStringAssign, ATooLongTextIsIgnored)
{
    CString strText("hello");
    const CString strCopy(strText);
    strText = std::string(65536, 'x').c_str();
    strText = std::string(65536 + 7, 'x').c_str();
    EXPECT_EQ("hello", TextOf(strText));
    EXPECT_EQ(2u, ShareCountOf(strCopy));
    strText = std::string(65535, 'x').c_str();
    EXPECT_EQ(std::string(65535, 'x'), TextOf(strText));
    EXPECT_EQ(65535u, strText.GetCapacity());
}

TEST(CStringAssign, APieceOfASharedBlockIsTakenThoughTheOtherShareEndsMeanwhile)
{
    CShareEnder allocator;
    const CStringAllocatorScope scope(allocator);
    CString strText("hello world");
    allocator.pstrShare = std::make_unique<CString>(strText);
    strText = strText.CStr() + 6;
    EXPECT_EQ("world", TextOf(strText));
    EXPECT_EQ(1u, allocator.GetLiveBlocks());
}

namespace
{
int SignOf(int n)
{
    return (n > 0) - (n < 0);
}

/// What the operators say, a bit each.
template <typename Left, typename Right>
unsigned int RelationsOf(const Left& rLeft, const Right& rRight)
{
    unsigned int uHolds = 0;
    for (const bool b : {rLeft<rRight, rLeft> rRight, rLeft <= rRight, rLeft >= rRight})
        uHolds = uHolds * 2 + (b ? 1 : 0);
    return uHolds;
}

/// Against a string and against a text, from both sides, as std::string does.
void CompareAsStandard(const std::string& rFirst, const std::string& rSecond)
{
    const CString strFirst = StringOf(rFirst);
    const CString strSecond = StringOf(rSecond);
    const char* const pszSecond = rSecond.c_str();
    EXPECT_EQ(SignOf(rFirst.compare(rSecond)), SignOf(strFirst.Compare(strSecond)));
    EXPECT_EQ(SignOf(rFirst.compare(rSecond)), SignOf(SNaturalOrder()(strFirst, strSecond)));
    EXPECT_EQ(SignOf(rFirst.compare(pszSecond)), SignOf(strFirst.Compare(pszSecond)));
    EXPECT_EQ(SignOf(rFirst.compare(pszSecond)), SignOf(SNaturalOrder()(strFirst, pszSecond)));
    EXPECT_EQ(-SignOf(rFirst.compare(pszSecond)), SignOf(SNaturalOrder()(pszSecond, strFirst)));
    EXPECT_EQ(RelationsOf(rFirst, rSecond), RelationsOf(strFirst, strSecond));
    EXPECT_EQ(RelationsOf(rFirst, pszSecond), RelationsOf(strFirst, pszSecond));
    EXPECT_EQ(RelationsOf(pszSecond, rFirst), RelationsOf(pszSecond, strFirst));
    EXPECT_EQ(rFirst == pszSecond, strFirst == pszSecond);
    EXPECT_EQ(pszSecond == rFirst, pszSecond == strFirst);
    EXPECT_EQ(pszSecond != rFirst, pszSecond != strFirst);
}
}  // namespace

// Equal so far, then one other character: in front of, at and behind the eighth, the last one included.
TEST(CStringCompare, FindsTheFirstOtherCharacterWhereverItIs)
{
    for (std::size_t uSize = 0; uSize <= 24; ++uSize)
    {
        const std::string strText(uSize, 'm');
        const CString strOurs = StringOf(strText);
        for (std::size_t uAt = 0; uAt <= uSize; ++uAt)
        {
            for (const char c : {'\0', 'a', 'm', 'z', '\x80', '\xFF'})
            {
                for (const std::size_t uOtherSize : {uAt, uAt + 1, uSize, uSize + 3})
                {
                    std::string strOther = strText + 'z';
                    strOther[uAt] = c;
                    strOther.resize(uOtherSize, 'z');
                    SCOPED_TRACE(testing::Message()
                                 << uSize << " characters, other at " << uAt << " of " << uOtherSize);
                    ASSERT_NO_FATAL_FAILURE(CompareAsStandard(strText, strOther));
                    ASSERT_NO_FATAL_FAILURE(CompareAsStandard(strOther, strText));
                    ASSERT_EQ(strText == strOther, strOurs == StringOf(strOther));
                    if (HasFailure()) return;
                }
            }
        }
    }
}

TEST(CStringCompare, ATextIsReadUpToItsNulAndAStringToItsSize)
{
    CString strText("abc");
    strText.GetBuffer()[3] = 'd';
    EXPECT_LT(strText.Compare("abcd"), 0) << "what lies behind the size is no part of it";
    const CPageEnd end(std::string("abcdefghi\0", 10));
    EXPECT_EQ(0, CString("abcdefghi").Compare(end.GetText()));
    EXPECT_GT(CString("abcdefghi\0x", 11).Compare(end.GetText()), 0);
    EXPECT_EQ(0, CString().Compare(nullptr));
    EXPECT_GT(strText.Compare(nullptr), 0);
    const std::string strLong(70000, 'x');
    EXPECT_LT(CString(strLong.c_str() + 70000 - 65535).Compare(strLong.c_str()), 0);
    EXPECT_EQ(0, SNaturalOrder()(CString("abc"), "abc")) << "arrays are texts";
    EXPECT_GT(SNaturalOrder()("abd", CString("abc")), 0);
    char szText[8] = "abc";
    EXPECT_EQ(0, SNaturalOrder()(static_cast<char*>(szText), CString("abc")));
    EXPECT_EQ(0, SNaturalOrder()(CString("abc"), static_cast<char*>(szText)));
}

TEST(CStringCompare, EqualityLooksUpToANulAndOrderBehindIt)
{
    EXPECT_TRUE(CString("a\0b", 3) == CString("a\0c", 3));
    EXPECT_TRUE(CString("a\0b", 3) < CString("a\0c", 3));
    EXPECT_FALSE(CString("a\0b", 3) == CString("a\0", 2));
    EXPECT_FALSE(CString("a\0b", 3) == "a");
}

TEST(CStringShare, AFullCountIsNotRaisedAndTheCopyGetsABlockOfItsOwn)
{
    CTestAllocator allocator;
    const CStringAllocatorScope scope(allocator);
    {
        const CString strText("a\0b", 3);
        const std::vector<CString> copies(65534, strText);
        EXPECT_EQ(65535u, ShareCountOf(strText));
        EXPECT_EQ(1u, allocator.GetLiveBlocks());
        const CString strOwn(strText);
        CString strAssigned("before");
        strAssigned = strText;
        for (const CString* const pText : {&strOwn, static_cast<const CString*>(&strAssigned)})
        {
            EXPECT_EQ(std::string("a\0b", 3), TextOf(*pText));
            EXPECT_EQ(1u, ShareCountOf(*pText));
        }
        EXPECT_EQ(65535u, ShareCountOf(strText));
        EXPECT_EQ(3u, allocator.GetLiveBlocks());

        // A string that already shares the full block, too.
        strAssigned = copies[0];
        CString& rShare = const_cast<CString&>(copies[1]);
        rShare = copies[0];
        EXPECT_EQ(std::string("a\0b", 3), TextOf(rShare));
        EXPECT_EQ(65534u, ShareCountOf(strText));
    }
    EXPECT_EQ(0u, allocator.GetLiveBlocks());
}

TEST(CStringShare, WithoutMemoryACopyOfAFullBlockLeavesItAlone)
{
    CTestAllocator allocator;
    const CStringAllocatorScope scope(allocator);
    const CString strText("hello");
    const std::vector<CString> copies(65534, strText);
    allocator.SetRefusing(true);
    const CString strCopy(strText);
    EXPECT_TRUE(allocator.HasRefused());
    EXPECT_EQ(65535u, ShareCountOf(strText));
    EXPECT_EQ("", TextOf(strCopy));
}

TEST(CStringShare, ABlockIsReleasedWithItsHeaderCleared)
{
    CHeaderReader allocator;
    const CStringAllocatorScope scope(allocator);
    CString strText("hello");
    strText = CString();
    EXPECT_EQ(0u, allocator.m_uHeader);
    EXPECT_EQ(std::vector<unsigned int>{8}, allocator.GetReleases());
}

TEST(CStringShare, ASharedBlockIsCopiedUnderTheMutex)
{
    CLockWatcher allocator;
    const CStringAllocatorScope scope(allocator);
    CString strText("hello");
    CString strCopy(strText);
    allocator.m_bLocked = false;
    strCopy.SetAt(0, 'j');
    EXPECT_TRUE(allocator.m_bLocked);
    EXPECT_TRUE(IsFreeForOthers(*CStringProbe::ms_pmutex));
}

struct SSharingOperation
{
    const char* pszName;
    void (*pfnRun)(CString& rCopy);
};
class CStringLock : public testing::TestWithParam<SSharingOperation>
{
};
TEST_P(CStringLock, IsWaitedForByWhatChangesAShareCount)
{
    const CString strText("hello");
    CString strCopy(strText);
    const CSemaphore done(0, 1, true);
    CStringProbe::MutexLock();
    std::thread thread(
        [&]
        {
            GetParam().pfnRun(strCopy);
            done.Signal(false);
        });
    EXPECT_FALSE(done.Wait(20));
    EXPECT_EQ(2u, ShareCountOf(strText));
    CStringProbe::MutexUnlock();
    thread.join();
    EXPECT_EQ("hello", TextOf(strText));
}
INSTANTIATE_TEST_SUITE_P(
    All, CStringLock,
    testing::Values(SSharingOperation{"Copy", [](CString& r) { const CString strMore(r); }},
                    SSharingOperation{"Assignment",
                                      [](CString& r)
                                      {
                                          CString strMore;
                                          strMore = r;
                                      }},
                    SSharingOperation{"Replacement",
                                      [](CString& r)
                                      {
                                          const CString strEmpty;
                                          r = strEmpty;
                                      }},
                    SSharingOperation{"Destruction", [](CString& r) { const CString strGone(std::move(r)); }},
                    SSharingOperation{"PrivateCopy", [](CString& r) { r.SetAt(0, 'j'); }},
                    SSharingOperation{"Reservation", [](CString& r) { EXPECT_EQ(QV_RES_OK, r.ReserveCapacity(100)); }},
                    SSharingOperation{"Reduction", [](CString& r) { r.ReduceCapacity(1); }}),
    [](const auto& rInfo) { return std::string(rInfo.param.pszName); });

TEST(CStringShare, NoLockIsLeftWhenMemoryRunsOut)
{
    CTestAllocator allocator;
    const CStringAllocatorScope scope(allocator);
    CString strText("hello");
    const CString strCopy(strText);
    allocator.SetRefusing(true);
    strText.SetAt(0, 'j');
    EXPECT_EQ(QV_RES_OUT_OF_MEMORY, strText.ReserveCapacity(100));
    EXPECT_TRUE(IsFreeForOthers(*CStringProbe::ms_pmutex));
}

TEST(CStringShare, NothingIsEverWrittenIntoTheSharedEmptyBlock)
{
    constexpr std::size_t uPAGE = 4096;
    void* const pvPage = mmap(nullptr, uPAGE, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(MAP_FAILED, pvPage);
    CStringProbe::SStringInfo* const pstSaved = CStringProbe::ms_pstEmptyStringInfo;
    CStringProbe::ms_pstEmptyStringInfo = static_cast<CStringProbe::SStringInfo*>(pvPage);
    {
        CString strText;
        strText = "";
        strText = '\0';
        strText = CString();
        strText.EraseAll();
        strText.Erase(0, 0);
        strText.Resize(0);
        strText.ToLowerCase();
        strText.TrimLeftSide('x');
        strText.TrimRightSide('\0');
        strText.SetAt(0, 'x');
        EXPECT_NE(nullptr, strText.GetBuffer());
        EXPECT_EQ(QV_RES_OK, strText.Insert(0, 1, "", 65535));
        EXPECT_EQ(QV_RES_OK, strText.Insert(0, 0, 'x'));
        EXPECT_EQ(QV_RES_OK, strText.ReserveCapacity(0));
        EXPECT_EQ(QV_RES_OK, strText.ReduceCapacity(0));
        strText += "";
        strText += strText;
        CMarshaler marshaler;
        marshaler << strText;
        marshaler >> strText;
        EXPECT_EQ(0u, ShareCountOf(strText));
        EXPECT_EQ(0u, strText.GetCapacity());
    }
    CStringProbe::ms_pstEmptyStringInfo = pstSaved;
    munmap(pvPage, uPAGE);
}

TEST(CStringThreads, CopiesLiveAndDieInManyThreads)
{
    constexpr unsigned int uTHREADS = 4;
    constexpr unsigned int uROUNDS = 3000;
    const CString strText("shared by all");
    CSemaphore start(0, uTHREADS, false);
    std::vector<std::thread> threads;
    std::vector<unsigned int> wrong(uTHREADS, 0);
    for (unsigned int uThread = 0; uThread < uTHREADS; ++uThread)
    {
        threads.emplace_back(
            [&, uThread]
            {
                start.Wait();
                const CString strMine(strText);
                for (unsigned int u = 0; u < uROUNDS; ++u)
                {
                    CString strCopy(strMine);
                    CString strAssigned;
                    strAssigned = strCopy;
                    strCopy.SetAt(0, 'S');
                    strAssigned += '!';
                    if (!(strCopy == "Shared by all") || !(strAssigned == "shared by all!")) ++wrong[uThread];
                    strCopy = strMine;
                    if (strCopy.ReserveCapacity(100) < 0 || !(strCopy == strMine)) ++wrong[uThread];
                }
            });
    }
    for (unsigned int u = 0; u < uTHREADS; ++u) start.Signal(false);
    for (std::thread& rThread : threads) rThread.join();
    EXPECT_EQ(std::vector<unsigned int>(uTHREADS, 0), wrong);
    EXPECT_EQ(1u, ShareCountOf(strText));
    EXPECT_EQ("shared by all", TextOf(strText));
}

TEST(CStringThreads, TheLastTwoSharesEndAtOnce)
{
    struct SEnder
    {
        CSemaphore start{0, 1, false};
        CString* pstrCopy = nullptr;
        std::thread thread;
    };
    constexpr unsigned int uROUNDS = 500;
    CTestAllocator allocator;
    CLockedAllocator locked(allocator);
    const CStringAllocatorScope scope(locked);
    CSemaphore done(0, 2, false);
    SEnder aEnders[2];
    for (SEnder& rEnder : aEnders)
    {
        rEnder.thread = std::thread(
            [&rEnder, &done]
            {
                for (unsigned int u = 0; u < uROUNDS; ++u)
                {
                    rEnder.start.Wait();
                    delete rEnder.pstrCopy;
                    done.Signal(false);
                }
            });
    }
    for (unsigned int u = 0; u < uROUNDS; ++u)
    {
        aEnders[0].pstrCopy = new CString("text");
        aEnders[1].pstrCopy = new CString(*aEnders[0].pstrCopy);
        for (SEnder& rEnder : aEnders) rEnder.start.Signal(false);
        for (unsigned int uEnder = 0; uEnder < 2; ++uEnder) done.Wait();
    }
    for (SEnder& rEnder : aEnders) rEnder.thread.join();
    EXPECT_EQ(0u, allocator.GetLiveBlocks());
    EXPECT_EQ(uROUNDS, allocator.GetReleases().size());
}
