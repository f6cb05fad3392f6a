#include <gtest/gtest.h>

#include "framework/crypto/aes.h"
#include "framework/kernel/framework_initializer.h"

namespace
{
class CAesProbe : public CAes
{
public:
    using CAes::ms_auModes;
    using CAes::ms_pveceModes;
};

TEST(CAesModule, TheModesLiveAsLongAsTheFramework)
{
    CAes aes;
    EXPECT_EQ(nullptr, aes.GetSupportedModes());
    for (unsigned int u = 0; u < 2; ++u)
    {
        ASSERT_EQ(QV_RES_OK, CFrameworkInitializer::Initialize());
        ASSERT_NE(nullptr, aes.GetSupportedModes());
        EXPECT_EQ(5u, aes.GetSupportedModes()->GetSize());
        EXPECT_EQ(CAesProbe::ms_pveceModes, aes.GetSupportedModes());
        EXPECT_EQ(static_cast<void*>(CAesProbe::ms_auModes), static_cast<void*>(CAesProbe::ms_pveceModes));
        CFrameworkInitializer::Finalize();
        EXPECT_EQ(nullptr, aes.GetSupportedModes());
    }
}

TEST(CAesModule, ItsFreeFunctionsAreItsStaticOnes)
{
    ASSERT_EQ(QV_RES_OK, CFrameworkInitializer::Initialize());
    FinalizeCAesBremoFwOpenSsl();
    EXPECT_EQ(nullptr, CAesProbe::ms_pveceModes);
    EXPECT_EQ(QV_RES_OK, InitializeCAesBremoFwOpenSsl());
    EXPECT_NE(nullptr, CAesProbe::ms_pveceModes);
    CFrameworkInitializer::Finalize();
}
}  // namespace
