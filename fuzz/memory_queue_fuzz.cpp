// CMemoryQueue under any sequence of calls: what is in it beside a std::deque, and its pointers beside a second
// implementation that counts offsets.
// Options: -max_len=600
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <deque>
#include <vector>

#include "framework/kernel/memory_queue.h"
#include "fuzz/check.h"
#include "fuzz/input.h"
#include "tests/support/object_bytes.h"

namespace
{
std::uint64_t RoundedUp(std::uint64_t uValue, std::uint64_t uStep)
{
    return (uValue + uStep - 1) / uStep * uStep;
}

/// The rules of the ring, with offsets into its buffer.
struct SRing
{
    bool bUp = false;
    std::uint64_t uEnd = 0;
    std::uint64_t uDataEnd = 0;
    std::uint64_t uRead = 0;
    std::uint64_t uWrite = 0;
    std::uint64_t uAlignment = 0;

    bool IsEmpty() const { return uRead == uWrite; }
    std::uint64_t Footprint(std::uint64_t uSize) const { return RoundedUp(RoundedUp(4, uAlignment) + uSize, 4); }

    bool Push(std::uint64_t uSize)
    {
        if (!bUp) return false;
        const std::uint64_t uNeeded = Footprint(uSize);
        if (uWrite < uRead) return uNeeded < uRead - uWrite;
        const std::uint64_t uTail = uEnd - uWrite;
        if (uNeeded <= uTail) return uNeeded != uTail || uRead != 0;
        if (uNeeded >= uRead) return false;
        if (IsEmpty()) uRead = 0;
        else uDataEnd = uWrite;
        uWrite = 0;
        return true;
    }

    void Pop(std::uint64_t uSize)
    {
        uRead += Footprint(uSize);
        const bool bWasLast = uRead == uWrite;
        if (!bWasLast && uRead != uDataEnd) return;
        uRead = 0;
        uDataEnd = uEnd;
        if (bWasLast) uWrite = 0;
    }
};

class CPair
{
public:
    void Step(CFuzzInput& rInput)
    {
        switch (rInput.Below(10))
        {
            case 0: Initialize(rInput); break;
            case 1:
                if (rInput.Below(8) != 0) break;
                m_queue.Uninitialize();
                Forget();
                break;
            case 2:
            case 3:
            case 4: Push(rInput.Flag() ? rInput.Below(40) : rInput.Edgy<unsigned int>(), rInput.Byte()); break;
            case 5:
            case 6: Commit(); break;
            case 7:
            case 8: Pop(); break;
            default:
                // What was never handed out, or was committed already.
                Require(!m_queue.Commit(nullptr), "Commit(null)");
                Require(!m_queue.Commit(&m_uForeign), "Commit(foreign)");
                break;
        }
        Check();
    }

private:
    void Initialize(CFuzzInput& rInput)
    {
        const unsigned int uSize = rInput.Below(300);
        const unsigned int uByte = rInput.Byte();
        const unsigned int uAlignment = uByte < 224 ? (1u << uByte % 8) & ~1u : uByte;
        const bool bPowerOfTwo = (uAlignment & (uAlignment - 1)) == 0;
        const bool bWant = !m_ring.bUp && bPowerOfTwo;
        RequireEqual(bWant, m_queue.Initialize(uSize, uAlignment), "Initialize");
        if (!bWant) return;
        m_ring.bUp = true;
        m_ring.uEnd = m_ring.uDataEnd = std::max(uSize, 4u);
        m_ring.uAlignment = std::max(uAlignment, 1u);
    }

    void Forget()
    {
        m_ring = SRing();
        m_records.clear();
        m_puPushed = nullptr;
    }

    void Push(unsigned int uSize, unsigned char uFill)
    {
        const SRing before = m_ring;
        const bool bWant = m_ring.Push(uSize);
        unsigned char* const puPayload = m_queue.Push(uSize);
        RequireEqual(bWant, puPayload != nullptr, "Push");
        // A refused one leaves an earlier one that was not committed.
        if (!bWant) return;
        if (before.uWrite != m_ring.uWrite) Require(m_ring.uWrite == 0, "wraps to the front");
        m_puPushed = puPayload;
        m_pushed.assign(uSize, uFill);
        if (uSize != 0) std::memset(puPayload, uFill, uSize);
        RequireEqual(std::uint64_t{0}, reinterpret_cast<std::uintptr_t>(puPayload) % m_ring.uAlignment, "alignment");
        const std::uint64_t uAt = static_cast<std::uint64_t>(puPayload - Base());
        Require(uAt >= m_ring.uWrite + 4 && uAt + uSize <= m_ring.uWrite + m_ring.Footprint(uSize),
                "outside its record");
    }

    void Commit()
    {
        RequireEqual(m_puPushed != nullptr, m_queue.Commit(m_puPushed), "Commit");
        if (m_puPushed == nullptr) return;
        m_ring.uWrite += m_ring.Footprint(m_pushed.size());
        m_records.push_back(m_pushed);
        const unsigned char* const puCommitted = m_puPushed;
        m_puPushed = nullptr;
        Require(!m_queue.Commit(puCommitted), "committed twice");
    }

    void Pop()
    {
        RequireEqual(!m_records.empty(), m_queue.Pop(), "Pop");
        if (m_records.empty()) return;
        const bool bMovedWriter = m_records.size() == 1;
        m_ring.Pop(m_records.front().size());
        m_records.pop_front();
        // The writer of an empty queue goes to the front: the place that was handed out is none any more.
        if (bMovedWriter) m_puPushed = nullptr;
    }

    const unsigned char* Base() const { return LoadAt<const unsigned char*>(&m_queue, 8); }

    void Check()
    {
        RequireEqual(m_records.empty(), m_queue.IsEmpty(), "IsEmpty");
        unsigned int uSize = 0xEEEEEEEE;
        const unsigned char* const puOldest = m_queue.Peek(&uSize);
        RequireEqual(!m_records.empty(), puOldest != nullptr, "Peek");
        if (puOldest != nullptr)
        {
            RequireEqual(m_records.front().size(), std::size_t{uSize}, "the oldest record's size");
            RequireEqual(m_records.front(), std::vector<unsigned char>(puOldest, puOldest + uSize), "its bytes");
            Require(m_queue.Peek(nullptr) == puOldest, "Peek(null)");
        }
        if (!m_ring.bUp)
        {
            Require(Base() == nullptr, "no buffer");
            return;
        }
        RequireEqual(m_ring.uEnd, OffsetAt(16), "end");
        RequireEqual(m_ring.uDataEnd, OffsetAt(24), "data end");
        RequireEqual(m_ring.uRead, OffsetAt(32), "read");
        RequireEqual(m_ring.uWrite, OffsetAt(40), "write");
        RequireEqual(m_ring.uAlignment, std::uint64_t{LoadAt<std::uint32_t>(&m_queue, 48)}, "alignment kept");
    }

    std::uint64_t OffsetAt(std::size_t uField) const
    {
        return static_cast<std::uint64_t>(LoadAt<const unsigned char*>(&m_queue, uField) - Base());
    }

    CMemoryQueue m_queue;
    SRing m_ring;
    std::deque<std::vector<unsigned char>> m_records;
    unsigned char* m_puPushed = nullptr;
    std::vector<unsigned char> m_pushed;
    unsigned char m_uForeign = 0;
};
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* puData, std::size_t uSize)
{
    CFuzzInput input(puData, uSize);
    CPair pair;
    for (unsigned int uStep = 0; !input.IsSpent() && uStep < 200; ++uStep)
    {
        const CFuzzStep step("step", uStep);
        pair.Step(input);
    }
    return 0;
}
