#ifndef FUZZ_MODELS_AATREE_STEPS_H
#define FUZZ_MODELS_AATREE_STEPS_H
#include "framework/basic/aatree.h"
#include "fuzz/models/aatree_twin.h"
#include "fuzz/models/side_by_side.h"

namespace twin
{
/// The library's tree with traced elements.
class CTracedTree : public CAATreeBase
{
public:
    using BlockAllocator = CBlockAllocator;

    CTracedTree(CTrace& rTrace, unsigned int uElementSize, PFNCompare pfnCompare, unsigned int uParam,
                IAllocator* pSource)
        : CAATreeBase(uElementSize, pfnCompare, uParam, pSource), m_rTrace(rTrace)
    {
    }
    CTracedTree(CTrace& rTrace, unsigned int uElementSize, PFNCompare pfnCompare, unsigned int uParam,
                const CBlockAllocator& rAllocator)
        : CAATreeBase(uElementSize, pfnCompare, uParam, rAllocator), m_rTrace(rTrace)
    {
    }
    ~CTracedTree() override { EraseAll(); }
    CTracedTree(const CTracedTree&) = delete;
    CTracedTree& operator=(const CTracedTree&) = delete;

    void Assign(const CTracedTree& rSrc) { CAATreeBase::operator=(rSrc); }
    unsigned int GetElementSize() const { return m_uElementSize; }
    unsigned int GetAllocatedCount() const { return m_uAllocatedCount; }
    unsigned int GetCurrentIndex() const { return m_uCurrentIndex; }
    CAATreeNode* GetRoot() const { return m_pRoot; }
    void Construct(void* pElement) override { m_rTrace.Construct(pElement, m_uElementSize); }
    void ConstructFrom(void* pElement, const void* pSource) override
    {
        m_rTrace.ConstructFrom(pElement, pSource, m_uElementSize);
    }
    void Destruct(void* pElement) override { m_rTrace.Destruct(pElement, m_uElementSize); }

private:
    CTrace& m_rTrace;
};

inline CAATreeBase CopyOf(const CTracedTree& rTree)
{
    return CAATreeBase(rTree);
}
inline CAATreeTwin CopyOf(const CAATreeTwin& rTree)
{
    return CAATreeTwin(rTree);
}

/// Sequences of operations on trees: two over one source of memory, one over another, one with larger elements.
class CAATreeSteps : public CSideBySide<CAATreeSteps, CTracedTree, CAATreeTwin>
{
public:
    explicit CAATreeSteps(CFuzzInput& rInput) : CSideBySide(rInput)
    {
        static constexpr unsigned int s_auSIZES[] = {4, 1, 2, 8, 12, 16, 24, 7};
        m_uElementSize = s_auSIZES[rInput.Below(std::size(s_auSIZES))];
        m_uKind = rInput.Byte();
        Begin("construction");
        Do(
            [this](auto& rSide)
            {
                for (CTracedSource& rSource : rSide.sources) rSource.CountOversized();
                for (unsigned int u = 0; u < 4; ++u) rSide.containers.push_back(Make(rSide, u));
                return Values();
            },
            EStrictness::ALL);
    }

    void Run() { RunAll(g_astOPERATIONS); }
    /// What trees have handed out is the caller's to give back.
    void BeforeEnd()
    {
        for (unsigned int u = 0; u < 4; ++u) GiveAllBack(u);
    }

    template <typename Side, typename Tree>
    static Values StateOf(Side& rSide, Tree& rTree)
    {
        Values values = {rTree.GetSize(),       rTree.GetCapacity(),  rTree.GetLockCapacity(),  rTree.IsEmpty(),
                         rTree.GetFirstIndex(), rTree.GetLastIndex(), rTree.GetAllocatedCount()};
        const bool bValid = !rTree.CurrentNodeIsInvalid();
        // After SetCurrentNode() the library works the index out when it is asked for, and ~0 stands in its place.
        const unsigned int uIndex = rTree.GetCurrentIndex();
        values.push_back(!bValid || uIndex == ~0u || NodeAt(rTree, uIndex) == rTree.GetCurrentNode());
        values.push_back(rSide.PlaceOf(rTree.GetCurrentNode()));
        values.push_back(rTree.IsSentinel(rTree.GetCurrentNode()));
        AppendSubtree(values, rSide, rTree, rTree.GetRoot());
        return values;
    }
    static const char* StateNames()
    {
        return "size, capacity, lock, empty, first, last, allocated, current index true, current node, none; "
               "of each node "
               "place, parent, level, element";
    }

private:
    template <typename Side, typename Tree, typename Node>
    static void AppendSubtree(Values& rValues, Side& rSide, Tree& rTree, Node* pNode)
    {
        if (rTree.IsSentinel(pNode) || rValues.size() > 10000)
        {
            rValues.push_back(0);
            return;
        }
        rValues.insert(rValues.end(), {rSide.PlaceOf(pNode), rSide.PlaceOf(pNode->pParent), pNode->uLevel});
        AppendBytes(rValues, rTree.GetElement(pNode), rTree.GetElementSize());
        AppendSubtree(rValues, rSide, rTree, pNode->pLeft);
        AppendSubtree(rValues, rSide, rTree, pNode->pRight);
    }
    template <typename Tree>
    std::unique_ptr<Tree> Make(SSide<Tree>& rSide, unsigned int uContainer) const
    {
        IAllocator* const pSource = &rSide.sources[uContainer == 2 ? 1 : 0];
        const unsigned int uSize = uContainer == 3 ? m_uElementSize + 4 : m_uElementSize;
        const unsigned int uParam = CompareParam(uSize, false);
        if ((m_uKind >> uContainer & 1) == 0)
        {
            return std::make_unique<Tree>(rSide.trace, uSize, CompareElements, uParam, pSource);
        }
        // Blocks too small for a node, just enough, or larger.
        const typename Tree::BlockAllocator allocator(m_uKind >> 1, pSource);
        return std::make_unique<Tree>(rSide.trace, uSize, CompareElements, uParam, allocator);
    }

    template <typename Side>
    static auto& At(Side& rSide, unsigned int uContainer)
    {
        return *rSide.containers[uContainer];
    }
    const CAATreeTwin& Twin(unsigned int uContainer) { return At(TwinSide(), uContainer); }
    unsigned int Container(const char* pszName = "container") { return Note(pszName, m_rInput.Below(4)); }

    /// In order, without the current node; the sentinel behind the last.
    template <typename Tree>
    static auto* NodeAt(Tree& rTree, unsigned int uIndex)
    {
        auto* pFound = rTree.GetRoot();
        VisitInOrder(rTree, rTree.GetRoot(), uIndex, pFound);
        return pFound;
    }
    template <typename Tree, typename Node>
    static bool VisitInOrder(Tree& rTree, Node* pNode, unsigned int& ruLeft, Node*& rpFound)
    {
        if (rTree.IsSentinel(pNode))
        {
            rpFound = pNode;
            return false;
        }
        if (VisitInOrder(rTree, pNode->pLeft, ruLeft, rpFound)) return true;
        if (ruLeft-- == 0)
        {
            rpFound = pNode;
            return true;
        }
        return VisitInOrder(rTree, pNode->pRight, ruLeft, rpFound);
    }
    /// Calls function(side, tree, key) with a key for tree u.
    template <typename Function>
    void DoWithKey(unsigned int u, Function function)
    {
        const unsigned int uSize = Twin(u).GetSize();
        const bool bOwn = m_rInput.Below(4) == 0 && uSize != 0;
        const unsigned int uOwn = bOwn ? Note("own element", m_rInput.Below(uSize)) : 0;
        const std::uint32_t uValue = bOwn ? 0 : Value();
        Do(
            [&](auto& rSide)
            {
                auto& rTree = At(rSide, u);
                const CLooseElement loose(uValue, rTree.GetElementSize());
                return function(rSide, rTree, bOwn ? rTree.GetElement(NodeAt(rTree, uOwn)) : loose.Get());
            },
            EStrictness::ALL);
    }
    /// Calls function(tree), which returns nothing.
    template <typename Function>
    void DoOnTree(unsigned int u, Function function)
    {
        Do(
            [=](auto& rSide)
            {
                function(At(rSide, u));
                return Values();
            },
            EStrictness::ALL);
    }
    void GiveAllBack(unsigned int u)
    {
        Do(
            [=](auto& rSide)
            {
                for (void* const pElement : rSide.held[u]) At(rSide, u).EraseAllocated(pElement);
                rSide.held[u].clear();
                return Values();
            },
            EStrictness::ALL);
    }

    void Insert()
    {
        DoWithKey(Container(), [](auto&, auto& rTree, const void* pKey) { return Values{Code(rTree.Insert(pKey))}; });
    }
    void InsertMany()
    {
        const unsigned int u = Container();
        const unsigned int uFirst = Value();
        const unsigned int uStep = Note("step", m_rInput.Byte());
        const unsigned int uCount = Note("count", m_rInput.Below(Twin(u).GetSize() > 100 ? 2 : 32));
        Do(
            [=](auto& rSide)
            {
                auto& rTree = At(rSide, u);
                Values values;
                for (unsigned int n = 0; n < uCount; ++n)
                {
                    const CLooseElement loose(uFirst + n * uStep, rTree.GetElementSize());
                    values.push_back(Code(rTree.Insert(loose.Get())));
                }
                return values;
            },
            EStrictness::ALL);
    }
    void AllocateSorted()
    {
        const unsigned int u = Container();
        const bool bNull = m_rInput.Below(16) == 15;
        DoWithKey(u,
                  [=](auto& rSide, auto& rTree, const void* pKey)
                  {
                      void* pElement = nullptr;
                      const QvResult res = rTree.AllocateSorted(pKey, bNull ? nullptr : &pElement);
                      if (pElement != nullptr) rTree.ConstructFrom(pElement, pKey);
                      return Values{Code(res), rSide.PlaceOf(pElement), pElement != nullptr};
                  });
    }
    void Allocate()
    {
        const unsigned int u = Container();
        const std::uint32_t uValue = Value();
        Do(
            [=](auto& rSide)
            {
                auto& rTree = At(rSide, u);
                void* const pElement = rTree.Allocate();
                if (pElement == nullptr) return Values{0};
                FillElement(pElement, uValue, rTree.GetElementSize());
                rSide.held[u].push_back(pElement);
                // Where it will be in the tree is not decided yet, so that linking sets up the whole head again.
                auto* const pNode = static_cast<decltype(rTree.GetRoot())>(pElement) - 1;
                const Values values = {rSide.PlaceOf(pElement), rTree.IsSentinel(pNode->pLeft),
                                       rTree.IsSentinel(pNode->pRight), rTree.IsSentinel(pNode->pParent),
                                       pNode->uLevel};
                std::memset(static_cast<void*>(pNode), 0xEE, sizeof(*pNode));
                return values;
            },
            EStrictness::ALL);
    }
    void InsertAllocated()
    {
        const unsigned int u = Container();
        const unsigned int uHeld = Note("held", m_rInput.Below(TwinSide().held[u].size() + 1));
        Do(
            [=](auto& rSide)
            {
                auto& rHeld = rSide.held[u];
                void* const pElement = uHeld < rHeld.size() ? rHeld[uHeld] : nullptr;
                const QvResult res = At(rSide, u).InsertAllocated(pElement);
                if (res == QV_RES_OK) rHeld.erase(rHeld.begin() + uHeld);
                return Values{Code(res)};
            },
            EStrictness::ALL);
    }
    void EraseAllocated()
    {
        const unsigned int u = Container();
        const unsigned int uHeld = Note("held", m_rInput.Below(TwinSide().held[u].size() + 1));
        Do(
            [=](auto& rSide)
            {
                auto& rHeld = rSide.held[u];
                const bool bNull = uHeld >= rHeld.size();
                At(rSide, u).EraseAllocated(bNull ? nullptr : rHeld[uHeld]);
                if (!bNull) rHeld.erase(rHeld.begin() + uHeld);
                return Values();
            },
            EStrictness::ALL);
    }
    void EraseElement()
    {
        DoWithKey(Container(),
                  [](auto&, auto& rTree, const void* pKey)
                  {
                      rTree.EraseElement(pKey);
                      return Values();
                  });
    }
    void Erase()
    {
        const unsigned int u = Container();
        const unsigned int uIndex = Index("index", Twin(u).GetSize());
        DoOnTree(u, [=](auto& rTree) { rTree.Erase(uIndex); });
    }
    void EraseAll()
    {
        DoOnTree(Container(), [](auto& rTree) { rTree.EraseAll(); });
    }
    void Assign()
    {
        const unsigned int u = Container();
        const unsigned int uSource = Container("source");
        Do(
            [=](auto& rSide)
            {
                At(rSide, u).Assign(At(rSide, uSource));
                return Values();
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
                return Values{copy.GetSize(), copy.GetCapacity(), copy.GetLockCapacity(), copy.CurrentNodeIsInvalid()};
            },
            EStrictness::ALL);
    }
    void SetComparisonFunction()
    {
        const unsigned int u = Container();
        const bool bDescending = Note("descending", m_rInput.Flag());
        Do(
            [=](auto& rSide)
            {
                auto& rTree = At(rSide, u);
                const unsigned int uParam = CompareParam(rTree.GetElementSize(), bDescending);
                return Values{Code(rTree.SetComparisonFunction(CompareElements, uParam))};
            },
            EStrictness::ALL);
    }
    void ReserveCapacity()
    {
        const unsigned int u = Container();
        const unsigned int uCapacity = Note("beyond the capacity", m_rInput.Flag())
                                           ? Twin(u).GetCapacity() + Count("capacity", 0)
                                           : Count("capacity", 0);
        Do([=](auto& rSide) { return Values{Code(At(rSide, u).ReserveCapacity(uCapacity))}; }, EStrictness::ALL);
    }
    void ReduceCapacity()
    {
        const unsigned int u = Container();
        const unsigned int uCapacity = Index("capacity", Twin(u).GetCapacity());
        Do([=](auto& rSide) { return Values{Code(At(rSide, u).ReduceCapacity(uCapacity))}; }, EStrictness::ALL);
    }
    void SetLockCapacity()
    {
        const unsigned int u = Container();
        const unsigned int uLock = Note("lock", m_rInput.Below(3) == 1 ? m_rInput.Byte() : 0u);
        DoOnTree(u, [=](auto& rTree) { rTree.SetLockCapacity(uLock); });
    }
    void FindNode()
    {
        DoWithKey(Container(),
                  [](auto& rSide, auto& rTree, const void* pKey)
                  {
                      auto* const pNode = rTree.FindNode(pKey);
                      return Values{rSide.PlaceOf(pNode), rTree.IsSentinel(pNode)};
                  });
    }
    void FindNodeByIndex()
    {
        const unsigned int u = Container();
        const unsigned int uIndex = Index("index", Twin(u).GetSize());
        Do(
            [=](auto& rSide)
            {
                auto& rTree = At(rSide, u);
                auto* const pNode = rTree.FindNodeByIndex(uIndex);
                return Values{rSide.PlaceOf(pNode), rTree.IsSentinel(pNode)};
            },
            EStrictness::ALL);
    }
    void FindNodeMinAndMax()
    {
        const unsigned int u = Container();
        const unsigned int uIndex = Note("below", m_rInput.Below(Twin(u).GetSize() + 1));
        Do(
            [=](auto& rSide)
            {
                auto& rTree = At(rSide, u);
                auto* const pNode = NodeAt(rTree, uIndex);
                auto* const pMin = rTree.FindNodeMin(pNode);
                auto* const pMax = rTree.FindNodeMax(pNode);
                return Values{rSide.PlaceOf(pMin), rTree.IsSentinel(pMin), rSide.PlaceOf(pMax), rTree.IsSentinel(pMax)};
            },
            EStrictness::ALL);
    }
    void Walk()
    {
        const unsigned int u = Container();
        Do(
            [=](auto& rSide)
            {
                auto& rTree = At(rSide, u);
                Values values;
                for (auto* p = rTree.GetFirst(); p != nullptr; p = rTree.GetNext(p)) values.push_back(rSide.PlaceOf(p));
                for (auto* p = rTree.GetLast(); p != nullptr; p = rTree.GetPrevious(p))
                {
                    values.push_back(rSide.PlaceOf(p));
                }
                return values;
            },
            EStrictness::ALL);
    }
    void SetCurrentNode()
    {
        const unsigned int u = Container();
        const unsigned int uIndex = Note("index", m_rInput.Below(Twin(u).GetSize() + 1));
        DoOnTree(u, [=](auto& rTree) { rTree.SetCurrentNode(NodeAt(rTree, uIndex)); });
    }
    void InvalidateCurrentNode()
    {
        DoOnTree(Container(), [](auto& rTree) { rTree.InvalidateCurrentNode(); });
    }
    void IncrementCurrentNode()
    {
        DoOnTree(Container(), [](auto& rTree) { rTree.IncrementCurrentNode(); });
    }
    void DecrementCurrentNode()
    {
        DoOnTree(Container(), [](auto& rTree) { rTree.DecrementCurrentNode(); });
    }
    void RefuseRequests()
    {
        const unsigned int uSource = Note("source", m_rInput.Below(2));
        const unsigned int uGranted = Note("granted", m_rInput.Below(3));
        const unsigned int uCount = Note("refused", m_rInput.Below(5));
        Do(
            [=](auto& rSide)
            {
                rSide.sources[uSource].Refuse(uGranted, uCount);
                return Values();
            },
            EStrictness::ALL);
    }
    void DestroyAndMakeAnew()
    {
        const unsigned int u = Container();
        m_uKind = Note("kind", m_rInput.Byte());
        GiveAllBack(u);
        Do(
            [=, this](auto& rSide)
            {
                rSide.containers[u].reset();
                rSide.containers[u] = Make(rSide, u);
                return Values();
            },
            EStrictness::ALL);
    }

    static constexpr SOperation g_astOPERATIONS[] = {
        {"Insert", &CAATreeSteps::Insert},
        {"Insert", &CAATreeSteps::Insert},
        {"Insert", &CAATreeSteps::Insert},
        {"Insert of many", &CAATreeSteps::InsertMany},
        {"Insert of many", &CAATreeSteps::InsertMany},
        {"AllocateSorted", &CAATreeSteps::AllocateSorted},
        {"Allocate", &CAATreeSteps::Allocate},
        {"InsertAllocated", &CAATreeSteps::InsertAllocated},
        {"EraseAllocated", &CAATreeSteps::EraseAllocated},
        {"EraseElement", &CAATreeSteps::EraseElement},
        {"EraseElement", &CAATreeSteps::EraseElement},
        {"Erase", &CAATreeSteps::Erase},
        {"EraseAll", &CAATreeSteps::EraseAll},
        {"assignment", &CAATreeSteps::Assign},
        {"copy construction", &CAATreeSteps::CopyConstruct},
        {"SetComparisonFunction", &CAATreeSteps::SetComparisonFunction},
        {"ReserveCapacity", &CAATreeSteps::ReserveCapacity},
        {"ReduceCapacity", &CAATreeSteps::ReduceCapacity},
        {"SetLockCapacity", &CAATreeSteps::SetLockCapacity},
        {"FindNode", &CAATreeSteps::FindNode},
        {"FindNodeByIndex", &CAATreeSteps::FindNodeByIndex},
        {"FindNodeMin and FindNodeMax", &CAATreeSteps::FindNodeMinAndMax},
        {"walk both ways", &CAATreeSteps::Walk},
        {"SetCurrentNode", &CAATreeSteps::SetCurrentNode},
        {"InvalidateCurrentNode", &CAATreeSteps::InvalidateCurrentNode},
        {"IncrementCurrentNode", &CAATreeSteps::IncrementCurrentNode},
        {"DecrementCurrentNode", &CAATreeSteps::DecrementCurrentNode},
        {"refusal of requests", &CAATreeSteps::RefuseRequests},
        {"destruction", &CAATreeSteps::DestroyAndMakeAnew},
    };

    unsigned int m_uElementSize = 0;
    unsigned int m_uKind = 0;
};

/// What differs between the trees and their twins in the operations that an input stands for; nothing should.
inline std::string CompareTrees(const std::uint8_t* puData, std::size_t uSize)
{
    CFuzzInput input(puData, uSize);
    CAATreeSteps steps(input);
    steps.Run();
    return steps.GetFailure();
}
}  // namespace twin

#endif
