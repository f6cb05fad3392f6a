// Strings whose blocks are shared by many threads, each with a std::string beside it: what a thread does to its copy
// must show nowhere else, and a block must go exactly once, however the last shares are dropped.
#include <mutex>
#include <utility>

#include "framework/basic/string.h"
#include "stress/stress.h"

namespace
{
struct SText
{
    CString strText;
    std::string twin;
};

class CMailbox
{
public:
    SText Copy() const
    {
        const std::lock_guard guard(m_mutex);
        return m_stText;
    }
    void Put(SText stText)
    {
        {
            const std::lock_guard guard(m_mutex);
            std::swap(m_stText, stText);
        }
        // What was there before is destroyed here, beside other threads that drop their shares of the same block.
    }

private:
    mutable std::mutex m_mutex;
    SText m_stText;
};

void Edit(SText& rst, CRandom& rRandom)
{
    const char c = static_cast<char>('a' + Below(rRandom, 26));
    switch (Below(rRandom, 5))
    {
        case 0:
            rst.strText += c;
            rst.twin += c;
            break;
        case 1:
            if (rst.twin.empty()) break;
            rst.strText.SetAt(0, c);
            rst.twin[0] = c;
            break;
        case 2:
            ASSERT_EQ(QV_RES_OK, rst.strText.Insert(0, 1, "text ", 5));
            rst.twin.insert(0, "text ");
            break;
        case 3:
            if (rst.twin.size() < 3) break;
            rst.strText.Erase(0, 3);
            rst.twin.erase(0, 3);
            break;
        default:
            if (rst.twin.size() < 200) break;
            rst.strText.EraseAll();
            rst.twin.clear();
    }
}

void ExpectTwin(const SText& rst)
{
    ASSERT_EQ(rst.twin, std::string(rst.strText.CStr(), rst.strText.GetSize()));
}
}  // namespace

TEST(StringStress, CopiesInManyThreadsAreIndependent)
{
    CMailbox aMailboxes[4];
    StressThreads(4,
                  [&](unsigned int, CRandom& rRandom)
                  {
                      SText stMine = aMailboxes[Below(rRandom, 4)].Copy();
                      const SText stCopy = stMine;
                      Edit(stMine, rRandom);
                      ExpectTwin(stMine);
                      ExpectTwin(stCopy);
                      aMailboxes[Below(rRandom, 4)].Put(std::move(stMine));
                  });
}

TEST(StringStress, OneBlockIsSharedByAll)
{
    const std::string twin(100, 'x');
    const CString strShared(twin.c_str());
    StressThreads(4,
                  [&](unsigned int, CRandom& rRandom)
                  {
                      CString strCopy(strShared);
                      const CString strSecond(strCopy);
                      if (Below(rRandom, 2) == 0) strCopy += 'y';
                      ASSERT_EQ(twin, std::string(strSecond.CStr(), strSecond.GetSize()));
                  });
    EXPECT_EQ(twin, strShared.CStr());
}
