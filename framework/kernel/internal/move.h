#ifndef FRAMEWORK_KERNEL_INTERNAL_MOVE_H
#define FRAMEWORK_KERNEL_INTERNAL_MOVE_H

// std::move(), std::forward() and std::swap() alone: <utility> brings std::pair as well, and a program that includes
// the framework would take a twentieth longer to compile.
#if __has_include(<bits/move.h>)
#include <bits/move.h>
#else
#include <utility>
#endif

#endif
