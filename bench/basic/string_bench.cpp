#include "framework/basic/string.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <set>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "bench/support/words.h"
#include "framework/basic/aatree.h"
#include "framework/basic/vector.h"

namespace
{
const char* const g_apszTEXTS[] = {"user %d logged in", "request %d from host %s took %u microseconds on try %d of %d"};

void BM_FormatOurs(benchmark::State& rState)
{
    const char* const pszFormat = g_apszTEXTS[rState.range(0)];
    int n = 0;
    for (auto _ : rState)
    {
        CString str;
        static_cast<void>(str.Format(0, pszFormat, ++n, "gateway.example", 12345u, 1, 3));
        benchmark::DoNotOptimize(str.CStr());
    }
}

// Measure, make room, write: what is usually done where the length is not known.
void BM_FormatStd(benchmark::State& rState)
{
    const char* const pszFormat = g_apszTEXTS[rState.range(0)];
    int n = 0;
    for (auto _ : rState)
    {
        ++n;
        std::string str;
        const int nLength = std::snprintf(nullptr, 0, pszFormat, n, "gateway.example", 12345u, 1, 3);
        str.resize(static_cast<std::size_t>(nLength));
        std::snprintf(str.data(), str.size() + 1, pszFormat, n, "gateway.example", 12345u, 1, 3);
        benchmark::DoNotOptimize(str.data());
    }
}

// The fastest peer: a buffer that happens to be large enough.
void BM_FormatStdBuffer(benchmark::State& rState)
{
    const char* const pszFormat = g_apszTEXTS[rState.range(0)];
    int n = 0;
    for (auto _ : rState)
    {
        char szBuffer[256];
        std::snprintf(szBuffer, sizeof(szBuffer), pszFormat, ++n, "gateway.example", 12345u, 1, 3);
        std::string str(szBuffer);
        benchmark::DoNotOptimize(str.data());
    }
}

void BM_CopyOurs(benchmark::State& rState)
{
    CString str;
    static_cast<void>(str.Insert(0, static_cast<unsigned int>(rState.range(0)), 'x'));
    for (auto _ : rState)
    {
        CString strCopy(str);
        benchmark::DoNotOptimize(strCopy.CStr());
    }
}

void BM_CopyStd(benchmark::State& rState)
{
    const std::string str(static_cast<std::size_t>(rState.range(0)), 'x');
    for (auto _ : rState)
    {
        std::string strCopy(str);
        benchmark::DoNotOptimize(strCopy.data());
    }
}

void BM_AppendOurs(benchmark::State& rState)
{
    CString str;
    static_cast<void>(str.ReserveCapacity(static_cast<unsigned short>(rState.range(0))));
    for (auto _ : rState)
    {
        str.EraseAll();
        for (std::int64_t n = 0; n < rState.range(0); n += 8) str += "12345678";
        benchmark::DoNotOptimize(str.CStr());
    }
    rState.SetBytesProcessed(rState.iterations() * rState.range(0));
}

void BM_AppendStd(benchmark::State& rState)
{
    std::string str;
    str.reserve(static_cast<std::size_t>(rState.range(0)));
    for (auto _ : rState)
    {
        str.clear();
        for (std::int64_t n = 0; n < rState.range(0); n += 8) str += "12345678";
        benchmark::DoNotOptimize(str.data());
    }
    rState.SetBytesProcessed(rState.iterations() * rState.range(0));
}

// The same source for both classes: what a user writes.
template <typename String>
void BM_AppendHello(benchmark::State& rState)
{
    for (auto _ : rState)
    {
        String str;
        for (unsigned int u = 0; u < 20; ++u) str += "hello";
        benchmark::DoNotOptimize(str);
    }
}

template <typename String>
void BM_AppendCharacter(benchmark::State& rState)
{
    for (auto _ : rState)
    {
        String str;
        for (unsigned int u = 0; u < 64; ++u) str += static_cast<char>('a' + u % 16);
        benchmark::DoNotOptimize(str);
    }
}

const char* TextOfSize(std::int64_t nSize)
{
    static const std::string s_strText(1000, 'x');
    return s_strText.c_str() + s_strText.size() - static_cast<std::size_t>(nSize);
}

template <typename String>
void BM_MakeAndDrop(benchmark::State& rState)
{
    const char* pszText = TextOfSize(rState.range(0));
    for (auto _ : rState)
    {
        benchmark::DoNotOptimize(pszText);
        String str(pszText);
        benchmark::DoNotOptimize(str);
    }
}

// What the described algorithm takes at least: a block from the default allocator, with 8 bytes more than the capacity,
// and its release.
void BM_MakeAndDropBlock(benchmark::State& rState)
{
    const char* pszText = TextOfSize(rState.range(0));
    IAllocator* const pAllocator = CDefaultAllocator::Instance();
    for (auto _ : rState)
    {
        benchmark::DoNotOptimize(pszText);
        const std::size_t uSize = std::strlen(pszText);
        IAllocator::SBlock* const pBlock =
            pAllocator->Allocate(1, static_cast<unsigned int>((uSize + 31) / 32 * 32 + 8), nullptr);
        std::memcpy(reinterpret_cast<char*>(pBlock) + 6, pszText, uSize + 1);
        benchmark::DoNotOptimize(pBlock);
        pBlock->pNext = nullptr;
        pAllocator->Release(pBlock, 8);
    }
}

template <typename String>
void BM_Equal(benchmark::State& rState)
{
    String str(TextOfSize(rState.range(0)));
    String strOther(TextOfSize(rState.range(0)));
    for (auto _ : rState)
    {
        benchmark::DoNotOptimize(str);
        benchmark::DoNotOptimize(strOther);
        benchmark::DoNotOptimize(str == strOther);
    }
}

void SetAtOf(CString& rString, unsigned int uIndex, char c)
{
    rString.SetAt(uIndex, c);
}

void SetAtOf(std::string& rString, unsigned int uIndex, char c)
{
    if (uIndex < rString.size()) rString[uIndex] = c;
}

template <typename String>
void BM_SetAt(benchmark::State& rState)
{
    String str(TextOfSize(64));
    for (auto _ : rState)
    {
        for (unsigned int u = 0; u < 64; ++u) SetAtOf(str, u, static_cast<char>('a' + u % 16));
        benchmark::DoNotOptimize(str);
    }
}

// Ordered by `<` alone, as strings were before Compare().
struct STwoPasses
{
    int operator()(const CString& rFirst, const CString& rSecond) const
    {
        if (rFirst < rSecond) return -1;
        return rSecond < rFirst ? 1 : 0;
    }
};

int CompareOf(const CString& rFirst, const CString& rSecond)
{
    return rFirst.Compare(rSecond);
}
int CompareOf(const CString& rFirst, const char* pszSecond)
{
    return rFirst.Compare(pszSecond);
}
int CompareOf(const std::string& rFirst, const std::string& rSecond)
{
    return rFirst.compare(rSecond);
}
int CompareOf(const std::string& rFirst, const char* pszSecond)
{
    return rFirst.compare(pszSecond);
}

// Equal texts, or with a difference in the second character, of the size given; a constant pointer hides what it is.
template <typename String, typename Other>
void BM_Compare(benchmark::State& rState)
{
    std::string strOther(TextOfSize(rState.range(0)));
    if (rState.range(1) != 0) strOther[1] = 'y';
    const String str(TextOfSize(rState.range(0)));
    const Other other(strOther.c_str());
    const String* pFirst = &str;
    const Other* pSecond = &other;
    for (auto _ : rState)
    {
        benchmark::DoNotOptimize(pFirst);
        benchmark::DoNotOptimize(pSecond);
        benchmark::DoNotOptimize(CompareOf(*pFirst, *pSecond));
    }
}

// Behind a path of as many characters as nPrefix says.
std::vector<std::string> WordsOfLog(std::int64_t nCount, std::int64_t nPrefix)
{
    const std::size_t uCount = static_cast<std::size_t>(nCount);
    std::vector<std::string> words;
    const std::string strLog = MakeLog(40 * uCount);
    ForEachWord(strLog, [&](const char* pc, std::size_t uSize)
                { words.push_back(TextOfSize(nPrefix) + std::string(pc, uSize)); });
    words.resize(uCount);
    return words;
}

void SortAll(CVector<CString>& rWords, SNaturalOrder)
{
    rWords.Sort();
}
void SortAll(CVector<CString>& rWords, STwoPasses order)
{
    rWords.Sort(order);
}

template <typename Order>
void BM_SortOurs(benchmark::State& rState)
{
    CVector<CString> words;
    for (const std::string& rWord : WordsOfLog(rState.range(0), rState.range(1)))
        static_cast<void>(words.Append(CString(rWord.c_str())));
    for (auto _ : rState)
    {
        CVector<CString> sorted(words);
        SortAll(sorted, Order());
        benchmark::DoNotOptimize(sorted.begin());
    }
    rState.SetItemsProcessed(rState.iterations() * rState.range(0));
}
void BM_SortStd(benchmark::State& rState)
{
    const std::vector<std::string> words = WordsOfLog(rState.range(0), rState.range(1));
    for (auto _ : rState)
    {
        std::vector<std::string> sorted(words);
        std::sort(sorted.begin(), sorted.end());
        benchmark::DoNotOptimize(sorted.data());
    }
    rState.SetItemsProcessed(rState.iterations() * rState.range(0));
}

template <typename Order>
void BM_TreeOurs(benchmark::State& rState)
{
    std::vector<CString> words;
    for (const std::string& rWord : WordsOfLog(rState.range(0), rState.range(1))) words.emplace_back(rWord.c_str());
    for (auto _ : rState)
    {
        CAATree<CString> tree{Order()};
        for (const CString& rWord : words) static_cast<void>(tree.Insert(rWord, Order()));
        benchmark::DoNotOptimize(tree.GetSize());
    }
    rState.SetItemsProcessed(rState.iterations() * rState.range(0));
}
void BM_TreeStd(benchmark::State& rState)
{
    const std::vector<std::string> words = WordsOfLog(rState.range(0), rState.range(1));
    for (auto _ : rState)
    {
        std::set<std::string> tree;
        for (const std::string& rWord : words) tree.insert(rWord);
        benchmark::DoNotOptimize(tree.size());
    }
    rState.SetItemsProcessed(rState.iterations() * rState.range(0));
}

// Fields of a table: short ones, which std::string holds without a block, or longer ones. One vector for all lines.
const std::string& Line(std::int64_t nField)
{
    static std::string s_strLine;
    s_strLine.clear();
    for (unsigned int u = 0; u < 20; ++u) s_strLine += std::string(static_cast<std::size_t>(nField), 'a') + ',';
    return s_strLine;
}

void BM_SplitOurs(benchmark::State& rState)
{
    const CString str(Line(rState.range(0)).c_str());
    CVector<CString> parts;
    for (auto _ : rState)
    {
        benchmark::DoNotOptimize(str.Split(',', &parts));
        benchmark::DoNotOptimize(parts.begin());
    }
}
template <typename Part>
void BM_SplitStd(benchmark::State& rState)
{
    const std::string str = Line(rState.range(0));
    std::vector<Part> parts;
    for (auto _ : rState)
    {
        parts.clear();
        std::size_t uFrom = 0;
        for (std::size_t u; (u = str.find(',', uFrom)) != std::string::npos; uFrom = u + 1)
            parts.emplace_back(str.data() + uFrom, u - uFrom);
        parts.emplace_back(str.data() + uFrom, str.size() - uFrom);
        benchmark::DoNotOptimize(parts.data());
    }
}

// Longer, shorter, and a character for a character; the text is made anew each time.
constexpr const char* g_apszREPLACED[][2] = {{",", ", "}, {"a,", "b"}, {",", ";"}};

void BM_ReplaceOurs(benchmark::State& rState)
{
    const std::string strLine = Line(10);
    const auto& rTexts = g_apszREPLACED[rState.range(0)];
    for (auto _ : rState)
    {
        CString str(strLine.c_str());
        benchmark::DoNotOptimize(str.Replace(rTexts[0], rTexts[1]));
        benchmark::DoNotOptimize(str.CStr());
    }
}
void BM_ReplaceStd(benchmark::State& rState)
{
    const std::string strLine = Line(10);
    const std::string_view oldText = g_apszREPLACED[rState.range(0)][0];
    const std::string_view newText = g_apszREPLACED[rState.range(0)][1];
    for (auto _ : rState)
    {
        std::string str(strLine);
        for (std::size_t u = 0; (u = str.find(oldText, u)) != std::string::npos; u += newText.size())
            str.replace(u, oldText.size(), newText);
        benchmark::DoNotOptimize(str.data());
    }
}

void BM_TrimOurs(benchmark::State& rState)
{
    for (auto _ : rState)
    {
        CString str("  a line of a file, with white space around it \r\n");
        str.Trim();
        benchmark::DoNotOptimize(str.CStr());
    }
}
void BM_TrimStd(benchmark::State& rState)
{
    for (auto _ : rState)
    {
        std::string str("  a line of a file, with white space around it \r\n");
        str.erase(str.find_last_not_of(" \t\n\v\f\r") + 1);
        str.erase(0, str.find_first_not_of(" \t\n\v\f\r"));
        benchmark::DoNotOptimize(str.data());
    }
}

template <typename Number>
std::vector<CString> NumberTexts()
{
    std::vector<CString> texts(1000);
    std::uint64_t uState = 1;
    for (CString& rstr : texts)
    {
        uState = uState * 6364136223846793005u + 1442695040888963407u;
        static_cast<void>(rstr.AppendNumber(static_cast<Number>(uState >> (20 + uState % 16)) / Number{8}));
    }
    return texts;
}
template <typename Number>
QvResult ParseOurs(const CString& rstr, Number& rNumber)
{
    return rstr.ToNumber(&rNumber);
}
template <typename Number>
QvResult ParseCharconv(const CString& rstr, Number& rNumber)
{
    return std::from_chars(rstr.begin(), rstr.end(), rNumber).ec == std::errc() ? QV_RES_OK : QV_RES_FAIL;
}
QvResult ParseC(const CString& rstr, std::int64_t& rNumber)
{
    rNumber = std::strtoll(rstr.CStr(), nullptr, 10);
    return QV_RES_OK;
}
QvResult ParseC(const CString& rstr, double& rNumber)
{
    rNumber = std::strtod(rstr.CStr(), nullptr);
    return QV_RES_OK;
}
template <typename Number, QvResult (*pfnParse)(const CString&, Number&)>
void BM_Parse(benchmark::State& rState)
{
    const std::vector<CString> texts = NumberTexts<Number>();
    for (auto _ : rState)
    {
        for (const CString& rstr : texts)
        {
            Number number = 0;
            benchmark::DoNotOptimize(pfnParse(rstr, number));
            benchmark::DoNotOptimize(number);
        }
    }
    rState.SetItemsProcessed(rState.iterations() * 1000);
}

void WriteTo(CString& rstr, std::int64_t nNumber)
{
    static_cast<void>(rstr.AppendNumber(nNumber));
}
void WriteTo(CString& rstr, double dNumber)
{
    static_cast<void>(rstr.AppendNumber(dNumber));
}
template <typename Number>
void WriteTo(std::string& rstr, Number number)
{
    char acText[32];
    rstr.append(acText, std::to_chars(acText, acText + sizeof(acText), number).ptr);
}
template <typename String, typename Number>
void BM_WriteNumbers(benchmark::State& rState)
{
    std::vector<Number> numbers;
    for (const CString& rstr : NumberTexts<Number>())
    {
        Number number = 0;
        static_cast<void>(rstr.ToNumber(&number));
        numbers.push_back(number);
    }
    String str;
    for (auto _ : rState)
    {
        str.clear();
        for (const Number number : numbers) WriteTo(str, number);
        benchmark::DoNotOptimize(str.data());
    }
    rState.SetItemsProcessed(rState.iterations() * 1000);
}

template <typename String>
void BM_PushBack(benchmark::State& rState)
{
    for (auto _ : rState)
    {
        String str;
        for (std::int64_t n = 0; n < rState.range(0); ++n) str.push_back(static_cast<char>('a' + n % 16));
        benchmark::DoNotOptimize(str.data());
    }
    rState.SetItemsProcessed(rState.iterations() * rState.range(0));
}
}  // namespace

BENCHMARK(BM_FormatOurs)->Name("string format/ours")->Arg(0)->Arg(1);
BENCHMARK(BM_FormatStd)->Name("string format/snprintf twice into std::string")->Arg(0)->Arg(1);
BENCHMARK(BM_FormatStdBuffer)->Name("string format/snprintf into a buffer, then std::string")->Arg(0)->Arg(1);
BENCHMARK(BM_CopyOurs)->Name("string copy/ours")->Arg(8)->Arg(1000)->Arg(65000);
BENCHMARK(BM_CopyStd)->Name("string copy/std::string")->Arg(8)->Arg(1000)->Arg(65000);
BENCHMARK(BM_AppendOurs)->Name("string append/ours")->Arg(64)->Arg(1024)->Arg(32768);
BENCHMARK(BM_AppendStd)->Name("string append/std::string")->Arg(64)->Arg(1024)->Arg(32768);
BENCHMARK(BM_AppendHello<CString>)->Name("string append hello 20 times/ours");
BENCHMARK(BM_AppendHello<std::string>)->Name("string append hello 20 times/std::string");
BENCHMARK(BM_AppendCharacter<CString>)->Name("string append a character 64 times/ours");
BENCHMARK(BM_AppendCharacter<std::string>)->Name("string append a character 64 times/std::string");
BENCHMARK(BM_MakeAndDrop<CString>)->Name("string make and drop/ours")->Arg(5)->Arg(40);
BENCHMARK(BM_MakeAndDrop<std::string>)->Name("string make and drop/std::string")->Arg(5)->Arg(40);
BENCHMARK(BM_MakeAndDropBlock)->Name("string make and drop/the block alone")->Arg(5)->Arg(40);
BENCHMARK(BM_Equal<CString>)->Name("string equal/ours")->Arg(5)->Arg(40)->Arg(1000);
BENCHMARK(BM_Equal<std::string>)->Name("string equal/std::string")->Arg(5)->Arg(40)->Arg(1000);
BENCHMARK(BM_SetAt<CString>)->Name("string set 64 characters/ours");
BENCHMARK(BM_SetAt<std::string>)->Name("string set 64 characters/std::string");
BENCHMARK(BM_Compare<CString, CString>)->Name("string compare/ours")->ArgsProduct({{5, 40, 1000}, {0, 1}});
BENCHMARK(BM_Compare<std::string, std::string>)
    ->Name("string compare/std::string")
    ->ArgsProduct({{5, 40, 1000}, {0, 1}});
BENCHMARK(BM_Compare<CString, const char*>)
    ->Name("string compare with a text/ours")
    ->ArgsProduct({{5, 40, 1000}, {0, 1}});
BENCHMARK(BM_Compare<std::string, const char*>)
    ->Name("string compare with a text/std::string")
    ->ArgsProduct({{5, 40, 1000}, {0, 1}});
BENCHMARK(BM_SortOurs<SNaturalOrder>)->Name("string sort/ours")->ArgsProduct({{10000}, {0, 24}});
BENCHMARK(BM_SortOurs<STwoPasses>)->Name("string sort/ours, by < alone")->ArgsProduct({{10000}, {0, 24}});
BENCHMARK(BM_SortStd)->Name("string sort/std::string")->ArgsProduct({{10000}, {0, 24}});
BENCHMARK(BM_TreeOurs<SNaturalOrder>)->Name("string tree/ours")->ArgsProduct({{10000}, {0, 24}});
BENCHMARK(BM_TreeOurs<STwoPasses>)->Name("string tree/ours, by < alone")->ArgsProduct({{10000}, {0, 24}});
BENCHMARK(BM_TreeStd)->Name("string tree/std::set of std::string")->ArgsProduct({{10000}, {0, 24}});
BENCHMARK(BM_SplitOurs)->Name("string split/ours")->Arg(8)->Arg(40);
BENCHMARK(BM_SplitStd<std::string>)->Name("string split/std::string")->Arg(8)->Arg(40);
BENCHMARK(BM_SplitStd<std::string_view>)->Name("string split/std::string_view, no copies")->Arg(8)->Arg(40);
BENCHMARK(BM_ReplaceOurs)->Name("string replace/ours")->DenseRange(0, 2);
BENCHMARK(BM_ReplaceStd)->Name("string replace/std::string")->DenseRange(0, 2);
BENCHMARK(BM_TrimOurs)->Name("string trim/ours");
BENCHMARK(BM_TrimStd)->Name("string trim/std::string");
BENCHMARK(BM_Parse<std::int64_t, ParseOurs>)->Name("string to integer/ours");
BENCHMARK(BM_Parse<std::int64_t, ParseCharconv>)->Name("string to integer/std::from_chars");
BENCHMARK(BM_Parse<std::int64_t, ParseC>)->Name("string to integer/strtoll");
BENCHMARK(BM_Parse<double, ParseOurs>)->Name("string to double/ours");
BENCHMARK(BM_Parse<double, ParseCharconv>)->Name("string to double/std::from_chars");
BENCHMARK(BM_Parse<double, ParseC>)->Name("string to double/strtod");
BENCHMARK(BM_WriteNumbers<CString, std::int64_t>)->Name("string from integer/ours");
BENCHMARK(BM_WriteNumbers<std::string, std::int64_t>)->Name("string from integer/std::to_chars into std::string");
BENCHMARK(BM_WriteNumbers<CString, double>)->Name("string from double/ours");
BENCHMARK(BM_WriteNumbers<std::string, double>)->Name("string from double/std::to_chars into std::string");
BENCHMARK(BM_PushBack<CString>)->Name("string push_back/ours")->Arg(16)->Arg(1000)->Arg(60000);
BENCHMARK(BM_PushBack<std::string>)->Name("string push_back/std::string")->Arg(16)->Arg(1000)->Arg(60000);
