#include "framework/basic/map.h"

#include <benchmark/benchmark.h>

#include <map>
#include <string>

#include "bench/support/containers.h"
#include "bench/support/words.h"
#include "framework/basic/string.h"

namespace
{
// Keys in an order that branch prediction cannot learn.
std::vector<int> KeysBelow(std::int64_t nCount)
{
    std::vector<int> keys(std::size_t{1} << 17);
    std::uint64_t uState = 1;
    for (int& rnKey : keys)
    {
        uState = uState * 6364136223846793005u + 1442695040888963407u;
        rnKey = static_cast<int>((uState >> 33) % static_cast<std::uint64_t>(nCount));
    }
    return keys;
}

int ValueOf(const CMap<int, int>& rMap, int nKey)
{
    return rMap.Find(nKey)->value;
}
int ValueOf(const std::map<int, int>& rMap, int nKey)
{
    return rMap.find(nKey)->second;
}

template <typename Map>
void BM_Find(benchmark::State& rState)
{
    Map map;
    for (const int n : ShuffledInts(rState.range(0))) map[n] = n;
    const std::vector<int> keys = KeysBelow(rState.range(0));
    std::size_t uNext = 0;
    for (auto _ : rState)
    {
        int nValue = ValueOf(map, keys[uNext]);
        benchmark::DoNotOptimize(nValue);
        uNext = (uNext + 1) % keys.size();
    }
}

template <typename Map>
void BM_Count(benchmark::State& rState)
{
    Map map;
    for (const int n : ShuffledInts(rState.range(0))) map[n] = 0;
    const std::vector<int> keys = KeysBelow(rState.range(0));
    std::size_t uNext = 0;
    for (auto _ : rState)
    {
        ++map[keys[uNext]];
        uNext = (uNext + 1) % keys.size();
    }
}

void Put(CMap<int, int>& rMap, int n)
{
    static_cast<void>(rMap.Insert(n, n));
}
void Put(std::map<int, int>& rMap, int n)
{
    rMap.emplace(n, n);
}

template <typename Map>
void BM_Insert(benchmark::State& rState)
{
    std::vector<int> numbers = ShuffledInts(rState.range(0));
    std::uint32_t uState = 1;
    for (auto _ : rState)
    {
        rState.PauseTiming();
        Reshuffle(numbers, uState);
        {
            Map map;
            rState.ResumeTiming();
            for (const int n : numbers) Put(map, n);
            benchmark::ClobberMemory();
            rState.PauseTiming();
        }
        rState.ResumeTiming();
    }
    rState.SetItemsProcessed(rState.iterations() * rState.range(0));
}

void BM_WordsOurs(benchmark::State& rState)
{
    const std::string strText = TextOf(rState);
    for (auto _ : rState)
    {
        CMap<CString, long> counts;
        CString strWord;
        ForEachWord(strText,
                    [&](const char* pcWord, std::size_t uSize)
                    {
                        strWord.EraseAll();
                        static_cast<void>(strWord.Insert(0, 1, pcWord, static_cast<unsigned int>(uSize)));
                        ++counts[strWord];
                    });
        benchmark::DoNotOptimize(counts.GetSize());
    }
    rState.SetBytesProcessed(rState.iterations() * rState.range(0));
}

using Ours = CMap<int, int>;
using Peer = std::map<int, int>;
BENCHMARK(BM_Find<Ours>)->Name("map find/ours")->Arg(1000)->Arg(100000);
BENCHMARK(BM_Find<Peer>)->Name("map find/std::map")->Arg(1000)->Arg(100000);
BENCHMARK(BM_Count<Ours>)->Name("map count/ours")->Arg(1000)->Arg(100000);
BENCHMARK(BM_Count<Peer>)->Name("map count/std::map")->Arg(1000)->Arg(100000);
BENCHMARK(BM_Insert<Ours>)->Name("map insert/ours")->Arg(1000)->Arg(100000);
BENCHMARK(BM_Insert<Peer>)->Name("map insert/std::map")->Arg(1000)->Arg(100000);
// The bytes, and how many words are different: 0 for a log, where it is some 120,000.
void WordCounts(benchmark::internal::Benchmark* pBenchmark)
{
    pBenchmark->Unit(benchmark::kMillisecond);
    for (const std::int64_t nVocabulary : {0, 1000, 1000000}) pBenchmark->Args({40000000, nVocabulary});
}
BENCHMARK(BM_WordsOurs)->Name("map word count/ours")->Apply(WordCounts);
BENCHMARK(BM_CountWordsInStdMap)->Name("map word count/std::map")->Apply(WordCounts);
}  // namespace
