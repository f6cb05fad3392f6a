#ifndef TESTS_GUIDE_PAGE_H
#define TESTS_GUIDE_PAGE_H
#include "framework/framework.h"

/// A C++ block of a page of the guide, as page_programs.py takes it from the page.
struct SPageBlock
{
    /// Its first line in the page; 0 behind the last block.
    int nLine;
    /// Null where there is nothing to run.
    int (*pfnRun)(int nCount, char** ppszValues);
    const char* pszInput;
    const char* pszOutput;
    /// The line on standard error with which abort() ends it; null: it ends with status 0.
    const char* pszEnd;
    /// A source that the compiler refuses, and its words; null: it is compiled.
    const char* pszRefused;
    const char* pszReason;
};

/// What page_programs.py writes for a page.
extern const char* const g_pszPage;
extern const SPageBlock g_astPageBlocks[];

/// Runs statements while the framework is up; a failure is told and becomes the exit status.
int RunFragment(QvResult (*pfnFragment)());

#endif
