#ifndef EXAMPLES_JOURNAL_OPTIONS_H
#define EXAMPLES_JOURNAL_OPTIONS_H
#include <cstdint>
#include <optional>

#include "examples/journal/refusal.h"

extern const char g_szHelp[];

/// What the program was called for.
struct SOptions
{
    enum ECommand
    {
        eHELP,
        eWRITE,
        eVERIFY,
        eSHOW
    };

    bool HasNumbers() const { return from || to; }
    bool HasTimes() const { return since || until; }

    ECommand eCommand = eHELP;
    const char* pszKey = nullptr;
    const char* pszJournal = nullptr;
    bool bSeal = false;
    bool bNew = false;
    bool bRaw = false;
    std::optional<uint64_t> from;  // numbers of records
    std::optional<uint64_t> to;
    std::optional<uint64_t> since;  // seconds since the epoch
    std::optional<uint64_t> until;
    std::optional<uint64_t> last;  // a number of records
    char** ppszFiles = nullptr;    // up to a null pointer
};

/// A call that makes no sense.
class CMisuse : public CRefusal
{
public:
    using CRefusal::CRefusal;
};

/// Throws CMisuse for what is unknown, missing, or does not go together.
SOptions ParseOptions(int argc, char** argv);

#endif
