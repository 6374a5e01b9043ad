// GetOptTest.cpp - kyOS::GetOpt: whole command lines against an option table, name lookup,
// usage texts and the file checks on a real directory tree.
#include <Base/OS/kyOSGetOpt.h>

#include "kyTestSupport.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <optional>
#include <set>
#include <string>
#include <system_error>
#include <vector>

#include <gtest/gtest.h>

namespace {

using kyOS::GetOpt;
using kyString::CString;
using kyString::IString;
using Result = const GetOpt::impl::result*;

std::vector<std::string> split(const std::string& line, char separator = ' ') {
    std::vector<std::string> words;
    std::size_t start = 0;
    while (start < line.size()) {
        std::size_t end = line.find(separator, start);
        if (end == std::string::npos) {
            end = line.size();
        }
        words.push_back(line.substr(start, end - start));
        start = end + 1;
    }
    return words;
}

std::string narrow(const IString& s) {
    return s.asMultibyte();
}

// What parsing a whole line gave: "name#index(arg,arg) ...", the error text, the rest.
struct Transcript {
    std::string results;
    std::string error;
    std::string rest;
};

// Calls getOpt until it gives null.
Transcript drain(GetOpt& g) {
    Transcript t;
    for (int guard = 0; guard < 1000; ++guard) {
        Result r = g.getOpt();
        if (!r) {
            break;
        }
        EXPECT_EQ(r, g.getCurrentResult());
        if (!t.results.empty()) {
            t.results += ' ';
        }
        t.results += g.getResultName(r).asChar();
        t.results += '#' + std::to_string(g.getResultIndex(r)) + '(';
        for (int i = 0; i < g.getNumArguments(r); ++i) {
            t.results += (i ? "," : "") + narrow(g.getResultArg(r, i));
        }
        t.results += ')';
    }
    EXPECT_EQ(g.getCurrentResult(), nullptr);
    if (g.hasErrors()) {
        t.error = narrow(g.getError());
    } else {
        EXPECT_TRUE(g.getError().isEmpty());
    }
    ky::vector<IString> rest;
    g.remaining(rest);
    for (const IString& w : rest) {
        t.rest += (t.rest.empty() ? "" : " ") + narrow(w);
    }
    return t;
}

Transcript parseAll(GetOpt& g, const std::vector<std::string>& words) {
    std::vector<const char*> argv;
    for (const std::string& w : words) {
        argv.push_back(w.c_str());
    }
    g.initialize(static_cast<int>(argv.size()), argv.data());
    return drain(g);
}

// The table most cases run against; the transcripts show each option's index.
void declareStandard(GetOpt& g) {
    for (const std::string& option :
         split("flag=;b|bool=bool;int=int;float=float;string=string;size=int int;seq=sequence;"
               "opt=string ? int string;color=;colorize=? bool;pair=sequence string;"
               "comment=  string  extra words ",
               ';')) {
        const std::size_t eq = option.find('=');
        g.addOption(option.substr(0, eq).c_str(), option.substr(eq + 1).c_str());
    }
}

struct LineCase {
    const char* line;
    const char* results;
    const char* error;
    const char* rest;
    bool noDash = false; // parsed with needLeadingDash(false)
};

// Whole command lines against the standard table: the results, the error, the words left.
TEST(GetOptTest, CommandLines) {
    const LineCase cases[] = {
        // Names: exact, prefixes and malformed words.
        {"-flag", "flag#0()", "", ""},
        {"--flag", "flag#0()", "", ""},
        {"-flag -flag", "flag#0() flag#0()", "", ""},
        {"-b on -bool off", "bool#1(1) bool#1(0)", "", ""},
        {"-bo 1", "bool#1(1)", "", ""},
        // Prefixes: a single branch selects; a fork is ambiguous.
        {"-i 5 -in 6 -fla -flo 2 -si 1 2 -p . x",
         "int#2(5) int#2(6) flag#0() float#3(2) size#5(1,2) pair#10(x)", "", ""},
        {"-fl", "", "Option does not exist or is ambiguous: -fl", ""},
        {"-s x", "", "Option does not exist or is ambiguous: -s", "x"},
        {"-co", "", "Option does not exist or is ambiguous: -co", ""},
        // The exact name wins; below it a single branch passes over "color" on purpose.
        {"-color -colorize -col -colo -colori yes",
         "color#8() colorize#9() colorize#9() colorize#9() colorize#9(1)", "", ""},
        {"-nope -flag", "", "Option does not exist or is ambiguous: -nope", "-flag"},
        {"---flag", "", "Option does not exist or is ambiguous: ---flag", ""},
        {"-Flag", "", "Option does not exist or is ambiguous: -Flag", ""},
        {"-flags", "", "Option does not exist or is ambiguous: -flags", ""},
        {"-flag x -flag", "flag#0()", "Malformed option: no leading dash: x", "-flag"},
        {"-flag [ a ]", "flag#0()", "[ encountered outside of a sequence.", "a ]"},
        {"]", "", "] encountered outside of a sequence.", ""},
        {"[[", "", "Malformed option: no leading dash: [[", ""},
        {"- -flag", "", "Malformed option: no option specified: -", "-flag"},
        {"", "", "", ""},
        {" -flag", "", "Option does not exist or is ambiguous: ", "-flag"}, // an empty word
        // Required arguments.
        // A required argument takes any word, dashes included.
        {"-string -flag -flag", "string#4(-flag) flag#0()", "", ""},
        {"-string . -string [", "string#4(.) string#4([)", "", ""},
        {"-size 640 480 -flag", "size#5(640,480) flag#0()", "", ""},
        {"-size 640", "",
         "Insufficient arguments when processing option: size\nUsage:\n  -size integer integer\n",
         ""},
        {"-size 640 x 3", "", "While processing option: -size\n  Expected an integer, got: x", "3"},
        // Words that are not type keywords are skipped.
        {"-comment hello -flag", "comment#11(hello) flag#0()", "", ""},
        // Optional arguments.
        {"-opt a", "opt#7(a)", "", ""},
        {"-opt a 5", "opt#7(a,5)", "", ""},
        {"-opt a 5 b -flag", "opt#7(a,5,b) flag#0()", "", ""},
        {"-opt a -flag", "opt#7(a) flag#0()", "", ""},
        {"-opt a 5 -flag", "opt#7(a,5) flag#0()", "", ""},
        // A word with a leading dash ends the optional part: negative numbers included.
        {"-opt a -5 b", "opt#7(a)", "Option does not exist or is ambiguous: -5", "b"},
        // "." ends it too and stays for the next option, where it is no option.
        {"-opt a . -flag", "opt#7(a)", "Malformed option: no leading dash: .", "-flag"},
        {"-opt a x", "", "While processing option: -opt\n  Expected an integer, got: x", ""},
        {"-opt", "",
         "Insufficient arguments when processing option: opt\nUsage:\n  -opt string ? integer "
         "string\n",
         ""},
        {"-col -flag -col no -col -- -x", "colorize#9() flag#0() colorize#9(0) colorize#9()", "",
         "-x"},
        // Sequences.
        // Without brackets everything up to "." or the end, dashes included.
        {"-seq a b -c d", "seq#6(a,b,-c,d)", "", ""},
        {"-seq a b . -flag", "seq#6(a,b) flag#0()", "", ""},
        {"-seq . -flag", "seq#6() flag#0()", "", ""},
        {"-seq [ a b ] -flag", "seq#6(a,b) flag#0()", "", ""},
        {"-seq [ ] -flag", "seq#6() flag#0()", "", ""},
        {"-seq [ a [ b c ] d ] -flag", "seq#6(a,[,b,c,],d) flag#0()", "", ""},
        {"-seq [ a [ b [ c ] ] d ] -flag", "seq#6(a,[,b,[,c,],],d) flag#0()", "", ""},
        {"-seq [ [ [ x ] ] ] -flag", "seq#6([,[,x,],]) flag#0()", "", ""},
        // "." ends the sequence at any depth; a missing "]" is no error.
        {"-seq [ a [ b . -flag", "seq#6(a,[,b) flag#0()", "", ""},
        {"-seq [ a [ b", "seq#6(a,[,b)", "", ""},
        // Words before the bracket belong to the sequence; after the closing one they do not.
        {"-seq a [ b ] -flag", "seq#6(a,b) flag#0()", "", ""},
        {"-seq a ] b", "", "While processing option: -seq\n  Too many ']' characters", ""},
        {"-seq [ a ] ] -flag", "seq#6(a)", "] encountered outside of a sequence.", "-flag"},
        {"-seq", "",
         "Insufficient arguments when processing option: seq\nUsage:\n  -seq sequence\n", ""},
        {"-pair [ a b ] c -flag", "pair#10(a,b,c) flag#0()", "", ""},
        {"-pair a b . c", "pair#10(a,b,c)", "", ""},
        {"-pair a b", "",
         "Insufficient arguments when processing option: pair\nUsage:\n  -pair sequence string\n",
         ""},
        // "--" ends the options, except where an argument takes it.
        {"--", "", "", ""},
        {"-flag -- -b x", "flag#0()", "", "-b x"},
        {"-- -flag", "", "", "-flag"},
        {"-string -- -flag", "string#4(--) flag#0()", "", ""},
        {"-seq a -- b", "seq#6(a,--,b)", "", ""},
        // Without a leading dash.
        {"flag -flag --flag", "flag#0() flag#0() flag#0()", "", "", true},
        {"size 1 2 col", "size#5(1,2) colorize#9()", "", "", true},
        {"opt a flag", "", "While processing option: -opt\n  Expected an integer, got: flag", "",
         true},
        {"[", "", "Option does not exist or is ambiguous: [", "", true},
        {"nope", "", "Option does not exist or is ambiguous: nope", "", true},
        {"flag -- flag", "flag#0()", "", "flag", true},
    };
    for (const LineCase& c : cases) {
        GetOpt g;
        declareStandard(g);
        g.needLeadingDash(!c.noDash);
        const Transcript t = parseAll(g, split(c.line));
        EXPECT_EQ(t.results, c.results) << "line: " << c.line;
        EXPECT_EQ(t.error, c.error) << "line: " << c.line;
        EXPECT_EQ(t.rest, c.rest) << "line: " << c.line;
    }
}

// Numbers and booleans are judged by their leading characters; a refused word is consumed.
TEST(GetOptTest, ArgumentWords) {
    const struct {
        const char* option;
        const char* words;  // separated by '|'
        const char* stored; // null: refused; "": the word as typed
        const char* expected;
    } cases[] = {
        {"bool", "1|true|yes|on", "1", ""},
        {"bool", "0|false|no|off", "0", ""},
        {"bool", "Yes|TRUE|2|y|onn|-1|01|true ", nullptr, "a boolean type"},
        {"int", "0|12|007|12abc|-5|-5x|9-|1.5", "", ""},
        {"int", "abc|-|-x|+5||x1|--5|.5| 5", nullptr, "an integer"},
        {"float", "5|.5|-.5|1e9|-1|5abc|0.x|-0|3.", "", ""},
        {"float", ".|-|abc|-.|..5||+1|-.x|--1|e5", nullptr, "a floating point value"},
    };
    for (const auto& c : cases) {
        for (const std::string& word : split(c.words, '|')) {
            GetOpt g;
            declareStandard(g);
            const Transcript t = parseAll(g, {std::string("-") + c.option, word, "-flag"});
            const int index = g.getOptionIndex(g.findOption(c.option));
            if (c.stored) {
                EXPECT_EQ(t.results, std::string(c.option) + "#" + std::to_string(index) + "(" +
                                         (*c.stored ? c.stored : word) + ") flag#0()")
                    << word;
                continue;
            }
            EXPECT_EQ(t.results, "") << word;
            EXPECT_EQ(
                t.error,
                std::string("While processing option: -") + c.option + "\n  Expected " +
                    c.expected + ", got: " + word +
                    (index == 1
                         ? "\n    valid boolean types are: 1, 0, true,  false, yes, no, on, off."
                         : ""));
            EXPECT_EQ(t.rest, "-flag");
        }
    }
}

// An error stops parsing until resetError; its text stays readable until the next getOpt.
TEST(GetOptTest, ErrorsAndAbortStopParsing) {
    GetOpt g;
    declareStandard(g);
    const char* words[] = {"-flag", "-int", "x", "-b", "on", "-nope", "-flag"};
    g.initialize(7, words);
    ASSERT_NE(g.getOpt(), nullptr);
    const std::string first = "While processing option: -int\n  Expected an integer, got: x";
    Transcript t = drain(g);
    EXPECT_EQ(t.error, first);
    EXPECT_EQ(t.rest, "-b on -nope -flag");
    EXPECT_EQ(g.getOpt(), nullptr) << "stays stopped";
    g.resetError();
    EXPECT_FALSE(g.hasErrors());
    EXPECT_EQ(narrow(g.getError()), first);
    t = drain(g);
    EXPECT_EQ(t.results, "bool#1(1)");
    EXPECT_EQ(t.error, "Option does not exist or is ambiguous: -nope");
    g.resetError();
    t = drain(g);
    EXPECT_EQ(t.results + t.error + t.rest, "flag#0()");
    // A new command line does not clear a pending error.
    g.initialize(7, words);
    ASSERT_NE(g.getOpt(), nullptr);
    ASSERT_EQ(g.getOpt(), nullptr);
    g.initialize(1, words);
    EXPECT_EQ(drain(g).error, first);
    g.resetError();
    EXPECT_EQ(drain(g).results, "flag#0()");
    // abort stops without an error and keeps the rest, until a new command line.
    const char* more[] = {"-flag", "-size", "1", "2", "tail"};
    g.initialize(5, more);
    ASSERT_NE(g.getOpt(), nullptr);
    g.abort();
    EXPECT_EQ(g.getCurrentResult(), nullptr);
    t = drain(g);
    EXPECT_EQ(t.results + t.error + "|" + t.rest, "|-size 1 2 tail");
    g.initialize(1, more);
    EXPECT_EQ(drain(g).results, "flag#0()");
}

TEST(GetOptTest, InitializeForms) {
    GetOpt g;
    declareStandard(g);
    const wchar_t* wide[] = {L"-string", L"caf\u00e9", nullptr, L"-flag"};
    g.initialize(4, wide);
    EXPECT_EQ(g.getResultArg(g.getOpt(), 0).str(), L"caf\u00e9");
    EXPECT_EQ(g.getResultIndex(g.getOpt()), 0) << "null entries are skipped";
    g.initialize(ky::vector<IString>{IString(L"-size"), IString(L"3"), IString(L"4")});
    ky::vector<IString> args;
    g.getResultArgs(g.getOpt(), args);
    ASSERT_EQ(args.size(), 2u);
    EXPECT_EQ(args[1].str(), L"4");
    // Nothing to parse; each call replaces the words.
    g.initialize(0, static_cast<const char**>(nullptr));
    EXPECT_EQ(g.getOpt(), nullptr);
    g.initialize(-3, static_cast<const wchar_t**>(nullptr));
    EXPECT_EQ(g.getOpt(), nullptr);
    const char* one[] = {"-flag", "rest"};
    g.initialize(2, one);
    g.initialize(1, one);
    const Transcript t = drain(g);
    EXPECT_EQ(t.results + t.error + t.rest, "flag#0()");
}

TEST(GetOptTest, DeclaringOptions) {
    GetOpt g;
    EXPECT_EQ(g.addOption("v|verbose", "? int"), 0);
    // Taken names and malformed declarations are refused and leave nothing behind.
    for (const char* bad :
         {"verbose", "v", "x|v", "verbose|y", "", "|", "a|", "|b", "a|b|c", "z|z"}) {
        EXPECT_EQ(g.addOption(bad, ""), -1) << bad;
    }
    EXPECT_EQ(g.addOption(nullptr, ""), -1);
    for (const char* gone : {"a", "x", "y", "z"}) {
        EXPECT_EQ(g.findOption(gone), nullptr) << gone;
    }
    EXPECT_EQ(g.addOption("verb", nullptr), 1) << "a prefix of a name is a new name";
    EXPECT_EQ(g.getNumOptions(), 2);
    const GetOpt::impl::option* verbose = g.getOption(0);
    EXPECT_EQ(g.findOption("v"), verbose) << "the second name";
    EXPECT_EQ(g.getOptionTypeList(verbose).str(), L"? int");
    EXPECT_EQ(g.getOptionTypeList(g.getOption(1)).str(), L"");
    // The result carries the primary name whatever was typed.
    EXPECT_EQ(parseAll(g, {"-v", "3", "--verbo", "-verb", "-verbose"}).results,
              "verbose#0(3) verbose#0() verb#1() verbose#0()");
    // Deprecation changes nothing in parsing (help leaves it out, below).
    EXPECT_TRUE(g.markOptionDeprecated(0));
    EXPECT_TRUE(g.isOptionDeprecated(0) && g.isOptionDeprecated(verbose));
    EXPECT_FALSE(g.isOptionDeprecated(g.getOption(1)));
    EXPECT_EQ(parseAll(g, {"-v"}).results, "verbose#0()");

    // Bad indices, null options and null results give nothing.
    EXPECT_FALSE(g.markOptionDeprecated(2) || g.markOptionDeprecated(-1) ||
                 g.isOptionDeprecated(99) || g.isOptionDeprecated(nullptr));
    EXPECT_TRUE(!g.getOption(2) && !g.getOption(-1) && !g.findOption(nullptr));
    EXPECT_EQ(g.getOptionIndex(nullptr), -1);
    EXPECT_EQ(g.getOptionName(nullptr), "");
    EXPECT_EQ(g.getResultOption(nullptr), nullptr);
    EXPECT_EQ(g.getResultName(nullptr), "");
    EXPECT_EQ(g.getResultIndex(nullptr), -1);
    EXPECT_EQ(g.getNumArguments(nullptr), 0);
    ky::vector<IString> args{IString(L"old")};
    g.getResultArgs(nullptr, args);
    EXPECT_TRUE(args.empty());
    const char* words[] = {"-v", "7"};
    g.initialize(2, words);
    Result r = g.getOpt();
    EXPECT_EQ(g.getResultOption(r), verbose);
    EXPECT_TRUE(g.getResultArg(r, 1).isEmpty() && g.getResultArg(r, -1).isEmpty() &&
                g.getResultArg(nullptr, 0).isEmpty());
}

TEST(GetOptTest, UsageTexts) {
    GetOpt g;
    declareStandard(g);
    const GetOpt::impl::option* size = g.findOption("size");
    EXPECT_TRUE(g.addOptionUsage(5, L"Width and height in pixels."));
    EXPECT_TRUE(g.addOptionUsage(5, L"Both are required."));
    EXPECT_FALSE(g.addOptionUsage(42, L"x") || g.addOptionUsage(5, nullptr));
    const std::string lines = "    Width and height in pixels.\n    Both are required.\n";
    // The shortest name first when it differs from the full one.
    EXPECT_EQ(narrow(g.getOptionUsage(size, true)),
              "  -si integer integer\n  -size integer integer\n" + lines);
    EXPECT_EQ(narrow(g.getOptionUsage(g.findOption("color"), true)), "  -color\n");
    EXPECT_EQ(g.getOptionShortestName(g.findOption("bool")), "b") << "the second name";
    EXPECT_EQ(g.getOptionShortestName(nullptr), "");
    EXPECT_TRUE(g.getOptionUsage(nullptr, true).isEmpty());
    EXPECT_EQ(g.getOptionTitle(size), "-size");
    EXPECT_EQ(g.getOptionTitle(nullptr), "");
    // The usage text is part of the "insufficient" message.
    EXPECT_EQ(
        parseAll(g, {"-size"}).error,
        "Insufficient arguments when processing option: size\nUsage:\n  -size integer integer\n" +
            lines);
    g.needLeadingDash(false);
    EXPECT_EQ(narrow(g.getOptionUsage(g.findOption("color"), false)), "  color\n");
    EXPECT_EQ(g.getOptionTitle(size), "size");

    // Every type's usage name; "?" is shown; words that are no type are not.
    GetOpt all;
    all.addOption("all", "bool int float string inputfile inputfile- outputfile outputfile- "
                         "inoutfile directory sequence ? junk");
    EXPECT_EQ(narrow(all.getOptionUsage(all.getOption(0), false)),
              "  -all bool integer float string file file file file file directory sequence ?\n");
}

TEST(GetOptTest, SortedOptionsAndHelp) {
    GetOpt g;
    const char* const options[][2] = {
        {"zoom", "float"}, {"a|all", ""}, {"Big", ""}, {"mid", "string"}, {"minor", ""}};
    for (const auto& o : options) {
        g.addOption(o[0], o[1]);
    }
    ky::vector<int> sorted;
    sorted.push_back(77);
    g.getSortedOptions(sorted);
    EXPECT_EQ(std::vector<int>(sorted.begin(), sorted.end()),
              (std::vector<int>{2, 1, 3, 4, 0})); // Big all mid minor zoom
    g.markOptionDeprecated(4);
    g.addOptionUsage(0, L"Magnification.");
    EXPECT_EQ(narrow(g.getUsage()), "  -B\n  -Big\n  -a\n  -all\n  -mid string\n  -z float\n  "
                                    "-zoom float\n    Magnification.\n");
    EXPECT_EQ(narrow(g.getUsage(false)),
              "  -Big\n  -all\n  -mid string\n  -zoom float\n    Magnification.\n");
    GetOpt empty;
    empty.getSortedOptions(sorted);
    EXPECT_TRUE(sorted.empty());
    EXPECT_TRUE(empty.getUsage().isEmpty());
}

// The selection rule written out over a plain set of names, to compare the trie against.
const std::string* referenceLookup(const std::set<std::string>& names, const std::string& word) {
    if (word.empty()) {
        return nullptr;
    }
    auto exact = names.find(word);
    if (exact != names.end()) {
        return &*exact;
    }
    std::string at = word;
    for (;;) {
        std::set<char> next;
        const std::string* leaf = nullptr;
        for (const std::string& n : names) {
            if (n.compare(0, at.size(), at) == 0) {
                if (n.size() > at.size()) {
                    next.insert(n[at.size()]);
                } else {
                    leaf = &n;
                }
            }
        }
        if (next.empty()) {
            return leaf;
        }
        if (next.size() > 1) {
            return nullptr;
        }
        at += *next.begin();
    }
}

TEST(GetOptTest, LookupMatchesTheRuleOnRandomTables) {
    kytest::Random random(20240611);
    for (int round = 0; round < 200; ++round) {
        GetOpt g;
        std::set<std::string> names;
        const int count = random.range(1, 12);
        for (int i = 0; i < count; ++i) {
            std::string name;
            const int length = random.range(1, 6);
            for (int k = 0; k < length; ++k) {
                name += static_cast<char>('a' + random.range(0, 2));
            }
            const int index = g.addOption(name.c_str(), "");
            EXPECT_EQ(index >= 0, names.insert(name).second) << name;
        }
        // Every word up to length 7 over the alphabet.
        std::vector<std::string> words = {""};
        for (std::size_t start = 0; start < words.size(); ++start) {
            if (words[start].size() < 7) {
                for (char c : {'a', 'b', 'c'}) {
                    words.push_back(words[start] + c);
                }
            }
            const std::string* expected = referenceLookup(names, words[start]);
            const GetOpt::impl::option* found = g.findOption(words[start].c_str());
            ASSERT_EQ(found != nullptr, expected != nullptr) << words[start];
            if (found) {
                EXPECT_EQ(g.getOptionName(found), expected->c_str()) << words[start];
            }
        }
        // The shortest name is the shortest prefix that selects the option.
        for (int i = 0; i < g.getNumOptions(); ++i) {
            const GetOpt::impl::option* o = g.getOption(i);
            const std::string name = g.getOptionName(o).asChar();
            std::string shortest = name;
            for (std::size_t k = 1; k <= name.size(); ++k) {
                if (g.findOption(name.substr(0, k).c_str()) == o) {
                    shortest = name.substr(0, k);
                    break;
                }
            }
            EXPECT_EQ(g.getOptionShortestName(o), shortest.c_str());
        }
    }
}

TEST(GetOptTest, VeryLongNamesAndWords) {
    GetOpt g;
    const std::string longName(200000, 'n');
    EXPECT_EQ(g.addOption(longName.c_str(), "string"), 0);
    EXPECT_EQ(g.getOptionShortestName(g.getOption(0)), "n");
    const std::string word(300000, 'w');
    const Transcript t = parseAll(g, {"-n", word, "-" + longName + "x"});
    EXPECT_EQ(t.results.size(), longName.size() + 3 + word.size() + 1);
    EXPECT_EQ(t.error.size(),
              std::string("Option does not exist or is ambiguous: -").size() + longName.size() + 1);
}

// A parser whose input check is replaced: names under "mem:" are accepted without the disk.
class BufferGetOpt : public GetOpt {
public:
    kyUtil::Error validInputFile(const IString& name) override {
        return name.str().compare(0, 4, L"mem:") == 0 ? kyUtil::Error()
                                                      : kyUtil::Error(1, "no such buffer");
    }
};

TEST(GetOptTest, FileChecksAreVirtual) {
    BufferGetOpt g;
    g.addOption("in", "inputfile");
    g.addOption("io", "inoutfile");
    Transcript t = parseAll(g, {"-in", "mem:a", "-in", "disk"});
    EXPECT_EQ(t.results, "in#0(mem:a)");
    EXPECT_EQ(t.error, "While processing option: -in  (InputFile)\n  no such buffer");
    g.resetError();
    t = parseAll(g, {"-io", "disk"}); // through the replaced input check first
    EXPECT_EQ(t.error, "While processing option: -io  (InputOutputFile)\n  no such buffer");
}

class GetOptFileTest : public kytest::TempDirTest {
protected:
    void SetUp() override {
        TempDirTest::SetUp();
        std::filesystem::create_directories(dir() / "sub");
        std::ofstream(dir() / "file.txt") << "data";
    }
    std::string at(const char* leaf) const {
        return IString((dir() / leaf).wstring().c_str()).asMultibyte();
    }
};

// Each file type through the parser: the word is accepted, or refused with the
// check's message wrapped in the option's name and kind.
TEST_F(GetOptFileTest, FileArguments) {
    const std::string file = at("file.txt"), sub = at("sub");
    const std::string reserved = " is a reserved device name.  Please choose another name.";
    const struct {
        const char* type;
        std::string word;
        std::string error; // "" when accepted; else after "While processing option: -x  "
    } cases[] = {
        {"inputfile", file, ""},
        {"inputfile", at("missing.txt"),
         "(InputFile)\n  " + at("missing.txt") + " does not exist."},
        {"inputfile", sub, "(InputFile)\n  " + sub + " exists but is not a file."},
        {"inputfile", at("nul.txt"), "(InputFile)\n  " + at("nul.txt") + reserved},
        {"inputfile", "-", "(InputFile)\n  The filename \"-\" is not valid"},
        {"inputfile-", "-", ""},
        {"inputfile-", file, ""},
        {"inputfile-", sub, "(InputFile)\n  " + sub + " exists but is not a file."},
        {"outputfile", file, ""},
        {"outputfile", at("new.txt"), ""},
        {"outputfile", "getopt-test-new-file.txt", ""}, // the current directory takes it
        {"outputfile", at("con.tar.gz"), ""},           // only the trunk counts
        {"outputfile", sub, "(OutputFile)\n  " + sub + " exists but is not a file."},
        {"outputfile", at("x/y"),
         "(OutputFile)\n  Directory for " + at("x/y") + " does not exist."},
        {"outputfile", at("file.txt/y"),
         "(OutputFile)\n  " + at("file.txt/y") + " is not a valid path."},
        {"outputfile", at("com1"), "(OutputFile)\n  " + at("com1") + reserved},
        {"outputfile", "-", "(OutputFile)\n  The filename \"-\" is not valid"},
        {"outputfile-", "-", ""},
        {"outputfile-", at("x/y"),
         "(OutputFile)\n  Directory for " + at("x/y") + " does not exist."},
        {"inoutfile", file, ""},
        {"inoutfile", at("new.txt"), "(InputOutputFile)\n  " + at("new.txt") + " does not exist."},
        {"inoutfile", sub, "(InputOutputFile)\n  " + sub + " exists but is not a file."},
        {"inoutfile", "-", "(InputOutputFile)\n  - does not exist."},
        {"directory", sub, ""},
        {"directory", file, "(Directory)\n  " + file + " exists but is not a directory."},
        {"directory", at("gone"), "(Directory)\n  " + at("gone") + " does not exist."},
        {"directory", at("aux"), "(Directory)\n  " + at("aux") + reserved},
    };
    for (const auto& c : cases) {
        GetOpt g;
        g.addOption("x", c.type);
        const Transcript t = parseAll(g, {"-x", c.word});
        EXPECT_EQ(t.results, c.error.empty() ? "x#0(" + c.word + ")" : "")
            << c.type << " " << c.word;
        EXPECT_EQ(t.error, c.error.empty() ? "" : "While processing option: -x  " + c.error);
    }
    GetOpt g;
    EXPECT_EQ(g.validInputFile(IString(at("missing.txt").c_str())).code(), 1);
    EXPECT_TRUE(g.validFileName(L"nul").failed() && g.validFileName(L"null").ok());
}

// Root passes every permission test: a child that has given up root's rights checks the
// names; root, who ignores the permission bits, accepts them.
TEST_F(GetOptFileTest, UnreadableFileAndUnwritableDirectory) {
    if (!kytest::canDropPrivileges()) {
        GTEST_SKIP() << "needs POSIX permission bits and root, to make files another user cannot "
                        "use and check them in a child without root's rights";
    }
    // Root-owned: a locked file, and a directory others may enter but not write.
    namespace fs = std::filesystem;
    std::ofstream(dir() / "locked.txt") << "secret";
    fs::create_directories(dir() / "ro");
    std::ofstream(dir() / "ro" / "kept.txt") << "x";
    fs::permissions(dir() / "locked.txt", fs::perms(0600));
    fs::permissions(dir(), fs::perms(0755));
    fs::permissions(dir() / "ro", fs::perms(0755));
    fs::permissions(dir() / "ro" / "kept.txt", fs::perms(0644));
    const IString locked(at("locked.txt").c_str()), newInRo(at("ro/new.txt").c_str());
    const IString kept(at("ro/kept.txt").c_str());
    const auto text = [](const kyUtil::Error& e) { return e.failed() ? e.message() : "accepted"; };
    const std::optional<std::string> seen = kytest::runInChild(
        [&] {
            GetOpt g;
            std::string report;
            for (const kyUtil::Error& e :
                 {g.validInputFile(locked), g.validOutputFile(newInRo), g.validOutputFile(kept)}) {
                report += text(e) + std::string("\n");
            }
            // A bare name is for the current directory.
            std::error_code ec;
            std::filesystem::current_path(at("ro"), ec);
            return report + text(g.validOutputFile(L"new.txt"));
        },
        true);
    EXPECT_EQ(seen.value_or("child failed"),
              at("locked.txt") +
                  " is not readable.\nDirectory is not writable: " + at("ro/new.txt") + "\n" +
                  at("ro/kept.txt") + " is not writable.\nThe current directory is not writable.");
    GetOpt g;
    EXPECT_TRUE(g.validInputFile(locked).ok() && g.validOutputFile(newInRo).ok());
}

} // namespace
