#include "examples/journal/show.h"

#include <unistd.h>

#include <cstdio>
#include <optional>

#include "examples/journal/escape.h"
#include "examples/journal/files.h"
#include "examples/journal/journal_reader.h"
#include "examples/journal/key_file.h"
#include "examples/journal/progress.h"
#include "examples/journal/refusal.h"
#include "examples/journal/text_seal.h"
#include "framework/framework.h"

namespace
{
class CPrinter
{
public:
    // pKey may be null: sealed texts then stay so.
    CPrinter(const SKey* pKey, bool bRaw) : m_bRaw(bRaw)
    {
        if (pKey != nullptr) m_seal.emplace(*pKey);
    }

    void Print(SRecord record)
    {
        if (record.nonce && m_seal) m_seal->Open(record);
        // The mark is where no text can imitate it.
        std::printf("%lu %lu%s ", record.uNumber, record.uTime, record.nonce ? "/sealed" : "");
        if (record.nonce)
        {
            const CBlob blobText = SealedTextOf(record);
            std::fwrite(blobText.begin(), 1, blobText.GetSize(), stdout);
        }
        else if (m_bRaw) std::fwrite(record.strText.CStr(), 1, record.strText.GetSize(), stdout);
        else PrintEscaped(record.strText.CStr(), record.strText.GetSize());
        std::putchar('\n');
        if (std::ferror(stdout)) RefuseForErrno("standard output");
    }

private:
    std::optional<CTextSeal> m_seal;
    const bool m_bRaw;
};

// Records that are printed on a terminal or through a pager show the progress by themselves.
bool IsProgressWelcome()
{
    struct stat status;
    return fstat(STDOUT_FILENO, &status) == 0 && S_ISREG(status.st_mode);
}

// Prints while it reads. bAll: reads on behind the last record to be printed.
void ShowNumbers(CJournalReader& rReader, const SOptions& rOptions, bool bAll, CProgress& rProgress, CPrinter& rPrinter)
{
    const uint64_t uFrom = rOptions.from.value_or(1);
    const uint64_t uTo = rOptions.to.value_or(UINT64_MAX);
    const bool bProgressWelcome = IsProgressWelcome();
    while (rReader.Next())
    {
        const bool bPrint = rReader.GetCount() >= uFrom && rReader.GetCount() <= uTo;
        rProgress.SetHidden(bPrint && !bProgressWelcome);
        rProgress.Advance(rReader.GetFrame().GetBytes().GetSize());
        if (bPrint) rPrinter.Print(rReader.GetRecord());
        if (rReader.GetCount() >= uTo && !bAll) break;
    }
}

// Keeps no more records than are to be printed; the last ones read take the nodes of the first.
void ShowLast(CJournalReader& rReader, uint64_t uCount, CProgress& rProgress, CPrinter& rPrinter)
{
    CList<SRecord> last;
    while (rReader.Next())
    {
        rProgress.Advance(rReader.GetFrame().GetBytes().GetSize());
        if (last.GetSize() == uCount) last.Erase(last.GetFirst());
        Check(last.Append(rReader.GetRecord()));
    }
    rProgress.SetHidden(true);
    for (const SRecord& rRecord : last) rPrinter.Print(rRecord);
}

// What is kept of a record instead of its text.
struct SIndexEntry
{
    uint64_t uTime;
    uint64_t uNumber;
    uint64_t uOffset;
    SDigest digest;
};

struct SByTime
{
    int operator()(const SIndexEntry& rLeft, const SIndexEntry& rRight) const
    {
        if (rLeft.uTime != rRight.uTime) return SNaturalOrder()(rLeft.uTime, rRight.uTime);
        return SNaturalOrder()(rLeft.uNumber, rRight.uNumber);
    }
};

// Keeps an entry for each record to be printed, and then reads those again in the order of time.
void ShowTimes(CJournalReader& rReader, const SOptions& rOptions, CProgress& rProgress, CPrinter& rPrinter)
{
    const uint64_t uSince = rOptions.since.value_or(0);
    const uint64_t uUntil = rOptions.until.value_or(UINT64_MAX);
    CAATree<SIndexEntry> index{SByTime()};
    for (uint64_t uOffset = rReader.GetOffset(); rReader.Next(); uOffset = rReader.GetOffset())
    {
        rProgress.Advance(rReader.GetFrame().GetBytes().GetSize());
        const SRecord& rRecord = rReader.GetRecord();
        if (rRecord.uTime < uSince || rRecord.uTime > uUntil) continue;
        Check(index.Insert({rRecord.uTime, rRecord.uNumber, uOffset, rReader.GetFrame().GetDigest()}));
    }
    rProgress.SetHidden(true);
    for (const SIndexEntry& rEntry : index)
    {
        rPrinter.Print(rReader.ReadAgain(rEntry.uNumber, rEntry.uOffset, rEntry.digest));
    }
}
}  // namespace

void Show(const SOptions& rOptions)
{
    std::optional<SKey> key;
    if (rOptions.pszKey != nullptr) LoadKey(rOptions.pszKey, key.emplace());
    const SKey* const pKey = key ? &*key : nullptr;
    CInputFile file(rOptions.pszJournal);
    const struct stat status = file.GetStatus();
    if (rOptions.HasTimes() && !S_ISREG(status.st_mode))
    {
        Refuse("%s: not a regular file, but --since and --until have to go back in it", file.GetName());
    }
    CJournalReader reader(file, pKey);
    CPrinter printer(pKey, rOptions.bRaw);
    CProgress progress("reading", static_cast<uint64_t>(status.st_size));
    if (rOptions.last) ShowLast(reader, *rOptions.last, progress, printer);
    else if (rOptions.HasTimes()) ShowTimes(reader, rOptions, progress, printer);
    // Verification, which a key asks for, takes all of the journal.
    else ShowNumbers(reader, rOptions, pKey != nullptr, progress, printer);
}
