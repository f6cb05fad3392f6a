// Strings, blobs, marshalers, times and zones used before the start-up or after the shut-down end the process with one
// line that names the class; what may outlive the framework does.
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <cstdlib>
#include <new>
#include <optional>
#include <string>

#include "framework/basic/blob.h"
#include "framework/basic/marshaler.h"
#include "framework/basic/string.h"
#include "framework/basic/time.h"
#include "framework/basic/time_zone.h"
#include "framework/kernel/framework_initializer.h"
#include "tests/support/object_bytes.h"
#include "tests/support/string_probe.h"

namespace
{
/// Objects that were made while the framework was up.
struct SLeftOver
{
    CString strText{"some text"};
    CString strShared{strText};
    CString strEmpty;
    CTimeZone zone{pszTIMEZONE_NA_EASTERN};
    CMarshaler marshaler;
    CTime time;
};
std::optional<SLeftOver> g_leftOver;

struct SUse
{
    const char* pszName;
    const char* pszClass;
    void (*pfnUse)();
};

void PrintTo(const SUse& rstUse, std::ostream* pStream)
{
    *pStream << rstUse.pszName;
}

template <typename T>
void Make()
{
    const T object;
}

void InsertBytes(CMarshaler& rMarshaler, unsigned int uSize)
{
    const unsigned char auBytes[1000] = {};
    rMarshaler.Insert(auBytes, uSize);
}

const SUse g_astUSES[] = {
    {"String", "CString", Make<CString>},
    {"StringOfAText", "CString", [] { const CString str("text"); }},
    {"StringOfCharacters", "CString", [] { const CString str("text", 4); }},
    {"StringModuleDown", "CString", [] { CString::FinalizeCString(); }},
    {"StringLock", "CString", [] { CStringProbe::MutexLock(); }},
    {"StringUnlock", "CString", [] { CStringProbe::MutexUnlock(); }},
    {"Blob", "CBlob", Make<CBlob>},
    {"BlobOfACapacity", "CBlob", [] { const CBlob blob(100, nullptr); }},
    {"BlobOfBytes", "CBlob", [] { const CBlob blob(reinterpret_cast<const unsigned char*>("text"), 4); }},
    {"MarshalerOf1000Bytes", "CMarshaler",
     []
     {
         CMarshaler marshaler;
         InsertBytes(marshaler, 1000);
     }},
    {"MarshalerOf57Bytes", "CMarshaler",
     []
     {
         CMarshaler marshaler;
         InsertBytes(marshaler, 57);
     }},
    {"MarshalerOfIntegers", "CMarshaler",
     []
     {
         CMarshaler marshaler;
         for (unsigned int u = 0; u < 15; ++u) marshaler << u;
     }},
    {"Time", "CTime", Make<CTime>},
    {"TimeClock", "CTime",
     []
     {
         unsigned int u;
         bool b;
         CTime::PinTime(u, u, b);
     }},
    {"TimeSystemZone", "CTime", [] { CTime::GetSystemTimeZone(); }},
    {"TimeSetSystemZone", "CTime", [] { CTime::SetSystemTimeZone("UTC0"); }},
    {"TimeGmt", "CTime",
     []
     {
         tm stTime;
         CTime::GetGmtTime(stTime);
     }},
    {"TimeModuleDown", "CTime", [] { CTime::FinalizeCTime(); }},
    {"Zone", "CTimeZone", Make<CTimeZone>},
    {"ZoneOfAText", "CTimeZone", [] { const CTimeZone zone("UTC0"); }},
};

/// Uses of what was made while the framework was up.
const SUse g_astLATE_USES[] = {
    {"StringCopied", "CString", [] { const CString str(g_leftOver->strText); }},
    {"EmptyStringCopied", "CString", [] { const CString str(g_leftOver->strEmpty); }},
    {"StringAssigned", "CString", [] { g_leftOver->strEmpty = g_leftOver->strText; }},
    {"StringMoved", "CString", [] { const CString str(static_cast<CString&&>(g_leftOver->strText)); }},
    {"StringGrown", "CString", [] { static_cast<void>(g_leftOver->strText.ReserveCapacity(100)); }},
    {"EmptyStringGrown", "CString", [] { g_leftOver->strEmpty += "text"; }},
    {"SharedStringChanged", "CString", [] { g_leftOver->strText.SetAt(0, 'S'); }},
    {"SharedStringAppendedTo", "CString", [] { g_leftOver->strText += 's'; }},
    {"StringSum", "CString", [] { const CString str(g_leftOver->strText + 's'); }},
    {"MarshalerGrown", "CMarshaler", [] { InsertBytes(g_leftOver->marshaler, 57); }},
    {"TimeCopied", "CTime", [] { const CTime time(g_leftOver->time); }},
    {"ZoneCopied", "CTimeZone", [] { const CTimeZone zone(g_leftOver->zone); }},
    {"ZoneSet", "CTimeZone", [] { static_cast<void>(g_leftOver->zone.SetTimeZone("UTC0")); }},
    {"ZoneAssigned", "CTimeZone", [] { g_leftOver->zone = g_leftOver->zone; }},
};

std::string LineOf(const char* pszClass, const char* pszReason)
{
    return std::string("^liborvel_framework: ") + pszClass + " is used" + pszReason + "\n$";
}

class CDataOutsideLifetime : public testing::TestWithParam<SUse>
{
protected:
    void SetUp() override
    {
        GTEST_FLAG_SET(death_test_style, "fast");
        const rlimit stNoCore = {0, 0};
        setrlimit(RLIMIT_CORE, &stNoCore);
    }
    void ExpectTheEndAfterTheShutDown()
    {
        const auto UseTooLate = []
        {
            static_cast<void>(CFrameworkInitializer::Initialize());
            g_leftOver.emplace();
            CFrameworkInitializer::Finalize();
            GetParam().pfnUse();
        };
        EXPECT_EXIT(UseTooLate(), testing::KilledBySignal(SIGABRT),
                    LineOf(GetParam().pszClass, " after the last Finalize\\(\\): the framework is down"));
    }
};
class CDataTooLate : public CDataOutsideLifetime
{
};
}  // namespace

TEST_P(CDataOutsideLifetime, EndsTheProcessBeforeTheStartUp)
{
    EXPECT_EXIT(GetParam().pfnUse(), testing::KilledBySignal(SIGABRT),
                LineOf(GetParam().pszClass, ", but CFrameworkInitializer::Initialize\\(\\) was not called"));
}

TEST_P(CDataOutsideLifetime, EndsTheProcessAfterTheShutDown)
{
    ExpectTheEndAfterTheShutDown();
}

TEST_P(CDataTooLate, EndsTheProcessAfterTheShutDown)
{
    ExpectTheEndAfterTheShutDown();
}

INSTANTIATE_TEST_SUITE_P(Uses, CDataOutsideLifetime, testing::ValuesIn(g_astUSES),
                         [](const auto& rInfo) { return std::string(rInfo.param.pszName); });
INSTANTIATE_TEST_SUITE_P(Uses, CDataTooLate, testing::ValuesIn(g_astLATE_USES),
                         [](const auto& rInfo) { return std::string(rInfo.param.pszName); });

TEST(CDataWithoutFramework, ShortMarshalersAndTheCalendarNeedNone)
{
    CMarshaler marshaler;
    InsertBytes(marshaler, 52);
    marshaler << 5u;
    CMarshaler copy(marshaler);
    copy.Skip(52);
    unsigned int uValue = 0;
    copy >> uValue;
    EXPECT_EQ(5u, uValue);
    EXPECT_EQ(2451545u, CTime::GetJulianDate(2000, 1, 1));
    EXPECT_TRUE(CTimeZone::IsLeapYear(2024));
}

TEST(CDataWithoutFramework, APoolThatIsNotSetUpGivesAndTakesNothing)
{
    EXPECT_EQ(nullptr, CPool<CMarshaler>::Allocate());
    unsigned char auBlock[sizeof(CMarshaler)] = {};
    CPool<CMarshaler>::Deallocate(auBlock);
    EXPECT_EQ(0u, CPool<CMarshaler>::ms_uAllocatedCount);
}

TEST(CDataWithoutFramework, StartUpClearsTheEmptyBlockOfStrings)
{
    // In a child: see below.
    const auto RunAndExit = []
    {
        EXPECT_EQ(QV_RES_OK, CFrameworkInitializer::Initialize());
        CString::FinalizeCString();
        for (unsigned int u = 0; u < 7; ++u) CStringProbe::ms_auEmptyStringInfo[u] = 0xFF;
        EXPECT_EQ(QV_RES_OK, CString::InitializeCString());
        for (unsigned int u = 0; u < 7; ++u) EXPECT_EQ(0, CStringProbe::ms_auEmptyStringInfo[u]) << u;
        std::exit(HasFailure() ? 1 : 0);
    };
    EXPECT_EXIT(RunAndExit(), testing::ExitedWithCode(0), "^$");
}

namespace
{
void ReadAndDestroyWhatIsLeft()
{
    struct SLeft
    {
        CString strText{"some text"};
        CString strShared{strText};
        CString strEmpty;
        CTimeZone zone;
        CMarshaler marshaler;
        CBlob blob;
    };
    ASSERT_EQ(QV_RES_OK, CFrameworkInitializer::Initialize());
    auto left = std::make_optional<SLeft>();
    InsertBytes(left->marshaler, 100);
    CFrameworkInitializer::Finalize();

    EXPECT_STREQ("some text", left->strText.CStr());
    EXPECT_TRUE(left->strText == left->strShared);
    EXPECT_STREQ("", left->strEmpty.CStr());
    EXPECT_EQ(0, left->zone.GetOffsetMs(2451545, 0, true));
    EXPECT_EQ(100u, left->marshaler.GetUnreadSize());
    EXPECT_EQ(0u, left->blob.GetSize());

    // The text's block and the segment are left behind. Freed here, they would be freed twice otherwise, which the
    // sanitizer tells.
    void* const apvLeft[] = {const_cast<char*>(left->strText.CStr()) - sizeof(SStringHeader),
                             LoadAt<void*>(&left->marshaler, sizeof(CMarshaler) - sizeof(void*))};
    left.reset();
    for (void* const pv : apvLeft) ::operator delete[](pv);
}
}  // namespace

TEST(CDataWithoutFramework, WhatIsLeftMayBeReadAndDestroyed)
{
    // In a child, since the tests before and behind this one need a process that has never been up.
    const auto RunAndExit = []
    {
        ReadAndDestroyWhatIsLeft();
        std::exit(HasFailure() ? 1 : 0);
    };
    EXPECT_EXIT(RunAndExit(), testing::ExitedWithCode(0), "^$");
}
