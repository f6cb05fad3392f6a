#include "examples/journal/options.h"

#include <getopt.h>

#include <charconv>
#include <cstring>

const char g_szHelp[] =
    R"(Keeps lines of text in a journal in which no later change goes unnoticed.

  journal write  --key K --journal J [--new] [--seal] FILE...
      One record for each line of the files ("-": standard input), behind those that J holds already. Makes K and J
      if both are absent; where K is and J is not, J may have been deleted: the call is refused.
      --new                begins J, which must not be there, under a key that is
      --seal               encrypts the lines: keeps what they say from those without the key, but not how many they
                           are, how long and when written, nor the files that they came from or unsealed records
  journal verify --key K --journal J
      Tells whether J is as it was written, or the first bad record.
  journal show   --journal J [--key K] [--raw] [SELECTION]
      Prints each record as its number, time stamp (seconds since the epoch) and text. Verifies J as well if the key
      is given; without it prints sealed texts as base64, with "/sealed" behind the time stamp. SELECTION is one of
      --from/--to, --since/--until and --last:
      --raw                prints texts as they are; without it what could command a terminal is written as \x1b, and
                           a backslash as \\
      --from N, --to M     by number, from N to M
      --since T, --until U by time stamp, from T to U, in the order of time, when all of J was read
      --last N             the last N records, when all of J was read
  journal --help
      Prints this.

Lines end with a newline; the last one need not, and is recorded like the others. All other characters are kept as
they are. A line longer than 65,535 characters is refused, naming file and line, and so is the whole call.
The journal is replaced when all is written, or stays untouched. The key file is 32 random bytes; it must be
accessible to its owner only.

Exit status: 0 done, 1 refused or not intact, 2 wrong usage.
)";

namespace
{
[[noreturn]] void RefuseUsage(const char* pszReason, const char* pszSubject = "")
{
    CString strReason;
    Check(strReason.Format(0, "%s%s (see journal --help)", pszReason, pszSubject));
    throw CMisuse(strReason);
}

uint64_t ParseNumber(const char* pszText, uint64_t uMin, const char* pszComplaint)
{
    uint64_t uNumber = 0;
    const char* const pszEnd = pszText + std::strlen(pszText);
    const auto stParsed = std::from_chars(pszText, pszEnd, uNumber);
    if (stParsed.ec != std::errc() || stParsed.ptr != pszEnd || uNumber < uMin) RefuseUsage(pszComplaint);
    return uNumber;
}

SOptions::ECommand ParseCommand(const char* pszCommand)
{
    if (std::strcmp(pszCommand, "write") == 0) return SOptions::eWRITE;
    if (std::strcmp(pszCommand, "verify") == 0) return SOptions::eVERIFY;
    if (std::strcmp(pszCommand, "show") == 0) return SOptions::eSHOW;
    RefuseUsage("unknown command: ", pszCommand);
}

void CheckSelection(const SOptions& rOptions)
{
    const int nSelections = (rOptions.HasNumbers() ? 1 : 0) + (rOptions.HasTimes() ? 1 : 0) + (rOptions.last ? 1 : 0);
    if (nSelections > 1) RefuseUsage("--from/--to, --since/--until and --last exclude each other");
    if (rOptions.from && rOptions.to && *rOptions.from > *rOptions.to) RefuseUsage("--from is behind --to");
    if (rOptions.since && rOptions.until && *rOptions.since > *rOptions.until) RefuseUsage("--since is behind --until");
}

void CheckOptions(const SOptions& rOptions)
{
    const bool bWrite = rOptions.eCommand == SOptions::eWRITE;
    const bool bShow = rOptions.eCommand == SOptions::eSHOW;
    if (rOptions.pszJournal == nullptr) RefuseUsage("--journal is missing");
    if (rOptions.pszKey == nullptr && !bShow) RefuseUsage("--key is missing");
    if (bWrite && *rOptions.ppszFiles == nullptr) RefuseUsage("no file given");
    if (!bWrite && *rOptions.ppszFiles != nullptr) RefuseUsage("one argument too many: ", *rOptions.ppszFiles);
    if (!bWrite && rOptions.bSeal) RefuseUsage("--seal is for write");
    if (!bWrite && rOptions.bNew) RefuseUsage("--new is for write");
    if (!bShow && rOptions.bRaw) RefuseUsage("--raw is for show");
    if (!bShow && rOptions.HasNumbers()) RefuseUsage("--from and --to are for show");
    if (!bShow && rOptions.HasTimes()) RefuseUsage("--since and --until are for show");
    if (!bShow && rOptions.last) RefuseUsage("--last is for show");
    CheckSelection(rOptions);
}
}  // namespace

SOptions ParseOptions(int argc, char** argv)
{
    static const struct option s_aOptions[] = {
        {"key", required_argument, nullptr, 'k'},   {"journal", required_argument, nullptr, 'j'},
        {"seal", no_argument, nullptr, 'e'},        {"from", required_argument, nullptr, 'f'},
        {"to", required_argument, nullptr, 't'},    {"since", required_argument, nullptr, 's'},
        {"until", required_argument, nullptr, 'u'}, {"last", required_argument, nullptr, 'l'},
        {"new", no_argument, nullptr, 'n'},         {"raw", no_argument, nullptr, 'r'},
        {"help", no_argument, nullptr, 'h'},        {nullptr, 0, nullptr, 0}};
    SOptions options;
    opterr = 0;
    for (int nOption; (nOption = getopt_long(argc, argv, ":k:j:h", s_aOptions, nullptr)) != -1;)
    {
        switch (nOption)
        {
            case 'k': options.pszKey = optarg; break;
            case 'j': options.pszJournal = optarg; break;
            case 'e': options.bSeal = true; break;
            case 'n': options.bNew = true; break;
            case 'r': options.bRaw = true; break;
            case 'f': options.from = ParseNumber(optarg, 1, "not the number of a record: --from"); break;
            case 't': options.to = ParseNumber(optarg, 1, "not the number of a record: --to"); break;
            case 's': options.since = ParseNumber(optarg, 0, "not seconds since the epoch: --since"); break;
            case 'u': options.until = ParseNumber(optarg, 0, "not seconds since the epoch: --until"); break;
            case 'l': options.last = ParseNumber(optarg, 1, "not a number of records: --last"); break;
            case 'h': return {};
            case ':': RefuseUsage("an option lacks its value: ", argv[optind - 1]);
            default: RefuseUsage("unknown option: ", argv[optind - 1]);
        }
    }
    if (optind == argc) RefuseUsage("no command given");
    options.eCommand = ParseCommand(argv[optind]);
    options.ppszFiles = argv + optind + 1;
    CheckOptions(options);
    return options;
}
