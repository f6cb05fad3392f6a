#include <getopt.h>
#include <signal.h>
#include <sys/file.h>
#include <unistd.h>

#include <charconv>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <optional>

#include "examples/journal/files.h"
#include "examples/journal/journal_reader.h"
#include "examples/journal/journal_writer.h"
#include "examples/journal/key_file.h"
#include "examples/journal/line_reader.h"
#include "examples/journal/progress.h"
#include "examples/journal/refusal.h"
#include "examples/journal/replacement_file.h"
#include "framework/framework.h"

namespace
{
constexpr int g_nRefused = 1;
constexpr int g_nMisused = 2;

constexpr char g_szHelp[] =
    R"(Keeps lines of text in a journal in which no later change goes unnoticed.

  journal write  --key K --journal J FILE...   one record for each line of the files ("-": standard input),
                                               behind those that J holds already; makes K and J if absent
  journal verify --key K --journal J           tells whether J is as it was written, or the first bad record
  journal show   --journal J [--key K]         prints each record as its number, time stamp (seconds since the
                 [--from N] [--to M]           epoch) and text; verifies J as well if the key is given
  journal --help                               prints this

Lines end with a newline; the last one need not, and is recorded like the others. All other characters are kept as
they are. A line longer than 65,535 characters is refused, naming file and line, and so is the whole call.
The journal is replaced when all is written, or stays untouched. The key file is 32 random bytes; it must be
accessible to its owner only.

Exit status: 0 done, 1 refused or not intact, 2 wrong usage.
)";

struct SOptions
{
    const char* pszCommand = nullptr;
    const char* pszKey = nullptr;
    const char* pszJournal = nullptr;
    std::optional<uint64_t> from;
    std::optional<uint64_t> to;
    char** ppszFiles = nullptr;  // up to a null pointer
};

class CMisuse : public CRefusal
{
public:
    using CRefusal::CRefusal;
};

[[noreturn]] void RefuseUsage(const char* pszReason, const char* pszSubject = "")
{
    throw CMisuse(CString(pszReason) + pszSubject + " (see journal --help)");
}

uint64_t ParseNumber(const char* pszText, const char* pszOption)
{
    uint64_t uNumber = 0;
    const char* const pszEnd = pszText + std::strlen(pszText);
    const auto stParsed = std::from_chars(pszText, pszEnd, uNumber);
    if (stParsed.ec == std::errc() && stParsed.ptr == pszEnd && uNumber != 0) return uNumber;
    RefuseUsage("not the number of a record: ", pszOption);
}

// Nothing when help was asked for.
std::optional<SOptions> ParseOptions(int argc, char** argv)
{
    static const struct option s_aOptions[] = {
        {"key", required_argument, nullptr, 'k'},  {"journal", required_argument, nullptr, 'j'},
        {"from", required_argument, nullptr, 'f'}, {"to", required_argument, nullptr, 't'},
        {"help", no_argument, nullptr, 'h'},       {nullptr, 0, nullptr, 0}};
    SOptions options;
    opterr = 0;
    for (int nOption; (nOption = getopt_long(argc, argv, ":k:j:h", s_aOptions, nullptr)) != -1;)
    {
        switch (nOption)
        {
            case 'k': options.pszKey = optarg; break;
            case 'j': options.pszJournal = optarg; break;
            case 'f': options.from = ParseNumber(optarg, "--from"); break;
            case 't': options.to = ParseNumber(optarg, "--to"); break;
            case 'h': return std::nullopt;
            case ':': RefuseUsage("an option lacks its value: ", argv[optind - 1]);
            default: RefuseUsage("unknown option: ", argv[optind - 1]);
        }
    }
    if (optind == argc) RefuseUsage("no command given");
    options.pszCommand = argv[optind];
    options.ppszFiles = argv + optind + 1;
    return options;
}

bool IsStandardInput(const char* pszFile)
{
    return std::strcmp(pszFile, "-") == 0;
}

// Refuses what can be seen to be unreadable before any work is done. Returns 0 when the sum of the sizes is not known.
uint64_t CheckInputs(char** ppszFiles)
{
    uint64_t uTotalBytes = 0;
    bool bKnown = true;
    for (; *ppszFiles != nullptr; ++ppszFiles)
    {
        if (IsStandardInput(*ppszFiles))
        {
            bKnown = false;
            continue;
        }
        struct stat status;
        if (stat(*ppszFiles, &status) != 0 || access(*ppszFiles, R_OK) != 0) RefuseForErrno(*ppszFiles);
        if (S_ISDIR(status.st_mode)) Refuse("%s: a directory", *ppszFiles);
        bKnown = bKnown && S_ISREG(status.st_mode);
        uTotalBytes += static_cast<uint64_t>(status.st_size);
    }
    return bKnown ? uTotalBytes : 0;
}

// So that the journal itself is replaced, not a symbolic link to it.
CString ResolvePath(const char* pszPath)
{
    const std::unique_ptr<char, decltype(&std::free)> pszResolved(realpath(pszPath, nullptr), &std::free);
    return CString(pszResolved != nullptr ? pszResolved.get() : pszPath);
}

// The journal to continue, locked against other writers until it is closed; null when there is none yet.
std::unique_ptr<CInputFile> OpenToContinue(const CString& rPath)
{
    const char* const pszPath = rPath.CStr();
    const std::optional<struct stat> status = StatusOf(pszPath);
    if (!status) return nullptr;
    if (!S_ISREG(status->st_mode)) Refuse("%s: not a regular file", pszPath);
    auto pFile = std::make_unique<CInputFile>(pszPath);
    if (flock(pFile->GetDescriptor(), LOCK_EX | LOCK_NB) != 0) Refuse("%s: being written by somebody else", pszPath);
    const std::optional<struct stat> now = StatusOf(pszPath);
    const bool bSame = now && now->st_ino == pFile->GetStatus().st_ino && now->st_dev == pFile->GetStatus().st_dev;
    if (!bSame) Refuse("%s: was just replaced by somebody else", pszPath);
    return pFile;
}

void AppendLines(CJournalWriter& rWriter, CInputFile&& rFile, CProgress& rProgress)
{
    CLineReader lines(rFile);
    while (lines.Next())
    {
        rWriter.Append(lines.GetText(), lines.GetSize());
        rProgress.Advance(lines.GetSize() + 1);
    }
}

void CopyRecords(CJournalWriter& rWriter, CInputFile& rPrevious, const SKey& rKey, CProgress& rProgress)
{
    CJournalReader reader(rPrevious, &rKey);
    rWriter.Continue(reader.GetHeader());
    while (reader.Next())
    {
        rWriter.CopyRecord(reader.GetFrame());
        rProgress.Advance(reader.GetFrame().GetBytes().GetSize());
    }
}

void Write(const SOptions& rOptions)
{
    uint64_t uTotalBytes = CheckInputs(rOptions.ppszFiles);
    const CString strPath = ResolvePath(rOptions.pszJournal);
    const std::unique_ptr<CInputFile> pPrevious = OpenToContinue(strPath);
    // A new key could never fit a journal that is there already.
    const SKey key = pPrevious != nullptr ? LoadKey(rOptions.pszKey) : LoadOrMakeKey(rOptions.pszKey);

    std::optional<struct stat> previousStatus;
    if (pPrevious != nullptr) previousStatus = pPrevious->GetStatus();
    if (previousStatus && uTotalBytes != 0) uTotalBytes += static_cast<uint64_t>(previousStatus->st_size);
    CReplacementFile output(strPath, previousStatus);
    CJournalWriter writer(output, key);
    uint64_t uPreviousCount = 0;
    {
        CProgress progress("writing", uTotalBytes);
        if (pPrevious != nullptr) CopyRecords(writer, *pPrevious, key, progress);
        else writer.Begin();
        uPreviousCount = writer.GetCount();
        for (char** ppszFile = rOptions.ppszFiles; *ppszFile != nullptr; ++ppszFile)
        {
            if (IsStandardInput(*ppszFile)) AppendLines(writer, CInputFile(stdin, "standard input"), progress);
            else AppendLines(writer, CInputFile(*ppszFile), progress);
        }
        writer.Close();
        output.Commit();
    }
    std::printf("%s: %lu records written, %lu in all\n", rOptions.pszJournal, writer.GetCount() - uPreviousCount,
                writer.GetCount());
}

void Verify(const SOptions& rOptions)
{
    const SKey key = LoadKey(rOptions.pszKey);
    CInputFile file(rOptions.pszJournal);
    CJournalReader reader(file, &key);
    {
        CProgress progress("verifying", static_cast<uint64_t>(file.GetStatus().st_size));
        while (reader.Next()) progress.Advance(reader.GetFrame().GetBytes().GetSize());
    }
    std::printf("%s: intact, %lu records\n", rOptions.pszJournal, reader.GetCount());
}

void Print(const SRecord& rRecord)
{
    std::printf("%lu %lu ", rRecord.uNumber, rRecord.uTime);
    std::fwrite(rRecord.strText.CStr(), 1, rRecord.strText.GetSize(), stdout);
    std::putchar('\n');
    if (std::ferror(stdout)) RefuseForErrno("standard output");
}

// Records that run past on a terminal, or through a pager, show by themselves how far it is.
bool IsProgressWelcome()
{
    struct stat status;
    return fstat(STDOUT_FILENO, &status) == 0 && S_ISREG(status.st_mode);
}

void Show(const SOptions& rOptions)
{
    std::optional<SKey> key;
    if (rOptions.pszKey != nullptr) key = LoadKey(rOptions.pszKey);
    CInputFile file(rOptions.pszJournal);
    CJournalReader reader(file, key ? &*key : nullptr);
    CProgress progress("reading", static_cast<uint64_t>(file.GetStatus().st_size));
    const uint64_t uFrom = rOptions.from.value_or(1);
    const uint64_t uTo = rOptions.to.value_or(UINT64_MAX);
    const bool bProgressWelcome = IsProgressWelcome();
    while (reader.Next())
    {
        const bool bPrint = reader.GetCount() >= uFrom && reader.GetCount() <= uTo;
        progress.SetHidden(bPrint && !bProgressWelcome);
        progress.Advance(reader.GetFrame().GetBytes().GetSize());
        if (bPrint) Print(reader.GetRecord());
        // Verification, which a key asks for, takes all of the journal.
        if (reader.GetCount() >= uTo && !key) break;
    }
}

void Run(const SOptions& rOptions)
{
    const auto isCommand = [&](const char* pszName) { return std::strcmp(rOptions.pszCommand, pszName) == 0; };
    const bool bWrite = isCommand("write");
    const bool bShow = isCommand("show");
    if (!bWrite && !bShow && !isCommand("verify")) RefuseUsage("unknown command: ", rOptions.pszCommand);
    if (rOptions.pszJournal == nullptr) RefuseUsage("--journal is missing");
    if (rOptions.pszKey == nullptr && !bShow) RefuseUsage("--key is missing");
    if (bWrite && *rOptions.ppszFiles == nullptr) RefuseUsage("no file given");
    if (!bWrite && *rOptions.ppszFiles != nullptr) RefuseUsage("one argument too many: ", *rOptions.ppszFiles);
    if (!bShow && (rOptions.from || rOptions.to)) RefuseUsage("--from and --to are for show");
    if (rOptions.from && rOptions.to && *rOptions.from > *rOptions.to) RefuseUsage("--from is behind --to");

    if (bWrite) Write(rOptions);
    else if (bShow) Show(rOptions);
    else Verify(rOptions);
}

int Main(int argc, char** argv)
{
    try
    {
        const std::optional<SOptions> options = ParseOptions(argc, argv);
        if (options) Run(*options);
        else std::fputs(g_szHelp, stdout);
        if (std::fflush(stdout) != 0) RefuseForErrno("standard output");
        return 0;
    }
    catch (const CMisuse& rMisuse)
    {
        std::fprintf(stderr, "journal: %s\n", rMisuse.GetReason().CStr());
        return g_nMisused;
    }
    catch (const CRefusal& rRefusal)
    {
        std::fflush(stdout);
        std::fprintf(stderr, "journal: %s\n", rRefusal.GetReason().CStr());
    }
    catch (const std::bad_alloc&)
    {
        std::fputs("journal: out of memory\n", stderr);
    }
    return g_nRefused;
}
}  // namespace

int main(int argc, char** argv)
{
    // A limit on the size of files is to be reported like a full disk.
    signal(SIGXFSZ, SIG_IGN);
    const CFrameworkScope framework;
    if (framework.GetResult() < 0) return g_nRefused;
    return Main(argc, argv);
}
