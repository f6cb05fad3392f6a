// Runs the journal as a user would and looks at what it prints, returns and leaves behind.
#include <poll.h>
#include <pty.h>
#include <signal.h>

#include <cstdlib>
#include <functional>
#include <random>
#include <thread>
#include <tuple>

#include "tests/examples/journal.h"
#include "tests/support/sanitizers.h"
#include "tests/support/test_seed.h"

namespace
{
// More than pipe and buffers hold: once they are taken, the program is in the middle of writing.
constexpr unsigned int g_uMANY_LINES = 40000;

const char* const g_pszDAMAGED = ": damaged: its CRC-32 does not fit";
const char* const g_pszFORGED = ": forged: its CRC-32 fits, its HMAC does not";
}  // namespace

TEST_F(CJournal, LinesComeBackAsTheyWere)
{
    std::string strLongest(65535, 'x');
    strLongest[3] = strLongest[40000] = '\0';
    struct SCase
    {
        std::string strText;
        Strings want;
    };
    std::vector<SCase> cases = {
        {"first\n\n  spaces  \ncarriage return\r\n\xff\x01 %s\nlast\n",
         {"first", "", "  spaces  ", "carriage return\r", "\xff\x01 %s", "last"}},
        {std::string("\0a\0\0b\0\n\0\0\n", 10), {std::string("\0a\0\0b\0", 6), std::string(2, '\0')}},
        {"one\ntwo", {"one", "two"}},
        {"", {}},
        // The second one fills what is read at once up to just before its newline, the third is the last of the file.
        {"\n" + strLongest + "\n" + strLongest + "\n" + strLongest, {"", strLongest, strLongest, strLongest}},
        // Long enough to pass several buffers at ever other offsets.
        {"", {}}};
    for (unsigned int u = 0; u < 60; ++u)
    {
        cases.back().want.push_back(std::string(65535 - 1091 * u, static_cast<char>('a' + u % 26)));
        cases.back().strText += cases.back().want.back() + "\n";
    }
    for (const SCase& rCase : cases)
    {
        SCOPED_TRACE(rCase.strText.substr(0, 20));
        MustBegin(rCase.strText);
        ExpectIntact(rCase.want.size());
        EXPECT_EQ(rCase.want, ShownTexts());
        EXPECT_EQ(rCase.want, ShownTexts({"--key", "k"}));
    }
}

TEST_F(CJournal, ALineThatIsTooLongIsRefused)
{
    MustWrite("one\n");
    const std::string strBefore = Load("j");
    for (const std::string strEnd : {"\n", "", "xxx\nmore\n"})
    {
        Store("long", "a\nb\n" + std::string(65536, 'x') + strEnd);
        ExpectRefused(Write({"long"}), "long: line 3 is longer than 65,535 characters");
        EXPECT_EQ(strBefore, Load("j"));
    }
}

TEST_F(CJournal, WritingAgainContinuesNumbersAndChain)
{
    MustWrite("");
    MustWrite("one\ntwo\n");
    const Strings before = PartsOf(Load("j"));
    Store("a", "three\n");
    Store("b", "four");
    EXPECT_EQ("j: 3 records written, 5 in all\n", Write({"a", "-", "a"}, {}, "b").strOutput);
    ExpectIntact(5);
    EXPECT_EQ((Strings{"one", "two", "three", "four", "three"}), ShownTexts());
    const Strings after = PartsOf(Load("j"));
    EXPECT_TRUE(std::equal(before.begin(), before.end() - 1, after.begin())) << "old records changed";
}

TEST_F(CJournal, FromToAndLastSelectRecords)
{
    struct SCase
    {
        Strings selection;
        unsigned int uFirst;
        unsigned int uLast;
    };
    const SCase aCases[] = {{{"--from", "4", "--to", "5"}, 4, 5},
                            {{"--from", "8"}, 8, 9},
                            {{"--to=1", "--key=k"}, 1, 1},
                            {{"--from", "9", "--to", "100"}, 9, 9},
                            {{"--from", "10"}, 10, 9},
                            {{"--last", "1"}, 9, 9},
                            {{"--last", "2"}, 8, 9},
                            {{"--last", "8"}, 2, 9},
                            {{"--last", "9"}, 1, 9},
                            {{"--last", "10"}, 1, 9},
                            {{"--last", "18446744073709551615"}, 1, 9}};
    MustWrite(NumberedLines(9));
    const Strings lines = LinesOf(NumberedLines(9));
    for (const SCase& rCase : aCases)
    {
        SCOPED_TRACE(testing::PrintToString(rCase.selection));
        EXPECT_EQ(Strings(lines.begin() + rCase.uFirst - 1, lines.begin() + rCase.uLast),
                  ShownTexts(rCase.selection, rCase.uFirst));
    }
    MustBegin("");
    EXPECT_TRUE(ShownTexts({"--last", "1"}).empty());
}

TEST_F(CJournal, SinceAndUntilSelectByTimeInTheOrderOfTime)
{
    MustWrite(NumberedLines(6));
    MustWrite(NumberedLines(2), {"--seal"});
    // The clock was put back after the third record.
    SetTimes({"1000000010", "1000000020", "1000000030", "1000000015", "1000000020", "1000000040", "1000000040",
              "1000000050"});
    ExpectIntact(8);
    struct SCase
    {
        Strings selection;
        std::vector<unsigned int> want;
    };
    const SCase aCases[] = {{{"--since", "0"}, {1, 4, 2, 5, 3, 6, 7, 8}},
                            {{"--since", "1000000010"}, {1, 4, 2, 5, 3, 6, 7, 8}},
                            {{"--since", "1000000011"}, {4, 2, 5, 3, 6, 7, 8}},
                            {{"--since", "1000000020", "--until", "1000000030"}, {2, 5, 3}},
                            {{"--since", "1000000040", "--until", "1000000040"}, {6, 7}},
                            {{"--until", "1000000019"}, {1, 4}},
                            {{"--since", "1000000050"}, {8}},
                            {{"--since", "1000000051"}, {}},
                            {{"--since", "1000000041", "--until", "1000000049"}, {}},
                            {{"--until", "1000000009"}, {}}};
    for (const SCase& rCase : aCases)
    {
        SCOPED_TRACE(testing::PrintToString(rCase.selection));
        for (const SRunResult& rOutcome : {Show(rCase.selection), ShowWithKey(rCase.selection)})
        {
            EXPECT_EQ(0, rOutcome.nStatus) << rOutcome.strErrors;
            std::vector<unsigned int> numbers;
            for (const std::string& rLine : LinesOf(rOutcome.strOutput))
                numbers.push_back(static_cast<unsigned int>(std::stoul(rLine)));
            EXPECT_EQ(rCase.want, numbers);
        }
    }
    EXPECT_EQ("3 1000000030 line 3\n6 1000000040 line 6\n7 1000000040 line 1\n8 1000000050 line 2\n",
              ShowWithKey({"--since", "1000000030"}).strOutput);
}

TEST_F(CJournal, TimesNeedAFileToGoBackIn)
{
    ASSERT_EQ(0, mkfifo("j", 0600));
    const int nOtherEnd = open("j", O_RDWR | O_CLOEXEC);  // neither this nor the program's opening blocks
    ExpectRefused(Show({"--since", "1"}), "j: not a regular file, but --since and --until have to go back in it");
    close(nOtherEnd);
}

TEST_F(CJournal, SealedTextsAreOpenedByTheKeyAloneAsTheReadmeSays)
{
    Strings want = {"secret", "secret", "/sealed x"};
    for (std::size_t uSize : {0u, 1u, 14u, 15u, 16u, 17u, 32u, 1000u, 65535u})
    {
        want.push_back(std::string(uSize, 'x'));
        if (uSize > 5) want.back()[5] = '\0';
    }
    std::string strText;
    for (const std::string& rLine : want) strText += rLine + "\n";
    MustWrite(strText, {"--seal"});
    ExpectIntact(want.size());
    EXPECT_EQ(std::string::npos, Load("j").find("secret"));
    EXPECT_EQ(Strings(want.end() - 2, want.end()), ShownTexts({"--key", "k", "--last", "2"}, want.size() - 1));
    for (const Strings& rSelection : {Strings{}, {"--last", "99"}, {"--since", "1000000000"}})
    {
        EXPECT_EQ(want, ShownTexts(With({"--key", "k"}, rSelection)));
        const Strings shown = ShownTexts(rSelection);
        ASSERT_EQ(want.size(), shown.size());
        for (std::size_t u = 0; u < want.size(); ++u)
        {
            const std::string strSealed = Decoded(shown[u]);
            ASSERT_EQ(g_uNONCE_SIZE + want[u].size(), strSealed.size());
            EXPECT_EQ(want[u], Opened(strSealed, Load("k")));
        }
        EXPECT_NE(Decoded(shown[0]).substr(0, g_uNONCE_SIZE), Decoded(shown[1]).substr(0, g_uNONCE_SIZE));
        EXPECT_NE(Decoded(shown[0]).substr(g_uNONCE_SIZE), Decoded(shown[1]).substr(g_uNONCE_SIZE));
    }
}

TEST_F(CJournal, SealedAndPlainRecordsShareAJournal)
{
    MustWrite("/sealed AAAA\n");
    MustWrite("two\nthree\n", {"--seal"});
    MustWrite("four\n");
    ExpectIntact(4);
    const Strings want = {"/sealed AAAA", "two", "three", "four"};
    for (const Strings& rSelection : {Strings{}, {"--last", "9"}, {"--since", "0"}})
        EXPECT_EQ(want, ShownTexts(With({"--key", "k"}, rSelection)));
    const Strings shown = ShownTexts();
    ASSERT_EQ(4u, shown.size());
    EXPECT_EQ(want[0], shown[0]);
    EXPECT_EQ(want[3], shown[3]);
    for (const std::size_t u : {1u, 2u}) EXPECT_EQ(want[u], Opened(Decoded(shown[u]), Load("k")));
    // The mark of a sealed text stands where a text cannot imitate it.
    const Strings lines = LinesOf(Show().strOutput);
    const auto stampOf = [](const std::string& rLine) { return rLine.substr(0, rLine.find(' ', 2)); };
    EXPECT_FALSE(EndsWith(stampOf(lines[0]), "/sealed")) << lines[0];
    EXPECT_TRUE(EndsWith(stampOf(lines[1]), "/sealed")) << lines[1];
}

namespace
{
/// Each byte is a run of the journal, and a sanitizer takes its time to start: it sees every fifth.
constexpr std::size_t g_uSTEP = g_bSANITIZED ? 5 : 1;
}  // namespace

TEST_F(CJournal, AnyChangedByteIsFoundAndItsPlaceNamed)
{
    std::mt19937 rng(TestSeed());
    for (const bool bSealed : {false, true})
    {
        MustBegin("text\n\n", bSealed ? Strings{"--seal"} : Strings{});
        const Strings parts = PartsOf(Load("j"));
        ASSERT_EQ(4u, parts.size());
        // A sealed text must not be opened before all of its record is verified: the first one shows that.
        for (std::size_t uPart = bSealed ? 1 : 0; uPart < (bSealed ? 2 : parts.size()); ++uPart)
        {
            const std::string strPlace = uPart == 0 ? "j: header" : "j: record " + std::to_string(uPart);
            for (std::size_t u = 0; u < parts[uPart].size(); u += g_uSTEP)
            {
                const unsigned int uChange = 1 + Below(rng, 255);
                SCOPED_TRACE(testing::Message() << "part " << uPart << ", byte " << u << " changed by " << uChange);
                Strings changed = parts;
                changed[uPart][u] = static_cast<char>(changed[uPart][u] ^ static_cast<char>(uChange));
                const auto readChanged = [&]
                {
                    Store("j", Joined(changed));
                    const SRunResult outcome = bSealed ? ShowWithKey() : Verify();
                    EXPECT_EQ(1, outcome.nStatus);
                    EXPECT_EQ("", outcome.strOutput);
                    return outcome;
                };
                const std::string strErrors = readChanged().strErrors;
                const bool bClosing = strErrors == std::string("journal: j: closing record") + g_pszDAMAGED + "\n";
                EXPECT_TRUE(StartsWith(strErrors, "journal: " + strPlace + ": ") || (bClosing && uPart == 3))
                    << strErrors;
                // A change of kind or size may lead to no frame at all.
                if (uPart != 1 || u < g_uLINK_AT) continue;
                EXPECT_EQ("journal: " + strPlace + g_pszDAMAGED + "\n", strErrors);
                if (u >= parts[uPart].size() - g_uCRC_SIZE) continue;
                FixCrc(changed[uPart]);
                ExpectRefused(readChanged(), strPlace + g_pszFORGED);
            }
        }
    }
}

TEST_F(CJournal, ACutAtAnyLengthIsRefusedAndTheFirstMissingPartNamed)
{
    MustWrite("text\n\n");
    const std::string strJournal = Load("j");
    std::size_t uBegin = 0;
    const Strings parts = PartsOf(strJournal);
    for (std::size_t uPart = 0; uPart < parts.size(); uBegin += parts[uPart++].size())
    {
        const std::string strPlace = uPart == 0 ? "header: " : "record " + std::to_string(uPart) + ": ";
        for (std::size_t u = 0; u < parts[uPart].size(); u += g_uSTEP)
        {
            SCOPED_TRACE(testing::Message() << "part " << uPart << " cut at " << u);
            Store("j", strJournal.substr(0, uBegin + u));
            std::vector<SRunResult> outcomes = {Verify()};
            if (u == 0) outcomes.push_back(Show());
            for (const SRunResult& rOutcome : outcomes)
            {
                EXPECT_EQ(1, rOutcome.nStatus);
                EXPECT_TRUE(StartsWith(rOutcome.strErrors, "journal: j: " + strPlace + "truncated"))
                    << rOutcome.strErrors;
            }
        }
    }
}

TEST_F(CJournal, AnythingButItsOwnPartsInTheirOrderIsNamed)
{
    MustWrite(NumberedLines(8));
    const Strings other = PartsOf(Load("j"));
    MustBegin(std::string(40, 'x') + "\n" + NumberedLines(7));
    const Strings parts = PartsOf(Load("j"));
    const auto damage = [](std::string& rPart) { rPart[rPart.size() - g_uTAIL_SIZE] ^= 1; };
    const auto forge = [&](std::string& rPart)
    {
        damage(rPart);
        FixCrc(rPart);
    };
    const char* const pszFOREIGN = ": does not continue what stands before it";
    const std::string strClosing = "closing record";
    struct SCase
    {
        std::function<void(Strings&)> change;
        std::string strWithKey;
        std::string strWithout;  // empty: the same
    };
    const SCase aCases[] = {
        {[](Strings& r) { std::swap(r[5], r[7]); }, "record 5: found record 7 in its place", ""},
        {[](Strings& r) { std::swap(r[1], r[2]); }, "record 1: found record 2 in its place", ""},
        {[](Strings& r) { r.erase(r.begin() + 3); }, "record 3: found record 4 in its place", ""},
        {[&](Strings& r) { r.insert(r.begin() + 3, parts[3]); }, "record 4: found record 3 in its place", ""},
        {[](Strings& r) { r.erase(r.end() - 2); }, "record 8: found the closing record of 8 records in its place", ""},
        {[](Strings& r) { r.erase(r.begin() + 1, r.end() - 1); },
         "record 1: found the closing record of 8 records in its place", ""},
        {[&](Strings& r) { r.push_back(parts[8]); }, "closing record: something follows it", ""},
        {[&](Strings& r) { r[3] = other[3]; }, "record 3: found record 3 of another journal in its place",
         std::string("record 3") + pszFOREIGN},
        {[&](Strings& r) { r[0] = other[0]; }, "record 1: found record 1 of another journal in its place",
         std::string("record 1") + pszFOREIGN},
        {[&](Strings& r) { r[9] = other[9]; }, "closing record: found that of another journal",
         strClosing + pszFOREIGN},
        {[&](Strings& r) { damage(r[2]); }, std::string("record 2") + g_pszDAMAGED, ""},
        {[&](Strings& r) { damage(r[9]); }, strClosing + g_pszDAMAGED, ""},
        {[&](Strings& r) { forge(r[2]); }, std::string("record 2") + g_pszFORGED, std::string("record 3") + pszFOREIGN},
        {[&](Strings& r) { forge(r[9]); }, strClosing + g_pszFORGED, "-"},
        {[](Strings& r)
         {
             r[1][0] = 'S';
             FixCrc(r[1]);
         },
         std::string("record 1") + g_pszFORGED, "record 1: forged: its CRC-32 fits, but it holds no record"},
        {[](Strings& r) { r[0][20] ^= 1; }, std::string("header") + g_pszDAMAGED, ""},
        {[](Strings& r)
         {
             r[0][20] ^= 1;
             FixCrc(r[0]);
         },
         std::string("header") + g_pszFORGED, "-"},
        {[](Strings& r) { r[0][8] = 3; }, "header: unknown version 3", ""},
        {[](Strings& r) { r = {std::string(100, 'x')}; }, "header: not a journal", ""}};
    for (const SCase& rCase : aCases)
    {
        SCOPED_TRACE(rCase.strWithKey);
        Strings changed = parts;
        rCase.change(changed);
        Store("j", Joined(changed));
        ExpectRefused(Verify(), "j: " + rCase.strWithKey);
        if (rCase.strWithout == "-") EXPECT_EQ(0, Show().nStatus) << "nobody can tell";
        else
            ExpectRefused(Show({"--from", "9"}),
                          "j: " + (rCase.strWithout.empty() ? rCase.strWithKey : rCase.strWithout));
    }
}

TEST_F(CJournal, WhatIsShownOfABrokenJournalDependsOnWhatHasToBeReadFirst)
{
    MustWrite(NumberedLines(5));
    std::string strJournal = Load("j");
    strJournal[strJournal.size() - 70] ^= 1;  // in the code of record 5
    Store("j", strJournal);
    EXPECT_EQ((Strings{"line 1"}), ShownTexts({"--to", "1"}));
    const SRunResult outcome = ShowWithKey({"--to", "1"});
    EXPECT_EQ(1u, LinesOf(outcome.strOutput).size());
    ExpectRefused(outcome, std::string("j: record 5") + g_pszDAMAGED);
    for (const char* const pszSelection : {"--last", "--since"})
    {
        const SRunResult nothing = Show({pszSelection, "1"});
        EXPECT_EQ("", nothing.strOutput);
        ExpectRefused(nothing, std::string("j: record 5") + g_pszDAMAGED);
    }
    Store("text", "more\n");
    ExpectRefused(Write({"text"}), FullName("j") + ": record 5" + g_pszDAMAGED);
    EXPECT_EQ(strJournal, Load("j"));
    EXPECT_EQ((std::set<std::string>{"j", "k", "text"}), Files());
}

TEST_F(CJournal, AnotherKeyIsToldFromCorruption)
{
    MustWrite("one\n", {"--seal"});
    const std::string strJournal = Load("j");
    for (const std::size_t u : {0u, 31u})
    {
        std::string strKey = Load("k");
        strKey[u] ^= 1;
        Store("k", strKey);
        const std::string strMessage = ": header: not made under this key, or forged";
        const SRunResult outcome = ShowWithKey();
        EXPECT_EQ("", outcome.strOutput);
        ExpectRefused(outcome, "j" + strMessage);
        ExpectRefused(Verify(), "j" + strMessage);
        ExpectRefused(Write({"/etc/passwd"}), FullName("j") + strMessage);
        EXPECT_EQ(strJournal, Load("j"));
    }
}

TEST_F(CJournal, ARecordThatChangesWhileItIsShownIsRefused)
{
    for (const bool bKey : {true, false})
    {
        // More than the pipe holds: once the first character has come, all is verified and much not yet printed.
        std::string strText;
        for (unsigned int u = 0; u < 40; ++u) strText += std::string(10000, 'x') + "\n";
        MustBegin(strText);
        Strings parts = PartsOf(Load("j"));
        fs::remove("out");
        ASSERT_EQ(0, mkfifo("out", 0600));
        SRunResult outcome = {};
        const Strings show = With({"show", "--journal", "j", "--since", "0"}, bKey ? Strings{"--key", "k"} : Strings{});
        std::thread runner([&] { outcome = Run(show, {}, "/dev/null", "out"); });
        std::ifstream output("out", std::ios::binary);
        std::string strShown(1, static_cast<char>(output.get()));
        // By somebody who has the key, so that the record is a good one by itself; without it, its code is not checked.
        parts[40][parts[40].size() - g_uTAIL_SIZE - 1] = 'y';
        if (bKey) Rechain(parts, Load("k"));
        else FixCrc(parts[40]);
        const std::size_t uLastSize = parts[40].size() + parts[41].size();
        std::fstream journal("j", std::ios::binary | std::ios::in | std::ios::out);
        journal.seekp(-static_cast<std::streamoff>(uLastSize), std::ios::end) << parts[40] << std::flush;
        strShown.append(std::istreambuf_iterator<char>(output), {});
        runner.join();
        EXPECT_EQ(39u, LinesOf(strShown).size());
        ExpectRefused(outcome, "j: record 40: changed while it was being read");
    }
}

TEST_F(CJournal, TextsCannotCommandATerminal)
{
    struct SCase
    {
        std::string strText;
        const char* pszShown;
    };
    const SCase aCases[] = {{"plain ~ text", "plain ~ text"},
                            {"tab\tkept", "tab\tkept"},
                            {"\033[2J", "\\x1b[2J"},
                            {"a\rb\b", "a\\x0db\\x08"},
                            {std::string("\0\x7f", 2), "\\x00\\x7f"},
                            {"\\x1b", "\\\\x1b"},
                            {"Gr\u00fc\u00dfe \u20ac \U0001F600", "Gr\u00fc\u00dfe \u20ac \U0001F600"},
                            {"\u00a0", "\u00a0"},
                            {"\xc2\x9b"
                             "2J",
                             "\\xc2\\x9b2J"},  // U+009B begins a command, too
                            {"\x9b"
                             "2J",
                             "\\x9b2J"},                                         // and so it does in 8-bit terminals
                            {"\u202e\u2066", "\\xe2\\x80\\xae\\xe2\\x81\\xa6"},  // turn what follows round
                            {"\xc1\x9b", "\\xc1\\x9b"},                          // longer than due
                            {"\xe0\x82\x9b", "\\xe0\\x82\\x9b"},
                            {"\xed\xa0\x80", "\\xed\\xa0\\x80"},  // half a pair
                            {"\xf4\x90\x80\x80", "\\xf4\\x90\\x80\\x80"},
                            {"\xf8\x88\x80\x80\x80", "\\xf8\\x88\\x80\\x80\\x80"},
                            {"\xe2\x82", "\\xe2\\x82"},  // cut off
                            {"\xe2\x82x", "\\xe2\\x82x"}};
    std::string strText;
    for (const SCase& rCase : aCases) strText += rCase.strText + "\n";
    MustWrite(strText);
    for (const char* const pszSelection : {"--from", "--since", "--last"})
    {
        const SRunResult outcome = Show({pszSelection, pszSelection[2] == 'l' ? "99" : "1"});
        const Strings lines = LinesOf(outcome.strOutput);
        ASSERT_EQ(std::size(aCases), lines.size());
        for (std::size_t u = 0; u < lines.size(); ++u)
        {
            EXPECT_EQ(aCases[u].pszShown, lines[u].substr(lines[u].find(' ', lines[u].find(' ') + 1) + 1));
        }
    }
}

TEST_F(CJournal, ANewKeyIsRandomAndItsOwnersOnly)
{
    umask(0);
    MustWrite("one\n");
    umask(022);
    EXPECT_EQ(0600u, ModeOf("k"));
    const std::string strKey = Load("k");
    EXPECT_EQ(32u, strKey.size());
    fs::remove("k");
    MustBegin("one\n");
    EXPECT_NE(strKey, Load("k"));
}

TEST_F(CJournal, ModesGrantNobodyMoreThanBefore)
{
    struct SCase
    {
        mode_t uBefore;
        mode_t uKept;
        mode_t uGroupLost;
    };
    const SCase aCases[] = {{0600, 0600, 0600},  {0640, 0640, 0600},  {0664, 0664, 0644}, {0604, 0604, 0600},
                            {06755, 0755, 0755}, {04640, 0640, 0600}, {01666, 0666, 0666}};
    for (const SCase& rCase : aCases)
    {
        SCOPED_TRACE(testing::Message() << std::oct << rCase.uBefore);
        for (const bool bGroupLost : {false, true})
        {
            MustBegin("one\n");
            ASSERT_EQ(0, chmod("j", rCase.uBefore));
            const CRefusedJournal journal;
            const CRefusing refusing("REFUSE_NAME", bGroupLost ? "fchown" : "nothing", "REFUSE_ERRNO",
                                     std::to_string(EPERM));
            MustWrite("two\n");
            EXPECT_EQ(bGroupLost ? rCase.uGroupLost : rCase.uKept, ModeOf("j"));
        }
    }
}

TEST_F(CJournal, ANewJournalHasTheModeThatTheUmaskSays)
{
    for (const mode_t uMask : {0022u, 0077u, 0027u})
    {
        umask(uMask);
        MustBegin("one\n");
        umask(022);
        EXPECT_EQ(0666u & ~uMask, ModeOf("j"));
    }
}

TEST_F(CJournal, ASymbolicLinkStaysOne)
{
    MustWrite("one\n");
    fs::rename("j", "target");
    fs::create_symlink("target", "j");
    MustWrite("two\n");
    EXPECT_TRUE(fs::is_symlink("j"));
    ExpectIntact(2);
}

TEST_F(CJournal, AKeyThatOthersMayUseIsRefused)
{
    MustWrite("one\n");
    const auto expect = [](const std::string& rReason)
    {
        const std::string strMessage = "k: a key is for its owner only, " + rReason;
        ExpectRefused(Verify(), strMessage);
        ExpectRefused(Write({"/dev/null"}), strMessage);
        ExpectRefused(ShowWithKey(), strMessage);
    };
    {
        const CRefusedJournal journal;
        const CRefusing other("REFUSE_USER", std::to_string(geteuid() + 1));
        expect("who is user " + std::to_string(geteuid()));
    }
    for (const char* const pszMode : {"0640", "0604", "0610", "0602"})
    {
        ASSERT_EQ(0, chmod("k", static_cast<mode_t>(std::strtoul(pszMode, nullptr, 8))));
        expect(std::string("but the mode is ") + pszMode + ": chmod 600 it");
    }
}

TEST_F(CJournal, NoKeyIsLeftInMemory)
{
    if (g_bSANITIZED) GTEST_SKIP() << "sanitizers take terabytes";
    const CRefusedJournal journal;
    const CRefusing searching("REFUSE_RESIDUE", "k");
    MustWrite("one\n");
    MustWrite("two\n", {"--seal"});
    ExpectIntact(2);
    EXPECT_EQ((Strings{"one", "two"}), ShownTexts({"--key", "k"}));
}

TEST_F(CJournal, ADeletedJournalIsNotBegunAnewWithoutAWord)
{
    MustWrite("one\n");
    const std::string strKey = Load("k");
    fs::remove("j");
    Store("text", "two\n");
    ExpectRefused(Write({"text"}),
                  "j: is missing, although its key k is there: if it was not deleted, --new begins it");
    EXPECT_EQ((std::set<std::string>{"k", "text"}), Files());
    MustWrite("two\n", {"--new"});
    EXPECT_EQ(strKey, Load("k"));
    ExpectIntact(1);
    Store("text", "three\n");
    ExpectRefused(Run({"write", "--new", "--key", "k", "--journal", "j", "text"}),
                  "j: is there already, --new begins another one");
    ExpectIntact(1);
}

TEST_F(CJournal, AFailedLockIsToldFromAnotherWriter)
{
    MustWrite("one\n");
    Store("text", "two\n");
    const CRefusedJournal journal;
    const CRefusing refusing("REFUSE_NAME", "flock", "REFUSE_ERRNO", std::to_string(ENOLCK));
    ExpectRefused(Write({"text"}), FullName("j") + ": cannot be locked: No locks available");
}

TEST_F(CJournal, AKeyFileThatIsNoneIsRefused)
{
    MustWrite("one\n");
    const std::string strKey = Load("k");
    Store("k", strKey.substr(1));
    ExpectRefused(Verify(), "k: not a key file: 31 bytes instead of 32");
    Store("k", strKey + "x");
    ExpectRefused(Verify(), "k: not a key file: 33 bytes instead of 32");
    fs::remove("k");
    ExpectRefused(Verify(), "k: No such file or directory");
    ExpectRefused(Write({"/dev/null"}), "k: No such file or directory");
    EXPECT_FALSE(fs::exists("k")) << "a new key cannot fit an old journal";
    fs::create_directory("k");
    ExpectRefused(Verify(), "k: not a key file");
}

TEST_F(CJournal, WhatCannotBeReadLeavesEverythingAsItWas)
{
    Store("good", "two\n");
    Store("long", std::string(70000, 'x'));
    fs::create_directory("dir");
    for (const bool bNew : {true, false})
    {
        if (!bNew) MustWrite("one\n");
        const std::string strBefore = Load("j");
        const std::set<std::string> files = Files();
        ExpectRefused(Write({"good", "missing"}), "missing: No such file or directory");
        ExpectRefused(Write({"good", "dir"}), "dir: a directory");
        ExpectRefused(Write({"long"}), "long: line 1 is longer than 65,535 characters");
        // Opened well, but fails when read.
        ExpectRefused(Write({"good", "/proc/self/mem"}), "/proc/self/mem: Input/output error");
        EXPECT_EQ(strBefore, Load("j"));
        EXPECT_EQ(files, Files());
    }
}

TEST_F(CJournal, ANameMayBeAsLongAsThoseOfTheSystem)
{
    const std::string strLongest(PATH_MAX - 1, 'x');
    Store("text", "one\n");
    ExpectRefused(Run({"write", "--key", "k", "--journal", strLongest, "text"}), strLongest + ": File name too long");
    ExpectRefused(Run({"write", "--key", "k", "--journal", strLongest + "x", "text"}),
                  "a name is longer than 4095 characters");
    EXPECT_EQ((std::set<std::string>{"text"}), Files());
}

TEST_F(CJournal, AJournalThatIsNoRegularFileIsRefused)
{
    MustWrite("one\n");
    fs::create_directory("dir");
    Store("text", "two\n");
    ExpectRefused(Run({"write", "--key", "k", "--journal", "dir", "text"}), FullName("dir") + ": not a regular file");
    ExpectRefused(Run({"write", "--key", "k", "--journal", "/dev/null", "text"}), "/dev/null: not a regular file");
    ExpectRefused(Run({"verify", "--key", "k", "--journal", "dir"}), "dir: Is a directory");
    ExpectRefused(Run({"verify", "--key", "k", "--journal", "missing"}), "missing: No such file or directory");
    ExpectRefused(Run({"write", "--new", "--key", "k", "--journal", "missing/j", "text"}),
                  "missing/j: No such file or directory");
}

TEST_F(CJournal, AFullDiskLeavesTheJournalUntouched)
{
    MustWrite("one\n");
    const std::string strBefore = Load("j");
    Store("text", NumberedLines(2000));
    for (const rlim_t uLimit : {100u, 5000u, 50000u})
    {
        ExpectRefused(Write({"text"}, {{RLIMIT_FSIZE, uLimit}}), FullName("j") + ": File too large");
        EXPECT_EQ(strBefore, Load("j"));
        EXPECT_EQ((std::set<std::string>{"j", "k", "text"}), Files());
    }
    // Half a key is none. The limit cuts the message off, too.
    EXPECT_EQ(1, Run({"write", "--key", "new", "--journal", "j2", "text"}, {{RLIMIT_FSIZE, 16}}).nStatus);
    EXPECT_EQ((std::set<std::string>{"j", "k", "text"}), Files());
}

TEST_F(CJournal, OutputThatCannotBePrintedIsAnError)
{
    MustWrite(NumberedLines(5));
    const std::string strMessage = "standard output: No space left on device";
    ExpectRefused(Run({"show", "--journal", "j"}, {}, "/dev/null", "/dev/full"), strMessage);
    ExpectRefused(Run({"verify", "--key", "k", "--journal", "j"}, {}, "/dev/null", "/dev/full"), strMessage);
}

TEST_F(CJournal, UsageErrorsAreToldFromRefusals)
{
    struct SCase
    {
        Strings arguments;
        std::string strMessage;
    };
    const Strings show = {"show", "--journal", "j"};
    const Strings write = {"write", "--key", "k", "--journal", "j"};
    const Strings verify = {"verify", "--key", "k", "--journal", "j"};
    const std::string strExclusive = "--from/--to, --since/--until and --last exclude each other";
    std::vector<SCase> cases = {{{}, "no command given"},
                                {{"erase"}, "unknown command: erase"},
                                {{"verify", "--quiet"}, "unknown option: --quiet"},
                                {{"verify", "--key"}, "an option lacks its value: --key"},
                                {{"verify", "--key", "k"}, "--journal is missing"},
                                {{"verify", "--journal", "j"}, "--key is missing"},
                                {{"write", "--journal", "j", "text"}, "--key is missing"},
                                {write, "no file given"},
                                {With(verify, {"text"}), "one argument too many: text"},
                                {With(show, {"text"}), "one argument too many: text"},
                                {With(verify, {"--to", "2"}), "--from and --to are for show"},
                                {With(verify, {"--since", "2"}), "--since and --until are for show"},
                                {With(write, {"--until", "2", "text"}), "--since and --until are for show"},
                                {With(write, {"--last", "2", "text"}), "--last is for show"},
                                {With(show, {"--seal"}), "--seal is for write"},
                                {With(verify, {"--seal"}), "--seal is for write"},
                                {With(show, {"--since", "3", "--until", "2"}), "--since is behind --until"},
                                {With(show, {"--from", "3", "--to", "2"}), "--from is behind --to"},
                                {With(show, {"--from", "3", "--since", "2"}), strExclusive},
                                {With(show, {"--until", "3", "--last", "2"}), strExclusive},
                                {With(show, {"--last", "3", "--to", "2"}), strExclusive}};
    for (const char* const pszBad : {"", "0", "-1", "1x", "x", "99999999999999999999"})
    {
        cases.push_back({With(show, {"--from", pszBad}), "not the number of a record: --from"});
        cases.push_back({With(show, {"--to", pszBad}), "not the number of a record: --to"});
        cases.push_back({With(show, {"--last", pszBad}), "not a number of records: --last"});
        if (std::string(pszBad) == "0") continue;
        cases.push_back({With(show, {"--since", pszBad}), "not seconds since the epoch: --since"});
        cases.push_back({With(show, {"--until", pszBad}), "not seconds since the epoch: --until"});
    }
    for (const SCase& rCase : cases)
    {
        SCOPED_TRACE(testing::PrintToString(rCase.arguments));
        const SRunResult outcome = Run(rCase.arguments);
        EXPECT_EQ(2, outcome.nStatus);
        EXPECT_EQ("", outcome.strOutput);
        EXPECT_EQ("journal: " + rCase.strMessage + " (see journal --help)\n", outcome.strErrors);
    }
    EXPECT_TRUE(Files().empty());
}

TEST_F(CJournal, HelpTellsTheCommandsAndTheLimit)
{
    for (const char* const pszHelp : {"--help", "-h"})
    {
        const SRunResult outcome = Run({pszHelp});
        EXPECT_EQ(0, outcome.nStatus);
        EXPECT_EQ("", outcome.strErrors);
        for (const char* const pszPart :
             {"journal write", "journal verify", "journal show", "65,535", "--from", "--seal", "--last", "--since"})
        {
            EXPECT_NE(std::string::npos, outcome.strOutput.find(pszPart)) << pszPart;
        }
    }
}

TEST_F(CJournal, MemoryDoesNotGrowWithTheInput)
{
    // Less address space than the text, let alone the journal, takes. Sanitizers need terabytes.
    std::vector<SLimit> limits;
    if constexpr (!g_bSANITIZED) limits.push_back({RLIMIT_AS, 20u << 20});
    const std::string strLine = std::string(97, 'x') + "\n";
    std::string strText;
    constexpr std::size_t uSIZE = (g_bSANITIZED ? 2u : 24u) << 20;
    while (strText.size() < uSIZE) strText += strLine;
    const auto uRecords = std::to_string(strText.size() / strLine.size());
    Store("text", strText);

    SRunResult outcome = Write({"text"}, limits);
    EXPECT_EQ("j: " + uRecords + " records written, " + uRecords + " in all\n", outcome.strOutput) << outcome.strErrors;
    outcome = Verify(limits);
    EXPECT_EQ("j: intact, " + uRecords + " records\n", outcome.strOutput) << outcome.strErrors;
    outcome = ShowWithKey({"--from", uRecords}, limits);
    EXPECT_EQ(1u, LinesOf(outcome.strOutput).size()) << outcome.strErrors;
    outcome = ShowWithKey({"--last", "1000"}, limits);
    EXPECT_EQ(1000u, LinesOf(outcome.strOutput).size()) << outcome.strErrors;
    outcome = ShowWithKey({"--until", "1"}, limits);
    EXPECT_EQ("", outcome.strOutput + outcome.strErrors);
    Store("text", "one more\n");
    outcome = Write({"text"}, limits);
    EXPECT_EQ(0, outcome.nStatus) << outcome.strErrors;

    Store("text", std::string(uSIZE, 'x'));
    ExpectRefused(Write({"text"}, limits), "text: line 1 is longer than 65,535 characters");
}

namespace
{
/// What has arrived so far at the master of a terminal.
std::string WhatIsOnTerminal(int nMaster)
{
    std::string strAll;
    for (struct pollfd ready = {nMaster, POLLIN, 0}; poll(&ready, 1, 0) == 1 && (ready.revents & POLLIN) != 0;)
    {
        char acPart[256];
        const ssize_t nRead = read(nMaster, acPart, sizeof(acPart));
        if (nRead <= 0) break;
        strAll.append(acPart, static_cast<std::size_t>(nRead));
    }
    return strAll;
}

/// `journal write ... -` with the writing end of a pipe as its standard input, and a terminal or none for its errors.
class CFedJournal
{
public:
    explicit CFedJournal(bool bOnTerminal, const Strings& rMoreArguments = {})
    {
        signal(SIGPIPE, SIG_IGN);  // Feed() reports it
        EXPECT_EQ(0, pipe2(m_anPipe, O_CLOEXEC));
        EXPECT_EQ(0, openpty(&m_nMaster, &m_nTerminal, nullptr, nullptr, nullptr));
        Strings arguments = {"write", "--key", "k", "--journal", "j", "-"};
        arguments.insert(arguments.end(), rMoreArguments.begin(), rMoreArguments.end());
        const int nNowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
        m_pid = StartProgram(g_pszJournal, arguments, {m_anPipe[0], nNowhere, bOnTerminal ? m_nTerminal : nNowhere},
                             []
                             {
                                 for (const int nSignal : {SIGHUP, SIGINT, SIGTERM}) signal(nSignal, SIG_DFL);
                             });
        close(nNowhere);
        close(m_anPipe[0]);
    }

    // Writes lines until they are taken.
    void Feed(const std::string& rText)
    {
        for (std::size_t uDone = 0; uDone < rText.size();)
        {
            const ssize_t nWritten = write(m_anPipe[1], rText.data() + uDone, rText.size() - uDone);
            if (nWritten <= 0) FAIL() << "the program reads no more";
            uDone += static_cast<std::size_t>(nWritten);
        }
    }

    std::string ReadTerminal() { return WhatIsOnTerminal(m_nMaster); }

    int Interrupt(int nSignal)
    {
        kill(m_pid, nSignal);
        return Finish();
    }

    int Finish()
    {
        close(m_anPipe[1]);
        return StatusOf(m_pid);
    }

    ~CFedJournal()
    {
        close(m_nMaster);
        close(m_nTerminal);
    }
    CFedJournal(const CFedJournal&) = delete;
    CFedJournal& operator=(const CFedJournal&) = delete;

private:
    int m_anPipe[2] = {};
    int m_nMaster = -1;
    int m_nTerminal = -1;
    pid_t m_pid = -1;
};
}  // namespace

TEST_F(CJournal, AnInterruptedWriteLeavesNothingBehind)
{
    // Named: on file systems without unnamed files.
    for (const auto& [bNamed, bNew] : {std::pair(false, false), {true, true}, {true, false}})
    {
        const CRefusedJournal journalProgram;
        const CRefusing unsupported("REFUSE_UNNAMED", bNamed ? "1" : "0");
        if (!bNew) MustWrite("one\n");
        const std::set<std::string> before = Files();
        const std::string strBefore = Load("j");
        for (const int nSignal : {SIGHUP, SIGINT, SIGTERM, SIGKILL})
        {
            SCOPED_TRACE(testing::Message()
                         << "signal " << nSignal << (bNew ? ", new" : "") << (bNamed ? ", named" : ""));
            umask(0);
            CFedJournal journal(false);
            umask(022);
            journal.Feed(NumberedLines(g_uMANY_LINES));
            unsigned int uTemporaries = 0;
            for (const std::string& rName : Files())
            {
                if (before.count(rName) != 0) continue;
                EXPECT_EQ(0600u, ModeOf(rName)) << rName;
                ++uTemporaries;
            }
            EXPECT_EQ(bNamed + bNew, static_cast<int>(uTemporaries))
                << "of the journal, and of its key when that is new";
            EXPECT_EQ(-nSignal, journal.Interrupt(nSignal));
            EXPECT_EQ(strBefore, Load("j"));
            if (bNamed && nSignal == SIGKILL) continue;
            EXPECT_EQ(before, Files());
        }
        // What the killed one had to leave goes with the next call.
        MustWrite("one\n");
        EXPECT_EQ((std::set<std::string>{"j", "k"}), Files());
        if (bNew) ExpectIntact(1);
        fs::remove("j");
        fs::remove("k");
    }
}

TEST_F(CJournal, ANamedTemporaryFileThatIsInUseIsNotTaken)
{
    const CRefusedJournal journalProgram;
    const CRefusing unsupported("REFUSE_UNNAMED", "1");
    MustWrite("one\n");
    fs::remove("j");
    Store("text", "two\n");
    const Strings write = {"write", "--new", "--key", "k", "--journal", "j", "text"};
    CFedJournal journal(false, {"--new"});
    journal.Feed(NumberedLines(g_uMANY_LINES));
    ExpectRefused(Run(write), "j: being written by somebody else");
    EXPECT_EQ(0, journal.Finish());
    ExpectIntact(g_uMANY_LINES);
    EXPECT_EQ((std::set<std::string>{"j", "k", "text"}), Files());
}

TEST_F(CJournal, TwoWritersDoNotLoseEachOthersRecords)
{
    MustWrite("one\n");
    Store("text", "two\n");
    CFedJournal journal(false);
    journal.Feed(NumberedLines(g_uMANY_LINES));
    ExpectRefused(Write({"text"}), FullName("j") + ": being written by somebody else");
    EXPECT_EQ(0, journal.Finish());
    ExpectIntact(g_uMANY_LINES + 1);
}

TEST_F(CJournal, AJournalThatAppearsInTheMeantimeIsNotReplaced)
{
    CFedJournal journal(false);
    journal.Feed(NumberedLines(g_uMANY_LINES));
    MustWrite("one\n");
    EXPECT_EQ(1, journal.Finish());
    ExpectIntact(1);
    EXPECT_EQ((std::set<std::string>{"j", "k"}), Files());
}

TEST_F(CJournal, ATerminalIsShownProgressWhichIsErasedInTheEnd)
{
    CFedJournal journal(true);
    const std::string strSome = NumberedLines(1000);
    std::string strShown;
    while (strShown.empty() && !HasFatalFailure())
    {
        journal.Feed(strSome);
        strShown = journal.ReadTerminal();
    }
    EXPECT_EQ(0, journal.Finish());
    strShown += journal.ReadTerminal();
    EXPECT_TRUE(StartsWith(strShown, "\r\033[Kwriting: ")) << strShown;
    EXPECT_TRUE(EndsWith(strShown, " records\r\033[K")) << strShown;
}

namespace
{
/// What `write` starts from, what it was to make of it, and what the program is asked to refuse.
class CRefusedWrite : public CJournal, public testing::WithParamInterface<std::tuple<bool, bool, bool>>
{
protected:
    bool IsNew() const { return std::get<0>(GetParam()); }
    bool IsNamed() const { return std::get<1>(GetParam()); }
    bool IsSealed() const { return std::get<2>(GetParam()); }

    void SetUp() override
    {
        CJournal::SetUp();
        if (IsNew()) return;
        MustWrite("one\n");
        ExpectIntact(1);
        m_strKey = Load("k");
        m_strJournal = Load("j");
    }

    void Reset()
    {
        fs::remove("k");
        fs::remove("j");
        if (IsNew()) return;
        Store("k", m_strKey);
        Store("j", m_strJournal);
        ASSERT_EQ(0, chmod("k", 0600));
    }

    SRunResult WriteRefused()
    {
        const CRefusedJournal journal;
        const CRefusing unsupported("REFUSE_UNNAMED", IsNamed() ? "1" : "0");
        return Write(With({"text"}, IsSealed() ? Strings{"--seal"} : Strings{}));
    }

    void ExpectNew()
    {
        ExpectIntact(IsNew() ? 2 : 3);
        EXPECT_EQ((std::set<std::string>{"j", "k", "text"}), Files());
    }

    void ExpectOld()
    {
        if (IsNew())
        {
            EXPECT_EQ((std::set<std::string>{"text"}), Files());
            return;
        }
        EXPECT_EQ(m_strJournal, Load("j"));
        EXPECT_EQ(m_strKey, Load("k"));
        EXPECT_EQ((std::set<std::string>{"j", "k", "text"}), Files());
    }

    void WriteAndLook()
    {
        Reset();
        Store("text", "two\nthree\n");
        const SRunResult outcome = WriteRefused();
        // What can be done in another way need not fail.
        if (outcome.nStatus == 0) return ExpectNew();
        EXPECT_EQ(1, outcome.nStatus);
        EXPECT_EQ("", outcome.strOutput);
        EXPECT_TRUE(StartsWith(outcome.strErrors, "journal: ")) << outcome.strErrors;
        EXPECT_EQ(1u, LinesOf(outcome.strErrors).size());
        EXPECT_TRUE(EndsWith(outcome.strErrors, "out of memory\n") || EndsWith(outcome.strErrors, "output error\n"))
            << outcome.strErrors;
        ++m_uRefused;
        if (outcome.strErrors.find(": written, but ") != std::string::npos) ExpectNew();
        else ExpectOld();
    }

    std::string m_strKey;
    std::string m_strJournal;
    unsigned int m_uRefused = 0;
};

INSTANTIATE_TEST_SUITE_P(All, CRefusedWrite,
                         testing::Values(std::make_tuple(false, false, false), std::make_tuple(false, true, true),
                                         std::make_tuple(true, false, true), std::make_tuple(true, true, false)),
                         [](const auto& rInfo)
                         {
                             return std::string(std::get<0>(rInfo.param) ? "New" : "Continued") +
                                    (std::get<1>(rInfo.param) ? "Named" : "Unnamed") +
                                    (std::get<2>(rInfo.param) ? "Sealed" : "Plain");
                         });
}  // namespace

TEST_P(CRefusedWrite, WithoutMemoryNothingHappens)
{
    const unsigned int uRequests = RefuseEach("REFUSE_NEW", [&] { WriteAndLook(); });
    if (TESTS_OWN_OPERATOR_NEW == 0) GTEST_SKIP() << "the sanitizer brings its own operator new";
    EXPECT_GT(uRequests, 20u);
    EXPECT_GT(m_uRefused, 20u);
}

TEST_P(CRefusedWrite, WhenACallOfTheSystemFailsNothingHappens)
{
    EXPECT_GT(RefuseEach("REFUSE_CALL", [&] { WriteAndLook(); }), 12u);
    EXPECT_GT(m_uRefused, 12u);
}

TEST_P(CRefusedWrite, KilledAnywhereTheJournalIsIntact)
{
    const CRefusing killing("REFUSE_KILL", "1");
    const auto killAndLook = [&]
    {
        Reset();
        Store("text", "two\nthree\n");
        const SRunResult outcome = WriteRefused();
        EXPECT_TRUE(outcome.nStatus == -SIGKILL || outcome.nStatus == 0) << outcome.nStatus;
        const bool bMade = fs::exists("j") && (IsNew() || Load("j") != m_strJournal);
        unsigned int uRecords = bMade ? 2 : 0;
        if (!IsNew()) ++uRecords;
        if (uRecords != 0) ExpectIntact(uRecords);
        // And the next one goes on from there, and leaves no trace of the other.
        const bool bKeyOnly = fs::exists("k") && !fs::exists("j");
        unsetenv("REFUSE_CALL");
        const SRunResult next = Write(With({"text"}, bKeyOnly ? Strings{"--new"} : Strings{}));
        EXPECT_EQ(0, next.nStatus) << next.strErrors;
        ExpectIntact(uRecords + 2);
        EXPECT_EQ((std::set<std::string>{"j", "k", "text"}), Files());
    };
    EXPECT_GT(RefuseEach("REFUSE_CALL", killAndLook), 12u);
}

namespace
{
constexpr char g_szERASE_LINE[] = "\r\033[K";

/// What the program shows on a terminal for its errors, when each of its looks at the clock is nStepMs after the last.
/// With bOutputToo, of its output as well.
std::string ShownOnTerminal(const Strings& rArguments, int nStepMs, bool bOutputToo = false)
{
    const CRefusedJournal journalProgram;
    const CRefusing stepping("REFUSE_STEP", std::to_string(nStepMs));
    int nMaster = -1;
    int nTerminal = -1;
    EXPECT_EQ(0, openpty(&nMaster, &nTerminal, nullptr, nullptr, nullptr));
    const int nNowhere = open("/dev/null", O_RDWR | O_CLOEXEC);
    EXPECT_EQ(
        0, StatusOf(StartProgram(g_pszJournal, rArguments, {nNowhere, bOutputToo ? nTerminal : nNowhere, nTerminal})));
    close(nNowhere);
    const std::string strShown = WhatIsOnTerminal(nMaster);
    close(nTerminal);
    close(nMaster);
    return strShown;
}

std::string ProgressLine(const char* pszDoing, std::size_t uRecords, std::size_t uBytes, std::size_t uTotalBytes)
{
    return std::string(g_szERASE_LINE) + pszDoing + ": " + std::to_string(uRecords) + " records, " +
           std::to_string(uBytes * 100 / uTotalBytes) + " %";
}

/// All of it, where every record or line is told of.
std::string WholeProgress(const char* pszDoing, const Strings& rRecords, std::size_t uTotalBytes)
{
    std::string strShown;
    std::size_t uBytes = 0;
    for (std::size_t u = 0; u < rRecords.size(); ++u)
        strShown += ProgressLine(pszDoing, u + 1, uBytes += rRecords[u].size(), uTotalBytes);
    return strShown + g_szERASE_LINE;
}
}  // namespace

TEST_F(CJournal, ProgressIsShownFromHalfASecondOnFourTimesASecond)
{
    constexpr int nRECORDS = 9;
    MustWrite(NumberedLines(nRECORDS));
    const Strings parts = PartsOf(Load("j"));
    for (const int nStepMs : {1, 249, 250, 499, 500, 501})
    {
        SCOPED_TRACE(testing::Message() << nStepMs << " ms from look to look");
        std::string strExpected;
        std::size_t uBytes = 0;
        int nNextMs = 500;
        for (int nRecord = 1; nRecord <= nRECORDS; ++nRecord)
        {
            uBytes += parts[static_cast<std::size_t>(nRecord)].size();
            if (nRecord * nStepMs < nNextMs) continue;
            nNextMs = nRecord * nStepMs + 250;
            strExpected += ProgressLine("verifying", static_cast<std::size_t>(nRecord), uBytes, Joined(parts).size());
        }
        if (!strExpected.empty()) strExpected += g_szERASE_LINE;
        EXPECT_EQ(strExpected, ShownOnTerminal({"verify", "--key", "k", "--journal", "j"}, nStepMs));
    }
}

TEST_F(CJournal, ProgressCountsTheRecordsThatAreReadOrCopiedAndTheLines)
{
    MustWrite("one\ntwo\nthree\n");
    const Strings parts = PartsOf(Load("j"));
    const Strings records(parts.begin() + 1, parts.end() - 1);
    const Strings lines = {"a line that is long enough to be more than one in a hundred\n", "\n", "end\n"};
    Store("text", Joined(lines));
    const std::size_t uJournal = Joined(parts).size();
    EXPECT_EQ(WholeProgress("reading", records, uJournal),
              ShownOnTerminal({"show", "--key", "k", "--journal", "j", "--since", "0"}, 1000));
    EXPECT_EQ(WholeProgress("writing", With(records, lines), uJournal + Joined(lines).size()),
              ShownOnTerminal({"write", "--key", "k", "--journal", "j", "text"}, 1000));
    ExpectIntact(6);
}

// The size of what the system makes up while it is read is 0.
TEST_F(CJournal, ProgressNeverIsMoreThanAHundredPercent)
{
    MustWrite("one\n");
    Store("text", "two\n");
    const std::string strShown =
        ShownOnTerminal({"write", "--key", "k", "--journal", "j", "text", "/proc/filesystems"}, 1000);
    EXPECT_NE(std::string::npos, strShown.find(" 100 %"));
    EXPECT_EQ(std::string::npos, strShown.find(" 101 %"));
}

TEST_F(CJournal, AFileSystemThatCannotKeepWhatIsThereGetsALinkInstead)
{
    const CRefusedJournal journalProgram;
    const CRefusing unsupported("REFUSE_UNNAMED", "1");
    const CRefusing refusing("REFUSE_NAME", "renameat2", "REFUSE_ERRNO", std::to_string(EINVAL));
    MustWrite("one\n");
    EXPECT_EQ((std::set<std::string>{"j", "k"}), Files());
    ExpectIntact(1);
}

TEST_F(CJournal, ProgressIsErasedBeforeTheLastRecordsAreShown)
{
    MustWrite("one\ntwo\nthree\n");
    const std::string strShown = ShownOnTerminal({"show", "--key", "k", "--journal", "j", "--last", "1"}, 1000, true);
    EXPECT_NE(std::string::npos, strShown.find("reading: 3 records, ")) << strShown;
    EXPECT_NE(std::string::npos, strShown.find("three"));
    EXPECT_LT(strShown.rfind(g_szERASE_LINE), strShown.find("three"));
}

TEST_F(CJournal, ProgressOfAWriteOfUnknownSizeHasNoPercentage)
{
    MustWrite("one\n");
    EXPECT_EQ(std::string(g_szERASE_LINE) + "writing: 1 records" + g_szERASE_LINE,
              ShownOnTerminal({"write", "--key", "k", "--journal", "j", "-"}, 1000));
}

TEST_F(CJournal, AWriteThatTakesFewBytesAtATimeLosesNone)
{
    const CRefusedJournal journalProgram;
    const CRefusing fewAtATime("REFUSE_BEHIND", "7");
    MustWrite(NumberedLines(20));
    ExpectIntact(20);
}

// Without /proc, an unnamed file could not be named later.
TEST_F(CJournal, WhereOpenFilesHaveNoPathTheTemporaryFileHasAName)
{
    const CRefusedJournal journalProgram;
    const CRefusing refusing("REFUSE_NAME", "access");
    CFedJournal journal(false);
    journal.Feed(NumberedLines(g_uMANY_LINES));
    EXPECT_EQ(2u, Files().size()) << "of the journal, and of its key";
    EXPECT_EQ(0, journal.Finish());
    ExpectIntact(g_uMANY_LINES);
}
