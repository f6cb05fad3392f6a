#ifndef TESTS_SUPPORT_TEST_ALLOCATOR_H
#define TESTS_SUPPORT_TEST_ALLOCATOR_H
#include <cstddef>
#include <map>
#include <vector>

#include "framework/basic/allocator.h"

/// An allocator that watches its users: writes beyond either end of a block, blocks released twice or never, and chains
/// that do not end are test failures. It refuses requests when told to.
class CTestAllocator : public IAllocator
{
public:
    ~CTestAllocator() override;

    SBlock* Allocate(unsigned int uCount, unsigned int uSize, SBlock** ppLast) override;
    void Release(SBlock* pChain, unsigned int uCount) override;

    /// From now on every request is refused, or none.
    void SetRefusing(bool bRefusing);
    /// The uNth request from now on is refused, counted from 1; 0: none.
    void RefuseNth(unsigned int uNth);
    /// Whether a request was refused since the last SetRefusing() or RefuseNth().
    bool HasRefused() const { return m_bRefused; }

    /// One record for each call.
    struct SRequest
    {
        unsigned int uCount;
        unsigned int uSize;
    };
    const std::vector<SRequest>& GetRequests() const { return m_requests; }
    /// The count argument of each Release().
    const std::vector<unsigned int>& GetReleases() const { return m_releases; }
    /// Blocks that are out.
    std::size_t GetLiveBlocks() const { return m_sizes.size(); }
    /// The size that a live block was asked for with; 0 for what is none.
    unsigned int GetSizeOf(const void* pvBlock) const;

private:
    void CheckAndFree(unsigned char* puBlock);

    std::map<unsigned char*, unsigned int> m_sizes;
    std::vector<SRequest> m_requests;
    std::vector<unsigned int> m_releases;
    bool m_bRefusing = false;
    bool m_bRefused = false;
    unsigned int m_uRefuseIn = 0;
};

#endif
