// Digests of lines, computed in parallel: active objects that share queues, and end in order, also when interrupted.
#include <poll.h>
#include <pthread.h>
#include <signal.h>
#include <unistd.h>

#include <atomic>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <memory>
#include <new>
#include <system_error>
#include <vector>

#include "examples/workers/channel.h"

namespace
{
constexpr int g_nFAILED = 1;
constexpr int g_nMISUSED = 2;
constexpr int g_nINTERRUPTED = 130;

constexpr unsigned int g_uCHANNEL_SIZE = 64 * 1024;
constexpr unsigned int g_uLONGEST_LINE = 8192;

constexpr char g_szHELP[] =
    R"(Prints the number and the SHA-256 digest of every line of standard input, computed by several workers at once.

  workers [COUNT] < TEXT    COUNT workers, 1 to 64 (4 if not given); lines are printed as they are done

Interrupted (SIGINT or SIGTERM) it reads no further, finishes the lines that it has read whole, and says how many they
were. A line longer than 8,192 characters is refused: what came before it is finished.

Exit status: 0 done, 1 refused or failed, 2 wrong usage, 130 interrupted.
)";

/// Set when the output failed: reading on would be useless, and the input may have no end.
std::atomic<bool> g_bOutputFailed = false;

/// Digests lines until there are no more.
class CWorker : public CAliveObj
{
public:
    CWorker(CChannel& rLines, CChannel& rDigests) : m_rLines(rLines), m_rDigests(rDigests) {}
    ~CWorker() override { Join(nullptr); }
    CWorker(const CWorker&) = delete;
    CWorker& operator=(const CWorker&) = delete;

    /// After the join: whether every line that it took was digested, as memory allowed.
    bool HasAll() const { return m_bAll; }

private:
    void Behavior() override
    {
        while (m_rLines.Take(m_line))
        {
            if (!Digest(m_line)) m_bAll = false;
        }
    }

    bool Digest(SRecord& rLine)
    {
        unsigned char auDigest[32];
        CSha256 sha256;
        if (!rLine.bWhole || QvFailed(sha256.Begin())) return false;
        // An empty blob has no bytes to point to.
        if (rLine.bytes.GetSize() != 0 && QvFailed(sha256.Update(&rLine.bytes))) return false;
        return QvSucceeded(sha256.End(auDigest)) && m_rDigests.Put(rLine.uNumber, auDigest, sizeof(auDigest));
    }

    CChannel& m_rLines;
    CChannel& m_rDigests;
    SRecord m_line;  // not a local of Behavior(): its constructor may throw
    bool m_bAll = true;
};

/// Prints digests until there are no more.
class CPrinter : public CAliveObj
{
public:
    explicit CPrinter(CChannel& rDigests) : m_rDigests(rDigests) {}
    ~CPrinter() override { Join(nullptr); }
    CPrinter(const CPrinter&) = delete;
    CPrinter& operator=(const CPrinter&) = delete;

    /// After the join.
    uint64_t GetCount() const { return m_uCount; }
    bool HasAll() const { return m_bAll; }

private:
    void Behavior() override
    {
        while (m_rDigests.Take(m_digest))
        {
            if (m_digest.bWhole) Print(m_digest);
            else m_bAll = false;
        }
    }

    void Print(const SRecord& rDigest)
    {
        std::printf("%lu ", rDigest.uNumber);
        for (const unsigned char uByte : rDigest.bytes) std::printf("%02x", uByte);
        std::putchar('\n');
        ++m_uCount;
        if (std::ferror(stdout) != 0) g_bOutputFailed = true;
    }

    CChannel& m_rDigests;
    SRecord m_digest;
    uint64_t m_uCount = 0;
    bool m_bAll = true;
};

volatile sig_atomic_t g_bInterrupted = 0;

/// Blocks the signals for this thread and all that it starts; they come in only before it reads.
sigset_t BlockInterruptions()
{
    struct sigaction stAction = {};
    stAction.sa_handler = [](int) { g_bInterrupted = 1; };
    sigset_t signals;
    sigemptyset(&signals);
    for (const int nSignal : {SIGINT, SIGTERM})
    {
        sigaction(nSignal, &stAction, nullptr);
        sigaddset(&signals, nSignal);
    }
    sigset_t before;
    pthread_sigmask(SIG_BLOCK, &signals, &before);
    return before;
}

/// Reads standard input into a channel, a record for each line.
class CReader
{
public:
    CReader(CChannel& rLines, const sigset_t& rWaitingMask) : m_rLines(rLines), m_waitingMask(rWaitingMask) {}

    /// True at the end of the input, false when interrupted or when it had to refuse something, which it says.
    bool ReadAll()
    {
        char acChunk[16384];
        for (;;)
        {
            const ssize_t nRead = ReadSome(acChunk, sizeof(acChunk));
            if (nRead < 0) return false;
            if (nRead == 0) return m_line.empty() || PutLine();
            if (!Split(acChunk, acChunk + nRead)) return false;
        }
    }

private:
    ssize_t ReadSome(char* pcChunk, size_t uSize)
    {
        struct pollfd input = {STDIN_FILENO, POLLIN, 0};
        const int nReady = ppoll(&input, 1, nullptr, &m_waitingMask);
        LetSignalsIn();
        if (g_bInterrupted != 0 || g_bOutputFailed) return -1;
        const ssize_t nRead = nReady < 0 ? -1 : read(STDIN_FILENO, pcChunk, uSize);
        if (nRead < 0) std::perror("workers: standard input");
        return nRead;
    }

    /// Needed because ppoll() delivers no signal when there is input, which is always so with a file or a busy pipe.
    void LetSignalsIn() const
    {
        sigset_t blocked;
        pthread_sigmask(SIG_SETMASK, &m_waitingMask, &blocked);
        pthread_sigmask(SIG_SETMASK, &blocked, nullptr);
    }

    bool Split(const char* pcBegin, const char* pcEnd)
    {
        while (const void* pvNewline = std::memchr(pcBegin, '\n', static_cast<size_t>(pcEnd - pcBegin)))
        {
            const char* const pcNewline = static_cast<const char*>(pvNewline);
            if (!Collect(pcBegin, pcNewline) || !PutLine()) return false;
            pcBegin = pcNewline + 1;
        }
        return Collect(pcBegin, pcEnd);
    }

    bool Collect(const char* pcBegin, const char* pcEnd)
    {
        m_line.insert(m_line.end(), pcBegin, pcEnd);
        if (m_line.size() <= g_uLONGEST_LINE) return true;
        std::fprintf(stderr, "workers: line %lu is longer than %u characters\n", m_uCount + 1, g_uLONGEST_LINE);
        return false;
    }

    bool PutLine()
    {
        ++m_uCount;
        const bool bPut = m_rLines.Put(m_uCount, m_line.data(), static_cast<unsigned int>(m_line.size()));
        if (!bPut) std::fputs("workers: out of memory\n", stderr);
        m_line.clear();
        return bPut;
    }

    CChannel& m_rLines;
    sigset_t m_waitingMask;
    std::vector<unsigned char> m_line;
    uint64_t m_uCount = 0;
};

bool Activate(CAliveObj& rObject, const char* pszName)
{
    const QvResult res = rObject.Activate(pszName, 0, CThread::eNORMAL);
    if (QvFailed(res)) std::fprintf(stderr, "workers: cannot start a thread\n");
    return QvSucceeded(res);
}

/// The threads between the channels. All of them finish what is there, from the source to the sink, also when starting
/// them or reading throws.
class CCrew
{
public:
    CCrew(CChannel& rLines, CChannel& rDigests) : m_rLines(rLines), m_rDigests(rDigests), m_printer(rDigests) {}
    ~CCrew() { Finish(); }
    CCrew(const CCrew&) = delete;
    CCrew& operator=(const CCrew&) = delete;

    bool Start(unsigned int uWorkers)
    {
        m_workers.reserve(uWorkers);
        bool bAll = Activate(m_printer, "printer");
        for (unsigned int u = 0; bAll && u < uWorkers; ++u)
        {
            m_workers.push_back(std::make_unique<CWorker>(m_rLines, m_rDigests));
            bAll = Activate(*m_workers.back(), "worker");
        }
        return bAll;
    }

    void Finish()
    {
        m_rLines.Close();
        for (const std::unique_ptr<CWorker>& rpWorker : m_workers)
        {
            rpWorker->Join(nullptr);
            m_bAll = m_bAll && rpWorker->HasAll();
        }
        m_workers.clear();
        m_rDigests.Close();
        m_printer.Join(nullptr);
    }

    /// After Finish():
    bool HasAll() const { return m_bAll && m_printer.HasAll(); }
    uint64_t GetCount() const { return m_printer.GetCount(); }

private:
    CChannel& m_rLines;
    CChannel& m_rDigests;
    CPrinter m_printer;
    std::vector<std::unique_ptr<CWorker>> m_workers;
    bool m_bAll = true;
};

int Work(unsigned int uWorkers)
{
    const sigset_t waitingMask = BlockInterruptions();
    CChannel lines(g_uCHANNEL_SIZE);
    CChannel digests(g_uCHANNEL_SIZE);
    CCrew crew(lines, digests);
    const bool bAll = crew.Start(uWorkers) && CReader(lines, waitingMask).ReadAll();
    crew.Finish();

    if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0)
    {
        std::fputs("workers: standard output cannot be written\n", stderr);
        return g_nFAILED;
    }
    if (!crew.HasAll())
    {
        std::fputs("workers: out of memory, lines are missing\n", stderr);
        return g_nFAILED;
    }
    if (g_bInterrupted != 0)
    {
        std::fprintf(stderr, "workers: interrupted, %lu lines done\n", crew.GetCount());
        return g_nINTERRUPTED;
    }
    return bAll ? 0 : g_nFAILED;
}

int WorkWithFramework(unsigned int uWorkers)
{
    const CFrameworkScope framework;
    if (QvSucceeded(framework.GetResult())) return Work(uWorkers);
    std::fputs("workers: cannot start\n", stderr);
    return g_nFAILED;
}
}  // namespace

int main(int argc, char** argv)
{
    unsigned int uWorkers = 4;
    if (argc == 2 && std::strcmp(argv[1], "--help") == 0)
    {
        return std::fputs(g_szHELP, stdout) >= 0 && std::fflush(stdout) == 0 ? 0 : g_nFAILED;
    }
    if (argc == 2)
    {
        const char* const pszEnd = argv[1] + std::strlen(argv[1]);
        const auto stParsed = std::from_chars(argv[1], pszEnd, uWorkers);
        if (stParsed.ec != std::errc() || stParsed.ptr != pszEnd) uWorkers = 0;
    }
    if (argc > 2 || uWorkers < 1 || uWorkers > 64)
    {
        std::fputs("workers: one number of workers, 1 to 64, and no more (see workers --help)\n", stderr);
        return g_nMISUSED;
    }
    std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
    try
    {
        return WorkWithFramework(uWorkers);
    }
    catch (const std::bad_alloc&)
    {
        std::fputs("workers: out of memory\n", stderr);
        return g_nFAILED;
    }
}
