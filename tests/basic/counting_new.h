#ifndef TESTS_BASIC_COUNTING_NEW_H
#define TESTS_BASIC_COUNTING_NEW_H
#include <cstddef>
#include <cstdlib>
#include <map>
#include <new>
#include <vector>

/// The global array allocation, replaced: it keeps a list of what is out while watching, and can refuse. A test binary
/// includes this once, in its only source. Single-threaded.
class CArrayAllocations
{
public:
    struct SAllocation
    {
        void* pv;
        std::size_t uSize;
    };

    static CArrayAllocations& Instance()
    {
        static CArrayAllocations instance;
        return instance;
    }
    /// From now on calls are listed, and the uNth is refused, counted from 1; 0: none.
    void Watch(unsigned int uRefuseNth = 0)
    {
        m_made.clear();
        m_freed.clear();
        m_uRefuseIn = uRefuseNth;
        m_bWatching = true;
    }
    void Stop() { m_bWatching = false; }
    /// What was allocated and freed while watching, in order.
    const std::vector<SAllocation>& GetMade() const { return m_made; }
    const std::vector<void*>& GetFreed() const { return m_freed; }

    void* Allocate(std::size_t uSize)
    {
        if (m_bWatching && m_uRefuseIn != 0 && --m_uRefuseIn == 0) return nullptr;
        void* const pv = std::malloc(uSize != 0 ? uSize : 1);
        if (m_bWatching && pv != nullptr) m_made.push_back({pv, uSize});
        return pv;
    }
    void Free(void* pv)
    {
        if (m_bWatching && pv != nullptr) m_freed.push_back(pv);
        std::free(pv);
    }

private:
    std::vector<SAllocation> m_made;
    std::vector<void*> m_freed;
    unsigned int m_uRefuseIn = 0;
    bool m_bWatching = false;
};

void* operator new[](std::size_t uSize)
{
    void* const pv = CArrayAllocations::Instance().Allocate(uSize);
    if (pv == nullptr) throw std::bad_alloc();
    return pv;
}
void* operator new[](std::size_t uSize, const std::nothrow_t&) noexcept
{
    return CArrayAllocations::Instance().Allocate(uSize);
}
void operator delete[](void* pv) noexcept
{
    CArrayAllocations::Instance().Free(pv);
}
void operator delete[](void* pv, std::size_t) noexcept
{
    CArrayAllocations::Instance().Free(pv);
}
void operator delete[](void* pv, const std::nothrow_t&) noexcept
{
    CArrayAllocations::Instance().Free(pv);
}

#endif
