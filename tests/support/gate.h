#ifndef TESTS_SUPPORT_GATE_H
#define TESTS_SUPPORT_GATE_H
#include <condition_variable>
#include <mutex>

/// Steers threads: shut at first; who passes waits until it was opened. Stays open until it is shut again.
class CGate
{
public:
    void Open()
    {
        const std::lock_guard guard(m_mutex);
        m_bOpen = true;
        m_changed.notify_all();
    }
    void Shut()
    {
        const std::lock_guard guard(m_mutex);
        m_bOpen = false;
    }
    void Pass()
    {
        std::unique_lock guard(m_mutex);
        m_changed.wait(guard, [this] { return m_bOpen; });
    }
    bool IsOpen()
    {
        const std::lock_guard guard(m_mutex);
        return m_bOpen;
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_bOpen = false;
};

#endif
