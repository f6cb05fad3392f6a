#ifndef EXAMPLES_JOURNAL_LINE_READER_H
#define EXAMPLES_JOURNAL_LINE_READER_H
#include <cstdint>
#include <memory>

#include "examples/journal/files.h"
#include "framework/framework.h"

/// The lines of a file one after the other, in constant memory. A line is what stands before a newline, and what stands
/// behind the last one, if anything does; every other character, NUL and carriage return included, is part of it. A
/// line that a CString cannot hold is refused.
class CLineReader
{
public:
    explicit CLineReader(CInputFile& rFile);

    /// False when there is no further line.
    bool Next();
    /// The line without its newline; valid until the next one is read.
    const char* GetText() const { return m_pcBuffer.get() + m_uBegin; }
    unsigned int GetSize() const { return m_uSize; }

private:
    static constexpr unsigned int uMAX_LINE = CString::uMAX_SIZE;
    // A longest line and its newline, and as much again to be read at once.
    static constexpr unsigned int uBUFFER_SIZE = 2 * (uMAX_LINE + 1);

    bool FindNewline();
    void ReadMore();

    CInputFile& m_rFile;
    std::unique_ptr<char[]> m_pcBuffer;
    unsigned int m_uBegin = 0;  // of the line
    unsigned int m_uSize = 0;
    unsigned int m_uNext = 0;  // where the line after it begins
    unsigned int m_uEnd = 0;   // of what was read
    bool m_bAtEnd = false;
    uint64_t m_uLine = 0;
};

#endif
