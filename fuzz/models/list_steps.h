#ifndef FUZZ_MODELS_LIST_STEPS_H
#define FUZZ_MODELS_LIST_STEPS_H
#include "framework/basic/list.h"
#include "fuzz/models/list_twin.h"
#include "fuzz/models/sequence_steps.h"

namespace twin
{
/// The library's list with traced elements.
class CTracedList : public CListBase
{
public:
    using BlockAllocator = CBlockAllocator;
    using Handle = CListBase::SPtr;

    CTracedList(CTrace& rTrace, unsigned int uElementSize, IAllocator* pSource)
        : CListBase(uElementSize, pSource), m_rTrace(rTrace)
    {
    }
    CTracedList(CTrace& rTrace, unsigned int uElementSize, const CBlockAllocator& rAllocator)
        : CListBase(uElementSize, rAllocator), m_rTrace(rTrace)
    {
    }
    ~CTracedList() override { EraseAll(); }
    CTracedList(const CTracedList&) = delete;
    CTracedList& operator=(const CTracedList&) = delete;

    void Assign(const CTracedList& rSrc) { CListBase::operator=(rSrc); }
    unsigned int GetElementSize() const { return m_uElementSize; }
    const void* GetCachedNode() const { return m_pCachedNode; }
    unsigned int GetCachedIndex() const { return m_uCachedIndex; }
    using CListBase::InternalFindSorted;
    void Construct(void* pElement) override { m_rTrace.Construct(pElement, m_uElementSize); }
    void ConstructFrom(void* pElement, const void* pSource) override
    {
        m_rTrace.ConstructFrom(pElement, pSource, m_uElementSize);
    }
    void Destruct(void* pElement) override { m_rTrace.Destruct(pElement, m_uElementSize); }

private:
    CTrace& m_rTrace;
};

inline CListBase CopyOf(const CTracedList& rList)
{
    return CListBase(rList);
}
inline CListTwin CopyOf(const CListTwin& rList)
{
    return CListTwin(rList);
}

/// Sequences of operations on lists.
class CListSteps : public CSequenceSteps<CListSteps, CTracedList, CListTwin>
{
public:
    explicit CListSteps(CFuzzInput& rInput) : CSequenceSteps(rInput) { MakeAll(); }

    void Run() { RunAll(g_astOPERATIONS); }

    template <typename List>
    std::unique_ptr<List> Make(SSide<List>& rSide, unsigned int uContainer) const
    {
        IAllocator* const pSource = SourceOf(rSide, uContainer);
        if ((m_uKind >> uContainer & 1) == 0)
        {
            return std::make_unique<List>(rSide.trace, ElementSizeOf(uContainer), pSource);
        }
        // Blocks too small for a node, just enough, or larger.
        const typename List::BlockAllocator allocator(m_uKind >> 2, pSource);
        return std::make_unique<List>(rSide.trace, ElementSizeOf(uContainer), allocator);
    }
    template <typename List>
    static void FillSlot(List& rList, void* pSlot, std::uint32_t uValue)
    {
        const CLooseElement loose(uValue, rList.GetElementSize());
        rList.ConstructFrom(pSlot, loose.Get());
    }
    static bool CopiesAside(const CListTwin&) { return false; }

    template <typename Side, typename List>
    static Values StateOf(Side& rSide, List& rList)
    {
        Values values = {rList.GetSize(),     rList.GetCapacity(),    rList.GetLockCapacity(),
                         rList.IsEmpty(),     rList.GetFirstIndex(),  rList.GetLastIndex(),
                         rList.GetEndIndex(), rList.GetCachedIndex(), rSide.PlaceOf(rList.GetCachedNode())};
        auto pBack = rList.GetLast();
        for (auto pNode = rList.GetFirst(); pNode && values.size() < 10000; pNode = List::GetNext(pNode))
        {
            const void* const pElement = List::GetElement(pNode);
            values.push_back(rSide.PlaceOf(pElement));
            AppendBytes(values, pElement, rList.GetElementSize());
            values.push_back(rSide.PlaceOf(List::GetElement(pBack)));
            if (pBack) pBack = List::GetPrevious(pBack);
        }
        return values;
    }
    static const char* StateNames()
    {
        return "size, capacity, lock, empty, first, last, end, cached index, cached node, elements with places";
    }

private:
    template <typename List>
    static typename List::Handle HandleAt(List& rList, unsigned int uIndex)
    {
        auto pNode = rList.GetFirst();
        while (pNode && uIndex-- != 0) pNode = List::GetNext(pNode);
        return pNode;
    }
    /// Calls function(list, handle); now and then with none.
    template <typename Function>
    void DoWithHandle(Function function)
    {
        const unsigned int u = Container();
        const unsigned int uIndex = Note("index", m_rInput.Below(Twin(u).GetSize() + 1));
        Do(
            [=](auto& rSide)
            {
                function(At(rSide, u), HandleAt(At(rSide, u), uIndex));
                return Values();
            },
            EStrictness::ALL);
    }

    void InsertMade()
    {
        const unsigned int u = Container();
        const unsigned int uIndex = Index("index", Twin(u).GetSize());
        const unsigned int uCount = Count("count", Twin(u).GetSize());
        Do([=](auto& rSide) { return Values{Code(At(rSide, u).Insert(uIndex, uCount, nullptr))}; }, EStrictness::ALL);
    }
    void EraseNode()
    {
        DoWithHandle([](auto& rList, auto pNode) { rList.Erase(pNode); });
    }
    void MoveToFirst()
    {
        DoWithHandle([](auto& rList, auto pNode) { rList.MoveToFirst(pNode); });
    }
    void MoveToLast()
    {
        DoWithHandle([](auto& rList, auto pNode) { rList.MoveToLast(pNode); });
    }
    void FindIndex()
    {
        const unsigned int u = Container();
        const unsigned int uIndex = Index("index", Twin(u).GetSize());
        Do(
            [=](auto& rSide)
            {
                auto& rList = At(rSide, u);
                return Values{rSide.PlaceOf(rList.GetElement(rList.Find(uIndex)))};
            },
            EStrictness::ALL);
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
    void Copy()
    {
        const unsigned int u = Container();
        const unsigned int uSource = Container("source");
        const unsigned int uTo = Index("to", Twin(u).GetSize());
        const unsigned int uFrom = Index("from", Twin(uSource).GetSize());
        const unsigned int uCount = Count("count", Twin(u).GetSize());
        Do(
            [=](auto& rSide)
            {
                auto& rList = At(rSide, u);
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
        const unsigned int uCount = Count("count", Twin(u).GetSize());
        Do(
            [=](auto& rSide)
            {
                auto& rList = At(rSide, u);
                return Values{Code(rList.Move(&rList, uTo, &At(rSide, uSource), uFrom, uCount))};
            },
            EStrictness::ALL);
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
        {"Insert", &CListSteps::Insert},
        {"Insert", &CListSteps::Insert},
        {"Insert", &CListSteps::Insert},
        {"Insert", &CListSteps::Insert},
        {"Insert without element", &CListSteps::InsertMade},
        {"Insert of a list", &CListSteps::InsertOther},
        {"InsertSorted", &CListSteps::InsertSorted},
        {"Allocate", &CListSteps::Allocate},
        {"AllocateSorted", &CListSteps::AllocateSorted},
        {"Erase", &CListSteps::Erase},
        {"Erase of one", &CListSteps::EraseOne},
        {"Erase of a node", &CListSteps::EraseNode},
        {"EraseAll", &CListSteps::EraseAll},
        {"MoveToFirst", &CListSteps::MoveToFirst},
        {"MoveToLast", &CListSteps::MoveToLast},
        {"Merge", &CListSteps::Merge},
        {"Split", &CListSteps::Split},
        {"Swap", &CListSteps::Swap},
        {"ReserveCapacity", &CListSteps::ReserveCapacity},
        {"ReduceCapacity", &CListSteps::ReduceCapacity},
        {"SetLockCapacity", &CListSteps::SetLockCapacity},
        {"assignment", &CListSteps::Assign},
        {"copy construction", &CListSteps::CopyConstruct},
        {"Sort", &CListSteps::Sort},
        {"Find of a node", &CListSteps::FindIndex},
        {"GetAt", &CListSteps::GetAt},
        {"Find", &CListSteps::Find},
        {"FindSorted", &CListSteps::FindSorted},
        {"InternalFindSorted", &CListSteps::InternalFindSorted},
        {"GetMinElementIndex", &CListSteps::GetMinElementIndex},
        {"GetMaxElementIndex", &CListSteps::GetMaxElementIndex},
        {"Copy", &CListSteps::Copy},
        {"Move", &CListSteps::Move},
        {"refusal of requests", &CListSteps::RefuseRequests},
        {"destruction", &CListSteps::DestroyAndMakeAnew},
    };
};

/// What differs between the lists and their twins in the operations that an input stands for; nothing should.
inline std::string CompareLists(const std::uint8_t* puData, std::size_t uSize)
{
    CFuzzInput input(puData, uSize);
    CListSteps steps(input);
    steps.Run();
    return steps.GetFailure();
}
}  // namespace twin

#endif
