#include "framework/basic/string.h"

#include <gtest/gtest.h>
#include <sys/mman.h>

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
}  // namespace

TEST(CStringBlock, ABlockIsOneAllocatorBlockOfCapacityAndEightBytes)
{
    CTestAllocator allocator;
    const CStringAllocatorScope scope(allocator);
    {
        const CString strText("hello");
        ASSERT_EQ(1u, allocator.GetRequests().size());
        EXPECT_EQ(1u, allocator.GetRequests()[0].uCount);
        EXPECT_EQ(40u, allocator.GetRequests()[0].uSize);
        EXPECT_EQ(40u, allocator.GetSizeOf(strText.CStr() - 6));
    }
    // The count that release hands over is computed from the cleared header.
    ASSERT_EQ(1u, allocator.GetReleases().size());
    EXPECT_EQ(8u, allocator.GetReleases()[0]);
}

TEST(CStringModule, TheStaticsStandInTheirStorage)
{
    EXPECT_EQ(static_cast<void*>(CStringProbe::ms_auMutex), static_cast<void*>(CStringProbe::ms_pmutex));
    EXPECT_EQ(static_cast<void*>(CStringProbe::ms_auEmptyStringInfo),
              static_cast<void*>(CStringProbe::ms_pstEmptyStringInfo));
    EXPECT_EQ(static_cast<IAllocator*>(CSingleton<CDefaultAllocator>::Instance()), CStringProbe::ms_pAllocator);
    EXPECT_EQ(8u, sizeof CStringProbe::ms_auEmptyStringInfo);
}

TEST(CStringModule, TheEmptyTextIsExported)
{
    EXPECT_EQ(1u, sizeof g_szEMPTY_STRING);
    EXPECT_STREQ("", g_szEMPTY_STRING);
    EXPECT_STREQ("NULL", g_szNULL);
}

TEST(CStringModule, NullSafeGivesTheTextItselfOrTheEmptyText)
{
    const char* const pszText = "text";
    EXPECT_EQ(pszText, CStringProbe::MakeNullSafe(pszText));
    EXPECT_EQ(g_szEMPTY_STRING, CStringProbe::MakeNullSafe(nullptr));
}

TEST(CStringModule, TheLockIsTheMutexOfAllStrings)
{
    EXPECT_TRUE(IsFreeForOthers(*CStringProbe::ms_pmutex));
    CStringProbe::MutexLock();
    EXPECT_FALSE(IsFreeForOthers(*CStringProbe::ms_pmutex));
    CStringProbe::MutexUnlock();
    EXPECT_TRUE(IsFreeForOthers(*CStringProbe::ms_pmutex));
}

TEST(CStringConstruct, ByDefaultItIsEmptyAndStandsOnTheSharedBlock)
{
    CStringProbe strText;
    EXPECT_EQ(0u, strText.GetSize());
    EXPECT_EQ(0u, strText.GetCapacity());
    EXPECT_STREQ("", strText.CStr());
    EXPECT_EQ(0u, strText.GetRefCount());
    EXPECT_TRUE(strText.IsEmpty());
    EXPECT_EQ(reinterpret_cast<const char*>(CStringProbe::ms_auEmptyStringInfo) + 6, strText.CStr());
}

TEST(CStringConstruct, FromANullTextItIsEmpty)
{
    const CString strText(nullptr);
    EXPECT_EQ(0u, strText.GetSize());
    EXPECT_EQ(0u, strText.GetCapacity());
}

TEST(CStringConstruct, FromATooLongTextItIsEmpty)
{
    const CString strText(std::string(65536, 'x').c_str());
    EXPECT_EQ(0u, strText.GetSize());
}

TEST(CStringConstruct, FromCharactersItReadsThoseAlone)
{
    const CPageEnd text(std::string("abc"));
    EXPECT_EQ("abc", TextOf(CString(text.GetText(), 3)));
}

TEST(CStringConstruct, FromTheLargestNumberOfCharactersItTakesTheLengthOfTheText)
{
    EXPECT_EQ("hello", TextOf(CString("hello", 65535)));
}

TEST(CStringConstruct, FromTooManyCharactersItIsEmpty)
{
    const std::string strTooLong(65536, 'x');
    EXPECT_EQ(0u, CString(strTooLong.data(), 65536).GetSize());
}

TEST(CStringConstruct, MovingTakesTheBlock)
{
    CString strText("hello");
    const char* const pszCharacters = strText.CStr();
    CString strMoved(std::move(strText));
    EXPECT_EQ(pszCharacters, strMoved.CStr());
    EXPECT_EQ(1u, ShareCountOf(strMoved));
    EXPECT_EQ(0u, strText.GetSize());
    strText = "again";
    EXPECT_EQ("again", TextOf(strText));
    EXPECT_EQ("hello", TextOf(strMoved));
}

TEST(CStringConstruct, DestructionThroughABaseRunsTheDerivedDestructor)
{
    struct SDerived : CString
    {
        explicit SDerived(bool& rbGone) : m_rbGone(rbGone) {}
        ~SDerived() override { m_rbGone = true; }
        bool& m_rbGone;
    };
    bool bGone = false;
    CString* const pstrText = new SDerived(bGone);
    delete pstrText;
    EXPECT_TRUE(bGone);
}

TEST(CStringAssign, MovingTakesTheBlockAndLosesNone)
{
    CTestAllocator allocator;
    const CStringAllocatorScope scope(allocator);
    {
        CString strSource("source");
        CString strTarget("target");
        const char* const pszCharacters = strSource.CStr();
        CString& rResult = strTarget = std::move(strSource);
        EXPECT_EQ(&strTarget, &rResult);
        EXPECT_EQ(pszCharacters, strTarget.CStr());
        EXPECT_EQ(1u, ShareCountOf(strTarget));
        EXPECT_EQ("source", TextOf(strTarget));
        strSource = "used again";
        EXPECT_EQ("source", TextOf(strTarget));
        CString& rSame = strTarget;
        strTarget = std::move(rSame);
        EXPECT_EQ("source", TextOf(strTarget));
    }
    EXPECT_EQ(0u, allocator.GetLiveBlocks());
}

TEST(CStringAssign, ANullTextEmptiesAndKeepsTheBlock)
{
    CString strText("hello");
    strText = static_cast<const char*>(nullptr);
    EXPECT_STREQ("", strText.CStr());
    EXPECT_EQ(0u, strText.GetSize());
    EXPECT_EQ(32u, strText.GetCapacity());
}

TEST(CStringAssign, TheLongestTextHasTheLargestCapacity)
{
    const std::string strLongest(65535, 'x');
    CString strText;
    strText = strLongest.c_str();
    EXPECT_EQ(65535u, strText.GetSize());
    EXPECT_EQ(65535u, strText.GetCapacity());
    EXPECT_EQ(strLongest, strText.CStr());
}

TEST(CStringAssign, ATooLongTextIsIgnored)
{
    CString strText("hello");
    const CString strCopy(strText);
    strText = std::string(65536, 'x').c_str();
    EXPECT_EQ("hello", TextOf(strText));
    EXPECT_EQ(2u, ShareCountOf(strCopy));
    strText = std::string(65536 + 7, 'x').c_str();
    EXPECT_EQ("hello", TextOf(strText));
}

struct SEqualCase
{
    const char* pszName;
    std::string strLeft;
    std::string strRight;
    bool bEqual;
    bool bEqualText;
};
class CStringEqual : public testing::TestWithParam<SEqualCase>
{
};
TEST_P(CStringEqual, SizesAndCharactersUpToANulDecide)
{
    const SEqualCase& rCase = GetParam();
    const CString strLeft = StringOf(rCase.strLeft);
    const CString strRight = StringOf(rCase.strRight);
    EXPECT_EQ(rCase.bEqual, strLeft == strRight);
    EXPECT_EQ(rCase.bEqual, strRight == strLeft);
    EXPECT_EQ(!rCase.bEqual, strLeft != strRight);
    EXPECT_EQ(rCase.bEqualText, strLeft == rCase.strRight.c_str());
    EXPECT_EQ(!rCase.bEqualText, strLeft != rCase.strRight.c_str());
}
INSTANTIATE_TEST_SUITE_P(
    All, CStringEqual,
    testing::Values(SEqualCase{"Same", "hello", "hello", true, true}, SEqualCase{"Empty", "", "", true, true},
                    SEqualCase{"Longer", "hello", "hell", false, false}, SEqualCase{"Shorter", "", "h", false, false},
                    SEqualCase{"Other", "hello", "hellp", false, false},
                    SEqualCase{"OtherCase", "hello", "hellO", false, false},
                    SEqualCase{"HighBytes", "\xE9\xFF", "\xE9\xFE", false, false},
                    SEqualCase{"BehindANul", std::string("a\0b", 3), std::string("a\0c", 3), true, false},
                    SEqualCase{"NulsOfTwoSizes", std::string("a\0b", 3), std::string("a\0", 2), false, false}),
    [](const auto& rInfo) { return std::string(rInfo.param.pszName); });

TEST(CStringEqual, ANullTextIsAnEmptyOne)
{
    EXPECT_TRUE(CString() == nullptr);
    EXPECT_FALSE(CString("x") == nullptr);
}

TEST(CStringEqual, CopiesAreEqual)
{
    const CString strText("hello");
    const CString strCopy(strText);
    EXPECT_TRUE(strText == strCopy);
    EXPECT_TRUE(strText == strText.CStr());
}

TEST(CStringLess, OrdersByAllCharactersAsUnsignedBytes)
{
    const std::vector<std::string> texts = {
        "", std::string(1, '\0'), "A", std::string("a\0", 2), "ab", "abc", "b", "\x7F", "\x80", "\xFF"};
    for (const std::string& rstrLeft : texts)
        for (const std::string& rstrRight : texts)
            EXPECT_EQ(rstrLeft < rstrRight, StringOf(rstrLeft) < StringOf(rstrRight)) << rstrLeft << " " << rstrRight;
}

// Equal so far, then one other character: in front of, at and behind the eighth, the last one included.
TEST(CStringLess, FindsTheFirstOtherCharacterWhereverItIs)
{
    for (std::size_t uSize = 1; uSize <= 40; ++uSize)
    {
        const std::string strText(uSize, 'm');
        const CString strOurs = StringOf(strText);
        for (std::size_t uAt = 0; uAt < uSize; ++uAt)
        {
            for (const char c : {'\0', 'a', 'm', 'z', '\x80', '\xFF'})
            {
                std::string strOther = strText;
                strOther[uAt] = c;
                for (const std::size_t uOtherSize : {uAt, uAt + 1, uSize, uSize + 3})
                {
                    strOther.resize(uOtherSize, 'z');
                    SCOPED_TRACE(testing::Message()
                                 << uSize << " characters, other at " << uAt << " of " << uOtherSize);
                    ASSERT_EQ(strText < strOther, strOurs < StringOf(strOther));
                    ASSERT_EQ(strOther < strText, StringOf(strOther) < strOurs);
                }
            }
        }
    }
}

struct SCaseInsCase
{
    const char* pszName;
    std::string strLeft;
    const char* pszRight;
    int nWant;
};
class CStringCaseInsCmp : public testing::TestWithParam<SCaseInsCase>
{
};
TEST_P(CStringCaseInsCmp, GivesTheDifferenceOfTheFirstOtherCharacter)
{
    EXPECT_EQ(GetParam().nWant, StringOf(GetParam().strLeft).CaseInsCmp(GetParam().pszRight));
}
INSTANTIATE_TEST_SUITE_P(
    All, CStringCaseInsCmp,
    testing::Values(SCaseInsCase{"Same", "hello", "hello", 0}, SCaseInsCase{"OtherCase", "HeLLo", "hEllO", 0},
                    SCaseInsCase{"Less", "ABC", "abD", -1}, SCaseInsCase{"More", "abz", "ABA", 25},
                    SCaseInsCase{"Longer", "abC", "AB", 'c'}, SCaseInsCase{"Shorter", "ab", "ABC", -'c'},
                    SCaseInsCase{"BothEmpty", "", "", 0}, SCaseInsCase{"Empty", "", "A", -'a'},
                    SCaseInsCase{"BetweenTheCases", "_", "A", '_' - 'a'}, SCaseInsCase{"HighBytes", "\xE9", "\xE9", 0},
                    SCaseInsCase{"UpToANul", std::string("a\0b", 3), "A", 0}),
    [](const auto& rInfo) { return std::string(rInfo.param.pszName); });

struct SFindCase
{
    const char* pszName;
    std::string strText;
    unsigned int uStart;
    const char* pszWhat;
    unsigned int uWant;
};
class CStringFind : public testing::TestWithParam<SFindCase>
{
};
TEST_P(CStringFind, GivesTheFirstIndexOrTheSize)
{
    EXPECT_EQ(GetParam().uWant, StringOf(GetParam().strText).FindSubstring(GetParam().uStart, GetParam().pszWhat));
}
INSTANTIATE_TEST_SUITE_P(
    All, CStringFind,
    testing::Values(SFindCase{"AtTheFront", "hello hello", 0, "hello", 0},
                    SFindCase{"BehindTheStart", "hello hello", 1, "hello", 6},
                    SFindCase{"AtTheStart", "hello hello", 6, "hello", 6},
                    SFindCase{"NotBehindTheStart", "hello hello", 7, "hello", 11},
                    SFindCase{"LastCharacter", "hello", 4, "o", 4}, SFindCase{"None", "hello", 0, "x", 5},
                    SFindCase{"OtherCase", "hello", 0, "H", 5}, SFindCase{"EmptySubstring", "hello", 0, "", 5},
                    SFindCase{"NullSubstring", "hello", 0, nullptr, 5}, SFindCase{"StartAtTheSize", "hello", 5, "o", 5},
                    SFindCase{"StartAtTheSizeOfNothing", "hello", 5, "", 5},
                    SFindCase{"StartBehindTheSize", "hello", 6, "h", 5},
                    SFindCase{"FarBehindTheSize", "hello", 0xFFFFFFFF, "h", 5}, SFindCase{"Empty", "", 0, "x", 0},
                    SFindCase{"EmptyInEmpty", "", 0, "", 0}, SFindCase{"LongerThanTheText", "hell", 0, "hello", 4},
                    SFindCase{"OnlyUpToANul", std::string("a\0b", 3), 0, "b", 3},
                    SFindCase{"FromBehindTheNul", std::string("a\0b", 3), 2, "b", 2}),
    [](const auto& rInfo) { return std::string(rInfo.param.pszName); });

TEST(CStringAccess, EveryCharacterAndTheNulCanBeReached)
{
    const CString strText("abc");
    EXPECT_EQ('a', strText.GetAt(0));
    EXPECT_EQ('c', strText[2]);
    EXPECT_EQ('\0', strText.GetAt(3));
    EXPECT_EQ(strText.CStr() + 1, &strText.GetAt(1));
    EXPECT_EQ("abc", std::string(strText.begin(), strText.end()));
    EXPECT_EQ(3, strText.end() - strText.begin());
}

TEST(CStringShare, EveryCopyCountsOnceWhileItLives)
{
    CTestAllocator allocator;
    const CStringAllocatorScope scope(allocator);
    {
        std::vector<CString> copies(1, CString("hello"));
        for (unsigned int u = 1; u < 100; ++u)
        {
            copies.emplace_back(copies[0]);
            ASSERT_EQ(u + 1, ShareCountOf(copies[0]));
        }
        EXPECT_EQ(1u, allocator.GetRequests().size());
        for (unsigned int u = 100; u > 1; --u)
        {
            ASSERT_EQ(u, ShareCountOf(copies[0]));
            copies.pop_back();
        }
        EXPECT_EQ(1u, ShareCountOf(copies[0]));
        EXPECT_EQ(1u, allocator.GetLiveBlocks());
    }
    EXPECT_EQ(0u, allocator.GetLiveBlocks());
    EXPECT_EQ(std::vector<unsigned int>{8}, allocator.GetReleases());
}

TEST(CStringShare, AFullCountIsNotRaisedAndTheCopyGetsABlockOfItsOwn)
{
    CTestAllocator allocator;
    const CStringAllocatorScope scope(allocator);
    {
        const CString strText("hello");
        const std::vector<CString> copies(65534, strText);
        EXPECT_EQ(65535u, ShareCountOf(strText));
        EXPECT_EQ(1u, allocator.GetLiveBlocks());
        {
            const CString strOwn(strText);
            EXPECT_EQ("hello", TextOf(strOwn));
            EXPECT_NE(strText.CStr(), strOwn.CStr());
            EXPECT_EQ(1u, ShareCountOf(strOwn));
            CString strAssigned("before");
            strAssigned = strText;
            EXPECT_EQ("hello", TextOf(strAssigned));
            EXPECT_EQ(1u, ShareCountOf(strAssigned));
        }
        EXPECT_EQ(65535u, ShareCountOf(strText));
        EXPECT_EQ(1u, allocator.GetLiveBlocks());

        // The own block of a copy keeps its NULs as well.
        CString strNuls("a\0b", 3);
        const std::vector<CString> more(65534, strNuls);
        EXPECT_EQ(std::string("a\0b", 3), TextOf(CString(strNuls)));

        // A string that already shares the full block keeps its share.
        CString strLast(copies[0]);
        strLast = copies[1];
        EXPECT_EQ("hello", TextOf(strLast));
        EXPECT_EQ(65535u, ShareCountOf(strText));
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
    EXPECT_EQ("hello", TextOf(strText));
    EXPECT_EQ("", TextOf(strCopy));
}

TEST(CStringShare, ReleaseOfASharedBlockLowersItsCount)
{
    const CString strText("hello");
    CStringProbe strCopy(strText);
    CStringProbe::MutexLock();
    strCopy.Release();
    CStringProbe::MutexUnlock();
    EXPECT_EQ(1u, ShareCountOf(strText));
    EXPECT_EQ(0u, strCopy.GetRefCount());
    EXPECT_EQ(reinterpret_cast<const char*>(CStringProbe::ms_pstEmptyStringInfo) + 6, strCopy.CStr());
}

TEST(CStringShare, ReleaseOfTheLastShareFreesTheBlock)
{
    CTestAllocator allocator;
    const CStringAllocatorScope scope(allocator);
    CStringProbe strText("hello");
    CStringProbe::MutexLock();
    strText.Release();
    strText.Release();
    CStringProbe::MutexUnlock();
    EXPECT_EQ(0u, allocator.GetLiveBlocks());
    EXPECT_EQ(1u, allocator.GetReleases().size());
    EXPECT_EQ(0u, strText.GetSize());
}

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

TEST(CStringShare, ABlockIsReleasedWithItsHeaderCleared)
{
    CHeaderReader allocator;
    const CStringAllocatorScope scope(allocator);
    CString strText("hello");
    strText = CString();
    EXPECT_EQ(0u, allocator.m_uHeader);
    EXPECT_EQ(0u, allocator.GetLiveBlocks());
}

TEST(CStringShare, ACopyIsMadePrivateWithTheSameCapacityAndText)
{
    CTestAllocator allocator;
    const CStringAllocatorScope scope(allocator);
    const CString strText(std::string(40, 'x').c_str());
    CStringProbe strCopy(strText);
    EXPECT_EQ(QV_RES_OK, strCopy.CreateCopy());
    EXPECT_EQ(1u, strCopy.GetRefCount());
    EXPECT_EQ(1u, ShareCountOf(strText));
    EXPECT_EQ(64u, strCopy.GetCapacity());
    EXPECT_EQ(std::string(40, 'x'), strCopy.CStr());
    EXPECT_EQ(72u, allocator.GetSizeOf(strCopy.CStr() - 6));
    const char* const pszCharacters = strCopy.CStr();
    EXPECT_EQ(QV_RES_OK, strCopy.CreateCopy());
    EXPECT_EQ(pszCharacters, strCopy.CStr());
    EXPECT_EQ(2u, allocator.GetRequests().size());
}

TEST(CStringShare, AnEmptyStringNeedsNoPrivateBlock)
{
    CTestAllocator allocator;
    const CStringAllocatorScope scope(allocator);
    CStringProbe strText;
    EXPECT_EQ(QV_RES_OK, strText.CreateCopy());
    EXPECT_EQ(0u, allocator.GetRequests().size());
    EXPECT_EQ(0u, strText.GetRefCount());
}

TEST(CStringShare, TheCountCanBeRaisedAndLowered)
{
    CStringProbe strText("hello");
    strText.IncRefCount();
    EXPECT_EQ(2u, strText.GetRefCount());
    EXPECT_EQ(2u, ShareCountOf(strText));
    strText.DecRefCount();
    EXPECT_EQ(1u, strText.GetRefCount());
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
INSTANTIATE_TEST_SUITE_P(All, CStringLock,
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
                                         SSharingOperation{"Destruction",
                                                           [](CString& r) { const CString strGone(std::move(r)); }},
                                         SSharingOperation{"PrivateCopy", [](CString& r) { r.SetAt(0, 'j'); }},
                                         SSharingOperation{"Reservation", [](CString& r) { r.ReserveCapacity(100); }},
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
    EXPECT_EQ(QV_RES_OUT_OF_MEMORY, strText.ReduceCapacity(31));
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

TEST(CStringThreads, EmptyStringsAreEmptiedInManyThreads)
{
    std::vector<std::thread> threads;
    for (unsigned int uThread = 0; uThread < 3; ++uThread)
    {
        threads.emplace_back(
            []
            {
                for (unsigned int u = 0; u < 2000; ++u)
                {
                    CString strText;
                    strText.EraseAll();
                    strText.Resize(0);
                    strText = "";
                    strText.ToLowerCase();
                }
            });
    }
    for (std::thread& rThread : threads) rThread.join();
    EXPECT_EQ(0u, ShareCountOf(CString()));
}
