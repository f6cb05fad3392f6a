#include "framework/kernel/singleton.h"

#include <benchmark/benchmark.h>

namespace
{
class CService : public CSingleton<CService>
{
public:
    int m_nCalls = 0;
};

class CMeyersService
{
public:
    CMeyersService() { benchmark::ClobberMemory(); }
    static CMeyersService& Instance()
    {
        static CMeyersService instance;
        return instance;
    }
    int m_nCalls = 0;
};

void BM_Ours(benchmark::State& rState)
{
    for (auto _ : rState) benchmark::DoNotOptimize(++CService::Instance()->m_nCalls);
}

void BM_LocalStatic(benchmark::State& rState)
{
    for (auto _ : rState) benchmark::DoNotOptimize(++CMeyersService::Instance().m_nCalls);
}
}  // namespace

BENCHMARK(BM_Ours)->Name("singleton/ours");
BENCHMARK(BM_LocalStatic)->Name("singleton/local static");
