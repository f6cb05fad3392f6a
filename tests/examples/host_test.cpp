// Runs the host with the plug-ins beside it, and with what is none.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/digest_oracle.h"
#include "tests/support/run_program.h"

namespace
{
const std::string g_strShout = ORVEL_BINARY_DIR "/examples/host/shout.so";
const std::string g_strDigest = ORVEL_BINARY_DIR "/examples/host/digest.so";

SRunResult Host(const std::vector<std::string>& rArguments)
{
    return RunProgram(ORVEL_BINARY_DIR "/examples/host/host", rArguments);
}

std::string DigestOf(const std::string& rText)
{
    std::string strHex;
    for (const unsigned char uByte : EvpDigest(EVP_sha256(), rText.data(), rText.size()))
        for (const unsigned int uHalf : {uByte / 16u, uByte % 16u}) strHex += "0123456789abcdef"[uHalf];
    return strHex;
}

void ExpectFailure(const std::string& rErrors, const std::vector<std::string>& rArguments, const char* pszOutput = "")
{
    const SRunResult result = Host(rArguments);
    EXPECT_EQ(1, result.nStatus);
    EXPECT_EQ(pszOutput, result.strOutput);
    EXPECT_EQ(rErrors, result.strErrors);
}

TEST(HostExample, SendsATextThroughTheClassesOfAllPlugIns)
{
    const SRunResult result = Host({"Hello", "twice", "shout", "digest", "twice", "--", g_strShout, g_strDigest});
    const std::string strDigest = DigestOf("HELLOHELLO");
    EXPECT_EQ(0, result.nStatus);
    EXPECT_EQ("twice, by nobody: HelloHello\nshout, by Ada: HELLOHELLO\ndigest, by Grace: " + strDigest +
                  "\ntwice, by nobody: " + strDigest + strDigest + "\n",
              result.strOutput);
    EXPECT_EQ("", result.strErrors);
}

TEST(HostExample, UnloadsPlugIns)
{
    const std::string strCommand = "LD_DEBUG=files exec '" ORVEL_BINARY_DIR "/examples/host/host' a shout -- '";
    const SRunResult result = RunProgram("/bin/sh", {"-c", strCommand + g_strShout + "'"});
    EXPECT_EQ(0, result.nStatus);
    EXPECT_EQ("shout, by Ada: A\n", result.strOutput);
    EXPECT_NE(std::string::npos, result.strErrors.find("file=" + g_strShout + " [0];  destroying link map"));
}

TEST(HostExample, SaysWhichClassOrPlugInFails)
{
    ExpectFailure("host: digest: QV_RES_CLASS_NOT_REGISTERED\n", {"a", "twice", "digest", "--", g_strShout},
                  "twice, by nobody: aa\n");
    ExpectFailure("host: " + g_strShout + ": QV_RES_ALREADY_EXISTS\n", {"a", "twice", "--", g_strShout, g_strShout});
    ExpectFailure("host: plug-in: /nowhere.so: cannot open shared object file: No such file or directory\n",
                  {"a", "twice", "--", g_strShout, "/nowhere.so"});
    ExpectFailure("host: libm.so.6: no plug-in\n", {"a", "twice", "--", "libm.so.6"});
}

TEST(HostExample, TellsAClassWhoseTextGetsTooLong)
{
    std::vector<std::string> arguments(18, "twice");  // 2^16 characters
    arguments.front() = "ab";
    arguments.insert(arguments.end(), {"--", g_strShout});
    const SRunResult result = Host(arguments);
    EXPECT_EQ(1, result.nStatus);
    EXPECT_EQ("host: twice: QV_RES_INVALID_ARGUMENT\n", result.strErrors);
}

TEST(HostExample, ExplainsItself)
{
    const std::string strUsage = "host: usage: host TEXT CLASS... -- PLUGIN...\n";
    ExpectFailure(strUsage, {});
    ExpectFailure(strUsage, {"--", g_strShout});
    ExpectFailure(strUsage, {"a", "twice"});
    ExpectFailure(strUsage, {"a", "twice", "--"});
}
}  // namespace
