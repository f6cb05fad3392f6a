// Random operations on a handful of strings that share blocks, own pieces and lack memory, beside a twin written from
// the contract: results, texts, capacities, share counts, who shares with whom, and every block that is out.
// Sources: tests/support/refusing_new.cpp
// Options: -max_len=3000
#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <vector>

#include "framework/basic/marshaler.h"
#include "framework/basic/vector.h"
#include "fuzz/models/string_twin.h"
#include "fuzz/models/trail.h"
#include "tests/support/refusing_new.h"
#include "tests/support/string_probe.h"

namespace
{
constexpr unsigned int g_uSTRINGS = 4;
constexpr unsigned int g_uWHOLE_TEXT = 65535;
constexpr unsigned int g_uANY_NUMBER = 0xFFFFFFFF;

/// A text as the caller of an operation has it: the pointer to hand over, and what it meant when it was handed over.
struct SText
{
    const char* psz = nullptr;
    std::string strMeaning;
    std::unique_ptr<char[]> pszOwned;  // exactly as long as it says, so that a byte too many is noticed
    std::string strName;
};

/// Whether the C library reads all of it as a number, and nothing in front of a digit or a minus sign.
bool IsNumber(const std::string& rText)
{
    const std::size_t uFirst = !rText.empty() && rText[0] == '-' ? 1 : 0;
    if (uFirst == rText.size() || rText.find_first_not_of("0123456789", uFirst) != std::string::npos) return false;
    errno = 0;
    std::strtoll(rText.c_str(), nullptr, 10);
    return errno == 0;
}

int SignOf(int n)
{
    return (n > 0) - (n < 0);
}

class CStringRun
{
public:
    CStringRun(const std::uint8_t* puData, std::size_t uSize) : m_bytes(puData, uSize)
    {
        CStringTwin::Memory() = CStringTwin::SMemory();
        for (unsigned int i = 0; i < g_uSTRINGS; ++i)
        {
            m_apLibrary[i] = std::make_unique<CStringProbe>();
            m_apTwin[i] = std::make_unique<CStringTwin>();
        }
    }

    void Run();

private:
    using PFNOPERATION = void (CStringRun::*)();

    // The operations.
    void Construct();
    void ConstructCounted();
    void CopyConstruct();
    void MoveConstruct();
    void Assign();
    void AssignMoved();
    void AssignText();
    void AssignCharacter();
    void Compare();
    void Twist();
    void CaseCompare();
    void Find();
    void WriteBuffer();
    void SetAt();
    void ToLowerCase();
    void InsertText();
    void InsertString();
    void InsertCharacter();
    void Erase();
    void EraseAll();
    void Trim();
    void Resize();
    void Reserve();
    void Reduce();
    void Add();
    void Concatenate();
    void Format();
    void FormatTwice();
    void Serialise();
    void Crowd();
    void AssignCounted();
    void AppendCounted();
    void PushBack();
    void Clear();
    void Search();
    void Substring();
    void TrimAny();
    void Replace();
    void ToUpperCase();
    void Split();
    void Number();

    // Arguments.
    unsigned int Index(std::uint64_t uLimit);
    char Character();
    std::string Letters();
    std::string Letters(unsigned int uSize);
    SText Terminated(unsigned int uString);
    SText Counted(unsigned int uString);
    unsigned int Repetition() { return m_bytes.Rarely(8) ? m_bytes.Below(5) : 1; }

    // Around one operation of the library and one of the twin.
    enum class ERefusal
    {
        eNTH,
        eALL
    };
    void BeginLibrary(ERefusal eRefusal = ERefusal::eNTH);
    void BeginUnrefused();
    void BeginTwin();
    void Check();
    void SameResult(QvResult resLibrary, QvResult resTwin) { m_trail.Same("the result", resLibrary, resTwin); }

    void Pick()
    {
        m_uAt = m_bytes.Below(g_uSTRINGS);
        m_uOther = m_bytes.Below(g_uSTRINGS);
        m_bOwnPiece = false;
    }
    CStringProbe& Library() { return *m_apLibrary[m_uAt]; }
    CStringTwin& Twin() { return *m_apTwin[m_uAt]; }
    CStringProbe& OtherLibrary() { return *m_apLibrary[m_uOther]; }
    CStringTwin& OtherTwin() { return *m_apTwin[m_uOther]; }
    void FillUnknown();
    /// A new string begins on the empty block: its NUL is a piece of its own, then.
    bool IsOfEmptyBlock(const SText& rText) const
    {
        return rText.psz != nullptr && rText.pszOwned == nullptr && m_apTwin[m_uOther]->GetBlock() == nullptr;
    }

    CStepBytes m_bytes;
    CTrail m_trail;
    std::unique_ptr<CStringProbe> m_apLibrary[g_uSTRINGS];
    std::unique_ptr<CStringTwin> m_apTwin[g_uSTRINGS];
    unsigned int m_uAt = 0;
    unsigned int m_uOther = 0;
    bool m_bOwnPiece = false;
    // The library takes memory in this form alone, and nobody else takes it in this form.
    const CNewRecord m_blocks{eNOTHROW_ARRAY};
    std::optional<CNewRecord> m_asked;  // since the operation began
    std::optional<CRefusingNew> m_refusing;
};

unsigned int CStringRun::Index(std::uint64_t uLimit)
{
    if (m_bytes.Rarely(16)) return m_bytes.Flag() ? 0xFFFFFFFF - m_bytes.Below(3) : m_bytes.Below(70000);
    return m_bytes.Below(uLimit + 2);
}

char CStringRun::Character()
{
    static const char s_acUsual[] = {'a', 'b', 'A', 'B', ' ', 'z', 'Z', '0'};
    return m_bytes.Rarely(12) ? static_cast<char>(m_bytes.Byte()) : s_acUsual[m_bytes.Below(sizeof s_acUsual)];
}

std::string CStringRun::Letters(unsigned int uSize)
{
    std::string strText;
    const unsigned int uDrawn = uSize < 24 ? uSize : 24;
    while (strText.size() < uDrawn)
    {
        const char c = Character();
        strText += c == '\0' ? 'n' : c;
    }
    for (std::size_t i = uDrawn; i < uSize; ++i) strText += static_cast<char>('a' + i % 23);
    return strText;
}

std::string CStringRun::Letters()
{
    unsigned int uSize = m_bytes.Below(12);
    if (m_bytes.Rarely(4)) uSize = m_bytes.Below(80);
    else if (m_bytes.Rarely(12)) uSize = 480 + m_bytes.Below(80);
    else if (m_bytes.Rarely(12)) uSize = 508 + m_bytes.Below(8);
    else if (m_bytes.Rarely(40)) uSize = (m_bytes.Flag() ? 65532 : 32764) + m_bytes.Below(8);
    return Letters(uSize);
}

SText CStringRun::Terminated(unsigned int uString)
{
    SText text;
    const unsigned int uKind = m_bytes.Below(8);
    if (uKind == 7)
    {
        text.strName = "null";
        return text;
    }
    const CStringTwin& rTwin = *m_apTwin[uString];
    if (uKind >= 5)
    {
        // A piece of a string's block; behind its size only as far as it is known and ends.
        unsigned int uFrom = m_bytes.Below(uKind == 6 ? rTwin.GetKnown() : rTwin.GetSize() + 1);
        if (std::memchr(rTwin.GetBytes() + uFrom, 0, rTwin.GetKnown() - uFrom) == nullptr) uFrom = rTwin.GetSize();
        text.psz = m_apLibrary[uString]->CStr() + uFrom;
        m_bOwnPiece = rTwin.GetBlock() == Twin().GetBlock();
        text.strMeaning = rTwin.GetBytes() + uFrom;
        text.strName = "string " + std::to_string(uString) + " from " + std::to_string(uFrom) + " = ";
    }
    else
    {
        text.strMeaning = Letters();
        text.pszOwned = std::make_unique<char[]>(text.strMeaning.size() + 1);
        std::memcpy(text.pszOwned.get(), text.strMeaning.c_str(), text.strMeaning.size() + 1);
        text.psz = text.pszOwned.get();
    }
    text.strName += Quoted(text.strMeaning);
    return text;
}

SText CStringRun::Counted(unsigned int uString)
{
    SText text;
    const CStringTwin& rTwin = *m_apTwin[uString];
    if (m_bytes.Below(3) == 2)
    {
        const unsigned int uFrom = m_bytes.Below(rTwin.GetKnown());
        text.psz = m_apLibrary[uString]->CStr() + uFrom;
        m_bOwnPiece = rTwin.GetBlock() == Twin().GetBlock();
        text.strMeaning.assign(rTwin.GetBytes() + uFrom, m_bytes.Below(rTwin.GetKnown() - uFrom + 1));
        text.strName = "string " + std::to_string(uString) + " from " + std::to_string(uFrom) + " = ";
    }
    else
    {
        text.strMeaning = Letters();
        for (char& rc : text.strMeaning)
            if (rc == 'z') rc = '\0';
        text.pszOwned = std::make_unique<char[]>(text.strMeaning.size());
        std::memcpy(text.pszOwned.get(), text.strMeaning.data(), text.strMeaning.size());
        text.psz = text.pszOwned.get();
    }
    // This count would mean the length of the text, which has no end here.
    if (text.strMeaning.size() == g_uWHOLE_TEXT) text.strMeaning.pop_back();
    text.strName += Quoted(text.strMeaning);
    return text;
}

void CStringRun::BeginLibrary(ERefusal eRefusal)
{
    unsigned int uNth = m_bytes.Rarely(5) ? 1 + m_bytes.Below(3) : 0;
    if (eRefusal == ERefusal::eALL && uNth != 0) uNth = 1;
    if (uNth != 0) m_trail.Note(", refusing request " + std::to_string(uNth));
    BeginUnrefused();
    if (uNth != 0)
        m_refusing.emplace(uNth - 1, eNOTHROW_ARRAY,
                           eRefusal == ERefusal::eALL ? ERefused::eALL_BEHIND : ERefused::eONE);
}

void CStringRun::BeginUnrefused()
{
    m_refusing.reset();
    m_asked.reset();
    m_asked.emplace(eNOTHROW_ARRAY);
}

void CStringRun::BeginTwin()
{
    CStringTwin::Memory().bRefuses = m_refusing.has_value() && m_refusing->HasRefused();
    m_refusing.reset();
    CStringTwin::Memory().uWanted = 0;
    CStringTwin::Memory().bOwnPiece = m_bOwnPiece;
    m_bOwnPiece = false;
}

void CStringRun::Check()
{
    CStringTwin::SMemory& rMemory = CStringTwin::Memory();
    if (rMemory.bRefuses && rMemory.uWanted == 0) m_trail.Fail("memory was asked for where none is needed");
    const std::size_t uAsked = m_asked.has_value() ? m_asked->GetRequests().size() : 0;
    if (uAsked > rMemory.uWanted && !rMemory.bRefuses)
        m_trail.Fail("%zu requests for memory, the twin makes %u", uAsked, rMemory.uWanted);
    rMemory.bRefuses = false;
    BeginUnrefused();
    for (unsigned int i = 0; i < g_uSTRINGS; ++i)
    {
        CStringProbe& rLibrary = *m_apLibrary[i];
        const CStringTwin& rTwin = *m_apTwin[i];
        char szWhat[40];
        std::snprintf(szWhat, sizeof szWhat, "the size of string %u", i);
        m_trail.Same(szWhat, rLibrary.GetSize(), rTwin.GetSize());
        std::snprintf(szWhat, sizeof szWhat, "the capacity of string %u", i);
        m_trail.Same(szWhat, rLibrary.GetCapacity(), rTwin.GetCapacity());
        std::snprintf(szWhat, sizeof szWhat, "the share count of string %u", i);
        m_trail.Same(szWhat, rLibrary.GetRefCount(), rTwin.GetShares());
        if (std::memcmp(rLibrary.CStr(), rTwin.GetBytes(), rTwin.GetKnown()) != 0)
            m_trail.Fail("string %u is %s, the twin has %s", i,
                         Quoted(std::string(rLibrary.CStr(), rTwin.GetKnown())).c_str(),
                         Quoted(std::string(rTwin.GetBytes(), rTwin.GetKnown())).c_str());
        if (TESTS_OWN_OPERATOR_NEW && rTwin.GetBlock() != nullptr)
            m_trail.Same("the length of the block",
                         static_cast<long long>(m_blocks.GetSizeOf(rLibrary.CStr() - sizeof(SStringHeader))),
                         rTwin.GetCapacity() + 8);
        for (unsigned int j = 0; j < i; ++j)
            if ((rLibrary.CStr() == m_apLibrary[j]->CStr()) != (rTwin.GetBlock() == m_apTwin[j]->GetBlock()))
                m_trail.Fail("strings %u and %u %s a block, in the twin it is the other way", j, i,
                             rTwin.GetBlock() == m_apTwin[j]->GetBlock() ? "do not share" : "share");
    }
    if (TESTS_OWN_OPERATOR_NEW)
        m_trail.Same("the number of blocks that are out", static_cast<long long>(m_blocks.GetLiveBlocks()),
                     static_cast<long long>(rMemory.uLive));
}

void CStringRun::Construct()
{
    Pick();
    const SText text = Terminated(m_uOther);
    m_trail.Step("string %u = CString(%s)", m_uAt, text.strName.c_str());
    m_bOwnPiece = IsOfEmptyBlock(text);
    BeginLibrary();
    auto pLibrary = std::make_unique<CStringProbe>(text.psz);
    BeginTwin();
    auto pTwin = std::make_unique<CStringTwin>();
    pTwin->Assign(text.strMeaning);
    m_apLibrary[m_uAt] = std::move(pLibrary);
    m_apTwin[m_uAt] = std::move(pTwin);
}

void CStringRun::ConstructCounted()
{
    Pick();
    const SText text = Counted(m_uOther);
    m_trail.Step("string %u = CString(%s, %zu)", m_uAt, text.strName.c_str(), text.strMeaning.size());
    m_bOwnPiece = IsOfEmptyBlock(text);
    const auto uSize = static_cast<unsigned int>(text.strMeaning.size());
    BeginLibrary();
    auto pLibrary = std::make_unique<CStringProbe>(text.psz, uSize);
    BeginTwin();
    auto pTwin = std::make_unique<CStringTwin>();
    pTwin->Insert(0, 1, text.strMeaning, uSize);
    m_apLibrary[m_uAt] = std::move(pLibrary);
    m_apTwin[m_uAt] = std::move(pTwin);
}

void CStringRun::CopyConstruct()
{
    Pick();
    m_trail.Step("string %u = CString(string %u)", m_uAt, m_uOther);
    BeginLibrary();
    auto pLibrary = std::make_unique<CStringProbe>(OtherLibrary());
    BeginTwin();
    m_apTwin[m_uAt] = std::make_unique<CStringTwin>(OtherTwin());
    m_apLibrary[m_uAt] = std::move(pLibrary);
}

void CStringRun::MoveConstruct()
{
    Pick();
    m_trail.Step("string %u = CString(moved string %u)", m_uAt, m_uOther);
    BeginLibrary();
    auto pLibrary = std::make_unique<CStringProbe>(std::move(OtherLibrary()));
    BeginTwin();
    auto pTwin = std::make_unique<CStringTwin>(std::move(OtherTwin()));
    m_apLibrary[m_uAt] = std::move(pLibrary);
    m_apTwin[m_uAt] = std::move(pTwin);
}

void CStringRun::Assign()
{
    Pick();
    m_trail.Step("string %u = string %u", m_uAt, m_uOther);
    BeginLibrary();
    Library() = static_cast<const CString&>(OtherLibrary());
    BeginTwin();
    Twin() = OtherTwin();
}

void CStringRun::AssignMoved()
{
    Pick();
    m_trail.Step("string %u = moved string %u", m_uAt, m_uOther);
    BeginLibrary();
    Library() = static_cast<CString&&>(OtherLibrary());
    BeginTwin();
    Twin() = std::move(OtherTwin());
}

void CStringRun::AssignText()
{
    Pick();
    const SText text = Terminated(m_uOther);
    m_trail.Step("string %u = %s", m_uAt, text.strName.c_str());
    BeginLibrary();
    Library() = text.psz;
    BeginTwin();
    Twin().Assign(text.strMeaning);
}

void CStringRun::AssignCharacter()
{
    Pick();
    const char c = Character();
    m_trail.Step("string %u = character %d", m_uAt, c);
    BeginLibrary();
    Library() = c;
    BeginTwin();
    Twin().AssignCharacter(c);
}

void CStringRun::Compare()
{
    Pick();
    const SText text = Terminated(m_uOther);
    m_trail.Step("string %u compared with string %u and with %s", m_uAt, m_uOther, text.strName.c_str());
    BeginLibrary();
    const CStringProbe& rLibrary = Library();
    const CStringProbe& rOther = OtherLibrary();
    const bool bEqual = rLibrary == static_cast<const CString&>(rOther);
    const bool bEqualText = rLibrary == text.psz;
    const bool bLess = rLibrary < rOther;
    m_trail.True((rLibrary != static_cast<const CString&>(rOther)) == !bEqual, "!= and == agree with each other");
    m_trail.True((rLibrary != text.psz) == !bEqualText, "!= and == agree with each other about a text");
    BeginTwin();
    m_trail.Same("equality of strings", bEqual, Twin().Equals(OtherTwin()));
    m_trail.Same("equality with a text", bEqualText, Twin().Equals(text.strMeaning));
    m_trail.Same("the order", bLess, Twin().IsLess(OtherTwin()));
    m_trail.Same("the comparison", SignOf(rLibrary.Compare(rOther)), Twin().Compare(OtherTwin().GetText()));
    m_trail.Same("the comparison with a text", SignOf(rLibrary.Compare(text.psz)), Twin().Compare(text.strMeaning));
}

/// A copy that differs in one character, often behind a NUL.
void CStringRun::Twist()
{
    Pick();
    if (m_uAt == m_uOther || Twin().GetSize() == 0) return;
    const unsigned int uAt = m_bytes.Below(Twin().GetSize());
    const unsigned int uNul = m_bytes.Below(uAt + 1);
    const char c = Character();
    m_trail.Step("string %u = string %u with NUL at %u; and with character %d at %u", m_uOther, m_uAt, uNul, c, uAt);
    BeginUnrefused();
    Library().SetAt(uNul, '\0');
    OtherLibrary() = static_cast<const CString&>(Library());
    OtherLibrary().SetAt(uAt, c);
    const bool bEqual = Library() == static_cast<const CString&>(OtherLibrary());
    BeginTwin();
    Twin().SetAt(uNul, '\0');
    OtherTwin() = Twin();
    OtherTwin().SetAt(uAt, c);
    m_trail.Same("equality", bEqual, Twin().Equals(OtherTwin()));
}

void CStringRun::CaseCompare()
{
    Pick();
    const SText text = Terminated(m_uOther);
    if (text.psz == nullptr) return;
    m_trail.Step("CaseInsCmp of string %u with %s", m_uAt, text.strName.c_str());
    BeginLibrary();
    const int nLibrary = Library().CaseInsCmp(text.psz);
    BeginTwin();
    m_trail.Same("the result", nLibrary, Twin().CaseCompare(text.strMeaning.c_str()));
}

void CStringRun::Find()
{
    Pick();
    const SText text = Terminated(m_uOther);
    const unsigned int uStart = Index(Twin().GetSize());
    m_trail.Step("FindSubstring(%u, %s) in string %u", uStart, text.strName.c_str(), m_uAt);
    BeginLibrary();
    const unsigned int uFound = Library().FindSubstring(uStart, text.psz);
    BeginTwin();
    m_trail.Same("the index found", uFound, Twin().Find(uStart, text.strMeaning));
}

void CStringRun::WriteBuffer()
{
    Pick();
    m_trail.Step("GetBuffer of string %u", m_uAt);
    BeginLibrary();
    char* const pcBuffer = Library().GetBuffer();
    BeginTwin();
    const bool bPrivate = Twin().GetBuffer();
    m_trail.Same("whether there is a buffer", pcBuffer != nullptr, bPrivate);
    if (!bPrivate) return;
    m_trail.True(pcBuffer == Library().CStr(), "the buffer is the text's own");
    const unsigned int uRoom = Twin().GetCapacity();
    const unsigned int uSize = Twin().GetSize();
    const unsigned int uFrom = m_bytes.Below(Twin().GetKnown());
    if (uFrom >= uRoom) return;
    std::string strBytes = Letters(1 + m_bytes.Below(uRoom - uFrom));
    if (m_bytes.Flag()) strBytes.back() = '\0';
    if (uFrom <= uSize && uSize - uFrom < strBytes.size()) strBytes[uSize - uFrom] = '\0';
    m_trail.Note(", then from " + std::to_string(uFrom) + " " + Quoted(strBytes));
    std::memcpy(pcBuffer + uFrom, strBytes.data(), strBytes.size());
    Twin().Overwrite(uFrom, strBytes);
}

void CStringRun::SetAt()
{
    Pick();
    const unsigned int uIndex = Index(Twin().GetSize());
    const char c = Character();
    m_trail.Step("SetAt(%u, character %d) on string %u", uIndex, c, m_uAt);
    BeginLibrary();
    Library().SetAt(uIndex, c);
    BeginTwin();
    Twin().SetAt(uIndex, c);
}

void CStringRun::ToLowerCase()
{
    Pick();
    m_trail.Step("ToLowerCase of string %u", m_uAt);
    BeginLibrary();
    Library().ToLowerCase();
    BeginTwin();
    Twin().ToLowerCase();
}

void CStringRun::InsertText()
{
    Pick();
    const bool bWhole = m_bytes.Flag();
    const SText text = bWhole ? Terminated(m_uOther) : Counted(m_uOther);
    const unsigned int uIndex = Index(Twin().GetSize());
    unsigned int uRepetition = Repetition();
    if (m_bytes.Rarely(30)) uRepetition = m_bytes.Flag() ? 0xFFFFFFFF : 0x80000000;
    const unsigned int uSize = bWhole ? g_uWHOLE_TEXT : static_cast<unsigned int>(text.strMeaning.size());
    m_trail.Step("Insert(%u, %u, %s, %u) into string %u", uIndex, uRepetition, text.strName.c_str(), uSize, m_uAt);
    BeginLibrary();
    const QvResult res = Library().Insert(uIndex, uRepetition, text.psz, uSize);
    BeginTwin();
    SameResult(res, Twin().Insert(uIndex, uRepetition, text.strMeaning, uSize));
}

void CStringRun::InsertString()
{
    Pick();
    const unsigned int uIndex = Index(Twin().GetSize());
    const unsigned int uRepetition = Repetition();
    const unsigned int uStart = Index(OtherTwin().GetSize());
    const std::uint64_t uLeft = uStart < OtherTwin().GetSize() ? OtherTwin().GetSize() - uStart : 0;
    const unsigned int uSize = m_bytes.Flag() ? static_cast<unsigned int>(uLeft) : Index(uLeft);
    m_trail.Step("Insert(%u, %u, string %u, %u, %u) into string %u", uIndex, uRepetition, m_uOther, uStart, uSize,
                 m_uAt);
    const std::string strSource = OtherTwin().GetText();
    m_bOwnPiece = OtherTwin().GetBlock() == Twin().GetBlock();
    BeginLibrary();
    const QvResult res = Library().Insert(uIndex, uRepetition, OtherLibrary(), uStart, uSize);
    BeginTwin();
    if (std::uint64_t{uStart} + uSize > strSource.size()) SameResult(res, QV_RES_INVALID_ARGUMENT);
    else
    {
        // So many characters mean the length of the text, here too.
        std::string strPiece = strSource.substr(uStart, uSize);
        if (uSize == g_uWHOLE_TEXT) strPiece = strPiece.substr(0, strPiece.find('\0'));
        SameResult(res, Twin().Insert(uIndex, uRepetition, strPiece, uSize));
    }
}

void CStringRun::InsertCharacter()
{
    Pick();
    const unsigned int uIndex = Index(Twin().GetSize());
    unsigned int uRepetition = m_bytes.Below(40);
    if (m_bytes.Rarely(8)) uRepetition = Index(65535);
    else if (m_bytes.Rarely(12)) uRepetition = 65534 - Twin().GetSize() + m_bytes.Below(3);
    const char c = Character();
    m_trail.Step("Insert(%u, %u, character %d) into string %u", uIndex, uRepetition, c, m_uAt);
    BeginLibrary();
    const QvResult res = Library().Insert(uIndex, uRepetition, c);
    BeginTwin();
    SameResult(res, Twin().Insert(uIndex, uRepetition, std::string(1, c), 1));
}

void CStringRun::Erase()
{
    Pick();
    const unsigned int uIndex = Index(Twin().GetSize());
    const unsigned int uCount = Index(uIndex < Twin().GetSize() ? Twin().GetSize() - uIndex : 0);
    m_trail.Step("Erase(%u, %u) on string %u", uIndex, uCount, m_uAt);
    BeginLibrary();
    Library().Erase(uIndex, uCount);
    BeginTwin();
    Twin().Erase(uIndex, uCount);
}

void CStringRun::EraseAll()
{
    Pick();
    m_trail.Step("EraseAll on string %u", m_uAt);
    BeginLibrary();
    Library().EraseAll();
    BeginTwin();
    Twin().Erase(0, Twin().GetSize());
}

void CStringRun::Trim()
{
    Pick();
    const bool bLeft = m_bytes.Flag();
    char c = Character();
    if (Twin().GetSize() != 0 && m_bytes.Flag())
        c = bLeft ? Twin().GetBytes()[0] : Twin().GetBytes()[Twin().GetSize() - 1];
    m_trail.Step("%s(character %d) on string %u", bLeft ? "TrimLeftSide" : "TrimRightSide", c, m_uAt);
    BeginLibrary();
    if (bLeft) Library().TrimLeftSide(c);
    else Library().TrimRightSide(c);
    BeginTwin();
    if (bLeft) Twin().TrimLeft(c);
    else Twin().TrimRight(c);
}

/// Characters that came in by a growing size and that nobody has written yet get a value.
void CStringRun::FillUnknown()
{
    const unsigned int uKnown = Twin().GetKnown();
    if (uKnown > Twin().GetSize()) return;
    const std::string strFill(Twin().GetSize() + 1 - uKnown, '\0');
    std::string strLetters = strFill;
    for (std::size_t i = 0; i + 1 < strLetters.size(); ++i) strLetters[i] = 'u';
    std::memcpy(Library().GetBuffer() + uKnown, strLetters.data(), strLetters.size() - 1);
    Twin().Overwrite(uKnown, strLetters);
}

void CStringRun::Resize()
{
    Pick();
    const unsigned int uSize = Index(Twin().GetCapacity());
    m_trail.Step("Resize(%u) on string %u", uSize, m_uAt);
    BeginLibrary();
    Library().Resize(uSize);
    BeginTwin();
    Twin().Resize(uSize);
    m_trail.Same("the size", Library().GetSize(), Twin().GetSize());
    FillUnknown();
}

void CStringRun::Reserve()
{
    Pick();
    const auto uCapacity =
        static_cast<unsigned short>(m_bytes.Rarely(20) ? m_bytes.Number<std::uint32_t>() : m_bytes.Below(200));
    m_trail.Step("ReserveCapacity(%u) on string %u", uCapacity, m_uAt);
    BeginLibrary();
    const QvResult res = Library().ReserveCapacity(uCapacity);
    BeginTwin();
    SameResult(res, Twin().Reserve(uCapacity));
}

void CStringRun::Reduce()
{
    Pick();
    const auto uCapacity = static_cast<unsigned short>(m_bytes.Below(Twin().GetCapacity() + 2));
    m_trail.Step("ReduceCapacity(%u) on string %u", uCapacity, m_uAt);
    BeginLibrary();
    const QvResult res = Library().ReduceCapacity(uCapacity);
    BeginTwin();
    SameResult(res, Twin().Reduce(uCapacity));
}

void CStringRun::Add()
{
    Pick();
    switch (m_bytes.Below(3))
    {
        case 0:
        {
            m_trail.Step("string %u += string %u", m_uAt, m_uOther);
            m_bOwnPiece = OtherTwin().GetBlock() == Twin().GetBlock();
            const std::string strRight = OtherTwin().GetText();
            BeginLibrary();
            Library() += OtherLibrary();
            BeginTwin();
            // A text of this many characters means its length.
            const std::string strMeant =
                strRight.size() == g_uWHOLE_TEXT ? strRight.substr(0, strRight.find('\0')) : strRight;
            Twin().Insert(Twin().GetSize(), 1, strMeant, strRight.size());
            break;
        }
        case 1:
        {
            const SText text = Terminated(m_uOther);
            m_trail.Step("string %u += %s", m_uAt, text.strName.c_str());
            BeginLibrary();
            Library() += text.psz;
            BeginTwin();
            Twin().Insert(Twin().GetSize(), 1, text.strMeaning, g_uWHOLE_TEXT);
            break;
        }
        default:
        {
            const char c = Character();
            m_trail.Step("string %u += character %d", m_uAt, c);
            BeginLibrary();
            Library() += c;
            BeginTwin();
            Twin().Insert(Twin().GetSize(), 1, std::string(1, c), 1);
        }
    }
}

void CStringRun::Concatenate()
{
    Pick();
    const unsigned int uTo = m_bytes.Below(g_uSTRINGS);
    const unsigned int uKind = m_bytes.Below(5);
    static const char* const s_apszName[] = {"string + string", "string + text", "string + character", "text + string",
                                             "character + string"};
    const SText text = Terminated(m_uOther);
    const char c = Character();
    m_trail.Step("string %u = %s; left %u, right %u, character %d, text %s", uTo, s_apszName[uKind], m_uAt, m_uOther, c,
                 text.strName.c_str());
    // The copy of the left one shares its block.
    if (uKind == 0) m_bOwnPiece = Twin().GetBlock() == OtherTwin().GetBlock();
    else if (uKind != 1) m_bOwnPiece = IsOfEmptyBlock(text);
    BeginLibrary(ERefusal::eALL);
    std::unique_ptr<CStringProbe> pLibrary;
    const CString& rLeft = Library();
    const CString& rRight = OtherLibrary();
    switch (uKind)
    {
        case 0: pLibrary = std::make_unique<CStringProbe>(rLeft + rRight); break;
        case 1: pLibrary = std::make_unique<CStringProbe>(rLeft + text.psz); break;
        case 2: pLibrary = std::make_unique<CStringProbe>(rLeft + c); break;
        case 3: pLibrary = std::make_unique<CStringProbe>(text.psz + rRight); break;
        default: pLibrary = std::make_unique<CStringProbe>(c + rRight);
    }
    BeginTwin();
    auto pTwin = std::make_unique<CStringTwin>();
    if (uKind < 3) *pTwin = Twin();
    else if (uKind == 3) pTwin->Assign(text.strMeaning);
    else pTwin->AssignCharacter(c);
    if (uKind == 1) pTwin->Insert(pTwin->GetSize(), 1, text.strMeaning, g_uWHOLE_TEXT);
    else if (uKind == 2) pTwin->Insert(pTwin->GetSize(), 1, std::string(1, c), 1);
    else
    {
        const std::string strRight = OtherTwin().GetText();
        const std::string strMeant =
            strRight.size() == g_uWHOLE_TEXT ? strRight.substr(0, strRight.find('\0')) : strRight;
        pTwin->Insert(pTwin->GetSize(), 1, strMeant, strRight.size());
    }
    m_apLibrary[uTo] = std::move(pLibrary);
    m_apTwin[uTo] = std::move(pTwin);
}

/// The whole text, by the C library; false when it cannot be formatted.
bool FormatWhole(std::string& rstrText, const char* pszFormat, va_list args)
{
    va_list copy;
    va_copy(copy, args);
    const int nSize = std::vsnprintf(nullptr, 0, pszFormat, copy);
    va_end(copy);
    if (nSize < 0) return false;
    std::vector<char> buffer(static_cast<std::size_t>(nSize) + 1);
    std::vsnprintf(buffer.data(), buffer.size(), pszFormat, args);
    rstrText.assign(buffer.data(), static_cast<std::size_t>(nSize));
    return true;
}

bool FormatWholeOf(std::string& rstrText, const char* pszFormat, ...)
{
    va_list args;
    va_start(args, pszFormat);
    const bool bDone = FormatWhole(rstrText, pszFormat, args);
    va_end(args);
    return bDone;
}

/// Each of them takes an int, a text and an unsigned in front of what it ignores.
const char* const g_apszFORMATS[] = {"%d%s%u", "%d [%s] %x", "%05d%.3s", "%*s|%u", "%.0d%s", "%d", "", "%lc", "%%"};

void CStringRun::Format()
{
    Pick();
    const unsigned int uStart = m_bytes.Flag() ? Twin().GetSize() : Index(Twin().GetSize());
    const char* pszFormat = g_apszFORMATS[m_bytes.Below(std::size(g_apszFORMATS))];
    if (m_bytes.Rarely(20)) pszFormat = nullptr;
    int nFirst = static_cast<int>(m_bytes.Below(8) == 7 ? m_bytes.Below(40) : 0);
    if (m_bytes.Rarely(20)) nFirst = 400 + static_cast<int>(m_bytes.Below(300));
    if (m_bytes.Rarely(200)) nFirst = 32000 + static_cast<int>(m_bytes.Below(1000));
    // No character of the C locale: formatting fails.
    const bool bWide = pszFormat != nullptr && std::strcmp(pszFormat, "%lc") == 0;
    if (bWide && m_bytes.Flag()) nFirst = 0x20AC;
    const SText text = Terminated(m_bytes.Flag() ? m_uAt : m_uOther);
    const unsigned int uLast = m_bytes.Below(3000);
    m_trail.Step("Format(%u, %s%s%s, %d, %s, %u) on string %u", uStart, pszFormat == nullptr ? "" : "\"",
                 pszFormat == nullptr ? "null" : pszFormat, pszFormat == nullptr ? "" : "\"", nFirst,
                 text.strName.c_str(), uLast, m_uAt);
    const char* const pszMeant = text.psz == nullptr ? nullptr : text.strMeaning.c_str();
    std::string strWhole;
    const bool bFormats = FormatWholeOf(strWhole, pszFormat == nullptr ? "" : pszFormat, nFirst, pszMeant, uLast);
    const bool bStartsShared = Twin().GetShares() > 1;
    BeginLibrary(ERefusal::eALL);
    const QvResult res = Library().Format(uStart, pszFormat, nFirst, text.psz, uLast);
    BeginTwin();
    const std::string strBefore = Twin().GetText();
    const bool bRefused = CStringTwin::Memory().bRefuses;
    const QvResult resTwin =
        uStart <= strBefore.size() && !bFormats ? QV_RES_FAIL : Twin().CanFormat(uStart, strWhole.size());
    // Of two reasons to fail either may be told.
    if (!bRefused || res != resTwin || res == QV_RES_OK) SameResult(res, bRefused ? QV_RES_OUT_OF_MEMORY : resTwin);
    if (uStart > strBefore.size()) return;
    // Formatting needs room of its own when texts are cut or come from the string itself.
    CStringTwin::Memory().uWanted = g_uANY_NUMBER;
    if (res == QV_RES_OK)
    {
        Twin().Format(uStart, strWhole);
        CStringTwin::Memory().uWanted = g_uANY_NUMBER;
        return;
    }
    // Which room it had before it failed is open, the text is not: up to the start, or whole if it had to stay shared.
    const std::string strCut = strBefore.substr(0, uStart);
    const std::string strGot = TextOf(Library());
    if (strGot != strCut && !(bRefused && bStartsShared && strGot == strBefore))
        m_trail.Fail("a failed Format left %s of %s", Quoted(strGot).c_str(), Quoted(strBefore).c_str());
    m_trail.True(Library().GetCapacity() >= strGot.size(), "the capacity holds the text");
    if (Library().GetRefCount() <= 1) Twin().Become(strGot, Library().GetCapacity(), Library().GetRefCount() == 0);
}

/// One list of arguments, formatted from twice: the caller's list is not used up.
QvResult FormatBoth(CString& rFirst, CString& rSecond, unsigned int uStart, const char* pszFormat, ...)
{
    va_list args;
    va_start(args, pszFormat);
    const QvResult resFirst = rFirst.Format(uStart, pszFormat, args);
    const QvResult resSecond = rSecond.Format(0u, pszFormat, args);
    va_end(args);
    return resFirst < 0 ? resFirst : resSecond;
}

void CStringRun::FormatTwice()
{
    Pick();
    const unsigned int uStart = m_bytes.Below(Twin().GetSize() + 1);
    const SText text = Terminated(m_uOther);
    if (text.psz == nullptr || m_uAt == m_uOther || Twin().CanFormat(uStart, text.strMeaning.size() + 5) != QV_RES_OK ||
        OtherTwin().CanFormat(0, text.strMeaning.size() + 5) != QV_RES_OK)
        return;
    const std::string strText = text.strMeaning;
    m_trail.Step("Format with one va_list on string %u from %u, then on string %u: %%s-%%d with %s", m_uAt, uStart,
                 m_uOther, text.strName.c_str());
    BeginUnrefused();
    const QvResult res = FormatBoth(Library(), OtherLibrary(), uStart, "%s-%d", strText.c_str(), 4711);
    BeginTwin();
    const std::string strWhole = strText + "-4711";
    SameResult(res, QV_RES_OK);
    Twin().Format(uStart, strWhole);
    OtherTwin().Format(0, strWhole);
    CStringTwin::Memory().uWanted = g_uANY_NUMBER;
}

void CStringRun::Serialise()
{
    Pick();
    m_trail.Step("string %u through a marshaler into string %u", m_uAt, m_uOther);
    CMarshaler marshaler;
    BeginUnrefused();
    const std::string strText = Twin().GetText();
    marshaler << static_cast<const CString&>(Library()) << static_cast<unsigned short>(0xBEEF);
    m_trail.Same("the bytes written", static_cast<long long>(marshaler.GetUnreadSize()),
                 static_cast<long long>(strText.size() + 4));
    BeginLibrary(ERefusal::eALL);
    marshaler >> static_cast<CString&>(OtherLibrary());
    BeginTwin();
    unsigned short uBehind = 0;
    marshaler >> uBehind;
    m_trail.Same("the number written behind the string", uBehind, 0xBEEF);
    marshaler.Clear();
    // The free segments go back, so that only strings have blocks.
    CPool<CMarshaler>::Uninitialize();
    CPool<CMarshaler>::Initialize(true, 0, false, nullptr);
    if (OtherTwin().TakeExtracted(strText)) return;
    m_trail.Same("the size after a refused extraction", OtherLibrary().GetSize(), 0);
    m_trail.True(OtherLibrary().GetRefCount() <= 1, "a string that could not be extracted does not change the others");
    OtherTwin().Become("", OtherLibrary().GetCapacity(), OtherLibrary().GetRefCount() == 0);
}

/// So many copies that the count is full.
void CStringRun::Crowd()
{
    Pick();
    if (Twin().GetShares() == 0) return;
    m_trail.Step("copies of string %u until its count is full", m_uAt);
    BeginUnrefused();
    std::vector<CString> crowd;
    crowd.reserve(65535);
    while (Library().GetRefCount() < 65535) crowd.push_back(Library());
    {
        const CStringProbe one(static_cast<const CString&>(Library()));
        m_trail.True(one.CStr() != Library().CStr(), "a copy beyond the full count has a block of its own");
        m_trail.True(TextOf(one) == Twin().GetText(), "a copy beyond the full count has the text");
        m_trail.Same("the full count", Library().GetRefCount(), 65535);
    }
    crowd.clear();
    BeginTwin();
    CStringTwin::Memory().uWanted = 1;
}

void CStringRun::AssignCounted()
{
    Pick();
    const SText text = Counted(m_uOther);
    m_trail.Step("Assign(%s, %zu) to string %u", text.strName.c_str(), text.strMeaning.size(), m_uAt);
    BeginLibrary();
    const QvResult res = Library().Assign(text.psz, static_cast<unsigned int>(text.strMeaning.size()));
    BeginTwin();
    SameResult(res, Twin().AssignCounted(text.strMeaning));
}

void CStringRun::AppendCounted()
{
    Pick();
    const bool bTerminated = m_bytes.Flag();
    const SText text = bTerminated ? Terminated(m_uOther) : Counted(m_uOther);
    m_trail.Step("Append(%s, %zu) to string %u", text.strName.c_str(), text.strMeaning.size(), m_uAt);
    BeginLibrary();
    const QvResult res = bTerminated ? Library().Append(text.psz)
                                     : Library().Append(text.psz, static_cast<unsigned int>(text.strMeaning.size()));
    BeginTwin();
    SameResult(res, Twin().AppendCounted(text.strMeaning));
}

void CStringRun::PushBack()
{
    Pick();
    const char c = Character();
    m_trail.Step("push_back(character %d) on string %u", c, m_uAt);
    BeginLibrary(ERefusal::eALL);
    bool bDone = true;
    try
    {
        Library().push_back(c);
    }
    catch (const std::bad_alloc&)
    {
        bDone = false;
    }
    BeginTwin();
    m_trail.Same("whether it is in", bDone, Twin().PushBack(c));
}

void CStringRun::Clear()
{
    Pick();
    m_trail.Step("clear on string %u", m_uAt);
    BeginLibrary();
    Library().clear();
    BeginTwin();
    Twin().Clear();
}

void CStringRun::Search()
{
    Pick();
    const SText text = Counted(m_uOther);
    const STextPiece piece(text.psz, text.strMeaning.size());
    m_trail.Step("%s looked for in string %u", text.strName.c_str(), m_uAt);
    BeginLibrary();
    const CString& rLibrary = Library();
    const unsigned int uLast = rLibrary.FindLast(piece);
    const bool bContains = rLibrary.Contains(piece);
    const bool bStarts = rLibrary.StartsWith(piece);
    const bool bEnds = rLibrary.EndsWith(piece);
    BeginTwin();
    const std::string strText = Twin().GetText();
    const std::string& rPiece = text.strMeaning;
    m_trail.Same("the last index", uLast, Twin().FindLast(rPiece));
    m_trail.Same("whether it is there", bContains, strText.find(rPiece) != std::string::npos);
    m_trail.Same("whether it begins so", bStarts, strText.substr(0, rPiece.size()) == rPiece);
    m_trail.Same("whether it ends so", bEnds,
                 strText.size() >= rPiece.size() && strText.substr(strText.size() - rPiece.size()) == rPiece);
}

void CStringRun::Substring()
{
    Pick();
    const unsigned int uIndex = Index(Twin().GetSize());
    const unsigned int uSize = Index(Twin().GetSize());
    m_trail.Step("string %u = Substring(%u, %u) of string %u", m_uOther, uIndex, uSize, m_uAt);
    BeginLibrary();
    auto pLibrary = std::make_unique<CStringProbe>(Library().Substring(uIndex, uSize));
    BeginTwin();
    auto pTwin = std::make_unique<CStringTwin>(Twin().Substring(uIndex, uSize));
    m_apLibrary[m_uOther] = std::move(pLibrary);
    m_apTwin[m_uOther] = std::move(pTwin);
}

void CStringRun::TrimAny()
{
    Pick();
    const SText text = Counted(m_uOther);
    m_bOwnPiece = false;  // it is read before anything is written
    m_trail.Step("Trim(%s) on string %u", text.strName.c_str(), m_uAt);
    BeginLibrary();
    Library().Trim(STextPiece(text.psz, text.strMeaning.size()));
    BeginTwin();
    Twin().Trim(text.strMeaning);
}

void CStringRun::Replace()
{
    Pick();
    const SText oldText = Counted(m_uOther);
    bool bOwnPiece = m_bOwnPiece;
    m_bOwnPiece = false;
    const SText newText = Counted(m_uOther);
    bOwnPiece = bOwnPiece || m_bOwnPiece;
    m_bOwnPiece = false;
    // Longer ones occur too seldom.
    const std::size_t uOldSize = oldText.strMeaning.size() < 3 ? oldText.strMeaning.size() : 1 + m_bytes.Below(3);
    const std::string strOld = oldText.strMeaning.substr(0, uOldSize);
    m_trail.Step("Replace(%s, %s) in string %u", Quoted(strOld).c_str(), newText.strName.c_str(), m_uAt);
    BeginLibrary();
    const QvResult res =
        Library().Replace(STextPiece(oldText.psz, uOldSize), STextPiece(newText.psz, newText.strMeaning.size()));
    BeginTwin();
    SameResult(res, Twin().Replace(strOld, newText.strMeaning, bOwnPiece));
}

void CStringRun::ToUpperCase()
{
    Pick();
    m_trail.Step("ToUpperCase of string %u", m_uAt);
    BeginLibrary();
    Library().ToUpperCase();
    BeginTwin();
    Twin().ToUpperCase();
}

void CStringRun::Split()
{
    Pick();
    const char c =
        Twin().GetSize() != 0 && m_bytes.Flag() ? Twin().GetBytes()[m_bytes.Below(Twin().GetSize())] : Character();
    m_trail.Step("Split of string %u at character %d, then of the first part at a", m_uAt, c);
    BeginUnrefused();
    {
        CVector<CString> parts;
        SameResult(Library().Split(c, &parts), QV_RES_OK);
        std::string strJoined;
        for (const CString& rPart : parts)
        {
            m_trail.True(!rPart.Contains(c), "no part has a separator");
            strJoined += TextOf(rPart) + c;
        }
        m_trail.True(strJoined == Twin().GetText() + c, "the parts and separators are the text");
        const std::string strFirst = TextOf(parts[0]);
        SameResult(parts[0].Split('a', &parts), QV_RES_OK);
        m_trail.Same("the number of parts of the first part", parts.GetSize(),
                     1 + std::count(strFirst.begin(), strFirst.end(), 'a'));
    }
    BeginTwin();
    CStringTwin::Memory().uWanted = g_uANY_NUMBER;
}

void CStringRun::Number()
{
    Pick();
    const auto uNumber = m_bytes.Number<std::uint64_t>();
    const auto nNumber = static_cast<std::int64_t>(uNumber >> m_bytes.Below(64));
    char szText[40];
    const bool bHexadecimal = m_bytes.Flag();
    std::snprintf(szText, sizeof szText, bHexadecimal ? "%llx" : "%lld", static_cast<long long>(nNumber));
    m_trail.Step("AppendNumber(%s) to string %u", szText, m_uAt);
    std::int64_t nBack = 7;
    SameResult(CString::ParseNumber(Twin().GetText(), &nBack) == QV_RES_OK ? 1 : 0, IsNumber(Twin().GetText()) ? 1 : 0);
    BeginLibrary();
    const QvResult res = bHexadecimal ? Library().AppendNumber(static_cast<std::uint64_t>(nNumber), 16)
                                      : Library().AppendNumber(nNumber);
    BeginTwin();
    SameResult(res, Twin().AppendCounted(szText));
}

void CStringRun::Run()
{
    static constexpr PFNOPERATION s_apfnOFTEN[] = {&CStringRun::Construct,
                                                   &CStringRun::ConstructCounted,
                                                   &CStringRun::CopyConstruct,
                                                   &CStringRun::MoveConstruct,
                                                   &CStringRun::Assign,
                                                   &CStringRun::Assign,
                                                   &CStringRun::Assign,
                                                   &CStringRun::AssignMoved,
                                                   &CStringRun::AssignText,
                                                   &CStringRun::Twist,
                                                   &CStringRun::Compare,
                                                   &CStringRun::CaseCompare,
                                                   &CStringRun::Find,
                                                   &CStringRun::WriteBuffer,
                                                   &CStringRun::WriteBuffer,
                                                   &CStringRun::SetAt,
                                                   &CStringRun::ToLowerCase,
                                                   &CStringRun::InsertText,
                                                   &CStringRun::InsertText,
                                                   &CStringRun::InsertString,
                                                   &CStringRun::Erase,
                                                   &CStringRun::EraseAll,
                                                   &CStringRun::Trim,
                                                   &CStringRun::Resize,
                                                   &CStringRun::Resize,
                                                   &CStringRun::Reserve,
                                                   &CStringRun::Reduce,
                                                   &CStringRun::Add,
                                                   &CStringRun::Add,
                                                   &CStringRun::Concatenate,
                                                   &CStringRun::Format,
                                                   &CStringRun::Format,
                                                   &CStringRun::FormatTwice,
                                                   &CStringRun::Serialise,
                                                   &CStringRun::InsertCharacter,
                                                   &CStringRun::AssignCharacter,
                                                   &CStringRun::AssignCounted,
                                                   &CStringRun::AppendCounted,
                                                   &CStringRun::PushBack,
                                                   &CStringRun::Clear,
                                                   &CStringRun::Search,
                                                   &CStringRun::Substring,
                                                   &CStringRun::TrimAny,
                                                   &CStringRun::Replace,
                                                   &CStringRun::Replace,
                                                   &CStringRun::ToUpperCase,
                                                   &CStringRun::Split,
                                                   &CStringRun::Number};
    for (unsigned int uStep = 0; uStep < 300 && !m_bytes.IsSpent(); ++uStep)
    {
        const PFNOPERATION pfn = m_bytes.Rarely(250) && m_bytes.Rarely(8)
                                     ? &CStringRun::Crowd
                                     : s_apfnOFTEN[m_bytes.Below(std::size(s_apfnOFTEN))];
        (this->*pfn)();
        Check();
    }
}
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* puData, std::size_t uSize)
{
    CStringRun(puData, uSize).Run();
    return 0;
}
