#ifndef FUZZ_MODELS_REFUSING_NEW_H
#define FUZZ_MODELS_REFUSING_NEW_H
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <map>
#include <vector>

#include "tests/support/own_operator_new.h"

/// The memory behind the default allocator: counts what is out, remembers what was asked for and refuses the n-th
/// request. A target that uses it names fuzz/models/refusing_new.cpp among its sources, which has the operators.
class CRefusingNew
{
public:
    /// Forgets the requests so far; the uNth one from now on is refused, counted from 1, and with bOnwards all behind
    /// it, or none for 0.
    static void Begin(unsigned int uNth, bool bOnwards)
    {
        State().uRefuseIn = uNth;
        State().bOnwards = bOnwards;
        State().bRefused = false;
        State().requests.clear();
    }
    /// From now on nothing is refused.
    static void End() { State().uRefuseIn = 0; }
    static bool HasRefused() { return State().bRefused; }
    static const std::vector<std::size_t>& GetRequests() { return State().requests; }
    static std::size_t GetLiveBlocks() { return State().sizes.size(); }
    /// The size that a live block was asked for with; 0 for what is none.
    static std::size_t GetSizeOf(const void* pv)
    {
        const auto found = State().sizes.find(const_cast<void*>(pv));
        return found == State().sizes.end() ? 0 : found->second;
    }
    /// False where a sanitizer has operators of its own: nothing is counted or refused then.
    static constexpr bool IsActive() { return TESTS_OWN_OPERATOR_NEW != 0; }

    static void* Allocate(std::size_t uSize)
    {
        SState& rState = State();
        rState.requests.push_back(uSize);
        if (rState.uRefuseIn != 0 && --rState.uRefuseIn == 0)
        {
            rState.bRefused = true;
            if (rState.bOnwards) rState.uRefuseIn = 1;
            return nullptr;
        }
        void* const pv = std::malloc(uSize);
        if (pv == nullptr) return nullptr;
        // What nobody wrote must not look like something.
        std::memset(pv, 0xEE, uSize);
        rState.sizes[pv] = uSize;
        return pv;
    }
    static void Free(void* pv)
    {
        State().sizes.erase(pv);
        std::free(pv);
    }

private:
    struct SState
    {
        unsigned int uRefuseIn = 0;
        bool bOnwards = false;
        bool bRefused = false;
        std::vector<std::size_t> requests;
        std::map<void*, std::size_t> sizes;
    };
    // Never destroyed: the library frees memory until the very end of the process.
    static SState& State()
    {
        static SState& s_rState = *new SState;
        return s_rState;
    }
};

#endif
