#ifndef FUZZ_MODELS_VECTOR_LIST_STEPS_H
#define FUZZ_MODELS_VECTOR_LIST_STEPS_H
#include "framework/basic/vector_list.h"
#include "fuzz/models/sequence_steps.h"
#include "fuzz/models/vector_list_twin.h"

namespace twin
{
/// The library's vector-list with traced elements.
class CTracedVectorList : public CVListBase
{
public:
    using BlockAllocator = CBlockAllocator;

    CTracedVectorList(CTrace& rTrace, unsigned int uElementSize, IAllocator* pSource)
        : CVListBase(uElementSize, pSource), m_rTrace(rTrace)
    {
    }
    CTracedVectorList(CTrace& rTrace, unsigned int uElementSize, const CBlockAllocator& rAllocator)
        : CVListBase(uElementSize, rAllocator), m_rTrace(rTrace)
    {
    }
    ~CTracedVectorList() override { EraseAll(); }
    CTracedVectorList(const CTracedVectorList&) = delete;
    CTracedVectorList& operator=(const CTracedVectorList&) = delete;

    void Assign(const CTracedVectorList& rSrc) { CVListBase::operator=(rSrc); }
    unsigned int GetElementSize() const { return m_uElementSize; }
    unsigned int GetFreeBlocks() const { return m_elementAllocator.GetBlockCount(); }
    void VacateSlots(unsigned int uIndex, unsigned int uCount)
    {
        for (unsigned int u = uIndex; u < uIndex + uCount; ++u)
        {
            Destruct(m_order[u]);
            m_elementAllocator.Push(m_order[u]);
            m_order[u] = nullptr;
        }
    }
    void RemoveSlots(unsigned int uIndex, unsigned int uCount) { m_order.Erase(uIndex, uCount); }
    using CVListBase::InternalFindSorted;
    void Construct(void* pElement) override { m_rTrace.Construct(pElement, m_uElementSize); }
    void ConstructFrom(void* pElement, const void* pSource) override
    {
        m_rTrace.ConstructFrom(pElement, pSource, m_uElementSize);
    }
    void Destruct(void* pElement) override { m_rTrace.Destruct(pElement, m_uElementSize); }

private:
    CTrace& m_rTrace;
};

inline CVListBase CopyOf(const CTracedVectorList& rList)
{
    return CVListBase(rList);
}
inline CVectorListTwin CopyOf(const CVectorListTwin& rList)
{
    return CVectorListTwin(rList);
}

/// Sequences of operations on vector-lists.
class CVectorListSteps : public CSequenceSteps<CVectorListSteps, CTracedVectorList, CVectorListTwin>
{
public:
    explicit CVectorListSteps(CFuzzInput& rInput) : CSequenceSteps(rInput) { MakeAll(); }

    void Run() { RunAll(g_astOPERATIONS); }

    template <typename List>
    std::unique_ptr<List> Make(SSide<List>& rSide, unsigned int uContainer) const
    {
        IAllocator* const pSource = SourceOf(rSide, uContainer);
        if ((m_uKind >> uContainer & 1) == 0)
        {
            return std::make_unique<List>(rSide.trace, ElementSizeOf(uContainer), pSource);
        }
        // Blocks too small for an element, just enough, or larger.
        const typename List::BlockAllocator allocator(m_uKind >> 2, pSource);
        return std::make_unique<List>(rSide.trace, ElementSizeOf(uContainer), allocator);
    }
    template <typename List>
    static void FillSlot(List& rList, void* pSlot, std::uint32_t uValue)
    {
        const CLooseElement loose(uValue, rList.GetElementSize());
        rList.ConstructFrom(pSlot, loose.Get());
    }
    static bool CopiesAside(const CVectorListTwin&) { return false; }

    template <typename Side, typename List>
    static Values StateOf(Side& rSide, List& rList)
    {
        Values values = {rList.GetSize(),       rList.GetCapacity(),  rList.GetLockCapacity(), rList.IsEmpty(),
                         rList.GetFirstIndex(), rList.GetLastIndex(), rList.GetEndIndex(),     rList.GetFreeBlocks()};
        for (unsigned int u = 0; u < rList.GetSize(); ++u)
        {
            values.push_back(rSide.PlaceOf(rList.GetAt(u)));
            AppendBytes(values, rList.GetAt(u), rList.GetElementSize());
        }
        return values;
    }
    static const char* StateNames()
    {
        return "size, capacity, lock, empty, first, last, end, free blocks, elements with places";
    }

private:
    void InsertMade()
    {
        const unsigned int u = Container();
        const unsigned int uIndex = Index("index", Twin(u).GetSize());
        const unsigned int uCount = Count("count", Twin(u).GetSize());
        Do([=](auto& rSide) { return Values{Code(At(rSide, u).Insert(uIndex, uCount, nullptr))}; }, EStrictness::ALL);
    }
    void GetAt()
    {
        const unsigned int u = Container();
        const unsigned int uIndex = Index("index", Twin(u).GetSize());
        Do(
            [=](auto& rSide)
            {
                auto& rList = At(rSide, u);
                const auto& rConst = rList;
                return Values{rSide.PlaceOf(rList.GetAt(uIndex)), rSide.PlaceOf(rConst.GetAt(uIndex)),
                              rConst.GetAt(uIndex) != nullptr};
            },
            EStrictness::ALL);
    }
    /// Copies elements into slots whose own were taken out; or ranges that are not there.
    void Copy()
    {
        const unsigned int u = Container();
        const unsigned int uSource = Container("source");
        const unsigned int uTo = Index("to", Twin(u).GetSize());
        const unsigned int uFrom = Index("from", Twin(uSource).GetSize());
        const unsigned int uCount = Count("count", 0);
        if (u == uSource) return;  // its own elements are wanted there
        const bool bFits = Fits(u, uTo, uSource, uFrom, uCount);
        Do(
            [=](auto& rSide)
            {
                auto& rList = At(rSide, u);
                if (bFits) rList.VacateSlots(uTo, uCount);
                return Values{Code(rList.Copy(&rList, uTo, &At(rSide, uSource), uFrom, uCount))};
            },
            EStrictness::ALL);
    }
    void Move()
    {
        const unsigned int u = Container();
        const unsigned int uSource = Container("source");
        const unsigned int uTo = Index("to", Twin(u).GetSize());
        const unsigned int uFrom = Index("from", Twin(uSource).GetSize());
        const unsigned int uCount = Count("count", 0);
        if (u == uSource) return;
        const bool bFits = Fits(u, uTo, uSource, uFrom, uCount);
        Do(
            [=](auto& rSide)
            {
                auto& rList = At(rSide, u);
                auto& rSource = At(rSide, uSource);
                if (bFits) rList.VacateSlots(uTo, uCount);
                const QvResult res = rList.Move(&rList, uTo, &rSource, uFrom, uCount);
                if (bFits) rSource.RemoveSlots(uFrom, uCount);
                return Values{Code(res)};
            },
            EStrictness::ALL);
    }
    bool Fits(unsigned int u, unsigned int uTo, unsigned int uSource, unsigned int uFrom, unsigned int uCount)
    {
        return Twin(u).GetElementSize() == Twin(uSource).GetElementSize() &&
               std::uint64_t{uTo} + uCount <= Twin(u).GetSize() &&
               std::uint64_t{uFrom} + uCount <= Twin(uSource).GetSize();
    }
    void CopyConstruct()
    {
        const unsigned int u = Container();
        Do(
            [=](auto& rSide)
            {
                // Elements are out of reach of the copy constructor: what is in their room is left alone.
                const auto copy = CopyOf(At(rSide, u));
                return Values{copy.GetSize(), copy.GetCapacity(), copy.GetLockCapacity()};
            },
            EStrictness::ALL);
    }

    static constexpr SOperation g_astOPERATIONS[] = {
        {"Insert", &CVectorListSteps::Insert},
        {"Insert", &CVectorListSteps::Insert},
        {"Insert", &CVectorListSteps::Insert},
        {"Insert", &CVectorListSteps::Insert},
        {"Insert without element", &CVectorListSteps::InsertMade},
        {"Insert of a vector-list", &CVectorListSteps::InsertOther},
        {"InsertSorted", &CVectorListSteps::InsertSorted},
        {"Allocate", &CVectorListSteps::Allocate},
        {"AllocateSorted", &CVectorListSteps::AllocateSorted},
        {"Erase", &CVectorListSteps::Erase},
        {"Erase of one", &CVectorListSteps::EraseOne},
        {"EraseAll", &CVectorListSteps::EraseAll},
        {"Merge", &CVectorListSteps::Merge},
        {"Split", &CVectorListSteps::Split},
        {"Swap", &CVectorListSteps::Swap},
        {"ReserveCapacity", &CVectorListSteps::ReserveCapacity},
        {"ReduceCapacity", &CVectorListSteps::ReduceCapacity},
        {"SetLockCapacity", &CVectorListSteps::SetLockCapacity},
        {"assignment", &CVectorListSteps::Assign},
        {"copy construction", &CVectorListSteps::CopyConstruct},
        {"Sort", &CVectorListSteps::Sort},
        {"GetAt", &CVectorListSteps::GetAt},
        {"Find", &CVectorListSteps::Find},
        {"FindSorted", &CVectorListSteps::FindSorted},
        {"InternalFindSorted", &CVectorListSteps::InternalFindSorted},
        {"GetMinElementIndex", &CVectorListSteps::GetMinElementIndex},
        {"GetMaxElementIndex", &CVectorListSteps::GetMaxElementIndex},
        {"Copy", &CVectorListSteps::Copy},
        {"Move", &CVectorListSteps::Move},
        {"refusal of requests", &CVectorListSteps::RefuseRequests},
        {"destruction", &CVectorListSteps::DestroyAndMakeAnew},
    };
};

/// What differs between the vector-lists and their twins in the operations that an input stands for; nothing should.
inline std::string CompareVectorLists(const std::uint8_t* puData, std::size_t uSize)
{
    CFuzzInput input(puData, uSize);
    CVectorListSteps steps(input);
    steps.Run();
    return steps.GetFailure();
}
}  // namespace twin

#endif
