#ifndef TESTS_ABI_INTS_H
#define TESTS_ABI_INTS_H
#include <gtest/gtest.h>

#include <initializer_list>
#include <utility>
#include <vector>

#include "tests/abi/old_result.h"

/// A typed layer over a container of int: the library reaches it through the slots of the container alone.
template <typename Base>
class CInts : public Base
{
public:
    static constexpr int ms_nMADE = -77;

    template <typename... Arguments>
    explicit CInts(Arguments&&... arguments) : Base(sizeof(int), std::forward<Arguments>(arguments)...)
    {
    }
    CInts(const CInts&) = delete;
    CInts& operator=(const CInts&) = delete;
    ~CInts() override { this->EraseAll(); }

    void Construct(void* pElement) override
    {
        ++m_uMade;
        Store(pElement, ms_nMADE);
    }
    void ConstructFrom(void* pElement, const void* pSource) override
    {
        ++m_uCopied;
        Store(pElement, *static_cast<const int*>(pSource));
    }
    void Destruct(void* pElement) override
    {
        ++m_uDestroyed;
        Store(pElement, 0);
    }

    /// Appends copies.
    void Fill(std::initializer_list<int> values)
    {
        for (const int nValue : values) ASSERT_EQ(QV_RES_OK, this->Insert(this->GetEndIndex(), 1, &nValue));
    }

    unsigned int m_uMade = 0;
    unsigned int m_uCopied = 0;
    unsigned int m_uDestroyed = 0;

private:
    static void Store(void* pElement, int nValue) { *static_cast<int*>(pElement) = nValue; }
};

/// The elements of a container of int that is read by index.
template <typename Container>
std::vector<int> IntsOf(const Container& rContainer)
{
    std::vector<int> ints;
    for (unsigned int uIndex = 0; uIndex < rContainer.GetSize(); ++uIndex)
        ints.push_back(*static_cast<const int*>(rContainer.GetAt(uIndex)));
    return ints;
}

using Ints = std::vector<int>;

/// Orders int by what is left of them after division by uParam, so that a lost or foreign parameter shows.
inline int CompareModulo(const void* pFirst, const void* pSecond, unsigned int uParam)
{
    const int nModulus = static_cast<int>(uParam);
    return *static_cast<const int*>(pFirst) % nModulus - *static_cast<const int*>(pSecond) % nModulus;
}

/// The modulus that leaves the small numbers of these tests alone.
inline constexpr unsigned int g_uWHOLE = 1000000;

#endif
