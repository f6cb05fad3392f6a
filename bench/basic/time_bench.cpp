#include "framework/basic/time.h"

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <vector>

namespace
{
namespace chrono = std::chrono;

constexpr unsigned int g_uEPOCH = 2440588;

/// Days of five centuries, in no order.
std::vector<unsigned int> SomeDays()
{
    std::vector<unsigned int> days(4096);
    unsigned int uRandom = 1;
    for (unsigned int& ruDay : days)
    {
        uRandom = uRandom * 1664525u + 1013904223u;
        ruDay = 2350000 + uRandom % 180000;
    }
    return days;
}

struct SDate
{
    unsigned short uYear;
    unsigned short uMonth;
    unsigned short uDay;
};

SDate DateOurs(unsigned int uJulianDay)
{
    SDate date;
    CTime::GetGregorianDate(uJulianDay, &date.uYear, &date.uMonth, &date.uDay);
    return date;
}

// Out of line, as ours is.
__attribute__((noinline)) void DateChrono(unsigned int uJulianDay, unsigned short* puYear, unsigned short* puMonth,
                                          unsigned short* puDay)
{
    const chrono::year_month_day date(chrono::sys_days(chrono::days(static_cast<int>(uJulianDay - g_uEPOCH))));
    *puYear = static_cast<unsigned short>(static_cast<int>(date.year()));
    *puMonth = static_cast<unsigned short>(static_cast<unsigned int>(date.month()));
    *puDay = static_cast<unsigned short>(static_cast<unsigned int>(date.day()));
}

SDate DatePeer(unsigned int uJulianDay)
{
    SDate date;
    DateChrono(uJulianDay, &date.uYear, &date.uMonth, &date.uDay);
    return date;
}

// The peer as its users have it, inlined.
SDate DatePeerInlined(unsigned int uJulianDay)
{
    const chrono::year_month_day date(chrono::sys_days(chrono::days(static_cast<int>(uJulianDay - g_uEPOCH))));
    return {static_cast<unsigned short>(static_cast<int>(date.year())),
            static_cast<unsigned short>(static_cast<unsigned int>(date.month())),
            static_cast<unsigned short>(static_cast<unsigned int>(date.day()))};
}

template <SDate (*pfnDate)(unsigned int)>
void BM_Date(benchmark::State& rState)
{
    const std::vector<unsigned int> days = SomeDays();
    for (const unsigned int uDay : days)
    {
        const SDate date = pfnDate(uDay);
        if (CTime::GetJulianDate(date.uYear, date.uMonth, date.uDay) == uDay) continue;
        std::fputs("a date differs\n", stderr);
        std::abort();
    }
    for (auto _ : rState)
    {
        for (const unsigned int uDay : days)
        {
            SDate date = pfnDate(uDay);
            benchmark::DoNotOptimize(date);
        }
    }
    rState.SetItemsProcessed(rState.iterations() * static_cast<std::int64_t>(days.size()));
}

void BM_DayOurs(benchmark::State& rState)
{
    unsigned short uYear = 1970;
    for (auto _ : rState)
    {
        benchmark::DoNotOptimize(uYear);
        benchmark::DoNotOptimize(CTime::GetJulianDate(uYear, 5, 6));
    }
}

void BM_DayPeer(benchmark::State& rState)
{
    int nYear = 1970;
    for (auto _ : rState)
    {
        benchmark::DoNotOptimize(nYear);
        const chrono::sys_days day = chrono::year(nYear) / chrono::May / 6;
        benchmark::DoNotOptimize(day.time_since_epoch().count());
    }
}

void BM_NowOurs(benchmark::State& rState)
{
    unsigned int uJulianDay = 0;
    unsigned int uTimeMs = 0;
    bool bDefault = false;
    for (auto _ : rState)
    {
        CTime::PinTime(uJulianDay, uTimeMs, bDefault);
        benchmark::DoNotOptimize(uTimeMs);
    }
}

void BM_NowObject(benchmark::State& rState)
{
    for (auto _ : rState)
    {
        const CTime now;
        benchmark::DoNotOptimize(&now);
    }
}

void BM_NowPeer(benchmark::State& rState)
{
    for (auto _ : rState) benchmark::DoNotOptimize(chrono::system_clock::now());
}
}  // namespace

BENCHMARK(BM_Date<DateOurs>)->Name("date of a Julian day/ours");
BENCHMARK(BM_Date<DatePeer>)->Name("date of a Julian day/std::chrono");
BENCHMARK(BM_Date<DatePeerInlined>)->Name("date of a Julian day/std::chrono inlined");
BENCHMARK(BM_DayOurs)->Name("Julian day of a date/ours");
BENCHMARK(BM_DayPeer)->Name("Julian day of a date/std::chrono inlined");
BENCHMARK(BM_NowOurs)->Name("clock/ours");
BENCHMARK(BM_NowObject)->Name("clock/ours in a new CTime with its zone");
BENCHMARK(BM_NowPeer)->Name("clock/std::chrono::system_clock");
