// Streams of numbers, strings, blobs and raw bytes in a few marshalers, read in and out of step, with hostile lengths
// and a pool that runs out, beside a twin that is one run of bytes: every value, what is unread, every segment that is
// out.
// Options: -max_len=3000
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "framework/basic/blob.h"
#include "framework/basic/marshaler.h"
#include "framework/basic/string.h"
#include "fuzz/models/marshaler_twin.h"
#include "fuzz/models/scripted_source.h"
#include "fuzz/models/trail.h"

namespace
{
constexpr unsigned int uMARSHALERS = 3;
using Bytes = std::vector<unsigned char>;

std::string Shown(const Bytes& rBytes)
{
    return Quoted(std::string(rBytes.begin(), rBytes.end()));
}

/// Shows what the pool has out.
class CPoolProbe : public CPool<CMarshaler>
{
public:
    static unsigned int GetAllocatedCount() { return ms_uAllocatedCount; }
    static void Lock(unsigned int uFurther)
    {
        ms_uCapacity = ms_uAllocatedCount + uFurther;
        ms_uLockCapacity = 1;
    }
    static void Unlock() { ms_uLockCapacity = 0; }
};

/// Numbers as they lie in memory.
Bytes NumberBytes(std::uint64_t uValue, unsigned int uBytes)
{
    Bytes bytes;
    for (unsigned int i = 0; i < uBytes; ++i) bytes.push_back(static_cast<unsigned char>(uValue >> 8 * i));
    return bytes;
}

class CMarshalerRun
{
public:
    CMarshalerRun(const std::uint8_t* puData, std::size_t uSize) : m_bytes(puData, uSize)
    {
        m_uOutBefore = CPoolProbe::GetAllocatedCount();
        for (unsigned int i = 0; i < uMARSHALERS; ++i)
        {
            m_apLibrary[i] = std::make_unique<CMarshaler>();
            m_apTwin[i] = std::make_unique<CMarshalerTwin>(m_segments);
        }
    }
    ~CMarshalerRun() { CPoolProbe::Unlock(); }

    void Run();

private:
    void InsertRaw();
    void ExtractRaw();
    void InsertNumber();
    void ExtractNumber();
    void InsertString();
    void ExtractString();
    void InsertBlob();
    void ExtractBlob();
    void InsertHostile();
    void Skip();
    void Clear();
    void Copy();
    void Assign();
    void FillSegment();
    void LockPool();

    void Pick() { m_uAt = m_bytes.Below(uMARSHALERS), m_uOther = m_bytes.Below(uMARSHALERS); }
    CMarshaler& Library() { return *m_apLibrary[m_uAt]; }
    CMarshalerTwin& Twin() { return *m_apTwin[m_uAt]; }
    Bytes RawBytes();
    unsigned int ReadCount();
    void Check();

    CStepBytes m_bytes;
    CTrail m_trail;
    SSegments m_segments;
    CScriptedSource m_source;
    std::unique_ptr<CMarshaler> m_apLibrary[uMARSHALERS];
    std::unique_ptr<CMarshalerTwin> m_apTwin[uMARSHALERS];
    unsigned int m_uAt = 0;
    unsigned int m_uOther = 0;
    unsigned int m_uOutBefore = 0;
};

Bytes CMarshalerRun::RawBytes()
{
    Bytes bytes(m_bytes.Rarely(5) ? m_bytes.Below(400) : m_bytes.Below(60));
    for (std::size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = static_cast<unsigned char>(i < 6 ? m_bytes.Byte() : 0x80 + i % 101);
    return bytes;
}

unsigned int CMarshalerRun::ReadCount()
{
    const auto uUnread = static_cast<unsigned int>(Twin().GetUnreadSize());
    if (m_bytes.Rarely(6)) return uUnread + m_bytes.Below(300);
    return m_bytes.Flag() ? m_bytes.Below(uUnread + 1) : m_bytes.Below(std::min(uUnread, 90u) + 1);
}

void CMarshalerRun::Check()
{
    for (unsigned int i = 0; i < uMARSHALERS; ++i)
    {
        const std::string strWhat = "the unread size of marshaler " + std::to_string(i);
        m_trail.Same(strWhat.c_str(), static_cast<long long>(m_apLibrary[i]->GetUnreadSize()),
                     static_cast<long long>(m_apTwin[i]->GetUnreadSize()));
    }
    m_trail.Same("the number of segments that are out", CPoolProbe::GetAllocatedCount() - m_uOutBefore,
                 m_segments.uOut);
}

void CMarshalerRun::InsertRaw()
{
    Pick();
    const Bytes bytes = RawBytes();
    const bool bStore = m_bytes.Flag();
    m_trail.Step("%s of %s into marshaler %u", bStore ? "Store" : "Insert", Shown(bytes).c_str(), m_uAt);
    const auto uSize = static_cast<unsigned int>(bytes.size());
    if (bStore) Library().Store(bytes.data(), uSize);
    else Library().Insert(bytes.data(), uSize);
    Twin().Insert(bytes);
}

void CMarshalerRun::ExtractRaw()
{
    Pick();
    const unsigned int uSize = ReadCount();
    const bool bLoad = m_bytes.Flag();
    m_trail.Step("%s of %u bytes from marshaler %u", bLoad ? "Load" : "Extract", uSize, m_uAt);
    // Exactly as long as it says, so that a byte too many is noticed.
    const auto puBuffer = std::make_unique<unsigned char[]>(uSize);
    std::memset(puBuffer.get(), 0x3C, uSize);
    if (bLoad) m_trail.True(Library().Load(puBuffer.get(), uSize), "Load returns true");
    else Library().Extract(puBuffer.get(), uSize);
    const Bytes got(puBuffer.get(), puBuffer.get() + uSize);
    const Bytes want = Twin().Extract(uSize);
    for (unsigned int i = 0; i < uSize; ++i)
        if (got[i] != want[i]) m_trail.Fail("byte %u is %02x, the twin has %02x", i, got[i], want[i]);
}

void CMarshalerRun::InsertNumber()
{
    Pick();
    const unsigned int uBytes = 1u << m_bytes.Below(4);
    const auto uValue = m_bytes.Number<std::uint64_t>();
    m_trail.Step("a number of %u bytes into marshaler %u", uBytes, m_uAt);
    CMarshaler* pResult = nullptr;
    switch (uBytes)
    {
        case 1: pResult = &(Library() << static_cast<unsigned char>(uValue)); break;
        case 2: pResult = &(Library() << static_cast<unsigned short>(uValue)); break;
        case 4: pResult = &(Library() << static_cast<unsigned int>(uValue)); break;
        default: pResult = &(Library() << static_cast<unsigned long>(uValue));
    }
    m_trail.True(pResult == &Library(), "the operator returns its marshaler");
    Twin().Insert(NumberBytes(uValue, uBytes));
}

void CMarshalerRun::ExtractNumber()
{
    Pick();
    const unsigned int uBytes = 1u << m_bytes.Below(4);
    m_trail.Step("a number of %u bytes from marshaler %u", uBytes, m_uAt);
    std::uint64_t uGot = 0;
    unsigned char uByte = 0xA5;
    unsigned short uShort = 0xA5A5;
    unsigned int uInt = 0xA5A5A5A5;
    unsigned long uLong = 0xA5A5A5A5A5A5A5A5;
    switch (uBytes)
    {
        case 1: Library() >> uByte, uGot = uByte; break;
        case 2: Library() >> uShort, uGot = uShort; break;
        case 4: Library() >> uInt, uGot = uInt; break;
        default: Library() >> uLong, uGot = uLong;
    }
    const std::uint64_t uWant = Twin().ExtractNumber(uBytes);
    if (uGot != uWant)
        m_trail.Fail("the number is %llx, the twin has %llx", static_cast<unsigned long long>(uGot),
                     static_cast<unsigned long long>(uWant));
}

void CMarshalerRun::InsertString()
{
    Pick();
    const Bytes bytes = RawBytes();
    m_trail.Step("the string %s into marshaler %u", Shown(bytes).c_str(), m_uAt);
    const CString str(reinterpret_cast<const char*>(bytes.data()), static_cast<unsigned int>(bytes.size()));
    Library() << str;
    Twin().Insert(NumberBytes(bytes.size(), 2));
    Twin().Insert(bytes);
}

void CMarshalerRun::ExtractString()
{
    Pick();
    m_trail.Step("a string from marshaler %u", m_uAt);
    CString str("what was there");
    Library() >> str;
    const auto uSize = static_cast<unsigned int>(Twin().ExtractNumber(2));
    const Bytes want = Twin().Extract(uSize);
    m_trail.Same("the size of the string", str.GetSize(), uSize);
    m_trail.Same("the capacity of the string", str.GetCapacity(),
                 std::max(32u, std::min(65535u, (uSize + 31) / 32 * 32)));
    m_trail.True(want.empty() || std::memcmp(str.CStr(), want.data(), uSize) == 0, "the characters are the twin's");
    m_trail.True(str.CStr()[uSize] == '\0', "the string ends");
}

void CMarshalerRun::InsertBlob()
{
    Pick();
    const Bytes bytes = RawBytes();
    m_trail.Step("the blob %s into marshaler %u", Shown(bytes).c_str(), m_uAt);
    Library() << CBlob(bytes.data(), static_cast<unsigned int>(bytes.size()), 0, &m_source);
    Twin().Insert(NumberBytes(bytes.size(), 4));
    Twin().Insert(bytes);
}

void CMarshalerRun::ExtractBlob()
{
    Pick();
    m_trail.Step("a blob from marshaler %u", m_uAt);
    const Bytes before = {'b', 'e', 'f', 'o', 'r', 'e'};
    CBlob blob(before.data(), static_cast<unsigned int>(before.size()), 0, &m_source);
    blob.SetReadIndex(2);
    m_source.GetRequests().Begin(m_bytes.Rarely(6) ? 1 : 0);
    Library() >> blob;
    const bool bRefused = m_source.GetRequests().bRefused;
    m_source.GetRequests().Begin(0);
    const auto uSize = static_cast<unsigned int>(Twin().ExtractNumber(4));
    m_trail.Same("the read index", blob.GetSize() - blob.GetUnreadSize(), 2);
    Bytes want = before;
    if (bRefused) Twin().Skip(uSize);
    else
    {
        m_trail.True(uSize <= SRequests::uLARGEST, "a length that no memory suffices for is refused");
        want = Twin().Extract(uSize);
    }
    m_trail.Same("the size of the blob", blob.GetSize(), static_cast<long long>(want.size()));
    m_trail.True(want.empty() || std::memcmp(blob.GetFirstIndexPtr(), want.data(), want.size()) == 0,
                 "the bytes are the twin's");
    m_trail.Same("the capacity of the blob", blob.GetCapacity(),
                 static_cast<long long>(std::max(want.size(), before.size())));
}

/// The length of more than follows: what is missing reads as zeros, and what comes later is read in step.
void CMarshalerRun::InsertHostile()
{
    Pick();
    const bool bString = m_bytes.Flag();
    std::uint64_t uLength = m_bytes.Below(500);
    if (m_bytes.Rarely(6)) uLength = m_bytes.Flag() ? 0xFFFFFFFF - m_bytes.Below(20) : m_bytes.Number<std::uint32_t>();
    m_trail.Step("the length %llu without a %s into marshaler %u", static_cast<unsigned long long>(uLength),
                 bString ? "string" : "blob", m_uAt);
    if (bString) Library() << static_cast<unsigned short>(uLength);
    else Library() << static_cast<unsigned int>(uLength);
    Twin().Insert(NumberBytes(uLength, bString ? 2 : 4));
}

void CMarshalerRun::Skip()
{
    Pick();
    const unsigned int uSize = m_bytes.Rarely(8) ? 0xFFFFFFFF - m_bytes.Below(3) : ReadCount();
    m_trail.Step("Skip(%u) in marshaler %u", uSize, m_uAt);
    Library().Skip(uSize);
    Twin().Skip(uSize);
}

void CMarshalerRun::Clear()
{
    Pick();
    m_trail.Step("Clear of marshaler %u", m_uAt);
    if (m_bytes.Flag()) Library().Clear();
    else
    {
        Library().ReleaseSegments();
        Library().ResetMembers();
    }
    Twin().Clear();
}

void CMarshalerRun::Copy()
{
    Pick();
    m_trail.Step("marshaler %u = CMarshaler(marshaler %u)", m_uAt, m_uOther);
    auto pLibrary = std::make_unique<CMarshaler>(*m_apLibrary[m_uOther]);
    auto pTwin = std::make_unique<CMarshalerTwin>(*m_apTwin[m_uOther]);
    m_apLibrary[m_uAt] = std::move(pLibrary);
    m_apTwin[m_uAt] = std::move(pTwin);
}

void CMarshalerRun::Assign()
{
    Pick();
    m_trail.Step("marshaler %u = marshaler %u", m_uAt, m_uOther);
    Library() = *m_apLibrary[m_uOther];
    Twin() = *m_apTwin[m_uOther];
}

/// Up to the end of a segment, one byte less or one more.
void CMarshalerRun::FillSegment()
{
    Pick();
    const std::size_t uRoom = 56 + std::size_t{Twin().GetSegments()} * 88 - Twin().GetSize();
    const std::size_t uWanted = uRoom + m_bytes.Below(3);
    if (uWanted == 0) return;
    const Bytes bytes(uWanted - 1, m_bytes.Byte());
    m_trail.Step("%zu bytes into marshaler %u, where %zu have room", bytes.size(), m_uAt, uRoom);
    Library().Insert(bytes.data(), static_cast<unsigned int>(bytes.size()));
    Twin().Insert(bytes);
}

void CMarshalerRun::LockPool()
{
    if (m_segments.uLimit == SSegments::uNO_LIMIT)
    {
        const unsigned int uFurther = m_bytes.Below(4);
        m_trail.Step("the pool has %u segments left", uFurther);
        CPoolProbe::Lock(uFurther);
        m_segments.uLimit = m_segments.uOut + uFurther;
    }
    else
    {
        m_trail.Step("the pool has no limit");
        m_segments.uLimit = SSegments::uNO_LIMIT;
        CPoolProbe::Unlock();
    }
}

void CMarshalerRun::Run()
{
    using PFNOPERATION = void (CMarshalerRun::*)();
    static constexpr PFNOPERATION s_apfnOPERATIONS[] = {
        &CMarshalerRun::InsertRaw,    &CMarshalerRun::InsertRaw,     &CMarshalerRun::ExtractRaw,
        &CMarshalerRun::ExtractRaw,   &CMarshalerRun::ExtractRaw,    &CMarshalerRun::InsertNumber,
        &CMarshalerRun::InsertNumber, &CMarshalerRun::ExtractNumber, &CMarshalerRun::ExtractNumber,
        &CMarshalerRun::InsertString, &CMarshalerRun::ExtractString, &CMarshalerRun::InsertBlob,
        &CMarshalerRun::ExtractBlob,  &CMarshalerRun::InsertHostile, &CMarshalerRun::Skip,
        &CMarshalerRun::Clear,        &CMarshalerRun::Copy,          &CMarshalerRun::Assign,
        &CMarshalerRun::FillSegment};
    for (unsigned int uStep = 0; uStep < 400 && !m_bytes.IsSpent(); ++uStep)
    {
        if (m_bytes.Rarely(24)) LockPool();
        else (this->*s_apfnOPERATIONS[m_bytes.Below(std::size(s_apfnOPERATIONS))])();
        Check();
    }
    for (const auto& rpLibrary : m_apLibrary) rpLibrary->Clear();
    for (const auto& rpTwin : m_apTwin) rpTwin->Clear();
    Check();
}
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* puData, std::size_t uSize)
{
    CMarshalerRun(puData, uSize).Run();
    return 0;
}
