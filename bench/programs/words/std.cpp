// examples/words with the standard library.
#include <algorithm>
#include <cctype>
#include <cstdio>
#include <exception>
#include <iomanip>
#include <iostream>
#include <map>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

using Counts = std::map<std::string, long>;

void CountWords(std::string_view line, Counts& rCounts)
{
    const auto isInWord = [](unsigned char uc) { return std::isalnum(uc) != 0; };
    std::string word;
    for (auto it = std::find_if(line.begin(), line.end(), isInWord); it != line.end();)
    {
        const auto itEnd = std::find_if_not(it, line.end(), isInWord);
        word.assign(it, itEnd);
        ++rCounts[word];
        it = std::find_if(itEnd, line.end(), isInWord);
    }
}

void PrintMostFrequent(const Counts& rCounts)
{
    std::vector<const Counts::value_type*> ranking;
    for (const auto& rEntry : rCounts) ranking.push_back(&rEntry);
    const auto itEnd = ranking.begin() + static_cast<std::ptrdiff_t>(std::min<std::size_t>(20, ranking.size()));
    std::partial_sort(ranking.begin(), itEnd, ranking.end(),
                      [](const auto* pFirst, const auto* pSecond) {
                          return pFirst->second != pSecond->second ? pFirst->second > pSecond->second
                                                                   : pFirst->first < pSecond->first;
                      });
    for (auto it = ranking.begin(); it != itEnd; ++it)
        std::cout << std::setw(8) << (*it)->second << ' ' << (*it)->first << '\n';
    std::cout << rCounts.size() << " words\n";
}

int main()
{
    try
    {
        Counts counts;
        std::string line;
        std::ios::sync_with_stdio(false);
        while (std::getline(std::cin, line)) CountWords(line, counts);
        if (std::cin.bad()) throw std::runtime_error("standard input cannot be read");
        PrintMostFrequent(counts);
        if (!std::cout.flush()) throw std::runtime_error("standard output cannot be written");
    }
    catch (const std::exception& rError)
    {
        std::fprintf(stderr, "words: %s\n", rError.what());
        return 1;
    }
}
