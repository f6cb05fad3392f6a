#include "examples/journal/line_reader.h"

#include <cstring>

#include "examples/journal/refusal.h"

CLineReader::CLineReader(CInputFile& rFile) : m_rFile(rFile), m_pcBuffer(new char[uBUFFER_SIZE])
{
}

bool CLineReader::Next()
{
    m_uBegin = m_uNext;
    ++m_uLine;
    while (!FindNewline() && !m_bAtEnd && m_uSize <= uMAX_LINE) ReadMore();
    if (m_uSize > uMAX_LINE) Refuse("%s: line %lu is longer than 65,535 characters", m_rFile.GetName(), m_uLine);
    return m_uNext != m_uBegin;
}

// Without one, the line goes up to the end of what was read.
bool CLineReader::FindNewline()
{
    const void* const pvNewline = std::memchr(GetText(), '\n', m_uEnd - m_uBegin);
    if (pvNewline == nullptr)
    {
        m_uSize = m_uEnd - m_uBegin;
        m_uNext = m_uEnd;
        return false;
    }
    m_uSize = static_cast<unsigned int>(static_cast<const char*>(pvNewline) - GetText());
    m_uNext = m_uBegin + m_uSize + 1;
    return true;
}

void CLineReader::ReadMore()
{
    std::memmove(m_pcBuffer.get(), GetText(), m_uSize);
    m_uBegin = 0;
    m_uEnd = m_uSize;
    const unsigned int uRoom = uBUFFER_SIZE - m_uEnd;
    const auto uRead = static_cast<unsigned int>(m_rFile.Read(m_pcBuffer.get() + m_uEnd, uRoom));
    m_uEnd += uRead;
    m_bAtEnd = uRead < uRoom;
}
