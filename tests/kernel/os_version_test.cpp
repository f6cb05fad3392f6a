#include "framework/kernel/os_version.h"

#include <gtest/gtest.h>

#include "tests/support/object_bytes.h"

static_assert(sizeof(g_eOsVersion) == 4);

TEST(COsVersion, IsSixAndKeptInTheExportedVariable)
{
    EXPECT_EQ(COsVersion::eUNKNOWN, g_eOsVersion) << "nobody has asked yet";
    EXPECT_EQ(6u, COsVersion::GetOsVersion());
    EXPECT_EQ(6u, LoadAt<unsigned int>(&g_eOsVersion, 0));
    g_eOsVersion = COsVersion::eUNKNOWN;
    EXPECT_EQ(COsVersion::eLINUX, COsVersion::GetOsVersion());
    EXPECT_EQ(COsVersion::eLINUX, g_eOsVersion);
}
