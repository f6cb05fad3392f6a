#ifndef EXAMPLES_JOURNAL_PROGRESS_H
#define EXAMPLES_JOURNAL_PROGRESS_H
#include <chrono>
#include <cstdint>

/// One line on the terminal while work takes long: it appears after half a second, changes four times a second, and is
/// erased at the end. If standard error is no terminal, nothing is written.
class CProgress
{
public:
    /// uTotalBytes 0: unknown.
    CProgress(const char* pszDoing, uint64_t uTotalBytes);
    ~CProgress();
    CProgress(const CProgress&) = delete;
    CProgress& operator=(const CProgress&) = delete;

    /// One more record, and what it took from the total.
    void Advance(uint64_t uBytes);
    /// Leaves the terminal to somebody else, or takes it again.
    void SetHidden(bool bHidden);

private:
    using CClock = std::chrono::steady_clock;

    void Show();
    void Erase();

    const char* m_pszDoing;
    uint64_t m_uTotalBytes;
    uint64_t m_uBytes = 0;
    uint64_t m_uRecords = 0;
    bool m_bOnTerminal;
    bool m_bHidden = false;
    bool m_bShown = false;
    CClock::time_point m_next;
};

#endif
