#ifndef FRAMEWORK_KERNEL_RESULT_H
#define FRAMEWORK_KERNEL_RESULT_H
#include <stdint.h>

#include "framework/kernel/export.h"
#include "framework/kernel/package_id.h"

/// Outcome of a fallible operation; a failure exactly when negative. The two highest bits are the class, the 16 lowest
/// the number of the code; those between are 0.
///
/// Classes, in rising order of severity: 0 success, 1 success with a warning, 2 failure, 3 severe failure. The
/// framework returns classes 0 and 2 only; applications may use all four.
typedef int32_t QvResult;

/// Success.
constexpr QvResult QV_RES_OK = 0;
/// Generic failure.
constexpr QvResult QV_RES_FAIL = static_cast<QvResult>(0x80000001);
/// The object's state forbids the call.
constexpr QvResult QV_RES_INVALID_STATE = static_cast<QvResult>(0x80000002);
/// A null pointer, an index out of range, a malformed text or a wrong length.
constexpr QvResult QV_RES_INVALID_ARGUMENT = static_cast<QvResult>(0x80000003);
/// Memory allocation failed.
constexpr QvResult QV_RES_OUT_OF_MEMORY = static_cast<QvResult>(0x80000007);
/// An equal element, or a component class of that identifier, is there already.
constexpr QvResult QV_RES_ALREADY_EXISTS = static_cast<QvResult>(0x80000009);
/// A scheduling attribute of a new thread could not be set.
constexpr QvResult QV_RES_THREAD_ATTRIBUTES = static_cast<QvResult>(0x80008417);
/// The operating system refused to create a thread.
constexpr QvResult QV_RES_THREAD_CREATE_FAILED = static_cast<QvResult>(0x80008418);
/// The calling thread has no framework record, or allocating its thread-specific data failed.
constexpr QvResult QV_RES_TSD_UNAVAILABLE = static_cast<QvResult>(0x80008419);
/// The key of thread-specific data is unknown.
constexpr QvResult QV_RES_TSD_KEY_NOT_FOUND = static_cast<QvResult>(0x8000841A);
/// A thread tried to join itself and was detached instead.
constexpr QvResult QV_RES_THREAD_JOIN_SELF = static_cast<QvResult>(0x8000841B);
/// The component does not support the requested interface.
constexpr QvResult QV_RES_NO_INTERFACE = static_cast<QvResult>(0x80008422);
/// No component class is registered under the identifier.
constexpr QvResult QV_RES_CLASS_NOT_REGISTERED = static_cast<QvResult>(0x80008424);

/// Whether an operation failed. Does not compile for a bool, which always would look like a success: what returns one
/// tells by it.
constexpr bool QvFailed(QvResult res)
{
    return res < 0;
}
/// Whether an operation succeeded, be it with a warning. Does not compile for a bool.
constexpr bool QvSucceeded(QvResult res)
{
    return res >= 0;
}
/// A bool is no result.
bool QvFailed(bool) = delete;
/// A bool is no result.
bool QvSucceeded(bool) = delete;

namespace orvel_internal
{
// A range of one failure, or of nothing after a success: for the macro below.
class CFailureOf
{
public:
    explicit constexpr CFailureOf(QvResult res) : m_res(res) {}
    template <typename Type>
    explicit CFailureOf(Type) = delete;
    constexpr const QvResult* begin() const { return &m_res; }
    constexpr const QvResult* end() const { return &m_res + (QvFailed(m_res) ? 1 : 0); }

private:
    QvResult m_res;
};
}  // namespace orvel_internal

// A loop, because its variable is not in scope yet where the expression stands: a lambda in there can use the macro,
// and shadows nothing. It also leaves no `if` for an `else` to go astray.
/// Evaluates the expression, a QvResult and nothing that only converts to one, once, and returns it from the function
/// if it is a failure. A success, with a warning or not, is dropped.
/// ```
/// QvResult Pack(CBlob& rBlob, const CString& rstrName)
/// {
///     QV_RETURN_IF_FAILED(rBlob.ReserveCapacity(rBlob.GetSize() + rstrName.GetSize()));
///     return rBlob.Append(rstrName);
/// }
/// ```
#define QV_RETURN_IF_FAILED(...) \
    for (const QvResult resQvFailed_ : orvel_internal::CFailureOf(__VA_ARGS__)) return resQvFailed_

/// The code of the worse severity class; of two codes of one class, the first. Any thread, constant time.
QV_EXPORT QvResult QvRGetWorstOf(QvResult resFirst, QvResult resSecond);

/// A text for a code. There is no message table: every code gets the same empty text, never null.
/// The text lives as long as the library. For the name of a code see QvResultName().
QV_EXPORT const char* QvResultGetMsgStr(QvResult res);

/// The name of a code as it stands in this header, such as "QV_RES_ALREADY_EXISTS"; "unknown result" for all that the
/// framework does not define. Never null; lives as long as the library. Any thread, at any time.
QV_EXPORT const char* QvResultName(QvResult res);

/// Reports a result on behalf of a package and returns it unchanged: a place to set a breakpoint.
QV_EXPORT QvResult QvResultInspect(QvResult res, EQvPackageId ePackageId);

/// Module start-up and shut-down, called by CFrameworkInitializer; there is nothing to set up. Returns QV_RES_OK.
QV_EXPORT QvResult InitializeResult();
QV_EXPORT void FinalizeResult();

#endif
