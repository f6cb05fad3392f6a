#include "tests/abi/guarded.h"

class CVersion
{
public:
    CVersion();
    CVersion(const CVersion& rOther);
    explicit CVersion(const char* pszVersion);
    ~CVersion();
    unsigned char GetMajor() const;
    unsigned char GetMinor() const;
    unsigned char GetRelease() const;
    unsigned char GetBuild() const;
    CVersion& SetMajor(unsigned char uMajor);
    CVersion& SetMinor(unsigned char uMinor);
    CVersion& SetRelease(unsigned char uRelease);
    CVersion& SetBuild(unsigned char uBuild);
    int GetStr(char* pszBuf, unsigned int uSize) const;
    bool SetStr(const char* pszVersion);
    CVersion& operator=(const CVersion& rOther);
    bool operator==(const CVersion& rOther) const;
    bool operator!=(const CVersion& rOther) const;
    bool operator<(const CVersion& rOther) const;
    bool operator<=(const CVersion& rOther) const;
    bool operator>(const CVersion& rOther) const;
    bool operator>=(const CVersion& rOther) const;
    bool IsInRange(CVersion minimum, CVersion maximum) const;

    unsigned char m_uMajor;
    unsigned char m_uMinor;
    unsigned char m_uRelease;
    unsigned char m_uBuild;
};

// No module has to be up for a version.
namespace
{
using Bytes = std::vector<unsigned char>;
}

TEST(CVersionLayout, IsFourBytesFromMajorToBuild)
{
    static_assert(sizeof(CVersion) == 4);
    const CGuarded<CVersion> version;
    EXPECT_EQ((Bytes{0, 0, 0, 0}), BytesAt(&*version, 0, 4));
    EXPECT_TRUE(version->SetStr("1.20.3.255"));
    EXPECT_EQ((Bytes{1, 20, 3, 255}), BytesAt(&*version, 0, 4));
    EXPECT_EQ(1, version->m_uMajor);
    EXPECT_EQ(20, version->m_uMinor);
    EXPECT_EQ(3, version->m_uRelease);
    EXPECT_EQ(255, version->m_uBuild);
}

TEST(CVersionLayout, EveryPartIsReadAndSetInItsByteAndTheSettersReturnTheVersion)
{
    const CGuarded<CVersion> version;
    EXPECT_EQ(&*version, &version->SetMajor(1));
    EXPECT_EQ(&*version, &version->SetMinor(2));
    EXPECT_EQ(&*version, &version->SetRelease(3));
    EXPECT_EQ(&*version, &version->SetBuild(4));
    EXPECT_EQ((Bytes{1, 2, 3, 4}), BytesAt(&*version, 0, 4));
    EXPECT_EQ(1, version->GetMajor());
    EXPECT_EQ(2, version->GetMinor());
    EXPECT_EQ(3, version->GetRelease());
    EXPECT_EQ(4, version->GetBuild());
}

TEST(CVersionLayout, CopiesAndAssignsTheFourBytes)
{
    const CGuarded<CVersion> source("9.8.7.6");
    const CGuarded<CVersion> copy(*source);
    EXPECT_EQ((Bytes{9, 8, 7, 6}), BytesAt(&*copy, 0, 4));
    const CGuarded<CVersion> assigned;
    EXPECT_EQ(&*assigned, &(*assigned = *source));
    EXPECT_EQ((Bytes{9, 8, 7, 6}), BytesAt(&*assigned, 0, 4));
}

TEST(CVersionCalls, TextIsWrittenAsFarAsItGoesAndReadAsAWhole)
{
    const CVersion version("10.20.30.40");
    char szText[16];
    EXPECT_EQ(11, version.GetStr(szText, sizeof(szText)));
    EXPECT_STREQ("10.20.30.40", szText);
    EXPECT_EQ(4, version.GetStr(szText, 4));
    CVersion other;
    EXPECT_FALSE(other.SetStr("1.2.3"));
    EXPECT_FALSE(other.SetStr(nullptr));
    EXPECT_EQ(0, other.m_uMajor);
}

TEST(CVersionCalls, EveryOrderIsLinkedUnderItsOwnName)
{
    const CVersion low("1.9.255.255");
    const CVersion high("1.10.0.0");
    EXPECT_TRUE(low == low);
    EXPECT_FALSE(low == high);
    EXPECT_TRUE(low != high);
    EXPECT_FALSE(low != low);
    EXPECT_TRUE(low < high);
    EXPECT_FALSE(low < low);
    EXPECT_TRUE(low <= low);
    EXPECT_FALSE(high <= low);
    EXPECT_TRUE(high > low);
    EXPECT_FALSE(low > low);
    EXPECT_TRUE(low >= low);
    EXPECT_FALSE(low >= high);
}

TEST(CVersionCalls, BoundsPassedByValueTravelByAddressBecauseOfTheirDestructor)
{
    const CVersion version("1.0.0.0");
    EXPECT_TRUE(version.IsInRange(version, version));
    EXPECT_FALSE(version.IsInRange(CVersion("1.0.0.1"), CVersion("2.0.0.0")));
    EXPECT_FALSE(version.IsInRange(CVersion("0.0.0.1"), CVersion("0.255.0.0")));
}
