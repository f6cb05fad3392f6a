// Long random sequences against std::vector, with memory running out now and then.
#include <gtest/gtest.h>

#include <algorithm>
#include <set>

#include "framework/basic/vector.h"
#include "tests/support/test_allocator.h"
#include "tests/support/test_seed.h"

namespace
{
/// The addresses at which elements live: an element is born once, dies once, and is read only in between.
using LiveElements = std::set<const void*>;

/// Elements of any size that all bytes tell the value of. Those that are only bytes must never see an operation.
class CLiveVector : public CVectorBase
{
public:
    CLiveVector(LiveElements& rLive, unsigned int uElementSize, bool bConstruct, IAllocator* pAllocator)
        : CVectorBase(uElementSize, bConstruct, pAllocator), m_rLive(rLive)
    {
    }
    ~CLiveVector() override { EraseAll(); }
    CLiveVector(const CLiveVector&) = delete;
    CLiveVector& operator=(const CLiveVector& rSrc)
    {
        CVectorBase::operator=(rSrc);
        return *this;
    }

    void Construct(void* pElement) override
    {
        Born(pElement);
        memset(pElement, 0, m_uElementSize);
    }
    void ConstructFrom(void* pElement, const void* pSource) override
    {
        Born(pElement);
        memcpy(pElement, pSource, m_uElementSize);
    }
    void Destruct(void* pElement) override
    {
        EXPECT_TRUE(m_bConstruct);
        EXPECT_EQ(1u, m_rLive.erase(pElement)) << "died without having lived";
        memset(pElement, 0xEE, m_uElementSize);
    }

    bool Constructs() const { return m_bConstruct; }
    unsigned int ElementSize() const { return m_uElementSize; }
    const void* Storage() const { return m_pvStorage; }
    using CVectorBase::InternalFindSorted;

private:
    void Born(void* pElement)
    {
        EXPECT_TRUE(m_bConstruct);
        EXPECT_TRUE(m_rLive.insert(pElement).second) << "born where another lives";
    }

    LiveElements& m_rLive;
};

struct SModel
{
    std::vector<unsigned char> values;
    unsigned int uCapacity = 0;
    unsigned int uLock = 0;
};

unsigned int SizeOf(const SModel& rModel)
{
    return static_cast<unsigned int>(rModel.values.size());
}

int CompareFirstBytes(const void* pElement, const void* pKey, unsigned int)
{
    return *static_cast<const unsigned char*>(pElement) - *static_cast<const unsigned char*>(pKey);
}

struct SKind
{
    unsigned int uElementSize;
    bool bConstruct;
};

std::ostream& operator<<(std::ostream& rStream, const SKind& rKind)
{
    return rStream << rKind.uElementSize << (rKind.bConstruct ? "Constructed" : "Bytes");
}

class CVectorModel : public testing::TestWithParam<SKind>
{
protected:
    /// What growing to uCapacity must give, and do to the model.
    QvResult Grow(SModel& rModel, unsigned int uCapacity)
    {
        if (uCapacity <= rModel.uCapacity) return QV_RES_OK;
        if (rModel.uLock != 0) return QV_RES_INVALID_STATE;
        if (m_bRefusing) return QV_RES_OUT_OF_MEMORY;
        rModel.uCapacity = uCapacity;
        return QV_RES_OK;
    }
    /// The same for opening uCount places at uIndex.
    QvResult Open(SModel& rModel, unsigned int uIndex, unsigned int uCount)
    {
        if (uIndex > SizeOf(rModel)) return QV_RES_INVALID_ARGUMENT;
        return Grow(rModel, SizeOf(rModel) + uCount);
    }
    std::vector<unsigned char> Element(unsigned char uValue) const
    {
        return std::vector<unsigned char>(GetParam().uElementSize, uValue);
    }
    unsigned char RandomValue() { return static_cast<unsigned char>(Below(m_rng, 12)); }

    void Check(const CLiveVector& rVector, const SModel& rModel)
    {
        ASSERT_EQ(rModel.values.size(), rVector.GetSize());
        ASSERT_EQ(rModel.uCapacity, rVector.GetCapacity());
        ASSERT_EQ(rModel.uLock, rVector.GetLockCapacity());
        for (unsigned int u = 0; u < rVector.GetSize(); ++u)
        {
            ASSERT_EQ(0, memcmp(Element(rModel.values[u]).data(), rVector.GetAt(u), GetParam().uElementSize))
                << "element " << u;
            ASSERT_EQ(rVector.Constructs() ? 1u : 0u, m_live.count(rVector.GetAt(u))) << "life of element " << u;
        }
        ASSERT_EQ(rModel.uCapacity == 0 ? 0 : std::max(8u, rModel.uCapacity * GetParam().uElementSize),
                  m_allocator.GetSizeOf(rVector.Storage()));
    }

    void Step();

    std::mt19937 m_rng{TestSeed()};
    CTestAllocator m_allocator;
    LiveElements m_live;
    bool m_bRefusing = false;
    CLiveVector m_aVectors[2] = {{m_live, GetParam().uElementSize, GetParam().bConstruct, &m_allocator},
                                 {m_live, GetParam().uElementSize, GetParam().bConstruct, &m_allocator}};
    SModel m_aModels[2];
};

void CVectorModel::Step()
{
    const unsigned int uWhich = Below(m_rng, 2);
    CLiveVector& rVector = m_aVectors[uWhich];
    CLiveVector& rOther = m_aVectors[1 - uWhich];
    SModel& rModel = m_aModels[uWhich];
    SModel& rOtherModel = m_aModels[1 - uWhich];
    std::vector<unsigned char>& rValues = rModel.values;
    const unsigned int uSize = SizeOf(rModel);
    const unsigned int uIndex = Below(m_rng, uSize + 2);
    const unsigned int uCount = Below(m_rng, 5);
    const unsigned char uValue = RandomValue();

    m_bRefusing = Below(m_rng, 5) == 0;
    m_allocator.SetRefusing(m_bRefusing);
    switch (Below(m_rng, 17))
    {
        case 0:
        {
            const QvResult res = Open(rModel, uIndex, uCount);
            ASSERT_EQ(res, rVector.Insert(uIndex, uCount, Element(uValue).data()));
            if (res == QV_RES_OK) rValues.insert(rValues.begin() + uIndex, uCount, uValue);
            break;
        }
        case 1:
        {
            const QvResult res = Open(rModel, uIndex, uCount);
            ASSERT_EQ(res, rVector.Insert(uIndex, uCount));
            if (res == QV_RES_OK) rValues.insert(rValues.begin() + uIndex, uCount, 0);
            break;
        }
        case 2:
        {
            if (uSize == 0) break;
            const unsigned int uElement = Below(m_rng, uSize);
            const unsigned char uInside = rValues[uElement];
            const QvResult res = Open(rModel, uIndex, uCount);
            ASSERT_EQ(res, rVector.Insert(uIndex, uCount, rVector.GetAt(uElement)));
            if (res == QV_RES_OK) rValues.insert(rValues.begin() + uIndex, uCount, uInside);
            break;
        }
        case 3:
        {
            const bool bSelf = uSize < 20 && Below(m_rng, 2) == 0;
            const std::vector<unsigned char> inserted = bSelf ? rValues : rOtherModel.values;
            const QvResult res = Open(rModel, uIndex, static_cast<unsigned int>(inserted.size()));
            ASSERT_EQ(res, rVector.Insert(uIndex, bSelf ? rVector : rOther));
            if (res == QV_RES_OK) rValues.insert(rValues.begin() + uIndex, inserted.begin(), inserted.end());
            break;
        }
        case 4:
        {
            const QvResult res = Open(rModel, uIndex, 1);
            void* const pvSlot = rVector.Allocate(uIndex);
            ASSERT_EQ(res == QV_RES_OK, pvSlot != nullptr);
            if (pvSlot == nullptr) break;
            ASSERT_EQ(rVector.GetAt(uIndex), pvSlot);
            if (rVector.Constructs()) rVector.ConstructFrom(pvSlot, Element(uValue).data());
            else memset(pvSlot, uValue, GetParam().uElementSize);
            rValues.insert(rValues.begin() + uIndex, uValue);
            break;
        }
        case 5:
        {
            rVector.Sort(CompareFirstBytes, 0);
            std::sort(rValues.begin(), rValues.end());
            const unsigned int uPlace =
                static_cast<unsigned int>(std::lower_bound(rValues.begin(), rValues.end(), uValue) - rValues.begin());
            ASSERT_EQ(uPlace, rVector.InternalFindSorted(Element(uValue).data(), CompareFirstBytes, 0));
            const bool bThere = uPlace < uSize && rValues[uPlace] == uValue;
            ASSERT_EQ(bThere ? uPlace : uSize, rVector.FindSorted(Element(uValue).data(), CompareFirstBytes, 0));
            const QvResult res = Open(rModel, uPlace, 1);
            ASSERT_EQ(res, rVector.InsertSorted(Element(uValue).data(), CompareFirstBytes, 0));
            if (res == QV_RES_OK) rValues.insert(rValues.begin() + uPlace, uValue);
            break;
        }
        case 6:
        {
            rVector.Sort(CompareFirstBytes, 0);
            std::sort(rValues.begin(), rValues.end());
            const auto itPlace = std::lower_bound(rValues.begin(), rValues.end(), uValue);
            const bool bThere = itPlace != rValues.end() && *itPlace == uValue;
            const unsigned int uPlace = static_cast<unsigned int>(itPlace - rValues.begin());
            const QvResult res = bThere                                 ? QV_RES_ALREADY_EXISTS
                                 : Open(rModel, uPlace, 1) == QV_RES_OK ? QV_RES_OK
                                                                        : QV_RES_FAIL;
            void* pvSlot = nullptr;
            ASSERT_EQ(res, rVector.AllocateSorted(Element(uValue).data(), CompareFirstBytes, 0, &pvSlot));
            if (res != QV_RES_OK) break;
            ASSERT_EQ(rVector.GetAt(uPlace), pvSlot);
            if (rVector.Constructs()) rVector.ConstructFrom(pvSlot, Element(uValue).data());
            else memset(pvSlot, uValue, GetParam().uElementSize);
            rValues.insert(rValues.begin() + uPlace, uValue);
            break;
        }
        case 7:
            rVector.Erase(uIndex, uCount);
            if (uIndex < uSize)
                rValues.erase(rValues.begin() + uIndex, rValues.begin() + std::min(uSize, uIndex + uCount));
            break;
        case 8:
            rVector.Erase(uIndex);
            if (uIndex < uSize) rValues.erase(rValues.begin() + uIndex);
            break;
        case 9:
            if (Below(m_rng, 4) != 0) break;
            rVector.EraseAll();
            rValues.clear();
            break;
        case 10:
        {
            if (uSize > 40) break;
            const std::vector<unsigned char> merged = rOtherModel.values;
            const QvResult res = Open(rModel, uIndex, static_cast<unsigned int>(merged.size()));
            ASSERT_EQ(res, rVector.Merge(uIndex, rOther));
            if (res != QV_RES_OK) break;
            rValues.insert(rValues.begin() + uIndex, merged.begin(), merged.end());
            rOtherModel.values.clear();
            break;
        }
        case 11:
        {
            const QvResult res = uIndex >= uSize ? QV_RES_INVALID_ARGUMENT : Grow(rOtherModel, uSize - uIndex);
            ASSERT_EQ(res, rVector.Split(uIndex, rOther));
            if (res != QV_RES_OK) break;
            rOtherModel.values.assign(rValues.begin() + uIndex, rValues.end());
            rValues.resize(uIndex);
            break;
        }
        case 12:
        {
            const unsigned int uSecond = Below(m_rng, uSize + 2);
            rVector.Swap(uIndex, uSecond);
            if (uIndex < uSize && uSecond < uSize) std::swap(rValues[uIndex], rValues[uSecond]);
            break;
        }
        case 13:
        {
            const unsigned int uCapacity = uSize + Below(m_rng, 8);
            ASSERT_EQ(Grow(rModel, uCapacity), rVector.ReserveCapacity(uCapacity));
            break;
        }
        case 14:
        {
            const unsigned int uCapacity = Below(m_rng, uSize + 8);
            const unsigned int uTarget = std::max(uCapacity, uSize);
            const bool bNeedsMemory = uTarget != 0 && uTarget < rModel.uCapacity;
            const QvResult res = rModel.uLock != 0             ? QV_RES_INVALID_STATE
                                 : bNeedsMemory && m_bRefusing ? QV_RES_OUT_OF_MEMORY
                                                               : QV_RES_OK;
            ASSERT_EQ(res, rVector.ReduceCapacity(uCapacity));
            if (res == QV_RES_OK) rModel.uCapacity = std::min(rModel.uCapacity, uTarget);
            break;
        }
        case 15:
            rModel.uLock = Below(m_rng, 4) == 0 ? 1 : 0;
            rVector.SetLockCapacity(rModel.uLock);
            break;
        case 16:
        {
            rVector = rOther;
            if (Grow(rModel, SizeOf(rOtherModel)) == QV_RES_OK) rValues = rOtherModel.values;
            ASSERT_EQ(std::find(rValues.begin(), rValues.end(), uValue) - rValues.begin(),
                      rVector.Find(0, Element(uValue).data(), CompareFirstBytes, 0));
            ASSERT_EQ(std::min_element(rValues.begin(), rValues.end()) - rValues.begin(),
                      rVector.GetMinElementIndex(CompareFirstBytes, 0));
            ASSERT_EQ(std::max_element(rValues.begin(), rValues.end()) - rValues.begin(),
                      rVector.GetMaxElementIndex(CompareFirstBytes, 0));
            break;
        }
        default: break;
    }
    for (unsigned int u = 0; u < 2; ++u) ASSERT_NO_FATAL_FAILURE(Check(m_aVectors[u], m_aModels[u]));
    const std::size_t uElements = m_aModels[0].values.size() + m_aModels[1].values.size();
    ASSERT_EQ(GetParam().bConstruct ? uElements : 0, m_live.size());
}
}  // namespace

TEST_P(CVectorModel, RandomOperationsMatchAStandardVectorEvenWhenMemoryRunsOut)
{
    for (unsigned int uStep = 0; uStep < 3000; ++uStep)
    {
        SCOPED_TRACE(testing::Message() << "step " << uStep);
        ASSERT_NO_FATAL_FAILURE(Step());
    }
    m_allocator.SetRefusing(false);
    for (CLiveVector& rVector : m_aVectors) rVector.EraseAll();
    EXPECT_TRUE(m_live.empty());
}

INSTANTIATE_TEST_SUITE_P(Elements, CVectorModel,
                         testing::Values(SKind{1, false}, SKind{3, false}, SKind{4, false}, SKind{8, false},
                                         SKind{16, false}, SKind{40, false}, SKind{1, true}, SKind{4, true},
                                         SKind{12, true}, SKind{40, true}),
                         testing::PrintToStringParamName());
