// Runs the example programs as a user would and looks at what they print, return and leave behind.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <openssl/evp.h>
#include <openssl/hmac.h>
#include <poll.h>
#include <pty.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <set>
#include <string>
#include <thread>
#include <tuple>
#include <utility>
#include <vector>

#include "tests/examples/refusing.h"
#include "tests/support/run_program.h"
#include "tests/support/sanitizers.h"
#include "tests/support/test_seed.h"

namespace fs = std::filesystem;

namespace
{
const char* g_pszJournal = ORVEL_BINARY_DIR "/examples/journal/journal";
const char* const g_pszRefusedJournal = ORVEL_BINARY_DIR "/tests/journal_refused";
const char* const g_pszHello = ORVEL_BINARY_DIR "/examples/hello/hello";

constexpr std::size_t g_uHeaderSize = 52;
constexpr std::size_t g_uHeadSize = 28;  // of a frame: kind, size and link
constexpr std::size_t g_uLinkAt = 8;
constexpr std::size_t g_uMacSize = 20;
constexpr std::size_t g_uCrcSize = 4;
constexpr std::size_t g_uTailSize = g_uMacSize + g_uCrcSize;
constexpr std::size_t g_uNonceSize = 16;

// More than pipe and buffers hold: once they are taken, the program is in the middle of writing.
constexpr unsigned int g_uManyLines = 40000;

const char* const g_pszDamaged = ": damaged: its CRC-32 does not fit";
const char* const g_pszForged = ": forged: its CRC-32 fits, its HMAC does not";

std::string Load(const fs::path& rPath)
{
    std::ifstream file(rPath, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), {});
}

void Store(const fs::path& rPath, const std::string& rBytes)
{
    std::ofstream(rPath, std::ios::binary | std::ios::trunc) << rBytes;
}

struct SLimit
{
    decltype(RLIMIT_AS) eResource;
    rlim_t uValue;
};

std::vector<std::string> LinesOf(const std::string& rText)
{
    std::vector<std::string> lines;
    for (std::size_t uBegin = 0; uBegin < rText.size();)
    {
        const std::size_t uEnd = std::min(rText.find('\n', uBegin), rText.size());
        lines.push_back(rText.substr(uBegin, uEnd - uBegin));
        uBegin = uEnd + 1;
    }
    return lines;
}

/// As long as it lives, the program is the one in which something can be refused.
class CRefusedJournal
{
public:
    CRefusedJournal() : m_pszBefore(std::exchange(g_pszJournal, g_pszRefusedJournal)) {}
    ~CRefusedJournal() { g_pszJournal = m_pszBefore; }
    CRefusedJournal(const CRefusedJournal&) = delete;
    CRefusedJournal& operator=(const CRefusedJournal&) = delete;

private:
    const char* m_pszBefore;
};

/// Works in a directory of its own, with a key "k" and a journal "j".
class CJournal : public testing::Test
{
protected:
    void SetUp() override
    {
        std::string strTemplate = (fs::temp_directory_path() / "journal_test.XXXXXX").string();
        ASSERT_NE(nullptr, mkdtemp(strTemplate.data()));
        m_directory = fs::canonical(strTemplate);  // as the program names files, whatever links lead there
        fs::current_path(m_directory);
    }
    void TearDown() override
    {
        fs::current_path("/");
        fs::remove_all(m_directory);
    }

    SRunResult Run(const std::vector<std::string>& rArguments, const std::vector<SLimit>& rLimits = {},
                   const char* pszInput = "/dev/null", const char* pszOutput = nullptr)
    {
        return RunProgram(g_pszJournal, rArguments, "", nullptr,
                          [&]
                          {
                              Redirect(STDIN_FILENO, pszInput, O_RDONLY);
                              if (pszOutput != nullptr)
                                  Redirect(STDOUT_FILENO, pszOutput, O_WRONLY | O_CREAT | O_TRUNC);
                              for (const SLimit& rLimit : rLimits)
                              {
                                  const struct rlimit limit = {rLimit.uValue, rLimit.uValue};
                                  if (setrlimit(rLimit.eResource, &limit) != 0) _exit(99);
                              }
                          });
    }

    void MustWrite(const std::string& rText, const std::vector<std::string>& rMoreArguments = {})
    {
        Store("text", rText);
        std::vector<std::string> arguments = {"write", "--key", "k", "--journal", "j", "text"};
        arguments.insert(arguments.end(), rMoreArguments.begin(), rMoreArguments.end());
        const SRunResult outcome = Run(arguments);
        ASSERT_EQ(0, outcome.nStatus) << outcome.strErrors;
        ASSERT_EQ("", outcome.strErrors);
        fs::remove("text");
    }

    SRunResult Verify() { return Run({"verify", "--key", "k", "--journal", "j"}); }

    void ExpectIntact(unsigned int uRecords)
    {
        const SRunResult outcome = Verify();
        EXPECT_EQ(0, outcome.nStatus);
        EXPECT_EQ("j: intact, " + std::to_string(uRecords) + " records\n", outcome.strOutput);
        EXPECT_EQ("", outcome.strErrors);
    }

    void ExpectRefused(const SRunResult& rOutcome, const std::string& rMessage)
    {
        EXPECT_EQ(1, rOutcome.nStatus);
        EXPECT_EQ("journal: " + rMessage + "\n", rOutcome.strErrors);
    }

    /// The texts that show prints, with the numbers checked and the time stamps, all of the present, taken off.
    std::vector<std::string> ShownTexts(const std::vector<std::string>& rMoreArguments = {}, unsigned int uFrom = 1)
    {
        std::vector<std::string> arguments = {"show", "--journal", "j", "--raw"};
        arguments.insert(arguments.end(), rMoreArguments.begin(), rMoreArguments.end());
        const SRunResult outcome = Run(arguments);
        EXPECT_EQ(0, outcome.nStatus) << outcome.strErrors;
        EXPECT_EQ("", outcome.strErrors);
        std::vector<std::string> texts;
        for (const std::string& rLine : LinesOf(outcome.strOutput))
        {
            const std::string strNumber = std::to_string(uFrom + texts.size()) + " ";
            EXPECT_EQ(strNumber, rLine.substr(0, strNumber.size()));
            const std::size_t uText = rLine.find(' ', strNumber.size()) + 1;
            const long nTime = std::stol(rLine.substr(strNumber.size()));
            EXPECT_TRUE(nTime >= m_nStarted && nTime <= time(nullptr)) << nTime;
            texts.push_back(rLine.substr(uText));
        }
        return texts;
    }

    std::set<std::string> Files()
    {
        std::set<std::string> names;
        for (const auto& rEntry : fs::directory_iterator(m_directory)) names.insert(rEntry.path().filename());
        return names;
    }

    fs::path m_directory;
    time_t m_nStarted = time(nullptr);
};

/// The header, each record and the closing record of a journal.
std::vector<std::string> PartsOf(const std::string& rJournal)
{
    std::vector<std::string> parts = {rJournal.substr(0, g_uHeaderSize)};
    for (std::size_t uAt = g_uHeaderSize; uAt < rJournal.size();)
    {
        std::uint32_t uPayload = 0;
        std::memcpy(&uPayload, rJournal.data() + uAt + 4, sizeof(uPayload));
        const std::size_t uSize = g_uHeadSize + uPayload + g_uTailSize;
        parts.push_back(rJournal.substr(uAt, uSize));
        uAt += uSize;
    }
    return parts;
}

std::string Joined(const std::vector<std::string>& rParts)
{
    std::string strAll;
    for (const std::string& rPart : rParts) strAll += rPart;
    return strAll;
}

std::uint32_t Crc32(const char* pcData, std::size_t uSize)
{
    std::uint32_t uCrc = 0xFFFFFFFF;
    for (std::size_t u = 0; u < uSize; ++u)
    {
        uCrc ^= static_cast<unsigned char>(pcData[u]);
        for (int nBit = 0; nBit < 8; ++nBit) uCrc = (uCrc >> 1) ^ ((uCrc & 1) != 0 ? 0xEDB88320 : 0);
    }
    return ~uCrc;
}

std::string HmacSha1(const std::string& rKey, const std::string& rData)
{
    std::string strMac(g_uMacSize, '\0');
    HMAC(EVP_sha1(), rKey.data(), static_cast<int>(rKey.size()), reinterpret_cast<const unsigned char*>(rData.data()),
         rData.size(), reinterpret_cast<unsigned char*>(strMac.data()), nullptr);
    return strMac;
}

/// What a forger without the key can do.
void FixCrc(std::string& rPart)
{
    const std::size_t uCrcAt = rPart.size() - g_uCrcSize;
    const std::uint32_t uCrc = Crc32(rPart.data(), uCrcAt);
    std::memcpy(rPart.data() + uCrcAt, &uCrc, sizeof(uCrc));
}

/// What who has the key can do: chains changed parts anew.
void Rechain(std::vector<std::string>& rParts, const std::string& rKey)
{
    std::string strMac;
    for (std::string& rPart : rParts)
    {
        const std::size_t uMacAt = rPart.size() - g_uTailSize;
        if (!strMac.empty()) rPart.replace(g_uLinkAt, g_uMacSize, strMac);
        strMac = HmacSha1(rKey, rPart.substr(0, uMacAt));
        rPart.replace(uMacAt, g_uMacSize, strMac);
        FixCrc(rPart);
    }
}

/// A journal in which record n has the n-th time stamp, each of 10 digits.
void SetTimes(const std::vector<std::string>& rTimes)
{
    std::vector<std::string> parts = PartsOf(Load("j"));
    ASSERT_EQ(rTimes.size() + 2, parts.size());
    for (std::size_t u = 0; u < rTimes.size(); ++u)
    {
        parts[u + 1].replace(g_uHeadSize + 2 + std::to_string(u + 1).size() + 1, 10, rTimes[u]);
    }
    Rechain(parts, Load("k"));
    Store("j", Joined(parts));
}

/// The numbers of the records that were printed.
std::vector<unsigned int> NumbersOf(const SRunResult& rOutcome)
{
    std::vector<unsigned int> numbers;
    for (const std::string& rLine : LinesOf(rOutcome.strOutput))
    {
        numbers.push_back(static_cast<unsigned int>(std::stoul(rLine)));
    }
    return numbers;
}

std::string Decoded(const std::string& rBase64)
{
    std::string strBytes(rBase64.size() / 4 * 3, '\0');
    EVP_DecodeBlock(reinterpret_cast<unsigned char*>(strBytes.data()),
                    reinterpret_cast<const unsigned char*>(rBase64.data()), static_cast<int>(rBase64.size()));
    while (!rBase64.empty() && strBytes.size() > rBase64.find_last_not_of('=') * 3 / 4 + 1) strBytes.pop_back();
    return strBytes;
}

/// Opens nonce and encrypted text as README.md says.
std::string Opened(const std::string& rSealed, const std::string& rKey)
{
    const std::string strInfo = "text seal";
    const std::string strFirst = HmacSha1(rKey, strInfo + '\1');
    const std::string strDerived = (strFirst + HmacSha1(rKey, strFirst + strInfo + '\2')).substr(0, 32);
    std::string strText(rSealed.size() - g_uNonceSize, '\0');
    const auto* const puSealed = reinterpret_cast<const unsigned char*>(rSealed.data());
    EVP_CIPHER_CTX* const pContext = EVP_CIPHER_CTX_new();
    EVP_DecryptInit_ex(pContext, EVP_aes_256_ctr(), nullptr, reinterpret_cast<const unsigned char*>(strDerived.data()),
                       puSealed);
    int nSize = 0;
    EVP_DecryptUpdate(pContext, reinterpret_cast<unsigned char*>(strText.data()), &nSize, puSealed + g_uNonceSize,
                      static_cast<int>(strText.size()));
    EVP_CIPHER_CTX_free(pContext);
    return strText;
}

std::string NumberedLines(unsigned int uCount)
{
    std::string strText;
    for (unsigned int u = 1; u <= uCount; ++u) strText += "line " + std::to_string(u) + "\n";
    return strText;
}

bool StartsWith(const std::string& rText, const std::string& rStart)
{
    return rText.compare(0, rStart.size(), rStart) == 0;
}

bool EndsWith(const std::string& rText, const std::string& rEnd)
{
    return rText.size() >= rEnd.size() && rText.compare(rText.size() - rEnd.size(), rEnd.size(), rEnd) == 0;
}
}  // namespace

TEST_F(CJournal, LinesComeBackAsTheyWere)
{
    MustWrite("first\n\n  spaces  \ncarriage return\r\n\xff\x01 %s\nlast\n");
    ExpectIntact(6);
    EXPECT_EQ((std::vector<std::string>{"first", "", "  spaces  ", "carriage return\r", "\xff\x01 %s", "last"}),
              ShownTexts());
    EXPECT_EQ(ShownTexts(), ShownTexts({"--key", "k"}));
}

TEST_F(CJournal, NulsAreCharactersLikeOthers)
{
    const std::string strText = std::string("\0a\0\0b\0", 6);
    MustWrite(strText + "\n" + std::string(3, '\0') + "\n");
    EXPECT_EQ((std::vector<std::string>{strText, std::string(3, '\0')}), ShownTexts({"--key", "k"}));
}

TEST_F(CJournal, TheLastLineNeedsNoNewline)
{
    MustWrite("one\ntwo");
    ExpectIntact(2);
    EXPECT_EQ((std::vector<std::string>{"one", "two"}), ShownTexts());
}

TEST_F(CJournal, AnEmptyFileGivesNoRecord)
{
    MustWrite("");
    ExpectIntact(0);
    EXPECT_TRUE(ShownTexts({"--key", "k"}).empty());
    MustWrite("one\n");
    ExpectIntact(1);
}

TEST_F(CJournal, TheLongestLineIsKeptWholeAndALongerOneRefused)
{
    std::string strLongest(65535, 'x');
    strLongest[3] = strLongest[40000] = '\0';
    // The second one fills what is read at once up to just before its newline, the third is the last of the file.
    MustWrite("\n" + strLongest + "\n" + strLongest + "\n" + strLongest);
    EXPECT_EQ((std::vector<std::string>{"", strLongest, strLongest, strLongest}), ShownTexts({"--key", "k"}));

    const std::string strBefore = Load("j");
    for (const std::string strEnd : {"\n", "", "xxx\nmore\n"})
    {
        Store("long", "a\nb\n" + strLongest + "x" + strEnd);
        ExpectRefused(Run({"write", "--key", "k", "--journal", "j", "long"}),
                      "long: line 3 is longer than 65,535 characters");
        EXPECT_EQ(strBefore, Load("j"));
    }
}

TEST_F(CJournal, LinesOfEveryLengthAreCutRightlyAcrossReads)
{
    // Long enough to pass several buffers at ever other offsets.
    std::string strText;
    std::vector<std::string> want;
    for (unsigned int u = 0; u < 60; ++u)
    {
        want.push_back(std::string(65535 - 1091 * u, static_cast<char>('a' + u % 26)));
        strText += want.back() + "\n";
    }
    MustWrite(strText);
    EXPECT_EQ(want, ShownTexts());
}

TEST_F(CJournal, WritingAgainContinuesNumbersAndChain)
{
    MustWrite("one\ntwo\n");
    const std::vector<std::string> before = PartsOf(Load("j"));
    Store("a", "three\n");
    Store("b", "four");
    const SRunResult outcome = Run({"write", "--key", "k", "--journal", "j", "a", "b"});
    EXPECT_EQ("j: 2 records written, 4 in all\n", outcome.strOutput);
    ExpectIntact(4);
    EXPECT_EQ((std::vector<std::string>{"one", "two", "three", "four"}), ShownTexts());
    const std::vector<std::string> after = PartsOf(Load("j"));
    EXPECT_TRUE(std::equal(before.begin(), before.end() - 1, after.begin())) << "old records changed";
}

TEST_F(CJournal, ADashIsStandardInput)
{
    Store("a", "one\n");
    Store("b", "two\n");
    const SRunResult outcome = Run({"write", "--key", "k", "--journal", "j", "a", "-", "a"}, {}, "b");
    EXPECT_EQ(0, outcome.nStatus) << outcome.strErrors;
    EXPECT_EQ((std::vector<std::string>{"one", "two", "one"}), ShownTexts());
}

TEST_F(CJournal, FromAndToSelectRecords)
{
    MustWrite(NumberedLines(9));
    EXPECT_EQ((std::vector<std::string>{"line 4", "line 5"}), ShownTexts({"--from", "4", "--to", "5"}, 4));
    EXPECT_EQ((std::vector<std::string>{"line 8", "line 9"}), ShownTexts({"--from", "8"}, 8));
    EXPECT_EQ((std::vector<std::string>{"line 1"}), ShownTexts({"--to=1", "--key=k"}));
    EXPECT_EQ((std::vector<std::string>{"line 9"}), ShownTexts({"--from", "9", "--to", "100"}, 9));
    EXPECT_TRUE(ShownTexts({"--from", "10"}).empty());
}

TEST_F(CJournal, ShowingAPartWithTheKeyStillVerifiesAll)
{
    MustWrite(NumberedLines(5));
    std::string strJournal = Load("j");
    strJournal[strJournal.size() - 70] ^= 1;  // in the code of record 5
    Store("j", strJournal);
    EXPECT_EQ((std::vector<std::string>{"line 1"}), ShownTexts({"--to", "1"}));
    const SRunResult outcome = Run({"show", "--key", "k", "--journal", "j", "--to", "1"});
    EXPECT_EQ(1u, LinesOf(outcome.strOutput).size());
    ExpectRefused(outcome, std::string("j: record 5") + g_pszDamaged);
}

TEST_F(CJournal, SealedLinesComeBackAsTheyWere)
{
    std::vector<std::string> want;
    for (std::size_t uSize : {0u, 1u, 14u, 15u, 16u, 17u, 32u, 1000u, 65535u})
    {
        want.push_back(std::string(uSize, 'x'));
        if (uSize > 5) want.back()[5] = '\0';
    }
    std::string strText;
    for (const std::string& rLine : want) strText += rLine + "\n";
    MustWrite(strText, {"--seal"});
    ExpectIntact(static_cast<unsigned int>(want.size()));
    EXPECT_EQ(want, ShownTexts({"--key", "k"}));
    EXPECT_EQ(std::vector<std::string>(want.end() - 2, want.end()),
              ShownTexts({"--key", "k", "--last", "2"}, static_cast<unsigned int>(want.size()) - 1));
    EXPECT_EQ(want, ShownTexts({"--key", "k", "--since", "0"}));
}

TEST_F(CJournal, WithoutTheKeySealedTextsAreBase64OfWhatTheReadmeSays)
{
    const std::vector<std::string> want = {"secret", "secret", "", "/sealed x", std::string(65535, 's')};
    std::string strText;
    for (const std::string& rLine : want) strText += rLine + "\n";
    MustWrite(strText, {"--seal"});
    EXPECT_EQ(std::string::npos, Load("j").find("secret"));
    for (const std::vector<std::string>& rSelection :
         {std::vector<std::string>{}, {"--last", "5"}, {"--since", "1000000000"}})
    {
        const std::vector<std::string> shown = ShownTexts(rSelection);
        ASSERT_EQ(want.size(), shown.size());
        for (std::size_t u = 0; u < want.size(); ++u)
        {
            const std::string strSealed = Decoded(shown[u]);
            ASSERT_EQ(g_uNonceSize + want[u].size(), strSealed.size());
            EXPECT_EQ(std::string::npos, strSealed.find("secret"));
            EXPECT_EQ(want[u], Opened(strSealed, Load("k")));
        }
        EXPECT_NE(Decoded(shown[0]).substr(0, g_uNonceSize), Decoded(shown[1]).substr(0, g_uNonceSize));
        EXPECT_NE(Decoded(shown[0]).substr(g_uNonceSize), Decoded(shown[1]).substr(g_uNonceSize));
    }
}

TEST_F(CJournal, TheMarkOfASealedTextCannotBeImitated)
{
    MustWrite("/sealed AAAA\n");
    MustWrite("x\n", {"--seal"});
    const std::vector<std::string> lines = LinesOf(Run({"show", "--journal", "j"}).strOutput);
    const auto stampOf = [](const std::string& rLine) { return rLine.substr(0, rLine.find(' ', 2)); };
    EXPECT_FALSE(EndsWith(stampOf(lines[0]), "/sealed")) << lines[0];
    EXPECT_TRUE(EndsWith(stampOf(lines[1]), "/sealed")) << lines[1];
}

TEST_F(CJournal, SealedAndPlainRecordsShareAJournal)
{
    MustWrite("one\n");
    MustWrite("two\nthree\n", {"--seal"});
    MustWrite("four\n");
    MustWrite("five\n", {"--seal"});
    ExpectIntact(5);
    const std::vector<std::string> want = {"one", "two", "three", "four", "five"};
    EXPECT_EQ(want, ShownTexts({"--key", "k"}));
    EXPECT_EQ(want, ShownTexts({"--key", "k", "--last", "9"}));
    EXPECT_EQ(want, ShownTexts({"--key", "k", "--since", "0"}));
    const std::vector<std::string> shown = ShownTexts();
    ASSERT_EQ(5u, shown.size());
    EXPECT_EQ("one", shown[0]);
    EXPECT_EQ("four", shown[3]);
    for (const std::size_t u : {1u, 2u, 4u}) EXPECT_EQ(want[u], Opened(Decoded(shown[u]), Load("k")));
}

TEST_F(CJournal, AnotherKeyOpensNoSealedText)
{
    MustWrite("secret\n", {"--seal"});
    std::string strKey = Load("k");
    strKey[0] ^= 1;
    Store("k", strKey);
    const SRunResult outcome = Run({"show", "--key", "k", "--journal", "j"});
    EXPECT_EQ("", outcome.strOutput);
    ExpectRefused(outcome, "j: header: not made under this key, or forged");
}

TEST_F(CJournal, AnyChangedByteOfASealedRecordIsFoundBeforeItIsOpened)
{
    MustWrite("text\n", {"--seal"});
    const std::vector<std::string> parts = PartsOf(Load("j"));
    std::mt19937 rng(TestSeed());
    for (std::size_t u = 0; u < parts[1].size(); ++u)
    {
        const unsigned int uChange = 1 + Below(rng, 255);
        SCOPED_TRACE(testing::Message() << "byte " << u << " changed by " << uChange);
        std::vector<std::string> changed = parts;
        changed[1][u] = static_cast<char>(changed[1][u] ^ static_cast<char>(uChange));
        const auto showChanged = [&]
        {
            Store("j", Joined(changed));
            SRunResult outcome = Run({"show", "--key", "k", "--journal", "j"});
            EXPECT_EQ("", outcome.strOutput);
            return outcome;
        };
        // A change of kind or size may lead to no frame at all.
        if (u < g_uLinkAt) EXPECT_TRUE(StartsWith(showChanged().strErrors, "journal: j: record 1: "));
        else ExpectRefused(showChanged(), std::string("j: record 1") + g_pszDamaged);
        if (u < g_uLinkAt || u >= parts[1].size() - g_uCrcSize) continue;
        FixCrc(changed[1]);
        ExpectRefused(showChanged(), std::string("j: record 1") + g_pszForged);
    }
}

TEST_F(CJournal, AForgedKindIsFound)
{
    MustWrite(std::string(40, 'x') + "\n");
    const std::vector<std::string> parts = PartsOf(Load("j"));
    std::vector<std::string> changed = parts;
    changed[1][0] = 'S';
    FixCrc(changed[1]);
    Store("j", Joined(changed));
    ExpectRefused(Verify(), std::string("j: record 1") + g_pszForged);
    ExpectRefused(Run({"show", "--journal", "j"}), "j: record 1: forged: its CRC-32 fits, but it holds no record");
}

TEST_F(CJournal, LastSelectsTheEndInItsOrder)
{
    MustWrite(NumberedLines(5));
    struct SCase
    {
        const char* pszLast;
        std::vector<unsigned int> want;
    };
    const SCase aCases[] = {{"1", {5}},
                            {"2", {4, 5}},
                            {"4", {2, 3, 4, 5}},
                            {"5", {1, 2, 3, 4, 5}},
                            {"6", {1, 2, 3, 4, 5}},
                            {"18446744073709551615", {1, 2, 3, 4, 5}}};
    for (const SCase& rCase : aCases)
    {
        SCOPED_TRACE(rCase.pszLast);
        EXPECT_EQ(rCase.want, NumbersOf(Run({"show", "--journal", "j", "--last", rCase.pszLast})));
    }
    EXPECT_EQ((std::vector<std::string>{"line 4", "line 5"}), ShownTexts({"--last", "2"}, 4));
    fs::remove("j");
    MustWrite("", {"--new"});
    EXPECT_TRUE(ShownTexts({"--last", "1"}).empty());
}

TEST_F(CJournal, SinceAndUntilSelectByTimeInTheOrderOfTime)
{
    MustWrite(NumberedLines(6));
    MustWrite(NumberedLines(2), {"--seal"});
    // The clock was put back after the third record.
    SetTimes({"1000000010", "1000000020", "1000000030", "1000000015", "1000000020", "1000000040", "1000000040",
              "1000000050"});
    ExpectIntact(8);
    struct SCase
    {
        std::vector<std::string> selection;
        std::vector<unsigned int> want;
    };
    const SCase aCases[] = {{{"--since", "0"}, {1, 4, 2, 5, 3, 6, 7, 8}},
                            {{"--since", "1000000010"}, {1, 4, 2, 5, 3, 6, 7, 8}},
                            {{"--since", "1000000011"}, {4, 2, 5, 3, 6, 7, 8}},
                            {{"--since", "1000000020", "--until", "1000000030"}, {2, 5, 3}},
                            {{"--since", "1000000040", "--until", "1000000040"}, {6, 7}},
                            {{"--until", "1000000019"}, {1, 4}},
                            {{"--since", "1000000050"}, {8}},
                            {{"--since", "1000000051"}, {}},
                            {{"--since", "1000000041", "--until", "1000000049"}, {}},
                            {{"--until", "1000000009"}, {}}};
    for (const SCase& rCase : aCases)
    {
        SCOPED_TRACE(testing::PrintToString(rCase.selection));
        for (const std::vector<std::string>& rKey : {std::vector<std::string>{}, {"--key", "k"}})
        {
            std::vector<std::string> arguments = {"show", "--journal", "j", "--raw"};
            arguments.insert(arguments.end(), rKey.begin(), rKey.end());
            arguments.insert(arguments.end(), rCase.selection.begin(), rCase.selection.end());
            const SRunResult outcome = Run(arguments);
            EXPECT_EQ(0, outcome.nStatus) << outcome.strErrors;
            EXPECT_EQ(rCase.want, NumbersOf(outcome));
        }
    }
    const SRunResult outcome = Run({"show", "--key", "k", "--journal", "j", "--since", "1000000030"});
    EXPECT_EQ("3 1000000030 line 3\n6 1000000040 line 6\n7 1000000040 line 1\n8 1000000050 line 2\n",
              outcome.strOutput);
}

TEST_F(CJournal, TheEndAndTimesOfABrokenJournalAreNotShown)
{
    MustWrite(NumberedLines(5));
    std::string strJournal = Load("j");
    strJournal.back() ^= 1;
    Store("j", strJournal);
    for (const char* const pszSelection : {"--last", "--since"})
    {
        const SRunResult outcome = Run({"show", "--journal", "j", pszSelection, "1"});
        EXPECT_EQ("", outcome.strOutput);
        ExpectRefused(outcome, std::string("j: closing record") + g_pszDamaged);
    }
}

TEST_F(CJournal, TimesNeedAFileToGoBackIn)
{
    ASSERT_EQ(0, mkfifo("j", 0600));
    const int nOtherEnd = open("j", O_RDWR | O_CLOEXEC);  // neither this nor the program's opening blocks
    ExpectRefused(Run({"show", "--journal", "j", "--since", "1"}),
                  "j: not a regular file, but --since and --until have to go back in it");
    close(nOtherEnd);
}

TEST_F(CJournal, ARecordThatChangesWhileItIsShownIsRefused)
{
    // More than the pipe holds: once the first character has come, all is verified and much not yet printed.
    std::string strText;
    for (unsigned int u = 0; u < 40; ++u) strText += std::string(10000, 'x') + "\n";
    MustWrite(strText);
    std::vector<std::string> parts = PartsOf(Load("j"));
    ASSERT_EQ(0, mkfifo("out", 0600));
    SRunResult outcome = {};
    std::thread runner(
        [&] {
            outcome = Run({"show", "--key", "k", "--journal", "j", "--since", "0"}, {}, "/dev/null", "out");
        });
    std::ifstream output("out", std::ios::binary);
    std::string strShown(1, static_cast<char>(output.get()));
    // By somebody who has the key, so that the record is a good one by itself.
    parts[40][parts[40].size() - g_uTailSize - 1] = 'y';
    Rechain(parts, Load("k"));
    const std::size_t uLastSize = parts[40].size() + parts[41].size();
    std::fstream journal("j", std::ios::binary | std::ios::in | std::ios::out);
    journal.seekp(-static_cast<std::streamoff>(uLastSize), std::ios::end) << parts[40] << std::flush;
    strShown.append(std::istreambuf_iterator<char>(output), {});
    runner.join();
    EXPECT_EQ(39u, LinesOf(strShown).size());
    ExpectRefused(outcome, "j: record 40: changed while it was being read");
}

TEST_F(CJournal, WithoutTheKeyARecordThatChangesWhileItIsShownIsRefused)
{
    std::string strText;
    for (unsigned int u = 0; u < 40; ++u) strText += std::string(10000, 'x') + "\n";
    MustWrite(strText);
    std::vector<std::string> parts = PartsOf(Load("j"));
    ASSERT_EQ(0, mkfifo("out", 0600));
    SRunResult outcome = {};
    std::thread runner([&] { outcome = Run({"show", "--journal", "j", "--since", "0"}, {}, "/dev/null", "out"); });
    std::ifstream output("out", std::ios::binary);
    std::string strShown(1, static_cast<char>(output.get()));
    // The code, which nobody can check, stays as it was.
    parts[40][parts[40].size() - g_uTailSize - 1] = 'y';
    FixCrc(parts[40]);
    const std::size_t uLastSize = parts[40].size() + parts[41].size();
    std::fstream journal("j", std::ios::binary | std::ios::in | std::ios::out);
    journal.seekp(-static_cast<std::streamoff>(uLastSize), std::ios::end) << parts[40] << std::flush;
    strShown.append(std::istreambuf_iterator<char>(output), {});
    runner.join();
    EXPECT_EQ(39u, LinesOf(strShown).size());
    ExpectRefused(outcome, "j: record 40: changed while it was being read");
}

TEST_F(CJournal, TextsCannotCommandATerminal)
{
    struct SCase
    {
        std::string strText;
        const char* pszShown;
    };
    const SCase aCases[] = {{"plain ~ text", "plain ~ text"},
                            {"tab\tkept", "tab\tkept"},
                            {"\033[2J", "\\x1b[2J"},
                            {"a\rb\b", "a\\x0db\\x08"},
                            {std::string("\0\x7f", 2), "\\x00\\x7f"},
                            {"\\x1b", "\\\\x1b"},
                            {"Gr\u00fc\u00dfe \u20ac \U0001F600", "Gr\u00fc\u00dfe \u20ac \U0001F600"},
                            {"\u00a0", "\u00a0"},
                            {"\xc2\x9b"
                             "2J",
                             "\\xc2\\x9b2J"},  // U+009B begins a command, too
                            {"\x9b"
                             "2J",
                             "\\x9b2J"},                                         // and so it does in 8-bit terminals
                            {"\u202e\u2066", "\\xe2\\x80\\xae\\xe2\\x81\\xa6"},  // turn what follows round
                            {"\xc1\x9b", "\\xc1\\x9b"},                          // longer than due
                            {"\xe0\x82\x9b", "\\xe0\\x82\\x9b"},
                            {"\xed\xa0\x80", "\\xed\\xa0\\x80"},  // half a pair
                            {"\xf4\x90\x80\x80", "\\xf4\\x90\\x80\\x80"},
                            {"\xf8\x88\x80\x80\x80", "\\xf8\\x88\\x80\\x80\\x80"},
                            {"\xe2\x82", "\\xe2\\x82"},  // cut off
                            {"\xe2\x82x", "\\xe2\\x82x"}};
    std::string strText;
    for (const SCase& rCase : aCases) strText += rCase.strText + "\n";
    MustWrite(strText);
    for (const char* const pszSelection : {"--from", "--since", "--last"})
    {
        const SRunResult outcome = Run({"show", "--journal", "j", pszSelection, pszSelection[2] == 'l' ? "99" : "1"});
        const std::vector<std::string> lines = LinesOf(outcome.strOutput);
        ASSERT_EQ(std::size(aCases), lines.size());
        for (std::size_t u = 0; u < lines.size(); ++u)
        {
            EXPECT_EQ(aCases[u].pszShown, lines[u].substr(lines[u].find(' ', lines[u].find(' ') + 1) + 1));
        }
    }
}

TEST_F(CJournal, ANewKeyIsRandomAndItsOwnersOnly)
{
    umask(0);
    MustWrite("one\n");
    umask(022);
    struct stat status;
    ASSERT_EQ(0, stat("k", &status));
    EXPECT_EQ(0600u, status.st_mode & 07777);
    const std::string strKey = Load("k");
    EXPECT_EQ(32u, strKey.size());
    fs::remove("j");
    fs::remove("k");
    MustWrite("one\n");
    EXPECT_NE(strKey, Load("k"));
}

TEST_F(CJournal, AJournalKeepsItsMode)
{
    MustWrite("one\n");
    ASSERT_EQ(0, chmod("j", 0640));
    MustWrite("two\n");
    struct stat status;
    ASSERT_EQ(0, stat("j", &status));
    EXPECT_EQ(0640u, status.st_mode & 07777);
}

TEST_F(CJournal, ModesGrantNobodyMoreThanBefore)
{
    struct SCase
    {
        mode_t uBefore;
        mode_t uKept;
        mode_t uGroupLost;
    };
    const SCase aCases[] = {{0600, 0600, 0600},  {0640, 0640, 0600},  {0664, 0664, 0644}, {0604, 0604, 0600},
                            {06755, 0755, 0755}, {04640, 0640, 0600}, {01666, 0666, 0666}};
    for (const SCase& rCase : aCases)
    {
        SCOPED_TRACE(testing::Message() << std::oct << rCase.uBefore);
        for (const bool bGroupLost : {false, true})
        {
            fs::remove("j");
            MustWrite("one\n", fs::exists("k") ? std::vector<std::string>{"--new"} : std::vector<std::string>{});
            ASSERT_EQ(0, chmod("j", rCase.uBefore));
            const CRefusedJournal journal;
            const CRefusing refusing("REFUSE_NAME", bGroupLost ? "fchown" : "nothing", "REFUSE_ERRNO",
                                     std::to_string(EPERM));
            MustWrite("two\n");
            struct stat status;
            ASSERT_EQ(0, stat("j", &status));
            EXPECT_EQ(bGroupLost ? rCase.uGroupLost : rCase.uKept, status.st_mode & 07777);
        }
    }
}

TEST_F(CJournal, ANewJournalHasTheModeThatTheUmaskSays)
{
    for (const mode_t uMask : {0022u, 0077u, 0027u})
    {
        fs::remove("j");
        umask(uMask);
        MustWrite("one\n", fs::exists("k") ? std::vector<std::string>{"--new"} : std::vector<std::string>{});
        umask(022);
        struct stat status;
        ASSERT_EQ(0, stat("j", &status));
        EXPECT_EQ(0666u & ~uMask, status.st_mode & 07777);
    }
}

TEST_F(CJournal, ASymbolicLinkStaysOne)
{
    MustWrite("one\n");
    fs::rename("j", "target");
    fs::create_symlink("target", "j");
    MustWrite("two\n");
    EXPECT_TRUE(fs::is_symlink("j"));
    ExpectIntact(2);
}

TEST_F(CJournal, AKeyThatOthersMayUseIsRefused)
{
    MustWrite("one\n");
    for (const mode_t uMode : {0640u, 0604u, 0610u, 0602u})
    {
        ASSERT_EQ(0, chmod("k", uMode));
        char szMode[8];
        std::snprintf(szMode, sizeof(szMode), "%04o", uMode);
        const std::string strMessage =
            std::string("k: a key is for its owner only, but the mode is ") + szMode + ": chmod 600 it";
        ExpectRefused(Verify(), strMessage);
        ExpectRefused(Run({"write", "--key", "k", "--journal", "j", "/dev/null"}), strMessage);
        ExpectRefused(Run({"show", "--key", "k", "--journal", "j"}), strMessage);
    }
}

TEST_F(CJournal, AKeyOfSomebodyElseIsRefused)
{
    MustWrite("one\n");
    const unsigned int uOther = geteuid() + 1;
    const CRefusedJournal journal;
    const CRefusing other("REFUSE_USER", std::to_string(uOther));
    const std::string strMessage = "k: a key is for its owner only, who is user " + std::to_string(geteuid());
    ExpectRefused(Verify(), strMessage);
    ExpectRefused(Run({"write", "--key", "k", "--journal", "j", "/dev/null"}), strMessage);
    ExpectRefused(Run({"show", "--key", "k", "--journal", "j"}), strMessage);
}

TEST_F(CJournal, NoKeyIsLeftInMemory)
{
    if (g_bSANITIZED) GTEST_SKIP() << "sanitizers take terabytes";
    const CRefusedJournal journal;
    const CRefusing searching("REFUSE_RESIDUE", "k");
    MustWrite("one\n");
    MustWrite("two\n", {"--seal"});
    ExpectIntact(2);
    EXPECT_EQ((std::vector<std::string>{"one", "two"}), ShownTexts({"--key", "k"}));
}

TEST_F(CJournal, ADeletedJournalIsNotBegunAnewWithoutAWord)
{
    MustWrite("one\n");
    const std::string strKey = Load("k");
    fs::remove("j");
    Store("text", "two\n");
    ExpectRefused(Run({"write", "--key", "k", "--journal", "j", "text"}),
                  "j: is missing, although its key k is there: if it was not deleted, --new begins it");
    EXPECT_EQ((std::set<std::string>{"k", "text"}), Files());
    MustWrite("two\n", {"--new"});
    EXPECT_EQ(strKey, Load("k"));
    ExpectIntact(1);
    Store("text", "three\n");
    ExpectRefused(Run({"write", "--new", "--key", "k", "--journal", "j", "text"}),
                  "j: is there already, --new begins another one");
    ExpectIntact(1);
}

TEST_F(CJournal, AFailedLockIsToldFromAnotherWriter)
{
    MustWrite("one\n");
    Store("text", "two\n");
    const CRefusedJournal journal;
    const CRefusing refusing("REFUSE_NAME", "flock", "REFUSE_ERRNO", std::to_string(ENOLCK));
    ExpectRefused(Run({"write", "--key", "k", "--journal", "j", "text"}),
                  (m_directory / "j").string() + ": cannot be locked: No locks available");
}

TEST_F(CJournal, AKeyFileThatIsNoneIsRefused)
{
    MustWrite("one\n");
    const std::string strKey = Load("k");
    Store("k", strKey.substr(1));
    ExpectRefused(Verify(), "k: not a key file: 31 bytes instead of 32");
    Store("k", strKey + "x");
    ExpectRefused(Verify(), "k: not a key file: 33 bytes instead of 32");
    fs::remove("k");
    ExpectRefused(Verify(), "k: No such file or directory");
    ExpectRefused(Run({"write", "--key", "k", "--journal", "j", "/dev/null"}), "k: No such file or directory");
    EXPECT_FALSE(fs::exists("k")) << "a new key cannot fit an old journal";
    fs::create_directory("k");
    ExpectRefused(Verify(), "k: not a key file");
}

TEST_F(CJournal, WhatCannotBeReadLeavesTheJournalUntouched)
{
    MustWrite("one\n");
    const std::string strBefore = Load("j");
    Store("good", "two\n");
    fs::create_directory("dir");
    const std::set<std::string> files = Files();
    ExpectRefused(Run({"write", "--key", "k", "--journal", "j", "good", "missing"}),
                  "missing: No such file or directory");
    ExpectRefused(Run({"write", "--key", "k", "--journal", "j", "good", "dir"}), "dir: a directory");
    // Opened well, but fails when read.
    ExpectRefused(Run({"write", "--key", "k", "--journal", "j", "good", "/proc/self/mem"}),
                  "/proc/self/mem: Input/output error");
    EXPECT_EQ(strBefore, Load("j"));
    EXPECT_EQ(files, Files());
}

TEST_F(CJournal, WhatCannotBeReadMakesNoJournal)
{
    const SRunResult outcome = Run({"write", "--key", "k", "--journal", "j", "missing"});
    ExpectRefused(outcome, "missing: No such file or directory");
    EXPECT_TRUE(Files().empty());
    Store("long", std::string(70000, 'x'));
    ExpectRefused(Run({"write", "--key", "k", "--journal", "j", "long"}),
                  "long: line 1 is longer than 65,535 characters");
    EXPECT_EQ((std::set<std::string>{"long"}), Files());
}

TEST_F(CJournal, ANameMayBeAsLongAsThoseOfTheSystem)
{
    const std::string strLongest(PATH_MAX - 1, 'x');
    Store("text", "one\n");
    ExpectRefused(Run({"write", "--key", "k", "--journal", strLongest, "text"}), strLongest + ": File name too long");
    ExpectRefused(Run({"write", "--key", "k", "--journal", strLongest + "x", "text"}),
                  "a name is longer than 4095 characters");
    EXPECT_EQ((std::set<std::string>{"text"}), Files());
}

TEST_F(CJournal, AJournalThatIsNoRegularFileIsRefused)
{
    MustWrite("one\n");
    fs::create_directory("dir");
    Store("text", "two\n");
    ExpectRefused(Run({"write", "--key", "k", "--journal", "dir", "text"}),
                  (m_directory / "dir").string() + ": not a regular file");
    ExpectRefused(Run({"write", "--key", "k", "--journal", "/dev/null", "text"}), "/dev/null: not a regular file");
    ExpectRefused(Run({"verify", "--key", "k", "--journal", "dir"}), "dir: Is a directory");
    ExpectRefused(Run({"verify", "--key", "k", "--journal", "missing"}), "missing: No such file or directory");
    ExpectRefused(Run({"write", "--new", "--key", "k", "--journal", "missing/j", "text"}),
                  "missing/j: No such file or directory");
}

TEST_F(CJournal, AnyChangedByteIsFoundAndItsPlaceNamed)
{
    MustWrite("text\n\n");
    const std::string strJournal = Load("j");
    std::mt19937 rng(TestSeed());
    std::size_t uBegin = 0;
    const std::vector<std::string> parts = PartsOf(strJournal);
    ASSERT_EQ(4u, parts.size());
    for (std::size_t uPart = 0; uPart < parts.size(); uBegin += parts[uPart++].size())
    {
        const std::string strPlace = uPart == 0 ? "header: " : "record " + std::to_string(uPart) + ": ";
        for (std::size_t u = 0; u < parts[uPart].size(); ++u)
        {
            const unsigned int uChange = 1 + Below(rng, 255);
            SCOPED_TRACE(testing::Message() << "part " << uPart << ", byte " << u << " changed by " << uChange);
            std::string strChanged = strJournal;
            strChanged[uBegin + u] = static_cast<char>(strChanged[uBegin + u] ^ static_cast<char>(uChange));
            Store("j", strChanged);
            const SRunResult outcome = Verify();
            EXPECT_EQ(1, outcome.nStatus);
            EXPECT_EQ("", outcome.strOutput);
            const bool bNamed = StartsWith(outcome.strErrors, "journal: j: " + strPlace);
            const bool bClosing = outcome.strErrors == std::string("journal: j: closing record") + g_pszDamaged + "\n";
            EXPECT_TRUE(bNamed || (bClosing && uPart == 3)) << outcome.strErrors;
        }
    }
}

TEST_F(CJournal, ACutAtAnyLengthIsRefusedAndTheFirstMissingPartNamed)
{
    MustWrite("text\n\n");
    const std::string strJournal = Load("j");
    std::size_t uBegin = 0;
    const std::vector<std::string> parts = PartsOf(strJournal);
    for (std::size_t uPart = 0; uPart < parts.size(); uBegin += parts[uPart++].size())
    {
        const std::string strPlace = uPart == 0 ? "header: " : "record " + std::to_string(uPart) + ": ";
        const std::string strWant = "journal: j: " + strPlace + "truncated";
        for (std::size_t u = 0; u < parts[uPart].size(); ++u)
        {
            SCOPED_TRACE(testing::Message() << "part " << uPart << " cut at " << u);
            Store("j", strJournal.substr(0, uBegin + u));
            const SRunResult outcome = Verify();
            EXPECT_EQ(1, outcome.nStatus);
            EXPECT_TRUE(StartsWith(outcome.strErrors, strWant)) << outcome.strErrors;
        }
        Store("j", strJournal.substr(0, uBegin));
        const SRunResult outcome = Run({"show", "--journal", "j"});
        EXPECT_EQ(1, outcome.nStatus);
        EXPECT_TRUE(StartsWith(outcome.strErrors, strWant)) << outcome.strErrors;
    }
}

TEST_F(CJournal, MovedMissingAndRepeatedRecordsAreNamed)
{
    MustWrite(NumberedLines(8));
    const std::vector<std::string> parts = PartsOf(Load("j"));
    const auto expect = [&](const std::vector<std::string>& rChanged, const std::string& rMessage)
    {
        Store("j", Joined(rChanged));
        ExpectRefused(Verify(), rMessage);
        ExpectRefused(Run({"show", "--journal", "j", "--from", "9"}), rMessage);
    };

    std::vector<std::string> swapped = parts;
    std::swap(swapped[5], swapped[7]);
    expect(swapped, "j: record 5: found record 7 in its place");

    std::vector<std::string> neighbours = parts;
    std::swap(neighbours[1], neighbours[2]);
    expect(neighbours, "j: record 1: found record 2 in its place");

    std::vector<std::string> missing = parts;
    missing.erase(missing.begin() + 3);
    expect(missing, "j: record 3: found record 4 in its place");

    std::vector<std::string> repeated = parts;
    repeated.insert(repeated.begin() + 3, parts[3]);
    expect(repeated, "j: record 4: found record 3 in its place");

    std::vector<std::string> withoutLast = parts;
    withoutLast.erase(withoutLast.end() - 2);
    expect(withoutLast, "j: record 8: found the closing record of 8 records in its place");

    std::vector<std::string> empty = {parts.front(), parts.back()};
    expect(empty, "j: record 1: found the closing record of 8 records in its place");

    std::vector<std::string> followed = parts;
    followed.push_back(parts[8]);
    expect(followed, "j: closing record: something follows it");
}

TEST_F(CJournal, PartsOfAnotherJournalUnderTheSameKeyAreNamed)
{
    MustWrite(NumberedLines(4));
    const std::vector<std::string> other = PartsOf(Load("j"));
    fs::remove("j");
    MustWrite(NumberedLines(4), {"--new"});
    const std::vector<std::string> parts = PartsOf(Load("j"));

    const auto replace = [&](std::size_t uPart)
    {
        std::vector<std::string> mixed = parts;
        mixed[uPart] = other[uPart];
        Store("j", Joined(mixed));
    };
    replace(3);
    ExpectRefused(Verify(), "j: record 3: found record 3 of another journal in its place");
    ExpectRefused(Run({"show", "--journal", "j", "--from", "5"}),
                  "j: record 3: does not continue what stands before it");
    replace(0);
    ExpectRefused(Verify(), "j: record 1: found record 1 of another journal in its place");
    replace(5);
    ExpectRefused(Verify(), "j: closing record: found that of another journal");
    ExpectRefused(Run({"show", "--journal", "j", "--from", "5"}),
                  "j: closing record: does not continue what stands before it");
}

TEST_F(CJournal, AnotherKeyIsToldFromCorruption)
{
    MustWrite("one\n");
    const std::string strJournal = Load("j");
    std::string strKey = Load("k");
    strKey[31] ^= 1;
    Store("k", strKey);
    ExpectRefused(Verify(), "j: header: not made under this key, or forged");
    const SRunResult outcome = Run({"write", "--key", "k", "--journal", "j", "/etc/passwd"});
    ExpectRefused(outcome, (m_directory / "j").string() + ": header: not made under this key, or forged");
    EXPECT_EQ(strJournal, Load("j"));

    strKey[31] ^= 1;
    Store("k", strKey);
    std::string strChanged = strJournal;
    strChanged[20] ^= 1;
    Store("j", strChanged);
    ExpectRefused(Verify(), std::string("j: header") + g_pszDamaged);
    ExpectRefused(Run({"show", "--journal", "j"}), std::string("j: header") + g_pszDamaged);
    std::vector<std::string> parts = PartsOf(strChanged);
    FixCrc(parts[0]);
    Store("j", Joined(parts));
    ExpectRefused(Verify(), std::string("j: header") + g_pszForged);
}

TEST_F(CJournal, DamageIsToldFromForgery)
{
    MustWrite("one\ntwo\n");
    const std::vector<std::string> parts = PartsOf(Load("j"));
    struct SCase
    {
        std::size_t uPart;
        const char* pszPlace;
    };
    for (const SCase& rCase : {SCase{1, "j: record 1"}, SCase{2, "j: record 2"}, SCase{3, "j: closing record"}})
    {
        std::vector<std::string> changed = parts;
        std::string& rPart = changed[rCase.uPart];
        rPart[rPart.size() - g_uTailSize] ^= 1;
        Store("j", Joined(changed));
        ExpectRefused(Verify(), std::string(rCase.pszPlace) + g_pszDamaged);
        ExpectRefused(Run({"show", "--journal", "j"}), std::string(rCase.pszPlace) + g_pszDamaged);
        FixCrc(rPart);
        Store("j", Joined(changed));
        ExpectRefused(Verify(), std::string(rCase.pszPlace) + g_pszForged);
    }
}

TEST_F(CJournal, AFileThatIsNoJournalIsRefused)
{
    MustWrite("one\n");
    Store("text", std::string(100, 'x'));
    ExpectRefused(Run({"verify", "--key", "k", "--journal", "text"}), "text: header: not a journal");
    ExpectRefused(Run({"show", "--journal", "text"}), "text: header: not a journal");
    std::string strNewer = Load("j");
    strNewer[8] = 3;
    Store("j", strNewer);
    ExpectRefused(Verify(), "j: header: unknown version 3");
}

TEST_F(CJournal, ABrokenJournalIsNotContinued)
{
    MustWrite(NumberedLines(3));
    std::string strBroken = Load("j");
    strBroken[strBroken.size() - 1] ^= 1;
    Store("j", strBroken);
    Store("text", "more\n");
    ExpectRefused(Run({"write", "--key", "k", "--journal", "j", "text"}),
                  (m_directory / "j").string() + ": closing record" + g_pszDamaged);
    EXPECT_EQ(strBroken, Load("j"));
    EXPECT_EQ((std::set<std::string>{"j", "k", "text"}), Files());
}

TEST_F(CJournal, AFullDiskLeavesTheJournalUntouched)
{
    MustWrite("one\n");
    const std::string strBefore = Load("j");
    Store("text", NumberedLines(2000));
    for (const rlim_t uLimit : {100u, 5000u, 50000u})
    {
        ExpectRefused(Run({"write", "--key", "k", "--journal", "j", "text"}, {{RLIMIT_FSIZE, uLimit}}),
                      (m_directory / "j").string() + ": File too large");
        EXPECT_EQ(strBefore, Load("j"));
        EXPECT_EQ((std::set<std::string>{"j", "k", "text"}), Files());
    }
    // Half a key is none. The limit cuts the message off, too.
    EXPECT_EQ(1, Run({"write", "--key", "new", "--journal", "j2", "text"}, {{RLIMIT_FSIZE, 16}}).nStatus);
    EXPECT_EQ((std::set<std::string>{"j", "k", "text"}), Files());
}

TEST_F(CJournal, OutputThatCannotBePrintedIsAnError)
{
    MustWrite(NumberedLines(5));
    const std::string strMessage = "standard output: No space left on device";
    ExpectRefused(Run({"show", "--journal", "j"}, {}, "/dev/null", "/dev/full"), strMessage);
    ExpectRefused(Run({"verify", "--key", "k", "--journal", "j"}, {}, "/dev/null", "/dev/full"), strMessage);
}

TEST_F(CJournal, UsageErrorsAreToldFromRefusals)
{
    const auto expect = [&](const std::vector<std::string>& rArguments, const std::string& rMessage)
    {
        const SRunResult outcome = Run(rArguments);
        EXPECT_EQ(2, outcome.nStatus);
        EXPECT_EQ("", outcome.strOutput);
        EXPECT_EQ("journal: " + rMessage + " (see journal --help)\n", outcome.strErrors);
    };
    expect({}, "no command given");
    expect({"erase"}, "unknown command: erase");
    expect({"verify", "--quiet"}, "unknown option: --quiet");
    expect({"verify", "--key"}, "an option lacks its value: --key");
    expect({"verify", "--key", "k"}, "--journal is missing");
    expect({"verify", "--journal", "j"}, "--key is missing");
    expect({"write", "--journal", "j", "text"}, "--key is missing");
    expect({"write", "--key", "k", "--journal", "j"}, "no file given");
    expect({"verify", "--key", "k", "--journal", "j", "text"}, "one argument too many: text");
    expect({"show", "--journal", "j", "text"}, "one argument too many: text");
    expect({"verify", "--key", "k", "--journal", "j", "--to", "2"}, "--from and --to are for show");
    expect({"verify", "--key", "k", "--journal", "j", "--since", "2"}, "--since and --until are for show");
    expect({"write", "--key", "k", "--journal", "j", "--until", "2", "text"}, "--since and --until are for show");
    expect({"write", "--key", "k", "--journal", "j", "--last", "2", "text"}, "--last is for show");
    expect({"show", "--journal", "j", "--seal"}, "--seal is for write");
    expect({"verify", "--key", "k", "--journal", "j", "--seal"}, "--seal is for write");
    for (const char* const pszBad : {"", "0", "-1", "1x", "x", "99999999999999999999"})
    {
        expect({"show", "--journal", "j", "--from", pszBad}, "not the number of a record: --from");
        expect({"show", "--journal", "j", "--to", pszBad}, "not the number of a record: --to");
        expect({"show", "--journal", "j", "--last", pszBad}, "not a number of records: --last");
    }
    for (const char* const pszBad : {"", "-1", "1x", "yesterday", "99999999999999999999"})
    {
        expect({"show", "--journal", "j", "--since", pszBad}, "not seconds since the epoch: --since");
        expect({"show", "--journal", "j", "--until", pszBad}, "not seconds since the epoch: --until");
    }
    expect({"show", "--journal", "j", "--since", "3", "--until", "2"}, "--since is behind --until");
    const std::string strExclusive = "--from/--to, --since/--until and --last exclude each other";
    expect({"show", "--journal", "j", "--from", "3", "--since", "2"}, strExclusive);
    expect({"show", "--journal", "j", "--until", "3", "--last", "2"}, strExclusive);
    expect({"show", "--journal", "j", "--last", "3", "--to", "2"}, strExclusive);
    expect({"show", "--journal", "j", "--from", "3", "--to", "2"}, "--from is behind --to");
    EXPECT_TRUE(Files().empty());
}

TEST_F(CJournal, HelpTellsTheCommandsAndTheLimit)
{
    for (const char* const pszHelp : {"--help", "-h"})
    {
        const SRunResult outcome = Run({pszHelp});
        EXPECT_EQ(0, outcome.nStatus);
        EXPECT_EQ("", outcome.strErrors);
        for (const char* const pszPart :
             {"journal write", "journal verify", "journal show", "65,535", "--from", "--seal", "--last", "--since"})
        {
            EXPECT_NE(std::string::npos, outcome.strOutput.find(pszPart)) << pszPart;
        }
    }
}

TEST_F(CJournal, MemoryDoesNotGrowWithTheInput)
{
    // Less address space than the text, let alone the journal, takes. Sanitizers need terabytes.
    std::vector<SLimit> limits;
    if constexpr (!g_bSANITIZED) limits.push_back({RLIMIT_AS, 20u << 20});
    const std::string strLine = std::string(97, 'x') + "\n";
    std::string strText;
    while (strText.size() < 24u << 20) strText += strLine;
    const auto uRecords = std::to_string(strText.size() / strLine.size());
    Store("text", strText);

    SRunResult outcome = Run({"write", "--key", "k", "--journal", "j", "text"}, limits);
    EXPECT_EQ("j: " + uRecords + " records written, " + uRecords + " in all\n", outcome.strOutput) << outcome.strErrors;
    outcome = Run({"verify", "--key", "k", "--journal", "j"}, limits);
    EXPECT_EQ("j: intact, " + uRecords + " records\n", outcome.strOutput) << outcome.strErrors;
    outcome = Run({"show", "--key", "k", "--journal", "j", "--from", uRecords}, limits);
    EXPECT_EQ(1u, LinesOf(outcome.strOutput).size()) << outcome.strErrors;
    outcome = Run({"show", "--key", "k", "--journal", "j", "--last", "1000"}, limits);
    EXPECT_EQ(1000u, LinesOf(outcome.strOutput).size()) << outcome.strErrors;
    outcome = Run({"show", "--key", "k", "--journal", "j", "--until", "1"}, limits);
    EXPECT_EQ("", outcome.strOutput + outcome.strErrors);
    Store("text", "one more\n");
    outcome = Run({"write", "--key", "k", "--journal", "j", "text"}, limits);
    EXPECT_EQ(0, outcome.nStatus) << outcome.strErrors;

    Store("text", std::string(24u << 20, 'x'));
    ExpectRefused(Run({"write", "--key", "k", "--journal", "j", "text"}, limits),
                  "text: line 1 is longer than 65,535 characters");
}

namespace
{
/// What has arrived so far at the master of a terminal.
std::string WhatIsOnTerminal(int nMaster)
{
    std::string strAll;
    for (struct pollfd ready = {nMaster, POLLIN, 0}; poll(&ready, 1, 0) == 1 && (ready.revents & POLLIN) != 0;)
    {
        char acPart[256];
        const ssize_t nRead = read(nMaster, acPart, sizeof(acPart));
        if (nRead <= 0) break;
        strAll.append(acPart, static_cast<std::size_t>(nRead));
    }
    return strAll;
}

/// `journal write ... -` with the writing end of a pipe as its standard input, and a terminal or none for its errors.
class CFedJournal
{
public:
    explicit CFedJournal(bool bOnTerminal, const std::vector<std::string>& rMoreArguments = {})
    {
        signal(SIGPIPE, SIG_IGN);  // Feed() reports it
        EXPECT_EQ(0, pipe2(m_anPipe, O_CLOEXEC));
        EXPECT_EQ(0, openpty(&m_nMaster, &m_nTerminal, nullptr, nullptr, nullptr));
        std::vector<std::string> arguments = {"write", "--key", "k", "--journal", "j", "-"};
        arguments.insert(arguments.end(), rMoreArguments.begin(), rMoreArguments.end());
        const int nNowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
        m_pid = StartProgram(g_pszJournal, arguments, {m_anPipe[0], nNowhere, bOnTerminal ? m_nTerminal : nNowhere},
                             []
                             {
                                 for (const int nSignal : {SIGHUP, SIGINT, SIGTERM}) signal(nSignal, SIG_DFL);
                             });
        close(nNowhere);
        close(m_anPipe[0]);
    }

    // Writes lines until they are taken.
    void Feed(const std::string& rText)
    {
        for (std::size_t uDone = 0; uDone < rText.size();)
        {
            const ssize_t nWritten = write(m_anPipe[1], rText.data() + uDone, rText.size() - uDone);
            if (nWritten <= 0) FAIL() << "the program reads no more";
            uDone += static_cast<std::size_t>(nWritten);
        }
    }

    std::string ReadTerminal() { return WhatIsOnTerminal(m_nMaster); }

    int Interrupt(int nSignal)
    {
        kill(m_pid, nSignal);
        return Finish();
    }

    int Finish()
    {
        close(m_anPipe[1]);
        return StatusOf(m_pid);
    }

    ~CFedJournal()
    {
        close(m_nMaster);
        close(m_nTerminal);
    }
    CFedJournal(const CFedJournal&) = delete;
    CFedJournal& operator=(const CFedJournal&) = delete;

private:
    int m_anPipe[2] = {};
    int m_nMaster = -1;
    int m_nTerminal = -1;
    pid_t m_pid = -1;
};
}  // namespace

TEST_F(CJournal, AnInterruptedWriteLeavesNothingBehind)
{
    MustWrite("one\n");
    const std::string strBefore = Load("j");
    for (const int nSignal : {SIGHUP, SIGINT, SIGTERM, SIGKILL})
    {
        CFedJournal journal(false);
        journal.Feed(NumberedLines(g_uManyLines));
        EXPECT_EQ(-nSignal, journal.Interrupt(nSignal));
        EXPECT_EQ(strBefore, Load("j"));
        EXPECT_EQ((std::set<std::string>{"j", "k"}), Files());
    }
}

// On file systems without unnamed files.
TEST_F(CJournal, ANamedTemporaryFileIsItsWritersOnlyAndDoesNotStay)
{
    const CRefusedJournal journalProgram;
    const CRefusing unsupported("REFUSE_UNNAMED", "1");
    for (const bool bNew : {true, false})
    {
        for (const int nSignal : {SIGHUP, SIGINT, SIGTERM, SIGKILL})
        {
            SCOPED_TRACE(testing::Message() << "signal " << nSignal << (bNew ? ", new" : ""));
            const std::set<std::string> before = Files();
            umask(0);
            CFedJournal journal(false);
            umask(022);
            journal.Feed(NumberedLines(g_uManyLines));
            unsigned int uTemporaries = 0;
            for (const std::string& rName : Files())
            {
                if (before.count(rName) != 0) continue;
                struct stat status = {};
                EXPECT_EQ(0, stat(rName.c_str(), &status));
                EXPECT_EQ(0600u, status.st_mode & 07777) << rName;
                ++uTemporaries;
            }
            EXPECT_EQ(bNew ? 2u : 1u, uTemporaries) << "of the journal, and of its key when that is new";
            EXPECT_EQ(-nSignal, journal.Interrupt(nSignal));
            if (nSignal == SIGKILL) continue;
            EXPECT_EQ(before, Files());
        }
        // What the killed one had to leave goes with the next call.
        MustWrite("one\n");
        EXPECT_EQ((std::set<std::string>{"j", "k"}), Files());
    }
    ExpectIntact(2);
}

TEST_F(CJournal, ANamedTemporaryFileThatIsInUseIsNotTaken)
{
    const CRefusedJournal journalProgram;
    const CRefusing unsupported("REFUSE_UNNAMED", "1");
    MustWrite("one\n");
    fs::remove("j");
    Store("text", "two\n");
    const std::vector<std::string> write = {"write", "--new", "--key", "k", "--journal", "j", "text"};
    CFedJournal journal(false, {"--new"});
    journal.Feed(NumberedLines(g_uManyLines));
    ExpectRefused(Run(write), "j: being written by somebody else");
    EXPECT_EQ(0, journal.Finish());
    ExpectIntact(g_uManyLines);
    EXPECT_EQ((std::set<std::string>{"j", "k", "text"}), Files());
}

TEST_F(CJournal, TwoWritersDoNotLoseEachOthersRecords)
{
    MustWrite("one\n");
    Store("text", "two\n");
    CFedJournal journal(false);
    journal.Feed(NumberedLines(g_uManyLines));
    ExpectRefused(Run({"write", "--key", "k", "--journal", "j", "text"}),
                  (m_directory / "j").string() + ": being written by somebody else");
    EXPECT_EQ(0, journal.Finish());
    ExpectIntact(g_uManyLines + 1);
}

TEST_F(CJournal, AJournalThatAppearsInTheMeantimeIsNotReplaced)
{
    CFedJournal journal(false);
    journal.Feed(NumberedLines(g_uManyLines));
    MustWrite("one\n");
    EXPECT_EQ(1, journal.Finish());
    ExpectIntact(1);
    EXPECT_EQ((std::set<std::string>{"j", "k"}), Files());
}

TEST_F(CJournal, ATerminalIsShownProgressWhichIsErasedInTheEnd)
{
    CFedJournal journal(true);
    const std::string strSome = NumberedLines(1000);
    std::string strShown;
    while (strShown.empty() && !HasFatalFailure())
    {
        journal.Feed(strSome);
        strShown = journal.ReadTerminal();
    }
    EXPECT_EQ(0, journal.Finish());
    strShown += journal.ReadTerminal();
    EXPECT_TRUE(StartsWith(strShown, "\r\033[Kwriting: ")) << strShown;
    EXPECT_TRUE(EndsWith(strShown, " records\r\033[K")) << strShown;
}

namespace
{
/// What `write` starts from, what it was to make of it, and what the program is asked to refuse.
class CRefusedWrite : public CJournal, public testing::WithParamInterface<std::tuple<bool, bool, bool>>
{
protected:
    bool IsNew() const { return std::get<0>(GetParam()); }
    bool IsNamed() const { return std::get<1>(GetParam()); }
    bool IsSealed() const { return std::get<2>(GetParam()); }

    void SetUp() override
    {
        CJournal::SetUp();
        if (IsNew()) return;
        MustWrite("one\n");
        ExpectIntact(1);
        m_strKey = Load("k");
        m_strJournal = Load("j");
    }

    void Reset()
    {
        fs::remove("k");
        fs::remove("j");
        if (IsNew()) return;
        Store("k", m_strKey);
        Store("j", m_strJournal);
        ASSERT_EQ(0, chmod("k", 0600));
    }

    SRunResult WriteRefused()
    {
        const CRefusedJournal journal;
        const CRefusing unsupported("REFUSE_UNNAMED", IsNamed() ? "1" : "0");
        std::vector<std::string> arguments = {"write", "--key", "k", "--journal", "j", "text"};
        if (IsSealed()) arguments.push_back("--seal");
        return Run(arguments);
    }

    void ExpectNew()
    {
        ExpectIntact(IsNew() ? 2 : 3);
        EXPECT_EQ((std::set<std::string>{"j", "k", "text"}), Files());
    }

    void ExpectOld()
    {
        if (IsNew())
        {
            EXPECT_EQ((std::set<std::string>{"text"}), Files());
            return;
        }
        EXPECT_EQ(m_strJournal, Load("j"));
        EXPECT_EQ(m_strKey, Load("k"));
        EXPECT_EQ((std::set<std::string>{"j", "k", "text"}), Files());
    }

    void WriteAndLook()
    {
        Reset();
        Store("text", "two\nthree\n");
        const SRunResult outcome = WriteRefused();
        // What can be done in another way need not fail.
        if (outcome.nStatus == 0) return ExpectNew();
        EXPECT_EQ(1, outcome.nStatus);
        EXPECT_EQ("", outcome.strOutput);
        EXPECT_TRUE(StartsWith(outcome.strErrors, "journal: ")) << outcome.strErrors;
        EXPECT_EQ(1u, LinesOf(outcome.strErrors).size());
        EXPECT_TRUE(EndsWith(outcome.strErrors, "out of memory\n") || EndsWith(outcome.strErrors, "output error\n"))
            << outcome.strErrors;
        ++m_uRefused;
        if (outcome.strErrors.find(": written, but ") != std::string::npos) ExpectNew();
        else ExpectOld();
    }

    std::string m_strKey;
    std::string m_strJournal;
    unsigned int m_uRefused = 0;
};

INSTANTIATE_TEST_SUITE_P(All, CRefusedWrite,
                         testing::Values(std::make_tuple(false, false, false), std::make_tuple(false, true, true),
                                         std::make_tuple(true, false, true), std::make_tuple(true, true, false)),
                         [](const auto& rInfo)
                         {
                             return std::string(std::get<0>(rInfo.param) ? "New" : "Continued") +
                                    (std::get<1>(rInfo.param) ? "Named" : "Unnamed") +
                                    (std::get<2>(rInfo.param) ? "Sealed" : "Plain");
                         });
}  // namespace

TEST_P(CRefusedWrite, WithoutMemoryNothingHappens)
{
    const unsigned int uRequests = RefuseEach("REFUSE_NEW", [&] { WriteAndLook(); });
    if (TESTS_OWN_OPERATOR_NEW == 0) GTEST_SKIP() << "the sanitizer brings its own operator new";
    EXPECT_GT(uRequests, 20u);
    EXPECT_GT(m_uRefused, 20u);
}

TEST_P(CRefusedWrite, WhenACallOfTheSystemFailsNothingHappens)
{
    EXPECT_GT(RefuseEach("REFUSE_CALL", [&] { WriteAndLook(); }), 12u);
    EXPECT_GT(m_uRefused, 12u);
}

TEST_P(CRefusedWrite, KilledAnywhereTheJournalIsIntact)
{
    const CRefusing killing("REFUSE_KILL", "1");
    const auto killAndLook = [&]
    {
        Reset();
        Store("text", "two\nthree\n");
        const SRunResult outcome = WriteRefused();
        EXPECT_TRUE(outcome.nStatus == -SIGKILL || outcome.nStatus == 0) << outcome.nStatus;
        const bool bMade = fs::exists("j") && (IsNew() || Load("j") != m_strJournal);
        unsigned int uRecords = bMade ? 2 : 0;
        if (!IsNew()) ++uRecords;
        if (uRecords != 0) ExpectIntact(uRecords);
        // And the next one goes on from there, and leaves no trace of the other.
        const bool bKeyOnly = fs::exists("k") && !fs::exists("j");
        unsetenv("REFUSE_CALL");
        std::vector<std::string> arguments = {"write", "--key", "k", "--journal", "j", "text"};
        if (bKeyOnly) arguments.push_back("--new");
        const SRunResult next = Run(arguments);
        EXPECT_EQ(0, next.nStatus) << next.strErrors;
        ExpectIntact(uRecords + 2);
        EXPECT_EQ((std::set<std::string>{"j", "k", "text"}), Files());
    };
    EXPECT_GT(RefuseEach("REFUSE_CALL", killAndLook), 12u);
}

TEST_F(CJournal, HelloPrintsTheCodeOfItsMessage)
{
    // Python: hmac.new(b"our secret", b"\x15\0Hello, world number 1", "sha1").hexdigest()
    ASSERT_EQ(0, std::system((std::string(g_pszHello) + " >ours").c_str()));
    EXPECT_EQ("af71426c22321fefba997deb4ee571e8054291bd\n", Load("ours"));
}

namespace
{
constexpr char g_szEraseLine[] = "\r\033[K";

/// What the program shows on a terminal for its errors, when each of its looks at the clock is nStepMs after the last.
/// With bOutputToo, of its output as well.
std::string ShownOnTerminal(const std::vector<std::string>& rArguments, int nStepMs, bool bOutputToo = false)
{
    const CRefusedJournal journalProgram;
    const CRefusing stepping("REFUSE_STEP", std::to_string(nStepMs));
    int nMaster = -1;
    int nTerminal = -1;
    EXPECT_EQ(0, openpty(&nMaster, &nTerminal, nullptr, nullptr, nullptr));
    const int nNowhere = open("/dev/null", O_RDWR | O_CLOEXEC);
    EXPECT_EQ(
        0, StatusOf(StartProgram(g_pszJournal, rArguments, {nNowhere, bOutputToo ? nTerminal : nNowhere, nTerminal})));
    close(nNowhere);
    const std::string strShown = WhatIsOnTerminal(nMaster);
    close(nTerminal);
    close(nMaster);
    return strShown;
}

std::string ProgressLine(const char* pszDoing, std::size_t uRecords, std::size_t uBytes, std::size_t uTotalBytes)
{
    return std::string(g_szEraseLine) + pszDoing + ": " + std::to_string(uRecords) + " records, " +
           std::to_string(uBytes * 100 / uTotalBytes) + " %";
}
}  // namespace

TEST_F(CJournal, ProgressIsShownFromHalfASecondOnFourTimesASecond)
{
    constexpr int nRECORDS = 9;
    MustWrite(NumberedLines(nRECORDS));
    const std::vector<std::string> parts = PartsOf(Load("j"));
    for (const int nStepMs : {1, 249, 250, 499, 500, 501})
    {
        SCOPED_TRACE(testing::Message() << nStepMs << " ms from look to look");
        std::string strExpected;
        std::size_t uBytes = 0;
        int nNextMs = 500;
        for (int nRecord = 1; nRecord <= nRECORDS; ++nRecord)
        {
            uBytes += parts[static_cast<std::size_t>(nRecord)].size();
            if (nRecord * nStepMs < nNextMs) continue;
            nNextMs = nRecord * nStepMs + 250;
            strExpected += ProgressLine("verifying", static_cast<std::size_t>(nRecord), uBytes, Joined(parts).size());
        }
        if (!strExpected.empty()) strExpected += g_szEraseLine;
        EXPECT_EQ(strExpected, ShownOnTerminal({"verify", "--key", "k", "--journal", "j"}, nStepMs));
    }
}

TEST_F(CJournal, ProgressOfAWriteCountsTheRecordsThatAreCopiedAndTheLines)
{
    MustWrite("one\ntwo\nthree\n");
    const std::vector<std::string> parts = PartsOf(Load("j"));
    const std::vector<std::string> lines = {"a line that is long enough to be more than one in a hundred\n", "\n",
                                            "end\n"};
    Store("text", Joined(lines));
    const std::size_t uTotalBytes = Joined(parts).size() + Joined(lines).size();
    std::string strExpected;
    std::size_t uRecords = 0;
    std::size_t uBytes = 0;
    for (std::size_t u = 1; u <= 3; ++u)
        strExpected += ProgressLine("writing", ++uRecords, uBytes += parts[u].size(), uTotalBytes);
    for (const std::string& rLine : lines)
        strExpected += ProgressLine("writing", ++uRecords, uBytes += rLine.size(), uTotalBytes);
    EXPECT_EQ(strExpected + g_szEraseLine, ShownOnTerminal({"write", "--key", "k", "--journal", "j", "text"}, 1000));
    ExpectIntact(6);
}

TEST_F(CJournal, ProgressOfAShowByTimeCountsWhatIsReadBeforeItIsPrinted)
{
    MustWrite("one\ntwo\nthree\n");
    const std::vector<std::string> parts = PartsOf(Load("j"));
    std::string strExpected;
    std::size_t uBytes = 0;
    for (std::size_t u = 1; u <= 3; ++u)
        strExpected += ProgressLine("reading", u, uBytes += parts[u].size(), Joined(parts).size());
    EXPECT_EQ(strExpected + g_szEraseLine,
              ShownOnTerminal({"show", "--key", "k", "--journal", "j", "--since", "0"}, 1000));
}

// The size of what the system makes up while it is read is 0.
TEST_F(CJournal, ProgressNeverIsMoreThanAHundredPercent)
{
    MustWrite("one\n");
    Store("text", "two\n");
    const std::string strShown =
        ShownOnTerminal({"write", "--key", "k", "--journal", "j", "text", "/proc/filesystems"}, 1000);
    EXPECT_NE(std::string::npos, strShown.find(" 100 %"));
    EXPECT_EQ(std::string::npos, strShown.find(" 101 %"));
}

TEST_F(CJournal, AFileSystemThatCannotKeepWhatIsThereGetsALinkInstead)
{
    const CRefusedJournal journalProgram;
    const CRefusing unsupported("REFUSE_UNNAMED", "1");
    const CRefusing refusing("REFUSE_NAME", "renameat2", "REFUSE_ERRNO", std::to_string(EINVAL));
    MustWrite("one\n");
    EXPECT_EQ((std::set<std::string>{"j", "k"}), Files());
    ExpectIntact(1);
}

TEST_F(CJournal, ProgressIsErasedBeforeTheLastRecordsAreShown)
{
    MustWrite("one\ntwo\nthree\n");
    const std::string strShown = ShownOnTerminal({"show", "--key", "k", "--journal", "j", "--last", "1"}, 1000, true);
    EXPECT_NE(std::string::npos, strShown.find("reading: 3 records, ")) << strShown;
    EXPECT_NE(std::string::npos, strShown.find("three"));
    EXPECT_LT(strShown.rfind(g_szEraseLine), strShown.find("three"));
}

TEST_F(CJournal, ProgressOfAWriteOfUnknownSizeHasNoPercentage)
{
    MustWrite("one\n");
    EXPECT_EQ(std::string(g_szEraseLine) + "writing: 1 records" + g_szEraseLine,
              ShownOnTerminal({"write", "--key", "k", "--journal", "j", "-"}, 1000));
}

TEST_F(CJournal, AWriteThatTakesFewBytesAtATimeLosesNone)
{
    const CRefusedJournal journalProgram;
    const CRefusing fewAtATime("REFUSE_BEHIND", "7");
    MustWrite(NumberedLines(20));
    ExpectIntact(20);
}

// Without /proc, an unnamed file could not be named later.
TEST_F(CJournal, WhereOpenFilesHaveNoPathTheTemporaryFileHasAName)
{
    const CRefusedJournal journalProgram;
    const CRefusing refusing("REFUSE_NAME", "access");
    CFedJournal journal(false);
    journal.Feed(NumberedLines(g_uManyLines));
    EXPECT_EQ(2u, Files().size()) << "of the journal, and of its key";
    EXPECT_EQ(0, journal.Finish());
    ExpectIntact(g_uManyLines);
}
