#ifndef FRAMEWORK_BASIC_MARSHAL_READER_H
#define FRAMEWORK_BASIC_MARSHAL_READER_H
#include <stddef.h>
#include <string.h>

#include <type_traits>

#include "framework/basic/marshaler.h"
#include "framework/kernel/export.h"
#include "framework/kernel/result.h"

class CBlob;
class CString;

namespace orvel_internal
{
/// Whether T is one of these types.
template <typename T, typename... Types>
constexpr bool g_bIS_ONE_OF = (std::is_same<T, Types>::value || ...);
/// The numbers that a marshaler takes as members of its class, and those that it takes besides.
template <typename T>
constexpr bool g_bIS_OLD_NUMBER = g_bIS_ONE_OF<T, unsigned char, unsigned short, unsigned int, unsigned long>;
template <typename T>
constexpr bool g_bIS_NEW_NUMBER =
    g_bIS_ONE_OF<T, bool, char, signed char, short, int, long, long long, unsigned long long, float, double>;

/// Whether T is an enumeration whose underlying type the program has chosen. Otherwise the compiler chooses it.
template <typename T, typename = void>
struct SIsSizedEnum : std::false_type
{
};
template <typename T>
struct SIsSizedEnum<T, std::void_t<decltype(T{std::underlying_type_t<std::enable_if_t<std::is_enum<T>::value, T>>()})>>
    : std::true_type
{
};

/// What has the bits of a T.
template <typename T>
using UnsignedOf =
    std::conditional_t<sizeof(T) == 1, unsigned char,
                       std::conditional_t<sizeof(T) == 2, unsigned short,
                                          std::conditional_t<sizeof(T) == 4, unsigned int, unsigned long>>>;
}  // namespace orvel_internal

/// Reads what a CMarshaler packed, from bytes that anyone may have sent. It looks at them where they lie, and never
/// believes a length:
/// ```
/// CMarshalReader reader(marshaler, 4096);  // no string, blob or container of more than 4,096 bytes.
/// reader >> uId >> strName >> blobBody;
/// if (!reader.HasReadAll()) return Refuse(reader.GetResult(), reader.GetPosition());
/// marshaler.Skip(reader.GetPosition());
/// ```
///
/// A copy goes on from the same position by itself, and copies no byte: that is how one looks ahead:
/// ```
/// CMarshalReader ahead(reader);
/// ahead >> eKind;  // reader still stands in front of it.
/// ```
///
/// Where it stands:
/// ```
/// |<---- read ---->|<---- remaining ---->|
/// 0             position                size
/// ```
///
/// - **Types:** All that CMarshaler names, and those of your own that have an operator for this class. An enumeration
///   needs an underlying type, and may get a value that has no name.
/// - **Failure:** The first one is kept, with the position at which the value begins that could not be read. Whatever
///   is read from then on is zero or empty, so that one question behind a sequence of values is enough.
///   - `QV_RES_OK`: nothing has failed.
///   - `QV_RES_FAIL`: the bytes end before the value does, or before as many characters, bytes or elements as it
///     announces: more bytes might help.
///   - `QV_RES_INVALID_ARGUMENT`: no such value: a bool other than 0 and 1, or a size above the maximum.
///   - `QV_RES_OUT_OF_MEMORY`: the allocator gave no block.
///   - Other negative codes: an operator for a type of your own said so to Fail(), or a container refused:
///     QV_RES_INVALID_STATE where its capacity is locked.
/// - **Memory:** Nothing is allocated for what cannot be there. A string or blob takes at most as many bytes as are
///   there; a container takes sizeof(T) for each element, and its nodes.
/// - **Depth:** Containers in containers are as deep as their type. A type of your own that contains itself is as deep
///   as the message says, which may be deeper than the stack: its operator has to count, and to Fail().
/// - **Ownership:** Borrows the bytes, and changes nothing: what they lie in must outlive the reader. Meanwhile a blob
///   must not change, nor be read into; a marshaler must not be assigned to or cleared, whereas what is inserted or
///   extracted makes no difference.
/// - **Threads:** No locking: one thread at a time, as the source is read by one thread at a time.
/// - **Lifetime:** Needs nothing itself. Strings, times, and containers with the default allocator are read between the
///   start-up and the shut-down of the framework.
/// - **Cost:** A number is inline, and one comparison more than from memory that is known to be there.
class QV_EXPORT CMarshalReader
{
public:
    /// Reads what is unread in the marshaler; of 4 GiB and more, the first 4 GiB - 1 bytes. uMaxSize is the largest
    /// number of bytes of one string, blob or container (its elements, sizeof(T) each). Cost: a walk over the segments.
    CMarshalReader(const CMarshaler& rMarshaler, unsigned int uMaxSize);
    /// Not of a temporary, which would be gone.
    CMarshalReader(const CMarshaler&&, unsigned int) = delete;
    /// All bytes of the blob, wherever its cursors are.
    CMarshalReader(const CBlob& rBlob, unsigned int uMaxSize);
    /// Not of a temporary, which would be gone.
    CMarshalReader(const CBlob&&, unsigned int) = delete;
    /// uSize bytes; null means none.
    CMarshalReader(const void* pvBytes, unsigned int uSize, unsigned int uMaxSize)
        : m_puRead(static_cast<const unsigned char*>(pvBytes)),
          m_puPieceEnd(m_puRead + (m_puRead != nullptr ? uSize : 0)),
          m_uBehind(0),
          m_uSize(PieceSize()),
          m_uMaxSize(uMaxSize),
          m_uFailedAt(0),
          m_resFailure(QV_RES_OK)
    {
    }

    /// Takes a number or an enumeration: 0 after a failure.
    template <typename T, std::enable_if_t<orvel_internal::g_bIS_OLD_NUMBER<T> || orvel_internal::g_bIS_NEW_NUMBER<T> ||
                                               std::is_enum<T>::value,
                                           int> = 0>
    QV_HIDDEN CMarshalReader& operator>>(T& rValue)
    {
        if constexpr (std::is_enum<T>::value)
        {
            static_assert(orvel_internal::SIsSizedEnum<T>::value,
                          "without an underlying type, as in enum E : unsigned char, the compiler chooses the size");
            std::underlying_type_t<T> value;
            *this >> value;
            rValue = static_cast<T>(value);
        }
        else if constexpr (std::is_same<T, bool>::value)
        {
            const unsigned char uByte = Take<unsigned char>();
            if (uByte > 1) Fail(QV_RES_INVALID_ARGUMENT, GetPosition() - 1);
            rValue = uByte == 1;
        }
        else rValue = Take<T>();
        return *this;
    }

    /// Takes uSize bytes as they are, uMaxSize or not. False, with zeros and a failure, where fewer are there; also
    /// false after a failure.
    bool Read(void* pvDst, unsigned int uSize);
    /// Passes over uSize bytes. False, with a failure, where fewer are there; also false after a failure.
    bool Skip(unsigned int uSize);
    /// Takes the count in front of the elements of a container: for operators of your own containers. uMinBytes is the
    /// number of bytes that an element takes in the message at least (see SMarshaledMinimum), uMemory the number that
    /// it takes in memory. 0, with a failure, where so many elements cannot be there, or take more than the maximum.
    unsigned int ReadCount(unsigned int uMinBytes, unsigned int uMemory);

    /// Whether something could not be read.
    bool HasFailed() const { return m_resFailure < 0; }
    /// What could not be read, or QV_RES_OK: see Failure.
    QvResult GetResult() const { return m_resFailure; }
    /// Whether nothing has failed and nothing is left: that the message was this and no more.
    bool HasReadAll() const { return !HasFailed() && GetRemaining() == 0; }
    /// How many bytes were read; after a failure, how many there are in front of the value that could not be read.
    unsigned int GetPosition() const { return HasFailed() ? m_uFailedAt : m_uSize - GetRemaining(); }
    /// How many bytes are left; none after a failure.
    unsigned int GetRemaining() const { return static_cast<unsigned int>(m_puPieceEnd - m_puRead) + m_uBehind; }
    /// The largest number of bytes of one string, blob or container.
    unsigned int GetMaxSize() const { return m_uMaxSize; }

    /// Makes it fail: for operators that do not accept what they have read. uPosition is where that began. Nothing
    /// happens when res is no failure, or after a failure.
    void Fail(QvResult res, unsigned int uPosition)
    {
        if (res >= 0 || HasFailed()) return;
        m_resFailure = res;
        m_uFailedAt = uPosition;
        m_puRead = m_puPieceEnd;
        m_uBehind = 0;
    }

private:
    template <typename T>
    QV_HIDDEN T Take()
    {
        const unsigned char* const puRead = m_puRead;
        T value;
        if (orvel_internal::IsLikely(static_cast<size_t>(m_puPieceEnd - puRead) >= sizeof(T)))
        {
            memcpy(&value, puRead, sizeof(T));
            m_puRead = puRead + sizeof(T);
        }
        else value = TakeAcrossPieces<T>();
        return value;
    }
    // Apart, so that the value above need not be in memory.
    template <typename T>
    QV_HIDDEN __attribute__((noinline)) T TakeAcrossPieces()
    {
        T value;
        Read(&value, sizeof(T));
        return value;
    }
    QV_HIDDEN unsigned int PieceSize() const { return static_cast<unsigned int>(m_puPieceEnd - m_puRead); }
    QV_HIDDEN bool Demand(unsigned int uSize);
    QV_HIDDEN void EnterNextSegment();

    const unsigned char* m_puRead;
    // The end of the bytes that lie together. Where bytes follow in other segments, their link lies there.
    const unsigned char* m_puPieceEnd;
    unsigned int m_uBehind;
    unsigned int m_uSize;
    unsigned int m_uMaxSize;
    unsigned int m_uFailedAt;
    QvResult m_resFailure;
};

/// Reads a string: empty where that fails.
QV_EXPORT CMarshalReader& operator>>(CMarshalReader& rReader, CString& rString);
/// Reads a blob: empty, with its cursors at 0, where that fails.
QV_EXPORT CMarshalReader& operator>>(CMarshalReader& rReader, CBlob& rBlob);

/// How many bytes a T takes in a message at least, which is what bounds the counts of containers. 1 for a type of your
/// own, which must take one byte; specialise it where you know more, and for an enumeration whose operators are your
/// own and take less than its underlying type.
template <typename T, typename = void>
struct SMarshaledMinimum : std::integral_constant<unsigned int, 1>
{
};
template <typename T>
struct SMarshaledMinimum<T,
                         std::enable_if_t<orvel_internal::g_bIS_OLD_NUMBER<T> || orvel_internal::g_bIS_NEW_NUMBER<T> ||
                                          orvel_internal::SIsSizedEnum<T>::value>>
    : std::integral_constant<unsigned int, sizeof(T)>
{
};
template <>
struct SMarshaledMinimum<CString> : std::integral_constant<unsigned int, 2>
{
};
template <>
struct SMarshaledMinimum<CBlob> : std::integral_constant<unsigned int, 4>
{
};

#endif
