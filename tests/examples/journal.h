#ifndef TESTS_EXAMPLES_JOURNAL_H
#define TESTS_EXAMPLES_JOURNAL_H
#include <fcntl.h>
#include <gtest/gtest.h>
#include <openssl/evp.h>
#include <openssl/hmac.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "tests/examples/refusing.h"
#include "tests/support/run_program.h"
#include "tests/support/scratch_directory.h"

// The journal as a user runs it, and its file format as README.md has it: what journal_test.cpp works with.

namespace fs = std::filesystem;

using Strings = std::vector<std::string>;

inline const char* g_pszJournal = ORVEL_BINARY_DIR "/examples/journal/journal";

inline constexpr std::size_t g_uHEADER_SIZE = 52;
inline constexpr std::size_t g_uHEAD_SIZE = 28;  // of a frame: kind, size and link
inline constexpr std::size_t g_uLINK_AT = 8;
inline constexpr std::size_t g_uMAC_SIZE = 20;
inline constexpr std::size_t g_uCRC_SIZE = 4;
inline constexpr std::size_t g_uTAIL_SIZE = g_uMAC_SIZE + g_uCRC_SIZE;
inline constexpr std::size_t g_uNONCE_SIZE = 16;

inline std::string Load(const fs::path& rPath)
{
    std::ifstream file(rPath, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), {});
}

inline void Store(const fs::path& rPath, const std::string& rBytes)
{
    std::ofstream(rPath, std::ios::binary | std::ios::trunc) << rBytes;
}

struct SLimit
{
    decltype(RLIMIT_AS) eResource;
    rlim_t uValue;
};

inline Strings LinesOf(const std::string& rText)
{
    Strings lines;
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
    CRefusedJournal() : m_pszBefore(std::exchange(g_pszJournal, ORVEL_BINARY_DIR "/tests/journal_refused")) {}
    ~CRefusedJournal() { g_pszJournal = m_pszBefore; }
    CRefusedJournal(const CRefusedJournal&) = delete;
    CRefusedJournal& operator=(const CRefusedJournal&) = delete;

private:
    const char* m_pszBefore;
};

inline std::string NumberedLines(unsigned int uCount)
{
    std::string strText;
    for (unsigned int u = 1; u <= uCount; ++u) strText += "line " + std::to_string(u) + "\n";
    return strText;
}

inline bool StartsWith(const std::string& rText, const std::string& rStart)
{
    return rText.compare(0, rStart.size(), rStart) == 0;
}

inline bool EndsWith(const std::string& rText, const std::string& rEnd)
{
    return rText.size() >= rEnd.size() && rText.compare(rText.size() - rEnd.size(), rEnd.size(), rEnd) == 0;
}
/// The header, each record and the closing record of a journal.
inline Strings PartsOf(const std::string& rJournal)
{
    Strings parts = {rJournal.substr(0, g_uHEADER_SIZE)};
    for (std::size_t uAt = g_uHEADER_SIZE; uAt < rJournal.size();)
    {
        std::uint32_t uPayload = 0;
        std::memcpy(&uPayload, rJournal.data() + uAt + 4, sizeof(uPayload));
        const std::size_t uSize = g_uHEAD_SIZE + uPayload + g_uTAIL_SIZE;
        parts.push_back(rJournal.substr(uAt, uSize));
        uAt += uSize;
    }
    return parts;
}

inline std::string Joined(const Strings& rParts)
{
    std::string strAll;
    for (const std::string& rPart : rParts) strAll += rPart;
    return strAll;
}

inline std::uint32_t Crc32(const char* pcData, std::size_t uSize)
{
    std::uint32_t uCrc = 0xFFFFFFFF;
    for (std::size_t u = 0; u < uSize; ++u)
    {
        uCrc ^= static_cast<unsigned char>(pcData[u]);
        for (int nBit = 0; nBit < 8; ++nBit) uCrc = (uCrc >> 1) ^ ((uCrc & 1) != 0 ? 0xEDB88320 : 0);
    }
    return ~uCrc;
}

inline std::string HmacSha1(const std::string& rKey, const std::string& rData)
{
    std::string strMac(g_uMAC_SIZE, '\0');
    HMAC(EVP_sha1(), rKey.data(), static_cast<int>(rKey.size()), reinterpret_cast<const unsigned char*>(rData.data()),
         rData.size(), reinterpret_cast<unsigned char*>(strMac.data()), nullptr);
    return strMac;
}

/// What a forger without the key can do.
inline void FixCrc(std::string& rPart)
{
    const std::size_t uCrcAt = rPart.size() - g_uCRC_SIZE;
    const std::uint32_t uCrc = Crc32(rPart.data(), uCrcAt);
    std::memcpy(rPart.data() + uCrcAt, &uCrc, sizeof(uCrc));
}

/// What who has the key can do: chains changed parts anew.
inline void Rechain(Strings& rParts, const std::string& rKey)
{
    std::string strMac;
    for (std::string& rPart : rParts)
    {
        const std::size_t uMacAt = rPart.size() - g_uTAIL_SIZE;
        if (!strMac.empty()) rPart.replace(g_uLINK_AT, g_uMAC_SIZE, strMac);
        strMac = HmacSha1(rKey, rPart.substr(0, uMacAt));
        rPart.replace(uMacAt, g_uMAC_SIZE, strMac);
        FixCrc(rPart);
    }
}

/// A journal in which record n has the n-th time stamp, each of 10 digits.
inline void SetTimes(const Strings& rTimes)
{
    Strings parts = PartsOf(Load("j"));
    ASSERT_EQ(rTimes.size() + 2, parts.size());
    for (std::size_t u = 0; u < rTimes.size(); ++u)
    {
        parts[u + 1].replace(g_uHEAD_SIZE + 2 + std::to_string(u + 1).size() + 1, 10, rTimes[u]);
    }
    Rechain(parts, Load("k"));
    Store("j", Joined(parts));
}

inline std::string Decoded(const std::string& rBase64)
{
    std::string strBytes(rBase64.size() / 4 * 3, '\0');
    EVP_DecodeBlock(reinterpret_cast<unsigned char*>(strBytes.data()),
                    reinterpret_cast<const unsigned char*>(rBase64.data()), static_cast<int>(rBase64.size()));
    while (!rBase64.empty() && strBytes.size() > rBase64.find_last_not_of('=') * 3 / 4 + 1) strBytes.pop_back();
    return strBytes;
}

/// Opens nonce and encrypted text as README.md says.
inline std::string Opened(const std::string& rSealed, const std::string& rKey)
{
    const std::string strInfo = "text seal";
    const std::string strFirst = HmacSha1(rKey, strInfo + '\1');
    const std::string strDerived = (strFirst + HmacSha1(rKey, strFirst + strInfo + '\2')).substr(0, 32);
    std::string strText(rSealed.size() - g_uNONCE_SIZE, '\0');
    const auto* const puSealed = reinterpret_cast<const unsigned char*>(rSealed.data());
    EVP_CIPHER_CTX* const pContext = EVP_CIPHER_CTX_new();
    EVP_DecryptInit_ex(pContext, EVP_aes_256_ctr(), nullptr, reinterpret_cast<const unsigned char*>(strDerived.data()),
                       puSealed);
    int nSize = 0;
    EVP_DecryptUpdate(pContext, reinterpret_cast<unsigned char*>(strText.data()), &nSize, puSealed + g_uNONCE_SIZE,
                      static_cast<int>(strText.size()));
    EVP_CIPHER_CTX_free(pContext);
    return strText;
}

/// The one and the other.
inline Strings With(Strings first, const Strings& rMore)
{
    first.insert(first.end(), rMore.begin(), rMore.end());
    return first;
}

/// Works in a directory of its own, with a key "k" and a journal "j".
class CJournal : public testing::Test
{
protected:
    CJournal() { fs::current_path(m_scratch.GetPath()); }
    ~CJournal() override { fs::current_path("/"); }

    static SRunResult Run(const Strings& rArguments, const std::vector<SLimit>& rLimits = {},
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
    static SRunResult Write(const Strings& rMore, const std::vector<SLimit>& rLimits = {},
                            const char* pszInput = "/dev/null")
    {
        return Run(With({"write", "--key", "k", "--journal", "j"}, rMore), rLimits, pszInput);
    }
    static SRunResult Verify(const std::vector<SLimit>& rLimits = {})
    {
        return Run({"verify", "--key", "k", "--journal", "j"}, rLimits);
    }
    static SRunResult Show(const Strings& rMore = {}) { return Run(With({"show", "--journal", "j"}, rMore)); }
    static SRunResult ShowWithKey(const Strings& rMore = {}, const std::vector<SLimit>& rLimits = {})
    {
        return Run(With({"show", "--key", "k", "--journal", "j"}, rMore), rLimits);
    }

    static void MustWrite(const std::string& rText, const Strings& rMoreArguments = {})
    {
        Store("text", rText);
        const SRunResult outcome = Write(With({"text"}, rMoreArguments));
        ASSERT_EQ(0, outcome.nStatus) << outcome.strErrors;
        ASSERT_EQ("", outcome.strErrors);
        fs::remove("text");
    }
    /// In place of the journal that is there, if one is.
    static void MustBegin(const std::string& rText, const Strings& rMoreArguments = {})
    {
        fs::remove("j");
        MustWrite(rText, fs::exists("k") ? With({"--new"}, rMoreArguments) : rMoreArguments);
    }

    static void ExpectIntact(std::size_t uRecords)
    {
        const SRunResult outcome = Verify();
        EXPECT_EQ(0, outcome.nStatus);
        EXPECT_EQ("j: intact, " + std::to_string(uRecords) + " records\n", outcome.strOutput);
        EXPECT_EQ("", outcome.strErrors);
    }

    static void ExpectRefused(const SRunResult& rOutcome, const std::string& rMessage)
    {
        EXPECT_EQ(1, rOutcome.nStatus);
        EXPECT_EQ("journal: " + rMessage + "\n", rOutcome.strErrors);
    }

    /// The texts that show prints, with the numbers checked and the time stamps, all of the present, taken off.
    Strings ShownTexts(const Strings& rMoreArguments = {}, std::size_t uFrom = 1) const
    {
        const SRunResult outcome = Show(With({"--raw"}, rMoreArguments));
        EXPECT_EQ(0, outcome.nStatus) << outcome.strErrors;
        EXPECT_EQ("", outcome.strErrors);
        Strings texts;
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

    static mode_t ModeOf(const std::string& rName)
    {
        struct stat status = {};
        EXPECT_EQ(0, stat(rName.c_str(), &status)) << rName;
        return status.st_mode & 07777;
    }

    static std::set<std::string> Files()
    {
        std::set<std::string> names;
        for (const auto& rEntry : fs::directory_iterator(".")) names.insert(rEntry.path().filename());
        return names;
    }
    /// As the program names the file in some messages.
    static std::string FullName(const char* pszName) { return (fs::current_path() / pszName).string(); }

    const CScratchDirectory m_scratch{"journal_test"};
    const time_t m_nStarted = time(nullptr);
};

#endif
