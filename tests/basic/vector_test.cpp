// What only the vector has; see sequence_test.cpp and sequence_model_test.cpp for what it shares. Operations that the
// second implementation does beside it need no example here.
#include "framework/basic/vector.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "fuzz/models/random_runs.h"
#include "fuzz/models/vector_steps.h"
#include "tests/support/container_elements.h"
#include "tests/support/test_allocator.h"

namespace
{
template <typename T>
CVectorBase VectorOf(const std::vector<T>& rValues)
{
    CVectorBase vector(sizeof(T), false, nullptr);
    for (const T& rValue : rValues) EXPECT_EQ(QV_RES_OK, vector.Insert(vector.GetEndIndex(), 1, &rValue));
    return vector;
}

std::vector<int> IntsOf(const CVectorBase& rVector)
{
    std::vector<int> values(rVector.GetSize());
    for (unsigned int u = 0; u < rVector.GetSize(); ++u) memcpy(&values[u], rVector.GetAt(u), sizeof(int));
    return values;
}

std::vector<int> IntsOf(const CVector<CCounted>& rVector)
{
    std::vector<int> values;
    for (const CCounted& rElement : rVector) values.push_back(rElement.GetValue());
    return values;
}

/// Notes which slots are copied, as "destination<source", and destroyed, as "-slot".
class CSlotLog : public CVectorBase
{
public:
    explicit CSlotLog(unsigned int uSize) : CVectorBase(sizeof(int), nullptr)
    {
        EXPECT_EQ(QV_RES_OK, ReserveCapacity(uSize));
        EXPECT_EQ(QV_RES_OK, Resize(uSize));
    }
    ~CSlotLog() override { EraseAll(); }
    void ConstructFrom(void* pElement, const void* pSource) override
    {
        m_strLog += SlotAt(pElement) + "<" + SlotAt(pSource) + " ";
    }
    void Destruct(void* pElement) override { m_strLog += "-" + SlotAt(pElement) + " "; }
    const std::string& GetLog() const { return m_strLog; }

private:
    std::string SlotAt(const void* pv) const
    {
        return std::to_string(static_cast<const int*>(pv) - static_cast<const int*>(m_pvStorage));
    }

    std::string m_strLog;
};

struct SDefaulted
{
    int nValue = 5;
};

/// A transfer of elements within one vector of eight, and the order in which they are taken.
struct STransfer
{
    const char* pszName;
    unsigned int uDest;
    unsigned int uSrc;
    unsigned int uCount;
    std::vector<unsigned int> order;
};
const STransfer g_aTRANSFERS[] = {{"up, overlapping", 2, 1, 3, {2, 1, 0}},
                                  {"up, touching", 4, 1, 3, {2, 1, 0}},
                                  {"up, apart", 5, 1, 3, {0, 1, 2}},
                                  {"down, overlapping", 1, 2, 3, {0, 1, 2}},
                                  {"down, apart", 0, 5, 3, {0, 1, 2}},
                                  {"in place", 3, 3, 2, {}},
                                  {"none", 5, 1, 0, {}}};
}  // namespace

TEST(CVectorTwin, EveryCallComparisonAndRequestIsThatOfTheTwin)
{
    twin::RunRandomly(twin::CompareVectors, 1500);
}

TEST(CVectorTransfer, WithinOneVectorTakesTheSlotsInThePublishedOrder)
{
    for (const STransfer& rCase : g_aTRANSFERS)
    {
        SCOPED_TRACE(rCase.pszName);
        std::string strCopied, strMoved;
        for (const unsigned int u : rCase.order)
        {
            const std::string strSrc = std::to_string(rCase.uSrc + u);
            const std::string strCopy = std::to_string(rCase.uDest + u) + "<" + strSrc + " ";
            strCopied += strCopy;
            strMoved += strCopy + "-" + strSrc + " ";
        }
        CSlotLog copied(8), moved(8), movedFromConst(8);
        CVectorBase::Copy(&copied, rCase.uDest, &copied, rCase.uSrc, rCase.uCount);
        CVectorBase::Move(&moved, rCase.uDest, &moved, rCase.uSrc, rCase.uCount);
        const CVectorBase* const pConst = &movedFromConst;
        CVectorBase::Move(&movedFromConst, rCase.uDest, pConst, rCase.uSrc, rCase.uCount);
        EXPECT_EQ(strCopied, copied.GetLog());
        EXPECT_EQ(strMoved, moved.GetLog());
        EXPECT_EQ(strMoved, movedFromConst.GetLog());
        EXPECT_EQ(8u, moved.GetSize());
    }
}

TEST(CVectorComparison, TakesBytesThenSizesAndIsNoOrder)
{
    using Bytes = std::vector<unsigned char>;
    const std::vector<Bytes> values = {{}, {0}, {1}, {2}, {0x80}, {1, 5}, {1, 2, 3}, {1, 2, 4}, {1, 3}};
    for (const Bytes& rLeft : values)
    {
        for (const Bytes& rRight : values)
        {
            SCOPED_TRACE(testing::PrintToString(rLeft) + " and " + testing::PrintToString(rRight));
            const CVectorBase left = VectorOf(rLeft);
            const CVectorBase right = VectorOf(rRight);
            const std::size_t uCommon = std::min(rLeft.size(), rRight.size());
            const bool bBytesLess = uCommon != 0 && memcmp(rLeft.data(), rRight.data(), uCommon) < 0;
            EXPECT_EQ(bBytesLess || rLeft.size() < rRight.size(), left < right);
            EXPECT_EQ(rLeft == rRight, left == right);
            EXPECT_EQ(rLeft != rRight, left != right);
        }
    }
}

TEST(CVectorComparison, OfDifferentElementSizesTakesTheBytesOfAsManyElementsOfTheLeftOne)
{
    CVectorBase bytes = VectorOf(std::vector<unsigned char>{1, 2, 3});
    const CVectorBase words = VectorOf(std::vector<int>{0x09090201, 0});  // 1 2 9 9 0 0 0 0
    EXPECT_FALSE(bytes < words) << "two bytes are common and equal, and three elements are not fewer than two";
    EXPECT_TRUE(words < bytes) << "the bytes end after three, and two elements are fewer";
    EXPECT_TRUE(words != bytes);

    ASSERT_EQ(QV_RES_OK, bytes.ReserveCapacity(8));
    memset(bytes.GetAtInCapacity(2), 0xFF, 6);
    ASSERT_EQ(QV_RES_OK, bytes.Resize(2));
    EXPECT_FALSE(words < bytes) << "what lies behind the elements was compared";
}

TEST(CVectorCapacity, ThatDoesNotFit32BitsOfBytesIsOutOfMemory)
{
    CTestAllocator allocator;
    allocator.SetRefusing(true);
    CVectorBase words(4, false, &allocator);
    for (const unsigned int uCapacity : {0x40000000u, 0x40000001u, 0xFFFFFFFFu})
        EXPECT_EQ(QV_RES_OUT_OF_MEMORY, words.ReserveCapacity(uCapacity));
    EXPECT_TRUE(allocator.GetRequests().empty());
    EXPECT_EQ(QV_RES_OUT_OF_MEMORY, words.ReserveCapacity(0x3FFFFFFF));
    CVectorBase bytes(1, false, &allocator);
    EXPECT_EQ(QV_RES_OUT_OF_MEMORY, bytes.ReserveCapacity(0xFFFFFFFF));
    ASSERT_EQ(2u, allocator.GetRequests().size());
    EXPECT_EQ(0xFFFFFFFCu, allocator.GetRequests()[0].uSize);
    EXPECT_EQ(0xFFFFFFFFu, allocator.GetRequests()[1].uSize);
    EXPECT_EQ(0u, words.GetCapacity());
}

TEST(CVectorCapacity, OfMoreThan32BitsCanCountIsOutOfMemory)
{
    CVectorBase vector = VectorOf(std::vector<int>{1, 2});
    EXPECT_EQ(QV_RES_OUT_OF_MEMORY, vector.Insert(0, 0xFFFFFFFF));
    EXPECT_EQ(QV_RES_OUT_OF_MEMORY, vector.Insert(2, 0xFFFFFFFE));
    EXPECT_EQ((std::vector<int>{1, 2}), IntsOf(vector));
    vector.SetLockCapacity(1);
    EXPECT_EQ(QV_RES_INVALID_STATE, vector.Insert(0, 0xFFFFFFFF));
}

TEST(CVectorInsert, ASpareSlotOfTheVectorMayBeTheElement)
{
    for (const unsigned int uCount : {1u, 2u, 3u})
    {
        SCOPED_TRACE(uCount);
        CVectorBase vector = VectorOf(std::vector<int>{1, 2});
        ASSERT_EQ(QV_RES_OK, vector.ReserveCapacity(4));
        const int nSpare = 7;
        memcpy(vector.GetAtInCapacity(2), &nSpare, sizeof(nSpare));
        ASSERT_EQ(QV_RES_OK, vector.Insert(1, uCount, vector.GetAtInCapacity(2)));
        std::vector<int> expected = {1, 2};
        expected.insert(expected.begin() + 1, uCount, nSpare);
        EXPECT_EQ(expected, IntsOf(vector));
    }
}

TEST(CVectorInsert, BytesAcrossTwoElementsMayBeTheElement)
{
    for (const unsigned int uRoom : {0u, 8u})
    {
        CVectorBase vector = VectorOf(std::vector<int>{0x11112222, 0x33334444, 0x55556666});
        ASSERT_EQ(QV_RES_OK, vector.ReserveCapacity(uRoom));
        ASSERT_EQ(QV_RES_OK, vector.Insert(1, 1, static_cast<unsigned char*>(vector.GetAt(0)) + 2));
        EXPECT_EQ((std::vector<int>{0x11112222, 0x44441111, 0x33334444, 0x55556666}), IntsOf(vector));
    }
}

TEST(CVectorTyped, GivesAccessToElementsOnly)
{
    CVector<int> vector;
    for (int n = 1; n <= 3; ++n) ASSERT_EQ(QV_RES_OK, vector.Append(n));
    ASSERT_EQ(QV_RES_OK, vector.ReserveCapacity(5));
    const CVector<int>& rConst = vector;
    for (unsigned int u = 0; u < 3; ++u)
    {
        EXPECT_EQ(vector.begin() + u, vector.GetAt(u));
        EXPECT_EQ(vector.begin() + u, rConst.GetAt(u));
        EXPECT_EQ(vector.begin() + u, &vector[u]);
        EXPECT_EQ(vector.begin() + u, &rConst[u]);
    }
    EXPECT_EQ(nullptr, vector.GetAt(3));
    EXPECT_EQ(nullptr, rConst.GetAt(3));
    EXPECT_EQ(rConst.begin() + 3, rConst.end());
    EXPECT_EQ(3u, rConst.GetEndIndex());
    EXPECT_FALSE(rConst.IsEmpty());
    EXPECT_TRUE(CVector<int>().IsEmpty());
}

TEST(CVectorTyped, CopyConstructionCopiesElementsCapacityAndLock)
{
    CTestAllocator allocator;
    CVector<CCounted> vector(&allocator);
    for (int n = 1; n <= 2; ++n) ASSERT_EQ(QV_RES_OK, vector.Append(CCounted(n)));
    ASSERT_EQ(QV_RES_OK, vector.ReserveCapacity(5));
    vector.SetLockCapacity(3);
    const CVector<CCounted> copy(vector);
    EXPECT_EQ((std::vector<int>{1, 2}), IntsOf(copy));
    EXPECT_EQ(5u, copy.GetCapacity());
    EXPECT_EQ(3u, copy.GetLockCapacity());
    EXPECT_EQ(2u, allocator.GetLiveBlocks());
}

TEST(CVectorTyped, MovesExchangeStorageAllocatorLockAndTheConstructFlag)
{
    CTestAllocator allocator, otherAllocator;
    CVector<CCounted> vector(&allocator);
    CVector<CCounted> other(&otherAllocator);
    ASSERT_EQ(QV_RES_OK, vector.Append(CCounted(1)));
    ASSERT_EQ(QV_RES_OK, other.Insert(0, 2, CCounted(7)));
    vector.SetLockCapacity(4);
    vector = std::move(other);
    EXPECT_EQ((std::vector<int>{7, 7}), IntsOf(vector));
    EXPECT_EQ((std::vector<int>{1}), IntsOf(other));
    EXPECT_EQ(0u, vector.GetLockCapacity());
    EXPECT_EQ(4u, other.GetLockCapacity());
    ASSERT_EQ(QV_RES_OK, vector.Append(CCounted(8)));
    EXPECT_EQ(3 * sizeof(CCounted), otherAllocator.GetRequests().back().uSize);

    const CVector<CCounted> moved(std::move(other));
    EXPECT_EQ(4u, moved.GetLockCapacity());
    EXPECT_EQ(1u, moved.GetCapacity());
    EXPECT_EQ(0u, other.GetLockCapacity());
    EXPECT_EQ(0u, other.GetCapacity());

    CVector<SDefaulted> bytes(false, &allocator);
    CVector<SDefaulted> constructed(&allocator);
    constructed = std::move(bytes);
    ASSERT_EQ(QV_RES_OK, constructed.Insert(0, 1));
    ASSERT_EQ(QV_RES_OK, bytes.Insert(0, 1));
    EXPECT_EQ(0, constructed[0].nValue) << "zeroed, as its elements are bytes now";
    EXPECT_EQ(5, bytes[0].nValue);
}

TEST(CVectorTyped, ScalarsAreLeftAsTheSlotIs)
{
    CVector<unsigned int> vector;
    ASSERT_EQ(QV_RES_OK, vector.Append(0x12345678));
    ASSERT_EQ(QV_RES_OK, vector.Insert(0, 1));
    EXPECT_EQ(0x12345678u, vector[1]);
    vector.EraseAll();
    vector[0] = 0xCAFE;  // a spare slot now
    ASSERT_EQ(QV_RES_OK, vector.Insert(0, 1));
    EXPECT_EQ(0xCAFEu, vector[0]);
}

TEST(CVectorTyped, WithoutTheFlagElementsAreBytes)
{
    CVector<unsigned int> numbers(false, nullptr);
    ASSERT_EQ(QV_RES_OK, numbers.Append(0x12345678));
    ASSERT_EQ(QV_RES_OK, numbers.Insert(0, 2));
    EXPECT_EQ((std::vector<unsigned int>{0, 0, 0x12345678}), std::vector<unsigned int>(numbers.begin(), numbers.end()));

    const CCounted element(5);
    CVector<CCounted> elements(false, nullptr);
    ASSERT_EQ(QV_RES_OK, elements.ReserveCapacity(2));
    for (unsigned int u = 0; u < 3; ++u) ASSERT_EQ(QV_RES_OK, elements.Append(element));
    elements.Erase(0);
    elements.Sort();
    EXPECT_EQ(1, CCounted::ms_nLive);
    EXPECT_EQ(0, memcmp(&elements[1], &element, sizeof(element)));
    CCounted::ms_nStray = 0;  // the sort has looked at what never lived
}

TEST(CVectorTyped, PlainElementsAreMadeByTheirDefault)
{
    CVector<SDefaulted> vector;
    ASSERT_EQ(QV_RES_OK, vector.Append({1}));
    ASSERT_EQ(QV_RES_OK, vector.Insert(1, 2));
    EXPECT_EQ(1, vector[0].nValue);
    EXPECT_EQ(5, vector[1].nValue);
    EXPECT_EQ(5, vector[2].nValue);
}

TEST(CVectorTyped, ElementsMayBeAlignedAsMemoryIs)
{
    struct alignas(std::max_align_t) SWide
    {
        char c;
    };
    CVector<SWide> vector;
    ASSERT_EQ(QV_RES_OK, vector.Append(SWide{'w'}));
    EXPECT_EQ('w', vector.GetAt(0)->c);
    EXPECT_EQ(0u, reinterpret_cast<std::uintptr_t>(vector.GetAt(0)) % alignof(SWide));
}

// The promised growth: exact, one block for one, each given back with its size.
TEST(CVectorTyped, AppendsAskTheAllocatorAsDescribedThoughTheElementsMoveAtOnce)
{
    CTestAllocator allocator;
    CVector<int> vector(&allocator);
    for (int n = 0; n < 100; ++n)
    {
        ASSERT_EQ(QV_RES_OK, vector.Append(n));
        ASSERT_EQ(vector.GetSize(), vector.GetCapacity());
    }
    ASSERT_EQ(100u, allocator.GetRequests().size());
    ASSERT_EQ(99u, allocator.GetReleases().size());
    for (unsigned int u = 0; u < 100; ++u)
    {
        EXPECT_EQ(1u, allocator.GetRequests()[u].uCount);
        EXPECT_EQ(u == 0 ? 8 : 4 * (u + 1), allocator.GetRequests()[u].uSize);
        EXPECT_EQ(4 * u, u == 0 ? 0 : allocator.GetReleases()[u - 1]);
        EXPECT_EQ(static_cast<int>(u), vector[u]);
    }
    allocator.SetRefusing(true);
    EXPECT_EQ(QV_RES_OUT_OF_MEMORY, vector.Append(7));
    EXPECT_EQ(100u, vector.GetSize());
}
