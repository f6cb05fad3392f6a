// Counts the words of standard input and prints the twenty most frequent: words < TEXT
#include <algorithm>
#include <cctype>
#include <cstdio>
#include <exception>
#include <iomanip>
#include <iostream>
#include <stdexcept>
#include <string>
#include <string_view>

#include "framework/framework.h"
#include "framework/interop/standard.h"

using CCounts = CMap<CString, long>;

void CountWords(std::string_view line, CCounts& rCounts)
{
    const auto isInWord = [](unsigned char uc) { return std::isalnum(uc) != 0; };
    CString strWord;
    for (auto it = std::find_if(line.begin(), line.end(), isInWord); it != line.end();)
    {
        const auto itEnd = std::find_if_not(it, line.end(), isInWord);
        const QvResult res = strWord.Assign(std::string_view(it, itEnd));
        if (QvFailed(res)) throw std::system_error(QvErrorCodeOf(res), "a word");  // one of more than 65,535 letters
        ++rCounts[strWord];
        it = std::find_if(itEnd, line.end(), isInWord);
    }
}

void PrintMostFrequent(const CCounts& rCounts)
{
    CVector<const CCounts::value_type*> ranking;
    for (const auto& rEntry : rCounts) ranking.push_back(&rEntry);
    const auto itEnd = ranking.begin() + std::min(20u, ranking.size());
    std::partial_sort(
        ranking.begin(), itEnd, ranking.end(),
        [](const auto* pFirst, const auto* pSecond)
        { return pFirst->value != pSecond->value ? pFirst->value > pSecond->value : pFirst->key < pSecond->key; });
    for (auto it = ranking.begin(); it != itEnd; ++it)
        std::cout << std::setw(8) << (*it)->value << ' ' << (*it)->key << '\n';
    std::cout << rCounts.GetSize() << " words\n";
}

int main()
{
    try
    {
        const CFrameworkScope framework;
        if (QvFailed(framework.GetResult())) throw std::system_error(QvErrorCodeOf(framework.GetResult()));
        CCounts counts;
        std::string strLine;
        std::ios::sync_with_stdio(false);
        while (std::getline(std::cin, strLine)) CountWords(strLine, counts);
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
