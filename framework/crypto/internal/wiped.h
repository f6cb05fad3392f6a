#ifndef FRAMEWORK_CRYPTO_INTERNAL_WIPED_H
#define FRAMEWORK_CRYPTO_INTERNAL_WIPED_H
#include <stddef.h>
#include <string.h>

#include <new>
#include <type_traits>

#include "framework/kernel/internal/keep_stores.h"

/// Internal: locals that hold secrets.
namespace orvel_internal
{
/// Zeroes memory that is not read afterwards. The compiler would remove a mere memset() of such memory.
inline void Wipe(void* pvMemory, size_t uSize)
{
    memset(pvMemory, 0, uSize);
    KeepStoresTo(pvMemory);
}

/// A T whose memory is zeroed when the scope is left, also by an exception or a cancelled thread. A scalar or an array
/// has no value at first.
template <typename T>
class CWiped
{
public:
    CWiped()
    {
        if constexpr (!std::is_trivially_default_constructible_v<T>) ::new (m_auStorage) T;
    }
    ~CWiped()
    {
        if constexpr (!std::is_trivially_destructible_v<T>) (*this)->~T();
        Wipe(m_auStorage, sizeof(m_auStorage));
    }
    CWiped(const CWiped&) = delete;
    CWiped& operator=(const CWiped&) = delete;

    T& operator*() { return *std::launder(reinterpret_cast<T*>(m_auStorage)); }
    T* operator->() { return &**this; }

private:
    alignas(T) unsigned char m_auStorage[sizeof(T)];
};
}  // namespace orvel_internal

#endif
