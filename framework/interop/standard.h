#ifndef FRAMEWORK_INTEROP_STANDARD_H
#define FRAMEWORK_INTEROP_STANDARD_H
#include <stddef.h>
#include <stdint.h>
#include <stdio.h>
#include <string.h>

#include <chrono>
#include <memory_resource>
#include <new>
#include <ostream>
#include <ratio>
#include <string>
#include <string_view>
#include <system_error>
#include <type_traits>
#if __has_include(<version>)
#include <version>
#endif
#ifdef __cpp_lib_span
#include <span>
#endif
#ifdef __cpp_lib_format
#include <format>
#endif

#include "framework/basic/allocator.h"
#include "framework/basic/blob.h"
#include "framework/basic/internal/calendar.h"
#include "framework/basic/string.h"
#include "framework/basic/time.h"
#include "framework/kernel/export.h"
#include "framework/kernel/result.h"
#include "framework/kernel/version.h"

// The framework at home in the standard library. Nothing else includes this header, nor does framework/framework.h: who
// does not need it does not compile its includes.
//
//     text and bytes   QvViewOf(), QvSpanOf(), QvAssign(), QvAppend()      std::string_view, std::span (C++20)
//     time             QvTimePointOf(), QvAssign(), QvSetClockFromSystem() std::chrono::system_clock
//     results          QvErrorCodeOf(), QvResultCategory()                 std::error_code, std::system_error
//     memory           CResourceAllocator, CAllocatorResource              std::pmr::memory_resource
//     keys             std::hash of CString, CBlob, CTime, CVersion        std::unordered_map and its like
//     output           `<<`, std::format(), fmt::format()                  CString, CTime, CVersion as text
//
// It is all inline, and compiles as C++17 and as C++20, with and without exceptions and run-time type information. Free
// functions may be called from any thread, each object being used by one thread at a time, as its class says.

// ---------------------------------------------------------------------------------------------------- text and bytes

/// The characters of a string without the NUL behind them, or all bytes of a blob, read or not, as characters.
/// Constant cost: nothing is copied. Valid until the string or the blob changes or ends.
inline std::string_view QvViewOf(const CString& rstr)
{
    return {rstr.CStr(), rstr.GetSize()};
}
inline std::string_view QvViewOf(const CBlob& rBlob)
{
    // reinterpret_cast: characters may stand for any bytes.
    return {reinterpret_cast<const char*>(rBlob.GetFirstIndexPtr()), rBlob.GetSize()};
}

/// Puts a text behind that of a string. The text may be a part of the string. NULs are characters like others here.
///
/// - `QV_RES_OK`: the text is in.
/// - `QV_RES_INVALID_ARGUMENT`: both together are longer than CString::uMAX_SIZE; the string is as it was.
/// - `QV_RES_OUT_OF_MEMORY`: the allocator gave no block; the string is as it was.
[[nodiscard]] inline QvResult QvAppend(CString& rstrTo, std::string_view text)
{
    return rstrTo.Append(text);
}

/// Makes a text all that a string holds. The text may be a part of the string. NULs are characters like others here.
///
/// - `QV_RES_OK`: the string holds the text.
/// - `QV_RES_INVALID_ARGUMENT`: the text is longer than CString::uMAX_SIZE; the string is as it was.
/// - `QV_RES_OUT_OF_MEMORY`: the allocator gave no block; the string is as it was.
[[nodiscard]] inline QvResult QvAssign(CString& rstrTo, std::string_view text)
{
    return rstrTo.Assign(text);
}

/// Puts bytes behind those of a blob, whose cursors stay. The bytes may be a part of the blob.
///
/// - `QV_RES_OK`: the bytes are in.
/// - `QV_RES_INVALID_ARGUMENT`: together they are more than 32 bits can count; the blob is as it was.
/// - `QV_RES_OUT_OF_MEMORY`: the allocator gave no block; the blob is as it was.
[[nodiscard]] inline QvResult QvAppend(CBlob& rTo, std::string_view bytes)
{
    if (bytes.size() > 0xFFFFFFFF - rTo.GetSize()) return QV_RES_INVALID_ARGUMENT;
    return rTo.Append(reinterpret_cast<const unsigned char*>(bytes.data()), static_cast<unsigned int>(bytes.size()));
}

/// Makes bytes all that a blob holds, and sets its cursors to 0. The bytes may be a part of the blob.
///
/// - `QV_RES_OK`: the blob holds the bytes.
/// - `QV_RES_INVALID_ARGUMENT`: they are more than 32 bits can count; the blob is as it was.
/// - `QV_RES_OUT_OF_MEMORY`: the allocator gave no block; the blob is as it was.
[[nodiscard]] inline QvResult QvAssign(CBlob& rTo, std::string_view bytes)
{
    if (bytes.size() > 0xFFFFFFFF) return QV_RES_INVALID_ARGUMENT;
    return rTo.Assign(reinterpret_cast<const unsigned char*>(bytes.data()), static_cast<unsigned int>(bytes.size()));
}

#ifdef __cpp_lib_span
/// All bytes of a blob, read or not; of a blob that is not const, to be written to as well. Valid until the blob
/// changes or ends. Vectors need no such call: std::span(vector.begin(), vector.end()).
inline std::span<unsigned char> QvSpanOf(CBlob& rBlob)
{
    return {rBlob.GetFirstIndexPtr(), rBlob.GetSize()};
}
inline std::span<const unsigned char> QvSpanOf(const CBlob& rBlob)
{
    return {rBlob.GetFirstIndexPtr(), rBlob.GetSize()};
}

/// As QvAppend() and QvAssign() of a view.
[[nodiscard]] inline QvResult QvAppend(CBlob& rTo, std::span<const unsigned char> bytes)
{
    return QvAppend(rTo, std::string_view(reinterpret_cast<const char*>(bytes.data()), bytes.size()));
}
[[nodiscard]] inline QvResult QvAssign(CBlob& rTo, std::span<const unsigned char> bytes)
{
    return QvAssign(rTo, std::string_view(reinterpret_cast<const char*>(bytes.data()), bytes.size()));
}
#endif

// -------------------------------------------------------------------------------------------------------------- time

namespace orvel_internal
{
using MsDuration = std::chrono::duration<int64_t, std::milli>;
using DayDuration = std::chrono::duration<int64_t, std::ratio<86400>>;
using MsTimePoint = std::chrono::time_point<std::chrono::system_clock, MsDuration>;

constexpr DayDuration g_UNIX_EPOCH = DayDuration(2440588);  // the Julian day of 1 January 1970
// The moments that Julian days of 32 bits reach.
constexpr MsDuration g_FIRST_MOMENT = -g_UNIX_EPOCH;
constexpr MsDuration g_LAST_MOMENT = DayDuration(0x100000000) - g_UNIX_EPOCH - MsDuration(1);
}  // namespace orvel_internal

/// The moment of a time in the system clock's count, to the millisecond. It converts to a
/// std::chrono::system_clock::time_point by itself; where that counts nanoseconds it holds the years 1678 to 2261 only,
/// and what lies outside overflows. Whether the framework's clock was ever set does not matter here.
inline std::chrono::time_point<std::chrono::system_clock, std::chrono::duration<int64_t, std::milli>> QvTimePointOf(
    const CTime& rTime)
{
    unsigned int uJulianDay;
    unsigned int uTimeMs;
    rTime.GetJulianDateAndTime(uJulianDay, uTimeMs, true);
    const orvel_internal::MsDuration count(uTimeMs);
    return orvel_internal::MsTimePoint(orvel_internal::DayDuration(uJulianDay) - orvel_internal::g_UNIX_EPOCH + count);
}

/// Sets a time to a moment of the system clock, whole milliseconds of it: the last one that has begun. Its zone stays.
///
/// - `QV_RES_OK`: the time is set.
/// - `QV_RES_INVALID_ARGUMENT`: the moment is before 24 November -4713 or after 13 December 11754508, which counts of
///   microseconds and longer can reach; the time is as it was.
template <typename Duration>
[[nodiscard]] QvResult QvAssign(CTime& rTo, std::chrono::time_point<std::chrono::system_clock, Duration> moment)
{
    using orvel_internal::DayDuration;
    using orvel_internal::g_FIRST_MOMENT;
    using orvel_internal::g_LAST_MOMENT;
    using orvel_internal::MsDuration;
    using Period = typename Duration::period;
    static_assert(std::is_integral_v<typename Duration::rep> && std::is_signed_v<typename Duration::rep>,
                  "the moment must be counted in signed integers");
    const Duration count = moment.time_since_epoch();
    if constexpr (std::ratio_greater_v<Period, std::milli>)
    {
        // Compared in its own unit first: a moment too far away would overflow on its way to milliseconds.
        using Wide = std::chrono::duration<int64_t, Period>;
        if (count < std::chrono::floor<Wide>(g_FIRST_MOMENT) || count > std::chrono::floor<Wide>(g_LAST_MOMENT))
            return QV_RES_INVALID_ARGUMENT;
    }
    const MsDuration ms = std::chrono::floor<MsDuration>(count);
    if (ms < g_FIRST_MOMENT || ms > g_LAST_MOMENT) return QV_RES_INVALID_ARGUMENT;
    const DayDuration days = std::chrono::floor<DayDuration>(ms);
    rTo.SetJulianDateAndTime(static_cast<unsigned int>((days + orvel_internal::g_UNIX_EPOCH).count()),
                             static_cast<unsigned int>((ms - days).count()), true);
    return QV_RES_OK;
}

/// Sets the framework's clock to what the system's clock shows. From then on it runs by itself: call this again where
/// the system's clock may have been set. The system's clock is only read.
///
/// - **Lifetime:** Between the start-up and the shut-down of the framework.
/// - `QV_RES_OK`: the clock is set.
/// - `QV_RES_INVALID_ARGUMENT`: what the system's clock shows is no moment for a CTime; the clock is as it was.
[[nodiscard]] inline QvResult QvSetClockFromSystem()
{
    CTime time;
    QV_RETURN_IF_FAILED(QvAssign(time, std::chrono::system_clock::now()));
    CTime::SetSystemTime(time);
    return QV_RES_OK;
}

// ----------------------------------------------------------------------------------------------------------- results

namespace orvel_internal
{
class QV_EXPORT CResultCategory final : public std::error_category
{
public:
    const char* name() const noexcept override { return "orvel"; }

    std::string message(int nResult) const override
    {
        char szNumber[32] = "";
        const char* const pszName = QvResultName(nResult);
        if (strncmp(pszName, "QV_RES_", 7) != 0)
            snprintf(szNumber, sizeof(szNumber), " 0x%08X", static_cast<unsigned int>(nResult));
        return std::string(pszName) + szNumber;
    }

    std::error_condition default_error_condition(int nResult) const noexcept override
    {
        switch (nResult)
        {
            case QV_RES_INVALID_ARGUMENT: return std::errc::invalid_argument;
            case QV_RES_OUT_OF_MEMORY: return std::errc::not_enough_memory;
            case QV_RES_ALREADY_EXISTS: return std::errc::file_exists;
            // As std::thread tells the same.
            case QV_RES_THREAD_CREATE_FAILED: return std::errc::resource_unavailable_try_again;
            case QV_RES_THREAD_JOIN_SELF: return std::errc::resource_deadlock_would_occur;
            case QV_RES_NO_INTERFACE: return std::errc::not_supported;
            default: return {nResult, *this};
        }
    }
};
}  // namespace orvel_internal

/// The category of results, called "orvel". Messages are the names of QvResultName(), with the number where there is
/// none. So that callers need not know results, these codes equal conditions of the standard library:
///
/// - `QV_RES_INVALID_ARGUMENT`: std::errc::invalid_argument.
/// - `QV_RES_OUT_OF_MEMORY`: std::errc::not_enough_memory.
/// - `QV_RES_ALREADY_EXISTS`: std::errc::file_exists.
/// - `QV_RES_THREAD_CREATE_FAILED`: std::errc::resource_unavailable_try_again.
/// - `QV_RES_THREAD_JOIN_SELF`: std::errc::resource_deadlock_would_occur.
/// - `QV_RES_NO_INTERFACE`: std::errc::not_supported.
///
/// A program and the libraries that it is linked with share one, which is never destroyed. A plug-in that it loads may
/// have one of its own, where the program does not export it: compare conditions there.
QV_EXPORT inline const std::error_category& QvResultCategory() noexcept
{
    alignas(orvel_internal::CResultCategory) static unsigned char s_auCategory[sizeof(orvel_internal::CResultCategory)];
    static const std::error_category* const s_pCategory = ::new (s_auCategory) orvel_internal::CResultCategory;
    return *s_pCategory;
}

/// A result as a std::error_code. That of any success is 0, because an error code with a value means an error: a
/// warning gets lost.
inline std::error_code QvErrorCodeOf(QvResult res) noexcept
{
    return {QvFailed(res) ? res : QV_RES_OK, QvResultCategory()};
}

// ------------------------------------------------------------------------------------------------------------ memory

/// Memory from a std::pmr::memory_resource for what takes an IAllocator*.
///
/// - **Ownership:** Borrows the resource, which must outlive it. Null means std::pmr::get_default_resource(), as it is
///   when the object is made.
/// - **Threads:** Those of the resource; it keeps no state of its own.
/// - **Cost:** One allocation a block, larger than the block by 16 bytes and up to the next multiple of 16: in front
///   stands its size, which the resource asks for when it is given back, and which those who give it back do not know.
/// - **Failure:** Null where the resource throws, whatever it throws. In a program without exceptions what is thrown
///   in the standard library ends it.
class CResourceAllocator : public IAllocator
{
public:
    /// Over *pResource, or the default resource.
    explicit CResourceAllocator(std::pmr::memory_resource* pResource = nullptr)
        : m_pResource(pResource != nullptr ? pResource : std::pmr::get_default_resource())
    {
    }
    /// Where the memory comes from.
    std::pmr::memory_resource* GetResource() const { return m_pResource; }

    /// Null, and nothing is allocated, when uSize is below 8 or uCount is 0; null, with what was allocated so far given
    /// back and *ppLast as it was, when the resource refuses.
    SBlock* Allocate(unsigned int uCount, unsigned int uSize, SBlock** ppLast) override
    {
        if (uSize < sizeof(SBlock) || uCount == 0) return nullptr;
        SBlock* pChain = nullptr;
        SBlock* pLast = nullptr;
        for (; uCount != 0; --uCount)
        {
            void* const pvBlock = AllocateOne(uSize);
            if (pvBlock == nullptr)
            {
                Release(pChain, 0);
                return nullptr;
            }
            pChain = ::new (pvBlock) SBlock{pChain};
            if (pLast == nullptr) pLast = pChain;
        }
        if (ppLast != nullptr) *ppLast = pLast;
        return pChain;
    }

    /// Gives the blocks of a chain back by its links; the count is ignored.
    void Release(SBlock* pChain, unsigned int) override
    {
        while (pChain != nullptr)
        {
            SBlock* const pNext = pChain->pNext;
            SHeader* const pstHeader = reinterpret_cast<SHeader*>(pChain) - 1;
            m_pResource->deallocate(pstHeader, pstHeader->uSize, alignof(SHeader));
            pChain = pNext;
        }
    }

private:
    // In front of each block, and as long as blocks are aligned.
    struct alignas(__STDCPP_DEFAULT_NEW_ALIGNMENT__) SHeader
    {
        size_t uSize;
    };

    void* AllocateOne(unsigned int uSize)
    {
        // A multiple of the alignment: pools of libstdc++ take no heed of an alignment that does not divide the size.
        const size_t uAllSize = (sizeof(SHeader) + uSize + alignof(SHeader) - 1) & ~(alignof(SHeader) - 1);
#ifdef __cpp_exceptions
        try
        {
            return ::new (m_pResource->allocate(uAllSize, alignof(SHeader))) SHeader{uAllSize} + 1;
        }
        catch (...)
        {
            return nullptr;
        }
#else
        return ::new (m_pResource->allocate(uAllSize, alignof(SHeader))) SHeader{uAllSize} + 1;
#endif
    }

    std::pmr::memory_resource* m_pResource;
};

/// Memory from an IAllocator for what takes a std::pmr::memory_resource*, such as std::pmr::vector.
///
/// - **Ownership:** Borrows the allocator, which must outlive it; null means the default allocator, which is there
///   between the start-up and the shut-down of the framework.
/// - **Threads:** Those of the allocator; it keeps no state of its own.
/// - **Cost:** One block for each allocation, of at least 8 bytes.
/// - **Failure:** std::bad_alloc where the allocator has no memory, for more than 0xFFFFFFFF bytes, and for an
///   alignment above that of operator new (16), which blocks do not have.
/// - **Equality:** Two of the same allocator are equal; in a program without run-time type information, an object
///   equals only itself.
class QV_EXPORT CAllocatorResource : public std::pmr::memory_resource
{
public:
    /// Over *pAllocator, or the default allocator.
    explicit CAllocatorResource(IAllocator* pAllocator = nullptr)
        : m_pAllocator(pAllocator != nullptr ? pAllocator : CDefaultAllocator::Instance())
    {
    }
    /// Where the memory comes from.
    IAllocator* GetAllocator() const { return m_pAllocator; }

private:
    void* do_allocate(size_t uSize, size_t uAlignment) override
    {
        if (uSize <= 0xFFFFFFFF && uAlignment <= __STDCPP_DEFAULT_NEW_ALIGNMENT__)
        {
            const size_t uBlockSize = uSize < sizeof(IAllocator::SBlock) ? sizeof(IAllocator::SBlock) : uSize;
            void* const pv = m_pAllocator->Allocate(1, static_cast<unsigned int>(uBlockSize), nullptr);
            if (pv != nullptr) return pv;
        }
        // Throws std::bad_alloc, and compiles without exceptions.
        return std::pmr::null_memory_resource()->allocate(uSize, uAlignment);
    }

    void do_deallocate(void* pv, size_t, size_t) override
    {
        m_pAllocator->Release(::new (pv) IAllocator::SBlock{nullptr}, 1);
    }

    bool do_is_equal(const std::pmr::memory_resource& rOther) const noexcept override
    {
        if (this == &rOther) return true;
#ifdef __cpp_rtti
        const CAllocatorResource* const pOther = dynamic_cast<const CAllocatorResource*>(&rOther);
        return pOther != nullptr && pOther->m_pAllocator == m_pAllocator;
#else
        return false;
#endif
    }

    IAllocator* m_pAllocator;
};

// -------------------------------------------------------------------------------------------------------------- keys

/// For std::unordered_map and its like, in agreement with `==` of each class: that of strings looks at the characters
/// up to a NUL, that of blobs at the bytes, and that of times at the moment.
template <>
struct std::hash<CString>
{
    size_t operator()(const CString& rstr) const noexcept
    {
        return hash<string_view>()({rstr.CStr(), strnlen(rstr.CStr(), rstr.GetSize())});
    }
};
template <>
struct std::hash<CBlob>
{
    size_t operator()(const CBlob& rBlob) const noexcept { return hash<string_view>()(QvViewOf(rBlob)); }
};
template <>
struct std::hash<CTime>
{
    size_t operator()(const CTime& rTime) const noexcept
    {
        return hash<int64_t>()(QvTimePointOf(rTime).time_since_epoch().count());
    }
};
template <>
struct std::hash<CVersion>
{
    size_t operator()(const CVersion& rVersion) const noexcept
    {
        const unsigned int uHigh = rVersion.GetMajor() * 256u + rVersion.GetMinor();
        const unsigned int uLow = rVersion.GetRelease() * 256u + rVersion.GetBuild();
        return hash<unsigned int>()(uHigh * 65536 + uLow);
    }
};

// ------------------------------------------------------------------------------------------------------------ output

namespace orvel_internal
{
// What stands for an object as text: itself, or what is made for it.
struct SText
{
    char sz[48];
    unsigned int uSize;
    operator std::string_view() const { return {sz, uSize}; }
};

inline std::string_view TextOf(const CString& rstr)
{
    return QvViewOf(rstr);
}

inline SText TextOf(const CVersion& rVersion)
{
    SText text;
    text.uSize = static_cast<unsigned int>(rVersion.GetStr(text.sz, sizeof(text.sz)));
    return text;
}

inline SText TextOf(const CTime& rTime)
{
    unsigned int uJulianDay;
    unsigned int uTimeMs;
    rTime.GetJulianDateAndTime(uJulianDay, uTimeMs, true);
    const SDate date = DateOf(uJulianDay + uTimeMs / g_uMS_PER_DAY);
    const STime time = SplitTimeOfDay(uTimeMs % g_uMS_PER_DAY);
    SText text;
    text.uSize = static_cast<unsigned int>(snprintf(text.sz, sizeof(text.sz), "%04u-%02u-%02uT%02u:%02u:%02u.%03uZ",
                                                    date.uYear, date.uMonth, date.uDay, time.uHour, time.uMinute,
                                                    time.uSecond, time.uMillisecond));
    return text;
}

// A formatter, of the standard library or of {fmt}, for what has a TextOf(): takes what Base takes for a text.
template <typename Base>
struct STextFormatter : Base
{
    template <typename Type, typename Context>
    auto format(const Type& rValue, Context& rContext) const
    {
        const auto text = TextOf(rValue);
        return Base::format(static_cast<std::string_view>(text), rContext);
    }
};
}  // namespace orvel_internal

/// A string as its characters; a time as 2026-11-22T11:46:07.250Z, in UTC (a time of day of 24 hours or more is carried
/// into the days behind; the year is the one that CTime::GetDate() gives); a version as 1.2.3.4. Width, fill and
/// adjustment are those of the stream, as for any text.
/// A result is an int: write QvResultName() of it, or its error code. Which text a blob should be is not for us to say.
inline std::ostream& operator<<(std::ostream& rStream, const CString& rstr)
{
    return rStream << orvel_internal::TextOf(rstr);
}
inline std::ostream& operator<<(std::ostream& rStream, const CTime& rTime)
{
    return rStream << static_cast<std::string_view>(orvel_internal::TextOf(rTime));
}
inline std::ostream& operator<<(std::ostream& rStream, const CVersion& rVersion)
{
    return rStream << static_cast<std::string_view>(orvel_internal::TextOf(rVersion));
}

#ifdef __cpp_lib_format
/// The texts that `<<` writes, for std::format(), where the standard library has it, and for fmt::format(), where {fmt}
/// is included before this header. What stands behind the colon is that of a text.
template <>
struct std::formatter<CString> : orvel_internal::STextFormatter<std::formatter<std::string_view>>
{
};
template <>
struct std::formatter<CTime> : orvel_internal::STextFormatter<std::formatter<std::string_view>>
{
};
template <>
struct std::formatter<CVersion> : orvel_internal::STextFormatter<std::formatter<std::string_view>>
{
};
#endif

#ifdef FMT_VERSION
template <>
struct fmt::formatter<CString> : orvel_internal::STextFormatter<fmt::formatter<fmt::string_view>>
{
};
template <>
struct fmt::formatter<CTime> : orvel_internal::STextFormatter<fmt::formatter<fmt::string_view>>
{
};
template <>
struct fmt::formatter<CVersion> : orvel_internal::STextFormatter<fmt::formatter<fmt::string_view>>
{
};
#endif

#endif
