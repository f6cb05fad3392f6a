#ifndef BENCH_SUPPORT_BENCH_DATA_H
#define BENCH_SUPPORT_BENCH_DATA_H
#include <stddef.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>

#include <random>
#include <vector>

/// The same uSize bytes on every run.
inline std::vector<uint8_t> FixedBytes(size_t uSize)
{
    std::mt19937 rng(20260923);
    std::vector<uint8_t> bytes(uSize);
    for (uint8_t& ruByte : bytes) ruByte = static_cast<uint8_t>(rng());
    return bytes;
}

/// Ends the run where ours and the peer differ: a wrong answer has no speed.
inline void RequireEqual(bool bEqual, const char* pszWhat)
{
    if (bEqual) return;
    fprintf(stderr, "%s: ours and the peer differ\n", pszWhat);
    exit(1);
}

#endif
