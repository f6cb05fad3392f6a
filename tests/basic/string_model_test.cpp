// Random work on a few strings that keep sharing blocks. The model of each is a std::string, a capacity and the number
// of its block, so that share counts are known as well.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <string>
#include <utility>

#include "framework/basic/string.h"
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
    unsigned int AnyIndex(const SModel& rModel) { return Below(m_rng, rModel.strText.size() + 2); }

    void Step(unsigned int uOwn, unsigned int uOther);
    void Check() const;

    std::mt19937 m_rng;
    CTestAllocator m_allocator;
    CStringAllocatorScope m_scope;
    std::array<CString, g_uSTRINGS> m_strings;
    std::array<SModel, g_uSTRINGS> m_models;
    unsigned int m_uLastBlock = 0;
};

void CStringModel::Step(unsigned int uOwn, unsigned int uOther)
{
    CString& rString = m_strings[uOwn];
    SModel& rModel = m_models[uOwn];
    const CString& rSource = m_strings[uOther];
    const SModel stSource = m_models[uOther];
    const std::string strText = AnyText();
    const unsigned int uLength = static_cast<unsigned int>(strText.size());
    const unsigned int uIndex = AnyIndex(rModel);
    // A piece of a string, which may well be the one that changes.
    const unsigned int uFrom = Below(m_rng, stSource.strText.size() + 1);
    const unsigned int uPiece = Below(m_rng, stSource.strText.size() - uFrom + 1);
    const char* const pszPiece = rSource.CStr() + uFrom;
    const std::string strPiece = stSource.strText.substr(uFrom, uPiece);
    const unsigned int uRepetition = Below(m_rng, 4);
    const char c = "abAB\0"[m_rng() % 5];
    switch (m_rng() % 24)
    {
        case 0:
        case 1:
        case 2:
            rString = rSource;
            rModel = stSource;
            break;
        case 3:
            rString = strText.c_str();
            Assign(rModel, UpToNul(strText));
            break;
        case 4:
            rString = pszPiece;
            Assign(rModel, UpToNul(stSource.strText.substr(uFrom)));
            break;
        case 5:
            rString = c;
            Assign(rModel, UpToNul(std::string(1, c)));
            break;
        case 6:
            ASSERT_EQ(Insert(rModel, uIndex, uRepetition, strText.data(), uLength),
                      rString.Insert(uIndex, uRepetition, strText.data(), uLength));
            break;
        case 7:
            ASSERT_EQ(Insert(rModel, uIndex, uRepetition, strPiece.data(), uPiece),
                      rString.Insert(uIndex, uRepetition, pszPiece, uPiece));
            break;
        case 8:
            ASSERT_EQ(Insert(rModel, uIndex, uRepetition, UpToNul(stSource.strText.substr(uFrom)).c_str(), g_uLARGEST),
                      rString.Insert(uIndex, uRepetition, pszPiece, g_uLARGEST));
            break;
        case 9:
            ASSERT_EQ(Insert(rModel, uIndex, uRepetition, strPiece.data(), uPiece),
                      rString.Insert(uIndex, uRepetition, rSource, uFrom, uPiece));
            break;
        case 10: ASSERT_EQ(Insert(rModel, uIndex, uRepetition, &c, 1), rString.Insert(uIndex, uRepetition, c)); break;
        case 11:
        {
            const unsigned int uSize = Below(m_rng, rModel.strText.size() + 2);
            rString.Erase(uIndex, uSize);
            Erase(rModel, uIndex, uSize);
            break;
        }
        case 12:
            rString.EraseAll();
            Erase(rModel, 0, rModel.strText.size());
            break;
        case 13:
        {
            rString.TrimLeftSide(c);
            Erase(rModel, 0, std::min(rModel.strText.find_first_not_of(c), rModel.strText.size()));
            break;
        }
        case 14:
        {
            rString.TrimRightSide(c);
            const std::size_t uKeep = rModel.strText.find_last_not_of(c) + 1;
            Erase(rModel, uKeep, rModel.strText.size() - uKeep);
            break;
        }
        case 15:
        {
            const unsigned int uSize = Below(m_rng, rModel.uCapacity + 2);
            const std::size_t uKept = std::min<std::size_t>(uSize, rModel.strText.size());
            rString.Resize(uSize);
            if (uSize > rModel.uCapacity) break;
            MakePrivate(rModel);
            // What comes in is unknown; what stays is not.
            const std::string strKept = rModel.strText.substr(0, uKept);
            rModel.strText = TextOf(rString);
            ASSERT_EQ(uSize, rModel.strText.size());
            ASSERT_EQ(strKept, rModel.strText.substr(0, uKept));
            break;
        }
        case 16:
        {
            const unsigned short uCapacity = static_cast<unsigned short>(Below(m_rng, 200));
            ASSERT_EQ(QV_RES_OK, rString.ReserveCapacity(uCapacity));
            Reserve(rModel, uCapacity);
            break;
        }
        case 17:
        case 18:
        {
            const unsigned short uCapacity = static_cast<unsigned short>(Below(m_rng, 200));
            ASSERT_EQ(QV_RES_OK, rString.ReduceCapacity(uCapacity));
            if (uCapacity < rModel.uCapacity)
                Reallocate(rModel, RoundUp(std::max<std::size_t>(uCapacity, rModel.strText.size())));
            break;
        }
        case 19:
            rString.SetAt(uIndex, c);
            if (uIndex >= rModel.strText.size()) break;
            MakePrivate(rModel);
            rModel.strText[uIndex] = c;
            break;
        case 20:
            rString.ToLowerCase();
            MakePrivate(rModel);
            for (char& rc : rModel.strText)
            {
                if (rc == '\0') break;
                if (rc >= 'A' && rc <= 'Z') rc = static_cast<char>(rc + ('a' - 'A'));
            }
            break;
        case 21:
        {
            const std::size_t uSize = rModel.strText.size();
            switch (m_rng() % 3)
            {
                case 0:
                    rString += rSource;
                    Insert(rModel, uSize, 1, stSource.strText.data(), stSource.strText.size());
                    break;
                case 1:
                    rString += pszPiece;
                    Insert(rModel, uSize, 1, stSource.strText.c_str() + uFrom, g_uLARGEST);
                    break;
                default:
                    rString += c;
                    Insert(rModel, uSize, 1, &c, 1);
                    break;
            }
            break;
        }
        case 22:
            // Pieces of the string itself as arguments, and room that runs out at any place.
            ASSERT_EQ(Format(rModel, uIndex, UpToNul(strText) + "-" + UpToNul(stSource.strText.substr(uFrom)) + "-7"),
                      rString.Format(uIndex, "%s-%s-%d", strText.c_str(), pszPiece, 7));
            break;
        default:
        {
            char* const pcBuffer = rString.GetBuffer();
            ASSERT_NE(nullptr, pcBuffer);
            MakePrivate(rModel);
            if (rModel.uCapacity == 0) break;
            const std::size_t uSize = std::min<std::size_t>(strText.size(), rModel.uCapacity);
            std::copy_n(strText.begin(), uSize, pcBuffer);
            rString.Resize(static_cast<unsigned int>(uSize));
            rModel.strText = strText.substr(0, uSize);
            break;
        }
    }
}

void CStringModel::Check() const
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
}
}  // namespace

TEST_F(CStringModel, TextsCapacitiesAndShareCountsMatchAfterEveryStep)
{
    for (unsigned int uStep = 0; uStep < 30000; ++uStep)
    {
        SCOPED_TRACE(testing::Message() << "step " << uStep);
        const unsigned int uOwn = Below(m_rng, g_uSTRINGS);
        ASSERT_NO_FATAL_FAILURE(Step(uOwn, Below(m_rng, g_uSTRINGS)));
        ASSERT_NO_FATAL_FAILURE(Check());
        if (m_models[uOwn].strText.size() > 6000)
        {
            m_strings[uOwn] = CString();
            m_models[uOwn] = SModel();
        }
    }
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
