#ifndef TESTS_SUPPORT_REFUSING_NEW_H
#define TESTS_SUPPORT_REFUSING_NEW_H
#include <cstddef>
#include <cstdlib>
#include <functional>
#include <map>
#include <new>
#include <vector>

#include "tests/support/sanitizers.h"

// Who includes this gets all forms of operator new and delete from refusing_new.cpp, which must be among the sources of
// the program (tests/CMakeLists.txt sees to it). Where TESTS_OWN_OPERATOR_NEW is 0, nothing is refused or recorded.
//
// What is handed out is filled with 0xEE, so that what nobody wrote does not look like something.

/// The forms of operator new, as bits. Tests themselves use those that throw, and hardly ever the ones of arrays.
enum ENewForms : unsigned int
{
    eNEW_OBJECT = 1,
    eNEW_ARRAY = 2,
    eNOTHROW_OBJECT = 4,
    eNOTHROW_ARRAY = 8,
    eARRAYS = eNEW_ARRAY | eNOTHROW_ARRAY,
    eNOTHROW = eNOTHROW_OBJECT | eNOTHROW_ARRAY,
    eALL_FORMS = eNEW_OBJECT | eNEW_ARRAY | eNOTHROW
};

enum class ERefused
{
    eONE,
    eALL_BEHIND
};

/// While it lives, a request to operator new is refused: the uNth from now on, counted from 0, and with eALL_BEHIND all
/// that follow. The forms that throw throw std::bad_alloc. Only requests of some forms count, or of one size, if that
/// is said. One lives at a time; requests may come from any thread.
class CRefusingNew
{
public:
    explicit CRefusingNew(unsigned long uNth, ENewForms eForms = eALL_FORMS, ERefused eRefused = ERefused::eONE,
                          std::size_t uOnlySize = 0);
    ~CRefusingNew();
    CRefusingNew(const CRefusingNew&) = delete;
    CRefusingNew& operator=(const CRefusingNew&) = delete;

    bool HasRefused() const;
};

/// While it lives, whoever can do without an exception gets no memory, as does the whole library.
class CNoMemory : public CRefusingNew
{
public:
    CNoMemory() : CRefusingNew(0, eNOTHROW, ERefused::eALL_BEHIND) {}
};

/// While it lives, it writes down what goes through operator new and delete: in some forms, or of one size, if that is
/// said. Several may live, each begun later ending earlier. Looked at while no other thread asks for memory.
class CNewRecord
{
public:
    struct SBlock
    {
        void* pv;
        std::size_t uSize;
    };
    /// Writes itself down past what it records.
    template <typename Element>
    struct SMallocAllocator
    {
        using value_type = Element;
        SMallocAllocator() = default;
        template <typename Other>
        SMallocAllocator(const SMallocAllocator<Other>&)
        {
        }
        Element* allocate(std::size_t uCount)
        {
            void* const pv = std::malloc(uCount * sizeof(Element));
            if (pv == nullptr) std::abort();
            return static_cast<Element*>(pv);
        }
        void deallocate(Element* p, std::size_t) { std::free(p); }
        bool operator==(const SMallocAllocator&) const { return true; }
    };
    template <typename Element>
    using List = std::vector<Element, SMallocAllocator<Element>>;

    explicit CNewRecord(ENewForms eForms = eALL_FORMS, std::size_t uOnlySize = 0);
    ~CNewRecord();
    CNewRecord(const CNewRecord&) = delete;
    CNewRecord& operator=(const CNewRecord&) = delete;

    /// What was asked for, refused requests included.
    const List<std::size_t>& GetRequests() const { return m_requests; }
    /// What was handed out, and what was taken back, whenever it was handed out, in order.
    const List<SBlock>& GetMade() const { return m_made; }
    const List<void*>& GetFreed() const { return m_freed; }
    /// Of what was handed out: the blocks that are still out.
    std::size_t GetLiveBlocks() const { return m_live.size(); }
    /// The size that such a block was asked for with; 0 for what is none.
    std::size_t GetSizeOf(const void* pv) const;

    /// For the operators.
    static void NoteRequest(ENewForms eForm, std::size_t uSize, void* pv);
    static void NoteFree(bool bArray, void* pv);

private:
    using Live = std::map<void*, std::size_t, std::less<>, SMallocAllocator<std::pair<void* const, std::size_t>>>;

    CNewRecord* const m_pOuter;
    const unsigned int m_uForms;
    const std::size_t m_uOnlySize;
    List<std::size_t> m_requests;
    List<SBlock> m_made;
    List<void*> m_freed;
    Live m_live;
};

/// Blocks that operator new has handed out and operator delete has not taken back.
long LiveNewBlocks();

/// From now on calls pfn when a request is refused.
void CallWhenNewRefuses(void (*pfn)());
/// From now on operator delete keeps the memory, and what was in it.
void KeepDeletedBlocks();

#endif
