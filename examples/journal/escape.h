#ifndef EXAMPLES_JOURNAL_ESCAPE_H
#define EXAMPLES_JOURNAL_ESCAPE_H

/// Prints a text of uSize bytes so that it can neither control a terminal nor look like another text. UTF-8 is printed
/// as it is, a backslash as \\. Every byte of a control character, of a character that turns the direction of writing,
/// and of what is not UTF-8 is printed as \x and two digits.
void PrintEscaped(const char* pcText, unsigned int uSize);

#endif
