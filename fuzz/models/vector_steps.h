#ifndef FUZZ_MODELS_VECTOR_STEPS_H
#define FUZZ_MODELS_VECTOR_STEPS_H
#include "framework/basic/vector.h"
#include "fuzz/models/sequence_steps.h"
#include "fuzz/models/vector_twin.h"

namespace twin
{
/// The library's vector with traced elements.
class CTracedVector : public CVectorBase
{
public:
    CTracedVector(CTrace& rTrace, unsigned int uElementSize, bool bConstruct, IAllocator* pSource)
        : CVectorBase(uElementSize, bConstruct, pSource), m_rTrace(rTrace)
    {
    }
    ~CTracedVector() override { EraseAll(); }
    CTracedVector(const CTracedVector&) = delete;
    CTracedVector& operator=(const CTracedVector&) = delete;

    void Assign(const CTracedVector& rSrc) { CVectorBase::operator=(rSrc); }
    unsigned int GetElementSize() const { return m_uElementSize; }
    bool Constructs() const { return m_bConstruct; }
    using CVectorBase::InternalFindSorted;
    void Construct(void* pElement) override { m_rTrace.Construct(pElement, m_uElementSize); }
    void ConstructFrom(void* pElement, const void* pSource) override
    {
        m_rTrace.ConstructFrom(pElement, pSource, m_uElementSize);
    }
    void Destruct(void* pElement) override { m_rTrace.Destruct(pElement, m_uElementSize); }

private:
    CTrace& m_rTrace;
};

inline CVectorBase CopyOf(const CTracedVector& rVector)
{
    return CVectorBase(rVector);
}
inline CVectorTwin CopyOf(const CVectorTwin& rVector)
{
    return CVectorTwin(rVector);
}

/// Sequences of operations on vectors.
class CVectorSteps : public CSequenceSteps<CVectorSteps, CTracedVector, CVectorTwin>
{
public:
    explicit CVectorSteps(CFuzzInput& rInput) : CSequenceSteps(rInput) { MakeAll(); }

    void Run() { RunAll(g_astOPERATIONS); }

    template <typename Vector>
    std::unique_ptr<Vector> Make(SSide<Vector>& rSide, unsigned int uContainer) const
    {
        return std::make_unique<Vector>(rSide.trace, ElementSizeOf(uContainer), (m_uKind >> uContainer & 1) != 0,
                                        SourceOf(rSide, uContainer));
    }
    template <typename Vector>
    static void FillSlot(Vector& rVector, void* pSlot, std::uint32_t uValue)
    {
        const CLooseElement loose(uValue, rVector.GetElementSize());
        if (rVector.Constructs()) rVector.ConstructFrom(pSlot, loose.Get());
        else std::memcpy(pSlot, loose.Get(), rVector.GetElementSize());
    }
    static bool CopiesAside(const CVectorTwin& rVector) { return rVector.Constructs(); }

    template <typename Side, typename Vector>
    static Values StateOf(Side&, Vector& rVector)
    {
        Values values = {rVector.GetSize(),       rVector.GetCapacity(),  rVector.GetLockCapacity(), rVector.IsEmpty(),
                         rVector.GetFirstIndex(), rVector.GetLastIndex(), rVector.GetEndIndex()};
        const unsigned int uElementSize = rVector.GetElementSize();
        for (unsigned int u = 0; u < rVector.GetSize(); ++u) AppendBytes(values, rVector.GetAt(u), uElementSize);
        return values;
    }
    static const char* StateNames() { return "size, capacity, lock, empty, first, last, end, elements"; }

private:
    /// What a caller does with slots that were left to it.
    template <typename Vector>
    static void Fill(Vector& rVector, unsigned int uIndex, unsigned int uCount, std::uint32_t uValue)
    {
        for (unsigned int u = uIndex; u < uIndex + uCount; ++u) FillSlot(rVector, rVector.GetAtInCapacity(u), uValue);
    }
    template <typename Vector>
    static void DestructSlots(Vector& rVector, unsigned int uIndex, unsigned int uCount)
    {
        if (!rVector.Constructs()) return;
        for (unsigned int u = uIndex; u < uIndex + uCount; ++u) rVector.Destruct(rVector.GetAtInCapacity(u));
    }

    void InsertMade()
    {
        const unsigned int u = Container();
        const unsigned int uIndex = Index("index", Twin(u).GetSize());
        const unsigned int uCount = Count("count", Twin(u).GetSize());
        const bool bNull = Note("null element", m_rInput.Flag());
        Do(
            [=](auto& rSide)
            {
                auto& rVector = At(rSide, u);
                return Values{Code(bNull ? rVector.Insert(uIndex, uCount, nullptr) : rVector.Insert(uIndex, uCount))};
            },
            EStrictness::ALL);
    }
    void Resize()
    {
        const unsigned int u = Container();
        const unsigned int uSize = Index("size", Twin(u).GetCapacity());
        const std::uint32_t uValue = Value();
        Do(
            [=](auto& rSide)
            {
                auto& rVector = At(rSide, u);
                const unsigned int uOld = rVector.GetSize();
                if (uSize < uOld) DestructSlots(rVector, uSize, uOld - uSize);
                const QvResult res = rVector.Resize(uSize);
                if (res == QV_RES_OK && uSize > uOld) Fill(rVector, uOld, uSize - uOld, uValue);
                return Values{Code(res)};
            },
            EStrictness::ALL);
    }
    void CopyConstruct()
    {
        const unsigned int u = Container();
        Do(
            [=](auto& rSide)
            {
                auto& rVector = At(rSide, u);
                auto copy = CopyOf(rVector);
                Values values = {copy.GetSize(), copy.GetCapacity(), copy.GetLockCapacity()};
                // What is constructed is out of reach of the copy constructor: its elements are raw memory.
                if (!rVector.Constructs()) values.push_back(copy == rVector || copy.GetSize() != rVector.GetSize());
                return values;
            },
            EStrictness::ALL);
    }
    void Compare()
    {
        const unsigned int u = Container();
        const unsigned int uOther = Container("other");
        // The bytes of the common length are compared by this one's element size.
        if (Twin(u).GetElementSize() != Twin(uOther).GetElementSize() &&
            Twin(u).GetSize() * Twin(uOther).GetSize() != 0)
        {
            Do(
                [=](auto& rSide) {
                    return Values{At(rSide, u) == At(rSide, uOther), At(rSide, u) != At(rSide, uOther)};
                },
                EStrictness::ALL);
            return;
        }
        Do(
            [=](auto& rSide)
            {
                auto& rVector = At(rSide, u);
                auto& rOther = At(rSide, uOther);
                return Values{rVector == rOther, rVector != rOther, rVector < rOther, rOther < rVector};
            },
            EStrictness::ALL);
    }
    void GetAt()
    {
        const unsigned int u = Container();
        const unsigned int uIndex = Index("index", Twin(u).GetCapacity());
        Do(
            [=](auto& rSide)
            {
                auto& rVector = At(rSide, u);
                const auto& rConst = rVector;
                return Values{rSide.PlaceOf(rVector.GetAt(uIndex)),
                              rVector.GetAt(uIndex) != nullptr,
                              rSide.PlaceOf(rVector.GetAtInCapacity(uIndex)),
                              rVector.GetAtInCapacity(uIndex) != nullptr,
                              rConst.GetAt(uIndex) == rVector.GetAt(uIndex),
                              rConst.GetAtInCapacity(uIndex) == rVector.GetAtInCapacity(uIndex)};
            },
            EStrictness::ALL);
    }

    /// Copies elements into spare slots.
    void Copy()
    {
        const unsigned int u = Container();
        const unsigned int uSource = Container("source");
        const unsigned int uIndex = Note("index", m_rInput.Below(Twin(uSource).GetSize() + 1));
        const unsigned int uSpare = Twin(u).GetCapacity() - Twin(u).GetSize();
        const unsigned int uCount =
            Note("count", m_rInput.Below(std::min(uSpare, Twin(uSource).GetSize() - uIndex) + 1));
        if (Twin(u).GetElementSize() != Twin(uSource).GetElementSize()) return;
        Do(
            [=](auto& rSide)
            {
                auto& rVector = At(rSide, u);
                rVector.Copy(&rVector, rVector.GetSize(), &At(rSide, uSource), uIndex, uCount);
                return Values{Code(rVector.Resize(rVector.GetSize() + uCount))};
            },
            EStrictness::ALL);
    }
    /// Copies plain elements over others of the same vector.
    void CopyOver()
    {
        const unsigned int u = Container();
        const unsigned int uSize = Twin(u).GetSize();
        const unsigned int uFrom = Note("from", m_rInput.Below(uSize + 1));
        const unsigned int uTo = Note("to", m_rInput.Below(uSize + 1));
        const unsigned int uCount = Note("count", m_rInput.Below(uSize - std::max(uFrom, uTo) + 1));
        if (Twin(u).Constructs()) return;
        Do(
            [=](auto& rSide)
            {
                auto& rVector = At(rSide, u);
                rVector.Copy(&rVector, uTo, &rVector, uFrom, uCount);
                return Values();
            },
            EStrictness::ALL);
    }
    /// Moves the last elements of one vector into spare slots of another.
    void Move()
    {
        const unsigned int u = Container();
        const unsigned int uSource = Container("source");
        const unsigned int uSpare = Twin(u).GetCapacity() - Twin(u).GetSize();
        const unsigned int uCount = Note("count", m_rInput.Below(std::min(uSpare, Twin(uSource).GetSize()) + 1));
        if (u == uSource || Twin(u).GetElementSize() != Twin(uSource).GetElementSize()) return;
        Do(
            [=](auto& rSide)
            {
                auto& rVector = At(rSide, u);
                auto& rSource = At(rSide, uSource);
                rVector.Move(&rVector, rVector.GetSize(), &rSource, rSource.GetSize() - uCount, uCount);
                return Values{Code(rVector.Resize(rVector.GetSize() + uCount)),
                              Code(rSource.Resize(rSource.GetSize() - uCount))};
            },
            EStrictness::ALL);
    }
    /// Moves the tail of a vector up within its capacity and fills the gap.
    void MoveUp()
    {
        const unsigned int u = Container();
        const unsigned int uSize = Twin(u).GetSize();
        const unsigned int uIndex = Note("index", m_rInput.Below(uSize + 1));
        const unsigned int uGap = Note("gap", m_rInput.Below(Twin(u).GetCapacity() - uSize + 1));
        const std::uint32_t uValue = Value();
        Do(
            [=](auto& rSide)
            {
                auto& rVector = At(rSide, u);
                rVector.Move(&rVector, uIndex + uGap, &rVector, uIndex, uSize - uIndex);
                Fill(rVector, uIndex, uGap, uValue);
                return Values{Code(rVector.Resize(uSize + uGap))};
            },
            EStrictness::ALL);
    }
    /// Destroys some elements and moves those behind them down.
    void MoveDown()
    {
        const unsigned int u = Container();
        const unsigned int uSize = Twin(u).GetSize();
        const unsigned int uIndex = Note("index", m_rInput.Below(uSize + 1));
        const unsigned int uGap = Note("gap", m_rInput.Below(uSize - uIndex + 1));
        Do(
            [=](auto& rSide)
            {
                auto& rVector = At(rSide, u);
                DestructSlots(rVector, uIndex, uGap);
                rVector.Move(&rVector, uIndex, &rVector, uIndex + uGap, uSize - uIndex - uGap);
                return Values{Code(rVector.Resize(uSize - uGap))};
            },
            EStrictness::ALL);
    }

    static constexpr SOperation g_astOPERATIONS[] = {
        {"Insert", &CVectorSteps::Insert},
        {"Insert", &CVectorSteps::Insert},
        {"Insert", &CVectorSteps::Insert},
        {"Insert", &CVectorSteps::Insert},
        {"Insert without element", &CVectorSteps::InsertMade},
        {"Insert of a vector", &CVectorSteps::InsertOther},
        {"InsertSorted", &CVectorSteps::InsertSorted},
        {"Allocate", &CVectorSteps::Allocate},
        {"AllocateSorted", &CVectorSteps::AllocateSorted},
        {"Erase", &CVectorSteps::Erase},
        {"Erase of one", &CVectorSteps::EraseOne},
        {"EraseAll", &CVectorSteps::EraseAll},
        {"Merge", &CVectorSteps::Merge},
        {"Split", &CVectorSteps::Split},
        {"Swap", &CVectorSteps::Swap},
        {"ReserveCapacity", &CVectorSteps::ReserveCapacity},
        {"ReduceCapacity", &CVectorSteps::ReduceCapacity},
        {"SetLockCapacity", &CVectorSteps::SetLockCapacity},
        {"Resize", &CVectorSteps::Resize},
        {"assignment", &CVectorSteps::Assign},
        {"copy construction", &CVectorSteps::CopyConstruct},
        {"comparison", &CVectorSteps::Compare},
        {"Sort", &CVectorSteps::Sort},
        {"Find", &CVectorSteps::Find},
        {"FindSorted", &CVectorSteps::FindSorted},
        {"InternalFindSorted", &CVectorSteps::InternalFindSorted},
        {"GetMinElementIndex", &CVectorSteps::GetMinElementIndex},
        {"GetMaxElementIndex", &CVectorSteps::GetMaxElementIndex},
        {"GetAt", &CVectorSteps::GetAt},
        {"Copy", &CVectorSteps::Copy},
        {"Copy over elements", &CVectorSteps::CopyOver},
        {"Move", &CVectorSteps::Move},
        {"Move up", &CVectorSteps::MoveUp},
        {"Move down", &CVectorSteps::MoveDown},
        {"refusal of requests", &CVectorSteps::RefuseRequests},
        {"destruction", &CVectorSteps::DestroyAndMakeAnew},
    };
};

/// What differs between the vectors and their twins in the operations that an input stands for; nothing should.
inline std::string CompareVectors(const std::uint8_t* puData, std::size_t uSize)
{
    CFuzzInput input(puData, uSize);
    CVectorSteps steps(input);
    steps.Run();
    return steps.GetFailure();
}
}  // namespace twin

#endif
