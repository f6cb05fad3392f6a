// A program for debugger/printers_test.cpp to stop in Show(), with an object of each kind that gdb has a printer for.
#include <stdlib.h>
#include <string.h>
#include <sys/mman.h>
#include <unistd.h>

#include <new>

#include "framework/framework.h"

namespace
{
// What is printed has to be there.
void Require(QvResult res)
{
    if (res < 0) abort();
}

constexpr unsigned int g_uMANY = 300;
constexpr unsigned char g_auBINARY_ID[] = {0x00, 0xFF, 0x10};
// Text, and not one that ends.
constexpr unsigned char g_auOPEN_ID[] = {'a', 'b', 'c'};
// A page with nothing behind it.
unsigned char* const g_puLastPage = reinterpret_cast<unsigned char*>(0x6A0000000000);
constexpr size_t g_uPAGE_SIZE = 4096;
QV_ECOM_GUID(g_textId, "example.Circle");

struct SNamed
{
    CString strName;
    QvResult res;
};

int CompareShorts(const void* pElement, const void* pKey, unsigned int)
{
    short nElement, nKey;
    memcpy(&nElement, pElement, sizeof(nElement));
    memcpy(&nKey, pKey, sizeof(nKey));
    return nElement - nKey;
}

// Elements 1, 2, 3; the untyped bases leave it to others to make them.
template <typename Sequence>
void AppendShorts(Sequence& rSequence)
{
    for (short n = 1; n <= 3; ++n) memcpy(rSequence.Allocate(rSequence.GetSize()), &n, sizeof(n));
}
void AppendShorts(CAATreeBase& rTree)
{
    for (short n = 3; n >= 1; --n)
    {
        void* const pElement = rTree.Allocate();
        memcpy(pElement, &n, sizeof(n));
        Require(rTree.InsertAllocated(pElement));
    }
}

void* PointerIn(const void* pvObject, size_t uOffset)
{
    void* pv;
    memcpy(&pv, static_cast<const unsigned char*>(pvObject) + uOffset, sizeof(pv));
    return pv;
}

void SetPointerIn(void* pvObject, size_t uOffset, const void* pv)
{
    memcpy(static_cast<unsigned char*>(pvObject) + uOffset, &pv, sizeof(pv));
}

// Ways to what the containers protect, in order to damage it.
struct CBrokenVector : CVectorBase
{
    CBrokenVector() : CVectorBase(4, nullptr) {}
    void Break() { m_uSize = m_uCapacity + 1; }
};
struct CBrokenList : CListBase
{
    CBrokenList() : CListBase(2, nullptr) { AppendShorts(*this); }
    void CloseCircle() { m_pTail->pFollowing = m_pHead; }
    void LinkBack() { m_pHead->pFollowing->pFollowing = m_pHead->pFollowing; }
    void SetSize(unsigned int uSize) { m_uSize = uSize; }
};
struct CBrokenTree : CAATreeBase
{
    CBrokenTree() : CAATreeBase(2, CompareShorts, 0, nullptr) { AppendShorts(static_cast<CAATreeBase&>(*this)); }
    void CloseCircle() { m_pRoot->pRight->pRight = m_pRoot; }
    void SetSize(unsigned int uSize) { m_uSize = uSize; }
    void LoseRoot() { m_pRoot = nullptr; }
};
struct CBrokenMap : CMap<int, int>
{
    CBrokenMap() : CMap<int, int>({{1, 10}, {2, 20}}) {}
    // The size stands behind the node allocator, the element size, the comparison and the lock.
    void SetSize(unsigned int uSize) { memcpy(reinterpret_cast<unsigned char*>(this) + 76, &uSize, sizeof(uSize)); }
};
struct CBrokenVList : CVListBase
{
    CBrokenVList() : CVListBase(2, nullptr) { Require(Insert(0, 1, nullptr)); }
    void LoseElement() { *m_order.begin() = nullptr; }
    void LoseOrder() { SetPointerIn(&m_order, 48, nullptr); }
};

struct SObjects
{
    SObjects();
    void FillTexts();
    void FillBytes();
    void FillTyped();
    void FillUntyped();
    void FillTimes();
    void BreakTexts();
    void BreakContainers();
    void BreakMarshalers();

    CString strEmpty, strText, strShared, strSpecial, strMany;
    CBlob blobEmpty, blob, blobBits, blobMany;
    CMarshaler marshalerEmpty, marshaler, marshalerMany, marshalerOverread;

    CVector<int> vectorEmpty, vector, vectorMany;
    CList<CString> listEmpty, list;
    CList<int> listMany;
    CAATree<int> treeEmpty, tree, treeMany;
    CMap<int, int> mapEmpty, mapMany;
    CMap<CString, long> map, mapOne;
    CVList<double> vlistEmpty, vlist;
    CVList<int> vlistMany;
    CVector<CList<CString>> nested;
    CVector<SNamed> named;

    CVectorBase vectorBaseEmpty{4, nullptr}, vectorBase{2, false, nullptr}, vectorBaseWide{g_uMANY, nullptr};
    CListBase listBaseEmpty{2, nullptr}, listBase{2, nullptr};
    CAATreeBase treeBaseEmpty{2, CompareShorts, 0, nullptr}, treeBase{2, CompareShorts, 0, nullptr};
    CAATreeBase treeBaseAllocated{2, CompareShorts, 0, nullptr};
    CVListBase vlistBaseEmpty{2, nullptr}, vlistBase{2, nullptr};

    CTime time, timeLong, timeFar;
    CTimeZone zoneUnset, zone{"CET-1"};
    CVersion version{"1.2.3.4"};
    CMutex mutexFree, mutexHeld;
    QvResult resOk = QV_RES_OK;
    const QvResult resFail = QV_RES_FAIL;
    const QvResult& rRes = resFail;
    QvResult resWarning = 0x40000005, resSevere = static_cast<QvResult>(0xC0001234);
    SEComGuid guidText = g_textId, guidBinary{3, g_auBINARY_ID}, guidOpen{3, g_auOPEN_ID};
    SEComGuid guidEmpty{0, nullptr}, guidNull{3, nullptr};
    SEComGuid guidFar{3, reinterpret_cast<const unsigned char*>(16)};
    const CString& rstrText = strText;

    CBrokenVector vectorBroken;
    CBrokenList listCircle, listBack, listShort, listLong, listNoEnds;
    CBrokenTree treeCircle, treeShort, treeLong, treeNoRoot;
    CBrokenMap mapShort;
    CBrokenVList vlistBroken, vlistNoOrder;
    CMarshaler marshalerCircle, marshalerLost, marshalerWrite, marshalerRead;
    CString strBroken, strCut;

    alignas(16) unsigned char auGarbage[512];
    alignas(16) unsigned char auZeros[512];
};

SObjects::SObjects()
{
    FillTexts();
    FillBytes();
    FillTyped();
    FillUntyped();
    FillTimes();
    BreakTexts();
    BreakContainers();
    BreakMarshalers();
    mutexHeld.Lock();
    mutexHeld.Lock();
    memset(auGarbage, 0xA5, sizeof(auGarbage));
    memset(auZeros, 0, sizeof(auZeros));
}

void SObjects::FillTexts()
{
    strText = "hello";
    strShared = strText;
    strSpecial = CString("a\"b\n\0c", 6);
    for (unsigned int u = 0; u < g_uMANY; ++u) strMany += static_cast<char>('0' + u % 10);
}

void SObjects::FillBytes()
{
    const unsigned char auBytes[] = {0xDE, 0xAD, 0xBE, 0xEF};
    unsigned char auRead[8];
    Require(blob.ReserveCapacity(8));
    Require(blob.Append(auBytes, sizeof(auBytes)));
    blob.Read(auRead, 1);
    blobBits = blob;
    blobBits.ReadBits(auRead, 3, 0);
    for (unsigned int u = 0; u < g_uMANY; ++u)
    {
        const unsigned char uByte = static_cast<unsigned char>(u);
        Require(blobMany.Append(&uByte, 1));
        marshalerMany << uByte;
    }
    marshaler << 0x04030201u << static_cast<unsigned char>(5);
    marshaler.Skip(3);
    marshalerMany.Skip(100);
    marshalerOverread << static_cast<unsigned char>(1);
    marshalerOverread.Extract(auRead, 8);
}

void SObjects::FillTyped()
{
    Require(vector.ReserveCapacity(4));
    for (int n = 1; n <= 3; ++n)
    {
        Require(vector.Append(n));
        Require(tree.Insert(4 - n));
        Require(vlist.Append(n / 2.0));
    }
    for (int n = 0; n < static_cast<int>(g_uMANY); ++n)
    {
        Require(vectorMany.Append(n));
        Require(listMany.Append(n));
        Require(treeMany.Insert(n * 7 % static_cast<int>(g_uMANY)));
        mapMany[n] = 10 * n;
        Require(vlistMany.Append(n));
    }
    Require(list.Append("one"));
    Require(list.Append("two"));
    Require(list.ReserveCapacity(5));
    tree.Erase(1u);
    for (const char* const pszWord : {"to", "be", "or", "be"}) ++map[pszWord];
    map.Erase("or");
    mapOne["one"] = 1;
    Require(nested.Append(list));
    Require(nested.Append(listEmpty));
    Require(named.Append({"first", QV_RES_OK}));
    Require(named.Append({"second", QV_RES_INVALID_STATE}));
}

void SObjects::FillUntyped()
{
    AppendShorts(vectorBase);
    AppendShorts(listBase);
    AppendShorts(treeBase);
    treeBaseAllocated.Allocate();
    AppendShorts(vlistBase);
    memset(vectorBaseWide.Allocate(0), 0xAB, g_uMANY);
}

void SObjects::FillTimes()
{
    time.SetTimeZone("CET-1");
    time.SetDateAndTime(2024, 3, 10, 6, 59, 58, 7, true);
    timeLong = time;
    timeLong.SetTime(25, 1, 2, 3, true);
    timeFar = time;
    timeFar.SetDateAndTime(20000, 1, 1, 0, 0, 0, 0, true);
}

void SObjects::BreakTexts()
{
    strBroken = "text";
    const unsigned short uSize = 33, uCapacity = 32;
    memcpy(const_cast<char*>(strBroken.CStr()) - sizeof(uSize), &uSize, sizeof(uSize));

    // Its characters begin where the page ends.
    mmap(g_puLastPage, g_uPAGE_SIZE, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED_NOREPLACE, -1, 0);
    unsigned char* const puInfo = g_puLastPage + g_uPAGE_SIZE - 3 * sizeof(uSize);
    memcpy(puInfo + sizeof(uSize), &uCapacity, sizeof(uSize));
    memcpy(puInfo + 2 * sizeof(uSize), &uCapacity, sizeof(uSize));
    SetPointerIn(&strCut, 8, puInfo);
}

void SObjects::BreakContainers()
{
    vectorBroken.Break();
    listCircle.CloseCircle();
    listBack.LinkBack();
    listShort.SetSize(4);
    listLong.SetSize(2);
    listNoEnds.EraseAll();
    listNoEnds.SetSize(2);
    treeCircle.CloseCircle();
    treeShort.SetSize(4);
    treeLong.SetSize(2);
    treeNoRoot.LoseRoot();
    mapShort.SetSize(3);
    vlistBroken.LoseElement();
    vlistNoOrder.LoseOrder();
}

void SObjects::BreakMarshalers()
{
    // The second segment follows itself, and the write pointer is elsewhere.
    for (unsigned int u = 0; u < 100; ++u) marshalerCircle << static_cast<unsigned char>(u);
    void* const pvSegment = PointerIn(&marshalerCircle, 88);
    SetPointerIn(pvSegment, 88, pvSegment);
    SetPointerIn(&marshalerCircle, 8, nullptr);
    SetPointerIn(&marshalerLost, 24, nullptr);
    SetPointerIn(&marshalerWrite, 0, nullptr);
    SetPointerIn(&marshalerRead, 16, nullptr);
}

__attribute__((noinline)) void Show(const SObjects& rObjects)
{
    // All of it is used, as far as the compiler knows.
    asm volatile("" : : "r"(&rObjects) : "memory");
}
}  // namespace

int main()
{
    const CFrameworkScope framework;
    if (framework.GetResult() < 0) return 1;
    // What is broken cannot be destroyed.
    Show(*new SObjects);
    _exit(0);
}
