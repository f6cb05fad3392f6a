// Encrypts and decrypts as a user would. The oracle is libcrypto, which reads what the program writes and the reverse.
#include <gtest/gtest.h>
#include <openssl/evp.h>
#include <sys/stat.h>

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "tests/examples/refusing.h"
#include "tests/support/digest_oracle.h"
#include "tests/support/run_program.h"
#include "tests/support/scratch_directory.h"
#include "tests/support/test_seed.h"

namespace
{
const char* const g_pszEncrypt = ORVEL_BINARY_DIR "/examples/encrypt/encrypt";

std::string ContentsOfFile(const std::string& rPath)
{
    std::ifstream file(rPath, std::ios::binary);
    std::ostringstream contents;
    contents << file.rdbuf();
    return contents.str();
}

std::string RandomText(std::size_t uSize)
{
    std::mt19937 rng(TestSeed());
    std::string strText(uSize, '\0');
    for (char& rc : strText) rc = static_cast<char>(rng());
    return strText;
}

std::vector<unsigned char> BytesOfText(const std::string& rText)
{
    return {rText.begin(), rText.end()};
}

/// The 64 bytes of a key file, by libcrypto.
std::string KeyIn(const std::string& rPath)
{
    const std::string strText = ContentsOfFile(rPath);
    EXPECT_EQ(89u, strText.size());  // 88 of base64, and the end of the line
    unsigned char auKey[66] = {};
    EXPECT_EQ(66, EVP_DecodeBlock(auKey, reinterpret_cast<const unsigned char*>(strText.data()), 88));
    return {auKey, auKey + 64};
}

/// AES-256 in counter mode, either way.
std::string AesCtr(const std::string& rKey, const std::string& rIv, const std::string& rText)
{
    std::string strOut(rText.size(), '\0');
    EVP_CIPHER_CTX* const pContext = EVP_CIPHER_CTX_new();
    const auto* const puKey = reinterpret_cast<const unsigned char*>(rKey.data());
    const auto* const puIv = reinterpret_cast<const unsigned char*>(rIv.data());
    int nSize = 0;
    EXPECT_EQ(1, EVP_EncryptInit_ex(pContext, EVP_aes_256_ctr(), nullptr, puKey, puIv));
    EXPECT_EQ(1,
              EVP_EncryptUpdate(pContext, reinterpret_cast<unsigned char*>(strOut.data()), &nSize,
                                reinterpret_cast<const unsigned char*>(rText.data()), static_cast<int>(rText.size())));
    EVP_CIPHER_CTX_free(pContext);
    return strOut;
}

std::string MacOf(const std::string& rKey, const std::string& rText)
{
    const std::vector<unsigned char> mac = EvpHmac(EVP_sha1(), BytesOfText(rKey), BytesOfText(rText));
    return {mac.begin(), mac.end()};
}

class EncryptExample : public testing::Test
{
protected:
    void SetUp() override { ASSERT_EQ(0, RunProgram(g_pszEncrypt, {"key", m_strKeyFile}).nStatus); }

    SRunResult Encrypt(const std::string& rText) const { return RunProgram(g_pszEncrypt, {"e", m_strKeyFile}, rText); }
    SRunResult Decrypt(const std::string& rText) const { return RunProgram(g_pszEncrypt, {"d", m_strKeyFile}, rText); }

    void ExpectRefusal(const std::string& rErrors, const SRunResult& rResult) const
    {
        EXPECT_EQ(1, rResult.nStatus);
        EXPECT_EQ("", rResult.strOutput);
        EXPECT_EQ("encrypt: " + rErrors + "\n", rResult.strErrors);
    }

    CScratchDirectory m_directory{"encrypt"};
    std::string m_strKeyFile = m_directory.GetPath() / "key";
};

TEST_F(EncryptExample, WritesAndReadsWhatLibcryptoReadsAndWrites)
{
    const std::string strKey = KeyIn(m_strKeyFile);
    for (const std::size_t uSize : {0u, 1u, 15u, 16u, 17u, 65536u, 65537u, 200000u})
    {
        SCOPED_TRACE(uSize);
        const std::string strPlain = RandomText(uSize);
        const SRunResult encrypted = Encrypt(strPlain);
        ASSERT_EQ(0, encrypted.nStatus) << encrypted.strErrors;
        ASSERT_EQ(uSize + 36, encrypted.strOutput.size());
        const std::string strIv = encrypted.strOutput.substr(0, 16);
        const std::string strProved = encrypted.strOutput.substr(0, uSize + 16);
        EXPECT_EQ(MacOf(strKey.substr(32), strProved), encrypted.strOutput.substr(uSize + 16));
        EXPECT_EQ(strPlain, AesCtr(strKey.substr(0, 32), strIv, strProved.substr(16)));

        const std::string strOwn = RandomText(16) + AesCtr(strKey.substr(0, 32), RandomText(16), strPlain);
        const SRunResult decrypted = Decrypt(strOwn + MacOf(strKey.substr(32), strOwn));
        EXPECT_EQ(0, decrypted.nStatus) << decrypted.strErrors;
        EXPECT_EQ(strPlain, decrypted.strOutput);
    }
}

TEST_F(EncryptExample, MakesAKeyForItsOwnerAndNeverOverAnother)
{
    struct stat status = {};
    ASSERT_EQ(0, stat(m_strKeyFile.c_str(), &status));
    EXPECT_EQ(0600u, status.st_mode & 07777);
    const std::string strKey = ContentsOfFile(m_strKeyFile);
    ExpectRefusal(m_strKeyFile + ": File exists", RunProgram(g_pszEncrypt, {"key", m_strKeyFile}));
    EXPECT_EQ(strKey, ContentsOfFile(m_strKeyFile));
    EXPECT_NE(Encrypt("abc").strOutput, Encrypt("abc").strOutput);  // no two begin with the same bytes
}

TEST_F(EncryptExample, GivesNothingOfAFileThatWasChanged)
{
    const std::string strChanged = "the file was changed, or encrypted with another key";
    const std::string strFile = Encrypt(RandomText(70000)).strOutput;
    for (const std::size_t uAt : {std::size_t{0}, std::size_t{16}, std::size_t{66000}, strFile.size() - 1})
    {
        std::string strOther = strFile;
        strOther[uAt] = static_cast<char>(strOther[uAt] ^ 1);
        ExpectRefusal(strChanged, Decrypt(strOther));
    }
    ExpectRefusal(strChanged, Decrypt(strFile.substr(0, strFile.size() - 1)));
    ExpectRefusal(strChanged, Decrypt(strFile.substr(0, 36)));
    ExpectRefusal("this is no encrypted file", Decrypt(strFile.substr(0, 35)));
    ExpectRefusal("this is no encrypted file", Decrypt(""));
    const std::string strOtherKey = m_directory.GetPath() / "other";
    ASSERT_EQ(0, RunProgram(g_pszEncrypt, {"key", strOtherKey}).nStatus);
    ExpectRefusal(strChanged, RunProgram(g_pszEncrypt, {"d", strOtherKey}, strFile));
}

// What it writes waits in the pipe meanwhile: it is far from the end of the file.
TEST_F(EncryptExample, SaysThatTheFileChangedBetweenTheTwoTimesThatItIsRead)
{
    const std::string strPath = m_directory.GetPath() / "file";
    const std::string strFile = Encrypt(RandomText(2000000)).strOutput;
    std::ofstream(strPath, std::ios::binary) << strFile;
    const std::string strCommand =
        std::string("'") + g_pszEncrypt + "' d '" + m_strKeyFile + "' < '" + strPath + "' 2>&1";
    FILE* const pOutput = popen(strCommand.c_str(), "r");
    ASSERT_NE(nullptr, pOutput);
    ASSERT_NE(EOF, std::fgetc(pOutput));
    std::fstream file(strPath, std::ios::binary | std::ios::in | std::ios::out);
    file.seekp(1900000);
    file.put(static_cast<char>(strFile[1900000] ^ 1));
    file.close();
    std::string strOutput;
    for (int n = std::fgetc(pOutput); n != EOF; n = std::fgetc(pOutput)) strOutput += static_cast<char>(n);
    EXPECT_NE(0, pclose(pOutput));
    EXPECT_NE(std::string::npos, strOutput.find("encrypt: the file changed while it was read: "));
}

TEST_F(EncryptExample, SaysWhatCannotBeReadOrWritten)
{
    const std::string strNone = m_directory.GetPath() / "none";
    ExpectRefusal(strNone + ": No such file or directory", RunProgram(g_pszEncrypt, {"e", strNone}));
    for (const char* const pszText : {"", "AAAA", "AAA", "no key\n"})
    {
        const std::string strOther = m_directory.GetPath() / "other";
        std::ofstream(strOther) << pszText;
        ExpectRefusal("this is no key file", RunProgram(g_pszEncrypt, {"e", strOther}));
    }
    ExpectRefusal("standard output: No space left on device",
                  RunProgram(g_pszEncrypt, {"e", m_strKeyFile}, "abc", "/dev/full"));
    const std::string strCommand = std::string("'") + g_pszEncrypt + "' \"$1\" '" + m_strKeyFile + "' ";
    ExpectRefusal("standard input: Illegal seek", RunProgram("/bin/sh", {"-c", ": | " + strCommand, "sh", "d"}));
    const SRunResult unread = RunProgram("/bin/sh", {"-c", strCommand + "< /", "sh", "e"});
    EXPECT_EQ(1, unread.nStatus);
    EXPECT_EQ("encrypt: standard input: Is a directory\n", unread.strErrors);
}

TEST_F(EncryptExample, ExplainsItself)
{
    for (const std::vector<std::string>& rArguments :
         {std::vector<std::string>{}, {"e"}, {"x", m_strKeyFile}, {"e", m_strKeyFile, "more"}})
    {
        const SRunResult result = RunProgram(g_pszEncrypt, rArguments);
        EXPECT_EQ(2, result.nStatus);
        EXPECT_EQ(0u, result.strErrors.find("encrypt key KEYFILE")) << result.strErrors;
    }
}

TEST_F(EncryptExample, DoesAllOrSaysWhyNotWhenMemoryRunsOut)
{
    const std::string strPlain = RandomText(70000);
    const std::string strFile = Encrypt(strPlain).strOutput;
    for (const std::string strAction : {"e", "d"})
    {
        const auto runAndLook = [&]
        {
            const SRunResult result = RunProgram(ORVEL_BINARY_DIR "/tests/encrypt_refused", {strAction, m_strKeyFile},
                                                 strAction == "e" ? strPlain : strFile);
            if (result.nStatus == 0)
            {
                EXPECT_EQ(strPlain, strAction == "d" ? result.strOutput : Decrypt(result.strOutput).strOutput);
                return;
            }
            EXPECT_EQ(1, result.nStatus);
            EXPECT_EQ(0u, result.strErrors.find("encrypt: ")) << result.strErrors;
        };
        const unsigned int uRequests = RefuseEach("REFUSE_NEW", runAndLook);
        if (TESTS_OWN_OPERATOR_NEW == 0) GTEST_SKIP() << "the sanitizer brings its own operator new";
        EXPECT_GT(uRequests, 5u);
    }
}
}  // namespace
