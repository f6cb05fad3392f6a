// Text filters as components: each is made by its name, and may be wrapped in a counter without knowing of it.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <vector>

#include "examples/plugins/filters.h"
#include "framework/framework.h"

namespace
{
constexpr int g_nREFUSED = 1;
constexpr int g_nMISUSED = 2;

constexpr char g_szHELP[] =
    R"(Sends the lines of standard input through filters, one behind the other, to standard output.

  plugins [--count] FILTER...   with --count, tells on standard error what went into each filter
  plugins --list                the filters
  plugins --help                prints this

A line longer than 65,535 characters is refused.

Exit status: 0 done, 1 refused, 2 wrong usage.
)";

const SFilter* FindFilter(const char* pszName)
{
    const SFilter* pstFilter = g_astFilters;
    while (pstFilter->pszName != nullptr && std::strcmp(pstFilter->pszName, pszName) != 0) ++pstFilter;
    return pstFilter->pszName != nullptr ? pstFilter : nullptr;
}

int Refuse(const char* pszReason)
{
    std::fprintf(stderr, "plugins: %s\n", pszReason);
    return g_nREFUSED;
}

int List()
{
    for (const SFilter* pstFilter = g_astFilters; pstFilter->pszName != nullptr; ++pstFilter)
    {
        CEComPtr<IDescription> pDescription;
        if (QvFailed(pDescription.CreateInstance(pstFilter->pCountedClsid))) return Refuse("cannot make a filter");
        std::printf("%-8s %s\n", pstFilter->pszName, pDescription->GetText());
    }
    return 0;
}

/// Reads lines without their newline. A NUL is a character. Next() is false at the end, and when reading fails.
class CLines
{
public:
    ~CLines() { std::free(m_pszLine); }
    CLines() = default;
    CLines(const CLines&) = delete;
    CLines& operator=(const CLines&) = delete;

    /// Without memory for the line it throws.
    bool Next(CString& rstrLine, bool& rbTooLong)
    {
        ssize_t nSize = getline(&m_pszLine, &m_uCapacity, stdin);
        if (nSize < 0) return false;
        if (m_pszLine[nSize - 1] == '\n') m_pszLine[--nSize] = '\0';
        rstrLine.EraseAll();
        rbTooLong = nSize > CString::uMAX_SIZE;
        if (rbTooLong || nSize == 0) return true;
        const bool bRoom = QvSucceeded(rstrLine.ReserveCapacity(static_cast<unsigned short>(nSize)));
        char* const pszBuffer = bRoom ? rstrLine.GetBuffer() : nullptr;
        if (pszBuffer == nullptr) throw std::bad_alloc();
        std::memcpy(pszBuffer, m_pszLine, static_cast<std::size_t>(nSize));
        rstrLine.Resize(static_cast<unsigned int>(nSize));
        return true;
    }

private:
    char* m_pszLine = nullptr;
    std::size_t m_uCapacity = 0;
};

int Filter(bool bCount, char** ppszNames)
{
    std::vector<CEComPtr<ITextFilter>> filters;
    for (char** ppszName = ppszNames; *ppszName != nullptr; ++ppszName)
    {
        const SFilter* const pstFilter = FindFilter(*ppszName);
        CEComPtr<ITextFilter> pFilter;
        if (QvFailed(pFilter.CreateInstance(bCount ? pstFilter->pCountedClsid : pstFilter->pClsid)))
            return Refuse("cannot make a filter");
        filters.push_back(std::move(pFilter));
    }

    CLines lines;
    CString strLine;
    bool bTooLong = false;
    while (lines.Next(strLine, bTooLong))
    {
        if (bTooLong) return Refuse("a line is too long");
        for (const CEComPtr<ITextFilter>& rpFilter : filters) rpFilter->Apply(strLine);
        std::fwrite(strLine.CStr(), 1, strLine.GetSize(), stdout);
        std::putchar('\n');
        // Input may have no end: main() says what is wrong.
        if (std::ferror(stdout) != 0) return g_nREFUSED;
    }
    if (!std::feof(stdin))
    {
        std::perror("plugins: standard input");
        return g_nREFUSED;
    }
    for (std::size_t u = 0; u < filters.size(); ++u)
    {
        CEComPtr<ICounter> pCounter;
        if (QvFailed(pCounter.QueryFrom(filters[u].Get()))) continue;
        std::fprintf(stderr, "%s: %lu lines, %lu characters\n", ppszNames[u], pCounter->GetLines(),
                     pCounter->GetCharacters());
    }
    return 0;
}

int Misuse(const char* pszReason, const char* pszSubject)
{
    std::fprintf(stderr, "plugins: %s%s (see plugins --help)\n", pszReason, pszSubject);
    return g_nMISUSED;
}

int Run(int argc, char** argv)
{
    if (argc == 2 && std::strcmp(argv[1], "--help") == 0) return std::fputs(g_szHELP, stdout) < 0 ? g_nREFUSED : 0;
    if (argc == 2 && std::strcmp(argv[1], "--list") == 0) return List();
    const bool bCount = argc > 1 && std::strcmp(argv[1], "--count") == 0;
    char** const ppszNames = argv + (bCount ? 2 : 1);
    if (*ppszNames == nullptr) return Misuse("no filter given", "");
    for (char** ppszName = ppszNames; *ppszName != nullptr; ++ppszName)
    {
        if (FindFilter(*ppszName) == nullptr) return Misuse("no such filter: ", *ppszName);
    }
    return Filter(bCount, ppszNames);
}

// The classes are known as long as this lives.
class CRegistration
{
public:
    CRegistration() : m_res(RegisterFilters()) {}
    ~CRegistration() { UnregisterFilters(); }
    CRegistration(const CRegistration&) = delete;
    CRegistration& operator=(const CRegistration&) = delete;
    QvResult GetResult() const { return m_res; }

private:
    const QvResult m_res;
};

int RunWithFramework(int argc, char** argv)
{
    const CFrameworkScope framework;
    if (QvFailed(framework.GetResult())) return Refuse("cannot start");
    const CRegistration registration;
    if (QvFailed(registration.GetResult())) return Refuse("cannot register the filters");
    return Run(argc, argv);
}
}  // namespace

int main(int argc, char** argv)
{
    int nStatus = g_nREFUSED;
    try
    {
        nStatus = RunWithFramework(argc, argv);
    }
    catch (const std::bad_alloc&)
    {
        Refuse("out of memory");
    }
    if (std::fflush(stdout) == 0 && std::ferror(stdout) == 0) return nStatus;
    std::perror("plugins: standard output");
    return g_nREFUSED;
}
