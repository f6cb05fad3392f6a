#include "tests/support/test_allocator.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace
{
constexpr std::size_t g_uGUARD_SIZE = 32;
constexpr unsigned char g_uGUARD_BYTE = 0xA5;
constexpr unsigned char g_uFRESH_BYTE = 0xC3;
constexpr unsigned char g_uFREED_BYTE = 0xDD;

bool IsIntact(const unsigned char* puGuard)
{
    return std::all_of(puGuard, puGuard + g_uGUARD_SIZE, [](unsigned char u) { return u == g_uGUARD_BYTE; });
}
}  // namespace

CTestAllocator::~CTestAllocator()
{
    EXPECT_EQ(0u, m_sizes.size()) << "blocks were never released";
    while (!m_sizes.empty()) CheckAndFree(m_sizes.begin()->first);
}

IAllocator::SBlock* CTestAllocator::Allocate(unsigned int uCount, unsigned int uSize, SBlock** ppLast)
{
    m_requests.push_back({uCount, uSize});
    EXPECT_GE(uSize, sizeof(SBlock));
    EXPECT_NE(0u, uCount);
    const bool bNth = m_uRefuseIn != 0 && --m_uRefuseIn == 0;
    if (m_bRefusing || bNth)
    {
        m_bRefused = true;
        return nullptr;
    }
    SBlock* pChain = nullptr;
    for (unsigned int u = 0; u < uCount; ++u)
    {
        unsigned char* const puRaw = new unsigned char[uSize + 2 * g_uGUARD_SIZE];
        unsigned char* const puBlock = puRaw + g_uGUARD_SIZE;
        std::fill_n(puRaw, g_uGUARD_SIZE, g_uGUARD_BYTE);
        std::fill_n(puBlock, uSize, g_uFRESH_BYTE);
        std::fill_n(puBlock + uSize, g_uGUARD_SIZE, g_uGUARD_BYTE);
        m_sizes[puBlock] = uSize;
        pChain = new (puBlock) SBlock{pChain};
        if (u == 0 && ppLast != nullptr) *ppLast = pChain;
    }
    return pChain;
}

void CTestAllocator::Release(SBlock* pChain, unsigned int uCount)
{
    m_releases.push_back(uCount);
    while (pChain != nullptr)
    {
        unsigned char* const puBlock = reinterpret_cast<unsigned char*>(pChain);
        if (m_sizes.count(puBlock) == 0)
        {
            ADD_FAILURE() << "a block was released that is not out";
            return;
        }
        pChain = pChain->pNext;
        CheckAndFree(puBlock);
    }
}

void CTestAllocator::SetRefusing(bool bRefusing)
{
    m_bRefusing = bRefusing;
    m_uRefuseIn = 0;
    m_bRefused = false;
}

void CTestAllocator::RefuseNth(unsigned int uNth)
{
    m_bRefusing = false;
    m_uRefuseIn = uNth;
    m_bRefused = false;
}

unsigned int CTestAllocator::GetSizeOf(const void* pvBlock) const
{
    const auto it = m_sizes.find(const_cast<unsigned char*>(static_cast<const unsigned char*>(pvBlock)));
    return it != m_sizes.end() ? it->second : 0;
}

void CTestAllocator::CheckAndFree(unsigned char* puBlock)
{
    const unsigned int uSize = m_sizes.at(puBlock);
    EXPECT_TRUE(IsIntact(puBlock - g_uGUARD_SIZE)) << "bytes before a block of " << uSize << " were overwritten";
    EXPECT_TRUE(IsIntact(puBlock + uSize)) << "bytes behind a block of " << uSize << " were overwritten";
    std::fill_n(puBlock, uSize, g_uFREED_BYTE);
    m_sizes.erase(puBlock);
    delete[](puBlock - g_uGUARD_SIZE);
}
