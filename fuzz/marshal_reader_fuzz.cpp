// A sequence of reads, of any types, from any bytes in a marshaler, a blob or plain memory, beside a slow reader that
// takes byte by byte what the table of encodings says: every value, the position, what is left, what was wrong and
// where. No container or blob asks for a megabyte more than the message has.
// Options: -max_len=4096
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <vector>

#include "framework/basic/blob.h"
#include "framework/basic/list.h"
#include "framework/basic/marshal_values.h"
#include "framework/basic/string.h"
#include "framework/basic/time.h"
#include "framework/basic/vector.h"
#include "framework/basic/vector_list.h"
#include "fuzz/check.h"
#include "fuzz/input.h"

namespace
{
using Bytes = std::vector<unsigned char>;

enum ESmall : unsigned char
{
    eSMALL
};
enum class ETruth : bool
{
    eFALSE
};

/// A short that is refused when it is odd.
struct SEven
{
    short nValue = 0;
};
CMarshaler& operator<<(CMarshaler& rMarshaler, const SEven& rEven)
{
    return rMarshaler << rEven.nValue;
}
CMarshalReader& operator>>(CMarshalReader& rReader, SEven& rEven)
{
    const unsigned int uPosition = rReader.GetPosition();
    rReader >> rEven.nValue;
    if (rEven.nValue % 2 == 0) return rReader;
    rReader.Fail(QV_RES_NO_INTERFACE, uPosition);
    rEven.nValue = 0;
    return rReader;
}

/// Reads the encodings of values. What could not be read is as many zeros as the empty value has.
class CSlowReader
{
public:
    CSlowReader(Bytes bytes, std::uint64_t uMaxSize) : m_bytes(std::move(bytes)), m_uMaxSize(uMaxSize) {}

    std::size_t GetLeft() const { return HasFailed() ? 0 : m_bytes.size() - m_uAt; }
    std::size_t GetPosition() const { return HasFailed() ? m_uFailedAt : m_uAt; }
    QvResult GetResult() const { return m_res; }
    bool HasFailed() const { return m_res != QV_RES_OK; }
    void SetRefusing(bool bRefusing) { m_bRefusing = bRefusing; }

    Bytes Fail(QvResult res, std::size_t uAt, std::size_t uZeros)
    {
        if (!HasFailed()) m_res = res, m_uFailedAt = uAt;
        return Bytes(uZeros, 0);
    }
    Bytes Number(std::size_t uBytes)
    {
        if (uBytes > GetLeft()) return Fail(QV_RES_FAIL, m_uAt, uBytes);
        Bytes bytes;
        while (bytes.size() < uBytes) bytes.push_back(HasFailed() ? 0 : m_bytes[m_uAt++]);
        return bytes;
    }
    Bytes Bool()
    {
        const Bytes byte = Number(1);
        return byte[0] <= 1 ? byte : Fail(QV_RES_INVALID_ARGUMENT, m_uAt - 1, 1);
    }
    Bytes Even()
    {
        const Bytes bytes = Number(2);
        return bytes[0] % 2 == 0 ? bytes : Fail(QV_RES_NO_INTERFACE, m_uAt - 2, 2);
    }
    /// A number of uSizeBytes, and so many elements behind it.
    Bytes Sized(std::size_t uSizeBytes, std::size_t uMinBytes, std::size_t uMemory,
                const std::function<Bytes()>& rElement)
    {
        const std::size_t uAt = m_uAt;
        Bytes all = Number(uSizeBytes);
        std::uint64_t uCount = 0;
        for (std::size_t u = uSizeBytes; u-- > 0;) uCount = uCount * 256 + all[u];
        if (uCount * uMemory > m_uMaxSize) return Fail(QV_RES_INVALID_ARGUMENT, uAt, uSizeBytes);
        if (uCount * uMinBytes > GetLeft()) return Fail(QV_RES_FAIL, uAt, uSizeBytes);
        if (m_bRefusing && uCount != 0) return Fail(QV_RES_OUT_OF_MEMORY, uAt, uSizeBytes);
        for (std::uint64_t u = 0; u < uCount; ++u)
        {
            const Bytes element = rElement();
            all.insert(all.end(), element.begin(), element.end());
        }
        return HasFailed() ? Bytes(uSizeBytes, 0) : all;
    }
    Bytes String()
    {
        return Sized(2, 1, 1, [this] { return Number(1); });
    }
    Bytes Numbers(std::size_t uBytes)
    {
        return Sized(4, uBytes, uBytes, [this, uBytes] { return Number(uBytes); });
    }

private:
    const Bytes m_bytes;
    const std::uint64_t m_uMaxSize;
    std::size_t m_uAt = 0;
    std::size_t m_uFailedAt = 0;
    QvResult m_res = QV_RES_OK;
    bool m_bRefusing = false;
};

/// Counts the bytes that are out, and may refuse.
class CCountingSource : public IAllocator
{
public:
    SBlock* Allocate(unsigned int uCount, unsigned int uSize, SBlock** ppLast) override
    {
        SBlock* pFirst = nullptr;
        m_uAsked += std::size_t{uCount} * uSize;
        Require(m_uAsked <= m_uLimit, "a message costs a megabyte more than it has");
        if (m_bRefusing) return nullptr;
        for (unsigned int u = 0; u < uCount; ++u)
        {
            SBlock* const pBlock = static_cast<SBlock*>(std::malloc(uSize));
            pBlock->pNext = pFirst;
            if (u == 0 && ppLast != nullptr) *ppLast = pBlock;
            pFirst = pBlock;
        }
        return pFirst;
    }
    void Release(SBlock* pChain, unsigned int) override
    {
        while (pChain != nullptr)
        {
            SBlock* const pNext = pChain->pNext;
            std::free(pChain);
            pChain = pNext;
        }
    }
    void Begin(std::size_t uMessage, bool bRefusing)
    {
        m_uAsked = 0;
        m_uLimit = uMessage + (1u << 20);
        m_bRefusing = bRefusing;
    }

private:
    std::size_t m_uAsked = 0;
    std::size_t m_uLimit = 0;
    bool m_bRefusing = false;
};

Bytes ContentOf(CMarshaler& rMarshaler)
{
    Bytes bytes(rMarshaler.GetUnreadSize());
    rMarshaler.Extract(bytes.data(), static_cast<unsigned int>(bytes.size()));
    return bytes;
}

class CReaderRun
{
public:
    CReaderRun(CFuzzInput& rInput, CMarshalReader reader, CSlowReader slow, std::size_t uMessage)
        : m_rInput(rInput), m_reader(reader), m_slow(std::move(slow)), m_uMessage(uMessage)
    {
    }

    void Step(unsigned int uKind);
    void Check()
    {
        RequireEqual(m_slow.GetResult(), m_reader.GetResult(), "the result");
        RequireEqual(m_slow.GetPosition(), std::size_t{m_reader.GetPosition()}, "the position");
        RequireEqual(m_slow.GetLeft(), std::size_t{m_reader.GetRemaining()}, "what is left");
        RequireEqual(m_slow.HasFailed(), m_reader.HasFailed(), "whether it failed");
        RequireEqual(!m_slow.HasFailed() && m_slow.GetLeft() == 0, m_reader.HasReadAll(), "whether all was read");
    }
    static constexpr unsigned int uKINDS = 30;

private:
    template <typename T>
    void Value(T value, const Bytes& rWant)
    {
        RequireEqual(true, &m_reader == &(m_reader >> value), "the operator returns its reader");
        CMarshaler marshaler;
        marshaler << value;
        RequireEqual(rWant, ContentOf(marshaler), "the value, as it is written");
    }
    template <typename T>
    void Number(T value)
    {
        Value(value, m_slow.Number(sizeof(T)));
    }
    void Allocating(bool bRefusing)
    {
        m_source.Begin(m_uMessage, bRefusing);
        m_slow.SetRefusing(bRefusing);
    }
    void StepAllocating(unsigned int uKind);
    void StepBytes(unsigned int uKind);

    CFuzzInput& m_rInput;
    CMarshalReader m_reader;
    CSlowReader m_slow;
    std::size_t m_uMessage;
    CCountingSource m_source;
};

void CReaderRun::Step(unsigned int uKind)
{
    switch (uKind)
    {
        case 0: return Number<unsigned char>(1);
        case 1: return Number<unsigned short>(1);
        case 2: return Number<unsigned int>(1);
        case 3: return Number<unsigned long>(1);
        case 4: return Number<char>('c');
        case 5: return Number<signed char>(-1);
        case 6: return Number<short>(-1);
        case 7: return Number<int>(-1);
        case 8: return Number<long>(-1);
        case 9: return Number<long long>(-1);
        case 10: return Number<unsigned long long>(1);
        case 11: return Number<float>(1);
        case 12: return Number<double>(1);
        case 13: return Number<ESmall>(eSMALL);
        case 14: return Value(true, m_slow.Bool());
        case 15: return Value(ETruth(true), m_slow.Bool());
        case 16: return Value(SEven{}, m_slow.Even());
        case 17: return Value(CString("before"), m_slow.String());
        case 18:
        {
            // A moment is there as a whole, or not at all.
            const bool bThere = m_slow.GetLeft() >= 8;
            return Value(CTime(), bThere ? m_slow.Number(8) : m_slow.Fail(QV_RES_FAIL, m_slow.GetPosition(), 8));
        }
        default: break;
    }
    if (uKind < 26) StepAllocating(uKind);
    else StepBytes(uKind);
}

void CReaderRun::StepAllocating(unsigned int uKind)
{
    Allocating(m_rInput.Byte() % 8 == 7);
    switch (uKind)
    {
        case 19: Value(CBlob(&m_source), m_slow.Numbers(1)); break;
        case 20: Value(CVector<unsigned short>(&m_source), m_slow.Numbers(2)); break;
        case 21: Value(CList<double>(&m_source), m_slow.Numbers(8)); break;
        case 22:
            Value(CVList<bool>(&m_source), m_slow.Sized(4, 1, sizeof(bool), [this] { return m_slow.Bool(); }));
            break;
        case 23:
            Allocating(false);
            Value(CVector<CString>(&m_source), m_slow.Sized(4, 2, sizeof(CString), [this] { return m_slow.String(); }));
            break;
        case 24:
            Allocating(false);
            Value(CList<CVector<int>>(&m_source),
                  m_slow.Sized(4, 4, sizeof(CVector<int>), [this] { return m_slow.Numbers(4); }));
            break;
        default: Value(CVector<SEven>(&m_source), m_slow.Sized(4, 1, sizeof(SEven), [this] { return m_slow.Even(); }));
    }
    Allocating(false);
}

void CReaderRun::StepBytes(unsigned int uKind)
{
    const unsigned int uSize = m_rInput.Below(300);
    const std::size_t uPosition = m_slow.GetPosition();
    if (uKind == 26)
    {
        const Bytes want = m_slow.Number(uSize);
        Bytes got(uSize, 0xA5);
        RequireEqual(!m_slow.HasFailed(), m_reader.Read(got.data(), uSize), "whether bytes were read");
        RequireEqual(want, got, "the bytes");
    }
    else if (uKind == 27)
    {
        m_slow.Number(uSize);
        RequireEqual(!m_slow.HasFailed(), m_reader.Skip(uSize), "whether bytes were passed over");
    }
    else if (uKind == 28)
    {
        // Looking ahead moves nothing.
        CMarshalReader ahead(m_reader);
        ahead.Skip(uSize);
    }
    else if (uSize < 30)
    {
        m_slow.Fail(QV_RES_ALREADY_EXISTS, uPosition, 0);
        m_reader.Fail(QV_RES_ALREADY_EXISTS, static_cast<unsigned int>(uPosition));
    }
}

unsigned int MaximumOf(CFuzzInput& rInput)
{
    switch (rInput.Byte() % 4)
    {
        case 0: return 0xFFFFFFFF;
        case 1: return 65535;
        case 2: return rInput.Number<std::uint16_t>();
        default: return rInput.Below(64);
    }
}

void RunSteps(CFuzzInput& rInput, const Bytes& rSteps, CMarshalReader reader, CSlowReader slow, std::size_t uMessage)
{
    CReaderRun run(rInput, reader, std::move(slow), uMessage);
    run.Check();
    for (std::size_t u = 0; u < rSteps.size(); ++u)
    {
        const CFuzzStep step("step", u);
        const CFuzzStep kind("of kind", rSteps[u] % CReaderRun::uKINDS);
        run.Step(rSteps[u] % CReaderRun::uKINDS);
        run.Check();
    }
}
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* puData, std::size_t uSize)
{
    CFuzzInput input(puData, uSize);
    const unsigned int uSource = input.Byte() % 3;
    const unsigned int uBefore = input.Byte();
    const unsigned int uMaximum = MaximumOf(input);
    const Bytes steps = input.Bytes(24);
    // What the steps themselves need comes from the message as well, whose end it then is.
    const Bytes message = input.Rest();
    CFuzzInput options(message.data(), message.size());
    const auto uMessage = static_cast<unsigned int>(message.size());
    const CSlowReader slow(message, uMaximum);
    if (uSource == 0) RunSteps(options, steps, CMarshalReader(message.data(), uMessage, uMaximum), slow, uMessage);
    else if (uSource == 1)
    {
        const CBlob blob(message.data(), uMessage);
        RunSteps(options, steps, CMarshalReader(blob, uMaximum), slow, uMessage);
    }
    else
    {
        CMarshaler marshaler;
        marshaler.Insert(Bytes(uBefore).data(), uBefore);
        marshaler.Insert(message.data(), uMessage);
        marshaler.Skip(uBefore);
        const CMarshalReader reader(marshaler, uMaximum);
        marshaler << 1u;
        RunSteps(options, steps, reader, slow, uMessage);
        RequireEqual(std::size_t{uMessage} + 4, marshaler.GetUnreadSize(), "the marshaler stays as it was");
    }
    return 0;
}
