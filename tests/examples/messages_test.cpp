// Lets the server meet its peers, and looks at what it says of each.
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <string>

#include "tests/support/run_program.h"
#include "tests/support/sanitizers.h"

namespace
{
constexpr rlim_t g_uMEMORY = rlim_t{1} << 30;

SRunResult Messages(const std::vector<std::string>& rArguments)
{
    return RunProgram(ORVEL_BINARY_DIR "/examples/messages/messages", rArguments, "", nullptr,
                      []
                      {
                          // Far less than a peer announces. Sanitizers reserve more than there is.
                          const rlimit limit = {g_uMEMORY, g_uMEMORY};
                          if (!g_bSANITIZED) setrlimit(RLIMIT_AS, &limit);
                      });
}

TEST(MessagesExample, TakesWhatIsWholeAndProvedAndNamesAllElse)
{
    for (const std::string strCount : {"1", "3", "5000"})
    {
        const SRunResult result = Messages({strCount});
        EXPECT_EQ(0, result.nStatus);
        EXPECT_EQ(
            "cut: 0 messages, then a cut message\n"
            "forging: 0 messages, then a forged message\n"
            "greedy: 0 messages, then a size above all bounds\n"
            "honest: " +
                strCount +
                " messages, then the end\n"
                "lying: 0 messages, then a malformed message\n"
                "silent: 0 messages, then a malformed message\n",
            result.strOutput);
        EXPECT_EQ("", result.strErrors);
    }
}

TEST(MessagesExample, WantsANumber)
{
    EXPECT_EQ(0, Messages({}).nStatus);
    EXPECT_EQ(2, Messages({"many"}).nStatus);
}
}  // namespace
