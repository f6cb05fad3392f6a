#ifndef FRAMEWORK_KERNEL_EXPORT_H
#define FRAMEWORK_KERNEL_EXPORT_H

/// Marks what the shared library exports; everything else is hidden.
#define QV_EXPORT __attribute__((visibility("default")))

/// Marks a member of an exported class that only the library's own sources call.
#define QV_HIDDEN __attribute__((visibility("hidden")))

#endif
