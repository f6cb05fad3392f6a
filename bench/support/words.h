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

/// At least uBytes of words of 3 to 12 letters, uVocabulary different ones, each as often as the others.
inline std::string MakeText(std::size_t uBytes, std::uint64_t uVocabulary)
{
    std::string strText;
    std::uint64_t uState = 1;
    while (strText.size() < uBytes)
    {
        uState = uState * 6364136223846793005u + 1442695040888963407u;
        // What the letters are is up to the number of the word alone.
        std::uint64_t uWord = ((uState >> 33) % uVocabulary + 1) * 0x9E3779B97F4A7C15u;
        for (std::uint64_t u = 3 + (uWord >> 32) % 10; u != 0; --u)
        {
            strText += static_cast<char>('a' + (uWord >> 40) % 26);
            uWord = uWord * 6364136223846793005u + 1442695040888963407u;
        }
        strText += ' ';
    }
    return strText;
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

/// What the words of a benchmark are: those of a log of as many bytes as its first argument says, or of a text with as
/// many different words as its second one says.
inline std::string TextOf(const benchmark::State& rState)
{
    const std::size_t uBytes = static_cast<std::size_t>(rState.range(0));
    const std::int64_t nVocabulary = rState.range(1);
    return nVocabulary == 0 ? MakeLog(uBytes) : MakeText(uBytes, static_cast<std::uint64_t>(nVocabulary));
}

/// The peer.
inline void BM_CountWordsInStdMap(benchmark::State& rState)
{
    const std::string strLog = TextOf(rState);
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
