#include "framework/basic/marshaler.h"

#include <cstddef>
#include <cstring>
#include <type_traits>

#include "framework/basic/allocator.h"
#include "framework/basic/blob.h"
#include "framework/basic/list.h"
#include "framework/basic/marshal_reader.h"
#include "framework/basic/marshal_values.h"
#include "framework/basic/pool.h"
#include "framework/basic/string.h"
#include "framework/basic/time.h"
#include "framework/basic/vector.h"
#include "framework/basic/vector_list.h"
#include "framework/kernel/mutex.h"
#include "framework/kernel/result.h"
#include "tests/clients/client.h"

namespace application
{
enum class EKind : unsigned short
{
    eHELLO = 3
};

struct SGreeting
{
    EKind eKind = EKind::eHELLO;
    CString strText;
    CVector<int> numbers;
};

CMarshaler& operator<<(CMarshaler& rMarshaler, const SGreeting& rGreeting);
CMarshalReader& operator>>(CMarshalReader& rReader, SGreeting& rGreeting);

CMarshaler& operator<<(CMarshaler& rMarshaler, const SGreeting& rGreeting)
{
    return rMarshaler << rGreeting.eKind << rGreeting.strText << rGreeting.numbers;
}

CMarshalReader& operator>>(CMarshalReader& rReader, SGreeting& rGreeting)
{
    return rReader >> rGreeting.eKind >> rGreeting.strText >> rGreeting.numbers;
}
}  // namespace application

namespace
{
void Reader()
{
    using application::SGreeting;
    Promised<bool (CMarshalReader::*)(void*, unsigned int)>(&CMarshalReader::Read);
    Promised<bool (CMarshalReader::*)(unsigned int)>(&CMarshalReader::Skip);
    Promised<unsigned int (CMarshalReader::*)(unsigned int, unsigned int)>(&CMarshalReader::ReadCount);
    Promised<bool (CMarshalReader::*)() const>(&CMarshalReader::HasFailed);
    Promised<bool (CMarshalReader::*)() const>(&CMarshalReader::HasReadAll);
    Promised<QvResult (CMarshalReader::*)() const>(&CMarshalReader::GetResult);
    Promised<unsigned int (CMarshalReader::*)() const>(&CMarshalReader::GetPosition);
    Promised<unsigned int (CMarshalReader::*)() const>(&CMarshalReader::GetRemaining);
    Promised<unsigned int (CMarshalReader::*)() const>(&CMarshalReader::GetMaxSize);
    Promised<void (CMarshalReader::*)(QvResult, unsigned int)>(&CMarshalReader::Fail);

    SGreeting greeting;
    greeting.strText = "hello";
    CHECK(greeting.numbers.Append(-1) == QV_RES_OK);
    CMarshaler marshaler;
    CList<SGreeting> greetings;
    CVList<CTime> times;
    CHECK(greetings.Append(greeting) == QV_RES_OK && times.Append(CTime()) == QV_RES_OK);
    marshaler << greetings << times << CBlob() << true << 'c' << -1 << 1.5 << 0.5f << -1LL << 1ULL;

    CList<SGreeting> greetingsBack;
    CVList<CTime> timesBack;
    CBlob blob;
    bool bValue = false;
    char cValue = 0;
    int nValue = 0;
    double dValue = 0;
    float fValue = 0;
    long long llValue = 0;
    unsigned long long ullValue = 0;
    CMarshalReader reader(marshaler, 1000);
    reader >> greetingsBack >> timesBack >> blob >> bValue >> cValue >> nValue >> dValue >> fValue >> llValue;
    CMarshalReader ahead(reader);
    ahead >> ullValue;
    CHECK(ahead.HasReadAll() && !reader.HasFailed() && reader.GetRemaining() == 8);
    CHECK(greetingsBack.GetSize() == 1 && greetingsBack.GetAt(0)->strText == "hello" && timesBack.GetSize() == 1);
    marshaler >> greetingsBack >> timesBack >> blob >> bValue >> cValue >> nValue >> dValue >> fValue >> llValue;
    marshaler >> ullValue;
    CHECK(marshaler.GetUnreadSize() == 0 && bValue && cValue == 'c' && nValue == -1 && ullValue == 1);
    CMarshalReader ofBytes("\1", 1, 0);
    ofBytes >> nValue;
    CHECK(ofBytes.GetResult() == QV_RES_FAIL && nValue == 0);
}

void Values()
{
    Promised<CMarshaler& (CMarshaler::*)(unsigned int)>(&CMarshaler::operator<<);
    Promised<CMarshaler& (CMarshaler::*)(unsigned short)>(&CMarshaler::operator<<);
    Promised<CMarshaler& (CMarshaler::*)(unsigned int&)>(&CMarshaler::operator>>);
    Promised<CMarshaler& (CMarshaler::*)(unsigned short&)>(&CMarshaler::operator>>);
    Promised<bool (CMarshaler::*)(void*, unsigned int)>(&CMarshaler::Load);
    Promised<void (CMarshaler::*)(void*, unsigned int)>(&CMarshaler::Extract);
    Promised<void (CMarshaler::*)(const void*, unsigned int)>(&CMarshaler::Insert);
    Promised<void (CMarshaler::*)(const void*, unsigned int)>(&CMarshaler::Store);
    Promised<void (*)(bool, unsigned int, bool, IAllocator*)>(&CPool<CMarshaler>::Initialize);

    CMarshaler marshaler;
    const unsigned short uShort = 0x0506;
    marshaler << 0x01020304u << uShort;
    unsigned char auBytes[6] = {};
    marshaler.Extract(auBytes, 6);
    const unsigned char auWanted[6] = {4, 3, 2, 1, 6, 5};
    CHECK(std::memcmp(auBytes, auWanted, 6) == 0);

    unsigned int uInt = 0;
    unsigned short uSecond = 0;
    marshaler << uShort << 7u;
    marshaler >> uSecond >> uInt;
    CHECK(uSecond == uShort && uInt == 7);

    unsigned char auLong[200];
    for (unsigned int uIndex = 0; uIndex < sizeof auLong; ++uIndex) auLong[uIndex] = static_cast<unsigned char>(uIndex);
    const unsigned char* const puConst = auLong;
    marshaler.Insert(puConst, 100);
    marshaler.Store(puConst + 100, 100);
    const CMarshaler& rConst = marshaler;
    CMarshaler copy;
    CHECK(&(copy = rConst) == &copy);
    unsigned char auBack[200] = {};
    copy.Extract(auBack, 50);
    CHECK(copy.Load(auBack + 50, 150) && std::memcmp(auBack, auLong, 200) == 0);
    marshaler.ReleaseSegments();
    marshaler.ResetMembers();
    copy.Clear();
    CHECK(CPool<CMarshaler>::ms_uAllocatedCount == 0);
}

void Pool()
{
    using Pool = CPool<CMarshaler>;
    static_assert(std::is_same_v<decltype(Pool::ms_pBlockAllocator), CBlockAllocator*>);
    static_assert(std::is_same_v<decltype(Pool::ms_uAllocatedCount), unsigned int>);
    static_assert(std::is_same_v<decltype(Pool::ms_uCapacity), unsigned int>);
    static_assert(std::is_same_v<decltype(Pool::ms_uLockCapacity), unsigned int>);
    static_assert(std::is_same_v<decltype(Pool::ms_pmutex), CMutex*>);
    Promised<void* (*)()>(&Pool::Allocate);
    Promised<void (*)(void*)>(&Pool::Deallocate);
    Promised<void (*)()>(&Pool::Uninitialize);
    Promised<QvResult (*)()>(&Pool::InitializeCPool);
    Promised<void (*)()>(&Pool::FinalizeCPool);
    Promised<QvResult (*)()>(&InitializeCPool<CMarshaler>);
    Promised<void (*)()>(&FinalizeCPool<CMarshaler>);

    CHECK(Pool::ms_pBlockAllocator != nullptr && Pool::ms_pmutex != nullptr && Pool::ms_uLockCapacity == 0);
    Pool::Uninitialize();
    CHECK(Pool::ms_pBlockAllocator == nullptr);
    Pool::Initialize(true, 2, true, nullptr);
    CHECK(Pool::ms_uCapacity == 2 && Pool::ms_uLockCapacity != 0);
    void* const pvFirst = Pool::Allocate();
    void* const pvSecond = Pool::Allocate();
    CHECK(pvFirst != nullptr && pvSecond != nullptr && Pool::Allocate() == nullptr && Pool::ms_uAllocatedCount == 2);
    Pool::Deallocate(pvFirst);
    Pool::Deallocate(pvSecond);
    Pool::Uninitialize();
    Pool::Initialize(true, 0, false, NULL);
    Pool::Initialize(false, 0, false, 0);
    void* const pvGrown = Pool::Allocate();
    CHECK(Pool::ms_uCapacity == 1);
    Pool::Deallocate(pvGrown);
    FinalizeCPool<CMarshaler>();
    CHECK(InitializeCPool<CMarshaler>() == QV_RES_OK && Pool::ms_pmutex != nullptr);
}
}  // namespace

void MarshalerClient()
{
    static_assert(sizeof(CMarshaler) == 96 && !std::is_polymorphic_v<CMarshaler>);
    Values();
    Reader();
    Pool();
}
