// Random work on a few strings that keep sharing blocks. The model of each is a std::string, a capacity and the number
// of its block, so that share counts are known as well.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <string>
#include <utility>

#include "framework/basic/string.h"
#include "tests/basic/named_operations.h"
#include "tests/support/string_probe.h"
#include "tests/support/test_allocator.h"
#include "tests/support/test_seed.h"

namespace
{
constexpr unsigned int g_uSTRINGS = 5;
constexpr unsigned int g_uLARGEST = 65535;

struct SModel
{
    std::string strText;
    unsigned int uCapacity = 0;
    unsigned int uBlock = 0;  // 0: the shared empty one
};

unsigned int RoundUp(std::size_t uCapacity)
{
    return static_cast<unsigned int>(std::min<std::size_t>((uCapacity + 31) / 32 * 32, g_uLARGEST));
}

std::string UpToNul(const std::string& rText)
{
    return rText.c_str();
}

class CStringModel : public testing::Test
{
protected:
    CStringModel() : m_rng(TestSeed()), m_scope(m_allocator) {}

    unsigned int Shares(const SModel& rModel) const
    {
        if (rModel.uBlock == 0) return 0;
        return static_cast<unsigned int>(std::count_if(
            m_models.begin(), m_models.end(), [&](const SModel& rOther) { return rOther.uBlock == rModel.uBlock; }));
    }
    void MakePrivate(SModel& rModel)
    {
        if (Shares(rModel) > 1) rModel.uBlock = ++m_uLastBlock;
    }
    void Reallocate(SModel& rModel, unsigned int uCapacity)
    {
        rModel.uCapacity = uCapacity;
        rModel.uBlock = ++m_uLastBlock;
    }
    void Reserve(SModel& rModel, std::size_t uCapacity)
    {
        if (rModel.uCapacity < uCapacity) Reallocate(rModel, RoundUp(uCapacity));
    }
    void Assign(SModel& rModel, const std::string& rText)
    {
        if (rText.size() > g_uLARGEST) return;
        MakePrivate(rModel);
        Reserve(rModel, rText.size());
        rModel.strText = rText;
    }
    QvResult Insert(SModel& rModel, std::size_t uIndex, std::size_t uRepetition, const char* pszSource,
                    std::size_t uSize)
    {
        if (uRepetition == 0 || uSize == 0) return QV_RES_OK;
        const std::string strSource = uSize == g_uLARGEST ? std::string(pszSource) : std::string(pszSource, uSize);
        const std::size_t uNewSize = uRepetition * strSource.size() + rModel.strText.size();
        if (uIndex > rModel.strText.size() || uNewSize > g_uLARGEST) return QV_RES_INVALID_ARGUMENT;
        MakePrivate(rModel);
        Reserve(rModel, uNewSize);
        for (std::size_t u = 0; u < uRepetition; ++u) rModel.strText.insert(uIndex, strSource);
        return QV_RES_OK;
    }
    void Erase(SModel& rModel, std::size_t uIndex, std::size_t uSize)
    {
        if (uSize == 0 || uIndex + uSize > rModel.strText.size()) return;
        MakePrivate(rModel);
        rModel.strText.erase(uIndex, uSize);
    }
    QvResult Format(SModel& rModel, std::size_t uStart, const std::string& rText)
    {
        if (uStart > rModel.strText.size()) return QV_RES_INVALID_ARGUMENT;
        if (rModel.uCapacity == 0) Reserve(rModel, 32);
        MakePrivate(rModel);
        while (rText.size() >= rModel.uCapacity - uStart)
        {
            const unsigned int uDoubled = rModel.uCapacity * 2 % 65536;
            EXPECT_GT(uDoubled, rModel.uCapacity) << "texts should stay below the end of growth here";
            Reserve(rModel, uDoubled);
        }
        rModel.strText.replace(uStart, std::string::npos, rText);
        return QV_RES_OK;
    }

    /// Now and then long, with letters of both cases and some NULs.
    std::string AnyText()
    {
        const unsigned int uLimit = m_rng() % 50 == 0 ? 3000 : 50;
        std::string strText;
        for (const unsigned char u : RandomBytes(m_rng, 0, uLimit)) strText += "abABxyXY z"[u % 10];
        if (!strText.empty() && m_rng() % 4 == 0) strText[Below(m_rng, strText.size())] = '\0';
        return strText;
    }

public:
    void BeginStep();
    void EndStep();

    void AssignString()
    {
        *m_pString = *m_pSource;
        *m_pModel = m_stSource;
    }
    void AssignText()
    {
        *m_pString = m_strText.c_str();
        Assign(*m_pModel, UpToNul(m_strText));
    }
    void AssignPiece()
    {
        *m_pString = m_pszPiece;
        Assign(*m_pModel, UpToNul(m_stSource.strText.substr(m_uFrom)));
    }
    void AssignCharacter()
    {
        *m_pString = m_c;
        Assign(*m_pModel, UpToNul(std::string(1, m_c)));
    }
    void InsertText()
    {
        const unsigned int uLength = static_cast<unsigned int>(m_strText.size());
        ASSERT_EQ(Insert(*m_pModel, m_uIndex, m_uRepetition, m_strText.data(), uLength),
                  m_pString->Insert(m_uIndex, m_uRepetition, m_strText.data(), uLength));
    }
    void InsertPiece()
    {
        ASSERT_EQ(Insert(*m_pModel, m_uIndex, m_uRepetition, m_strPiece.data(), m_strPiece.size()),
                  m_pString->Insert(m_uIndex, m_uRepetition, m_pszPiece, PieceSize()));
    }
    void InsertPieceUpToNul()
    {
        const std::string strWant = UpToNul(m_stSource.strText.substr(m_uFrom));
        ASSERT_EQ(Insert(*m_pModel, m_uIndex, m_uRepetition, strWant.c_str(), g_uLARGEST),
                  m_pString->Insert(m_uIndex, m_uRepetition, m_pszPiece, g_uLARGEST));
    }
    void InsertPartOfString()
    {
        ASSERT_EQ(Insert(*m_pModel, m_uIndex, m_uRepetition, m_strPiece.data(), m_strPiece.size()),
                  m_pString->Insert(m_uIndex, m_uRepetition, *m_pSource, m_uFrom, PieceSize()));
    }
    void InsertCharacter()
    {
        ASSERT_EQ(Insert(*m_pModel, m_uIndex, m_uRepetition, &m_c, 1), m_pString->Insert(m_uIndex, m_uRepetition, m_c));
    }
    void EraseCharacters()
    {
        const unsigned int uSize = Below(m_rng, m_pModel->strText.size() + 2);
        m_pString->Erase(m_uIndex, uSize);
        Erase(*m_pModel, m_uIndex, uSize);
    }
    void EraseAll()
    {
        m_pString->EraseAll();
        Erase(*m_pModel, 0, m_pModel->strText.size());
    }
    void TrimLeftSide()
    {
        m_pString->TrimLeftSide(m_c);
        Erase(*m_pModel, 0, std::min(m_pModel->strText.find_first_not_of(m_c), m_pModel->strText.size()));
    }
    void TrimRightSide()
    {
        m_pString->TrimRightSide(m_c);
        const std::size_t uKeep = m_pModel->strText.find_last_not_of(m_c) + 1;
        Erase(*m_pModel, uKeep, m_pModel->strText.size() - uKeep);
    }
    void Resize()
    {
        const unsigned int uSize = Below(m_rng, m_pModel->uCapacity + 2);
        const std::string strKept = m_pModel->strText.substr(0, uSize);
        m_pString->Resize(uSize);
        if (uSize > m_pModel->uCapacity) return;
        MakePrivate(*m_pModel);
        // What comes in is unknown; what stays is not.
        m_pModel->strText = TextOf(*m_pString);
        ASSERT_EQ(uSize, m_pModel->strText.size());
        ASSERT_EQ(strKept, m_pModel->strText.substr(0, strKept.size()));
    }
    void ReserveCapacity()
    {
        const unsigned short uCapacity = static_cast<unsigned short>(Below(m_rng, 200));
        ASSERT_EQ(QV_RES_OK, m_pString->ReserveCapacity(uCapacity));
        Reserve(*m_pModel, uCapacity);
    }
    void ReduceCapacity()
    {
        const unsigned short uCapacity = static_cast<unsigned short>(Below(m_rng, 200));
        ASSERT_EQ(QV_RES_OK, m_pString->ReduceCapacity(uCapacity));
        if (uCapacity >= m_pModel->uCapacity) return;
        Reallocate(*m_pModel, RoundUp(std::max<std::size_t>(uCapacity, m_pModel->strText.size())));
    }
    void SetAt()
    {
        m_pString->SetAt(m_uIndex, m_c);
        if (m_uIndex >= m_pModel->strText.size()) return;
        MakePrivate(*m_pModel);
        m_pModel->strText[m_uIndex] = m_c;
    }
    void ToLowerCase()
    {
        m_pString->ToLowerCase();
        MakePrivate(*m_pModel);
        for (char& rc : m_pModel->strText)
        {
            if (rc == '\0') break;
            if (rc >= 'A' && rc <= 'Z') rc = static_cast<char>(rc + ('a' - 'A'));
        }
    }
    void AddString()
    {
        *m_pString += *m_pSource;
        Insert(*m_pModel, m_pModel->strText.size(), 1, m_stSource.strText.data(), m_stSource.strText.size());
    }
    void AddPiece()
    {
        *m_pString += m_pszPiece;
        Insert(*m_pModel, m_pModel->strText.size(), 1, m_stSource.strText.c_str() + m_uFrom, g_uLARGEST);
    }
    void AddCharacter()
    {
        *m_pString += m_c;
        Insert(*m_pModel, m_pModel->strText.size(), 1, &m_c, 1);
    }
    /// Pieces of the string itself as arguments, and room that runs out at any place.
    void FormatPieces()
    {
        const std::string strWant = UpToNul(m_strText) + "-" + UpToNul(m_stSource.strText.substr(m_uFrom)) + "-7";
        ASSERT_EQ(Format(*m_pModel, m_uIndex, strWant),
                  m_pString->Format(m_uIndex, "%s-%s-%d", m_strText.c_str(), m_pszPiece, 7));
    }
    void WriteToBuffer()
    {
        char* const pcBuffer = m_pString->GetBuffer();
        ASSERT_NE(nullptr, pcBuffer);
        MakePrivate(*m_pModel);
        if (m_pModel->uCapacity == 0) return;
        const std::size_t uSize = std::min<std::size_t>(m_strText.size(), m_pModel->uCapacity);
        std::copy_n(m_strText.begin(), uSize, pcBuffer);
        m_pString->Resize(static_cast<unsigned int>(uSize));
        m_pModel->strText = m_strText.substr(0, uSize);
    }

protected:
    unsigned int PieceSize() const { return static_cast<unsigned int>(m_strPiece.size()); }

    std::mt19937 m_rng;
    CTestAllocator m_allocator;
    CStringAllocatorScope m_scope;
    std::array<CString, g_uSTRINGS> m_strings;
    std::array<SModel, g_uSTRINGS> m_models;
    unsigned int m_uLastBlock = 0;

    // What a step works with: a string, and one that it may take from, perhaps itself.
    CString* m_pString = nullptr;
    SModel* m_pModel = nullptr;
    const CString* m_pSource = nullptr;
    SModel m_stSource;
    std::string m_strText;
    unsigned int m_uIndex = 0;
    unsigned int m_uFrom = 0;
    std::string m_strPiece;  // of the source, from m_uFrom on
    const char* m_pszPiece = nullptr;
    unsigned int m_uRepetition = 0;
    char m_c = '\0';
};

constexpr SNamedOperation<CStringModel> g_aOPERATIONS[] = {
    {"assign a string", 9, &CStringModel::AssignString},
    {"assign a text", 3, &CStringModel::AssignText},
    {"assign a piece", 3, &CStringModel::AssignPiece},
    {"assign a character", 3, &CStringModel::AssignCharacter},
    {"insert a text", 3, &CStringModel::InsertText},
    {"insert a piece", 3, &CStringModel::InsertPiece},
    {"insert a piece up to its NUL", 3, &CStringModel::InsertPieceUpToNul},
    {"insert part of a string", 3, &CStringModel::InsertPartOfString},
    {"insert a character", 3, &CStringModel::InsertCharacter},
    {"erase", 3, &CStringModel::EraseCharacters},
    {"erase all", 3, &CStringModel::EraseAll},
    {"trim the left side", 3, &CStringModel::TrimLeftSide},
    {"trim the right side", 3, &CStringModel::TrimRightSide},
    {"resize", 3, &CStringModel::Resize},
    {"reserve capacity", 3, &CStringModel::ReserveCapacity},
    {"reduce capacity", 6, &CStringModel::ReduceCapacity},
    {"set a character", 3, &CStringModel::SetAt},
    {"to lower case", 3, &CStringModel::ToLowerCase},
    {"add a string", 1, &CStringModel::AddString},
    {"add a piece", 1, &CStringModel::AddPiece},
    {"add a character", 1, &CStringModel::AddCharacter},
    {"format", 3, &CStringModel::FormatPieces},
    {"write to the buffer", 3, &CStringModel::WriteToBuffer},
};

void CStringModel::BeginStep()
{
    const unsigned int uOwn = Below(m_rng, g_uSTRINGS);
    const unsigned int uOther = Below(m_rng, g_uSTRINGS);
    m_pString = &m_strings[uOwn];
    m_pModel = &m_models[uOwn];
    m_pSource = &m_strings[uOther];
    m_stSource = m_models[uOther];
    m_strText = AnyText();
    m_uIndex = Below(m_rng, m_pModel->strText.size() + 2);
    m_uFrom = Below(m_rng, m_stSource.strText.size() + 1);
    m_strPiece = m_stSource.strText.substr(m_uFrom, Below(m_rng, m_stSource.strText.size() - m_uFrom + 1));
    m_pszPiece = m_pSource->CStr() + m_uFrom;
    m_uRepetition = Below(m_rng, 4);
    m_c = "abAB\0"[m_rng() % 5];
}

void CStringModel::EndStep()
{
    std::size_t uBlocks = 0;
    for (unsigned int u = 0; u < g_uSTRINGS; ++u)
    {
        SCOPED_TRACE(testing::Message() << "string " << u);
        ASSERT_EQ(m_models[u].strText, TextOf(m_strings[u]));
        ASSERT_EQ('\0', m_strings[u].CStr()[m_strings[u].GetSize()]);
        ASSERT_EQ(m_models[u].uCapacity, m_strings[u].GetCapacity());
        ASSERT_EQ(Shares(m_models[u]), ShareCountOf(m_strings[u]));
        bool bSeen = m_models[u].uBlock == 0;
        for (unsigned int uBefore = 0; uBefore < u; ++uBefore)
        {
            const bool bSame = m_models[u].uBlock == m_models[uBefore].uBlock;
            ASSERT_EQ(bSame, m_strings[u].CStr() == m_strings[uBefore].CStr());
            bSeen = bSeen || bSame;
        }
        if (!bSeen) ++uBlocks;
    }
    ASSERT_EQ(uBlocks, m_allocator.GetLiveBlocks());
    if (m_pModel->strText.size() <= 6000) return;
    *m_pString = CString();
    *m_pModel = SModel();
}
}  // namespace

TEST_F(CStringModel, TextsCapacitiesAndShareCountsMatchAfterEveryStep)
{
    DoAtRandom(*this, g_aOPERATIONS, 30000, m_rng);
}

TEST(CStringModelLong, TextsAtTheEndOfTheSizesMatch)
{
    std::mt19937 rng(TestSeed());
    CString strText;
    std::string strModel;
    for (unsigned int uStep = 0; uStep < 2000; ++uStep)
    {
        SCOPED_TRACE(testing::Message() << "step " << uStep);
        const std::string strPiece(Below(rng, 4000), static_cast<char>('a' + rng() % 26));
        const unsigned int uIndex = Below(rng, strModel.size() + 1);
        const unsigned int uRepetition = 1 + Below(rng, 20);
        const std::size_t uNewSize = strModel.size() + strPiece.size() * uRepetition;
        const QvResult res =
            strText.Insert(uIndex, uRepetition, strPiece.data(), static_cast<unsigned int>(strPiece.size()));
        if (uNewSize > g_uLARGEST && !strPiece.empty()) ASSERT_EQ(QV_RES_INVALID_ARGUMENT, res);
        else
        {
            ASSERT_EQ(QV_RES_OK, res);
            for (unsigned int u = 0; u < uRepetition; ++u) strModel.insert(uIndex, strPiece);
        }
        if (strModel.size() > 60000)
        {
            const unsigned int uErased = Below(rng, strModel.size() + 1);
            const unsigned int uFrom = Below(rng, strModel.size() - uErased + 1);
            strText.Erase(uFrom, uErased);
            strModel.erase(uFrom, uErased);
        }
        ASSERT_EQ(strModel, TextOf(strText));
    }
}
