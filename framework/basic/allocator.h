#ifndef FRAMEWORK_BASIC_ALLOCATOR_H
#define FRAMEWORK_BASIC_ALLOCATOR_H
#include <new>

#include "framework/kernel/export.h"
#include "framework/kernel/result.h"
#include "framework/kernel/singleton.h"

namespace orvel_internal
{
struct SNoMembers;
}

/// A source of memory in chains of equal blocks. Whatever takes an IAllocator* uses the default allocator when it is
/// null, and borrows it otherwise: it must outlive its users.
///
/// - **To write one:** Align blocks as operator new[] does, and refuse with null instead of throwing. It is called
///   without a lock from every thread that uses an object which borrows it.
class QV_EXPORT IAllocator
{
public:
    /// A block while it is in a chain: its first word links to the next block, null in the last. The rest is undefined.
    struct SBlock
    {
        SBlock* pNext;
    };

    virtual ~IAllocator();

    /// A chain of uCount blocks of uSize bytes each, or null when allocation fails or an argument is refused.
    /// *ppLast, when ppLast is given, becomes the last block of the chain.
    virtual SBlock* Allocate(unsigned int uCount, unsigned int uSize, SBlock** ppLast) = 0;

    /// Takes a chain back: all blocks from pChain to the null link. A null chain is an empty one. Follow the links and
    /// do not rely on uCount: CBlockAllocator passes the number of blocks, but a vector, which gives back one block,
    /// passes its size in bytes, and a string always passes 8.
    virtual void Release(SBlock* pChain, unsigned int uCount) = 0;
};

/// The process-wide source: every block is a separate allocation with the global operator new[].
///
/// - **Threads:** Keeps no state: any thread at any time.
/// - **Lifetime:** Made on first use, deleted by the shut-down of the framework: destroy what holds memory from it
///   before.
class QV_EXPORT CDefaultAllocator : public CSingleton<CDefaultAllocator>, public IAllocator
{
public:
    /// For Instance() only.
    CDefaultAllocator();
    ~CDefaultAllocator() override;

    /// Null, and nothing is allocated, when uSize is below 8 or uCount is 0; null when memory runs out, with what was
    /// allocated so far given back through Release() (*ppLast may be written by then).
    SBlock* Allocate(unsigned int uCount, unsigned int uSize, SBlock** ppLast) override;

    /// Frees the chain by its links; uCount is ignored.
    void Release(SBlock* pChain, unsigned int uCount) override;

    /// pAllocator, or the default allocator in place of null: for the library's own classes. Outside the start-up and
    /// the shut-down of the framework it ends the process with a line that names pszClass.
    QV_HIDDEN static IAllocator* OrDefault(IAllocator* pAllocator, const char* pszClass);

    /// Module start-up and shut-down. Start-up has nothing to do and returns QV_RES_OK; shut-down deletes the instance.
    static QvResult InitializeCDefaultAllocator();
    static void FinalizeCDefaultAllocator();

private:
    QV_HIDDEN SBlock* ContinueChain(SBlock* pChain, unsigned int uCount, unsigned int uSize);
};

extern template class CSingleton<CDefaultAllocator>;

/// A free list of blocks of one size in front of an IAllocator: takes blocks from it in bulk, hands them out and takes
/// them back one at a time, and returns them only when told to.
///
/// ```
/// source --Reserve--> [tail ... free blocks ... head] --Pop--> user
///        <--Reduce--                                  <-Push--
/// ```
///
/// - **Ownership:** Owns the free blocks, not those handed out: push each back here, or to an allocator that compares
///   equal. Borrows the source, which must outlive it; null means the default allocator.
/// - **Threads:** No locking: one thread at a time.
/// - **Cost:** Push() and Pop() are constant and allocate nothing while a block is free; what was pushed last is popped
///   first. Reserve() and Reduce() are one call of the source.
/// - **Failure:** A null block or false, with the free list unchanged.
/// - **Alignment:** That of the source's blocks, which for operator new[] is `__STDCPP_DEFAULT_NEW_ALIGNMENT__`, 16.
///   What is aligned more widely does not belong in a block; the typed containers and CPool refuse such types to the
///   compiler.
/// - **Lifetime:** Without a source given, made only while the framework is up. If one is made at another time, one
///   line on standard error names the class, and abort() follows.
class QV_EXPORT CBlockAllocator
{
public:
    /// Blocks of uBlockSize bytes, at least 8 (room for the link); the size is not aligned up.
    CBlockAllocator(unsigned int uBlockSize, IAllocator* pAllocator);
    /// Same source and block size; the free list is not shared and starts empty.
    CBlockAllocator(const CBlockAllocator& rOther);
    /// A copy with blocks of at least uMinBlockSize bytes: for the library's containers, like Exchange().
    QV_HIDDEN CBlockAllocator(const CBlockAllocator& rOther, unsigned int uMinBlockSize);
    /// Sets no member: for orvel_internal::CExactClass.
    QV_HIDDEN explicit CBlockAllocator(const orvel_internal::SNoMembers&) {}
    CBlockAllocator& operator=(const CBlockAllocator&) = delete;
    /// Returns the free blocks to the source.
    virtual ~CBlockAllocator();

    /// Makes at least uCount blocks free, asking the source for exactly the missing ones. False when it has no memory.
    bool Reserve(unsigned int uCount);

    /// Returns all but uKeep free blocks to the source. Cost: a walk over the shorter of what is kept and returned.
    void Reduce(unsigned int uKeep);

    /// A free block, taken from the source when there is none; null when the source has no memory.
    void* Pop()
    {
        IAllocator::SBlock* const pBlock = m_pHead;
        if (pBlock == nullptr) return PopReserving();
        m_pHead = pBlock->pNext;
        if (m_pHead == nullptr) m_pTail = nullptr;
        --m_uBlockCount;
        return pBlock;
    }

    /// Takes a block back; null is ignored.
    virtual void Push(void* pBlock);

    /// Exchanges everything: source, block size and free list.
    QV_HIDDEN void Exchange(CBlockAllocator& rOther);

    /// The number of free blocks.
    unsigned int GetBlockCount() const;
    /// Whether a block can be had without asking the source.
    bool HasFree() const { return m_pHead != nullptr; }

    /// Equal when both have the same source, so that each can take the other's blocks (of its size) back.
    bool operator==(const CBlockAllocator& rOther) const;
    bool operator!=(const CBlockAllocator& rOther) const;

    /// Push() of a chain of uCount blocks. The block at its head is popped first; neither pointer may be null.
    void PushChain(IAllocator::SBlock* pFirst, IAllocator::SBlock* pLast, unsigned int uCount)
    {
        pLast->pNext = m_pHead;
        if (m_pTail == nullptr) m_pTail = pLast;
        m_pHead = pFirst;
        m_uBlockCount += uCount;
    }

private:
    // Not inlined: with a call to Reserve() in its own body, Pop() would have to save registers.
    QV_HIDDEN __attribute__((noinline)) void* PopReserving() { return Reserve(1) ? Pop() : nullptr; }

    IAllocator* m_pAllocator;
    IAllocator::SBlock* m_pHead;
    IAllocator::SBlock* m_pTail;
    unsigned int m_uBlockCount;
    unsigned int m_uBlockSize;
};

/// Module start-up and shut-down, called by CFrameworkInitializer; forward to CDefaultAllocator.
QV_EXPORT QvResult InitializeCDefaultAllocator();
QV_EXPORT void FinalizeCDefaultAllocator();

#endif
