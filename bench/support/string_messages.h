#ifndef BENCH_SUPPORT_STRING_MESSAGES_H
#define BENCH_SUPPORT_STRING_MESSAGES_H
#include <cstddef>
#include <cstring>
#include <string>

// The usual hand-written reader of bytes in a std::string: a cursor that checks the end.
class CStringReader
{
public:
    explicit CStringReader(const std::string& rString) : m_rString(rString) {}
    bool Read(unsigned int& ruValue)
    {
        if (m_rString.size() - m_uCursor < sizeof(ruValue)) return false;
        std::memcpy(&ruValue, m_rString.data() + m_uCursor, sizeof(ruValue));
        m_uCursor += sizeof(ruValue);
        return true;
    }

private:
    const std::string& m_rString;
    std::size_t m_uCursor = 0;
};

__attribute__((noinline)) inline void Write(std::string& rString, unsigned int uCount)
{
    for (unsigned int u = 0; u < uCount; ++u) rString.append(reinterpret_cast<const char*>(&u), sizeof(u));
}

__attribute__((noinline)) inline unsigned int Sum(CStringReader& rReader, unsigned int uCount)
{
    unsigned int uSum = 0;
    for (unsigned int u = 0; u < uCount; ++u)
    {
        unsigned int uValue = 0;
        rReader.Read(uValue);
        uSum += uValue;
    }
    return uSum;
}

#endif
