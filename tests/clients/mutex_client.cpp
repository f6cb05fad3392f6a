#include "framework/kernel/mutex.h"

#include <type_traits>

#include "framework/kernel/semaphore.h"
#include "tests/clients/client.h"

namespace
{
class CMyMutex : public CMutex
{
public:
    ~CMyMutex() override = default;
};

class CMySemaphore : public CSemaphore
{
public:
    CMySemaphore() : CSemaphore(0, 1, true) {}
    ~CMySemaphore() override = default;
};

constexpr CBinarySemaphore::EInitValue eTAKEN = static_cast<CBinarySemaphore::EInitValue>(0);
constexpr CBinarySemaphore::EInitValue eFREE = static_cast<CBinarySemaphore::EInitValue>(1);
}  // namespace

void MutexClient()
{
    static_assert(std::has_virtual_destructor_v<CMutex> && std::has_virtual_destructor_v<CSemaphore>);
    static_assert(!std::is_polymorphic_v<CBinarySemaphore> && !std::is_base_of_v<CSemaphore, CBinarySemaphore>);
    Promised<void (CMutex::*)() const>(&CMutex::Lock);
    Promised<void (CMutex::*)() const>(&CMutex::Unlock);
    Promised<bool (CSemaphore::*)() const>(&CSemaphore::Wait);
    Promised<bool (CSemaphore::*)(unsigned long) const>(&CSemaphore::Wait);
    Promised<void (CSemaphore::*)(bool) const>(&CSemaphore::Signal);
    Promised<bool (CBinarySemaphore::*)() const>(&CBinarySemaphore::Wait);
    Promised<bool (CBinarySemaphore::*)(unsigned long) const>(&CBinarySemaphore::Wait);
    Promised<void (CBinarySemaphore::*)(bool) const>(&CBinarySemaphore::Signal);

    const CMutex mutex;
    mutex.Lock();
    mutex.Lock();
    mutex.Unlock();
    mutex.Unlock();
    CMyMutex mine;
    const CMutex* const pBase = &mine;
    pBase->Lock();
    pBase->Unlock();

    const CSemaphore posix(2, 5, false);
    CHECK(posix.Wait() && posix.Wait(0) && !posix.Wait(0));
    posix.Signal(true);
    CHECK(!posix.Wait(1000) && posix.Wait(~0UL));
    unsigned int uCount = 1;  // not a constant: braces refuse to narrow it
    unsigned int uMaxCount = 5;
    const CSemaphore counted{uCount, uMaxCount, true};
    counted.Signal(false);
    CHECK(counted.Wait() && counted.Wait(1000) && !counted.Wait(1));
    const CMySemaphore one;
    const CSemaphore& rBase = one;
    rBase.Signal(false);
    rBase.Signal(false);
    CHECK(rBase.Wait(0) && !rBase.Wait(0));

    const CBinarySemaphore taken(eTAKEN, true);
    const CBinarySemaphore free(eFREE, false);
    CHECK(!taken.Wait(0) && !free.Wait(1000) && free.Wait());
    taken.Signal(true);
    taken.Signal(false);
    CHECK(taken.Wait(0xFFFFFFFFFFFFFFFF) && !taken.Wait(1));
}
