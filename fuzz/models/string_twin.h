#ifndef FUZZ_MODELS_STRING_TWIN_H
#define FUZZ_MODELS_STRING_TWIN_H
#include <algorithm>
#include <cctype>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>

#include "framework/kernel/result.h"

/// A second, plain implementation of the copy-on-write string, as slow as it likes. It knows what is shared with whom,
/// which capacity each block has, and how many blocks an operation may ask for.
class CStringTwin
{
public:
    static constexpr unsigned int uMAX = 65535;

    /// What the operation may ask of the allocator, and whether it gets it.
    struct SMemory
    {
        bool bRefuses = false;
        /// The text is a piece of the string's own block: a copy of it may be taken first, which may be refused, too.
        bool bOwnPiece = false;
        unsigned int uWanted = 0;
        std::size_t uLive = 0;
    };
    static SMemory& Memory()
    {
        static SMemory s_memory;
        return s_memory;
    }

    struct SBlock
    {
        explicit SBlock(unsigned int uCapacityGiven) : uCapacity(uCapacityGiven), strBytes(uCapacityGiven + 1, '\0')
        {
            ++Memory().uLive;
        }
        ~SBlock() { --Memory().uLive; }
        SBlock(const SBlock&) = delete;
        SBlock& operator=(const SBlock&) = delete;

        unsigned int uShares = 1;
        unsigned int uCapacity;
        unsigned int uSize = 0;
        /// The characters and their NUL; from uKnown on nobody can say what the library's block holds.
        std::string strBytes;
        unsigned int uKnown = 1;
    };

    CStringTwin() = default;
    CStringTwin(const CStringTwin& rSrc) { Share(rSrc); }
    CStringTwin(CStringTwin&& rSrc) noexcept { m_pBlock.swap(rSrc.m_pBlock); }
    ~CStringTwin() { Release(); }
    CStringTwin& operator=(const CStringTwin& rSrc)
    {
        if (&rSrc != this) Share(rSrc);
        return *this;
    }
    CStringTwin& operator=(CStringTwin&& rSrc) noexcept
    {
        m_pBlock.swap(rSrc.m_pBlock);
        return *this;
    }

    /// Null: the one empty block.
    const SBlock* GetBlock() const { return m_pBlock.get(); }
    unsigned int GetSize() const { return m_pBlock ? m_pBlock->uSize : 0; }
    unsigned int GetCapacity() const { return m_pBlock ? m_pBlock->uCapacity : 0; }
    unsigned int GetShares() const { return m_pBlock ? m_pBlock->uShares : 0; }
    /// How many bytes of the block are certain, the NUL behind the text included.
    unsigned int GetKnown() const { return m_pBlock ? m_pBlock->uKnown : 1; }
    const char* GetBytes() const { return m_pBlock ? m_pBlock->strBytes.c_str() : ""; }
    std::string GetText() const { return std::string(GetBytes(), GetSize()); }
    /// As a C function sees it.
    std::string GetTextToNul() const { return GetText().substr(0, GetText().find('\0')); }

    bool Assign(const std::string& rText)
    {
        if (rText.size() > uMAX) return true;
        if (!MakeRoom(rText.size())) return false;
        PutText(rText);
        return true;
    }
    /// With a result; any size is a plain length.
    QvResult AssignCounted(const std::string& rText)
    {
        if (rText.size() > uMAX) return QV_RES_INVALID_ARGUMENT;
        return Assign(rText) ? QV_RES_OK : QV_RES_OUT_OF_MEMORY;
    }
    QvResult AppendCounted(const std::string& rText)
    {
        if (rText.empty()) return QV_RES_OK;
        const std::string strNew = GetText() + rText;
        if (strNew.size() > uMAX) return QV_RES_INVALID_ARGUMENT;
        if (!MakeRoom(strNew.size())) return QV_RES_OUT_OF_MEMORY;
        PutText(strNew);
        return QV_RES_OK;
    }
    /// False when it throws.
    bool PushBack(char c)
    {
        if (GetSize() == GetCapacity()) static_cast<void>(Reserve(GetCapacity() < uMAX / 2 ? 2 * GetCapacity() : uMAX));
        return AppendCounted(std::string(1, c)) == QV_RES_OK;
    }
    void Clear()
    {
        if (GetShares() > 1) Release();
        else PutText("");
    }
    void AssignCharacter(char c) { Assign(c == '\0' ? std::string() : std::string(1, c)); }

    bool Equals(const CStringTwin& rOther) const
    {
        return GetSize() == rOther.GetSize() && std::strncmp(GetBytes(), rOther.GetBytes(), GetSize()) == 0;
    }
    bool Equals(const std::string& rText) const
    {
        return GetSize() == rText.size() && std::strncmp(GetBytes(), rText.c_str(), GetSize()) == 0;
    }
    bool IsLess(const CStringTwin& rOther) const { return GetText() < rOther.GetText(); }
    int Compare(const std::string& rText) const
    {
        const int nOrder = GetText().compare(rText);
        return (nOrder > 0) - (nOrder < 0);
    }
    int CaseCompare(const char* pszOther) const
    {
        const char* pszOwn = GetBytes();
        while (*pszOwn != '\0' && *pszOther != '\0' && Lower(*pszOwn) == Lower(*pszOther)) ++pszOwn, ++pszOther;
        return Lower(*pszOwn) - Lower(*pszOther);
    }
    unsigned int Find(std::uint64_t uStart, const std::string& rWanted) const
    {
        if (uStart >= GetSize() || rWanted.empty()) return GetSize();
        const char* const pszFound = std::strstr(GetBytes() + uStart, rWanted.c_str());
        return pszFound == nullptr ? GetSize() : static_cast<unsigned int>(pszFound - GetBytes());
    }

    unsigned int FindLast(const std::string& rWanted) const
    {
        const std::size_t uFound = rWanted.empty() ? std::string::npos : GetText().rfind(rWanted);
        return uFound == std::string::npos ? GetSize() : static_cast<unsigned int>(uFound);
    }
    CStringTwin Substring(std::uint64_t uIndex, std::uint64_t uCount) const
    {
        if (uIndex == 0 && uCount >= GetSize() && GetSize() != 0) return *this;
        CStringTwin twin;
        if (uIndex < GetSize()) twin.Assign(GetText().substr(uIndex, uCount));
        return twin;
    }

    /// False when the block stays shared for want of memory.
    bool GetBuffer() { return MakePrivate(); }
    /// What a caller does who writes into the buffer: uFrom is at most GetKnown().
    void Overwrite(unsigned int uFrom, const std::string& rBytes)
    {
        m_pBlock->strBytes.replace(uFrom, rBytes.size(), rBytes);
        m_pBlock->uKnown = std::max<unsigned int>(m_pBlock->uKnown, uFrom + static_cast<unsigned int>(rBytes.size()));
    }
    void SetAt(std::uint64_t uIndex, char c)
    {
        if (uIndex >= GetSize() || !MakePrivate()) return;
        m_pBlock->strBytes[uIndex] = c;
    }
    void ToLowerCase() { ChangeCase(&Lower); }
    void ToUpperCase()
    {
        ChangeCase([](char c) { return std::toupper(static_cast<unsigned char>(c)); });
    }

    /// uSize as given, uMAX for "as long as the text is"; rText holds the characters that are meant then.
    QvResult Insert(std::uint64_t uIndex, std::uint64_t uRepetition, const std::string& rText, std::uint64_t uSize)
    {
        if (uRepetition == 0 || uSize == 0) return QV_RES_OK;
        const std::uint64_t uNewSize = uRepetition * rText.size() + GetSize();
        if (uIndex > GetSize() || uNewSize > uMAX) return QV_RES_INVALID_ARGUMENT;
        if (!MakeRoom(uNewSize)) return QV_RES_OUT_OF_MEMORY;
        std::string strNew = GetText().substr(0, uIndex);
        for (std::uint64_t i = 0; i < uRepetition && !rText.empty(); ++i) strNew += rText;
        PutText(strNew + GetText().substr(uIndex));
        return QV_RES_OK;
    }
    void Erase(std::uint64_t uIndex, std::uint64_t uCount)
    {
        if (uIndex >= GetSize() || uIndex + uCount > GetSize() || uCount == 0 || !MakePrivate()) return;
        std::string strNew = GetText();
        strNew.erase(uIndex, uCount);
        PutText(strNew);
    }
    void TrimLeft(char c)
    {
        unsigned int uCount = 0;
        while (uCount < GetSize() && GetBytes()[uCount] == c) ++uCount;
        Erase(0, uCount);
    }
    void TrimRight(char c)
    {
        unsigned int uCount = 0;
        while (uCount < GetSize() && GetBytes()[GetSize() - 1 - uCount] == c) ++uCount;
        Erase(GetSize() - uCount, uCount);
    }
    void Trim(const std::string& rCharacters)
    {
        std::string strText = GetText();
        while (!strText.empty() && rCharacters.find(strText.back()) != std::string::npos) strText.pop_back();
        while (!strText.empty() && rCharacters.find(strText.front()) != std::string::npos) strText.erase(0, 1);
        if (strText.size() != GetSize()) Assign(strText);
    }
    QvResult Replace(const std::string& rOld, const std::string& rNew, bool bOwnPiece)
    {
        std::string strText = GetText();
        std::uint64_t uNewSize = strText.size();
        bool bAny = false;
        std::string strNew;
        std::size_t uFrom = 0;
        for (std::size_t u = 0; !rOld.empty() && (u = strText.find(rOld, uFrom)) != std::string::npos; bAny = true)
        {
            uNewSize += rNew.size() - rOld.size();
            if (strNew.size() <= uMAX) strNew += strText.substr(uFrom, u - uFrom) + rNew;
            uFrom = u + rOld.size();
        }
        if (!bAny) return QV_RES_OK;
        if (uNewSize > uMAX) return QV_RES_INVALID_ARGUMENT;
        const bool bInPlace = rNew.size() <= rOld.size() && GetShares() <= 1 && !bOwnPiece;
        if (!bInPlace && !Reallocate(std::max(GetCapacity(), Rounded(uNewSize)))) return QV_RES_OUT_OF_MEMORY;
        PutText(strNew + strText.substr(uFrom));
        return QV_RES_OK;
    }
    /// What lies between the known bytes and the new size is up to the caller then.
    void Resize(std::uint64_t uSize)
    {
        if (uSize > GetCapacity() || !MakePrivate() || !m_pBlock) return;
        m_pBlock->uSize = static_cast<unsigned int>(uSize);
        m_pBlock->strBytes[uSize] = '\0';
        if (uSize == m_pBlock->uKnown) ++m_pBlock->uKnown;
    }
    QvResult Reserve(unsigned int uCapacity)
    {
        if (GetCapacity() >= uCapacity) return QV_RES_OK;
        return Reallocate(Rounded(uCapacity)) ? QV_RES_OK : QV_RES_OUT_OF_MEMORY;
    }
    QvResult Reduce(unsigned int uCapacity)
    {
        if (uCapacity >= GetCapacity()) return QV_RES_OK;
        return Reallocate(Rounded(std::max(uCapacity, GetSize()))) ? QV_RES_OK : QV_RES_OUT_OF_MEMORY;
    }

    /// Whether a formatted text of this length finds its room by doubling, if memory allows.
    QvResult CanFormat(std::uint64_t uStart, std::size_t uLength) const
    {
        if (uStart > GetSize()) return QV_RES_INVALID_ARGUMENT;
        unsigned int uCapacity = GetCapacity() == 0 ? 32 : GetCapacity();
        while (uLength >= uCapacity - uStart)
        {
            if (uCapacity >= 32768) return QV_RES_INVALID_ARGUMENT;
            uCapacity = Rounded(uCapacity * 2);
        }
        return QV_RES_OK;
    }
    /// With a text that finds its room.
    void Format(std::uint64_t uStart, const std::string& rText)
    {
        const std::string strKept = GetText().substr(0, uStart);
        if (GetCapacity() == 0) Reserve(32);
        MakePrivate();
        while (rText.size() >= GetCapacity() - uStart) Reserve(GetCapacity() * 2);
        PutText(strKept + rText);
    }

    /// What an extraction from a marshaler does with the characters of it.
    bool TakeExtracted(const std::string& rText)
    {
        if (!MakeRoom(rText.size())) return false;
        PutText(rText);
        return true;
    }

    /// Where a failure leaves the block open: takes what the library has.
    void Become(const std::string& rText, unsigned int uCapacity, bool bEmptyBlock)
    {
        Release();
        if (bEmptyBlock) return;
        m_pBlock = std::make_shared<SBlock>(uCapacity);
        PutText(rText);
    }

private:
    static int Lower(char c) { return std::tolower(static_cast<unsigned char>(c)); }
    static unsigned int Rounded(std::uint64_t uCapacity)
    {
        return static_cast<unsigned int>(std::min<std::uint64_t>((uCapacity + 31) / 32 * 32, uMAX));
    }

    template <typename Change>
    void ChangeCase(Change change)
    {
        if (!MakePrivate() || !m_pBlock) return;
        for (unsigned int i = 0; m_pBlock->strBytes[i] != '\0'; ++i)
            m_pBlock->strBytes[i] = static_cast<char>(change(m_pBlock->strBytes[i]));
    }

    void Release()
    {
        if (m_pBlock) --m_pBlock->uShares;
        m_pBlock.reset();
    }
    void Share(const CStringTwin& rSrc)
    {
        Release();
        m_pBlock = rSrc.m_pBlock;
        if (m_pBlock) ++m_pBlock->uShares;
    }
    void PutText(const std::string& rText)
    {
        if (!m_pBlock) return;
        m_pBlock->uSize = static_cast<unsigned int>(rText.size());
        m_pBlock->strBytes.replace(0, rText.size(), rText);
        m_pBlock->strBytes[rText.size()] = '\0';
        m_pBlock->uKnown = m_pBlock->uSize + 1;
    }
    /// A private block of this capacity with the same text.
    bool Reallocate(unsigned int uCapacity)
    {
        ++Memory().uWanted;
        if (Memory().bRefuses) return false;
        const std::string strText = GetText();
        Release();
        m_pBlock = std::make_shared<SBlock>(uCapacity);
        PutText(strText);
        return true;
    }
    bool MakePrivate() { return GetShares() <= 1 || Reallocate(GetCapacity()); }
    /// All or nothing: a copy that could be had is not kept when the growth behind it could not.
    bool MakeRoom(std::uint64_t uSize)
    {
        if (Memory().bOwnPiece) ++Memory().uWanted;
        if (Memory().bRefuses && (Memory().bOwnPiece || GetShares() > 1 || uSize > GetCapacity()))
        {
            ++Memory().uWanted;
            return false;
        }
        MakePrivate();
        return uSize <= GetCapacity() || Reallocate(Rounded(uSize));
    }

    std::shared_ptr<SBlock> m_pBlock;
};

#endif
