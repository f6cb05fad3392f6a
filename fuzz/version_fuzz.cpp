// CVersion: texts beside sscanf(), with numbers so wide that none of them wraps, and comparisons beside std::array.
#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <optional>
#include <string>
#include <vector>

#include "framework/kernel/version.h"
#include "fuzz/check.h"
#include "fuzz/input.h"

namespace
{
using Parts = std::array<unsigned char, 4>;

std::optional<Parts> Read(const std::string& rstrText)
{
    long long anParts[4];
    if (std::sscanf(rstrText.c_str(), "%lld.%lld.%lld.%lld", &anParts[0], &anParts[1], &anParts[2], &anParts[3]) != 4)
    {
        return {};
    }
    Parts parts;
    for (std::size_t u = 0; u < parts.size(); ++u)
    {
        if (anParts[u] < 0 || anParts[u] > 255) return {};
        parts[u] = static_cast<unsigned char>(anParts[u]);
    }
    return parts;
}

Parts PartsOf(const CVersion& rVersion)
{
    return {rVersion.GetMajor(), rVersion.GetMinor(), rVersion.GetRelease(), rVersion.GetBuild()};
}

CVersion VersionOf(const Parts& rParts)
{
    CVersion version;
    version.SetMajor(rParts[0]).SetMinor(rParts[1]).SetRelease(rParts[2]).SetBuild(rParts[3]);
    return version;
}

void CheckText(const CVersion& rVersion, unsigned int uSize)
{
    const Parts parts = PartsOf(rVersion);
    char szText[16];
    const int nLength = std::snprintf(szText, sizeof(szText), "%d.%d.%d.%d", parts[0], parts[1], parts[2], parts[3]);
    const unsigned int uLength = static_cast<unsigned int>(nLength);
    std::vector<char> want(uSize, '#');
    std::copy_n(szText, uLength < uSize ? uLength + 1 : uSize, want.begin());
    std::vector<char> got(uSize, '#');
    const unsigned int uWant = uLength < uSize ? uLength : uSize;
    RequireEqual(static_cast<int>(uWant), rVersion.GetStr(got.data(), uSize), "GetStr");
    RequireEqual(std::string_view(want.data(), uSize), std::string_view(got.data(), uSize), "the text");
    if (uLength < uSize) Require(CVersion(got.data()) == rVersion, "read back");
}

void Compare(const Parts& rA, const Parts& rB, const Parts& rC)
{
    const CVersion a = VersionOf(rA);
    const CVersion b = VersionOf(rB);
    RequireEqual(rA == rB, a == b, "==");
    RequireEqual(rA != rB, a != b, "!=");
    RequireEqual(rA < rB, a < b, "<");
    RequireEqual(rA <= rB, a <= b, "<=");
    RequireEqual(rA > rB, a > b, ">");
    RequireEqual(rA >= rB, a >= b, ">=");
    RequireEqual(rB <= rA && rA <= rC, a.IsInRange(b, VersionOf(rC)), "IsInRange");
}
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* puData, std::size_t uSize)
{
    CFuzzInput input(puData, uSize);
    // Few different parts, so that many are equal.
    Parts aParts[3];
    for (Parts& rParts : aParts)
    {
        for (unsigned char& ruPart : rParts) ruPart = static_cast<unsigned char>(input.Byte() & 0x83);
    }
    Compare(aParts[0], aParts[1], aParts[2]);
    const unsigned int uRoom = input.Below(24);
    const std::string strText = input.RestText();

    CVersion version = VersionOf(aParts[0]);
    const std::optional<Parts> want = Read(strText);
    const bool bTaken = version.SetStr(strText.c_str());
    Require(want.has_value() == bTaken, "accepted or not", strText);
    Require(PartsOf(version) == want.value_or(aParts[0]), "read differently", strText);
    if (want) Require(PartsOf(CVersion(strText.c_str())) == *want, "constructed differently", strText);
    CheckText(version, uRoom);
    return 0;
}
