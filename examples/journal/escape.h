#ifndef EXAMPLES_JOURNAL_ESCAPE_H
#define EXAMPLES_JOURNAL_ESCAPE_H

/// Prints a text of uSize bytes so that it cannot command a terminal, nor pass for another text: UTF-8 as it is, a
/// backslash as \\, and as \x and two digits every byte of control characters, of those that turn the direction of
/// writing, and of what is no UTF-8.
void PrintEscaped(const char* pcText, unsigned int uSize);

#endif
