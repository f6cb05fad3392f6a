#ifndef FUZZ_MODELS_TRAIL_H
#define FUZZ_MODELS_TRAIL_H
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "fuzz/check.h"
#include "fuzz/input.h"

/// The bytes of an input as the steps of a run.
class CStepBytes : public CFuzzInput
{
public:
    using CFuzzInput::CFuzzInput;

    /// True about once in uOutOf times, and never when the bytes have run out.
    bool Rarely(unsigned int uOutOf) { return !IsSpent() && Below(uOutOf) == uOutOf - 1; }
};

/// What a run has done so far, told when library and twin differ.
class CTrail
{
public:
    /// Begins a step; the text says what is done with what.
    __attribute__((format(printf, 2, 3))) void Step(const char* pszFormat, ...)
    {
        va_list args;
        va_start(args, pszFormat);
        char szText[160];
        std::vsnprintf(szText, sizeof szText, pszFormat, args);
        va_end(args);
        m_steps.emplace_back(szText);
    }
    /// Adds to what the step says.
    void Note(const std::string& rText) { m_steps.back() += rText; }
    void Clear() { m_steps.clear(); }

    /// Gives the input up with the step, the difference and the steps before.
    [[noreturn]] __attribute__((format(printf, 2, 3))) void Fail(const char* pszFormat, ...) const
    {
        va_list args;
        va_start(args, pszFormat);
        char szText[400];
        std::vsnprintf(szText, sizeof szText, pszFormat, args);
        va_end(args);
        std::string strReport = "step " + std::to_string(m_steps.size()) + ", " +
                                (m_steps.empty() ? "the start" : m_steps.back()) + ": " + szText +
                                "\nthe steps there:\n";
        for (std::size_t i = 0; i < m_steps.size(); ++i) strReport += std::to_string(i + 1) + "  " + m_steps[i] + "\n";
        FuzzFailed(strReport);
    }
    void Same(const char* pszWhat, long long nLibrary, long long nTwin) const
    {
        if (nLibrary != nTwin) Fail("%s is %lld, the twin has %lld", pszWhat, nLibrary, nTwin);
    }
    void True(bool bHolds, const char* pszBroken) const
    {
        if (!bHolds) Fail("%s", pszBroken);
    }

private:
    std::vector<std::string> m_steps;
};

/// Readable form of bytes, cut after a few.
inline std::string Quoted(const std::string& rBytes)
{
    std::string strText = "\"";
    for (std::size_t i = 0; i < rBytes.size() && i < 24; ++i)
    {
        const auto uByte = static_cast<unsigned char>(rBytes[i]);
        char szByte[8];
        if (uByte >= ' ' && uByte < 127 && uByte != '"' && uByte != '\\')
            std::snprintf(szByte, sizeof szByte, "%c", uByte);
        else std::snprintf(szByte, sizeof szByte, "\\x%02x", uByte);
        strText += szByte;
    }
    return strText + (rBytes.size() > 24 ? "...\", " + std::to_string(rBytes.size()) + " long" : "\"");
}

#endif
