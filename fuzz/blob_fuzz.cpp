// Random operations on bytes and bits of a few blobs that own pieces and lack memory, beside a twin written from the
// contract: results, bytes, cursors, capacities, and every request and release at the allocator.
// Options: -max_len=3000
#include <cctype>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "framework/basic/blob.h"
#include "framework/basic/marshaler.h"
#include "framework/basic/string.h"
#include "fuzz/models/blob_twin.h"
#include "fuzz/models/scripted_source.h"
#include "fuzz/models/trail.h"
#include "tests/support/blob_probe.h"

namespace
{
constexpr unsigned int g_uBLOBS = 3;
using Bytes = CBlobTwin::Bytes;

/// Bytes as the caller of an operation has them, exactly as many as given or a piece of a blob's storage.
struct SBytes
{
    const unsigned char* pu = nullptr;
    Bytes meaning;
    std::unique_ptr<unsigned char[]> puOwned;
    std::string strName;
};

std::string Shown(const Bytes& rBytes)
{
    return Quoted(std::string(rBytes.begin(), rBytes.end()));
}

class CBlobRun
{
public:
    CBlobRun(const std::uint8_t* puData, std::size_t uSize) : m_bytes(puData, uSize)
    {
        for (unsigned int i = 0; i < g_uBLOBS; ++i)
        {
            m_apLibrary[i] = std::make_unique<CBlob>(&m_source);
            m_apTwin[i] = std::make_unique<CBlobTwin>(m_twinRequests);
        }
    }

    void Run();

private:
    void Construct();
    void ConstructCopy();
    void Assign();
    void Compare();
    void InsertBytes();
    void InsertBlob();
    void Append();
    void PushBack();
    void AssignBytes();
    void AssignHex();
    void Erase();
    void Resize();
    void Reserve();
    void Reduce();
    void WriteStorage();
    void Read();
    void ReadNoCopy();
    void SetReadIndex();
    void AppendBits();
    void ReadBits();
    void ReadBitsIntoItself();
    void PadBits();
    void SkipBits();
    void RealignRead();
    void RealignAppend();
    void Serialise();

    unsigned int Index(std::uint64_t uLimit);
    SBytes Piece(unsigned int uCount);
    SBytes Piece() { return Piece(m_bytes.Rarely(8) ? m_bytes.Below(300) : m_bytes.Below(20)); }
    unsigned int BitCount() { return m_bytes.Rarely(6) ? m_bytes.Below(600) : m_bytes.Below(70); }
    unsigned int Alignment();

    void Pick() { m_uAt = m_bytes.Below(g_uBLOBS), m_uOther = m_bytes.Below(g_uBLOBS); }
    CBlob& Library() { return *m_apLibrary[m_uAt]; }
    CBlobTwin& Twin() { return *m_apTwin[m_uAt]; }
    CBlob& OtherLibrary() { return *m_apLibrary[m_uOther]; }
    CBlobTwin& OtherTwin() { return *m_apTwin[m_uOther]; }
    /// The same request of both sides is refused.
    void Begin();
    void SameResult(QvResult resLibrary, QvResult resTwin) { m_trail.Same("the result", resLibrary, resTwin); }
    void Check();

    CStepBytes m_bytes;
    CTrail m_trail;
    CScriptedSource m_source;
    SRequests m_twinRequests;
    std::unique_ptr<CBlob> m_apLibrary[g_uBLOBS];
    std::unique_ptr<CBlobTwin> m_apTwin[g_uBLOBS];
    unsigned int m_uAt = 0;
    unsigned int m_uOther = 0;
    bool m_bMayAskLess = false;
};

unsigned int CBlobRun::Index(std::uint64_t uLimit)
{
    if (m_bytes.Rarely(16)) return m_bytes.Flag() ? 0xFFFFFFFF - m_bytes.Below(3) : m_bytes.Number<std::uint32_t>();
    return m_bytes.Below(uLimit + 2);
}

unsigned int CBlobRun::Alignment()
{
    static constexpr unsigned int s_auUSUAL[] = {0, 1, 2, 3, 4, 7, 8, 16, 24, 32, 64};
    return m_bytes.Rarely(4) ? m_bytes.Below(100) : s_auUSUAL[m_bytes.Below(std::size(s_auUSUAL))];
}

SBytes CBlobRun::Piece(unsigned int uCount)
{
    SBytes piece;
    if (m_bytes.Below(4) == 3 && OtherTwin().GetKnown() >= uCount)
    {
        const unsigned int uFrom = m_bytes.Below(OtherTwin().GetKnown() - uCount + 1);
        piece.pu = OtherLibrary().GetFirstIndexPtr();
        if (piece.pu != nullptr) piece.pu += uFrom;
        piece.meaning = OtherTwin().GetBytes(uFrom, uCount);
        piece.strName = "blob " + std::to_string(m_uOther) + " from " + std::to_string(uFrom) + " = ";
    }
    else
    {
        piece.puOwned = std::make_unique<unsigned char[]>(uCount);
        piece.pu = piece.puOwned.get();
        for (unsigned int i = 0; i < uCount; ++i)
            piece.puOwned[i] = static_cast<unsigned char>(i < 40 ? m_bytes.Byte() : i * 7);
        piece.meaning.assign(piece.pu, piece.pu + uCount);
    }
    piece.strName += Shown(piece.meaning);
    return piece;
}

void CBlobRun::Begin()
{
    const unsigned int uNth = m_bytes.Rarely(5) ? 1 + m_bytes.Below(2) : 0;
    if (uNth != 0) m_trail.Note(", refusing request " + std::to_string(uNth));
    m_source.GetRequests().Begin(uNth);
    m_twinRequests.Begin(uNth);
    m_bMayAskLess = false;
}

void CBlobRun::Check()
{
    if (!m_bMayAskLess)
    {
        const SRequests& rLibrary = m_source.GetRequests();
        if (rLibrary.asked != m_twinRequests.asked)
            m_trail.Fail("%zu requests of the allocator (the first: %u), the twin makes %zu (the first: %u)",
                         rLibrary.asked.size(), rLibrary.asked.empty() ? 0 : rLibrary.asked[0],
                         m_twinRequests.asked.size(), m_twinRequests.asked.empty() ? 0 : m_twinRequests.asked[0]);
        m_trail.True(rLibrary.released == m_twinRequests.released, "the same blocks are released with the same counts");
    }
    else if (!m_twinRequests.bRefused)
        m_trail.True(m_source.GetRequests().asked.size() <= m_twinRequests.asked.size(),
                     "no more requests than promised");
    m_source.GetRequests().Begin(0);
    m_twinRequests.Begin(0);
    std::size_t uLive = 0;
    for (unsigned int i = 0; i < g_uBLOBS; ++i)
    {
        CBlob& rLibrary = *m_apLibrary[i];
        const CBlobTwin& rTwin = *m_apTwin[i];
        const std::string strBlob = " of blob " + std::to_string(i);
        m_trail.Same(("the size" + strBlob).c_str(), rLibrary.GetSize(), rTwin.GetSize());
        m_trail.Same(("the capacity" + strBlob).c_str(), rLibrary.GetCapacity(), rTwin.GetCapacity());
        m_trail.Same(("the unread size" + strBlob).c_str(), rLibrary.GetUnreadSize(), rTwin.GetUnreadSize());
        m_trail.Same(("the number of unread bits" + strBlob).c_str(), rLibrary.GetUnreadBits(), rTwin.GetUnreadBits());
        const SBlobCursors cursors = CursorsOf(rLibrary);
        const SBlobCursors& rWant = rTwin.GetCursors();
        m_trail.Same(("the read index" + strBlob).c_str(), cursors.uReadIndex, rWant.uReadIndex);
        m_trail.Same(("the read bit offset" + strBlob).c_str(), cursors.uReadBitOffset, rWant.uReadBitOffset);
        m_trail.Same(("the append index" + strBlob).c_str(), cursors.uAppendIndex, rWant.uAppendIndex);
        m_trail.Same(("the append bit offset" + strBlob).c_str(), cursors.uAppendBitOffset, rWant.uAppendBitOffset);
        m_trail.True((rLibrary.GetFirstIndexPtr() == nullptr) == (rTwin.GetCapacity() == 0), "no capacity, no storage");
        m_trail.True(rLibrary.GetAt(rLibrary.GetSize()) == nullptr, "no byte behind the last");
        m_trail.Same("the last index", rLibrary.GetLastIndex(), rTwin.GetSize() - 1);
        if (rTwin.GetKnown() != 0 &&
            std::memcmp(rLibrary.GetFirstIndexPtr(), rTwin.GetStorage().data(), rTwin.GetKnown()) != 0)
            m_trail.Fail(
                "blob %u is %s, the twin has %s", i,
                Shown(Bytes(rLibrary.GetFirstIndexPtr(), rLibrary.GetFirstIndexPtr() + rTwin.GetKnown())).c_str(),
                Shown(rTwin.GetBytes(0, rTwin.GetKnown())).c_str());
        if (rTwin.GetCapacity() != 0) ++uLive;
    }
    m_trail.Same("the number of blocks that are out", static_cast<long long>(m_source.GetLiveBlocks()),
                 static_cast<long long>(uLive));
}

void CBlobRun::Construct()
{
    Pick();
    const SBytes piece = Piece();
    const unsigned int uCapacity = Index(60);
    const bool bFilled = m_bytes.Flag();
    m_trail.Step("blob %u = CBlob(%s, %u)", m_uAt, bFilled ? piece.strName.c_str() : "no bytes", uCapacity);
    Begin();
    std::unique_ptr<CBlob> pLibrary;
    std::unique_ptr<CBlobTwin> pTwin;
    if (bFilled)
    {
        pLibrary =
            std::make_unique<CBlob>(piece.pu, static_cast<unsigned int>(piece.meaning.size()), uCapacity, &m_source);
        pTwin = std::make_unique<CBlobTwin>(piece.meaning, uCapacity, m_twinRequests);
    }
    else
    {
        pLibrary = std::make_unique<CBlob>(uCapacity, &m_source);
        pTwin = std::make_unique<CBlobTwin>(uCapacity, m_twinRequests);
    }
    m_apLibrary[m_uAt] = std::move(pLibrary);
    m_apTwin[m_uAt] = std::move(pTwin);
}

void CBlobRun::ConstructCopy()
{
    Pick();
    const bool bMoved = m_bytes.Flag();
    m_trail.Step("blob %u = CBlob(%s blob %u)", m_uAt, bMoved ? "moved" : "of", m_uOther);
    Begin();
    std::unique_ptr<CBlob> pLibrary;
    std::unique_ptr<CBlobTwin> pTwin;
    if (bMoved)
    {
        pLibrary = std::make_unique<CBlob>(std::move(OtherLibrary()));
        pTwin = std::make_unique<CBlobTwin>(std::move(OtherTwin()));
    }
    else
    {
        pLibrary = std::make_unique<CBlob>(OtherLibrary());
        pTwin = std::make_unique<CBlobTwin>(OtherTwin());
    }
    m_apLibrary[m_uAt] = std::move(pLibrary);
    m_apTwin[m_uAt] = std::move(pTwin);
}

void CBlobRun::Assign()
{
    Pick();
    const bool bMoved = m_bytes.Flag();
    m_trail.Step("blob %u = %s blob %u", m_uAt, bMoved ? "moved" : "copied", m_uOther);
    Begin();
    if (bMoved)
    {
        Library() = static_cast<CBlob&&>(OtherLibrary());
        Twin() = std::move(OtherTwin());
    }
    else
    {
        Library() = OtherLibrary();
        Twin() = OtherTwin();
    }
}

void CBlobRun::Compare()
{
    Pick();
    m_trail.Step("blob %u compared with blob %u", m_uAt, m_uOther);
    const Bytes left = Twin().GetBytes(0, Twin().GetSize());
    const Bytes right = OtherTwin().GetBytes(0, OtherTwin().GetSize());
    m_trail.Same("equality", Library() == OtherLibrary(), left == right);
    m_trail.Same("inequality", Library() != OtherLibrary(), left != right);
    m_trail.Same("the order", Library() < OtherLibrary(), left < right);
    const int nOrder = Library().Compare(OtherLibrary());
    m_trail.True((nOrder < 0) == (left < right) && (nOrder > 0) == (right < left), "Compare tells the order");
}

void CBlobRun::InsertBytes()
{
    Pick();
    const SBytes piece = Piece();
    const unsigned int uIndex = Index(Twin().GetSize());
    const auto uCount = static_cast<unsigned int>(piece.meaning.size());
    if (m_bytes.Rarely(20))
    {
        m_trail.Step("Insert(%u, null, 0) into blob %u, then 1 byte", uIndex, m_uAt);
        SameResult(Library().Insert(uIndex, nullptr, 0), Twin().Insert(uIndex, Bytes()));
        SameResult(Library().Insert(uIndex, nullptr, 1), QV_RES_INVALID_ARGUMENT);
        return;
    }
    m_trail.Step("Insert(%u, %s, %u) into blob %u", uIndex, piece.strName.c_str(), uCount, m_uAt);
    Begin();
    SameResult(Library().Insert(uIndex, piece.pu, uCount), Twin().Insert(uIndex, piece.meaning));
}

void CBlobRun::InsertBlob()
{
    Pick();
    const unsigned int uIndex = Index(Twin().GetSize());
    const unsigned int uStart = Index(OtherTwin().GetSize());
    const unsigned int uCount = m_bytes.Flag() ? CBlobTwin::uTO_END : Index(OtherTwin().GetSize());
    m_trail.Step("Insert(%u, blob %u, %u, %u) into blob %u", uIndex, m_uOther, uStart, uCount, m_uAt);
    Begin();
    SameResult(Library().Insert(uIndex, OtherLibrary(), uStart, uCount),
               Twin().Insert(uIndex, OtherTwin(), uStart, uCount));
}

void CBlobRun::Append()
{
    Pick();
    const SBytes piece = Piece();
    const auto uCount = static_cast<unsigned int>(piece.meaning.size());
    m_trail.Step("Append(%s, %u) to blob %u", piece.strName.c_str(), uCount, m_uAt);
    Begin();
    SameResult(Library().Append(piece.pu, uCount), Twin().Insert(Twin().GetSize(), piece.meaning));
}

void CBlobRun::PushBack()
{
    Pick();
    const unsigned char uByte = m_bytes.Byte();
    m_trail.Step("push_back(%u) to blob %u", uByte, m_uAt);
    Begin();
    bool bDone = true;
    try
    {
        Library().push_back(uByte);
    }
    catch (const std::bad_alloc&)
    {
        bDone = false;
    }
    m_trail.Same("whether it is in", bDone, Twin().PushBack(uByte) >= 0);
}

void CBlobRun::AssignBytes()
{
    Pick();
    const SBytes piece = Piece();
    const auto uCount = static_cast<unsigned int>(piece.meaning.size());
    m_trail.Step("Assign(%s, %u) to blob %u", piece.strName.c_str(), uCount, m_uAt);
    Begin();
    SameResult(Library().Assign(piece.pu, uCount), Twin().Assign(piece.meaning));
}

// Any text, and digits that stand in the blob itself; there and back it is the same in small letters.
void CBlobRun::AssignHex()
{
    Pick();
    const bool bDigits = m_bytes.Flag();
    std::string text;
    for (unsigned int u = m_bytes.Below(40); u != 0; --u)
        text += bDigits ? "0123456789abcdefABCDEF"[m_bytes.Below(22)] : static_cast<char>(m_bytes.Byte());
    const bool bInside = m_bytes.Rarely(3);
    m_trail.Step("AssignHex(%s) to blob %u%s", Quoted(text).c_str(), m_uAt, bInside ? ", from inside" : "");
    Begin();
    if (bInside)
    {
        const Bytes bytes(text.c_str(), text.c_str() + text.size() + 1);
        const QvResult res = Library().Assign(bytes.data(), static_cast<unsigned int>(bytes.size()));
        SameResult(res, Twin().Assign(bytes));
        if (res < 0) return;
    }
    const char* const pszText = bInside ? reinterpret_cast<const char*>(Library().begin()) : text.c_str();
    text.resize(std::strlen(text.c_str()));
    const QvResult res = Library().AssignHex(pszText);
    SameResult(res, Twin().AssignHex(text));
    if (res < 0) return;
    CString strHex;
    SameResult(Library().ToHex(&strHex), QV_RES_OK);
    for (char& rc : text) rc = static_cast<char>(std::tolower(rc));
    m_trail.True(text == std::string(strHex.begin(), strHex.end()), "the digits come back");
}

void CBlobRun::Erase()
{
    Pick();
    if (m_bytes.Rarely(4))
    {
        m_trail.Step("Clear of blob %u", m_uAt);
        Begin();
        Library().Clear();
        Twin().Clear();
        return;
    }
    const unsigned int uIndex = Index(Twin().GetSize());
    const unsigned int uCount = Index(Twin().GetSize());
    m_trail.Step("Erase(%u, %u) on blob %u", uIndex, uCount, m_uAt);
    Begin();
    Library().Erase(uIndex, uCount);
    Twin().Erase(uIndex, uCount);
}

void CBlobRun::Resize()
{
    Pick();
    const unsigned int uSize = Index(Twin().GetCapacity());
    if (m_bytes.Flag() && Twin().GetCapacity() != 0 && uSize <= Twin().GetCapacity())
    {
        m_trail.Step("Resize(the first byte + %u) on blob %u", uSize, m_uAt);
        Begin();
        // Not even the end of the storage can be given: the size stays one below the capacity.
        const QvResult res = Library().Resize(Library().GetFirstIndexPtr() + uSize);
        SameResult(res, uSize < Twin().GetCapacity() ? Twin().Resize(uSize) : QV_RES_INVALID_ARGUMENT);
    }
    else
    {
        m_trail.Step("Resize(%u) on blob %u", uSize, m_uAt);
        Begin();
        SameResult(Library().Resize(uSize), Twin().Resize(uSize));
    }
    m_trail.Same("the size", Library().GetSize(), Twin().GetSize());
    if (Twin().GetSize() <= Twin().GetKnown()) return;
    // What came in and was never written gets a value.
    const Bytes fill(Twin().GetSize() - Twin().GetKnown(), 0x55);
    std::memcpy(Library().GetFirstIndexPtr() + Twin().GetKnown(), fill.data(), fill.size());
    Twin().Overwrite(Twin().GetKnown(), fill);
}

void CBlobRun::Reserve()
{
    Pick();
    const unsigned int uCapacity = Index(Twin().GetCapacity() + 20);
    m_trail.Step("ReserveCapacity(%u) on blob %u", uCapacity, m_uAt);
    Begin();
    SameResult(Library().ReserveCapacity(uCapacity), Twin().Reserve(uCapacity));
}

void CBlobRun::Reduce()
{
    Pick();
    const unsigned int uCapacity = Index(Twin().GetCapacity());
    m_trail.Step("ReduceCapacity(%u) on blob %u", uCapacity, m_uAt);
    Begin();
    SameResult(Library().ReduceCapacity(uCapacity), Twin().Reduce(uCapacity));
}

void CBlobRun::WriteStorage()
{
    Pick();
    const unsigned int uFrom = m_bytes.Below(Twin().GetKnown() + 1);
    if (uFrom >= Twin().GetCapacity()) return;
    Bytes bytes(1 + m_bytes.Below(std::min(Twin().GetCapacity() - uFrom, 40u)));
    for (unsigned char& ru : bytes) ru = m_bytes.Byte();
    m_trail.Step("bytes %s written to the storage of blob %u from %u", Shown(bytes).c_str(), m_uAt, uFrom);
    std::memcpy(Library().GetFirstIndexPtr() + uFrom, bytes.data(), bytes.size());
    Twin().Overwrite(uFrom, bytes);
}

void CBlobRun::Read()
{
    Pick();
    const unsigned int uCount = Index(40);
    m_trail.Step("Read(%u) of blob %u", uCount, m_uAt);
    Begin();
    const auto puBuffer = std::make_unique<unsigned char[]>(uCount <= Twin().GetSize() ? uCount : 1);
    m_trail.True(Library().Read(nullptr, uCount) == nullptr, "no reading to null");
    const unsigned char* const pu = Library().Read(puBuffer.get(), uCount);
    Bytes want;
    const bool bRead = Twin().Read(uCount, want);
    m_trail.True((pu == puBuffer.get()) == bRead && (pu != nullptr) == bRead, "Read returns its buffer, or null");
    if (bRead && std::memcmp(pu, want.data(), want.size()) != 0)
        m_trail.Fail("%s was read, the twin reads %s", Shown(Bytes(pu, pu + uCount)).c_str(), Shown(want).c_str());
}

void CBlobRun::ReadNoCopy()
{
    Pick();
    const unsigned int uCount = Index(20);
    m_trail.Step("ReadNoCopy(%u) of blob %u", uCount, m_uAt);
    Begin();
    const unsigned char* const pu = Library().ReadNoCopy(uCount);
    const std::int64_t nIndex = Twin().ReadNoCopy(uCount);
    m_trail.Same("the index read in place", pu == nullptr ? -1 : pu - Library().GetFirstIndexPtr(), nIndex);
}

void CBlobRun::SetReadIndex()
{
    Pick();
    // The first byte often: there, an offset inside a byte is left without its byte.
    const unsigned int uIndex = m_bytes.Flag() ? 0 : Index(Twin().GetSize());
    m_trail.Step("SetReadIndex(%u) on blob %u", uIndex, m_uAt);
    Begin();
    SameResult(Library().SetReadIndex(uIndex), Twin().SetReadIndex(uIndex));
}

void CBlobRun::AppendBits()
{
    Pick();
    const unsigned int uCount = BitCount();
    const unsigned int uOffset = m_bytes.Below(8);
    const SBytes piece = Piece((uCount + uOffset + 7) / 8);
    m_trail.Step("AppendBits(%s, %u, %u) to blob %u", piece.strName.c_str(), uCount, uOffset, m_uAt);
    Begin();
    Library().AppendBits(piece.pu, uCount, uOffset);
    Twin().AppendBits(piece.meaning, uCount, uOffset);
}

void CBlobRun::ReadBits()
{
    Pick();
    unsigned int uCount = m_bytes.Rarely(10) ? Index(4000) : BitCount();
    const unsigned int uOffset = m_bytes.Below(8);
    m_trail.Step("ReadBits(%u, %u) of blob %u", uCount, uOffset, m_uAt);
    Begin();
    if (m_bytes.Rarely(20)) Library().ReadBits(nullptr, uCount, uOffset);
    const std::vector<bool> bits = Twin().ReadBits(uCount);
    // The buffer has no byte more than the bits that are there need.
    const std::size_t uBytes = bits.empty() ? 0 : (bits.size() + uOffset + 7) / 8;
    const auto puBuffer = std::make_unique<unsigned char[]>(uBytes);
    std::memset(puBuffer.get(), 0xAA, uBytes);
    Library().ReadBits(puBuffer.get(), uCount, uOffset);
    const Bytes got(puBuffer.get(), puBuffer.get() + uBytes);
    for (unsigned int i = 0; i < uBytes * 8; ++i)
    {
        const bool bWant = i < uOffset ? i % 2 == 0 : i - uOffset < bits.size() && bits[i - uOffset];
        if (CBlobTwin::BitOf(got, i) != bWant)
            m_trail.Fail("bit %u of %s is not that of the twin", i, Shown(got).c_str());
    }
}

void CBlobRun::ReadBitsIntoItself()
{
    Pick();
    const unsigned int uCount = BitCount();
    const unsigned int uOffset = m_bytes.Below(8);
    const unsigned int uTo = m_bytes.Below(Twin().GetSize() + 1);
    if (uTo + (uCount + uOffset + 7) / 8 > Twin().GetSize()) return;
    m_trail.Step("ReadBits(byte %u of the blob itself, %u, %u) of blob %u", uTo, uCount, uOffset, m_uAt);
    Begin();
    Library().ReadBits(Library().GetFirstIndexPtr() + uTo, uCount, uOffset);
    const std::vector<bool> bits = Twin().ReadBits(uCount);
    if (bits.empty()) return;
    Bytes bytes = Twin().GetBytes(uTo, static_cast<unsigned int>((bits.size() + uOffset + 7) / 8));
    for (unsigned int i = uOffset; i < bytes.size() * 8; ++i)
    {
        const unsigned int uMask = 0x80u >> i % 8;
        const bool bSet = i - uOffset < bits.size() && bits[i - uOffset];
        bytes[i / 8] = static_cast<unsigned char>(bSet ? bytes[i / 8] | uMask : bytes[i / 8] & ~uMask);
    }
    Twin().Overwrite(uTo, bytes);
}

void CBlobRun::PadBits()
{
    Pick();
    const unsigned int uCount = m_bytes.Rarely(20) ? 0xFFFFFFFF - m_bytes.Below(40) : BitCount();
    m_trail.Step("PadBits(%u) on blob %u", uCount, m_uAt);
    Begin();
    m_source.GetRequests().bOnwards = true;
    Library().PadBits(uCount);
    m_bMayAskLess = true;
    m_twinRequests.uRefuseIn = m_source.GetRequests().bRefused ? m_source.GetRequests().uGiven + 1 : 0;
    Twin().PadBits(uCount);
    m_trail.Same("whether memory ran out", m_source.GetRequests().bRefused, m_twinRequests.bRefused);
}

void CBlobRun::SkipBits()
{
    Pick();
    const unsigned int uCount = m_bytes.Rarely(8) ? Index(4000) : BitCount();
    m_trail.Step("SkipBits(%u) on blob %u", uCount, m_uAt);
    Begin();
    Library().SkipBits(uCount);
    Twin().SkipBits(uCount);
}

void CBlobRun::RealignRead()
{
    Pick();
    const unsigned int uAlignment = Alignment();
    m_trail.Step("RealignReadBits(%u) on blob %u", uAlignment, m_uAt);
    Begin();
    Library().RealignReadBits(uAlignment);
    Twin().RealignRead(uAlignment);
}

void CBlobRun::RealignAppend()
{
    Pick();
    const unsigned int uAlignment = Alignment();
    m_trail.Step("RealignAppendBits(%u) on blob %u", uAlignment, m_uAt);
    Begin();
    m_source.GetRequests().bOnwards = true;
    Library().RealignAppendBits(uAlignment);
    m_bMayAskLess = true;
    m_twinRequests.uRefuseIn = m_source.GetRequests().bRefused ? m_source.GetRequests().uGiven + 1 : 0;
    Twin().RealignAppend(uAlignment);
    m_trail.Same("whether memory ran out", m_source.GetRequests().bRefused, m_twinRequests.bRefused);
}

void CBlobRun::Serialise()
{
    Pick();
    m_trail.Step("blob %u through a marshaler into blob %u", m_uAt, m_uOther);
    Begin();
    const Bytes bytes = Twin().GetBytes(0, Twin().GetSize());
    CMarshaler marshaler;
    marshaler << Library() << static_cast<unsigned short>(0xBEEF);
    m_trail.Same("the bytes written", static_cast<long long>(marshaler.GetUnreadSize()),
                 static_cast<long long>(bytes.size() + 6));
    marshaler >> OtherLibrary();
    unsigned short uBehind = 0;
    marshaler >> uBehind;
    m_trail.Same("the number written behind the blob", uBehind, 0xBEEF);
    OtherTwin().TakeExtracted(bytes);
}

void CBlobRun::Run()
{
    using PFNOPERATION = void (CBlobRun::*)();
    static constexpr PFNOPERATION s_apfnOPERATIONS[] = {
        &CBlobRun::Construct,    &CBlobRun::ConstructCopy, &CBlobRun::Assign,
        &CBlobRun::Compare,      &CBlobRun::InsertBytes,   &CBlobRun::InsertBytes,
        &CBlobRun::InsertBlob,   &CBlobRun::Append,        &CBlobRun::Append,
        &CBlobRun::PushBack,     &CBlobRun::PushBack,      &CBlobRun::AssignBytes,
        &CBlobRun::AssignHex,    &CBlobRun::Erase,         &CBlobRun::Resize,
        &CBlobRun::Resize,       &CBlobRun::Reserve,       &CBlobRun::Reduce,
        &CBlobRun::WriteStorage, &CBlobRun::Read,          &CBlobRun::ReadNoCopy,
        &CBlobRun::SetReadIndex, &CBlobRun::AppendBits,    &CBlobRun::AppendBits,
        &CBlobRun::AppendBits,   &CBlobRun::ReadBits,      &CBlobRun::ReadBits,
        &CBlobRun::ReadBits,     &CBlobRun::PadBits,       &CBlobRun::ReadBitsIntoItself,
        &CBlobRun::SkipBits,     &CBlobRun::RealignRead,   &CBlobRun::RealignAppend,
        &CBlobRun::Serialise};
    for (unsigned int uStep = 0; uStep < 400 && !m_bytes.IsSpent(); ++uStep)
    {
        (this->*s_apfnOPERATIONS[m_bytes.Below(std::size(s_apfnOPERATIONS))])();
        Check();
    }
}
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* puData, std::size_t uSize)
{
    CBlobRun(puData, uSize).Run();
    return 0;
}
