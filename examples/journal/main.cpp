#include <signal.h>
#include <unistd.h>

#include <cerrno>
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
#include "examples/journal/options.h"
#include "examples/journal/progress.h"
#include "examples/journal/refusal.h"
#include "examples/journal/replacement_file.h"
#include "examples/journal/show.h"
#include "framework/framework.h"

namespace
{
constexpr int g_nREFUSED = 1;
constexpr int g_nMISUSED = 2;

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
    if (pszResolved == nullptr && errno == ENOMEM) throw std::bad_alloc();
    return TextOf(pszResolved != nullptr ? pszResolved.get() : pszPath);
}

// The journal to continue, locked against other writers until it is closed; null when there is none yet.
std::unique_ptr<CInputFile> OpenToContinue(const CString& rPath)
{
    const char* const pszPath = rPath.CStr();
    const std::optional<struct stat> status = StatusOf(pszPath);
    if (!status) return nullptr;
    if (!S_ISREG(status->st_mode)) Refuse("%s: not a regular file", pszPath);
    auto pFile = std::make_unique<CInputFile>(pszPath);
    Lock(pFile->GetDescriptor(), pszPath);
    if (!Leads(pszPath, pFile->GetStatus())) Refuse("%s: was just replaced by somebody else", pszPath);
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

// Fills in the key, of its file or of a new one, which is returned. bContinues: there is a journal to go on with, which
// a new key could never fit.
std::unique_ptr<CNewKeyFile> GetKey(const SOptions& rOptions, bool bContinues, SKey& rKey)
{
    if (bContinues && rOptions.bNew) Refuse("%s: is there already, --new begins another one", rOptions.pszJournal);
    if (bContinues || StatusOf(rOptions.pszKey))
    {
        LoadKey(rOptions.pszKey, rKey);
        if (bContinues || rOptions.bNew) return nullptr;
        Refuse("%s: is missing, although its key %s is there: if it was not deleted, --new begins it",
               rOptions.pszJournal, rOptions.pszKey);
    }
    MakeKey(rKey);
    return std::make_unique<CNewKeyFile>(rOptions.pszKey, rKey);
}

// All or nothing, the key included. Only the calls that make the new names last through a power failure come after the
// names have become visible.
void Commit(CReplacementFile& rJournal, CNewKeyFile* pNewKey)
{
    if (pNewKey != nullptr) pNewKey->Commit();
    rJournal.Commit();
    if (pNewKey != nullptr) pNewKey->Keep();
}

void WriteLines(CJournalWriter& rWriter, char** ppszFiles, CProgress& rProgress)
{
    for (; *ppszFiles != nullptr; ++ppszFiles)
    {
        if (IsStandardInput(*ppszFiles)) AppendLines(rWriter, CInputFile(stdin, "standard input"), rProgress);
        else AppendLines(rWriter, CInputFile(*ppszFiles), rProgress);
    }
}

void Write(const SOptions& rOptions)
{
    uint64_t uTotalBytes = CheckInputs(rOptions.ppszFiles);
    const CString strPath = ResolvePath(rOptions.pszJournal);
    const std::unique_ptr<CInputFile> pPrevious = OpenToContinue(strPath);
    SKey key;
    const std::unique_ptr<CNewKeyFile> pNewKey = GetKey(rOptions, pPrevious != nullptr, key);

    std::optional<struct stat> previousStatus;
    if (pPrevious != nullptr) previousStatus = pPrevious->GetStatus();
    if (previousStatus && uTotalBytes != 0) uTotalBytes += static_cast<uint64_t>(previousStatus->st_size);
    CReplacementFile output(strPath, previousStatus, 0666);
    CJournalWriter writer(output, key, rOptions.bSeal);
    uint64_t uPreviousCount = 0;
    {
        CProgress progress("writing", uTotalBytes);
        if (pPrevious != nullptr) CopyRecords(writer, *pPrevious, key, progress);
        else writer.Begin();
        uPreviousCount = writer.GetCount();
        WriteLines(writer, rOptions.ppszFiles, progress);
        writer.Close();
        Commit(output, pNewKey.get());
    }
    if (!output.SyncDirectory())
    {
        Refuse("%s: written, but a power failure may undo it: %s", strPath.CStr(), std::strerror(errno));
    }
    std::printf("%s: %lu records written, %lu in all\n", rOptions.pszJournal, writer.GetCount() - uPreviousCount,
                writer.GetCount());
}

void Verify(const SOptions& rOptions)
{
    SKey key;
    LoadKey(rOptions.pszKey, key);
    CInputFile file(rOptions.pszJournal);
    CJournalReader reader(file, &key);
    {
        CProgress progress("verifying", static_cast<uint64_t>(file.GetStatus().st_size));
        while (reader.Next()) progress.Advance(reader.GetFrame().GetBytes().GetSize());
    }
    std::printf("%s: intact, %lu records\n", rOptions.pszJournal, reader.GetCount());
}

void Run(const SOptions& rOptions)
{
    switch (rOptions.eCommand)
    {
        case SOptions::eHELP: std::fputs(g_szHelp, stdout); break;
        case SOptions::eWRITE: Write(rOptions); break;
        case SOptions::eVERIFY: Verify(rOptions); break;
        case SOptions::eSHOW: Show(rOptions); break;
    }
}

// Also what a start-up without memory throws comes here.
int Main(int argc, char** argv)
{
    try
    {
        const CFrameworkScope framework;
        Check(framework.GetResult());
        // A refusal holds strings, which go before the framework does.
        try
        {
            Run(ParseOptions(argc, argv));
            if (std::fflush(stdout) != 0) RefuseForErrno("standard output");
            return 0;
        }
        catch (const CMisuse& rMisuse)
        {
            std::fprintf(stderr, "journal: %s\n", rMisuse.GetReason().CStr());
            return g_nMISUSED;
        }
        catch (const CRefusal& rRefusal)
        {
            std::fflush(stdout);
            std::fprintf(stderr, "journal: %s\n", rRefusal.GetReason().CStr());
            return g_nREFUSED;
        }
    }
    catch (const std::bad_alloc&)
    {
        std::fputs("journal: out of memory\n", stderr);
        return g_nREFUSED;
    }
}
}  // namespace

int main(int argc, char** argv)
{
    // Exceeding a limit on the size of files is then reported like a full disk.
    signal(SIGXFSZ, SIG_IGN);
    return Main(argc, argv);
}
