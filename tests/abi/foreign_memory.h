#ifndef TESTS_ABI_FOREIGN_MEMORY_H
#define TESTS_ABI_FOREIGN_MEMORY_H
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <new>
#include <utility>
#include <vector>

#include "tests/abi/foreign_program.h"

// The memory classes as an old program declares them, with what it brings itself: a source of memory, element
// operations, a comparison. Members that the library keeps to itself or to derived classes are public here: access is
// no part of a symbol.

using QvResult = int;

enum EResult : QvResult
{
    eOK = 0,
    eFAIL = static_cast<QvResult>(0x80000001),
    eINVALID_STATE = static_cast<QvResult>(0x80000002),
    eINVALID_ARGUMENT = static_cast<QvResult>(0x80000003),
    eOUT_OF_MEMORY = static_cast<QvResult>(0x80000007),
    eALREADY_EXISTS = static_cast<QvResult>(0x80000009)
};

class CFrameworkInitializer
{
public:
    static QvResult Initialize();
    static void Finalize();
};

class IAllocator
{
public:
    struct SBlock
    {
        SBlock* pNext;
    };

    virtual ~IAllocator();
    virtual SBlock* Allocate(unsigned int uCount, unsigned int uSize, SBlock** ppLast) = 0;
    virtual void Release(SBlock* pChain, unsigned int uCount) = 0;
};

class CSingletonBase
{
public:
    static QvResult InitializeCSingletonBase();
    static void FinalizeCSingletonBase();
};

template <typename T>
class CSingleton : public CSingletonBase
{
public:
    CSingleton();
    virtual ~CSingleton();
    static T* Instance();
    static void DestroyInstance();

    static T* ms_pInstance;
};

class CDefaultAllocator : public CSingleton<CDefaultAllocator>, public IAllocator
{
public:
    CDefaultAllocator();
    ~CDefaultAllocator() override;
    SBlock* Allocate(unsigned int uCount, unsigned int uSize, SBlock** ppLast) override;
    void Release(SBlock* pChain, unsigned int uCount) override;
    static QvResult InitializeCDefaultAllocator();
    static void FinalizeCDefaultAllocator();
};

extern template class CSingleton<CDefaultAllocator>;

QvResult InitializeCDefaultAllocator();
void FinalizeCDefaultAllocator();

class CBlockAllocator
{
public:
    CBlockAllocator(unsigned int uBlockSize, IAllocator* pAllocator);
    CBlockAllocator(const CBlockAllocator& rOther);
    virtual ~CBlockAllocator();
    virtual void Push(void* pBlock);
    bool Reserve(unsigned int uCount);
    void Reduce(unsigned int uCount);
    void* Pop();
    unsigned int GetBlockCount() const;
    bool operator==(const CBlockAllocator& rOther) const;
    bool operator!=(const CBlockAllocator& rOther) const;

    IAllocator* m_pAllocator;
    IAllocator::SBlock* m_pHead;
    IAllocator::SBlock* m_pTail;
    unsigned int m_uBlockCount;
    unsigned int m_uBlockSize;
};

inline IAllocator* DefaultAllocator()
{
    return CSingleton<CDefaultAllocator>::Instance();
}

/// A program's own source of memory: the library reaches it through the slots of IAllocator alone.
class CForeignSource : public IAllocator
{
public:
    CForeignSource() = default;
    CForeignSource(const CForeignSource&) = delete;
    CForeignSource& operator=(const CForeignSource&) = delete;
    ~CForeignSource() override { EXPECT_EQ(0U, m_uOut) << "blocks that never came back"; }

    SBlock* Allocate(unsigned int uCount, unsigned int uSize, SBlock** ppLast) override
    {
        m_uLastCount = uCount;
        m_uLastSize = uSize;
        if (m_bRefusing) return nullptr;
        ++m_uAllocations;
        m_uOut += uCount;
        SBlock* pChain = nullptr;
        for (unsigned int uDone = 0; uDone < uCount; ++uDone)
        {
            pChain = ::new (::operator new[](uSize)) SBlock{pChain};
            if (uDone == 0 && ppLast != nullptr) *ppLast = pChain;
        }
        return pChain;
    }
    void Release(SBlock* pChain, unsigned int uCount) override
    {
        ++m_uReleases;
        m_uLastCount = uCount;
        while (pChain != nullptr)
        {
            SBlock* const pNext = pChain->pNext;
            ::operator delete[](pChain);
            pChain = pNext;
            --m_uOut;
        }
    }

    bool m_bRefusing = false;
    unsigned int m_uAllocations = 0;
    unsigned int m_uReleases = 0;
    /// Blocks that the library holds.
    unsigned int m_uOut = 0;
    /// The arguments of the latest call.
    unsigned int m_uLastCount = 0;
    unsigned int m_uLastSize = 0;
};

/// A typed layer over a container of int: the library reaches it through the slots of the container alone.
template <typename Base>
class CInts : public Base
{
public:
    static constexpr int g_nMADE = -77;

    template <typename... Arguments>
    explicit CInts(Arguments&&... arguments) : Base(sizeof(int), std::forward<Arguments>(arguments)...)
    {
    }
    CInts(const CInts&) = delete;
    CInts& operator=(const CInts&) = delete;
    ~CInts() override { this->EraseAll(); }

    void Construct(void* pElement) override
    {
        ++m_uMade;
        Store(pElement, g_nMADE);
    }
    void ConstructFrom(void* pElement, const void* pSource) override
    {
        ++m_uCopied;
        Store(pElement, *static_cast<const int*>(pSource));
    }
    void Destruct(void* pElement) override
    {
        ++m_uDestroyed;
        Store(pElement, 0);
    }

    /// Appends copies.
    void Fill(std::initializer_list<int> values)
    {
        for (const int nValue : values) ASSERT_EQ(eOK, this->Insert(this->GetEndIndex(), 1, &nValue));
    }

    unsigned int m_uMade = 0;
    unsigned int m_uCopied = 0;
    unsigned int m_uDestroyed = 0;

private:
    static void Store(void* pElement, int nValue) { *static_cast<int*>(pElement) = nValue; }
};

/// The elements of a container of int that is read by index.
template <typename Container>
std::vector<int> IntsOf(const Container& rContainer)
{
    std::vector<int> ints;
    for (unsigned int uIndex = 0; uIndex < rContainer.GetSize(); ++uIndex)
        ints.push_back(*static_cast<const int*>(rContainer.GetAt(uIndex)));
    return ints;
}

using Ints = std::vector<int>;

/// Orders int by what is left of them after division by uParam, so that a lost or foreign parameter shows.
inline int CompareModulo(const void* pFirst, const void* pSecond, unsigned int uParam)
{
    const int nModulus = static_cast<int>(uParam);
    return *static_cast<const int*>(pFirst) % nModulus - *static_cast<const int*>(pSecond) % nModulus;
}

/// The modulus that leaves the small numbers of these tests alone.
inline constexpr unsigned int g_uWHOLE = 1000000;

/// An object that the library builds into memory of the published size, with a guard behind it.
template <typename Object>
class CGuarded
{
public:
    template <typename... Arguments>
    explicit CGuarded(Arguments&&... arguments)
    {
        std::memset(m_auMemory, g_uGUARD, sizeof(m_auMemory));
        ::new (m_auMemory) Object(std::forward<Arguments>(arguments)...);
    }
    CGuarded(const CGuarded&) = delete;
    CGuarded& operator=(const CGuarded&) = delete;
    ~CGuarded()
    {
        (*this)->~Object();
        const std::vector<unsigned char> guard(sizeof(m_auMemory) - sizeof(Object), g_uGUARD);
        EXPECT_EQ(guard, BytesAt(m_auMemory, sizeof(Object), guard.size())) << "the library's object is larger";
    }
    Object* operator->() { return std::launder(reinterpret_cast<Object*>(m_auMemory)); }
    Object& operator*() { return *operator->(); }

private:
    static constexpr unsigned char g_uGUARD = 0xA5;

    alignas(16) unsigned char m_auMemory[sizeof(Object) + 64];
};

/// An object whose memory can still be looked at when its destructor has run.
template <typename Object>
class CRemains
{
public:
    template <typename... Arguments>
    explicit CRemains(Arguments&&... arguments)
    {
        (::new (m_auMemory) Object(std::forward<Arguments>(arguments)...))->~Object();
    }

    template <typename Field>
    Field At(Field Object::*pmField) const
    {
        const Object* const pRemains = reinterpret_cast<const Object*>(m_auMemory);
        return LoadAt<Field>(&(pRemains->*pmField), 0);
    }

private:
    alignas(16) unsigned char m_auMemory[sizeof(Object)];
};

/// Whether the virtual table of an object or base object begins with these exported functions. By mangled names, which
/// tell the two entries of a destructor apart, and by address, which equal functions may share.
inline testing::AssertionResult HasSlots(const void* pvObject, std::initializer_list<const char*> mangledNames)
{
    std::size_t uSlot = 0;
    for (const char* const pszMangled : mangledNames)
    {
        const void* const pvExported = dlsym(RTLD_DEFAULT, pszMangled);
        if (pvExported == nullptr) return testing::AssertionFailure() << pszMangled << " is not exported";
        if (LoadAt<void* const*>(pvObject, 0)[uSlot] != pvExported)
            return testing::AssertionFailure()
                   << "slot " << uSlot << " is not " << pszMangled << " but " << FunctionInSlot(pvObject, uSlot);
        ++uSlot;
    }
    return testing::AssertionSuccess();
}

/// A test with the framework up.
class CForeignProgram : public testing::Test
{
protected:
    void SetUp() override { ASSERT_EQ(eOK, CFrameworkInitializer::Initialize()); }
    void TearDown() override { CFrameworkInitializer::Finalize(); }
};

#endif
