#ifndef EXAMPLES_JOURNAL_SHOW_H
#define EXAMPLES_JOURNAL_SHOW_H
#include "examples/journal/options.h"

/// Prints the records of a journal, all or those selected.
void Show(const SOptions& rOptions);

#endif
