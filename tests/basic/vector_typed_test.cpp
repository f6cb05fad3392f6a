// CVector<T>: the typed face.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <set>
#include <string>
#include <utility>

#include "framework/basic/vector.h"
#include "tests/support/test_allocator.h"

namespace
{
std::set<const void*> g_live;

/// An element that knows where its like live: a double birth, a second death and a copy of a dead one are failures.
class CLife
{
public:
    CLife() { Born(); }
    explicit CLife(int nValue) : m_nValue(nValue) { Born(); }
    CLife(const CLife& rOther) : m_nValue(rOther.Value())
    {
        EXPECT_EQ(1u, g_live.count(&rOther)) << "copied from where none lives";
        Born();
    }
    ~CLife()
    {
        EXPECT_EQ(1u, g_live.erase(this)) << "died without having lived";
        m_nValue = -99;
    }
    CLife& operator=(const CLife&) = delete;

    int Value() const { return m_apvWeight[0] == m_apvWeight[1] ? m_nValue : -1; }

private:
    void Born() { EXPECT_TRUE(g_live.insert(this).second) << "born where another lives"; }

    int m_nValue = 42;
    const void* m_apvWeight[2] = {this, this};  // large enough not to pass for a number
};

template <typename Vector>
std::vector<int> ValuesOf(const Vector& rVector)
{
    std::vector<int> values;
    for (const CLife& rLife : rVector) values.push_back(rLife.Value());
    return values;
}

class CTypedVector : public testing::Test
{
protected:
    ~CTypedVector() override { EXPECT_TRUE(g_live.empty()); }

    CTestAllocator m_allocator;
};

enum EMode : int
{
    eMODE_A,
    eMODE_B
};

struct STwoWords
{
    void* pv;
    unsigned long u;
};

template <typename T>
unsigned int BytesOfThree()
{
    CTestAllocator allocator;
    CVector<T> vector(&allocator);
    EXPECT_EQ(QV_RES_OK, vector.ReserveCapacity(3));
    return allocator.GetRequests().at(0).uSize;
}
}  // namespace

TEST(CVectorElementSize, IsThatOfTheType)
{
    EXPECT_EQ(24u, BytesOfThree<void*>());
    EXPECT_EQ(12u, BytesOfThree<EMode>());
    EXPECT_EQ(48u, BytesOfThree<STwoWords>());
    EXPECT_EQ(72u, BytesOfThree<CLife>());
}

TEST_F(CTypedVector, StartsEmpty)
{
    const CVector<CLife> vector(&m_allocator);
    EXPECT_EQ(0u, vector.GetCapacity());
    EXPECT_EQ(0u, vector.GetLockCapacity());
    EXPECT_EQ(0u, vector.GetSize());
    EXPECT_EQ(0u, vector.GetEndIndex());
    EXPECT_TRUE(vector.IsEmpty());
    EXPECT_EQ(nullptr, vector.GetAt(0));
    EXPECT_EQ(vector.begin(), vector.end());
    EXPECT_TRUE(m_allocator.GetRequests().empty());
}

TEST_F(CTypedVector, AppendInsertsAtTheEnd)
{
    CVector<CLife> vector(&m_allocator);
    for (int n = 1; n <= 4; ++n)
    {
        EXPECT_EQ(QV_RES_OK, vector.Append(CLife(n)));
        EXPECT_EQ(static_cast<unsigned int>(n), vector.GetCapacity());
    }
    ASSERT_EQ(QV_RES_OK, vector.ReserveCapacity(6));
    EXPECT_EQ(QV_RES_OK, vector.Append(CLife(5)));
    EXPECT_EQ(6u, vector.GetCapacity());
    EXPECT_EQ((std::vector<int>{1, 2, 3, 4, 5}), ValuesOf(vector));
    EXPECT_EQ(5u, g_live.size());
}

TEST_F(CTypedVector, AppendTakesAnElementOfTheVector)
{
    CVector<CLife> vector(&m_allocator);
    EXPECT_EQ(QV_RES_OK, vector.Append(CLife(1)));
    EXPECT_EQ(QV_RES_OK, vector.Append(*vector.GetAt(0)));
    ASSERT_EQ(QV_RES_OK, vector.ReserveCapacity(3));
    EXPECT_EQ(QV_RES_OK, vector.Append(*vector.GetAt(1)));
    EXPECT_EQ((std::vector<int>{1, 1, 1}), ValuesOf(vector));
}

TEST_F(CTypedVector, AppendReportsWhyItCannotGrow)
{
    CVector<CLife> vector(&m_allocator);
    EXPECT_EQ(QV_RES_OK, vector.Append(CLife(1)));
    m_allocator.SetRefusing(true);
    EXPECT_EQ(QV_RES_OUT_OF_MEMORY, vector.Append(CLife(2)));
    vector.SetLockCapacity(5);
    EXPECT_EQ(5u, vector.GetLockCapacity());
    EXPECT_EQ(QV_RES_INVALID_STATE, vector.Append(CLife(2)));
    EXPECT_EQ(QV_RES_INVALID_STATE, vector.ReduceCapacity(0));
    m_allocator.SetRefusing(false);
    EXPECT_EQ((std::vector<int>{1}), ValuesOf(vector));
}

TEST_F(CTypedVector, InsertConstructsOrCopies)
{
    CVector<CLife> vector(&m_allocator);
    EXPECT_EQ(QV_RES_OK, vector.Insert(0, 2));
    EXPECT_EQ(QV_RES_OK, vector.Insert(1, 2, CLife(7)));
    EXPECT_EQ((std::vector<int>{42, 7, 7, 42}), ValuesOf(vector));
    EXPECT_EQ(4u, vector.GetCapacity());
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, vector.Insert(5, 1));
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, vector.Insert(5, 1, CLife(7)));
    EXPECT_EQ(QV_RES_OK, vector.Insert(0, 2, *vector.GetAt(2)));
    EXPECT_EQ((std::vector<int>{7, 7, 42, 7, 7, 42}), ValuesOf(vector));
    EXPECT_EQ(6u, g_live.size());
}

TEST_F(CTypedVector, EraseDestroys)
{
    CVector<CLife> vector(&m_allocator);
    for (int n = 1; n <= 5; ++n) EXPECT_EQ(QV_RES_OK, vector.Append(CLife(n)));
    vector.Erase(1);
    EXPECT_EQ((std::vector<int>{1, 3, 4, 5}), ValuesOf(vector));
    vector.Erase(1, 2);
    EXPECT_EQ((std::vector<int>{1, 5}), ValuesOf(vector));
    EXPECT_EQ(2u, g_live.size());
    vector.EraseAll();
    EXPECT_TRUE(vector.IsEmpty());
    EXPECT_TRUE(g_live.empty());
    EXPECT_EQ(5u, vector.GetCapacity());
    EXPECT_EQ(QV_RES_OK, vector.ReduceCapacity(0));
    EXPECT_EQ(0u, vector.GetCapacity());
    EXPECT_EQ(0u, m_allocator.GetLiveBlocks());
}

TEST_F(CTypedVector, DestructionDestroysTheElements)
{
    {
        CVector<CLife> vector(&m_allocator);
        EXPECT_EQ(QV_RES_OK, vector.Insert(0, 3));
        EXPECT_EQ(3u, g_live.size());
    }
    EXPECT_TRUE(g_live.empty());
    EXPECT_EQ(0u, m_allocator.GetLiveBlocks());
}

TEST_F(CTypedVector, GivesAccessToElementsOnly)
{
    CVector<CLife> vector(&m_allocator);
    for (int n = 1; n <= 3; ++n) EXPECT_EQ(QV_RES_OK, vector.Append(CLife(n)));
    ASSERT_EQ(QV_RES_OK, vector.ReserveCapacity(5));
    const CVector<CLife>& rConst = vector;
    EXPECT_EQ(2, vector.GetAt(1)->Value());
    EXPECT_EQ(vector.GetAt(1), rConst.GetAt(1));
    EXPECT_EQ(&vector[1], vector.GetAt(1));
    EXPECT_EQ(&rConst[1], vector.GetAt(1));
    EXPECT_EQ(nullptr, vector.GetAt(3));
    EXPECT_EQ(nullptr, rConst.GetAt(3));
    EXPECT_EQ(vector.begin() + 3, vector.end());
    EXPECT_EQ(rConst.begin() + 3, rConst.end());
    EXPECT_EQ(3u, vector.GetEndIndex());
    EXPECT_EQ(3u, vector.GetSize());
    EXPECT_FALSE(vector.IsEmpty());
}

TEST_F(CTypedVector, CopyConstructionCopiesElementsCapacityAndLock)
{
    CVector<CLife> vector(&m_allocator);
    EXPECT_EQ(QV_RES_OK, vector.Append(CLife(1)));
    EXPECT_EQ(QV_RES_OK, vector.Append(CLife(2)));
    ASSERT_EQ(QV_RES_OK, vector.ReserveCapacity(5));
    vector.SetLockCapacity(3);
    const std::size_t uBlocks = m_allocator.GetLiveBlocks();
    const CVector<CLife> copy(vector);
    EXPECT_EQ((std::vector<int>{1, 2}), ValuesOf(copy));
    EXPECT_EQ((std::vector<int>{1, 2}), ValuesOf(vector));
    EXPECT_EQ(5u, copy.GetCapacity());
    EXPECT_EQ(3u, copy.GetLockCapacity());
    EXPECT_EQ(4u, g_live.size());
    EXPECT_EQ(uBlocks + 1, m_allocator.GetLiveBlocks());
}

TEST_F(CTypedVector, CopyConstructionWithoutMemoryIsEmpty)
{
    CVector<CLife> vector(&m_allocator);
    EXPECT_EQ(QV_RES_OK, vector.Append(CLife(1)));
    m_allocator.SetRefusing(true);
    const CVector<CLife> copy(vector);
    m_allocator.SetRefusing(false);
    EXPECT_TRUE(copy.IsEmpty());
    EXPECT_EQ(0u, copy.GetCapacity());
}

TEST_F(CTypedVector, AssignmentCopiesElements)
{
    CVector<CLife> vector(&m_allocator);
    CVector<CLife> other(&m_allocator);
    EXPECT_EQ(QV_RES_OK, vector.Append(CLife(1)));
    EXPECT_EQ(QV_RES_OK, other.Append(CLife(7)));
    EXPECT_EQ(QV_RES_OK, other.Append(CLife(8)));
    EXPECT_EQ(&vector, &(vector = other));
    EXPECT_EQ((std::vector<int>{7, 8}), ValuesOf(vector));
    EXPECT_EQ((std::vector<int>{7, 8}), ValuesOf(other));
    EXPECT_EQ(4u, g_live.size());
    const CVector<CLife>& rSelf = vector;
    vector = rSelf;
    EXPECT_EQ((std::vector<int>{7, 8}), ValuesOf(vector));
}

TEST_F(CTypedVector, MoveConstructionTakesTheStorageOver)
{
    CVector<CLife> vector(&m_allocator);
    EXPECT_EQ(QV_RES_OK, vector.Append(CLife(1)));
    vector.SetLockCapacity(1);
    const CLife* const pLife = vector.GetAt(0);
    m_allocator.SetRefusing(true);
    const CVector<CLife> moved(std::move(vector));
    m_allocator.SetRefusing(false);
    EXPECT_EQ(pLife, moved.GetAt(0));
    EXPECT_EQ(1u, moved.GetCapacity());
    EXPECT_EQ(1u, moved.GetLockCapacity());
    EXPECT_EQ(0u, vector.GetSize());
    EXPECT_EQ(0u, vector.GetCapacity());
    EXPECT_EQ(0u, vector.GetLockCapacity());
}

TEST_F(CTypedVector, MoveAssignmentExchangesEverything)
{
    CTestAllocator otherAllocator;
    CVector<CLife> vector(&m_allocator);
    CVector<CLife> other(&otherAllocator);
    EXPECT_EQ(QV_RES_OK, vector.Append(CLife(1)));
    EXPECT_EQ(QV_RES_OK, other.Insert(0, 2, CLife(7)));
    vector.SetLockCapacity(4);
    EXPECT_EQ(&vector, &(vector = std::move(other)));
    EXPECT_EQ((std::vector<int>{7, 7}), ValuesOf(vector));
    EXPECT_EQ((std::vector<int>{1}), ValuesOf(other));
    EXPECT_EQ(0u, vector.GetLockCapacity());
    EXPECT_EQ(4u, other.GetLockCapacity());
    EXPECT_EQ(QV_RES_OK, vector.Append(CLife(8)));
    EXPECT_EQ(72u, otherAllocator.GetRequests().back().uSize);
}

TEST_F(CTypedVector, MoveExchangesTheConstructFlag)
{
    CVector<int> bytes(false, &m_allocator);
    CVector<int> constructed(&m_allocator);
    constructed = std::move(bytes);
    ASSERT_EQ(QV_RES_OK, constructed.Insert(0, 1));
    EXPECT_EQ(0, constructed[0]);
}

TEST_F(CTypedVector, ScalarsAreLeftAsTheSlotIs)
{
    CVector<unsigned int> vector(&m_allocator);
    ASSERT_EQ(QV_RES_OK, vector.Append(0x12345678));
    ASSERT_EQ(QV_RES_OK, vector.Insert(0, 1));
    EXPECT_EQ(0x12345678u, vector[1]);
    vector.EraseAll();
    vector[0] = 0xCAFE;  // a spare slot now
    ASSERT_EQ(QV_RES_OK, vector.Insert(0, 1));
    EXPECT_EQ(0xCAFEu, vector[0]);
}

TEST_F(CTypedVector, WithoutTheFlagElementsAreBytes)
{
    CVector<unsigned int> numbers(false, &m_allocator);
    ASSERT_EQ(QV_RES_OK, numbers.Append(0x12345678));
    ASSERT_EQ(QV_RES_OK, numbers.Insert(0, 2));
    EXPECT_EQ(0u, numbers[0]);
    EXPECT_EQ(0u, numbers[1]);
    EXPECT_EQ(0x12345678u, numbers[2]);

    CVector<CLife> lives(false, &m_allocator);
    const CLife life(5);
    ASSERT_EQ(QV_RES_OK, lives.ReserveCapacity(2));
    ASSERT_EQ(QV_RES_OK, lives.Append(life));
    ASSERT_EQ(QV_RES_OK, lives.Append(life));
    ASSERT_EQ(QV_RES_OK, lives.Append(life));
    EXPECT_EQ((std::vector<int>{5, 5, 5}), ValuesOf(lives));
    EXPECT_EQ(1u, g_live.size());
    lives.Erase(0);
    EXPECT_EQ(1u, g_live.size());
}

TEST_F(CTypedVector, OfPointersIsTheLibrarysOwnInstance)
{
    CVector<void*> vector(&m_allocator);
    int n = 0;
    ASSERT_EQ(QV_RES_OK, vector.Append(&n));
    ASSERT_EQ(QV_RES_OK, vector.Append(nullptr));
    ASSERT_EQ(QV_RES_OK, vector.Append(vector[0]));
    ASSERT_EQ(QV_RES_OK, vector.Insert(0, 2, &vector));
    EXPECT_EQ(static_cast<void*>(&vector), vector[1]);
    EXPECT_EQ(&n, vector[2]);
    EXPECT_EQ(nullptr, vector[3]);
    EXPECT_EQ(&n, vector[4]);
    vector.Erase(1, 2);
    EXPECT_EQ(nullptr, vector[1]);
    EXPECT_EQ(3u, vector.GetSize());
    EXPECT_EQ(5u, vector.GetCapacity());
}

TEST_F(CTypedVector, WithoutAnAllocatorUsesTheDefaultOne)
{
    CVector<std::string> vector;
    for (int n = 0; n < 50; ++n) ASSERT_EQ(QV_RES_OK, vector.Insert(0, 1, std::string(40, 'a')));
    CVector<std::string> bytes(true, nullptr);
    bytes = vector;
    ASSERT_EQ(50u, bytes.GetSize());
    EXPECT_EQ(std::string(40, 'a'), bytes[49]);
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
