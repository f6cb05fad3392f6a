#ifndef TESTS_SUPPORT_REFUSING_NEW_H
#define TESTS_SUPPORT_REFUSING_NEW_H
#include "tests/support/own_operator_new.h"

/// While it lives, one request to operator new, of whatever form, is refused: the uNth from now on, counted from 0. The
/// forms that throw throw std::bad_alloc. A program that uses it gets all forms of operator new and delete from
/// refusing_new.cpp. One lives at a time.
class CRefusingNew
{
public:
    explicit CRefusingNew(unsigned long uNth);
    ~CRefusingNew();
    CRefusingNew(const CRefusingNew&) = delete;
    CRefusingNew& operator=(const CRefusingNew&) = delete;

    bool HasRefused() const;
};

/// Blocks that operator new has handed out and operator delete has not taken back.
long LiveNewBlocks();

#endif
