#include "framework/basic/marshaler.h"

#include <cstddef>
#include <cstring>
#include <type_traits>

#include "framework/basic/allocator.h"
#include "framework/basic/pool.h"
#include "framework/kernel/mutex.h"
#include "framework/kernel/result.h"
#include "tests/clients/client.h"

namespace
{
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
    Pool();
}
