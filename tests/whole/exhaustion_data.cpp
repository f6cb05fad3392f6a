#include <optional>
#include <string>

#include "framework/basic/blob.h"
#include "framework/basic/marshaler.h"
#include "framework/basic/pool.h"
#include "framework/basic/string.h"
#include "framework/basic/time.h"
#include "framework/basic/time_zone.h"
#include "framework/basic/vector.h"
#include "framework/crypto/base64.h"
#include "tests/support/bytes.h"
#include "tests/support/string_probe.h"
#include "tests/whole/exhaustion.h"

namespace
{
const std::string g_BEFORE(40, 'a');

/// An operation on a string that shares its block with a copy: refused, it leaves the text as it was; done, the text
/// given. The copy never changes.
template <typename Operation>
void TryText(CTrial& rTrial, const std::string& rAfter, Operation&& rOperation)
{
    CString strText(g_BEFORE.c_str());
    const CString strCopy(strText);
    rTrial.Run([&] { return rOperation(strText); });
    rTrial.ExpectResult();
    rTrial.ExpectState(g_BEFORE, rAfter, TextOf(strText));
    EXPECT_EQ(g_BEFORE, TextOf(strCopy));
    strText = "goes on";
    EXPECT_EQ("goes on", TextOf(strText));
}

// Makes a string; without memory it is empty.
template <typename Operation>
void TryMakeText(CTrial& rTrial, const std::string& rText, Operation&& rOperation)
{
    std::optional<CString> strText;
    rTrial.Run([&] { rOperation(strText); });
    rTrial.ExpectNoThrow();
    rTrial.ExpectState(std::string(), rText, TextOf(*strText));
}

void TryStringAssignText(CTrial& rTrial)
{
    const std::string other(90, 'b');
    TryText(rTrial, other, [&](CString& r) { r = other.c_str(); });
}
void TryStringAppend(CTrial& rTrial)
{
    const CString strMore("more");
    TryText(rTrial, g_BEFORE + "more", [&](CString& r) { r += strMore; });
}
// Without memory for the sum, what was to be appended is missing; without any, it is empty.
void TryStringSum(CTrial& rTrial)
{
    const CString strLeft(g_BEFORE.c_str());
    std::optional<CString> strSum;
    rTrial.Run([&] { strSum.emplace(strLeft + "more"); });
    rTrial.ExpectNoThrow();
    if (rTrial.IsDone()) { EXPECT_EQ(g_BEFORE + "more", TextOf(*strSum)); }
    else { EXPECT_TRUE(TextOf(*strSum) == g_BEFORE || strSum->IsEmpty()) << TextOf(*strSum); }
    EXPECT_EQ(g_BEFORE, TextOf(strLeft));
}
void TryStringInsertString(CTrial& rTrial)
{
    const CString strMore("more");
    TryText(rTrial, "oror" + g_BEFORE, [&](CString& r) { return r.Insert(0, 2, strMore, 1, 2); });
}
void TryStringToLowerCase(CTrial& rTrial)
{
    const std::string before = "ABC" + std::string(40, 'D');
    CString strText(before.c_str());
    const CString strCopy(strText);
    rTrial.Run([&] { strText.ToLowerCase(); });
    rTrial.ExpectNoThrow();
    EXPECT_EQ(rTrial.IsDone() ? "abc" + std::string(40, 'd') : before, TextOf(strText));
    EXPECT_EQ(before, TextOf(strCopy));
}
void TryStringSplit(CTrial& rTrial)
{
    const CString strText("first,second,third");
    CVector<CString> parts(rTrial.Source());
    ASSERT_EQ(QV_RES_OK, parts.Append(CString("old")));
    rTrial.Run([&] { return strText.Split(',', &parts); });
    rTrial.ExpectResult();
    EXPECT_TRUE(rTrial.IsDone() ? parts.GetSize() == 3 && parts[2] == "third"
                                : parts.IsEmpty() || (parts.GetSize() == 1 && parts[0] == "old"));
}
void TryStringPushBack(CTrial& rTrial)
{
    CString strText(g_BEFORE.c_str());
    const CString strCopy(strText);
    rTrial.Run([&] { strText.push_back('b'); });
    rTrial.ExpectThrow();
    EXPECT_EQ(rTrial.HasThrown() ? g_BEFORE : g_BEFORE + 'b', TextOf(strText));
}
void TryStringGetBuffer(CTrial& rTrial)
{
    CString strText(g_BEFORE.c_str());
    const CString strCopy(strText);
    char* pszBuffer = nullptr;
    rTrial.Run([&] { pszBuffer = strText.GetBuffer(); });
    rTrial.ExpectNoThrow();
    EXPECT_EQ(rTrial.IsDone(), pszBuffer != nullptr);
    EXPECT_EQ(g_BEFORE, TextOf(strText));
}
void TryStringReduce(CTrial& rTrial)
{
    CString strText(g_BEFORE.c_str());
    ASSERT_EQ(QV_RES_OK, strText.ReserveCapacity(500));
    rTrial.Run([&] { return strText.ReduceCapacity(0); });
    rTrial.ExpectResult();
    EXPECT_EQ(g_BEFORE, TextOf(strText));
}
// After a refusal the string ends where the text was to begin, or, when even that takes memory, is as it was.
void TryStringFormat(CTrial& rTrial)
{
    const std::string long_text(700, 'f');
    CString strText(g_BEFORE.c_str());
    const CString strCopy(strText);
    rTrial.Run([&] { return strText.Format(3, "%s %d", long_text.c_str(), 7); });
    rTrial.ExpectResult();
    if (rTrial.IsDone()) { EXPECT_EQ("aaa" + long_text + " 7", TextOf(strText)); }
    else { EXPECT_TRUE(TextOf(strText) == "aaa" || TextOf(strText) == g_BEFORE) << TextOf(strText); }
    EXPECT_EQ(g_BEFORE, TextOf(strCopy));
}
void TryStringExtract(CTrial& rTrial)
{
    CMarshaler marshaler;
    marshaler << CString(g_BEFORE.c_str()) << 7u;
    CString strText("before");
    unsigned int uBehind = 0;
    rTrial.Run([&] { marshaler >> strText; });
    rTrial.ExpectNoThrow();
    marshaler >> uBehind;
    EXPECT_EQ(rTrial.IsDone() ? g_BEFORE : "", TextOf(strText));
    EXPECT_EQ(7u, uBehind) << "the stream is out of step";
}

const Bytes g_auBEFORE = {1, 2, 3};

template <typename Operation>
void TryBytes(CTrial& rTrial, const Bytes& rAfter, Operation&& rOperation)
{
    CBlob blob(rTrial.Source());
    ASSERT_EQ(QV_RES_OK, blob.Append(g_auBEFORE.data(), 3));
    rTrial.Run([&] { return rOperation(blob); });
    rTrial.ExpectResult();
    rTrial.ExpectState(g_auBEFORE, rAfter, BytesOf(blob));
    EXPECT_EQ(QV_RES_OK, blob.ReserveCapacity(50));
}
void TryBlobMake(CTrial& rTrial)
{
    std::optional<CBlob> blob;
    rTrial.Run([&] { blob.emplace(rTrial.Source()); });
    rTrial.ExpectThrow();
}
void TryBlobMakeWithRoom(CTrial& rTrial)
{
    std::optional<CBlob> blob;
    rTrial.Run([&] { blob.emplace(10u, rTrial.Source()); });
    if (!rTrial.HasThrown()) { EXPECT_EQ(rTrial.IsDone() ? 10u : 0u, blob->GetCapacity()); }
}
void TryBlobMakeOfBytes(CTrial& rTrial)
{
    std::optional<CBlob> blob;
    rTrial.Run([&] { blob.emplace(g_auBEFORE.data(), 3u, 5u, rTrial.Source()); });
    if (!rTrial.HasThrown()) { rTrial.ExpectState(Bytes(), g_auBEFORE, BytesOf(*blob)); }
}
void TryBlobCopy(CTrial& rTrial)
{
    const CBlob source(g_auBEFORE.data(), 3u, 5u, rTrial.Source());
    std::optional<CBlob> blob;
    rTrial.Run([&] { blob.emplace(source); });
    if (!rTrial.HasThrown()) { rTrial.ExpectState(Bytes(), g_auBEFORE, BytesOf(*blob)); }
}
void TryBlobAssign(CTrial& rTrial)
{
    const Bytes many(30, 9);
    const CBlob source(many.data(), 30);
    TryBytes(rTrial, many, [&](CBlob& r) { r = source; });
}
void TryBlobInsertBlob(CTrial& rTrial)
{
    const CBlob source(g_auBEFORE.data(), 3);
    TryBytes(rTrial, {1, 2, 3, 2, 3}, [&](CBlob& r) { return r.Insert(3, source, 1, CBlob::uTO_END); });
}
void TryBlobAppendString(CTrial& rTrial)
{
    const CString strText("\1\2");
    TryBytes(rTrial, {1, 2, 3, 1, 2}, [&](CBlob& r) { return r.Append(strText); });
}
// What cannot report throws.
void TryBlobPushBack(CTrial& rTrial)
{
    CBlob blob(g_auBEFORE.data(), 3u, 3u, rTrial.Source());
    rTrial.Run([&] { blob.push_back(4); });
    EXPECT_FALSE(rTrial.HasThrown()) << "the least that does can be had";
    EXPECT_EQ((Bytes{1, 2, 3, 4}), BytesOf(blob));
}
void TryBlobMakeOfRange(CTrial& rTrial)
{
    std::optional<CBlob> blob;
    rTrial.Run([&] { blob.emplace(g_auBEFORE.begin(), g_auBEFORE.end()); });
    rTrial.ExpectThrow();
    if (rTrial.IsDone()) { EXPECT_EQ(g_auBEFORE, BytesOf(*blob)); }
}
template <typename Operation>
void TryTextOfBlob(CTrial& rTrial, const std::string& rAfter, Operation&& rOperation)
{
    const Bytes many(90, 'b');
    const CBlob blob(many.data(), 90);
    TryText(rTrial, rAfter, [&](CString& r) { return rOperation(blob, &r); });
}
void TryBlobToText(CTrial& rTrial)
{
    TryTextOfBlob(rTrial, std::string(90, 'b'), [](const CBlob& r, CString* pstr) { return r.ToText(pstr); });
}
void TryBlobToHex(CTrial& rTrial)
{
    std::string hex;
    for (unsigned int u = 0; u < 90; ++u) hex += "62";
    TryTextOfBlob(rTrial, hex, [](const CBlob& r, CString* pstr) { return r.ToHex(pstr); });
}
void TryBlobToBase64(CTrial& rTrial)
{
    std::string text;
    for (unsigned int u = 0; u < 30; ++u) text += "YmJi";
    TryTextOfBlob(rTrial, text, [](const CBlob& r, CString* pstr) { return CBase64::ToText(r, pstr); });
}
void TryBlobReduce(CTrial& rTrial)
{
    CBlob blob(g_auBEFORE.data(), 3u, 50u, rTrial.Source());
    rTrial.Run([&] { return blob.ReduceCapacity(0); });
    rTrial.ExpectResult();
    EXPECT_EQ(g_auBEFORE, BytesOf(blob));
}
void TryBlobExtract(CTrial& rTrial)
{
    const Bytes many(200, 9);
    CMarshaler marshaler;
    marshaler << CBlob(many.data(), 200) << 7u;
    CBlob blob(g_auBEFORE.data(), 3u, 3u, rTrial.Source());
    unsigned int uBehind = 0;
    rTrial.Run([&] { marshaler >> blob; });
    rTrial.ExpectNoThrow();
    marshaler >> uBehind;
    EXPECT_EQ(rTrial.IsDone() ? many : g_auBEFORE, BytesOf(blob));
    EXPECT_EQ(7u, uBehind) << "the stream is out of step";
}

// What found no room is not there; what was written before is.
void TryMarshalerExtractAll(CTrial& rTrial)
{
    const Bytes many(200, 9);
    CMarshaler marshaler;
    marshaler.Insert(many.data(), 200);
    CBlob blob(g_auBEFORE.data(), 3u, 3u, rTrial.Source());
    rTrial.Run([&] { return marshaler.ExtractAll(blob) ? QV_RES_OK : QV_RES_OUT_OF_MEMORY; });
    rTrial.ExpectResult();
    rTrial.ExpectState(g_auBEFORE, many, BytesOf(blob));
    EXPECT_EQ(rTrial.IsDone() ? 0u : 200u, marshaler.GetUnreadSize());
}
void TryMarshalerInsert(CTrial& rTrial)
{
    CMarshaler marshaler;
    marshaler << 1u;
    const Bytes many(300, 9);
    rTrial.Run([&] { marshaler.Insert(many.data(), 300); });
    rTrial.ExpectNoThrow();
    EXPECT_EQ(rTrial.IsDone(), marshaler.GetUnreadSize() == 304);
    EXPECT_LE(4u, marshaler.GetUnreadSize());
    unsigned int uFirst = 0;
    marshaler >> uFirst;
    EXPECT_EQ(1u, uFirst);
}
void TryMarshalerCopy(CTrial& rTrial)
{
    CMarshaler marshaler;
    const Bytes many(300, 9);
    marshaler.Insert(many.data(), 300);
    std::optional<CMarshaler> copy;
    rTrial.Run([&] { copy.emplace(marshaler); });
    rTrial.ExpectNoThrow();
    EXPECT_EQ(rTrial.IsDone(), copy->GetUnreadSize() == 300);
    EXPECT_EQ(300u, marshaler.GetUnreadSize());
}
void TryMarshalerAssign(CTrial& rTrial)
{
    CMarshaler marshaler;
    const Bytes many(300, 9);
    marshaler.Insert(many.data(), 300);
    CMarshaler copy;
    rTrial.Run([&] { copy = marshaler; });
    rTrial.ExpectNoThrow();
    EXPECT_EQ(rTrial.IsDone(), copy.GetUnreadSize() == 300);
    EXPECT_EQ(300u, marshaler.GetUnreadSize());
}
void TryPoolAllocate(CTrial& rTrial)
{
    void* pvBlock = nullptr;
    rTrial.Run([&] { pvBlock = CPool<CMarshaler>::Allocate(); });
    rTrial.ExpectNoThrow();
    EXPECT_EQ(rTrial.IsDone(), pvBlock != nullptr);
    CPool<CMarshaler>::Deallocate(pvBlock);
}
struct SPooled
{
    char acBytes[40];
};
void TryPoolInitialize(CTrial& rTrial)
{
    rTrial.Run([&] { CPool<SPooled>::Initialize(true, 3, false, rTrial.Source()); });
    void* const pvBlock = CPool<SPooled>::Allocate();
    EXPECT_EQ(rTrial.HasThrown(), pvBlock == nullptr) << "half of it is set up";
    CPool<SPooled>::Deallocate(pvBlock);
    CPool<SPooled>::Uninitialize();
}

constexpr const char* g_pszZONE = "EST5EDT,M3.2.0,M11.1.0";
void TryZoneSet(CTrial& rTrial)
{
    CTimeZone zone("UTC0");
    rTrial.Run([&] { return zone.SetTimeZone(g_pszZONE); });
    rTrial.ExpectResult();
    EXPECT_STREQ(rTrial.IsDone() ? g_pszZONE : "UTC0", zone.GetTimeZone());
}
// A zone whose text could not be kept is as one that was never set.
void TryZoneMake(CTrial& rTrial)
{
    std::optional<CTimeZone> zone;
    rTrial.Run([&] { zone.emplace(g_pszZONE); });
    rTrial.ExpectNoThrow();
    EXPECT_STREQ(rTrial.IsDone() ? g_pszZONE : "", zone->GetTimeZone());
}
void TryZoneCopy(CTrial& rTrial)
{
    const CTimeZone source(g_pszZONE);
    std::optional<CTimeZone> zone;
    rTrial.Run([&] { zone.emplace(source); });
    rTrial.ExpectNoThrow();
    EXPECT_STREQ(rTrial.IsDone() ? g_pszZONE : "", zone->GetTimeZone());
}
void TryZoneAssign(CTrial& rTrial)
{
    const CTimeZone source(g_pszZONE);
    CTimeZone zone("UTC0");
    rTrial.Run([&] { zone = source; });
    rTrial.ExpectNoThrow();
    if (rTrial.IsDone()) { EXPECT_STREQ(g_pszZONE, zone.GetTimeZone()); }
}
void TrySystemZone(CTrial& rTrial)
{
    const std::string before = TextOf(CTime::GetSystemTimeZone());
    bool bSet = false;
    rTrial.Run([&] { bSet = CTime::SetSystemTimeZone(g_pszZONE); });
    rTrial.ExpectNoThrow();
    EXPECT_EQ(rTrial.IsDone(), bSet);
    EXPECT_EQ(bSet ? g_pszZONE : before, TextOf(CTime::GetSystemTimeZone()));
}
void TryTimeMake(CTrial& rTrial)
{
    std::optional<CTime> time;
    rTrial.Run([&] { time.emplace(); });
    rTrial.ExpectNoThrow();
    unsigned int uDay = 0;
    unsigned int uTimeMs = 0;
    time->GetJulianDateAndTime(uDay, uTimeMs, true);
    EXPECT_EQ(2451545u, uDay);
}

// Rows of operations that need nothing but what they are done to.
template <typename Operation>
SOperation OnText(const char* pszName, const std::string& rAfter, const Operation& rOperation)
{
    return {pszName, [=](CTrial& rTrial) { TryText(rTrial, rAfter, rOperation); }, false};
}
template <typename Operation>
SOperation MakingText(const char* pszName, const std::string& rText, const Operation& rOperation)
{
    return {pszName, [=](CTrial& rTrial) { TryMakeText(rTrial, rText, rOperation); }, false};
}
template <typename Operation>
SOperation OnBytes(const char* pszName, const Bytes& rAfter, const Operation& rOperation)
{
    return {pszName, [=](CTrial& rTrial) { TryBytes(rTrial, rAfter, rOperation); }, true};
}
}  // namespace

std::vector<SOperation> DataOperations()
{
    return {
        MakingText("CString from a text", g_BEFORE, [](std::optional<CString>& r) { r.emplace(g_BEFORE.c_str()); }),
        MakingText("CString from a part", "aaaa", [](std::optional<CString>& r) { r.emplace(g_BEFORE.c_str(), 4u); }),
        {"CString assign text", TryStringAssignText, false},
        OnText("CString assign character", "x", [](CString& r) { r = 'x'; }),
        {"CString append", TryStringAppend, false},
        OnText("CString append text", g_BEFORE + "more", [](CString& r) { r += "more"; }),
        OnText("CString Assign", "text", [](CString& r) { return r.Assign("text"); }),
        OnText("CString Append", g_BEFORE + "more", [](CString& r) { return r.Append("more"); }),
        OnText("CString AppendNumber", g_BEFORE + "-42", [](CString& r) { return r.AppendNumber(-42); }),
        OnText("CString Replace", std::string(80, 'b'), [](CString& r) { return r.Replace('a', "bb"); }),
        OnText("CString Trim", "", [](CString& r) { r.Trim('a'); }),
        OnText("CString ToUpperCase", std::string(40, 'A'), [](CString& r) { r.ToUpperCase(); }),
        OnText("CString clear", "", [](CString& r) { r.clear(); }),
        MakingText("CString Substring", "hello",
                   [](std::optional<CString>& r) { r.emplace(CString("oh, hello").Substring(4, 5)); }),
        {"CString Split", TryStringSplit, false},
        {"CString push_back", TryStringPushBack, false},
        OnText("CString append character", g_BEFORE + "c", [](CString& r) { r += 'c'; }),
        {"CString sum", TryStringSum, false},
        OnText("CString Insert", "xyxy" + g_BEFORE, [](CString& r) { return r.Insert(0, 2, "xy", 2); }),
        {"CString Insert string", TryStringInsertString, false},
        OnText("CString Insert character", "yyy" + g_BEFORE, [](CString& r) { return r.Insert(0, 3, 'y'); }),
        OnText("CString SetAt", "X" + g_BEFORE.substr(1), [](CString& r) { r.SetAt(0, 'X'); }),
        OnText("CString Erase", g_BEFORE.substr(5), [](CString& r) { r.Erase(0, 5); }),
        OnText("CString TrimLeftSide", "", [](CString& r) { r.TrimLeftSide('a'); }),
        OnText("CString Resize", g_BEFORE.substr(5), [](CString& r) { r.Resize(35); }),
        {"CString ToLowerCase", TryStringToLowerCase, false},
        {"CString GetBuffer", TryStringGetBuffer, false},
        OnText("CString ReserveCapacity", g_BEFORE, [](CString& r) { return r.ReserveCapacity(500); }),
        {"CString ReduceCapacity", TryStringReduce, false},
        {"CString Format", TryStringFormat, false},
        {"CString extract", TryStringExtract, false},
        {"CBlob CBlob", TryBlobMake, true},
        {"CBlob with room", TryBlobMakeWithRoom, true},
        {"CBlob of bytes", TryBlobMakeOfBytes, true},
        {"CBlob copy", TryBlobCopy, true},
        {"CBlob assign", TryBlobAssign, true},
        OnBytes("CBlob Insert", {1, 1, 2, 3, 2, 3}, [](CBlob& r) { return r.Insert(1, g_auBEFORE.data(), 3); }),
        {"CBlob Insert blob", TryBlobInsertBlob, true},
        OnBytes("CBlob Append", {1, 2, 3, 1, 2, 3}, [](CBlob& r) { return r.Append(g_auBEFORE.data(), 3); }),
        {"CBlob Append string", TryBlobAppendString, true},
        {"CBlob push_back", TryBlobPushBack, true},
        {"CBlob of a range", TryBlobMakeOfRange, false},
        OnBytes("CBlob Assign", {'f', 'o', 'u', 'r'}, [](CBlob& r) { return r.Assign("four"); }),
        OnBytes("CBlob AssignHex", {4, 5, 6, 7}, [](CBlob& r) { return r.AssignHex("04050607"); }),
        OnBytes("CBlob from base64", {'f', 'o', 'o'}, [](CBlob& r) { return CBase64::FromText("Zm9v", &r); }),
        {"CBlob ToText", TryBlobToText, false},
        {"CBlob ToHex", TryBlobToHex, false},
        {"CBlob to base64", TryBlobToBase64, false},
        OnBytes("CBlob AppendBits", {1, 2, 3, 1, 2}, [](CBlob& r) { r.AppendBits(g_auBEFORE.data(), 16, 0); }),
        OnBytes("CBlob PadBits", {1, 2, 3, 0, 0}, [](CBlob& r) { r.PadBits(16); }),
        OnBytes("CBlob ReserveCapacity", g_auBEFORE, [](CBlob& r) { return r.ReserveCapacity(20); }),
        {"CBlob ReduceCapacity", TryBlobReduce, true},
        {"CBlob extract", TryBlobExtract, true},
        {"CMarshaler Insert", TryMarshalerInsert, false},
        {"CMarshaler ExtractAll", TryMarshalerExtractAll, true},
        {"CMarshaler copy", TryMarshalerCopy, false},
        {"CMarshaler assign", TryMarshalerAssign, false},
        {"CPool Allocate", TryPoolAllocate, false},
        {"CPool Initialize", TryPoolInitialize, true},
        {"CTimeZone SetTimeZone", TryZoneSet, false},
        {"CTimeZone CTimeZone", TryZoneMake, false},
        {"CTimeZone copy", TryZoneCopy, false},
        {"CTimeZone assign", TryZoneAssign, false},
        {"CTime SetSystemTimeZone", TrySystemZone, false},
        {"CTime CTime", TryTimeMake, false},
    };
}
