#ifndef FUZZ_MODELS_SEQUENCE_STEPS_H
#define FUZZ_MODELS_SEQUENCE_STEPS_H
#include "fuzz/models/side_by_side.h"

namespace twin
{
/// The operations that vector, list and vector-list have in common, on four containers: two over one source of memory,
/// one over another, and one with larger elements. A class for one of them says
/// - how one is made (Make), and what is to be seen of it (StateOf, StateNames);
/// - what a caller does with room that was left to it (FillSlot);
/// - whether an element of the container itself is copied aside before it is inserted (CopiesAside).
template <typename Steps, typename Real, typename TwinContainer>
class CSequenceSteps : public CSideBySide<Steps, Real, TwinContainer>
{
    using Base = CSideBySide<Steps, Real, TwinContainer>;

public:
    void BeforeEnd() {}

protected:
    using Base::Begin;
    using Base::Count;
    using Base::Do;
    using Base::Index;
    using Base::m_rInput;
    using Base::Note;
    using Base::TwinSide;
    using Base::Value;

    explicit CSequenceSteps(CFuzzInput& rInput) : Base(rInput)
    {
        static constexpr unsigned int s_auSIZES[] = {4, 1, 2, 8, 12, 16, 24, 7};
        m_uElementSize = s_auSIZES[rInput.Below(std::size(s_auSIZES))];
        m_uKind = rInput.Byte();
    }

    void MakeAll()
    {
        Begin("construction");
        Do(
            [this](auto& rSide)
            {
                for (unsigned int u = 0; u < 4; ++u)
                    rSide.containers.push_back(static_cast<Steps*>(this)->Make(rSide, u));
                return Values();
            },
            EStrictness::ALL);
    }
    unsigned int ElementSizeOf(unsigned int uContainer) const
    {
        return uContainer == 3 ? m_uElementSize + 4 : m_uElementSize;
    }
    template <typename Side>
    static IAllocator* SourceOf(Side& rSide, unsigned int uContainer)
    {
        return &rSide.sources[uContainer == 2 ? 1 : 0];
    }

    template <typename Side>
    static auto& At(Side& rSide, unsigned int uContainer)
    {
        return *rSide.containers[uContainer];
    }
    const TwinContainer& Twin(unsigned int uContainer) { return At(TwinSide(), uContainer); }
    unsigned int Container(const char* pszName = "container") { return Note(pszName, m_rInput.Below(4)); }

    struct SKey
    {
        bool bOwn;  // an element of the container itself
        unsigned int uIndex;
        std::uint32_t uValue;
    };
    SKey Key(unsigned int uContainer)
    {
        const unsigned int uSize = Twin(uContainer).GetSize();
        const bool bOwn = m_rInput.Below(8) == 0 && uSize != 0;
        if (bOwn) return {true, Note("own element", m_rInput.Below(uSize)), 0};
        return {false, 0, Value()};
    }
    template <typename AnyContainer>
    static const void* AddressOf(const SKey& rKey, const AnyContainer& rContainer, CLooseElement& rLoose)
    {
        return rKey.bOwn ? rContainer.GetAt(rKey.uIndex) : rLoose.Get();
    }
    /// Calls function(side, container, key, parameter) with a key for container u.
    template <typename Function>
    void DoWithKey(unsigned int u, bool bCopiesKey, Function function)
    {
        const SKey key = Key(u);
        const bool bDescending = Note("descending", m_rInput.Flag());
        const bool bOutcome = bCopiesKey && key.bOwn && Steps::CopiesAside(Twin(u));
        Do(
            [&](auto& rSide)
            {
                auto& rContainer = At(rSide, u);
                CLooseElement loose(key.uValue, rContainer.GetElementSize());
                return function(rSide, rContainer, AddressOf(key, rContainer, loose),
                                CompareParam(rContainer.GetElementSize(), bDescending));
            },
            bOutcome ? EStrictness::OUTCOME : EStrictness::ALL);
    }
    void Insert()
    {
        const unsigned int u = Container();
        const unsigned int uIndex = Index("index", Twin(u).GetSize());
        const unsigned int uCount = Count("count", Twin(u).GetSize());
        DoWithKey(u, true,
                  [=](auto&, auto& rContainer, const void* pElement, unsigned int)
                  { return Values{Code(rContainer.Insert(uIndex, uCount, pElement))}; });
    }
    void InsertOther()
    {
        const unsigned int u = Container();
        const unsigned int uSource = Container("source");
        const unsigned int uIndex = Index("index", Twin(u).GetSize());
        // Equal element sizes are the caller's promise.
        if (Twin(u).GetElementSize() != Twin(uSource).GetElementSize() || Twin(u).GetSize() > 120) return;
        Do([=](auto& rSide) { return Values{Code(At(rSide, u).Insert(uIndex, At(rSide, uSource)))}; },
           u == uSource && Steps::CopiesAside(Twin(u)) ? EStrictness::OUTCOME : EStrictness::ALL);
    }
    void InsertSorted()
    {
        const unsigned int u = Container();
        DoWithKey(u, true,
                  [](auto&, auto& rContainer, const void* pElement, unsigned int uParam)
                  { return Values{Code(rContainer.InsertSorted(pElement, CompareElements, uParam))}; });
    }
    void Allocate()
    {
        const unsigned int u = Container();
        const unsigned int uIndex = Index("index", Twin(u).GetSize());
        const std::uint32_t uValue = Value();
        Do(
            [=](auto& rSide)
            {
                auto& rContainer = At(rSide, u);
                void* const pSlot = rContainer.Allocate(uIndex);
                if (pSlot != nullptr) Steps::FillSlot(rContainer, pSlot, uValue);
                return Values{rSide.PlaceOf(pSlot), pSlot != nullptr};
            },
            EStrictness::ALL);
    }
    void AllocateSorted()
    {
        const unsigned int u = Container();
        const bool bNull = m_rInput.Below(16) == 15;
        DoWithKey(u, false,
                  [=](auto& rSide, auto& rContainer, const void* pKey, unsigned int uParam)
                  {
                      const std::uint32_t uValue = ValueOf(pKey, rContainer.GetElementSize());
                      void* pSlot = nullptr;
                      const QvResult res =
                          rContainer.AllocateSorted(pKey, CompareElements, uParam, bNull ? nullptr : &pSlot);
                      if (pSlot != nullptr) Steps::FillSlot(rContainer, pSlot, uValue);
                      return Values{Code(res), rSide.PlaceOf(pSlot), pSlot != nullptr};
                  });
    }
    void Erase()
    {
        const unsigned int u = Container();
        const unsigned int uIndex = Index("index", Twin(u).GetSize());
        const unsigned int uCount = Count("count", 0);
        Do(
            [=](auto& rSide)
            {
                At(rSide, u).Erase(uIndex, uCount);
                return Values();
            },
            EStrictness::ALL);
    }
    void EraseOne()
    {
        const unsigned int u = Container();
        const unsigned int uIndex = Index("index", Twin(u).GetSize());
        Do(
            [=](auto& rSide)
            {
                At(rSide, u).Erase(uIndex);
                return Values();
            },
            EStrictness::ALL);
    }
    void EraseAll()
    {
        const unsigned int u = Container();
        Do(
            [=](auto& rSide)
            {
                At(rSide, u).EraseAll();
                return Values();
            },
            EStrictness::ALL);
    }
    void Merge()
    {
        const unsigned int u = Container();
        const unsigned int uSource = Container("source");
        const unsigned int uIndex = Index("index", Twin(u).GetSize());
        Do([=](auto& rSide) { return Values{Code(At(rSide, u).Merge(uIndex, At(rSide, uSource)))}; }, EStrictness::ALL);
    }
    void Split()
    {
        const unsigned int u = Container();
        const unsigned int uDest = Container("destination");
        const unsigned int uIndex = Index("index", Twin(u).GetSize());
        Do([=](auto& rSide) { return Values{Code(At(rSide, u).Split(uIndex, At(rSide, uDest)))}; }, EStrictness::ALL);
    }
    void Swap()
    {
        const unsigned int u = Container();
        const unsigned int uIndex1 = Index("index 1", Twin(u).GetSize());
        const unsigned int uIndex2 = Index("index 2", Twin(u).GetSize());
        Do(
            [=](auto& rSide)
            {
                At(rSide, u).Swap(uIndex1, uIndex2);
                return Values();
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
        Do(
            [=](auto& rSide)
            {
                At(rSide, u).SetLockCapacity(uLock);
                return Values();
            },
            EStrictness::ALL);
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
            u == uSource ? EStrictness::OUTCOME : EStrictness::ALL);
    }
    void Sort()
    {
        const unsigned int u = Container();
        const bool bDescending = Note("descending", m_rInput.Flag());
        Do(
            [=](auto& rSide)
            {
                auto& rContainer = At(rSide, u);
                rContainer.Sort(CompareElements, CompareParam(rContainer.GetElementSize(), bDescending));
                return Values();
            },
            EStrictness::ALL);
    }
    void Find()
    {
        const unsigned int u = Container();
        const unsigned int uStart = Index("start", Twin(u).GetSize());
        DoWithKey(u, false,
                  [=](auto&, auto& rContainer, const void* pKey, unsigned int uParam)
                  { return Values{rContainer.Find(uStart, pKey, CompareElements, uParam)}; });
    }
    void FindSorted()
    {
        DoWithKey(Container(), false,
                  [](auto&, auto& rContainer, const void* pKey, unsigned int uParam)
                  { return Values{rContainer.FindSorted(pKey, CompareElements, uParam)}; });
    }
    void InternalFindSorted()
    {
        DoWithKey(Container(), false,
                  [](auto&, auto& rContainer, const void* pKey, unsigned int uParam)
                  { return Values{rContainer.InternalFindSorted(pKey, CompareElements, uParam)}; });
    }
    void GetMinElementIndex()
    {
        DoWithKey(Container(), false,
                  [](auto&, auto& rContainer, const void*, unsigned int uParam)
                  { return Values{rContainer.GetMinElementIndex(CompareElements, uParam)}; });
    }
    void GetMaxElementIndex()
    {
        DoWithKey(Container(), false,
                  [](auto&, auto& rContainer, const void*, unsigned int uParam)
                  { return Values{rContainer.GetMaxElementIndex(CompareElements, uParam)}; });
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
        Do(
            [=, this](auto& rSide)
            {
                rSide.containers[u].reset();
                rSide.containers[u] = static_cast<Steps*>(this)->Make(rSide, u);
                return Values();
            },
            EStrictness::ALL);
    }

    unsigned int m_uElementSize = 0;
    /// Bits that choose among the ways to make a container.
    unsigned int m_uKind = 0;
};
}  // namespace twin

#endif
