#include "framework/kernel/version.h"

#include <cstddef>
#include <cstring>
#include <initializer_list>
#include <type_traits>

#include "tests/clients/client.h"

void VersionClient()
{
    static_assert(!std::is_polymorphic_v<CVersion> && sizeof(CVersion) == 4);
    const CVersion zero;
    CHECK(zero.GetMajor() == 0 && zero.GetMinor() == 0 && zero.GetRelease() == 0 && zero.GetBuild() == 0);
    const char* const pszVersion = "1.2.3.4";
    const CVersion version(pszVersion);
    CVersion copy(version);
    CHECK(copy == version && !(copy != version));

    using PFNGet = unsigned char (CVersion::*)() const;
    for (PFNGet pfnGet : {PFNGet{&CVersion::GetMajor}, &CVersion::GetMinor, &CVersion::GetRelease, &CVersion::GetBuild})
    {
        CHECK((version.*pfnGet)() == (copy.*pfnGet)());
    }
    using PFNSet = CVersion& (CVersion::*)(unsigned char);
    for (PFNSet pfnSet : {PFNSet{&CVersion::SetMajor}, &CVersion::SetMinor, &CVersion::SetRelease, &CVersion::SetBuild})
    {
        CHECK(&(copy.*pfnSet)(9) == &copy);
    }
    CHECK(copy.SetMajor(1).SetMinor(10).SetRelease(0).SetBuild(0).GetMinor() == 10);

    Promised<int (CVersion::*)(char*, unsigned int) const>(&CVersion::GetStr);
    char szText[16];
    CHECK(version.GetStr(szText, sizeof szText) == 7 && std::strcmp(szText, "1.2.3.4") == 0);
    CHECK(CVersion("10.20.30.40").GetStr(szText, 4) == 4 && std::memcmp(szText, "10.2", 4) == 0);

    Promised<bool (CVersion::*)(const char*)>(&CVersion::SetStr);
    CHECK(!copy.SetStr(nullptr) && !copy.SetStr(0) && !copy.SetStr(NULL));
    CHECK(!copy.SetStr("1.2.3") && !copy.SetStr("1.2.3.256") && copy.SetStr("1.2.3.4-beta"));
    CHECK(copy == version);

    Promised<CVersion& (CVersion::*)(const CVersion&)>(&CVersion::operator=);
    CHECK(&(copy = zero) == &copy);
    using PFNCompare = bool (CVersion::*)(const CVersion&) const;
    const CVersion larger("1.10.0.0");
    const CVersion smaller("1.9.255.255");
    CHECK((smaller.*PFNCompare{&CVersion::operator<})(larger) && smaller < larger);
    CHECK((smaller.*PFNCompare{&CVersion::operator<=})(larger) && smaller <= larger);
    CHECK((larger.*PFNCompare{&CVersion::operator>})(smaller) && larger > smaller);
    CHECK((larger.*PFNCompare{&CVersion::operator>=})(smaller) && larger >= smaller);
    CHECK((larger.*PFNCompare{&CVersion::operator!=})(smaller) && larger != smaller);
    CHECK(!(larger.*PFNCompare{&CVersion::operator==})(smaller));

    Promised<bool (CVersion::*)(CVersion, CVersion) const>(&CVersion::IsInRange);
    CHECK(version.IsInRange(version, version) && version.IsInRange("1.0.0.0", "1.2.3.4"));
    CHECK(!version.IsInRange(smaller, larger));
}
