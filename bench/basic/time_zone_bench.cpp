#include "framework/basic/time_zone.h"

#include <benchmark/benchmark.h>
#include <time.h>

#include <cstdio>
#include <cstdlib>

#include "framework/basic/time.h"

namespace
{
constexpr unsigned int g_uEPOCH = 2440588;
constexpr time_t g_nSTART = 1704067200;  // 1 January 2024
constexpr int g_nSPAN = 366 * 86400;
constexpr int g_nSTEP = 7919;

time_t Next(time_t t)
{
    return t + g_nSTEP < g_nSTART + g_nSPAN ? t + g_nSTEP : t + g_nSTEP - g_nSPAN;
}

struct SMoment
{
    explicit SMoment(time_t t)
        : uJulianDay(static_cast<unsigned int>(t / 86400) + g_uEPOCH),
          uTimeMs(static_cast<unsigned int>(t % 86400) * 1000)
    {
    }
    unsigned int uJulianDay;
    unsigned int uTimeMs;
};

// The peer's zone is the process's.
void SetPeer(const char* pszZone)
{
    setenv("TZ", pszZone, 1);
    tzset();
}

// What localtime_r() does: from a count of UTC to the fields of local time.
void BM_FieldsOurs(benchmark::State& rState)
{
    CTime time;
    time.SetTimeZone(pszTIMEZONE_NA_EASTERN);
    time_t t = g_nSTART;
    unsigned short auFields[7];
    for (auto _ : rState)
    {
        const SMoment moment(t);
        time.SetJulianDateAndTime(moment.uJulianDay, moment.uTimeMs, true);
        time.GetDateAndTime(auFields[0], auFields[1], auFields[2], auFields[3], auFields[4], auFields[5], auFields[6],
                            false);
        benchmark::DoNotOptimize(auFields);
        t = Next(t);
    }
    rState.SetItemsProcessed(rState.iterations());
}

// The conversion of a pair to a pair.
void BM_PairOurs(benchmark::State& rState)
{
    const CTimeZone zone(pszTIMEZONE_NA_EASTERN);
    time_t t = g_nSTART;
    for (auto _ : rState)
    {
        SMoment moment(t);
        zone.ConvertFromUTCToLocale(moment.uJulianDay, moment.uTimeMs);
        benchmark::DoNotOptimize(moment);
        t = Next(t);
    }
    rState.SetItemsProcessed(rState.iterations());
}

void BM_Peer(benchmark::State& rState)
{
    SetPeer(pszTIMEZONE_NA_EASTERN);
    const CTimeZone zone(pszTIMEZONE_NA_EASTERN);
    time_t t = g_nSTART;
    tm local;
    for (auto _ : rState)
    {
        localtime_r(&t, &local);
        benchmark::DoNotOptimize(local);
        t = Next(t);
    }
    rState.SetItemsProcessed(rState.iterations());

    const SMoment moment(t);
    localtime_r(&t, &local);
    if (local.tm_gmtoff * 1000 == zone.GetOffsetMs(moment.uJulianDay, moment.uTimeMs, true)) return;
    std::fputs("the local times differ\n", stderr);
    std::abort();
}

void BM_BackOurs(benchmark::State& rState)
{
    const CTimeZone zone(pszTIMEZONE_NA_EASTERN);
    time_t t = g_nSTART;
    for (auto _ : rState)
    {
        SMoment moment(t);
        zone.ConvertFromLocaleToUTC(moment.uJulianDay, moment.uTimeMs);
        benchmark::DoNotOptimize(moment);
        t = Next(t);
    }
}

void BM_BackPeer(benchmark::State& rState)
{
    SetPeer(pszTIMEZONE_NA_EASTERN);
    time_t t = g_nSTART;
    for (auto _ : rState)
    {
        tm local = {};
        local.tm_year = 124;
        local.tm_mday = 1 + static_cast<int>((t - g_nSTART) / 86400);
        local.tm_sec = static_cast<int>((t - g_nSTART) % 86400);
        local.tm_isdst = -1;
        benchmark::DoNotOptimize(mktime(&local));
        t = Next(t);
    }
}

void BM_SetOurs(benchmark::State& rState)
{
    CTimeZone zone;
    for (auto _ : rState) benchmark::DoNotOptimize(zone.SetTimeZone(pszTIMEZONE_NA_EASTERN));
}

void BM_CopyOurs(benchmark::State& rState)
{
    const CTimeZone zone(pszTIMEZONE_NA_EASTERN);
    for (auto _ : rState)
    {
        const CTimeZone copy(zone);
        benchmark::DoNotOptimize(&copy);
    }
}

// Two zones in turn: tzset() does nothing for the one it has.
void BM_SetPeer(benchmark::State& rState)
{
    bool bEast = false;
    for (auto _ : rState) SetPeer((bEast = !bEast) ? pszTIMEZONE_NA_EASTERN : pszTIMEZONE_NA_PACIFIC);
}
}  // namespace

BENCHMARK(BM_FieldsOurs)->Name("local time of UTC/ours");
BENCHMARK(BM_PairOurs)->Name("local time of UTC/ours from pair to pair");
BENCHMARK(BM_Peer)->Name("local time of UTC/localtime_r()");
BENCHMARK(BM_BackOurs)->Name("UTC of local time/ours");
BENCHMARK(BM_BackPeer)->Name("UTC of local time/mktime()");
BENCHMARK(BM_SetOurs)->Name("set a zone/ours");
BENCHMARK(BM_CopyOurs)->Name("set a zone/ours by copying");
BENCHMARK(BM_SetPeer)->Name("set a zone/setenv() and tzset()");
