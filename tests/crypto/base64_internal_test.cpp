// Every path of base64, forced. Oracle: a plain model of the steps.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <tuple>
#include <vector>

#include "framework/crypto/internal/base64_blocks.h"
#include "framework/crypto/internal/cpu_features.h"
#include "tests/support/base64_model.h"
#include "tests/support/page_end.h"

namespace
{
using namespace orvel_internal;

struct SPath
{
    const char* pszName;
    ECpuFeature eFeature;
};

const SPath g_astPATHS[] = {{"portable", eCPU_PORTABLE}, {"avx2", eCPU_AVX2}, {"avx512-vbmi", eCPU_AVX512_VBMI}};

std::string PatternBytes(std::size_t uSize, uint32_t uState)
{
    std::string strBytes(uSize, '\0');
    for (char& rc : strBytes)
    {
        uState = uState * 1664525 + 1013904223;
        rc = static_cast<char>(uState >> 24);
    }
    return strBytes;
}

class CBase64Path : public testing::TestWithParam<std::tuple<SPath, unsigned int>>
{
protected:
    // Without the feature the portable path answers once more.
    void SetUp() override { RestrictCpuFeatures(std::get<0>(GetParam()).eFeature); }
    void TearDown() override { RestrictCpuFeatures(~0u); }

    unsigned int Selector() const { return std::get<1>(GetParam()); }
    const SBase64Alphabet& Alphabet() const { return Base64AlphabetOf(Selector()); }
    CBase64Model Model() const { return CBase64Model(Selector()); }

    // Decodes up to the first bad group; the groups that are done, and the bytes, of which no other changes.
    void ExpectDecoding(const std::string& rstrText, std::size_t uWantGroups) const
    {
        const CPageEnd text(rstrText);
        std::string strWant;
        Model().Decode(rstrText.substr(0, 4 * uWantGroups), strWant);
        strWant.resize(rstrText.size() / 4 * 3, '\x55');
        CPageEnd bytes(std::string(strWant.size(), '\x55'));
        ASSERT_EQ(uWantGroups, Base64Decode(Alphabet(), text.Get(), rstrText.size() / 4, bytes.Get()));
        ASSERT_EQ(strWant, std::string(bytes.GetText(), strWant.size()));
    }
};

TEST_P(CBase64Path, IsTheOneInUse)
{
    const bool bThere = HasCpuFeature(std::get<0>(GetParam()).eFeature);
    EXPECT_STREQ(bThere ? std::get<0>(GetParam()).pszName : "portable", CpuPathName(ECpuAlgorithm::eBASE64));
}

TEST_P(CBase64Path, EncodesAnyNumberOfGroups)
{
    for (std::size_t uGroups = 0; uGroups < 200; ++uGroups)
    {
        const std::string strBytes = PatternBytes(3 * uGroups, static_cast<uint32_t>(uGroups));
        const CPageEnd bytes(strBytes);
        CPageEnd text(4 * uGroups);
        Base64Encode(Alphabet(), bytes.Get(), uGroups, text.Get());
        ASSERT_EQ(Model().Encode(strBytes), std::string(text.GetText(), 4 * uGroups)) << uGroups << " groups";
    }
}

TEST_P(CBase64Path, EncodesEveryValueAtEveryPlace)
{
    for (unsigned int uValue = 0; uValue < 64; ++uValue)
    {
        std::string strBytes;
        for (unsigned int uShift = 0; uShift < 24; uShift += 6)
        {
            for (int nByte = 16; nByte >= 0; nByte -= 8) strBytes += static_cast<char>(uValue << uShift >> nByte);
        }
        while (strBytes.size() < 192) strBytes += strBytes;
        std::string strText(strBytes.size() / 3 * 4, '\0');
        Base64Encode(Alphabet(), reinterpret_cast<const uint8_t*>(strBytes.data()), strBytes.size() / 3,
                     reinterpret_cast<uint8_t*>(strText.data()));
        ASSERT_EQ(Model().Encode(strBytes), strText);
    }
}

TEST_P(CBase64Path, DecodesAnyNumberOfGroups)
{
    for (std::size_t uGroups = 0; uGroups < 200; ++uGroups)
    {
        std::string strText = Model().Encode(PatternBytes(3 * uGroups, static_cast<uint32_t>(uGroups)));
        // Selectors without the last two characters encode, but do not decode them.
        for (char& rc : strText)
        {
            if (Model().Value(static_cast<unsigned char>(rc)) < 0) rc = 'x';
        }
        ASSERT_NO_FATAL_FAILURE(ExpectDecoding(strText, uGroups)) << uGroups << " groups";
    }
}

TEST_P(CBase64Path, StopsInFrontOfEveryByteThatIsNoCharacterWhereverItStands)
{
    const std::string strGood(4 * 45, 'k');
    for (unsigned int uByte = 0; uByte < 256; ++uByte)
    {
        const bool bGood = Model().Value(static_cast<unsigned char>(uByte)) >= 0;
        for (std::size_t uAt = 0; uAt < strGood.size(); ++uAt)
        {
            if (uByte % 16 != 0 && uAt % 7 != uByte % 7) continue;
            std::string strText = strGood;
            strText[uAt] = static_cast<char>(uByte);
            ASSERT_NO_FATAL_FAILURE(ExpectDecoding(strText, bGood ? 45 : uAt / 4)) << uByte << " at " << uAt;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Paths, CBase64Path,
                         testing::Combine(testing::ValuesIn(g_astPATHS), testing::Values(0u, 1u, 2u)),
                         [](const auto& rInfo)
                         {
                             std::string strName = std::get<0>(rInfo.param).pszName;
                             if (strName.find('-') != std::string::npos) strName.erase(strName.find('-'));
                             return strName + "Selector" + std::to_string(std::get<1>(rInfo.param));
                         });
}  // namespace
