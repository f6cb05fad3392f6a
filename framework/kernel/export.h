#ifndef FRAMEWORK_KERNEL_EXPORT_H
#define FRAMEWORK_KERNEL_EXPORT_H

/// Marks what the shared library exports; everything else is hidden.
#define QV_EXPORT __attribute__((visibility("default")))

/// Marks a member of an exported class that programs do not link with: only the library calls it, or it is inline.
#define QV_HIDDEN __attribute__((visibility("hidden")))

/// For sources: begins a function at a cache line. A short function that is called very often can lose a fifth of its
/// speed by where the functions in front of it happen to end.
#define QV_CACHE_LINE_ALIGNED __attribute__((aligned(64)))

namespace orvel_internal
{
/// Tell the compiler which way a condition nearly always goes.
constexpr bool IsLikely(bool bCondition)
{
    return __builtin_expect(bCondition ? 1 : 0, 1) != 0;
}
constexpr bool IsUnlikely(bool bCondition)
{
    return __builtin_expect(bCondition ? 1 : 0, 0) != 0;
}
}  // namespace orvel_internal

#endif
