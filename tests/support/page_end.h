#ifndef TESTS_SUPPORT_PAGE_END_H
#define TESTS_SUPPORT_PAGE_END_H
#include <gtest/gtest.h>
#include <sys/mman.h>

#include <algorithm>
#include <cstddef>
#include <string>
#include <vector>

/// A copy of some bytes whose last one is the last of a page, with no page behind it: who reads or writes on, ends.
class CPageEnd
{
public:
    explicit CPageEnd(const std::vector<unsigned char>& rBytes) : CPageEnd(rBytes.size())
    {
        std::copy(rBytes.begin(), rBytes.end(), Get());
    }
    explicit CPageEnd(const std::string& rText) : CPageEnd(rText.size())
    {
        std::copy(rText.begin(), rText.end(), Get());
    }
    explicit CPageEnd(std::size_t uSize) : m_uReadable((uSize + uPAGE - 1) / uPAGE * uPAGE), m_uSize(uSize)
    {
        void* const pvMap =
            mmap(nullptr, m_uReadable + uPAGE, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        EXPECT_NE(MAP_FAILED, pvMap);
        m_puMap = static_cast<unsigned char*>(pvMap);
        EXPECT_EQ(0, mprotect(m_puMap + m_uReadable, uPAGE, PROT_NONE));
    }
    ~CPageEnd() { munmap(m_puMap, m_uReadable + uPAGE); }
    CPageEnd(const CPageEnd&) = delete;
    CPageEnd& operator=(const CPageEnd&) = delete;

    unsigned char* Get() { return m_puMap + m_uReadable - m_uSize; }
    const unsigned char* Get() const { return m_puMap + m_uReadable - m_uSize; }
    const char* GetText() const { return reinterpret_cast<const char*>(Get()); }
    std::vector<unsigned char> Bytes() const { return std::vector<unsigned char>(Get(), Get() + m_uSize); }

private:
    static constexpr std::size_t uPAGE = 4096;
    unsigned char* m_puMap;
    std::size_t m_uReadable;
    std::size_t m_uSize;
};

#endif
