#ifndef TESTS_SUPPORT_ZERO_PAGES_H
#define TESTS_SUPPORT_ZERO_PAGES_H
#include <gtest/gtest.h>
#include <sys/mman.h>

#include <cstddef>
#include <cstdint>

/// Many zeros that can be read and cost next to no memory.
class CZeroPages
{
public:
    explicit CZeroPages(std::size_t uSize)
        : m_pv(mmap(nullptr, uSize, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0)), m_uSize(uSize)
    {
        EXPECT_NE(MAP_FAILED, m_pv);
        // Huge pages save most of the page faults, where the system has them.
        madvise(m_pv, m_uSize, MADV_HUGEPAGE);
    }
    CZeroPages(const CZeroPages&) = delete;
    CZeroPages& operator=(const CZeroPages&) = delete;
    ~CZeroPages() { munmap(m_pv, m_uSize); }

    const std::uint8_t* Get() const { return static_cast<const std::uint8_t*>(m_pv); }

private:
    void* m_pv;
    std::size_t m_uSize;
};

#endif
