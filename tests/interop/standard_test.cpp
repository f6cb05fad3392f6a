// Each side of the header is compared with the standard library's own.
#include <time.h>
#if __has_include(<fmt/format.h>)
#define FMT_HEADER_ONLY
#include <fmt/format.h>
#endif

#include "framework/interop/standard.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <iomanip>
#include <limits>
#include <list>
#include <map>
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "framework/basic/aatree.h"
#include "framework/basic/list.h"
#include "framework/basic/vector.h"
#include "tests/support/page_end.h"
#include "tests/support/refusing_new.h"
#include "tests/support/test_allocator.h"
#include "tests/support/test_seed.h"

namespace
{
using namespace std::chrono_literals;
using namespace std::string_literals;
using std::chrono::milliseconds;
using std::chrono::system_clock;

std::string RandomText(std::mt19937& rRng, unsigned int uSize)
{
    std::string text(uSize, '\0');
    for (char& rc : text) rc = static_cast<char>(rRng() % 4);  // many of them NULs
    return text;
}

CTime TimeOf(unsigned int uJulianDay, unsigned int uTimeMs)
{
    CTime time;
    time.SetJulianDateAndTime(uJulianDay, uTimeMs, true);
    return time;
}

// ---------------------------------------------------------------------------------------------------- text and bytes

TEST(CStandardText, GoesIntoStringsUpToTheirLargestSizeAndNoFurther)
{
    std::mt19937 rng(TestSeed());
    for (const unsigned int uOldSize : {0u, 1u, 31u, 32u, 33u, 40000u, 65534u, 65535u})
    {
        for (const unsigned int uSize : {0u, 1u, 32u, 25535u, 25536u, 65534u, 65535u, 65536u, 70000u})
        {
            SCOPED_TRACE(std::to_string(uSize) + " behind " + std::to_string(uOldSize));
            const std::string oldText = RandomText(rng, uOldSize), text = RandomText(rng, uSize);
            const CPageEnd source(text);
            const std::string_view view(source.GetText(), uSize);
            CString str;
            ASSERT_EQ(QV_RES_OK, QvAssign(str, oldText));
            const CString strShared = str;

            const bool bFits = uOldSize + uSize <= CString::uMAX_SIZE;
            EXPECT_EQ(bFits ? QV_RES_OK : QV_RES_INVALID_ARGUMENT, QvAppend(str, view));
            EXPECT_TRUE(QvViewOf(str) == (bFits ? oldText + text : oldText));
            EXPECT_EQ('\0', str.CStr()[str.GetSize()]);

            const std::string before(QvViewOf(str));
            EXPECT_EQ(uSize <= CString::uMAX_SIZE ? QV_RES_OK : QV_RES_INVALID_ARGUMENT, QvAssign(str, view));
            EXPECT_TRUE(QvViewOf(str) == (uSize <= CString::uMAX_SIZE ? text : before));
            EXPECT_TRUE(QvViewOf(strShared) == oldText);
        }
    }
}

TEST(CStandardText, MayBeAPartOfItsString)
{
    CString str("0123456789");
    EXPECT_EQ(QV_RES_OK, QvAppend(str, QvViewOf(str).substr(3)));
    EXPECT_EQ("01234567893456789", QvViewOf(str));
    EXPECT_EQ(QV_RES_OK, QvAssign(str, QvViewOf(str).substr(8, 4)));
    EXPECT_EQ("8934", QvViewOf(str));
    EXPECT_EQ(QV_RES_OK, QvAssign(str, std::string_view()));
    EXPECT_EQ("", QvViewOf(str));
    EXPECT_EQ(QV_RES_OK, QvAppend(str, std::string_view()));
}

#if TESTS_OWN_OPERATOR_NEW
TEST(CStandardText, LeavesItsStringAsItWasWithoutMemory)
{
    const std::string largest(CString::uMAX_SIZE, 'x');
    for (const std::string& rText : {"a text that needs another block than the one that is there"s, largest})
    {
        for (const char* const pszBefore : {"", "before"})
        {
            CString str(pszBefore);
            {
                const CNoMemory noMemory;
                EXPECT_EQ(QV_RES_OUT_OF_MEMORY, QvAssign(str, rText));
            }
            EXPECT_EQ(pszBefore, QvViewOf(str));
            if (pszBefore[0] != '\0' && rText.size() == CString::uMAX_SIZE) continue;
            {
                const CNoMemory noMemory;
                EXPECT_EQ(QV_RES_OUT_OF_MEMORY, QvAppend(str, rText));
            }
            EXPECT_EQ(pszBefore, QvViewOf(str));
            // With memory for one block, that of all characters, nothing else is asked for.
            const CRefusingNew refusing(1, eNOTHROW, ERefused::eALL_BEHIND);
            EXPECT_EQ(QV_RES_OK, QvAppend(str, rText));
            EXPECT_TRUE(QvViewOf(str) == pszBefore + rText);
        }
    }
}
#endif

TEST(CStandardBytes, GoInAndOutOfBlobsAsOfStrings)
{
    std::mt19937 rng(TestSeed());
    CTestAllocator allocator;
    CBlob blob(&allocator);
    std::string model;
    EXPECT_TRUE(QvViewOf(blob).empty());
    for (unsigned int uStep = 0; uStep < 2000; ++uStep)
    {
        SCOPED_TRACE(uStep);
        const bool bRefused = Below(rng, 4) == 0;
        if (Below(rng, 4) == 0) static_cast<void>(blob.ReduceCapacity(0));
        // Bytes of its own, which may have to be moved, or of others.
        const bool bOwn = Below(rng, 2) == 0;
        const unsigned int uFirst = Below(rng, model.size() + 1);
        const CPageEnd foreign(RandomText(rng, Below(rng, 100)));
        const std::string_view bytes = bOwn ? QvViewOf(blob).substr(uFirst, Below(rng, 50))
                                            : std::string_view(foreign.GetText(), foreign.Bytes().size());
        const std::string expected(bytes);
        const bool bAppend = Below(rng, 3) != 0 && model.size() < 500;
        allocator.SetRefusing(bRefused);
        const QvResult res = bAppend ? QvAppend(blob, bytes) : QvAssign(blob, bytes);
        ASSERT_EQ(allocator.HasRefused() ? QV_RES_OUT_OF_MEMORY : QV_RES_OK, res);
        allocator.SetRefusing(false);
        if (res == QV_RES_OK) model = bAppend ? model + expected : expected;
        ASSERT_TRUE(QvViewOf(blob) == model);
    }
}

TEST(CStandardBytes, KeepTheCursorsOrSetThemToTheBegin)
{
    CBlob blob;
    ASSERT_EQ(QV_RES_OK, QvAssign(blob, "abcd"));
    unsigned char auRead[2];
    ASSERT_NE(nullptr, blob.Read(auRead, 2));
    EXPECT_EQ(QV_RES_OK, QvAppend(blob, "ef"));
    EXPECT_EQ(4u, blob.GetUnreadSize());
    EXPECT_EQ(QV_RES_OK, QvAssign(blob, "xyz"));
    EXPECT_EQ(3u, blob.GetUnreadSize());
    EXPECT_EQ(QV_RES_OK, QvAssign(blob, ""));
    EXPECT_TRUE(blob.IsEmpty());
}

TEST(CStandardBytes, AreRefusedWhere32BitsDoNotCountThem)
{
    CBlob blob;
    ASSERT_EQ(QV_RES_OK, QvAssign(blob, "a"));
    for (volatile std::size_t uSize : {0xFFFFFFFFul, 0x100000000ul, 0x100000001ul})
    {
        const std::string_view bytes("a", uSize);  // never looked at
        EXPECT_EQ(QV_RES_INVALID_ARGUMENT, QvAppend(blob, bytes));
        if (bytes.size() == 0xFFFFFFFF) continue;  // so many would be copied
        EXPECT_EQ(QV_RES_INVALID_ARGUMENT, QvAssign(blob, bytes));
    }
    EXPECT_EQ("a", QvViewOf(blob));
}

TEST(CStandardBytes, AreSpans)
{
    CBlob blob;
    const std::array<unsigned char, 4> bytes = {1, 2, 3, 4};
    EXPECT_EQ(QV_RES_OK, QvAssign(blob, bytes));
    EXPECT_EQ(QV_RES_OK, QvAppend(blob, std::vector<unsigned char>{5, 6}));
    EXPECT_EQ(QV_RES_OK, QvAppend(blob, QvSpanOf(blob).first(2)));
    QvSpanOf(blob).back() = 9;
    const auto span = QvSpanOf(std::as_const(blob));
    EXPECT_EQ((std::vector<unsigned char>{1, 2, 3, 4, 5, 6, 1, 9}),
              std::vector<unsigned char>(span.begin(), span.end()));
    static_assert(std::is_same_v<const unsigned char&, decltype(span[0])>);
    EXPECT_TRUE(QvSpanOf(CBlob()).empty());

    CVector<int> vector(nullptr);
    ASSERT_EQ(QV_RES_OK, vector.Insert(0, 3, 7));
    EXPECT_EQ(3u, std::span(vector.begin(), vector.end()).size());
}

// -------------------------------------------------------------------------------------------------------------- time

// The C library knows the calendar and leads to the same Julian day.
TEST(CStandardTime, IsTheMomentOfTheSystemsCount)
{
    std::mt19937_64 rng(TestSeed());
    for (unsigned int u = 0; u < 2000; ++u)
    {
        const system_clock::duration count(static_cast<int64_t>(rng()));
        CTime time;
        ASSERT_EQ(QV_RES_OK, QvAssign(time, system_clock::time_point(count)));
        const int64_t nMs = std::chrono::floor<milliseconds>(count).count();
        EXPECT_EQ(nMs, QvTimePointOf(time).time_since_epoch().count());

        const time_t nSeconds = std::chrono::floor<std::chrono::seconds>(count).count();
        tm stTime;
        ASSERT_NE(nullptr, gmtime_r(&nSeconds, &stTime));
        unsigned short uYear, uMonth, uDay, uHour, uMinute, uSecond, uMs;
        EXPECT_TRUE(time.GetDateAndTime(uYear, uMonth, uDay, uHour, uMinute, uSecond, uMs, true));
        EXPECT_EQ(stTime.tm_year + 1900, uYear);
        EXPECT_EQ(stTime.tm_mon + 1, uMonth);
        EXPECT_EQ(stTime.tm_mday, uDay);
        EXPECT_EQ(stTime.tm_hour * 3600 + stTime.tm_min * 60 + stTime.tm_sec, uHour * 3600 + uMinute * 60 + uSecond);
        EXPECT_EQ(nMs - nSeconds * 1000, uMs);
    }
}

TEST(CStandardTime, TakesEveryUnitAndKeepsTheZone)
{
    using Days = std::chrono::duration<int, std::ratio<86400>>;
    const auto assigned = [](auto count)
    {
        CTime time;
        time.SetTimeZone(pszTIMEZONE_TOKYO);
        EXPECT_EQ(QV_RES_OK, QvAssign(time, std::chrono::time_point<system_clock, decltype(count)>(count)));
        EXPECT_STREQ(pszTIMEZONE_TOKYO, time.GetTimeZone().GetTimeZone());
        return QvTimePointOf(time).time_since_epoch().count();
    };
    EXPECT_EQ(172800000, assigned(Days(2)));
    EXPECT_EQ(-3600000, assigned(std::chrono::hours(-1)));
    EXPECT_EQ(5000, assigned(5s));
    EXPECT_EQ(7, assigned(7ms));
    EXPECT_EQ(0, assigned(999us));
    EXPECT_EQ(-1, assigned(-1us)) << "down, not towards 0";
    EXPECT_EQ(-1, assigned(-1ns));

    // A time of day beyond the day counts on, and the other way it comes back as less.
    EXPECT_EQ(QvTimePointOf(TimeOf(2440589, 3600000)), QvTimePointOf(TimeOf(2440588, 90000000)));
    // The clock in nanoseconds is reached by itself.
    const system_clock::time_point moment = QvTimePointOf(TimeOf(2440588, 1));
    EXPECT_EQ(system_clock::time_point(1ms), moment);
}

TEST(CStandardTime, IsRefusedBeyondTheJulianDays)
{
    // Julian day 0 began 2,440,588 days before the count of the system, and the last has 32 bits set.
    constexpr int64_t nFIRST = -2440588LL * 86400000, nLAST = (4294967296LL - 2440588) * 86400000 - 1;
    const auto res = [](auto count)
    {
        CTime time = TimeOf(1, 2);
        const QvResult resAssign = QvAssign(time, std::chrono::time_point<system_clock, decltype(count)>(count));
        EXPECT_EQ(resAssign != QV_RES_OK, time == TimeOf(1, 2));
        return resAssign;
    };
    EXPECT_EQ(QV_RES_OK, res(milliseconds(nFIRST)));
    EXPECT_EQ(QV_RES_OK, res(milliseconds(nLAST)));
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, res(milliseconds(nFIRST - 1)));
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, res(milliseconds(nLAST + 1)));
    using Seconds = std::chrono::seconds;
    EXPECT_EQ(QV_RES_OK, res(Seconds(nFIRST / 1000)));
    EXPECT_EQ(QV_RES_OK, res(Seconds(nLAST / 1000)));
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, res(Seconds(nFIRST / 1000 - 1)));
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, res(Seconds(nLAST / 1000 + 1)));
    using Days = std::chrono::duration<int, std::ratio<86400>>;
    using Years = std::chrono::duration<int64_t, std::ratio<31556952>>;
    constexpr int64_t nMOST = std::numeric_limits<int64_t>::max(), nLEAST = std::numeric_limits<int64_t>::min();
    EXPECT_EQ(QV_RES_OK, res(Days(std::numeric_limits<int>::max())));
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, res(Days(std::numeric_limits<int>::min())));
    // No overflow on the way.
    for (const int64_t n : {nMOST, nLEAST})
    {
        EXPECT_EQ(QV_RES_INVALID_ARGUMENT, res(Years(n)));
        EXPECT_EQ(QV_RES_INVALID_ARGUMENT, res(std::chrono::hours(n)));
        EXPECT_EQ(QV_RES_INVALID_ARGUMENT, res(milliseconds(n)));
        EXPECT_EQ(QV_RES_OK, res(std::chrono::nanoseconds(n)));
    }
}

// Shows what the clock was last set to.
class CClock : public CTime
{
public:
    static int64_t MsOfSetting()
    {
        EXPECT_FALSE(ms_bDefaultDateAndTime);
        return QvTimePointOf(TimeOf(ms_uJulianDateDay, ms_uJulianTimeMs)).time_since_epoch().count();
    }
};

TEST(CStandardTime, SetsTheFrameworksClockToWhatTheSystemsShows)
{
    const auto ms = [] { return std::chrono::floor<milliseconds>(system_clock::now()).time_since_epoch().count(); };
    const int64_t nBefore = ms();
    EXPECT_EQ(QV_RES_OK, QvSetClockFromSystem());
    const int64_t nAfter = ms();
    EXPECT_LE(nBefore, CClock::MsOfSetting());
    EXPECT_GE(nAfter, CClock::MsOfSetting());
}

// ----------------------------------------------------------------------------------------------------------- results

TEST(CStandardError, EqualsTheConditionOfTheStandardLibrary)
{
    const std::map<QvResult, std::errc> conditions = {
        {QV_RES_INVALID_ARGUMENT, std::errc::invalid_argument},
        {QV_RES_OUT_OF_MEMORY, std::errc::not_enough_memory},
        {QV_RES_ALREADY_EXISTS, std::errc::file_exists},
        {QV_RES_THREAD_CREATE_FAILED, std::errc::resource_unavailable_try_again},
        {QV_RES_THREAD_JOIN_SELF, std::errc::resource_deadlock_would_occur},
        {QV_RES_NO_INTERFACE, std::errc::not_supported}};
    for (const QvResult res :
         {QV_RES_FAIL, QV_RES_INVALID_STATE, QV_RES_INVALID_ARGUMENT, QV_RES_OUT_OF_MEMORY, QV_RES_ALREADY_EXISTS,
          QV_RES_THREAD_ATTRIBUTES, QV_RES_THREAD_CREATE_FAILED, QV_RES_TSD_UNAVAILABLE, QV_RES_TSD_KEY_NOT_FOUND,
          QV_RES_THREAD_JOIN_SELF, QV_RES_NO_INTERFACE, QV_RES_CLASS_NOT_REGISTERED})
    {
        SCOPED_TRACE(QvResultName(res));
        const std::error_code error = QvErrorCodeOf(res);
        EXPECT_TRUE(error);
        EXPECT_EQ(res, error.value());
        EXPECT_EQ(QvResultName(res), error.message());
        for (const auto& [resOther, condition] : conditions) EXPECT_EQ(res == resOther, error == condition);
        const std::error_condition itself(res, QvResultCategory());
        EXPECT_EQ(itself, error);
        EXPECT_EQ(conditions.count(res) == 0, error.default_error_condition() == itself);
    }
}

TEST(CStandardError, IsNoneOfASuccess)
{
    for (const QvResult res : {QV_RES_OK, 1, 0x40000001, std::numeric_limits<int>::max()})
    {
        EXPECT_FALSE(QvErrorCodeOf(res)) << res;
        EXPECT_EQ("QV_RES_OK", QvErrorCodeOf(res).message());
    }
    EXPECT_STREQ("orvel", QvResultCategory().name());
    EXPECT_NE(std::error_code(QV_RES_FAIL, std::generic_category()), QvErrorCodeOf(QV_RES_FAIL));
    const QvResult resMine = static_cast<QvResult>(0xC0001234);
    EXPECT_EQ("unknown result 0xC0001234", QvErrorCodeOf(resMine).message());
    EXPECT_EQ(resMine, QvErrorCodeOf(resMine).value());
    EXPECT_STREQ("packing: QV_RES_FAIL", std::system_error(QvErrorCodeOf(QV_RES_FAIL), "packing").what());
}

// ------------------------------------------------------------------------------------------------------------ memory

// Checks that each allocation comes back with its size and alignment, and refuses when told to.
class CWatchedResource : public std::pmr::memory_resource
{
public:
    ~CWatchedResource() override { EXPECT_EQ(0u, m_live.size()); }

    enum EThrown
    {
        eNOTHING,
        eBAD_ALLOC,
        eNUMBER
    };
    void RefuseNth(unsigned int uNth, EThrown eThrown = eBAD_ALLOC)
    {
        m_uRefuseIn = uNth;
        m_eThrown = eThrown;
    }
    std::size_t GetLive() const { return m_live.size(); }

private:
    void* do_allocate(std::size_t uSize, std::size_t uAlignment) override
    {
        if (m_uRefuseIn != 0 && --m_uRefuseIn == 0)
        {
            if (m_eThrown == eNUMBER) throw 42;
            throw std::bad_alloc();
        }
        void* const pv = std::pmr::new_delete_resource()->allocate(uSize, uAlignment);
        m_live[pv] = {uSize, uAlignment};
        return pv;
    }
    void do_deallocate(void* pv, std::size_t uSize, std::size_t uAlignment) override
    {
        EXPECT_EQ(std::make_pair(uSize, uAlignment), m_live[pv]);
        m_live.erase(pv);
        std::pmr::new_delete_resource()->deallocate(pv, uSize, uAlignment);
    }
    bool do_is_equal(const std::pmr::memory_resource& rOther) const noexcept override { return this == &rOther; }

    std::map<void*, std::pair<std::size_t, std::size_t>> m_live;
    unsigned int m_uRefuseIn = 0;
    EThrown m_eThrown = eNOTHING;
};

std::vector<IAllocator::SBlock*> BlocksOf(IAllocator::SBlock* pChain)
{
    std::vector<IAllocator::SBlock*> blocks;
    for (; pChain != nullptr; pChain = pChain->pNext) blocks.push_back(pChain);
    return blocks;
}

TEST(CResourceAllocatorTest, GivesChainsOfAlignedBlocks)
{
    CWatchedResource resource;
    CResourceAllocator allocator(&resource);
    for (const unsigned int uSize : {8u, 9u, 16u, 24u, 1000u, 100001u})
    {
        for (const unsigned int uCount : {1u, 2u, 7u})
        {
            IAllocator::SBlock* pLast = nullptr;
            IAllocator::SBlock* const pChain = allocator.Allocate(uCount, uSize, &pLast);
            const std::vector<IAllocator::SBlock*> blocks = BlocksOf(pChain);
            ASSERT_EQ(uCount, blocks.size());
            EXPECT_EQ(uCount, resource.GetLive());
            EXPECT_EQ(blocks.back(), pLast);
            for (IAllocator::SBlock* const pBlock : blocks)
            {
                EXPECT_EQ(0u, reinterpret_cast<std::uintptr_t>(pBlock) % __STDCPP_DEFAULT_NEW_ALIGNMENT__);
                // All of it may be written to; sanitizers see whether that is so.
                IAllocator::SBlock* const pNext = pBlock->pNext;
                memset(static_cast<void*>(pBlock), 0xEE, uSize);
                pBlock->pNext = pNext;
            }
            allocator.Release(pChain, 12345);
            EXPECT_EQ(0u, resource.GetLive());
        }
    }
    allocator.Release(nullptr, 1);
}

// Their blocks are as large as requests are, and lie close together.
TEST(CResourceAllocatorTest, GivesAlignedBlocksOfPools)
{
    std::pmr::unsynchronized_pool_resource pool;
    CResourceAllocator allocator(&pool);
    for (unsigned int uSize = 8; uSize <= 200; ++uSize)
    {
        IAllocator::SBlock* const pChain = allocator.Allocate(10, uSize, nullptr);
        for (IAllocator::SBlock* const pBlock : BlocksOf(pChain))
            EXPECT_EQ(0u, reinterpret_cast<std::uintptr_t>(pBlock) % __STDCPP_DEFAULT_NEW_ALIGNMENT__) << uSize;
        allocator.Release(pChain, 10);
    }
}

TEST(CResourceAllocatorTest, RefusesWhatTheDefaultAllocatorRefuses)
{
    CWatchedResource resource;
    CResourceAllocator allocator(&resource);
    IAllocator::SBlock stNobody = {nullptr};
    for (const auto& [uCount, uSize] : {std::pair(0u, 8u), std::pair(1u, 7u), std::pair(1u, 0u), std::pair(0u, 0u)})
    {
        IAllocator::SBlock* pLast = &stNobody;
        EXPECT_EQ(nullptr, CDefaultAllocator::Instance()->Allocate(uCount, uSize, &pLast));
        EXPECT_EQ(nullptr, allocator.Allocate(uCount, uSize, &pLast));
        EXPECT_EQ(&stNobody, pLast);
    }
}

TEST(CResourceAllocatorTest, GivesBackWhatItHasWhenTheResourceThrows)
{
    CWatchedResource resource;
    CResourceAllocator allocator(&resource);
    for (const CWatchedResource::EThrown eThrown : {CWatchedResource::eBAD_ALLOC, CWatchedResource::eNUMBER})
    {
        for (unsigned int uNth = 1; uNth <= 5; ++uNth)
        {
            IAllocator::SBlock stNobody = {nullptr};
            IAllocator::SBlock* pLast = &stNobody;
            resource.RefuseNth(uNth, eThrown);
            EXPECT_EQ(nullptr, allocator.Allocate(5, 40, &pLast));
            EXPECT_EQ(&stNobody, pLast);
            EXPECT_EQ(0u, resource.GetLive());
        }
    }
    CVector<int> vector(&allocator);
    ASSERT_EQ(QV_RES_OK, vector.Append(1));
    resource.RefuseNth(1);
    EXPECT_EQ(QV_RES_OUT_OF_MEMORY, vector.Append(2));
    EXPECT_EQ(1u, vector.GetSize());
}

TEST(CResourceAllocatorTest, FeedsContainers)
{
    std::mt19937 rng(TestSeed());
    std::array<std::byte, 200000> buffer;
    // Nothing but the buffer: whatever is more throws.
    std::pmr::monotonic_buffer_resource arena(buffer.data(), buffer.size(), std::pmr::null_memory_resource());
    std::pmr::unsynchronized_pool_resource pool(&arena);
    CResourceAllocator allocator(&pool);
    CVector<int> vector(&allocator);
    CList<int> list(&allocator);
    CAATree<int> tree(&allocator);
    CBlob blob(&allocator);
    std::vector<int> expected;
    for (unsigned int u = 0; u < 200; ++u)
    {
        expected.push_back(static_cast<int>(Below(rng, 1000000)));
        ASSERT_EQ(QV_RES_OK, vector.Append(expected.back()));
        ASSERT_EQ(QV_RES_OK, list.Append(expected.back()));
        ASSERT_NE(QV_RES_OUT_OF_MEMORY, tree.Insert(expected.back()));  // one that is there already stays
        const unsigned char uByte = static_cast<unsigned char>(expected.back());
        ASSERT_EQ(QV_RES_OK, blob.Append(&uByte, 1));
        if (u % 3 != 0) continue;
        list.Erase(0);
        ASSERT_EQ(QV_RES_OK, list.Insert(0, 1, expected[0]));
    }
    EXPECT_TRUE(std::equal(expected.begin(), expected.end(), vector.begin(), vector.end()));
    EXPECT_TRUE(std::equal(expected.begin(), expected.end(), list.begin(), list.end()));
    const std::set<int> sorted(expected.begin(), expected.end());
    EXPECT_TRUE(std::equal(sorted.begin(), sorted.end(), tree.begin(), tree.end()));
    EXPECT_EQ(200u, blob.GetSize());
}

TEST(CResourceAllocatorTest, TakesTheDefaultResourceForNone)
{
    CWatchedResource resource;
    std::pmr::memory_resource* const pBefore = std::pmr::set_default_resource(&resource);
    CResourceAllocator allocator;
    std::pmr::set_default_resource(pBefore);
    EXPECT_EQ(&resource, allocator.GetResource());
    allocator.Release(allocator.Allocate(1, 8, nullptr), 1);
}

TEST(CAllocatorResourceTest, FeedsContainersOfTheStandardLibrary)
{
    std::mt19937 rng(TestSeed());
    CTestAllocator allocator;
    CAllocatorResource resource(&allocator);
    std::pmr::vector<int> vector(&resource);
    std::pmr::map<int, std::pmr::string> map(&resource);
    std::pmr::list<long double> list(&resource);
    for (unsigned int u = 0; u < 500; ++u)
    {
        vector.push_back(static_cast<int>(Below(rng, 100)));
        map[vector.back()] += "some more of a text that is longer than what fits into the object";
        list.push_back(vector.back());
        if (u % 5 == 0) map.erase(map.begin());
    }
    EXPECT_TRUE(std::equal(vector.begin(), vector.end(), list.begin(), list.end()));
    EXPECT_NE(0u, allocator.GetLiveBlocks());
}

TEST(CAllocatorResourceTest, ThrowsWhereTheAllocatorHasNoMemory)
{
    CTestAllocator allocator;
    CAllocatorResource resource(&allocator);
    std::pmr::vector<int> vector({1, 2, 3}, &resource);
    allocator.SetRefusing(true);
    EXPECT_THROW(vector.push_back(4), std::bad_alloc);
    allocator.SetRefusing(false);
    EXPECT_EQ((std::pmr::vector<int>{1, 2, 3}), vector);
}

TEST(CAllocatorResourceTest, RefusesWhatABlockCannotBe)
{
    CTestAllocator allocator;
    CAllocatorResource resource(&allocator);
    constexpr std::size_t uMOST = __STDCPP_DEFAULT_NEW_ALIGNMENT__;
    EXPECT_THROW(static_cast<void>(resource.allocate(64, uMOST * 2)), std::bad_alloc);
    EXPECT_THROW(static_cast<void>(resource.allocate(0, 4096)), std::bad_alloc);
    EXPECT_THROW(static_cast<void>(resource.allocate(std::size_t{0xFFFFFFFF} + 1)), std::bad_alloc);
    EXPECT_THROW(static_cast<void>(resource.allocate(std::size_t{0xFFFFFFFF} + 9)), std::bad_alloc) << "not 8 bytes";
    EXPECT_EQ(0u, allocator.GetRequests().size()) << "nothing was asked for";

    allocator.SetRefusing(true);
    EXPECT_THROW(static_cast<void>(resource.allocate(0xFFFFFFFF, uMOST)), std::bad_alloc);
    ASSERT_EQ(1u, allocator.GetRequests().size()) << "up to here it is for the allocator to say";
    EXPECT_EQ(0xFFFFFFFF, allocator.GetRequests()[0].uSize);
    allocator.SetRefusing(false);
    for (const std::size_t uSize : {0u, 1u, 7u, 8u, 9u})
    {
        void* const pv = resource.allocate(uSize, uMOST);
        EXPECT_EQ(std::max<std::size_t>(8, uSize), allocator.GetSizeOf(pv));
        EXPECT_EQ(0u, reinterpret_cast<std::uintptr_t>(pv) % uMOST);
        memset(pv, 0xEE, uSize);  // what would look like a link to another block
        resource.deallocate(pv, uSize, uMOST);
    }
    EXPECT_EQ((std::vector<unsigned int>{1, 1, 1, 1, 1}), allocator.GetReleases());
}

TEST(CAllocatorResourceTest, EqualsThoseOfTheSameAllocator)
{
    CTestAllocator allocator, other;
    const CAllocatorResource resource(&allocator), same(&allocator), another(&other), none, none2(nullptr);
    EXPECT_TRUE(resource == same);
    EXPECT_FALSE(resource == another);
    EXPECT_FALSE(resource == *std::pmr::new_delete_resource());
    EXPECT_TRUE(none == none2);
    EXPECT_EQ(CDefaultAllocator::Instance(), none.GetAllocator());
    // What it is good for: the elements move as one.
    CAllocatorResource first(&allocator), second(&allocator);
    std::pmr::vector<int> from({1, 2, 3}, &first), to(&second);
    const int* const pnElements = from.data();
    to = std::move(from);
    EXPECT_EQ(pnElements, to.data());
}

TEST(CAllocatorResourceTest, WorksOverTheOtherWayRound)
{
    CTestAllocator allocator;
    CAllocatorResource resource(&allocator);
    CResourceAllocator back(&resource);
    CAllocatorResource again(&back);
    std::pmr::vector<CString> texts(&again);
    for (int n = 0; n < 100; ++n) texts.emplace_back("text");
    EXPECT_EQ(1u, allocator.GetLiveBlocks());
    allocator.SetRefusing(true);
    EXPECT_THROW(texts.reserve(1000), std::bad_alloc);
    EXPECT_EQ(100u, texts.size());
    allocator.SetRefusing(false);
}

// -------------------------------------------------------------------------------------------------------------- keys

TEST(CStandardHash, AgreesWithEquality)
{
    const std::hash<CString> ofString;
    CString str1, str2;
    ASSERT_EQ(QV_RES_OK, QvAssign(str1, "ab\0cd"s));
    ASSERT_EQ(QV_RES_OK, QvAssign(str2, "ab\0xy"s));
    ASSERT_TRUE(str1 == str2) << "equal up to a NUL";
    EXPECT_EQ(ofString(str1), ofString(str2));

    CBlob blob1, blob2;
    ASSERT_EQ(QV_RES_OK, QvAssign(blob1, "ab\0cd"s));
    ASSERT_EQ(QV_RES_OK, QvAssign(blob2, "ab\0xy"s));
    EXPECT_NE(std::hash<CBlob>()(blob1), std::hash<CBlob>()(blob2));
    ASSERT_EQ(QV_RES_OK, QvAssign(blob2, "ab\0cd"s));
    ASSERT_NE(nullptr, blob2.ReadNoCopy(2));
    EXPECT_EQ(std::hash<CBlob>()(blob1), std::hash<CBlob>()(blob2));

    CTime time = TimeOf(2440589, 3600000);
    time.SetTimeZone(pszTIMEZONE_TOKYO);
    ASSERT_TRUE(time == TimeOf(2440588, 90000000));
    EXPECT_EQ(std::hash<CTime>()(time), std::hash<CTime>()(TimeOf(2440588, 90000000)));

    EXPECT_EQ(std::hash<CVersion>()("1.2.3.4"), std::hash<CVersion>()("1.2.3.4"));
}

template <typename Type>
std::size_t CountHashes(Type (*pfnMake)(unsigned int))
{
    std::set<std::size_t> hashes;
    for (unsigned int u = 0; u < 1000; ++u) hashes.insert(std::hash<Type>()(pfnMake(u)));
    return hashes.size();
}

TEST(CStandardHash, TellsDifferentValuesApart)
{
    EXPECT_EQ(1000u, CountHashes<CString>([](unsigned int u) { return CString(std::to_string(u).c_str()); }));
    EXPECT_EQ(1000u, CountHashes<CTime>([](unsigned int u) { return TimeOf(2440588 + u / 10, u % 10); }));
    EXPECT_EQ(1000u, CountHashes<CVersion>(
                         [](unsigned int u)
                         {
                             CVersion version;
                             version.SetMajor(static_cast<unsigned char>(u / 500 % 2));
                             version.SetMinor(static_cast<unsigned char>(u / 100 % 5));
                             version.SetRelease(static_cast<unsigned char>(u / 10 % 10));
                             version.SetBuild(static_cast<unsigned char>(u % 10));
                             return version;
                         }));
}

// ------------------------------------------------------------------------------------------------------------ output

template <typename Type>
std::string Printed(const Type& rValue)
{
    std::ostringstream stream;
    stream << std::left << std::setfill('*') << std::setw(30) << rValue << rValue;
    return stream.str();
}

TEST(CStandardOutput, IsThatOfTheSameText)
{
    const std::string withNul = "some\0text"s;
    CString str;
    ASSERT_EQ(QV_RES_OK, QvAssign(str, withNul));
    EXPECT_EQ(Printed(withNul), Printed(str));
    EXPECT_EQ(Printed(""s), Printed(CString()));
    EXPECT_EQ(Printed("1.20.255.0"s), Printed(CVersion("1.20.255.0")));
    EXPECT_EQ(Printed("255.255.255.255"s), Printed(CVersion("255.255.255.255")));
    EXPECT_EQ(Printed("2026-11-22T11:46:07.250Z"s), Printed(TimeOf(2461367, 42367250)));
}

TEST(CStandardOutput, OfATimeIsThatOfTheCLibrary)
{
    std::mt19937 rng(TestSeed());
    for (unsigned int u = 0; u < 1000; ++u)
    {
        // From the year 1 to 65535, days of up to 49 times 24 hours among them.
        const unsigned int uJulianDay = 1721426 + Below(rng, 23936000);
        const unsigned int uTimeMs = Below(rng, u % 2 == 0 ? 86400000 : 0xFFFFFFFF);
        const time_t nSeconds = (int64_t{uJulianDay} - 2440588) * 86400 + uTimeMs / 1000;
        tm stTime;
        ASSERT_NE(nullptr, gmtime_r(&nSeconds, &stTime));
        char szTime[40], szExpected[80];
        strftime(szTime, sizeof(szTime), "-%m-%dT%H:%M:%S", &stTime);
        snprintf(szExpected, sizeof(szExpected), "%04d%s.%03uZ", stTime.tm_year + 1900, szTime, uTimeMs % 1000);
        CTime time = TimeOf(uJulianDay, uTimeMs);
        time.SetTimeZone(pszTIMEZONE_TOKYO);
        std::ostringstream stream;
        stream << time;
        ASSERT_EQ(szExpected, stream.str());
    }
}

#ifdef __cpp_lib_format
TEST(CStandardOutput, IsFormatted)
{
    EXPECT_EQ("[  text|1.2.3.4---]", std::format("[{:>6}|{:-<10}]", CString("text"), CVersion("1.2.3.4")));
    EXPECT_EQ("2026-11-22T11:46:07.250Z", std::format("{}", TimeOf(2461367, 42367250)));
}
#endif

#ifdef FMT_VERSION
TEST(CStandardOutput, IsFormattedByFmt)
{
    EXPECT_EQ("[  text|1.2.3.4---]", fmt::format("[{:>6}|{:-<10}]", CString("text"), CVersion("1.2.3.4")));
    EXPECT_EQ("2026-11-22T11:46:07.250Z", fmt::format("{}", TimeOf(2461367, 42367250)));
}
#endif
}  // namespace
