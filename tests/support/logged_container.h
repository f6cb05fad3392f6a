#ifndef TESTS_SUPPORT_LOGGED_CONTAINER_H
#define TESTS_SUPPORT_LOGGED_CONTAINER_H
#include <cstring>
#include <string>

#include "framework/basic/allocator.h"

/// An untyped container of int that notes its element operations: "c" constructed, "f" from a source, "d" destructed,
/// each with the value, and the container's name before it.
template <typename Base>
class CLogged : public Base
{
public:
    CLogged(char chName, std::string& rLog, IAllocator* pAllocator = nullptr)
        : Base(static_cast<unsigned int>(sizeof(int)), pAllocator), m_chName(chName), m_rLog(rLog)
    {
    }
    CLogged(char chName, std::string& rLog, const CBlockAllocator& rAllocator)
        : Base(static_cast<unsigned int>(sizeof(int)), rAllocator), m_chName(chName), m_rLog(rLog)
    {
    }
    CLogged& operator=(const CLogged& rSrc)
    {
        Base::operator=(rSrc);
        return *this;
    }
    ~CLogged() override { Base::EraseAll(); }

    void Construct(void* pElement) override
    {
        const int nMade = 0;
        std::memcpy(pElement, &nMade, sizeof(nMade));
        Note('c', pElement);
    }
    void ConstructFrom(void* pElement, const void* pSource) override
    {
        std::memcpy(pElement, pSource, sizeof(int));
        Note('f', pElement);
    }
    void Destruct(void* pElement) override { Note('d', pElement); }

    QvResult Add(int n) { return Base::Insert(Base::GetEndIndex(), 1, &n); }
    std::string Values() const
    {
        std::string text;
        for (unsigned int u = 0; u < Base::GetSize(); ++u)
        {
            text += std::to_string(*static_cast<const int*>(Base::GetAt(u))) + ' ';
        }
        return text;
    }

private:
    void Note(char chWhat, const void* pElement)
    {
        m_rLog += {m_chName, chWhat};
        m_rLog += std::to_string(*static_cast<const int*>(pElement)) + ' ';
    }

    char m_chName;
    std::string& m_rLog;
};

/// Adds first, first + 1, ... to a container.
template <typename Container>
void AddNumbers(Container& rContainer, int nFirst, int nCount)
{
    for (int n = nFirst; n < nFirst + nCount; ++n) rContainer.Add(n);
}

#endif
