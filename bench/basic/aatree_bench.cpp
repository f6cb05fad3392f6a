#include "framework/basic/aatree.h"

#include <benchmark/benchmark.h>

#include <set>
#include <string>

#include "bench/support/containers.h"
#include "bench/support/words.h"
#include "framework/basic/string.h"

namespace
{
using CPeer = std::set<int, SCallbackLess>;

CPeer MakePeer()
{
    return CPeer(SCallbackLess{OpaqueCompare()});
}

void BM_FindOurs(benchmark::State& rState)
{
    const std::vector<int> numbers = ShuffledInts(rState.range(0));
    CAATree<int> tree(OpaqueCompare(), 0);
    for (const int n : numbers) static_cast<void>(tree.Insert(n));
    std::size_t uNext = 0;
    for (auto _ : rState)
    {
        benchmark::DoNotOptimize(tree.Find(numbers[uNext]));
        if (++uNext == numbers.size()) uNext = 0;
    }
}

void BM_FindStd(benchmark::State& rState)
{
    const std::vector<int> numbers = ShuffledInts(rState.range(0));
    CPeer tree = MakePeer();
    for (const int n : numbers) tree.insert(n);
    std::size_t uNext = 0;
    for (auto _ : rState)
    {
        benchmark::DoNotOptimize(tree.find(numbers[uNext]));
        if (++uNext == numbers.size()) uNext = 0;
    }
}

void BM_InsertOurs(benchmark::State& rState)
{
    const std::vector<int> numbers = ShuffledInts(rState.range(0));
    CAATree<int> tree(OpaqueCompare(), 0);
    for (auto _ : rState)
    {
        for (const int n : numbers) static_cast<void>(tree.Insert(n));
        rState.PauseTiming();
        tree.EraseAll();
        tree.ReduceCapacity(0);
        rState.ResumeTiming();
    }
    rState.SetItemsProcessed(rState.iterations() * rState.range(0));
}

void BM_InsertStd(benchmark::State& rState)
{
    const std::vector<int> numbers = ShuffledInts(rState.range(0));
    CPeer tree = MakePeer();
    for (auto _ : rState)
    {
        for (const int n : numbers) tree.insert(n);
        rState.PauseTiming();
        tree.clear();
        rState.ResumeTiming();
    }
    rState.SetItemsProcessed(rState.iterations() * rState.range(0));
}

void BM_EraseOurs(benchmark::State& rState)
{
    const std::vector<int> numbers = ShuffledInts(rState.range(0));
    CAATree<int> tree(OpaqueCompare(), 0);
    for (auto _ : rState)
    {
        rState.PauseTiming();
        tree.ReduceCapacity(0);
        for (const int n : numbers) static_cast<void>(tree.Insert(n));
        rState.ResumeTiming();
        for (const int n : numbers) tree.EraseElement(n);
    }
    rState.SetItemsProcessed(rState.iterations() * rState.range(0));
}

void BM_EraseStd(benchmark::State& rState)
{
    const std::vector<int> numbers = ShuffledInts(rState.range(0));
    CPeer tree = MakePeer();
    for (auto _ : rState)
    {
        rState.PauseTiming();
        for (const int n : numbers) tree.insert(n);
        rState.ResumeTiming();
        for (const int n : numbers) tree.erase(n);
    }
    rState.SetItemsProcessed(rState.iterations() * rState.range(0));
}

template <bool BY_INDEX>
void BM_ScanOurs(benchmark::State& rState)
{
    CAATree<int> tree(OpaqueCompare(), 0);
    for (const int n : ShuffledInts(rState.range(0))) static_cast<void>(tree.Insert(n));
    for (auto _ : rState)
    {
        int nSum = 0;
        if (BY_INDEX)
        {
            for (unsigned int u = 0; u < tree.GetSize(); ++u) nSum += *tree.GetAt(u);
        }
        else
        {
            for (const int n : tree) nSum += n;
        }
        benchmark::DoNotOptimize(nSum);
    }
    rState.SetItemsProcessed(rState.iterations() * rState.range(0));
}

void BM_ScanStd(benchmark::State& rState)
{
    CPeer tree = MakePeer();
    for (const int n : ShuffledInts(rState.range(0))) tree.insert(n);
    for (auto _ : rState)
    {
        int nSum = 0;
        for (const int n : tree) nSum += n;
        benchmark::DoNotOptimize(nSum);
    }
    rState.SetItemsProcessed(rState.iterations() * rState.range(0));
}

// The order of `<`, built in by the compiler on both sides. The keys come in an order that branch
// prediction cannot learn: there are far more keys than outcomes of comparisons that the processor remembers.
template <typename Tree>
void Fill(Tree& rTree, const std::vector<int>& rNumbers)
{
    for (const int n : rNumbers) rTree.insert(n);
}
void Fill(CAATree<int>& rTree, const std::vector<int>& rNumbers)
{
    for (const int n : rNumbers) static_cast<void>(rTree.Insert(n));
}
const int& ValueOf(const CAATree<int>& rTree, int n)
{
    return *rTree.Find(n);
}
const int& ValueOf(const std::set<int>& rTree, int n)
{
    return *rTree.find(n);
}

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

template <typename Tree>
void BM_FindInline(benchmark::State& rState)
{
    Tree tree;
    Fill(tree, ShuffledInts(rState.range(0)));
    const std::vector<int> keys = KeysBelow(rState.range(0));
    std::size_t uNext = 0;
    for (auto _ : rState)
    {
        int nValue = ValueOf(tree, keys[uNext]);
        benchmark::DoNotOptimize(nValue);
        uNext = (uNext + 1) % keys.size();
    }
}

template <typename Tree>
void BM_InsertInline(benchmark::State& rState)
{
    std::vector<int> numbers = ShuffledInts(rState.range(0));
    std::uint32_t uState = 1;
    for (auto _ : rState)
    {
        rState.PauseTiming();
        Reshuffle(numbers, uState);
        {
            Tree tree;
            rState.ResumeTiming();
            Fill(tree, numbers);
            benchmark::ClobberMemory();
            rState.PauseTiming();
        }
        rState.ResumeTiming();
    }
    rState.SetItemsProcessed(rState.iterations() * rState.range(0));
}

// The words of a log, counted: each is looked for, and most are there.
struct SWord
{
    CString strText;
    long nCount = 1;

    friend bool operator<(const SWord& rFirst, const SWord& rSecond) { return rFirst.strText < rSecond.strText; }
};

void BM_WordsOurs(benchmark::State& rState)
{
    const std::string strLog = MakeLog(static_cast<std::size_t>(rState.range(0)));
    for (auto _ : rState)
    {
        CAATree<SWord> words;
        SWord word;
        ForEachWord(strLog,
                    [&](const char* pcWord, std::size_t uSize)
                    {
                        word.strText.EraseAll();
                        static_cast<void>(word.strText.Insert(0, 1, pcWord, static_cast<unsigned int>(uSize)));
                        if (const auto found = words.Find(word)) ++found->nCount;
                        else static_cast<void>(words.Insert(word));
                    });
        benchmark::DoNotOptimize(words.GetSize());
    }
    rState.SetBytesProcessed(rState.iterations() * rState.range(0));
}

BENCHMARK(BM_FindOurs)->Name("tree find/ours")->Arg(1000)->Arg(100000);
BENCHMARK(BM_FindStd)->Name("tree find/std::set")->Arg(1000)->Arg(100000);
BENCHMARK(BM_InsertOurs)->Name("tree insert/ours")->Arg(1000)->Arg(100000);
BENCHMARK(BM_InsertStd)->Name("tree insert/std::set")->Arg(1000)->Arg(100000);
BENCHMARK(BM_EraseOurs)->Name("tree erase/ours")->Arg(1000)->Arg(100000);
BENCHMARK(BM_EraseStd)->Name("tree erase/std::set")->Arg(1000)->Arg(100000);
BENCHMARK(BM_ScanOurs<false>)->Name("tree scan/ours")->Arg(1000)->Arg(100000);
BENCHMARK(BM_ScanStd)->Name("tree scan/std::set")->Arg(1000)->Arg(100000);
BENCHMARK(BM_ScanOurs<true>)->Name("tree scan by index/ours")->Arg(1000)->Arg(100000);
BENCHMARK(BM_ScanStd)->Name("tree scan by index/std::set iterators")->Arg(1000)->Arg(100000);
BENCHMARK(BM_FindInline<CAATree<int>>)->Name("tree find inline/ours")->Arg(1000)->Arg(100000);
BENCHMARK(BM_FindInline<std::set<int>>)->Name("tree find inline/std::set")->Arg(1000)->Arg(100000);
BENCHMARK(BM_InsertInline<CAATree<int>>)->Name("tree insert inline/ours")->Arg(1000)->Arg(100000);
BENCHMARK(BM_InsertInline<std::set<int>>)->Name("tree insert inline/std::set")->Arg(1000)->Arg(100000);
BENCHMARK(BM_WordsOurs)->Name("tree word count/ours")->Arg(40000000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_CountWordsInStdMap)->Name("tree word count/std::map")->Arg(40000000)->Unit(benchmark::kMillisecond);
}  // namespace
