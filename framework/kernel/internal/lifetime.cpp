#include "framework/kernel/internal/lifetime.h"

#include <sys/uio.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <cstring>

namespace
{
std::atomic<bool> g_bWasUp = false;

iovec Piece(const char* pszText)
{
    return {const_cast<char*>(pszText), std::strlen(pszText)};
}
}  // namespace

void QvAbortOutsideLifetime(const char* pszClass) noexcept
{
    const bool bWasUp = g_bWasUp.load(std::memory_order_relaxed);
    const char* const pszReason = bWasUp ? " is used after the last Finalize(): the framework is down\n"
                                         : " is used, but CFrameworkInitializer::Initialize() was not called\n";
    // One call, so that the line stays whole among those of other threads.
    const iovec astPieces[] = {Piece("liborvel_framework: "), Piece(pszClass), Piece(pszReason)};
    [[maybe_unused]] const ssize_t nWritten = ::writev(STDERR_FILENO, astPieces, 3);
    std::abort();
}

void orvel_internal::NoteFrameworkUp() noexcept
{
    g_bWasUp.store(true, std::memory_order_relaxed);
}
