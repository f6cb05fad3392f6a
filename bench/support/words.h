#ifndef BENCH_SUPPORT_WORDS_H
#define BENCH_SUPPORT_WORDS_H
#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

/// The text of a log: lines of a fixed grammar with rare and frequent words, at least uBytes of them.
inline std::string MakeLog(std::size_t uBytes)
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
    std::string strLog;
    while (strLog.size() < uBytes)
    {
        strLog += "2024-" + std::to_string(1 + below(12)) + '-' + std::to_string(1 + below(28)) + " INFO [thread-" +
                  std::to_string(below(16)) + "] " + words[below(50)] + ": user" + std::to_string(below(20000));
        for (unsigned int u = 0; u < 3; ++u) strLog += ' ' + words[below(1 + below(4000))];
        strLog += " id=" + std::to_string(below(100000)) + '\n';
    }
    return strLog;
}

/// Calls action(first character, size) for each word.
template <typename Action>
void ForEachWord(const std::string& rstrLog, Action action)
{
    const auto isLetter = [](char c)
    { return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); };
    const char* const pcEnd = rstrLog.data() + rstrLog.size();
    for (const char* pc = rstrLog.data(); pc < pcEnd;)
    {
        const char* const pcWord = pc;
        while (pc < pcEnd && isLetter(*pc)) ++pc;
        if (pc != pcWord) action(pcWord, static_cast<std::size_t>(pc - pcWord));
        else ++pc;
    }
}

/// The peer: counts the words of a log of as many bytes as the argument says.
inline void BM_CountWordsInStdMap(benchmark::State& rState)
{
    const std::string strLog = MakeLog(static_cast<std::size_t>(rState.range(0)));
    for (auto _ : rState)
    {
        std::map<std::string, long> counts;
        std::string strWord;
        ForEachWord(strLog,
                    [&](const char* pcWord, std::size_t uSize)
                    {
                        strWord.assign(pcWord, uSize);
                        ++counts[strWord];
                    });
        benchmark::DoNotOptimize(counts.size());
    }
    rState.SetBytesProcessed(rState.iterations() * rState.range(0));
}

#endif
