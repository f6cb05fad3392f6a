#ifndef FRAMEWORK_KERNEL_INTERNAL_KEEP_STORES_H
#define FRAMEWORK_KERNEL_INTERNAL_KEEP_STORES_H

namespace orvel_internal
{
/// The last statement of a destructor that promises the values which it leaves in the members. The object ends with
/// the destructor, so that the compiler may drop stores to it that nothing reads any more. This seems to read all of
/// it, and is no instruction.
inline void KeepStoresTo(const volatile void* pvObject)
{
    __asm__ volatile("" : : "r"(pvObject) : "memory");
}
}  // namespace orvel_internal

#endif
