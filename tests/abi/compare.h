#ifndef TESTS_ABI_COMPARE_H
#define TESTS_ABI_COMPARE_H

using PFNCompare = int (*)(const void* pElement, const void* pKey, unsigned int uParam);

#endif
