#ifndef FUZZ_MODELS_ALLOCATOR_STEPS_H
#define FUZZ_MODELS_ALLOCATOR_STEPS_H
#include "framework/basic/allocator.h"
#include "fuzz/models/block_allocator_twin.h"
#include "fuzz/models/side_by_side.h"

namespace twin
{
/// Sequences of operations on block allocators: two over one source of memory, one over another, one with larger
/// blocks.
class CAllocatorSteps : public CSideBySide<CAllocatorSteps, CBlockAllocator, CBlockAllocatorTwin>
{
public:
    explicit CAllocatorSteps(CFuzzInput& rInput) : CSideBySide(rInput)
    {
        m_uBlockSize = rInput.Below(40);
        Begin("construction");
        Do(
            [this](auto& rSide)
            {
                for (unsigned int u = 0; u < 4; ++u) rSide.containers.push_back(Make(rSide, u));
                return Values();
            },
            EStrictness::ALL);
    }

    void Run() { RunAll(g_astOPERATIONS); }
    /// What allocators have handed out is the caller's to give back.
    void BeforeEnd()
    {
        for (unsigned int u = 0; u < 4; ++u) GiveAllBack(u);
    }

    template <typename Side, typename Allocator>
    static Values StateOf(Side&, Allocator& rAllocator)
    {
        return {rAllocator.GetBlockCount()};
    }
    static const char* StateNames() { return "free blocks"; }

private:
    template <typename Allocator>
    std::unique_ptr<Allocator> Make(SSide<Allocator>& rSide, unsigned int uContainer) const
    {
        return std::make_unique<Allocator>(uContainer == 3 ? m_uBlockSize + 8 : m_uBlockSize,
                                           &rSide.sources[uContainer == 2 ? 1 : 0]);
    }
    template <typename Side>
    static auto& At(Side& rSide, unsigned int uContainer)
    {
        return *rSide.containers[uContainer];
    }
    unsigned int Container(const char* pszName = "allocator") { return Note(pszName, m_rInput.Below(4)); }
    void GiveAllBack(unsigned int u)
    {
        Do(
            [=](auto& rSide)
            {
                for (void* const pBlock : rSide.held[u]) At(rSide, u).Push(pBlock);
                rSide.held[u].clear();
                return Values();
            },
            EStrictness::ALL);
    }

    void Reserve()
    {
        const unsigned int u = Container();
        const unsigned int uCount = Count("count", 0);
        Do([=](auto& rSide) { return Values{At(rSide, u).Reserve(uCount)}; }, EStrictness::ALL);
    }
    void Reduce()
    {
        const unsigned int u = Container();
        const unsigned int uKeep = Index("keep", At(TwinSide(), u).GetBlockCount());
        Do(
            [=](auto& rSide)
            {
                At(rSide, u).Reduce(uKeep);
                return Values();
            },
            EStrictness::ALL);
    }
    void Pop()
    {
        const unsigned int u = Container();
        Do(
            [=](auto& rSide)
            {
                void* const pBlock = At(rSide, u).Pop();
                if (pBlock != nullptr) rSide.held[u].push_back(pBlock);
                return Values{rSide.PlaceOf(pBlock), pBlock != nullptr};
            },
            EStrictness::ALL);
    }
    void Push()
    {
        const unsigned int u = Container();
        const unsigned int uHeld = Note("held", m_rInput.Below(TwinSide().held[u].size() + 1));
        Do(
            [=](auto& rSide)
            {
                auto& rHeld = rSide.held[u];
                const bool bNull = uHeld >= rHeld.size();
                At(rSide, u).Push(bNull ? nullptr : rHeld[uHeld]);
                if (!bNull) rHeld.erase(rHeld.begin() + uHeld);
                return Values();
            },
            EStrictness::ALL);
    }
    void Copy()
    {
        const unsigned int u = Container();
        Do(
            [=](auto& rSide)
            {
                auto copy = At(rSide, u);
                Values values = {copy.GetBlockCount(), copy == At(rSide, u)};
                void* const pBlock = copy.Pop();
                values.insert(values.end(), {rSide.PlaceOf(pBlock), copy.GetBlockCount()});
                copy.Push(pBlock);
                values.push_back(copy.GetBlockCount());
                return values;
            },
            EStrictness::ALL);
    }
    void Compare()
    {
        const unsigned int u = Container();
        const unsigned int uOther = Container("other");
        Do(
            [=](auto& rSide) {
                return Values{At(rSide, u) == At(rSide, uOther), At(rSide, u) != At(rSide, uOther)};
            },
            EStrictness::ALL);
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
        m_uBlockSize = Note("block size", m_rInput.Below(40));
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
        {"Reserve", &CAllocatorSteps::Reserve},
        {"Reduce", &CAllocatorSteps::Reduce},
        {"Pop", &CAllocatorSteps::Pop},
        {"Pop", &CAllocatorSteps::Pop},
        {"Pop", &CAllocatorSteps::Pop},
        {"Push", &CAllocatorSteps::Push},
        {"Push", &CAllocatorSteps::Push},
        {"copy construction", &CAllocatorSteps::Copy},
        {"comparison", &CAllocatorSteps::Compare},
        {"refusal of requests", &CAllocatorSteps::RefuseRequests},
        {"destruction", &CAllocatorSteps::DestroyAndMakeAnew},
    };

    unsigned int m_uBlockSize = 0;
};

/// What differs between the block allocators and their twins in the operations that an input stands for; nothing
/// should.
inline std::string CompareAllocators(const std::uint8_t* puData, std::size_t uSize)
{
    CFuzzInput input(puData, uSize);
    CAllocatorSteps steps(input);
    steps.Run();
    return steps.GetFailure();
}
}  // namespace twin

#endif
