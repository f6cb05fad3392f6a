#ifndef TESTS_ABI_FOREIGN_TYPED_VECTOR_H
#define TESTS_ABI_FOREIGN_TYPED_VECTOR_H
#include <cstring>
#include <string>
#include <vector>

#include "tests/abi/foreign_blob.h"
#include "tests/abi/foreign_object.h"

// The typed vector as an old program knows it; the library brings the functions of its own instances.

template <typename T>
class CVector : public CVectorBase
{
public:
    explicit CVector(IAllocator* pAllocator);
    CVector(bool bConstruct, IAllocator* pAllocator);
    ~CVector() override;
    void Construct(void* pElement) override;
    void ConstructFrom(void* pElement, const void* pSource) override;
    void Destruct(void* pElement) override;

    unsigned int GetCapacity() const;
    unsigned int GetLockCapacity() const;
    unsigned int GetSize() const;
    bool IsEmpty() const;
    unsigned int GetEndIndex() const;
    T& GetAt(unsigned int uIndex);
    const T& GetAt(unsigned int uIndex) const;
    QvResult ReserveCapacity(unsigned int uCapacity);
    QvResult ReduceCapacity(unsigned int uCapacity);
    QvResult Insert(unsigned int uIndex, unsigned int uCount);
    QvResult Insert(unsigned int uIndex, unsigned int uCount, const T& rElement);
    QvResult Append(const T& rElement);
    void Erase(unsigned int uIndex);
    void Erase(unsigned int uIndex, unsigned int uCount);
    void EraseAll();
};

/// Uses every operation of one of the library's own instances with two different elements.
template <typename T>
void ExpectToHold(const T& rFirst, const T& rSecond, const std::string& rName)
{
    const auto IsSame = [](const T& rLeft, const T& rRight) { return std::memcmp(&rLeft, &rRight, sizeof(T)) == 0; };
    CVector<T> vector(nullptr);
    const CVector<T>& rConst = vector;
    const std::vector<std::string> table{rName + "::~CVector()", rName + "::~CVector()", rName + "::Construct(void*)",
                                         rName + "::ConstructFrom(void*, void const*)", rName + "::Destruct(void*)"};
    EXPECT_EQ(table, TableOf(&vector));
    EXPECT_EQ(sizeof(T), vector.m_uElementSize);
    EXPECT_TRUE(vector.m_bConstruct);
    EXPECT_TRUE(rConst.IsEmpty());

    EXPECT_EQ(QV_RES_OK, vector.ReserveCapacity(4));
    EXPECT_EQ(4u, rConst.GetCapacity());
    EXPECT_EQ(QV_RES_OK, vector.Append(rSecond));
    EXPECT_EQ(QV_RES_OK, vector.Insert(0, 2, rFirst));
    EXPECT_EQ(3u, rConst.GetSize());
    EXPECT_EQ(3u, rConst.GetEndIndex());
    EXPECT_TRUE(IsSame(rFirst, vector.GetAt(1)));
    EXPECT_TRUE(IsSame(rSecond, rConst.GetAt(2)));
    EXPECT_TRUE(IsSame(rSecond, LoadAt<T>(vector.m_puStorage, 2 * sizeof(T))));

    vector.Erase(0);
    EXPECT_TRUE(IsSame(rSecond, vector.GetAt(1)));
    EXPECT_EQ(QV_RES_OK, vector.Insert(2, 2));
    EXPECT_EQ(4u, vector.m_uSize);
    vector.Erase(0, 1);
    EXPECT_TRUE(IsSame(rSecond, vector.GetAt(0)));
    vector.EraseAll();
    EXPECT_EQ(0u, vector.m_uSize);
    vector.m_uLockCapacity = 1;
    EXPECT_EQ(1u, rConst.GetLockCapacity());
    EXPECT_EQ(QV_RES_INVALID_STATE, vector.ReduceCapacity(0));
    vector.m_uLockCapacity = 0;
    EXPECT_EQ(QV_RES_OK, vector.ReduceCapacity(0));
    EXPECT_EQ(nullptr, vector.m_puStorage);

    T slot = rFirst;
    CVectorBase& rBase = OfUnknownOrigin(static_cast<CVectorBase&>(vector));
    rBase.ConstructFrom(&slot, &rSecond);
    EXPECT_TRUE(IsSame(rSecond, slot));
    rBase.Destruct(&slot);
    rBase.Construct(&slot);

    const CVector<T> raw(false, nullptr);
    EXPECT_FALSE(raw.m_bConstruct);
}

#endif
