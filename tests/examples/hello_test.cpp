// Runs the smallest example as a user would.
#include <gtest/gtest.h>

#include "tests/support/run_program.h"

TEST(HelloExample, PrintsTheCodeOfItsMessage)
{
    // Python: hmac.new(b"our secret", b"\x15\0Hello, world number 1", "sha1").hexdigest()
    const SRunResult result = RunProgram(ORVEL_BINARY_DIR "/examples/hello/hello", {});
    EXPECT_EQ(0, result.nStatus);
    EXPECT_EQ("af71426c22321fefba997deb4ee571e8054291bd\n", result.strOutput);
    EXPECT_EQ("", result.strErrors);
}
