#ifndef FUZZ_MODELS_SIDE_BY_SIDE_H
#define FUZZ_MODELS_SIDE_BY_SIDE_H
#include <algorithm>
#include <cstdint>
#include <memory>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "framework/kernel/result.h"
#include "fuzz/input.h"
#include "fuzz/models/trace.h"

namespace twin
{
/// What a step gives back, as numbers; pointers as places.
using Values = std::vector<std::uint64_t>;

inline std::uint64_t Code(QvResult res)
{
    return static_cast<std::uint32_t>(res);
}

/// One side: two sources of memory with the containers over them, and the trace that they leave.
template <typename Container>
struct SSide
{
    CTrace trace;
    CTracedSource sources[2] = {CTracedSource(trace), CTracedSource(trace)};
    std::vector<std::unique_ptr<Container>> containers;
    /// What containers have handed out to their caller, one list for each.
    std::vector<void*> held[4];
    std::uint64_t PlaceOf(const void* pv) const { return trace.PlaceOf(pv); }
};

/// How much of a step's trace has to be the same.
enum class EStrictness
{
    /// Every event.
    ALL,
    /// Comparisons, requests and the number of elements made and destroyed: where an element of the container itself is
    /// the argument, what is promised is the result of copying it first, not how that is done.
    OUTCOME
};

/// Does the same to the library's containers and to their twins, and compares after each step what they gave back,
/// what they left in the traces, and what is to be seen of them. The first difference ends the run.
template <typename Steps, typename Real, typename Twin>
class CSideBySide
{
public:
    struct SOperation
    {
        const char* pszName;
        void (Steps::*pfnRun)();
    };

    /// What differed, or an empty text.
    const std::string& GetFailure() const { return m_strFailure; }

protected:
    explicit CSideBySide(CFuzzInput& rInput) : m_rInput(rInput) {}
    ~CSideBySide()
    {
        if (m_strFailure.empty()) return;
        // What has failed may not be fit to be destroyed.
        m_pReal.release();
        m_pTwin.release();
    }

    /// Runs operations until the input is spent, then destroys what there is.
    template <std::size_t uCount>
    void RunAll(const SOperation (&rOperations)[uCount])
    {
        while (!m_rInput.IsSpent() && m_strFailure.empty())
        {
            const SOperation& rOperation = rOperations[m_rInput.Below(uCount)];
            Begin(rOperation.pszName);
            (static_cast<Steps*>(this)->*rOperation.pfnRun)();
        }
        if (!m_strFailure.empty()) return;
        Begin("destruction of all");
        static_cast<Steps*>(this)->BeforeEnd();
        if (!m_strFailure.empty()) return;
        Do(
            [](auto& rSide)
            {
                rSide.containers.clear();
                return Values{rSide.trace.GetLiveBlocks()};
            },
            EStrictness::ALL);
    }

    void Begin(const char* pszName)
    {
        ++m_uStep;
        m_pszOperation = pszName;
        m_arguments.clear();
    }

    /// An argument, noted for the report.
    template <typename T>
    T Note(const char* pszName, T value)
    {
        m_arguments.emplace_back(pszName, static_cast<std::uint64_t>(value));
        return value;
    }

    /// An index: in a container of uSize, at its end, one beyond, or far out.
    unsigned int Index(const char* pszName, unsigned int uSize)
    {
        const unsigned int u = m_rInput.Below(uSize < 240 ? 256 : 65536);
        return Note(pszName, u % 256 >= 250 ? 0xFFFFFFFFu - u % 4 : u % (uSize + 2));
    }
    /// A number of elements: few, or more than any source has.
    unsigned int Count(const char* pszName, unsigned int uSize)
    {
        static constexpr unsigned int s_auMANY[] = {0xFFFFFFFF, 0xFFFFFFF0, 0x80000000, 0x7FFFFFFF,
                                                    0x40000000, 0x20000001, 0x20000000, 0xF0000000};
        const unsigned int u = m_rInput.Byte();
        if (u >= 0xF8) return Note(pszName, s_auMANY[u & 7]);
        if (uSize > 120) return Note(pszName, u % 2);  // what is long is slow
        if (u == 0xF7) return Note(pszName, 340u);     // one more gap of the sort
        return Note(pszName, u >= 0xE8 ? u % 128 : u % 12);
    }
    unsigned int Value() { return Note("value", m_rInput.Byte()); }

    template <typename Function>
    void Do(Function function, EStrictness eStrictness)
    {
        if (!m_strFailure.empty()) return;
        const Values real = RunOn(*m_pReal, function);
        const Values twin = RunOn(*m_pTwin, function);
        if (real != twin)
        {
            Fail("the results differ: " + Tell(real) + ", the twin's " + Tell(twin));
            return;
        }
        CompareTraces(eStrictness);
        if (!m_strFailure.empty() || m_pReal->containers.empty()) return;
        CompareStates();
    }

    SSide<Twin>& TwinSide() { return *m_pTwin; }

    CFuzzInput& m_rInput;
    std::unique_ptr<SSide<Real>> m_pReal = std::make_unique<SSide<Real>>();
    std::unique_ptr<SSide<Twin>> m_pTwin = std::make_unique<SSide<Twin>>();

private:
    template <typename Side, typename Function>
    static Values RunOn(Side& rSide, Function& rFunction)
    {
        rSide.trace.GetEvents().clear();
        g_pTrace = &rSide.trace;
        return rFunction(rSide);
    }

    static std::string Tell(const Values& rValues)
    {
        std::ostringstream text;
        text << std::hex;
        for (const std::uint64_t u : rValues) text << " " << u;
        return text.str();
    }

    void Fail(const std::string& rstrWhat)
    {
        std::ostringstream text;
        text << "step " << m_uStep << ", " << m_pszOperation << " (";
        for (const auto& [pszName, u] : m_arguments) text << " " << pszName << " " << u;
        text << " ): " << rstrWhat;
        m_strFailure = text.str();
    }

    void CompareTraces(EStrictness eStrictness)
    {
        const std::vector<CTrace::SEvent>& rReal = m_pReal->trace.GetEvents();
        const std::vector<CTrace::SEvent>& rTwin = m_pTwin->trace.GetEvents();
        if (eStrictness == EStrictness::ALL)
        {
            CompareEvents(rReal, rTwin);
            return;
        }
        CompareEvents(WithoutElements(rReal), WithoutElements(rTwin));
        if (m_strFailure.empty() && Born(rReal) != Born(rTwin)) Fail("more elements were made than destroyed, or less");
    }

    void CompareEvents(const std::vector<CTrace::SEvent>& rReal, const std::vector<CTrace::SEvent>& rTwin)
    {
        if (rReal == rTwin) return;
        const auto [itReal, itTwin] = std::mismatch(rReal.begin(), rReal.end(), rTwin.begin(), rTwin.end());
        std::ostringstream text;
        text << "the traces differ at event " << itReal - rReal.begin() << ":\n";
        const auto tell = [&](const char* pszWhose, const std::vector<CTrace::SEvent>& rEvents, auto itAt)
        {
            text << pszWhose << " (" << rEvents.size() << " events)\n";
            const auto itFrom = rEvents.begin() + std::max<std::ptrdiff_t>(0, itAt - rEvents.begin() - 6);
            for (auto it = itFrom; it != rEvents.end() && it < itAt + 6; ++it)
            {
                text << (it == itAt ? "  > " : "    ") << CTrace::Tell(*it) << "\n";
            }
        };
        tell("the library's", rReal, itReal);
        tell("the twin's", rTwin, itTwin);
        Fail(text.str());
    }

    static std::vector<CTrace::SEvent> WithoutElements(const std::vector<CTrace::SEvent>& rEvents)
    {
        std::vector<CTrace::SEvent> others;
        for (const CTrace::SEvent& rEvent : rEvents)
        {
            if (rEvent.eKind >= CTrace::eCOMPARE) others.push_back(rEvent);
        }
        return others;
    }
    static int Born(const std::vector<CTrace::SEvent>& rEvents)
    {
        int nBorn = 0;
        for (const CTrace::SEvent& rEvent : rEvents)
        {
            if (rEvent.eKind == CTrace::eCONSTRUCT || rEvent.eKind == CTrace::eCONSTRUCT_FROM) ++nBorn;
            if (rEvent.eKind == CTrace::eDESTRUCT) --nBorn;
        }
        return nBorn;
    }

    void CompareStates()
    {
        Steps& rSteps = static_cast<Steps&>(*this);
        for (std::size_t u = 0; u < m_pReal->containers.size() && m_strFailure.empty(); ++u)
        {
            const Values real = rSteps.StateOf(*m_pReal, *m_pReal->containers[u]);
            const Values twin = rSteps.StateOf(*m_pTwin, *m_pTwin->containers[u]);
            if (real == twin) continue;
            Fail("the states of container " + std::to_string(u) + " differ (" + rSteps.StateNames() + "):\n   " +
                 Tell(real) + "\nand the twin's\n   " + Tell(twin));
        }
    }

    unsigned int m_uStep = 0;
    const char* m_pszOperation = "";
    std::vector<std::pair<const char*, std::uint64_t>> m_arguments;
    std::string m_strFailure;
};

/// The bytes of an element as numbers.
inline void AppendBytes(Values& rValues, const void* pElement, unsigned int uSize)
{
    const unsigned char* const pu = static_cast<const unsigned char*>(pElement);
    std::uint64_t uWord = 0;
    for (unsigned int u = 0; u < uSize; ++u)
    {
        uWord = uWord << 8 | pu[u];
        if (u % 8 == 7 || u + 1 == uSize)
        {
            rValues.push_back(uWord);
            uWord = 0;
        }
    }
}

/// An element outside of all containers.
class CLooseElement
{
public:
    CLooseElement(std::uint32_t uValue, unsigned int uSize) : m_bytes(uSize)
    {
        FillElement(m_bytes.data(), uValue, uSize);
    }
    const void* Get() const { return m_bytes.data(); }

private:
    std::vector<unsigned char> m_bytes;
};
}  // namespace twin

#endif
