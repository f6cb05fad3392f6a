// What the typed containers refuse to compile, and the words in which they do.
#include <gtest/gtest.h>

#include <string>
#include <tuple>

#include "tests/support/run_program.h"

namespace
{
struct SRefusal
{
    const char* pszName;
    const char* pszStatement;
    const char* pszReason;  // null: it is accepted
};

const char* const g_pszPROGRAM = R"(
#include "framework/framework.h"
enum EUnsized { eUNSIZED };
struct SWide { alignas(16) char acBytes[16]; };
struct STooWide { alignas(32) char acBytes[32]; };
struct SOwner
{
    SOwner();
    SOwner(SOwner&&);
    bool operator<(const SOwner&) const;
    bool operator==(const SOwner&) const;
};
struct SNoDefault { explicit SNoDefault(int) {} };
struct SByFactor { int operator()(int n1, int n2) const { return nFactor * (n1 - n2); } int nFactor; };
struct SPinned { SPinned(); SPinned(const SPinned&) = delete; };
struct SMoveOnly { SMoveOnly(); SMoveOnly(SMoveOnly&&) noexcept; bool operator<(const SMoveOnly&) const; };
template <template <typename> class Container>
struct SUse
{
    Container<SMoveOnly> here, there;
    const SMoveOnly element;
};
template <template <typename> class... Containers, typename Call>
void ForEach(Call call) { (call(*static_cast<SUse<Containers>*>(nullptr)), ...); }
void Use() {)";

const char* const g_pszOVER_ALIGNED = "they cannot hold an over-aligned type";
const char* const g_pszBOOL = "a negative number, 0 or a positive number, not whether one comes first";
const char* const g_pszSTATE = "a comparison must have no state";
const char* const g_pszDEFAULT = "elements made without a source need a default constructor";
const char* const g_pszCOPY = "the elements of this container cannot be copied: move it or them, or make them in place";
const char* const g_pszPLACE = "the elements of a vector move when it grows";

const SRefusal g_astREFUSALS[] = {
    {"MovesOfWhatCannotBeCopied",
     "ForEach<CVector, CList, CVList>([](auto& r) { r.here = decltype(r.here)(); r.here.Emplace(0); "
     "r.here.Append(SMoveOnly()); r.here.Insert(0, SMoveOnly()); r.here.InsertSorted(SMoveOnly()); "
     "r.here.push_back(SMoveOnly()); r.here.insert(r.here.begin(), SMoveOnly()); r.here.Merge(0, r.there); "
     "r.here.Sort(); "
     "r.here.ReserveCapacity(9); r.here.Insert(0, 2); swap(r.here, r.there); });",
     nullptr},
    {"WhatStaysWhereItIsMade",
     "CList<SPinned> l; l.emplace_back(); l.Emplace(0); CList<SPinned> m; l.Merge(0, m); CVList<SPinned> x; "
     "x.Emplace(0); "
     "CVector<SPinned> v;",
     nullptr},
    {"GrowthOfWhatStaysWhereItIsMade", "CVector<SPinned> v; v.Emplace(0);", g_pszPLACE},
    {"CapacityForWhatStaysWhereItIsMade", "CVector<SPinned> v; v.ReserveCapacity(1);", g_pszPLACE},
    {"CopiesOfAVector", "CVector<SMoveOnly> a; auto b(a);", g_pszCOPY},
    {"CopiesOfAList", "CList<SMoveOnly> a; auto b(a);", g_pszCOPY},
    {"CopiesOfAVectorList", "CVList<SMoveOnly> a; auto b(a);", g_pszCOPY},
    {"CopiesOfNestedOnes", "CVector<CList<SMoveOnly>> a; auto b(a);", g_pszCOPY},
    {"AssignmentOfAVector", "CVector<SMoveOnly> a, b; a = b;", g_pszCOPY},
    {"AssignmentOfAList", "CList<SMoveOnly> a, b; a = b;", g_pszCOPY},
    {"AssignmentOfAVectorList", "CVList<SMoveOnly> a, b; a = b;", g_pszCOPY},
    {"CopiesAppended", "ForEach<CVector>([](auto& r) { r.here.Append(r.element); });", g_pszCOPY},
    {"CopiesAppendedToAList", "ForEach<CList>([](auto& r) { r.here.Append(r.element); });", g_pszCOPY},
    {"CopiesAppendedToAVectorList", "ForEach<CVList>([](auto& r) { r.here.Append(r.element); });", g_pszCOPY},
    {"CopiesPushed", "ForEach<CVector>([](auto& r) { r.here.push_back(r.element); });", g_pszCOPY},
    {"CopiesPushedToAVectorList", "ForEach<CVList>([](auto& r) { r.here.push_back(r.element); });", g_pszCOPY},
    {"CopiesInserted", "ForEach<CVector>([](auto& r) { r.here.Insert(0, 2, r.element); });", g_pszCOPY},
    {"CopiesOfManyInserted", "ForEach<CVector>([](auto& r) { r.here.Insert(0, r.there); });", g_pszCOPY},
    {"CopiesInsertedInOrder", "ForEach<CList>([](auto& r) { r.here.InsertSorted(r.element); });", g_pszCOPY},
    {"CopiesInsertedByAnIterator", "ForEach<CList>([](auto& r) { r.here.insert(r.here.begin(), r.element); });",
     g_pszCOPY},
    {"NothingAlignedToSixteen", "CVector<SWide> v; CList<SWide> l; CAATree<SWide> t(nullptr, 0); CVList<SWide> x;",
     nullptr},
    {"OverAlignedInAVector", "CVector<STooWide> v;", g_pszOVER_ALIGNED},
    {"OverAlignedInAList", "CList<STooWide> l;", g_pszOVER_ALIGNED},
    {"OverAlignedInATree", "CAATree<STooWide> t(nullptr, 0);", g_pszOVER_ALIGNED},
    {"OverAlignedInAVectorList", "CVList<STooWide> x;", g_pszOVER_ALIGNED},
    {"AnOrderThatIsATruth", "CList<int> l; l.Sort([](int n1, int n2) { return n1 < n2; });", g_pszBOOL},
    {"AnOrderWithAState", "CAATree<int> t{SByFactor{2}};", g_pszSTATE},
    {"AnOrderWithoutAState", "CAATree<int> t{[](int n1, int n2) { return n2 - n1; }};", nullptr},
    {"AnEnumerationOfNoSize", "CMarshalReader r(nullptr, 0, 0); EUnsized e; r >> e;", "without an underlying type"},
    {"OverAlignedInAPool", "CPool<STooWide>::Allocate();", "they cannot hold an over-aligned type"},
    {"AlignedToSixteenInAPool", "CPool<SWide>::Allocate();", nullptr},
    {"OverAlignedInAMap", "CMap<int, STooWide> m;", g_pszOVER_ALIGNED},
    {"OwnersInATree", "CAATree<SOwner> t; t.Insert(SOwner()); t = CAATree<SOwner>(); t.Emplace();", nullptr},
    {"ACopyOfATreeOfOwners", "CAATree<SOwner> t; CAATree<SOwner> u(t);", g_pszCOPY},
    {"AnAssignedTreeOfOwners", "CAATree<SOwner> t, u; t = u;", g_pszCOPY},
    {"ACopiedOwnerInATree", "CAATree<SOwner> t; SOwner o; t.Insert(o);", g_pszCOPY},
    {"ACopiedOwnerInATreeWithAHandle", "CAATree<SOwner> t; SOwner o; CAATree<SOwner>::handle h; t.Insert(o, &h);",
     g_pszCOPY},
    {"OwnersInAMap", "CMap<SOwner, SOwner> m; m.Insert(SOwner(), SOwner()); m[SOwner()]; m.Emplace(SOwner());",
     nullptr},
    {"ACopyOfAMapOfOwners", "CMap<int, SOwner> m; CMap<int, SOwner> n(m);", g_pszCOPY},
    {"AnAssignedMapOfOwners", "CMap<SOwner, int> m, n; m = n;", g_pszCOPY},
    {"ACopiedOwnerAsAKey", "CMap<SOwner, int> m; SOwner o; m[o];", "the key cannot be copied: move it in"},
    {"ElementsOfNothing", "CVList<SNoDefault> x; x.Insert(0, 2);", g_pszDEFAULT}};

class CRefusals : public testing::TestWithParam<std::tuple<const char*, SRefusal>>
{
};

TEST_P(CRefusals, TellWhy)
{
    const auto& [pszCompiler, rstRefusal] = GetParam();
    const std::string command =
        std::string("LC_ALL=C ") + pszCompiler + " -std=c++17 -fsyntax-only -I'" ORVEL_SOURCE_DIR "' -x c++ -";
    const SRunResult result =
        RunProgram("/bin/sh", {"-c", command}, g_pszPROGRAM + std::string(rstRefusal.pszStatement) + "}\n");
    if (rstRefusal.pszReason == nullptr) EXPECT_EQ(0, result.nStatus) << result.strErrors;
    else
    {
        EXPECT_NE(0, result.nStatus) << "it was accepted";
        EXPECT_NE(std::string::npos, result.strErrors.find(rstRefusal.pszReason)) << result.strErrors;
    }
}

INSTANTIATE_TEST_SUITE_P(OfBothCompilers, CRefusals,
                         testing::Combine(testing::Values("g++", "clang++"), testing::ValuesIn(g_astREFUSALS)),
                         [](const auto& rInfo)
                         {
                             const bool bGcc = std::get<0>(rInfo.param)[0] == 'g';
                             return std::string(bGcc ? "Gcc" : "Clang") + std::get<1>(rInfo.param).pszName;
                         });
}  // namespace
