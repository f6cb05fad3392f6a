#include "framework/basic/string.h"

#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <type_traits>

#include "framework/basic/allocator.h"
#include "framework/basic/marshaler.h"
#include "framework/basic/vector.h"
#include "framework/kernel/mutex.h"
#include "framework/kernel/result.h"
#include "tests/clients/client.h"

namespace
{
/// Sees what the class keeps for those who derive from it.
class CMyString : public CString
{
public:
    explicit CMyString(const char* pszText) : CString(pszText) {}
    ~CMyString() override = default;

    void Internals()
    {
        const CString strShared(*this);
        static_assert(std::is_same_v<decltype(SStringInfo::uRefCount), uint16_t>);
        MutexLock();
        CHECK(GetRefCount() == 2);
        IncRefCount();
        CHECK(GetRefCount() == 3);
        DecRefCount();
        MutexUnlock();
        CreateCopy();
        CHECK(GetRefCount() == 1);
        ms_pmutex->Lock();
        Release();
        ms_pmutex->Unlock();
        CHECK(GetSize() == 0 && GetRefCount() == 0);
        CHECK(MakeNullSafe(nullptr) == g_szEMPTY_STRING && MakeNullSafe("a")[0] == 'a');
        CHECK(MakeNullSafe(0) == g_szEMPTY_STRING && MakeNullSafe(NULL) == g_szEMPTY_STRING);
        Promised<const char* (*)(const char*)>(&CMyString::MakeNullSafe);
        static_assert(std::is_same_v<decltype(ms_pmutex), CMutex*>);
        CHECK(static_cast<void*>(ms_pmutex) == static_cast<void*>(ms_auMutex));
        static_assert(std::is_same_v<decltype(ms_pstEmptyStringInfo), SStringInfo*>);
        CHECK(static_cast<void*>(ms_pstEmptyStringInfo) == static_cast<void*>(ms_auEmptyStringInfo));
        static_assert(std::is_same_v<decltype(ms_pAllocator), IAllocator*> && sizeof(ms_auEmptyStringInfo) == 8);
        CHECK(ms_pAllocator == CSingleton<CDefaultAllocator>::Instance());
    }
};

QvResult FormatList(CString& rstr, unsigned int uStartIndex, const char* pszFormat, ...)
{
    va_list args;
    va_start(args, pszFormat);
    const QvResult res = rstr.Format(uStartIndex, pszFormat, args);
    va_end(args);
    return res;
}

void Construction()
{
    const CString strEmpty;
    const CString strText("text");
    const char* const pszText = "text";
    unsigned int uSize = 2;  // not a constant: braces refuse to narrow it
    const CString strPart{pszText, uSize};
    const CString strNull(nullptr);
    const CString strNone(nullptr, 0);
    const CString strZero(0);
    CString strCopy(strText);
    CHECK(strEmpty == strNull && strNone == strZero && strPart == "te" && strCopy == strText);
    CHECK(strEmpty == nullptr && strEmpty == g_szEMPTY_STRING && strText.CStr() == strCopy.CStr());
    Promised<CString& (CString::*)(const CString&)>(&CString::operator=);
    Promised<CString& (CString::*)(const char*)>(&CString::operator=);
    Promised<CString& (CString::*)(char)>(&CString::operator=);
    Promised<bool (CString::*)(const CString&) const>(&CString::operator==);
    Promised<bool (CString::*)(const char*) const>(&CString::operator==);
    strCopy = 'c';
    CHECK(strCopy == "c");
    strCopy = '\0';
    CHECK(strCopy.GetSize() == 0);
    strCopy = nullptr;
    strCopy = "other";
    CHECK((strCopy = strText) == strText);
    Promised<int (CString::*)(const char*) const>(&CString::CaseInsCmp);
    CHECK(strText.CaseInsCmp("TEXT") == 0 && strText.CaseInsCmp("texu") < 0);
    Promised<unsigned int (CString::*)(unsigned int, const char*) const>(&CString::FindSubstring);
    CHECK(strText.FindSubstring(0, "xt") == 2 && strText.FindSubstring(1, "te") == 4);
    CHECK(strText.FindSubstring(0, nullptr) == 4);
}

void Order()
{
    const CString strA("a");
    const CString strB("b");
    Promised<bool (CString::*)(const CString&) const>(&CString::operator<);
    Promised<int (CString::*)(const CString&) const>(&CString::Compare);
    Promised<int (CString::*)(const char*) const>(&CString::Compare);
    CHECK(strA.Compare(strB) < 0 && strB.Compare("a") > 0 && strA.Compare("a") == 0 && CString().Compare(nullptr) == 0);
    CHECK(strA < strB && strB > strA && strA <= strB && strB >= strA && strA != strB);
    CHECK(strA < "b" && strB > "a" && strA <= "b" && strB >= "a" && strA == "a" && strA != "b");
    CHECK("a" < strB && "b" > strA && "a" <= strB && "b" >= strA && "a" == strA && "b" != strA);
    CHECK(CString() <= nullptr && nullptr >= CString() && strA > nullptr && nullptr == CString());
}

void Editing()
{
    CString str("text");
    Promised<QvResult (CString::*)(unsigned int, unsigned int, const char*, unsigned int)>(&CString::Insert);
    Promised<QvResult (CString::*)(unsigned int, unsigned int, const CString&, unsigned int, unsigned int)>(
        &CString::Insert);
    Promised<QvResult (CString::*)(unsigned int, unsigned int, char)>(&CString::Insert);
    CHECK(str.Insert(0, 2, "ab", 65535) == QV_RES_OK && str.Insert(0, 1, 'c') == QV_RES_OK);
    CHECK(str.Insert(9, 1, CString("xyz"), 1, 2) == QV_RES_OK && str == "cababtextyz");
    CHECK(str.Insert(0, 1, nullptr, 65535) == QV_RES_OK && str.Insert(0, 0, NULL, 0) == QV_RES_OK);
    CHECK(str.Insert(99, 1, "a", 1) == QV_RES_INVALID_ARGUMENT);
    CHECK(str.Insert(0, 1, str, 9, 9) == QV_RES_INVALID_ARGUMENT);
    Promised<void (CString::*)(unsigned int, unsigned int)>(&CString::Erase);
    str.Erase(0, 5);
    Promised<char* (CString::*)()>(&CString::GetBuffer);
    str.GetBuffer()[0] = 'T';
    Promised<void (CString::*)(unsigned int, char)>(&CString::SetAt);
    str.SetAt(1, 'E');
    static_assert(std::is_reference_v<decltype(static_cast<const CString&>(str).GetAt(0))>);
    CHECK(str == "TExtyz" && str.GetAt(2) == 'x');
    str.ToLowerCase();
    str.TrimLeftSide('t');
    str.TrimRightSide('z');
    CHECK(str == "exty");
    Promised<void (CString::*)(unsigned int)>(&CString::Resize);
    str.Resize(2);
    Promised<QvResult (CString::*)(unsigned short)>(&CString::ReserveCapacity);
    Promised<QvResult (CString::*)(unsigned short)>(&CString::ReduceCapacity);
    CHECK(str.ReserveCapacity(33) == QV_RES_OK && str.GetCapacity() == 64);
    CHECK(str.ReduceCapacity(0) == QV_RES_OK && str.GetCapacity() == 32);
    str.EraseAll();
    CHECK(str.GetSize() == 0 && str.GetCapacity() == 32 && str.CStr()[0] == '\0');
}

void Sums()
{
    const CString strA("a");
    CString str;
    str += strA;
    str += "b";
    str += 'c';
    str += nullptr;
    CHECK(str == "abc" && strA + strA == "aa" && strA + "b" == "ab" && strA + 'c' == "ac");
    CHECK(strA + nullptr == "a" && "x" + strA == "xa" && 'y' + strA == "ya");
    Promised<CString& (CString::*)(const CString&)>(&CString::operator+=);
    Promised<CString& (CString::*)(const char*)>(&CString::operator+=);
    Promised<CString& (CString::*)(char)>(&CString::operator+=);
    Promised<CString (CString::*)(const CString&) const>(&CString::operator+);
    Promised<CString (CString::*)(const char*) const>(&CString::operator+);
    Promised<CString (CString::*)(char) const>(&CString::operator+);
    Promised<CString (*)(const char*, const CString&)>(&operator+);
    Promised<CString (*)(char, const CString&)>(&operator+);
}

void Texts()
{
    CString str;
    Promised<QvResult (CString::*)(const char*, unsigned int)>(&CString::Assign);
    Promised<QvResult (CString::*)(const char*, unsigned int)>(&CString::Append);
    CHECK(str.Assign("key and more", 3) == QV_RES_OK && str.Append("= value", 7) == QV_RES_OK && str == "key= value");
    CHECK(str.Assign(" key") == QV_RES_OK && str.Append(CString("=")) == QV_RES_OK && str.Append('v') == QV_RES_OK);
    CHECK(str.Assign(std::string(" key")) == QV_RES_OK && str.Append(std::string_view("=v,w ")) == QV_RES_OK);
    CHECK(str.Assign(nullptr, 65535) == QV_RES_OK && str.Append(nullptr) == QV_RES_OK && str.IsEmpty());
    CHECK(str.Assign(" key=v,w ") == QV_RES_OK && str.Assign(str) == QV_RES_OK);
    Promised<void (CString::*)(STextPiece)>(&CString::Trim);
    str.Trim();
    CHECK(str.StartsWith("key") && str.EndsWith('w') && str.Contains(CString("=v")) && !str.Contains("W"));
    Promised<unsigned int (CString::*)(STextPiece) const>(&CString::FindLast);
    CHECK(str.FindLast(',') == 5 && str.FindLast("none") == str.GetSize());
    Promised<CString (CString::*)(unsigned int, unsigned int) const>(&CString::Substring);
    CHECK(str.Substring(0, 3) == "key" && str.Substring(4) == "v,w");
    Promised<QvResult (CString::*)(STextPiece, STextPiece)>(&CString::Replace);
    CHECK(str.Replace(",", ";") == QV_RES_OK && str.Replace('=', ": ") == QV_RES_OK && str == "key: v;w");
    str.ToUpperCase();
    str.Trim("KEYW");
    CHECK(str == ": V;");
    CVector<CString> parts;
    Promised<QvResult (CString::*)(char, CVector<CString>*) const>(&CString::Split<CString>);
    CHECK(CString("a,,b").Split(',', &parts) == QV_RES_OK && parts.GetSize() == 3 && parts[1].IsEmpty());
    CHECK(parts[2].Split(',', &parts) == QV_RES_OK && parts.GetSize() == 1 && parts[0] == "b");
}

void Numbers()
{
    CString str;
    Promised<QvResult (*)(STextPiece, int64_t*, unsigned int)>(&CString::ParseNumber);
    Promised<QvResult (*)(STextPiece, uint64_t*, unsigned int)>(&CString::ParseNumber);
    Promised<QvResult (*)(STextPiece, double*)>(&CString::ParseNumber);
    Promised<QvResult (*)(STextPiece, float*)>(&CString::ParseNumber);
    Promised<QvResult (CString::*)(int64_t, unsigned int)>(&CString::AppendNumber);
    Promised<QvResult (CString::*)(uint64_t, unsigned int)>(&CString::AppendNumber);
    Promised<QvResult (CString::*)(double)>(&CString::AppendNumber);
    Promised<QvResult (CString::*)(float)>(&CString::AppendNumber);
    int n = 0;
    unsigned short uShort = 0;
    long long nLong = 0;
    double d = 0;
    float f = 0;
    CHECK(str.AppendNumber(-42) == QV_RES_OK && str.ToNumber(&n) == QV_RES_OK && n == -42);
    CHECK(str.ToNumber(&uShort) == QV_RES_INVALID_ARGUMENT && str.ToNumber(&nLong, 5) == QV_RES_OK && nLong == -22);
    CHECK(CString::ParseNumber("65536", &uShort) == QV_RES_FAIL &&
          CString::ParseNumber("ff", &uShort, 16) == QV_RES_OK);
    str.EraseAll();
    CHECK(str.AppendNumber(0.5) == QV_RES_OK && str.ToNumber(&d) == QV_RES_OK && str.ToNumber(&f) == QV_RES_OK);
    CHECK(str.AppendNumber(0.5f) == QV_RES_OK && str.AppendNumber(255u, 16) == QV_RES_OK && str == "0.50.5ff");
    CHECK(uShort == 255 && d == 0.5 && f == 0.5f);
}

void Range()
{
    CString str;
    str.push_back('b');
    str.push_back('a');
    CHECK(str.size() == 2 && !str.empty() && str.front() == 'b' && str.back() == 'a' && str.data() == str.CStr());
    static_assert(std::is_same_v<CString::iterator, const char*> && std::is_same_v<CString::value_type, char>);
    CHECK(str.cbegin() == str.begin() && str.cend() == str.end() && str.end() - str.begin() == 2);
    str.clear();
    CHECK(str.empty());
}

void Formatting()
{
    CString str;
    Promised<QvResult (CString::*)(unsigned int, const char*, ...)>(&CString::Format);
    Promised<QvResult (CString::*)(unsigned int, const char*, va_list)>(&CString::Format);
    CHECK(str.Format(0, "%d-%s", 42, "text") == QV_RES_OK && str == "42-text" && str.GetCapacity() == 32);
    CHECK(str.Format(str.GetSize(), "%c", '!') == QV_RES_OK && str == "42-text!");
    CHECK(str.Format(0, "no argument") == QV_RES_OK && str == "no argument");
    CHECK(FormatList(str, 3, "%s %u", "text", 7u) == QV_RES_OK && str == "no text 7");
    CHECK(str.Format(99, "%d", 1) == QV_RES_INVALID_ARGUMENT);
    // Null constants are arguments like others, although a list would take them, too.
    CHECK(str.Format(0, "%d", 0) == QV_RES_OK && str == "0");
    CHECK(str.Format(str.GetSize(), "-%s-%d", "text", 0) == QV_RES_OK && str == "0-text-0");
    CHECK(str.Format(0, "%p", nullptr) == QV_RES_OK && str.GetSize() != 0);
    CHECK(str.Format(0, "%ld", NULL) == QV_RES_OK && str == "0");
}

void Serialisation()
{
    Promised<CMarshaler& (*)(CMarshaler&, const CString&)>(&operator<<);
    Promised<CMarshaler& (*)(CMarshaler&, CString&)>(&operator>>);
    CMarshaler marshaler;
    const CString strText("text");
    CString strBack("before");
    marshaler << strText << CString() << "literal";
    marshaler >> strBack;
    CHECK(strBack == strText);
    marshaler >> strBack;
    CHECK(strBack.GetSize() == 0);
    marshaler >> strBack;
    CHECK(strBack == "literal");
}
}  // namespace

void StringClient()
{
    static_assert(sizeof(CString) == 16 && std::has_virtual_destructor_v<CString>);
    CMyString("shared").Internals();
    Construction();
    Order();
    Editing();
    Sums();
    Texts();
    Numbers();
    Range();
    Formatting();
    Serialisation();
    CHECK(std::strcmp(g_szNULL, "NULL") == 0 && g_szEMPTY_STRING[0] == '\0');
    Promised<QvResult (*)()>(&CString::InitializeCString);
    Promised<void (*)()>(&CString::FinalizeCString);
    Promised<QvResult (*)()>(&InitializeCString);
    Promised<void (*)()>(&FinalizeCString);
}
