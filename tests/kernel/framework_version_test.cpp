#include "framework/kernel/framework_version.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <string>

namespace
{
std::string TextOf(const CVersion& rVersion)
{
    char szText[16];
    EXPECT_LT(rVersion.GetStr(szText, sizeof(szText)), static_cast<int>(sizeof(szText)));
    return szText;
}

TEST(FrameworkVersion, IsTheOneThatTheBuildInstalls)
{
    EXPECT_EQ(ORVEL_VERSION, TextOf(QvGetFrameworkVersion()).substr(0, std::string(ORVEL_VERSION).size()));
    EXPECT_EQ("." + std::to_string(QV_FRAMEWORK_VERSION_BUILD),
              TextOf(QvGetFrameworkVersion()).substr(std::string(ORVEL_VERSION).size()));
}

TEST(FrameworkVersion, OfTheHeadersIsThatOfTheLibraryBuiltWithThem)
{
    EXPECT_TRUE(QvGetFrameworkVersion() == QvGetFrameworkHeaderVersion());
}

TEST(FrameworkVersion, CanBeComparedByThePreprocessor)
{
    const CVersion version = QvGetFrameworkHeaderVersion();
    EXPECT_EQ(QV_FRAMEWORK_VERSION, QV_FRAMEWORK_VERSION_OF(version.GetMajor(), version.GetMinor(),
                                                            version.GetRelease(), version.GetBuild()));
    EXPECT_LT(QV_FRAMEWORK_VERSION_OF(1, 0, 255, 255), QV_FRAMEWORK_VERSION_OF(1, 1, 0, 0));
    EXPECT_LT(QV_FRAMEWORK_VERSION_OF(1, 255, 255, 255), QV_FRAMEWORK_VERSION_OF(2, 0, 0, 0));
    EXPECT_LT(QV_FRAMEWORK_VERSION_OF(1, 2, 3, 4), QV_FRAMEWORK_VERSION_OF(1, 2, 4, 0));
}

TEST(FrameworkVersion, HasItsMajorNumberInTheNameThatProgramsLoad)
{
    const std::string soname = "liborvel_framework.so." + std::to_string(QvGetFrameworkVersion().GetMajor());
    void* const pvLoaded = dlopen(soname.c_str(), RTLD_NOW | RTLD_NOLOAD);
    EXPECT_NE(nullptr, pvLoaded) << "this program runs with the library, but not under the name " << soname;
    if (pvLoaded != nullptr) dlclose(pvLoaded);
}
}  // namespace
