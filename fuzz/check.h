#ifndef FUZZ_CHECK_H
#define FUZZ_CHECK_H
#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

/// Reports what an input broke and gives the input up. Where inputs are searched for, the process ends, as after any
/// report of a sanitizer; where they are replayed, an exception makes it the failure of one test.
[[noreturn]] void FuzzFailed(const std::string& rstrWhat);

/// Names a step of an input for as long as it stands: a failure tells all those around it, the outermost first.
class CFuzzStep
{
public:
    explicit CFuzzStep(const char* pszWhat, std::uint64_t uNumber = 0)
        : m_pszWhat(pszWhat), m_uNumber(uNumber), m_pOuter(ms_pInnermost)
    {
        ms_pInnermost = this;
    }
    ~CFuzzStep() { ms_pInnermost = m_pOuter; }
    CFuzzStep(const CFuzzStep&) = delete;
    CFuzzStep& operator=(const CFuzzStep&) = delete;

    static std::string All()
    {
        std::string strAll;
        for (const CFuzzStep* p = ms_pInnermost; p != nullptr; p = p->m_pOuter)
        {
            strAll = std::string(" / ") + p->m_pszWhat + " " + std::to_string(p->m_uNumber) + strAll;
        }
        return strAll;
    }

private:
    const char* m_pszWhat;
    std::uint64_t m_uNumber;
    const CFuzzStep* m_pOuter;
    inline static thread_local const CFuzzStep* ms_pInnermost = nullptr;
};

/// How a value is printed: numbers as numbers, texts in quotes, bytes in hexadecimal.
inline std::string FuzzShown(std::string_view text)
{
    std::string strShown = "\"";
    for (const char c : text)
    {
        char szEscape[8] = {c, '\0'};
        if (c < ' ' || c > '~' || c == '"' || c == '\\')
        {
            std::snprintf(szEscape, sizeof(szEscape), "\\x%02X",
                          static_cast<unsigned int>(static_cast<unsigned char>(c)));
        }
        strShown += szEscape;
    }
    return strShown + "\"";
}
inline std::string FuzzShown(const std::vector<unsigned char>& rBytes)
{
    std::string strShown = std::to_string(rBytes.size()) + " bytes";
    char szByte[4];
    for (const unsigned char uByte : rBytes)
    {
        std::snprintf(szByte, sizeof(szByte), " %02X", uByte);
        strShown += szByte;
    }
    return strShown;
}
template <class T>
std::string FuzzShown(const T& rValue)
{
    if constexpr (std::is_same_v<T, bool>) return rValue ? "true" : "false";
    else if constexpr (std::is_enum_v<T>) return std::to_string(static_cast<long long>(rValue));
    else if constexpr (std::is_arithmetic_v<T>) return std::to_string(rValue);
    else if constexpr (std::is_convertible_v<const T&, std::string_view>) return FuzzShown(std::string_view(rValue));
    else return "something else";
}

[[noreturn]] inline void FuzzFailedAt(const std::string& rstrWhat, const char* pszFile, int nLine)
{
    FuzzFailed(std::string(pszFile) + ":" + std::to_string(nLine) + ": " + rstrWhat + CFuzzStep::All());
}

/// Something that has to hold; pszWhat says what broke.
inline void Require(bool bHolds, const char* pszWhat, const char* pszFile = __builtin_FILE(),
                    int nLine = __builtin_LINE())
{
    if (!bHolds) [[unlikely]]
        FuzzFailedAt(pszWhat, pszFile, nLine);
}
inline void Require(bool bHolds, const char* pszWhat, std::string_view text, const char* pszFile = __builtin_FILE(),
                    int nLine = __builtin_LINE())
{
    if (!bHolds) [[unlikely]]
        FuzzFailedAt(pszWhat + (": " + FuzzShown(text)), pszFile, nLine);
}

/// Two values that have to be the same: the expected one first.
template <class TWant, class TGot>
void RequireEqual(const TWant& rWant, const TGot& rGot, const char* pszWhat, const char* pszFile = __builtin_FILE(),
                  int nLine = __builtin_LINE())
{
    if (rWant == rGot) [[likely]]
        return;
    FuzzFailedAt(pszWhat + (": want " + FuzzShown(rWant)) + ", got " + FuzzShown(rGot), pszFile, nLine);
}

#endif
