#ifndef FRAMEWORK_BASIC_MARSHAL_VALUES_H
#define FRAMEWORK_BASIC_MARSHAL_VALUES_H
#include "framework/basic/marshal_reader.h"
#include "framework/basic/marshaler.h"
#include "framework/kernel/export.h"
#include "framework/kernel/result.h"

class CTime;
template <typename T>
class CVector;
template <typename T>
class CList;
template <typename T>
class CVList;
template <typename K, typename V>
class CMap;

/// Other values in messages than those that CMarshaler itself takes: numbers, enumerations, times and containers. See
/// CMarshaler for their encoding, and CMarshalReader for how reading them fails. A type of your own takes two functions
/// in its namespace, which write and read its members in the same order:
/// ```
/// CMarshaler& operator<<(CMarshaler& rMarshaler, const SPoint& rPoint);
/// CMarshalReader& operator>>(CMarshalReader& rReader, SPoint& rPoint);
/// ```
///
/// A container of your own writes its size as an unsigned int and then its elements, and begins reading with
/// CMarshalReader::ReadCount().
///
/// - **Threads:** No locking: one thread at a time uses a marshaler, a reader or a value.
/// - **Cost:** Numbers are inline, as the marshaler's own. Programs include the headers of CTime and of containers
///   themselves.

/// Writes a number, or an enumeration with an underlying type; without one the compiler chooses its size. A template,
/// so that no argument is converted: a pointer is no bool.
template <typename T,
          std::enable_if_t<orvel_internal::g_bIS_NEW_NUMBER<T> || orvel_internal::SIsSizedEnum<T>::value, int> = 0>
CMarshaler& operator<<(CMarshaler& rMarshaler, T value)
{
    orvel_internal::UnsignedOf<T> uBits;
    memcpy(&uBits, &value, sizeof(T));
    return rMarshaler << uBits;
}
/// Reads one. Any byte but 0 is true. An enumeration may get a value that has no name.
template <typename T,
          std::enable_if_t<orvel_internal::g_bIS_NEW_NUMBER<T> || orvel_internal::SIsSizedEnum<T>::value, int> = 0>
CMarshaler& operator>>(CMarshaler& rMarshaler, T& rValue)
{
    if constexpr (std::is_enum<T>::value)
    {
        std::underlying_type_t<T> value;
        rMarshaler >> value;
        rValue = static_cast<T>(value);
    }
    else
    {
        orvel_internal::UnsignedOf<T> uBits;
        rMarshaler >> uBits;
        if constexpr (std::is_same<T, bool>::value) rValue = uBits != 0;
        else memcpy(&rValue, &uBits, sizeof(T));
    }
    return rMarshaler;
}

/// Writes the moment in UTC, as 32 bits of Julian day and 32 bits of milliseconds; neither the zone nor whether it
/// derives from a clock that was never set.
QV_EXPORT CMarshaler& operator<<(CMarshaler& rMarshaler, const CTime& rTime);
/// Sets the moment as SetJulianDateAndTime() does, which takes every day and time of day; the zone stays. A time that
/// could not be read is that of Julian day 0, 0 ms.
QV_EXPORT CMarshalReader& operator>>(CMarshalReader& rReader, CTime& rTime);

namespace orvel_internal
{
/// Writes the number of elements as 32 bits, then the elements.
template <typename Container>
CMarshaler& MarshalElements(CMarshaler& rMarshaler, const Container& rContainer)
{
    rMarshaler << rContainer.GetSize();
    for (const auto& rElement : rContainer) rMarshaler << rElement;
    return rMarshaler;
}

/// Makes the elements first, since their number is known to be possible, and reads each where it is.
template <typename T, typename Container>
CMarshalReader& ReadElements(CMarshalReader& rReader, Container& rContainer)
{
    const unsigned int uPosition = rReader.GetPosition();
    rContainer.EraseAll();
    const unsigned int uCount = rReader.ReadCount(SMarshaledMinimum<T>::value, sizeof(T));
    if (uCount == 0) return rReader;
    rReader.Fail(rContainer.Insert(0, uCount), uPosition);
    for (T& rElement : rContainer)
    {
        rReader >> rElement;
        if (rReader.HasFailed()) break;
    }
    if (rReader.HasFailed()) rContainer.EraseAll();
    return rReader;
}
}  // namespace orvel_internal

/// Writes a container of anything that has these operators: its size, then the elements.
template <typename T>
CMarshaler& operator<<(CMarshaler& rMarshaler, const CVector<T>& rVector)
{
    return orvel_internal::MarshalElements(rMarshaler, rVector);
}
template <typename T>
CMarshaler& operator<<(CMarshaler& rMarshaler, const CList<T>& rList)
{
    return orvel_internal::MarshalElements(rMarshaler, rList);
}
template <typename T>
CMarshaler& operator<<(CMarshaler& rMarshaler, const CVList<T>& rList)
{
    return orvel_internal::MarshalElements(rMarshaler, rList);
}
/// Reads a container, whose elements are replaced. They need a default constructor; what that throws passes. Empty
/// where it fails.
template <typename T>
CMarshalReader& operator>>(CMarshalReader& rReader, CVector<T>& rVector)
{
    return orvel_internal::ReadElements<T>(rReader, rVector);
}
template <typename T>
CMarshalReader& operator>>(CMarshalReader& rReader, CList<T>& rList)
{
    return orvel_internal::ReadElements<T>(rReader, rList);
}
template <typename T>
CMarshalReader& operator>>(CMarshalReader& rReader, CVList<T>& rList)
{
    return orvel_internal::ReadElements<T>(rReader, rList);
}

/// Writes a map: its size, then each key and its value, in order.
template <typename K, typename V>
CMarshaler& operator<<(CMarshaler& rMarshaler, const CMap<K, V>& rMap)
{
    rMarshaler << rMap.GetSize();
    for (const auto& [key, value] : rMap) rMarshaler << key << value;
    return rMarshaler;
}
/// Reads a map, whose entries are replaced, in whatever order they come. Each takes sizeof(K) + sizeof(V) of the
/// maximum; a key that comes twice fails with QV_RES_ALREADY_EXISTS. Empty where it fails.
template <typename K, typename V>
CMarshalReader& operator>>(CMarshalReader& rReader, CMap<K, V>& rMap)
{
    rMap.EraseAll();
    const unsigned int uMinimum = SMarshaledMinimum<K>::value + SMarshaledMinimum<V>::value;
    unsigned int uLeft = rReader.ReadCount(uMinimum, sizeof(K) + sizeof(V));
    for (; uLeft != 0 && !rReader.HasFailed(); --uLeft)
    {
        const unsigned int uPosition = rReader.GetPosition();
        K key{};
        V value{};
        rReader >> key >> value;
        if (!rReader.HasFailed()) rReader.Fail(rMap.Insert(key, static_cast<V&&>(value)), uPosition);
    }
    if (rReader.HasFailed()) rMap.EraseAll();
    return rReader;
}

template <>
struct SMarshaledMinimum<CTime> : std::integral_constant<unsigned int, 8>
{
};
template <typename T>
struct SMarshaledMinimum<CVector<T>> : std::integral_constant<unsigned int, 4>
{
};
template <typename T>
struct SMarshaledMinimum<CList<T>> : std::integral_constant<unsigned int, 4>
{
};
template <typename T>
struct SMarshaledMinimum<CVList<T>> : std::integral_constant<unsigned int, 4>
{
};
template <typename K, typename V>
struct SMarshaledMinimum<CMap<K, V>> : std::integral_constant<unsigned int, 4>
{
};

namespace orvel_internal
{
/// Whether T is read through CMarshalReader also when a marshaler is asked.
template <typename T>
constexpr bool g_bIS_READ_BY_READER = std::is_same<T, CTime>::value;
template <typename T>
inline constexpr bool g_bIS_READ_BY_READER<CVector<T>> = true;
template <typename T>
inline constexpr bool g_bIS_READ_BY_READER<CList<T>> = true;
template <typename T>
inline constexpr bool g_bIS_READ_BY_READER<CVList<T>> = true;
template <typename K, typename V>
inline constexpr bool g_bIS_READ_BY_READER<CMap<K, V>> = true;
}  // namespace orvel_internal

/// Reads a time or a container from a marshaler itself, without a maximum. Nothing is reported; what fails leaves the
/// marshaler in front of the value that could not be read.
template <typename T, std::enable_if_t<orvel_internal::g_bIS_READ_BY_READER<T>, int> = 0>
CMarshaler& operator>>(CMarshaler& rMarshaler, T& rValue)
{
    CMarshalReader reader(rMarshaler, 0xFFFFFFFF);
    reader >> rValue;
    rMarshaler.Skip(reader.GetPosition());
    return rMarshaler;
}

#endif
