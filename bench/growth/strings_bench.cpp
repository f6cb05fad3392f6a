// How the cost of a character grows with the length of a text, for the page of figures.
#include <benchmark/benchmark.h>

#include <string>

#include "framework/basic/string.h"

namespace
{
template <typename String>
void BM_AppendCharacters(benchmark::State& rState)
{
    for (auto _ : rState)
    {
        String text;
        for (std::int64_t n = 0; n < rState.range(0); ++n) text += 'x';
        benchmark::DoNotOptimize(text);
    }
    rState.SetItemsProcessed(rState.iterations() * rState.range(0));
}

template <typename String>
void BM_AppendWords(benchmark::State& rState)
{
    const String word("framework ");
    for (auto _ : rState)
    {
        String text;
        for (std::int64_t n = 0; n < rState.range(0); n += 10) text += word;
        benchmark::DoNotOptimize(text);
    }
    rState.SetItemsProcessed(rState.iterations() * rState.range(0));
}

template <typename String>
String TextOf(std::int64_t nSize)
{
    return String(std::string(static_cast<std::size_t>(nSize), 'x').c_str());
}

template <typename String>
void BM_Copy(benchmark::State& rState)
{
    const String text = TextOf<String>(rState.range(0));
    for (auto _ : rState)
    {
        const String copy(text);
        benchmark::DoNotOptimize(copy);
    }
    rState.SetItemsProcessed(rState.iterations() * rState.range(0));
}

template <typename String>
void BM_Equal(benchmark::State& rState)
{
    const String text = TextOf<String>(rState.range(0));
    const String same = TextOf<String>(rState.range(0));
    for (auto _ : rState) benchmark::DoNotOptimize(text == same);
    rState.SetItemsProcessed(rState.iterations() * rState.range(0));
}

// A string holds 65,535 characters at most.
void Sizes(benchmark::internal::Benchmark* pBenchmark)
{
    for (const int nSize : {10, 100, 1000, 10'000, 60'000}) pBenchmark->Arg(nSize);
}

BENCHMARK(BM_AppendCharacters<CString>)->Name("string append characters/ours")->Apply(Sizes);
BENCHMARK(BM_AppendCharacters<std::string>)->Name("string append characters/std::string")->Apply(Sizes);
BENCHMARK(BM_AppendWords<CString>)->Name("string append words/ours")->Apply(Sizes);
BENCHMARK(BM_AppendWords<std::string>)->Name("string append words/std::string")->Apply(Sizes);
BENCHMARK(BM_Copy<CString>)->Name("string copy/ours")->Apply(Sizes);
BENCHMARK(BM_Copy<std::string>)->Name("string copy/std::string")->Apply(Sizes);
BENCHMARK(BM_Equal<CString>)->Name("string compare equal/ours")->Apply(Sizes);
BENCHMARK(BM_Equal<std::string>)->Name("string compare equal/std::string")->Apply(Sizes);
}  // namespace
