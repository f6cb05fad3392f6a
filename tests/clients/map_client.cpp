#include "framework/basic/map.h"

#include <string>
#include <type_traits>
#include <utility>

#include "framework/basic/allocator.h"
#include "framework/basic/marshal_reader.h"
#include "framework/basic/marshal_values.h"
#include "framework/basic/marshaler.h"
#include "framework/basic/string.h"
#include "framework/kernel/result.h"
#include "tests/clients/client.h"

namespace
{
using Counts = CMap<CString, long>;

/// Ordered among texts, but none itself.
struct SCharacter
{
    char c;

    friend bool operator<(const SCharacter& rFirst, const std::string& rSecond)
    {
        return std::string(1, rFirst.c) < rSecond;
    }
    friend bool operator<(const std::string& rFirst, const SCharacter& rSecond)
    {
        return rFirst < std::string(1, rSecond.c);
    }
};

void Types()
{
    static_assert(std::is_same_v<Counts::key_type, CString> && std::is_same_v<Counts::mapped_type, long>);
    static_assert(std::is_same_v<Counts::value_type, SMapEntry<CString, long>>);
    static_assert(std::is_same_v<decltype(SMapEntry<CString, long>::key), const CString>);
    static_assert(std::is_same_v<decltype(SMapEntry<CString, long>::value), long>);
    static_assert(std::is_nothrow_move_constructible_v<Counts> && std::is_copy_assignable_v<Counts>);
    Promised<long& (Counts::*)(const CString&)>(&Counts::operator[]);
    Promised<Counts::handle (Counts::*)(const CString&)>(&Counts::Find);
    Promised<Counts::const_handle (Counts::*)(const CString&) const>(&Counts::Find);
    Promised<Counts::handle (Counts::*)(const CString&)>(&Counts::FindLowerBound);
    Promised<Counts::const_handle (Counts::*)(const CString&) const>(&Counts::FindLowerBound);
    Promised<Counts::handle (Counts::*)(const CString&)>(&Counts::FindUpperBound);
    Promised<Counts::const_handle (Counts::*)(const CString&) const>(&Counts::FindUpperBound);
    Promised<QvResult (Counts::*)(const CString&, Counts::handle*)>(&Counts::FindOrInsert);
    Promised<QvResult (Counts::*)(const CString&, long, Counts::handle*)>(&Counts::Insert);
    Promised<QvResult (Counts::*)(const CString&, long)>(&Counts::InsertOrAssign);
    Promised<long& (Counts::*)(CString &&)>(&Counts::operator[]);
    Promised<QvResult (Counts::*)(CString&&, Counts::handle*)>(&Counts::FindOrInsert);
    Promised<QvResult (Counts::*)(CString&&, long, Counts::handle*)>(&Counts::Insert);
    Promised<QvResult (Counts::*)(CString&&, long)>(&Counts::InsertOrAssign);
    Promised<Counts::handle (Counts::*)(const CString&, int&&)>(&Counts::Emplace<int>);
    Promised<Counts::handle (Counts::*)(CString &&)>(&Counts::Emplace<>);
    Promised<QvResult (Counts::*)(const CString&, Counts::handle*, int&&)>(&Counts::TryEmplace<int>);
    Promised<QvResult (Counts::*)(CString&&, Counts::handle*)>(&Counts::TryEmplace<>);
    Promised<bool (Counts::*)(const CString&) const>(&Counts::contains);
    static_assert(std::is_same_v<Counts::size_type, unsigned int>);
    static_assert(std::is_same_v<Counts::reference, Counts::value_type&>);
    static_assert(std::is_same_v<Counts::const_reference, const Counts::value_type&>);
    static_assert(std::is_same_v<decltype(std::declval<Counts>().rbegin()), Counts::reverse_iterator>);
    static_assert(std::is_same_v<decltype(std::declval<const Counts>().rend()), Counts::const_reverse_iterator>);
    static_assert(std::is_same_v<decltype(std::declval<Counts>().cbegin()), Counts::const_iterator>);
    Promised<bool (Counts::*)(const CString&)>(&Counts::Erase);
    Promised<void (Counts::*)(Counts::handle)>(&Counts::Erase);
    Promised<void (Counts::*)(Counts::const_handle)>(&Counts::Erase);
    IAllocator* const pAllocator = nullptr;
    const Counts empty(pAllocator);
    const Counts emptyToo(NULL);
    CHECK(empty.IsEmpty() && empty == emptyToo && !(empty != emptyToo));
}

void Entries()
{
    Counts counts;
    for (const char* const pszWord : {"to", "be", "or", "not", "to", "be"}) ++counts[pszWord];
    CHECK(counts.Insert("be", 7) == QV_RES_ALREADY_EXISTS && counts.Find("be")->value == 2);
    Counts::handle found;
    CHECK(counts.Insert("is", 1, &found) == QV_RES_OK && found->key == "is" && found->value == 1);
    CHECK(counts.InsertOrAssign("is", 5) == QV_RES_OK && found->value == 5);
    CHECK(counts.FindOrInsert(CString("that"), &found) == QV_RES_OK && found->value == 0);
    CHECK(counts.FindOrInsert("that", nullptr) == QV_RES_INVALID_ARGUMENT && counts.GetSize() == 6);
    long nSum = 0;
    for (auto& [word, count] : counts) nSum += count += static_cast<long>(word.GetSize());
    const Counts& rConst = counts;
    for (const auto& [word, count] : rConst) nSum -= count + (word.IsEmpty() ? 1 : 0);
    CHECK(nSum == 0);
    CHECK(rConst.FindLowerBound("c")->key == "is" && rConst.FindUpperBound("is")->key == "not");
    CHECK(rConst.GetFirst()->key == "be" && rConst.GetLast()->key == "to" && rConst.GetAt(1)->key == "is");
    CHECK(rConst.GetAt(6) == nullptr);
    CHECK(counts.Erase("be") && !counts.Erase(CString("be")) && !rConst.Find("be"));
    counts.Erase(counts.Find("is"));
    counts.Erase(rConst.Find("is"));
    counts.Erase(counts.begin());
    CHECK(rConst.GetSize() == 3);

    Counts copy(rConst);
    CHECK(copy == rConst && &(copy = rConst) == &copy);
    Counts moved(std::move(copy));
    moved["x"] = 1;
    swap(moved, counts);
    CHECK(counts != moved && counts.GetSize() == 4);
    CHECK(counts.ReserveCapacity(10) == QV_RES_OK && counts.GetCapacity() == 10 && counts.GetLockCapacity() == 0);
    CHECK(counts.ReduceCapacity(5) == QV_RES_OK && counts.GetCapacity() == 5);
    counts.SetLockCapacity(1);
    CHECK(counts["y"] == 0 && counts.Insert("z", 0) == QV_RES_INVALID_STATE);
    counts.EraseAll();
    CHECK(counts.IsEmpty());
}

/// Can be moved, and nothing else.
struct SOwner
{
    explicit SOwner(int n) : pn(new int(n)) {}
    SOwner(SOwner&& rrSrc) noexcept : pn(rrSrc.pn) { rrSrc.pn = nullptr; }
    ~SOwner() { delete pn; }

    int* pn;

    friend bool operator<(const SOwner& rFirst, const SOwner& rSecond) { return *rFirst.pn < *rSecond.pn; }
};

void Manners()
{
    Counts counts = {{"b", 2}, {"a", 1}};
    const Counts& rConst = counts;
    const Counts same(counts.cbegin(), counts.cend());
    CHECK(counts == same && counts.size() == 2 && !counts.empty() && rConst.contains("a") && !rConst.contains("c"));
    CHECK(counts.rbegin()->key == "b" && rConst.rbegin()->value == 2 && rConst.crbegin() != rConst.crend());
    CHECK(counts.Emplace("c", 3)->value == 3 && !counts.Emplace("c", 4) && counts.Emplace("d")->value == 0);
    Counts::handle entry;
    CHECK(counts.TryEmplace("c", &entry, 5) == QV_RES_ALREADY_EXISTS && entry->value == 3);
    CHECK(counts.TryEmplace("e", nullptr, 5) == QV_RES_OK);
    counts.clear();
    CHECK(counts.empty());

    CMap<SOwner, SOwner> owners;
    CHECK(owners.Insert(SOwner(1), SOwner(2)) == QV_RES_OK && owners.Emplace(SOwner(2), 3));
    CMap<SOwner, SOwner> moved(std::move(owners));
    CHECK(moved.contains(SOwner(2)) && *moved.Find(SOwner(1))->value.pn == 2 && owners.empty());
}

void OtherKeys()
{
    CMap<std::string, int> map;
    map["b"] = 1;
    CHECK(map.Find(SCharacter{'b'}) && !map.Find(SCharacter{'c'}) && map.FindLowerBound(SCharacter{'a'}));
    CHECK(!map.FindUpperBound(SCharacter{'b'}) && map.contains(SCharacter{'b'}) && map.Erase(SCharacter{'b'}) &&
          map.IsEmpty());
}

void Messages()
{
    CMap<CString, CMap<int, double>> map;
    map["a"][1] = 1.5;
    map["b"];
    CMarshaler marshaler;
    marshaler << map << map;
    CMap<CString, CMap<int, double>> back;
    CMarshalReader reader(marshaler, 1000);
    reader >> back;
    CHECK(!reader.HasFailed() && back == map);
    marshaler >> back >> back;
    CHECK(back == map && marshaler.GetUnreadSize() == 0);
}
}  // namespace

void MapClient()
{
    Types();
    Entries();
    Manners();
    OtherKeys();
    Messages();
}
