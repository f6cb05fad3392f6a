#include "framework/basic/map.h"

#include <benchmark/benchmark.h>

#include <map>
#include <string>

#include "bench/support/containers.h"
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
    rMap.Insert(n, n);
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
        for (std::size_t u = numbers.size(); u > 1; --u)
        {
            uState = uState * 1664525u + 1013904223u;
            std::swap(numbers[u - 1], numbers[(uState >> 8) % u]);
        }
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

// Words of a text as a program meets them: a few thousand, of which some are frequent, and numbers that hardly recur.
std::vector<std::string> MakeText(std::size_t uWords)
{
    std::uint64_t uState = 1;
    const auto below = [&uState](unsigned int uLimit)
    {
        uState = uState * 6364136223846793005u + 1442695040888963407u;
        return static_cast<unsigned int>((uState >> 33) % uLimit);
    };
    std::vector<std::string> words(4000);
    for (std::string& rstrWord : words)
    {
        for (unsigned int u = 3 + below(9); u != 0; --u) rstrWord += static_cast<char>('a' + below(26));
    }
    std::vector<std::string> text;
    while (text.size() < uWords)
    {
        text.push_back(words[below(50)]);
        for (unsigned int u = 0; u < 3; ++u) text.push_back(words[below(1 + below(4000))]);
        text.push_back("user" + std::to_string(below(20000)));
        text.push_back(std::to_string(below(100000)));
    }
    return text;
}

void Assign(CString& rstrWord, const std::string& rstrText)
{
    rstrWord.EraseAll();
    rstrWord.Insert(0, 1, rstrText.data(), static_cast<unsigned int>(rstrText.size()));
}
void Assign(std::string& rstrWord, const std::string& rstrText)
{
    rstrWord.assign(rstrText);
}
unsigned int SizeOf(const CMap<CString, long>& rMap)
{
    return rMap.GetSize();
}
std::size_t SizeOf(const std::map<std::string, long>& rMap)
{
    return rMap.size();
}

template <typename Map, typename String>
void BM_Words(benchmark::State& rState)
{
    const std::vector<std::string> text = MakeText(static_cast<std::size_t>(rState.range(0)));
    for (auto _ : rState)
    {
        Map counts;
        String strWord;
        for (const std::string& rstrText : text)
        {
            Assign(strWord, rstrText);
            ++counts[strWord];
        }
        benchmark::DoNotOptimize(SizeOf(counts));
    }
    rState.SetItemsProcessed(rState.iterations() * rState.range(0));
}

using Ours = CMap<int, int>;
using Peer = std::map<int, int>;
BENCHMARK(BM_Find<Ours>)->Name("map find/ours")->Arg(1000)->Arg(100000);
BENCHMARK(BM_Find<Peer>)->Name("map find/std::map")->Arg(1000)->Arg(100000);
BENCHMARK(BM_Count<Ours>)->Name("map count/ours")->Arg(1000)->Arg(100000);
BENCHMARK(BM_Count<Peer>)->Name("map count/std::map")->Arg(1000)->Arg(100000);
BENCHMARK(BM_Insert<Ours>)->Name("map insert/ours")->Arg(1000)->Arg(100000);
BENCHMARK(BM_Insert<Peer>)->Name("map insert/std::map")->Arg(1000)->Arg(100000);
BENCHMARK(BM_Words<CMap<CString, long>, CString>)
    ->Name("map word count/ours")
    ->Arg(1000000)
    ->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Words<std::map<std::string, long>, std::string>)
    ->Name("map word count/std::map")
    ->Arg(1000000)
    ->Unit(benchmark::kMillisecond);
}  // namespace
