#ifndef FRAMEWORK_KERNEL_EXPORT_H
#define FRAMEWORK_KERNEL_EXPORT_H

/// Marks what the shared library exports; everything else is hidden.
#define QV_EXPORT __attribute__((visibility("default")))

#endif
