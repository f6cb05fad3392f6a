#ifndef TESTS_SUPPORT_BASE64_MODEL_H
#define TESTS_SUPPORT_BASE64_MODEL_H
#include <cstddef>
#include <cstdint>
#include <string>

#include "framework/kernel/result.h"

/// Base64 in the plainest steps, a character at a time: what CBase64 writes, reports and returns.
class CBase64Model
{
public:
    explicit CBase64Model(unsigned int uAlphabet) : m_uAlphabet(uAlphabet) {}

    int Value(unsigned char c) const
    {
        if (c >= 'A' && c <= 'Z') return c - 'A';
        if (c >= 'a' && c <= 'z') return c - 'a' + 26;
        if (c >= '0' && c <= '9') return c - '0' + 52;
        if (m_uAlphabet == 0 && c == '+') return 62;
        if (m_uAlphabet == 0 && c == '/') return 63;
        if (m_uAlphabet == 1 && c == '-') return 62;
        if (m_uAlphabet == 1 && c == '_') return 63;
        return -1;
    }

    std::string Encode(const std::string& rstrBytes) const
    {
        std::string strCharacters = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789";
        strCharacters += m_uAlphabet == 1 ? "-_" : "+/";
        std::string strText;
        for (std::size_t u = 0; u < rstrBytes.size(); u += 3)
        {
            const std::size_t uHere = rstrBytes.size() - u < 3 ? rstrBytes.size() - u : 3;
            uint32_t uGroup = 0;
            for (std::size_t uByte = 0; uByte < 3; ++uByte)
            {
                uGroup = uGroup << 8 | (uByte < uHere ? static_cast<unsigned char>(rstrBytes[u + uByte]) : 0u);
            }
            for (unsigned int uAt = 0; uAt < 4; ++uAt)
            {
                strText += uAt <= uHere ? strCharacters[uGroup >> (18 - 6 * uAt) & 63] : '=';
            }
        }
        return strText;
    }

    /// Groups up to the first bad or padded one; appends their bytes.
    QvResult Decode(const std::string& rstrText, std::string& rstrBytes) const
    {
        unsigned int uPadding = 0;
        for (std::size_t u = 0; u + 4 <= rstrText.size() && uPadding == 0; u += 4)
        {
            int anValues[4];
            for (std::size_t uAt = 0; uAt < 4; ++uAt)
                anValues[uAt] = Value(static_cast<unsigned char>(rstrText[u + uAt]));
            if (anValues[0] < 0 || anValues[1] < 0) return QV_RES_FAIL;
            const bool bThirdPads = rstrText[u + 2] == '=';
            const bool bFourthPads = rstrText[u + 3] == '=';
            if (!bThirdPads && anValues[2] < 0) return QV_RES_FAIL;
            if (!bFourthPads && (anValues[3] < 0 || bThirdPads)) return QV_RES_FAIL;
            uPadding = (bThirdPads ? 1u : 0u) + (bFourthPads ? 1u : 0u);
            rstrBytes += static_cast<char>(anValues[0] << 2 | anValues[1] >> 4);
            if (uPadding < 2) rstrBytes += static_cast<char>(anValues[1] << 4 | anValues[2] >> 2);
            if (uPadding < 1) rstrBytes += static_cast<char>(anValues[2] << 6 | anValues[3]);
        }
        return QV_RES_OK;
    }

    std::size_t QueryDecoded(const std::string& rstrText) const
    {
        const std::size_t uCount = m_strGroup.size();
        std::size_t uSize = (rstrText.size() + uCount) / 4 * 3;
        if (uCount == 3 && rstrText.size() == 1)
        {
            if (rstrText.back() == '=') uSize -= m_strGroup[2] == '=' ? 2u : 1u;
        }
        else if ((rstrText.size() + uCount) % 4 == 0 && rstrText.back() == '=')
        {
            uSize -= rstrText[rstrText.size() - 2] == '=' ? 2u : 1u;
        }
        return uSize;
    }

    /// One Update() that decodes: a group that was begun is completed and decoded by itself.
    QvResult UpdateDecoding(const std::string& rstrText, std::string& rstrBytes)
    {
        std::size_t uAt = 0;
        if (!m_strGroup.empty())
        {
            while (uAt < rstrText.size() && m_strGroup.size() < 4) m_strGroup += rstrText[uAt++];
            if (m_strGroup.size() < 4) return QV_RES_OK;
            const std::string strGroup = m_strGroup;
            m_strGroup.clear();
            const QvResult res = Decode(strGroup, rstrBytes);
            if (res < 0) return res;
        }
        const std::size_t uWhole = (rstrText.size() - uAt) / 4 * 4;
        const QvResult res = Decode(rstrText.substr(uAt, uWhole), rstrBytes);
        if (res >= 0) m_strGroup = rstrText.substr(uAt + uWhole);
        return res;
    }

    bool IsGroupBegun() const { return !m_strGroup.empty(); }

private:
    unsigned int m_uAlphabet;
    std::string m_strGroup;
};

#endif
