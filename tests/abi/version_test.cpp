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
    EXPECT_EQ(&*version, &version->SetMajor(1).SetMinor(2).SetRelease(3).SetBuild(4));
    EXPECT_EQ((Bytes{1, 2, 3, 4}), BytesAt(&*version, 0, 4));
    EXPECT_EQ((Bytes{1, 2, 3, 4}),
              (Bytes{version->GetMajor(), version->GetMinor(), version->GetRelease(), version->GetBuild()}));
    const CGuarded<CVersion> source("9.8.7.6");
    EXPECT_EQ((Bytes{9, 8, 7, 6}), BytesAt(&*CGuarded<CVersion>(*source), 0, 4));
    EXPECT_EQ(&*version, &(*version = *source));
    EXPECT_EQ((Bytes{9, 8, 7, 6}), BytesAt(&*version, 0, 4));
}

TEST(CVersionCalls, TextIsReadAndWritten)
{
    CVersion version;
    char szText[16];
    EXPECT_TRUE(version.SetStr("10.20.30.40"));
    EXPECT_FALSE(version.SetStr("1.2.3"));
    EXPECT_EQ(11, version.GetStr(szText, sizeof(szText)));
    EXPECT_STREQ("10.20.30.40", szText);
}

TEST(CVersionCalls, EveryOrderIsLinkedUnderItsOwnName)
{
    const CVersion low("1.9.255.255");
    const CVersion high("1.10.0.0");
    const std::vector<bool> lowFirst{low == high, low != high, low<high, low <= high, low> high, low >= high};
    EXPECT_EQ((std::vector<bool>{false, true, true, true, false, false}), lowFirst);
    const std::vector<bool> itself{low == low, low != low, low<low, low <= low, low> low, low >= low};
    EXPECT_EQ((std::vector<bool>{true, false, false, true, false, true}), itself);
    EXPECT_TRUE(low.IsInRange(low, high)) << "passed by value, they travel by address because of their destructor";
    EXPECT_FALSE(low.IsInRange(high, high));
}
