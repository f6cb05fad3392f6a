// Encodings are those that Python's struct module gives for "<" and the value.
#include "framework/basic/marshal_reader.h"

#include <gtest/gtest.h>

#include <cstring>

#include "framework/basic/list.h"
#include "framework/basic/map.h"
#include "framework/basic/marshal_values.h"
#include "framework/basic/string.h"
#include "framework/basic/time.h"
#include "framework/basic/vector.h"
#include "framework/basic/vector_list.h"
#include "tests/support/bytes.h"
#include "tests/support/page_end.h"
#include "tests/support/refusing_new.h"
#include "tests/support/test_allocator.h"

namespace user
{
enum EColor  // without an underlying type, and so with operators of its own
{
    eRED,
    eBLUE
};

CMarshaler& operator<<(CMarshaler& rMarshaler, EColor eColor)
{
    return rMarshaler << static_cast<unsigned char>(eColor);
}

CMarshalReader& operator>>(CMarshalReader& rReader, EColor& reColor)
{
    unsigned char uColor = 0;
    rReader >> uColor;
    reColor = static_cast<EColor>(uColor);
    return rReader;
}

struct SPoint
{
    short nX = 7;
    bool bVisible = true;
};

CMarshaler& operator<<(CMarshaler& rMarshaler, const SPoint& rPoint)
{
    return rMarshaler << rPoint.nX << rPoint.bVisible;
}

// Points on the left are refused.
CMarshalReader& operator>>(CMarshalReader& rReader, SPoint& rPoint)
{
    const unsigned int uPosition = rReader.GetPosition();
    rReader >> rPoint.nX >> rPoint.bVisible;
    if (rPoint.nX < 0) rReader.Fail(QV_RES_NO_INTERFACE, uPosition);
    return rReader;
}
}  // namespace user

namespace
{
constexpr unsigned int uNO_MAXIMUM = 0xFFFFFFFF;

enum EPlain
{
    ePLAIN
};
enum ESmall : unsigned char
{
    eSMALL = 200
};
enum class ESigned
{
    eMINUS = -2
};
enum class ETruth : bool
{
    eTRUE = true
};

template <typename T>
Bytes Encoded(const T& rValue)
{
    CMarshaler marshaler;
    EXPECT_EQ(&marshaler, &(marshaler << rValue));
    Bytes bytes(marshaler.GetUnreadSize());
    marshaler.Extract(bytes.data(), SizeOf(bytes));
    return bytes;
}

CMarshalReader ReaderOf(const Bytes& rBytes, unsigned int uMaxSize = uNO_MAXIMUM)
{
    return CMarshalReader(rBytes.data(), SizeOf(rBytes), uMaxSize);
}

CTime TimeOf(unsigned int uJulianDay, unsigned int uTimeMs)
{
    CTime time;
    time.SetJulianDateAndTime(uJulianDay, uTimeMs, true);
    return time;
}

template <typename Container, typename... Elements>
Container Of(const Elements&... elements)
{
    Container container;
    (static_cast<void>(container.Append(elements)), ...);
    return container;
}

/// A value of some other content, to be overwritten.
template <typename T>
T Other()
{
    T value{};
    const Bytes bytes = {1, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0};
    CMarshalReader reader = ReaderOf(bytes);
    reader >> value;
    return value;
}

/// What is written is read again by reader and marshaler, and nothing but zeros where a byte of it is missing.
template <typename T>
void ExpectMarshaled(const char* pszWhat, const T& rValue, const Bytes& rBytes, const Bytes& rEmpty)
{
    SCOPED_TRACE(pszWhat);
    ASSERT_EQ(rBytes, Encoded(rValue));
    T value = Other<T>();
    CMarshalReader reader = ReaderOf(rBytes);
    EXPECT_EQ(&reader, &(reader >> value));
    EXPECT_TRUE(reader.HasReadAll());
    EXPECT_EQ(rBytes, Encoded(value));
    CMarshaler marshaler;
    T extracted = Other<T>();
    EXPECT_EQ(&marshaler, &(marshaler << rValue << 0x11223344u >> extracted));
    EXPECT_EQ(rBytes, Encoded(extracted));
    EXPECT_EQ(4u, marshaler.GetUnreadSize());

    for (unsigned int uSize = 0; uSize < SizeOf(rBytes); ++uSize)
    {
        SCOPED_TRACE(uSize);
        const CPageEnd part(Bytes(rBytes.begin(), rBytes.begin() + uSize));
        CMarshalReader partReader(part.Get(), uSize, uNO_MAXIMUM);
        T partValue = Other<T>();
        unsigned int uNext = 5;
        partReader >> partValue;
        const unsigned int uPosition = partReader.GetPosition();
        EXPECT_LE(uPosition, uSize);
        partReader >> uNext;
        EXPECT_EQ(0u, uNext);
        EXPECT_EQ(rEmpty, Encoded(partValue));
        EXPECT_TRUE(partReader.HasFailed());
        EXPECT_EQ(QV_RES_FAIL, partReader.GetResult());
        EXPECT_EQ(uPosition, partReader.GetPosition());
        EXPECT_EQ(0u, partReader.GetRemaining());
        EXPECT_FALSE(partReader.HasReadAll());
        EXPECT_FALSE(partReader.Read(nullptr, 0));
        EXPECT_FALSE(partReader.Skip(0));
    }
}

template <typename T>
void ExpectNumber(const char* pszWhat, T value, const Bytes& rBytes)
{
    ExpectMarshaled(pszWhat, value, rBytes, Bytes(rBytes.size(), 0));
}

template <typename T, typename = void>
struct SIsWritten : std::false_type
{
};
template <typename T>
struct SIsWritten<T, std::void_t<decltype(std::declval<CMarshaler&>() << std::declval<T>())>> : std::true_type
{
};
static_assert(SIsWritten<bool>::value && SIsWritten<ESmall>::value && SIsWritten<int&>::value);
static_assert(!SIsWritten<void*>::value && !SIsWritten<EPlain>::value && !SIsWritten<long double>::value);
static_assert(!std::is_constructible_v<CMarshalReader, CMarshaler, unsigned int> &&
              !std::is_constructible_v<CMarshalReader, CBlob, unsigned int>);
}  // namespace

TEST(MarshalReader, ReadsWhatWasWrittenAndNothingOfWhatWasCut)
{
    ExpectNumber<unsigned char>("unsigned char", 0xA1, {0xA1});
    ExpectNumber<unsigned short>("unsigned short", 0x0102, {2, 1});
    ExpectNumber<unsigned int>("unsigned int", 0x01020304, {4, 3, 2, 1});
    ExpectNumber<unsigned long>("unsigned long", 0x0102030405060708, {8, 7, 6, 5, 4, 3, 2, 1});
    ExpectNumber("bool", true, {1});
    ExpectNumber("char", 'A', {0x41});
    ExpectNumber<signed char>("signed char", -2, {0xFE});
    ExpectNumber<short>("short", -2, {0xFE, 0xFF});
    ExpectNumber("int", -3, {0xFD, 0xFF, 0xFF, 0xFF});
    ExpectNumber<long>("long", -4, {0xFC, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF});
    ExpectNumber("long long", -9223372036854775807LL - 1, {0, 0, 0, 0, 0, 0, 0, 0x80});
    ExpectNumber("unsigned long long", 0x8877665544332211ULL, {0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x77, 0x88});
    ExpectNumber("float", -1.5f, {0, 0, 0xC0, 0xBF});
    ExpectNumber("double", 3.141592653589793, {0x18, 0x2D, 0x44, 0x54, 0xFB, 0x21, 0x09, 0x40});
    ExpectNumber("small enumeration", eSMALL, {200});
    ExpectNumber("enumeration of int", ESigned::eMINUS, {0xFE, 0xFF, 0xFF, 0xFF});
    ExpectNumber("enumeration of bool", ETruth::eTRUE, {1});

    ExpectMarshaled("string", CString("a\0b", 3), {3, 0, 'a', 0, 'b'}, {0, 0});
    ExpectMarshaled("blob", CBlob(Bytes{9, 8}.data(), 2), {2, 0, 0, 0, 9, 8}, {0, 0, 0, 0});
    ExpectMarshaled("time", TimeOf(2451545, 43200000), {0x59, 0x68, 0x25, 0, 0, 0x2E, 0x93, 0x02}, Bytes(8, 0));
    ExpectMarshaled("vector", Of<CVector<int>>(1, -1), {2, 0, 0, 0, 1, 0, 0, 0, 0xFF, 0xFF, 0xFF, 0xFF}, {0, 0, 0, 0});
    ExpectMarshaled("list", Of<CList<CString>>("a", ""), {2, 0, 0, 0, 1, 0, 'a', 0, 0}, {0, 0, 0, 0});
    ExpectMarshaled("vector-list", Of<CVList<bool>>(true, false, true), {3, 0, 0, 0, 1, 0, 1}, {0, 0, 0, 0});
    ExpectMarshaled("vectors", Of<CVector<CVector<char>>>(CVector<char>(), Of<CVector<char>>('x', 'y')),
                    {2, 0, 0, 0, 0, 0, 0, 0, 2, 0, 0, 0, 'x', 'y'}, {0, 0, 0, 0});
    CMap<CString, short> map;
    map["b"] = 1;
    map["a"] = -1;
    ExpectMarshaled("map", map, {2, 0, 0, 0, 1, 0, 'a', 0xFF, 0xFF, 1, 0, 'b', 1, 0}, {0, 0, 0, 0});
    ExpectMarshaled("types of a program", Of<CVector<user::SPoint>>(user::SPoint{5, true}), {1, 0, 0, 0, 5, 0, 1},
                    {0, 0, 0, 0});
    ExpectMarshaled("an enumeration of one byte", Of<CVector<user::EColor>>(user::eRED, user::eBLUE),
                    {2, 0, 0, 0, 0, 1}, {0, 0, 0, 0});
}

TEST(MarshalReader, BitsOfFloatingPointNumbersStayAsTheyAre)
{
    const Bytes bytes = {1, 0, 0xA0, 0x7F, 1, 0, 0, 0, 0, 0, 0xF4, 0xFF};  // NaNs that signal
    float fValue = 0;
    double dValue = 0;
    ReaderOf(bytes) >> fValue >> dValue;
    CMarshaler marshaler;
    marshaler << fValue << dValue;
    Bytes again(12);
    marshaler.Extract(again.data(), 12);
    EXPECT_EQ(bytes, again);
}

TEST(MarshalReader, ATextIsNoBoolAndAnyByteOfAMarshalerIsOne)
{
    CMarshaler marshaler;
    marshaler << "ab" << static_cast<unsigned char>(0x80);
    CString str;
    bool bValue = false;
    marshaler >> str >> bValue;
    EXPECT_STREQ("ab", str.CStr());
    EXPECT_TRUE(bValue);
}

namespace
{
using PFNREAD = void (*)(CMarshalReader&);

template <typename T>
void ReadOne(CMarshalReader& rReader)
{
    T value = Other<T>();
    rReader >> value;
    if (!rReader.HasFailed()) return;
    for (const unsigned char uByte : Encoded(value)) EXPECT_EQ(0, uByte);
}

template <typename T>
void ReadTwo(CMarshalReader& rReader)
{
    ReadOne<unsigned char>(rReader);
    ReadOne<T>(rReader);
}

struct SJudged
{
    const char* pszWhat;
    Bytes bytes;
    unsigned int uMaxSize;
    PFNREAD pfnRead;
    QvResult res;
    unsigned int uPosition;
};

const SJudged g_astJUDGED[] = {
    {"neither true nor false", {7, 2, 0}, 0, ReadTwo<bool>, QV_RES_INVALID_ARGUMENT, 1},
    {"neither, in an enumeration", {255}, 0, ReadOne<ETruth>, QV_RES_INVALID_ARGUMENT, 0},
    {"an enumerator without a name", {3}, 0, ReadOne<ESmall>, QV_RES_OK, 1},
    {"half a number", {7, 1, 2}, 0, ReadTwo<int>, QV_RES_FAIL, 1},
    {"a string of the maximum", {2, 0, 'a', 'b', 9}, 2, ReadOne<CString>, QV_RES_OK, 4},
    {"a string above the maximum", {7, 3, 0, 'a', 'b', 'c'}, 2, ReadTwo<CString>, QV_RES_INVALID_ARGUMENT, 1},
    {"a string above both", {3, 0, 'a'}, 2, ReadOne<CString>, QV_RES_INVALID_ARGUMENT, 0},
    {"a string longer than is there", {7, 3, 0, 'a', 'b'}, 3, ReadTwo<CString>, QV_RES_FAIL, 1},
    {"an empty string", {0, 0}, 0, ReadOne<CString>, QV_RES_OK, 2},
    {"a blob of the maximum", {2, 0, 0, 0, 8, 9}, 2, ReadOne<CBlob>, QV_RES_OK, 6},
    {"a blob above the maximum", {3, 0, 0, 0, 7, 8, 9}, 2, ReadOne<CBlob>, QV_RES_INVALID_ARGUMENT, 0},
    {"a blob of nearly all memory", {0xF0, 0xFF, 0xFF, 0xFF, 1}, uNO_MAXIMUM, ReadOne<CBlob>, QV_RES_FAIL, 0},
    {"the same, above the maximum", {0xF0, 0xFF, 0xFF, 0xFF, 1}, 4096, ReadOne<CBlob>, QV_RES_INVALID_ARGUMENT, 0},
    {"the same, of numbers", {0xF0, 0xFF, 0xFF, 0xFF, 1}, uNO_MAXIMUM, ReadOne<CList<char>>, QV_RES_FAIL, 0},
    {"a product above 32 bits", {0, 0, 0, 0x40, 1}, uNO_MAXIMUM, ReadOne<CVector<int>>, QV_RES_INVALID_ARGUMENT, 0},
    {"elements of the maximum", {2, 0, 0, 0, 1, 0, 2, 0}, 4, ReadOne<CVList<short>>, QV_RES_OK, 8},
    {"elements above the maximum", {2, 0, 0, 0, 1, 0, 2, 0}, 3, ReadOne<CVList<short>>, QV_RES_INVALID_ARGUMENT, 0},
    {"more strings than fit", {7, 2, 0, 0, 0, 0, 0, 0}, 99, ReadTwo<CVector<CString>>, QV_RES_FAIL, 1},
    {"more vectors than fit", {2, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}, 999, ReadOne<CVector<CList<int>>>, QV_RES_FAIL, 0},
    {"more times than fit", {1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}, 999, ReadOne<CVector<CTime>>, QV_RES_FAIL, 0},
    {"a bad element", {3, 0, 0, 0, 1, 2, 1}, 99, ReadOne<CVector<bool>>, QV_RES_INVALID_ARGUMENT, 5},
    {"a cut element", {2, 0, 0, 0, 0, 0, 5, 0}, 99, ReadOne<CList<CString>>, QV_RES_FAIL, 6},
    {"a point on the left", {1, 0, 0, 0, 0xFF, 0xFF, 1}, 99, ReadOne<CVector<user::SPoint>>, QV_RES_NO_INTERFACE, 4},
    {"a map in any order", {2, 0, 0, 0, 9, 1, 8, 1}, 4, ReadOne<CMap<char, bool>>, QV_RES_OK, 8},
    {"a key that comes twice", {2, 0, 0, 0, 9, 1, 9, 1}, 4, ReadOne<CMap<char, bool>>, QV_RES_ALREADY_EXISTS, 6},
    {"a map above the maximum", {2, 0, 0, 0, 9, 1, 8, 1}, 3, ReadOne<CMap<char, bool>>, QV_RES_INVALID_ARGUMENT, 0},
    {"a bad value", {2, 0, 0, 0, 9, 1, 8, 2}, 4, ReadOne<CMap<char, bool>>, QV_RES_INVALID_ARGUMENT, 7},
    {"a cut value", {7, 1, 0, 0, 0, 2, 5, 0, 'a'}, 99, ReadTwo<CMap<char, CString>>, QV_RES_FAIL, 6},
    {"more entries than fit", {2, 0, 0, 0, 9, 0, 0, 9, 0}, 99, ReadOne<CMap<char, CString>>, QV_RES_FAIL, 0},
    {"more maps than fit", {2, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}, 999, ReadOne<CList<CMap<int, int>>>, QV_RES_FAIL, 0},
    {"half a time", {7, 1, 0, 0, 0, 2, 0, 0}, 0, ReadTwo<CTime>, QV_RES_FAIL, 1}};
}  // namespace

TEST(MarshalReader, SaysWhatWasWrongAndWhere)
{
    for (const SJudged& rstJudged : g_astJUDGED)
    {
        SCOPED_TRACE(rstJudged.pszWhat);
        const CNewRecord record;
        CMarshalReader reader = ReaderOf(rstJudged.bytes, rstJudged.uMaxSize);
        rstJudged.pfnRead(reader);
        EXPECT_EQ(rstJudged.res, reader.GetResult());
        EXPECT_EQ(rstJudged.uPosition, reader.GetPosition());
        EXPECT_EQ(reader.HasFailed() ? 0 : SizeOf(rstJudged.bytes) - rstJudged.uPosition, reader.GetRemaining());
        for (const std::size_t uRequest : record.GetRequests()) EXPECT_LT(uRequest, 4096u);
    }
}

TEST(MarshalReader, ReadsAMarshalerWhereverItsSegmentsEndAndLeavesItAsItWas)
{
    for (unsigned int uBefore = 0; uBefore <= 240; ++uBefore)
    {
        SCOPED_TRACE(uBefore);
        CMarshaler marshaler;
        const CString strText("a text that is longer than a segment: 0123456789 0123456789 0123456789 0123456789 0123");
        for (unsigned int u = 0; u < uBefore; ++u) marshaler << static_cast<unsigned char>(u);
        marshaler << true << 0x1122334455667788ul << strText << -5;
        Bytes before(uBefore);
        for (const unsigned int uExtracted : {0u, uBefore / 2, uBefore})
        {
            CMarshaler source(marshaler);
            source.Skip(uExtracted);
            CMarshalReader reader(source, 88);
            source << 0xFFFFFFFFu;
            ASSERT_EQ(uBefore - uExtracted + 1 + 8 + 2 + strText.GetSize() + 4, reader.GetRemaining());
            if (uExtracted == 0)
            {
                ASSERT_TRUE(reader.Read(before.data(), uBefore));
                for (unsigned int u = 0; u < uBefore; ++u) ASSERT_EQ(u & 0xFF, before[u]);
            }
            else ASSERT_TRUE(reader.Skip(uBefore - uExtracted));
            bool bValue = false;
            unsigned long uLong = 0;
            CString str;
            int nValue = 0;
            CMarshalReader copy(reader);
            copy >> bValue >> uLong;
            reader >> bValue >> uLong >> str >> nValue;
            ASSERT_EQ(uBefore - uExtracted + 9, copy.GetPosition());
            ASSERT_EQ(0x1122334455667788ul, uLong);
            ASSERT_EQ(strText, str);
            ASSERT_EQ(-5, nValue);
            ASSERT_TRUE(reader.HasReadAll());
            source.Skip(reader.GetPosition());
            ASSERT_EQ(4u, source.GetUnreadSize());
        }
    }
}

TEST(MarshalReader, BytesThatAreNotThereAreZerosAndNoneIsTaken)
{
    CMarshaler marshaler;
    for (unsigned int u = 0; u < 150; ++u) marshaler << 'x';
    CMarshalReader reader(marshaler, 0);
    ASSERT_TRUE(reader.Skip(20));
    CMarshalReader skipping(reader);
    Bytes bytes(131, 1);
    EXPECT_FALSE(reader.Read(bytes.data(), 131));
    EXPECT_FALSE(skipping.Skip(131));
    EXPECT_EQ(Bytes(131, 0), bytes);
    for (const CMarshalReader& rFailed : {reader, skipping})
    {
        EXPECT_EQ(QV_RES_FAIL, rFailed.GetResult());
        EXPECT_EQ(20u, rFailed.GetPosition());
    }
    CMarshalReader atEnd(marshaler, 0);
    int nValue = 5;
    EXPECT_TRUE(atEnd.Skip(148));
    atEnd >> nValue;
    EXPECT_EQ(0, nValue) << "there is room behind the last byte, but no value";
    EXPECT_EQ(148u, atEnd.GetPosition());
}

TEST(MarshalReader, CountsElementsOfAnySizeWithoutOverflow)
{
    const Bytes bytes = {0, 0, 0, 0x20, 1, 2, 3, 4};
    for (const unsigned int uMinBytes : {1u, 7u, 8u, 0xFFFFFFFFu})
    {
        CMarshalReader reader = ReaderOf(bytes);
        EXPECT_EQ(0u, reader.ReadCount(uMinBytes, 1));
        EXPECT_EQ(QV_RES_FAIL, reader.GetResult());
    }
    CMarshalReader reader = ReaderOf(bytes);
    EXPECT_EQ(0x20000000u, reader.ReadCount(0, 7)) << "elements that take no bytes";
    EXPECT_EQ(4u, reader.GetPosition());
}

TEST(MarshalReader, ReadsAllOfABlobAndNothingOfNothing)
{
    CBlob blob(Bytes{1, 2}.data(), 2);
    blob.SetReadIndex(1);
    unsigned short uValue = 0;
    CMarshalReader reader(blob, 0);
    reader >> uValue;
    EXPECT_EQ(0x0201, uValue);
    EXPECT_TRUE(reader.HasReadAll());
    const CMarshaler empty;
    for (const CMarshalReader& rReader :
         {CMarshalReader(nullptr, 5, 0), CMarshalReader(DataOf({}), 0, 0), CMarshalReader(empty, 0)})
    {
        EXPECT_TRUE(rReader.HasReadAll());
        EXPECT_EQ(0u, rReader.GetPosition());
    }
}

TEST(MarshalReader, AnOperatorFailsItOnceAndOnlyWithAFailure)
{
    const Bytes bytes = {1, 2, 3};
    CMarshalReader reader = ReaderOf(bytes);
    unsigned char uByte = 0;
    reader >> uByte;
    reader.Fail(QV_RES_OK, 0);
    EXPECT_EQ(2u, reader.GetRemaining());
    reader.Fail(QV_RES_NO_INTERFACE, 1);
    reader.Fail(QV_RES_OUT_OF_MEMORY, 0);
    EXPECT_EQ(QV_RES_NO_INTERFACE, reader.GetResult());
    EXPECT_EQ(1u, reader.GetPosition());
    reader >> uByte;
    EXPECT_EQ(0, uByte);
}

TEST(MarshalReader, AFailureLeavesNothingToReadInAnySegment)
{
    CMarshaler marshaler;
    for (unsigned int u = 0; u < 100; ++u) marshaler << u;
    CMarshalReader reader(marshaler, 0);
    reader.Fail(QV_RES_NO_INTERFACE, 0);
    EXPECT_EQ(0u, reader.GetRemaining());
    unsigned int uRead = 1;
    reader >> uRead;
    EXPECT_EQ(0u, uRead);
    EXPECT_EQ(0u, reader.GetRemaining());
}

TEST(MarshalReader, WithoutMemoryItSaysSo)
{
    CTestAllocator allocator;
    const Bytes bytes = {7, 2, 0, 0, 0, 8, 9};
    CBlob blob(Bytes{1}.data(), 1, 0, &allocator);
    CVector<char> vector(&allocator);
    CList<char> list(&allocator);
    const auto expect = [&](auto& rValue, QvResult res)
    {
        CMarshalReader reader = ReaderOf(bytes);
        reader.Skip(1);
        reader >> rValue;
        EXPECT_EQ(res, reader.GetResult());
        EXPECT_EQ(1u, reader.GetPosition());
        EXPECT_TRUE(rValue.IsEmpty());
    };
    allocator.SetRefusing(true);
    expect(blob, QV_RES_OUT_OF_MEMORY);
    expect(vector, QV_RES_OUT_OF_MEMORY);
    expect(list, QV_RES_OUT_OF_MEMORY);
    allocator.SetRefusing(false);
    vector.SetLockCapacity(1);
    expect(vector, QV_RES_INVALID_STATE);

    CMap<char, bool> map(&allocator);
    map['x'] = true;
    const Bytes entries = {2, 0, 0, 0, 8, 0, 9, 0};
    CMarshalReader reader = ReaderOf(entries);
    map.ReduceCapacity(0);
    allocator.SetRefusing(true);
    reader >> map;
    EXPECT_EQ(QV_RES_OUT_OF_MEMORY, reader.GetResult());
    EXPECT_EQ(6u, reader.GetPosition()) << "the first one had the node of 'x'";
    EXPECT_TRUE(map.IsEmpty());
}

TEST(MarshalReader, AStringWithoutMemoryIsEmpty)
{
    const CString strShared("shared");
    for (const bool bShared : {false, true})
    {
        CString str(bShared ? strShared : CString("own"));
        const Bytes bytes = Encoded(CString("0123456789012345678901234567890123456789"));
        CMarshalReader reader = ReaderOf(bytes);
        const CNoMemory noMemory;
        reader >> str;
        ASSERT_TRUE(noMemory.HasRefused());
        EXPECT_EQ(QV_RES_OUT_OF_MEMORY, reader.GetResult());
        EXPECT_EQ(0u, reader.GetPosition());
        EXPECT_TRUE(str.IsEmpty());
    }
}

TEST(MarshalReader, AMarshalerStaysInFrontOfTheElementThatItCouldNotRead)
{
    CMarshaler marshaler;
    marshaler << 3u << true << static_cast<unsigned char>(9) << false;
    CVector<bool> vector;
    marshaler >> vector;
    EXPECT_TRUE(vector.IsEmpty());
    EXPECT_EQ(2u, marshaler.GetUnreadSize());
}
