// GetOptTest.cpp - kyOS::GetOpt: whole command lines against an option table, name lookup,
// usage texts and the file checks on a real directory tree.
#include <Base/OS/kyOSGetOpt.h>

#include "kyTestSupport.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
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

std::vector<std::string> split(const std::string& line) {
    std::vector<std::string> words;
    std::size_t start = 0;
    while (start < line.size()) {
        std::size_t end = line.find(' ', start);
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

Transcript parseAll(GetOpt& g, const std::vector<std::string>& words) {
    std::vector<const char*> argv;
    for (const std::string& w : words) {
        argv.push_back(w.c_str());
    }
    g.initialize(static_cast<int>(argv.size()), argv.data());
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

// The table most cases run against.
void declareStandard(GetOpt& g) {
    EXPECT_EQ(g.addOption("flag", ""), 0);
    EXPECT_EQ(g.addOption("b|bool", "bool"), 1);
    EXPECT_EQ(g.addOption("int", "int"), 2);
    EXPECT_EQ(g.addOption("float", "float"), 3);
    EXPECT_EQ(g.addOption("string", "string"), 4);
    EXPECT_EQ(g.addOption("size", "int int"), 5);
    EXPECT_EQ(g.addOption("seq", "sequence"), 6);
    EXPECT_EQ(g.addOption("opt", "string ? int string"), 7);
    EXPECT_EQ(g.addOption("color", ""), 8);
    EXPECT_EQ(g.addOption("colorize", "? bool"), 9);
    EXPECT_EQ(g.addOption("pair", "sequence string"), 10);
    EXPECT_EQ(g.addOption("comment", "  string  extra words "), 11);
}

struct LineCase {
    const char* line;
    const char* results;
    const char* error;
    const char* rest;
};

const char* const kBoolHelp =
    "\n    valid boolean types are: 1, 0, true,  false, yes, no, on, off.";

void runTable(const std::vector<LineCase>& cases, bool leadingDash = true) {
    for (const LineCase& c : cases) {
        GetOpt g;
        declareStandard(g);
        g.needLeadingDash(leadingDash);
        const Transcript t = parseAll(g, split(c.line));
        EXPECT_EQ(t.results, c.results) << "line: " << c.line;
        EXPECT_EQ(t.error, c.error) << "line: " << c.line;
        EXPECT_EQ(t.rest, c.rest) << "line: " << c.line;
    }
}

TEST(GetOptTest, OptionsAndNames) {
    runTable({
        {"-flag", "flag#0()", "", ""},
        {"--flag", "flag#0()", "", ""},
        {"-flag -flag", "flag#0() flag#0()", "", ""},
        {"-b on -bool off", "bool#1(1) bool#1(0)", "", ""},
        {"-bo 1", "bool#1(1)", "", ""},
        // Prefixes: a single branch selects; a fork is ambiguous.
        {"-i 5 -in 6 -fla -flo 2 -si 1 2 -p . x",
         "int#2(5) int#2(6) flag#0() float#3(2) size#5(1,2) "
         "pair#10(x)",
         "", ""},
        {"-fl", "", "Option does not exist or is ambiguous: -fl", ""},
        {"-s x", "", "Option does not exist or is ambiguous: -s", "x"},
        {"-co", "", "Option does not exist or is ambiguous: -co", ""},
        // The exact name wins; below it a single branch passes over "color" on purpose.
        {"-color -colorize -col -colo -colori yes",
         "color#8() colorize#9() colorize#9() "
         "colorize#9() colorize#9(1)",
         "", ""},
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
    });
}

TEST(GetOptTest, EmptyWordSelectsNothing) {
    GetOpt g;
    declareStandard(g);
    const Transcript t = parseAll(g, {"", "-flag"});
    EXPECT_EQ(t.error, "Option does not exist or is ambiguous: ");
    EXPECT_EQ(t.rest, "-flag");
    // Even when only one option exists, an empty name is no prefix of it.
    GetOpt one;
    one.addOption("only", "");
    EXPECT_EQ(one.findOption(""), nullptr);
    EXPECT_EQ(parseAll(one, {""}).error, "Option does not exist or is ambiguous: ");
}

TEST(GetOptTest, BooleanWords) {
    runTable({
        {"-b 1 -b true -b yes -b on", "bool#1(1) bool#1(1) bool#1(1) bool#1(1)", "", ""},
        {"-b 0 -b false -b no -b off", "bool#1(0) bool#1(0) bool#1(0) bool#1(0)", "", ""},
    });
    for (const char* bad : {"Yes", "TRUE", "2", "y", "onn", "-1", "01", "true "}) {
        GetOpt g;
        declareStandard(g);
        const Transcript t = parseAll(g, {"-bool", bad, "-flag"});
        EXPECT_EQ(t.results, "");
        EXPECT_EQ(t.error, std::string("While processing option: -bool\n  Expected a boolean type, "
                                       "got: ") +
                               bad + kBoolHelp);
        EXPECT_EQ(t.rest, "-flag") << "the failed word is consumed";
    }
}

TEST(GetOptTest, IntegerWords) {
    // Only the leading characters are looked at.
    for (const char* good : {"0", "12", "007", "12abc", "-5", "-5x", "9-", "1.5"}) {
        GetOpt g;
        declareStandard(g);
        EXPECT_EQ(parseAll(g, {"-int", good}).results, std::string("int#2(") + good + ")") << good;
    }
    for (const char* bad : {"abc", "-", "-x", "+5", "", " 5", "x1", "--5", ".5"}) {
        GetOpt g;
        declareStandard(g);
        const Transcript t = parseAll(g, {"-int", bad});
        EXPECT_EQ(t.results, "") << bad;
        EXPECT_EQ(t.error,
                  std::string("While processing option: -int\n  Expected an integer, got: ") + bad);
    }
}

TEST(GetOptTest, FloatWords) {
    for (const char* good : {"5", ".5", "-.5", "1e9", "-1", "5abc", "0.x", "-0", "3."}) {
        GetOpt g;
        declareStandard(g);
        EXPECT_EQ(parseAll(g, {"-float", good}).results, std::string("float#3(") + good + ")")
            << good;
    }
    for (const char* bad : {".", "-", "abc", "-.", "..5", "", "+1", "-.x", "--1", "e5"}) {
        GetOpt g;
        declareStandard(g);
        const Transcript t = parseAll(g, {"-float", bad});
        EXPECT_EQ(t.results, "") << bad;
        EXPECT_EQ(t.error,
                  std::string("While processing option: -float\n  Expected a floating point "
                              "value, got: ") +
                      bad);
    }
}

TEST(GetOptTest, StringsAndCounts) {
    runTable({
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
    });
}

TEST(GetOptTest, OptionalArguments) {
    runTable({
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
    });
}

TEST(GetOptTest, Sequences) {
    runTable({
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
         "Insufficient arguments when processing option: pair\nUsage:\n  -pair "
         "sequence string\n",
         ""},
    });
}

TEST(GetOptTest, DoubleDashEndsTheOptions) {
    runTable({
        {"--", "", "", ""},
        {"-flag -- -b x", "flag#0()", "", "-b x"},
        {"-- -flag", "", "", "-flag"},
        {"-string -- -flag", "string#4(--) flag#0()", "", ""},
        {"-seq a -- b", "seq#6(a,--,b)", "", ""},
    });
    GetOpt g;
    declareStandard(g);
    parseAll(g, {"--", "-flag"});
    EXPECT_EQ(g.getOpt(), nullptr) << "stays at the end";
    EXPECT_FALSE(g.hasErrors());
    // A new command line starts over.
    EXPECT_EQ(parseAll(g, {"-flag"}).results, "flag#0()");
}

TEST(GetOptTest, WithoutLeadingDash) {
    runTable(
        {
            {"flag -flag --flag", "flag#0() flag#0() flag#0()", "", ""},
            {"size 1 2 col", "size#5(1,2) colorize#9()", "", ""},
            {"opt a flag", "", "While processing option: -opt\n  Expected an integer, got: flag",
             ""},
            {"[", "", "Option does not exist or is ambiguous: [", ""},
            {"nope", "", "Option does not exist or is ambiguous: nope", ""},
            {"flag -- flag", "flag#0()", "", "flag"},
        },
        false);
    GetOpt g;
    EXPECT_TRUE(g.getNeedLeadingDash());
    g.needLeadingDash(false);
    EXPECT_FALSE(g.getNeedLeadingDash());
}

TEST(GetOptTest, ErrorsStopParsingUntilReset) {
    GetOpt g;
    declareStandard(g);
    const std::vector<const char*> words = {"-flag", "-int", "x", "-b", "on", "-nope", "-flag"};
    g.initialize(static_cast<int>(words.size()), words.data());
    ASSERT_NE(g.getOpt(), nullptr);
    EXPECT_EQ(g.getOpt(), nullptr);
    EXPECT_TRUE(g.hasErrors());
    const std::string first = "While processing option: -int\n  Expected an integer, got: x";
    EXPECT_EQ(narrow(g.getError()), first);
    EXPECT_EQ(g.getCurrentResult(), nullptr);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(g.getOpt(), nullptr) << "stays stopped";
    }
    ky::vector<IString> rest;
    g.remaining(rest);
    ASSERT_EQ(rest.size(), 4u);
    EXPECT_EQ(rest[0].str(), L"-b");

    // The flag goes; the text stays readable until the next getOpt.
    g.resetError();
    EXPECT_FALSE(g.hasErrors());
    EXPECT_EQ(narrow(g.getError()), first);
    Result r = g.getOpt();
    ASSERT_NE(r, nullptr);
    EXPECT_TRUE(g.getError().isEmpty());
    EXPECT_EQ(g.getResultName(r), "bool");
    EXPECT_EQ(g.getOpt(), nullptr);
    EXPECT_EQ(narrow(g.getError()), "Option does not exist or is ambiguous: -nope");
    g.resetError();
    r = g.getOpt();
    ASSERT_NE(r, nullptr);
    EXPECT_EQ(g.getResultIndex(r), 0);
    EXPECT_EQ(g.getOpt(), nullptr);
    EXPECT_FALSE(g.hasErrors());

    // A new command line does not clear a pending error.
    g.initialize(static_cast<int>(words.size()), words.data());
    ASSERT_NE(g.getOpt(), nullptr);
    ASSERT_EQ(g.getOpt(), nullptr);
    g.initialize(1, words.data());
    EXPECT_EQ(g.getOpt(), nullptr);
    EXPECT_TRUE(g.hasErrors());
    g.resetError();
    EXPECT_NE(g.getOpt(), nullptr);
}

TEST(GetOptTest, AbortStopsAndKeepsTheRest) {
    GetOpt g;
    declareStandard(g);
    const char* words[] = {"-flag", "-size", "1", "2", "tail"};
    g.initialize(5, words);
    ASSERT_NE(g.getOpt(), nullptr);
    g.abort();
    EXPECT_EQ(g.getCurrentResult(), nullptr);
    EXPECT_EQ(g.getOpt(), nullptr);
    EXPECT_FALSE(g.hasErrors());
    ky::vector<IString> rest;
    g.remaining(rest);
    ASSERT_EQ(rest.size(), 4u);
    EXPECT_EQ(rest[3].str(), L"tail");
    g.initialize(1, words);
    EXPECT_NE(g.getOpt(), nullptr) << "a new command line parses again";
}

TEST(GetOptTest, InitializeForms) {
    GetOpt g;
    declareStandard(g);
    const wchar_t* wide[] = {L"-string", L"caf\u00e9", nullptr, L"-flag"};
    g.initialize(4, wide);
    Result r = g.getOpt();
    ASSERT_NE(r, nullptr);
    EXPECT_EQ(g.getResultArg(r, 0).str(), L"caf\u00e9");
    EXPECT_EQ(g.getResultIndex(g.getOpt()), 0) << "null entries are skipped";

    ky::vector<IString> words;
    words.push_back(IString(L"-size"));
    words.push_back(IString(L"3"));
    words.push_back(IString(L"4"));
    g.initialize(words);
    r = g.getOpt();
    ky::vector<IString> args;
    g.getResultArgs(r, args);
    ASSERT_EQ(args.size(), 2u);
    EXPECT_EQ(args[1].str(), L"4");

    // Nothing to parse.
    g.initialize(0, static_cast<const char**>(nullptr));
    EXPECT_EQ(g.getOpt(), nullptr);
    g.initialize(-3, static_cast<const wchar_t**>(nullptr));
    EXPECT_EQ(g.getOpt(), nullptr);
    EXPECT_FALSE(g.hasErrors());
    // Initialize replaces the words.
    const char* one[] = {"-flag", "rest"};
    g.initialize(2, one);
    g.initialize(1, one);
    EXPECT_NE(g.getOpt(), nullptr);
    g.remaining(args);
    EXPECT_TRUE(args.empty());
}

TEST(GetOptTest, DeclaringOptions) {
    GetOpt g;
    EXPECT_EQ(g.getNumOptions(), 0);
    EXPECT_EQ(g.addOption("v|verbose", "? int"), 0);
    EXPECT_EQ(g.addOption("verbose", ""), -1);
    EXPECT_EQ(g.addOption("v", ""), -1);
    EXPECT_EQ(g.addOption("x|v", ""), -1);
    EXPECT_EQ(g.addOption("verbose|y", ""), -1);
    for (const char* bad : {"", "|", "a|", "|b", "a|b|c", "z|z"}) {
        EXPECT_EQ(g.addOption(bad, ""), -1) << bad;
    }
    EXPECT_EQ(g.addOption(nullptr, ""), -1);
    // A rejected declaration leaves nothing behind.
    EXPECT_EQ(g.findOption("a"), nullptr);
    EXPECT_EQ(g.findOption("y"), nullptr);
    EXPECT_EQ(g.findOption("x"), nullptr);
    // A prefix of an existing name is a new name.
    EXPECT_EQ(g.addOption("verb", nullptr), 1);
    EXPECT_EQ(g.getNumOptions(), 2);

    const GetOpt::impl::option* verbose = g.getOption(0);
    ASSERT_NE(verbose, nullptr);
    EXPECT_EQ(g.findOption("verbose"), verbose);
    EXPECT_EQ(g.findOption("v"), verbose) << "the second name";
    EXPECT_EQ(g.findOption("verbo"), verbose);
    EXPECT_EQ(g.findOption("verb"), g.getOption(1)) << "exact name wins";
    EXPECT_EQ(g.findOption("ver"), verbose) << "the descent passes over \"verb\"";
    EXPECT_EQ(g.findOption(nullptr), nullptr);
    EXPECT_EQ(g.getOption(2), nullptr);
    EXPECT_EQ(g.getOption(-1), nullptr);
    EXPECT_EQ(g.getOptionIndex(verbose), 0);
    EXPECT_EQ(g.getOptionIndex(nullptr), -1);
    EXPECT_EQ(g.getOptionName(verbose), "verbose");
    EXPECT_EQ(g.getOptionName(nullptr), "");
    EXPECT_EQ(g.getOptionTypeList(verbose).str(), L"? int");
    EXPECT_EQ(g.getOptionTypeList(g.getOption(1)).str(), L"");

    // The result carries the primary name whatever was typed.
    const Transcript t = parseAll(g, {"-v", "3", "--verbo", "-verb", "-verbose"});
    EXPECT_EQ(t.results, "verbose#0(3) verbose#0() verb#1() verbose#0()");
}

TEST(GetOptTest, Deprecation) {
    GetOpt g;
    declareStandard(g);
    EXPECT_FALSE(g.isOptionDeprecated(3));
    EXPECT_TRUE(g.markOptionDeprecated(3));
    EXPECT_TRUE(g.isOptionDeprecated(3));
    EXPECT_TRUE(g.isOptionDeprecated(g.getOption(3)));
    EXPECT_FALSE(g.isOptionDeprecated(g.getOption(2)));
    EXPECT_FALSE(g.markOptionDeprecated(99));
    EXPECT_FALSE(g.markOptionDeprecated(-1));
    EXPECT_FALSE(g.isOptionDeprecated(99));
    EXPECT_FALSE(g.isOptionDeprecated(nullptr));
    // Parsing is unchanged.
    EXPECT_EQ(parseAll(g, {"-float", "1"}).results, "float#3(1)");
}

TEST(GetOptTest, ResultAccessorsOnNothing) {
    GetOpt g;
    declareStandard(g);
    EXPECT_EQ(g.getOpt(), nullptr);
    EXPECT_EQ(g.getResultOption(nullptr), nullptr);
    EXPECT_EQ(g.getResultName(nullptr), "");
    EXPECT_EQ(g.getResultIndex(nullptr), -1);
    EXPECT_EQ(g.getNumArguments(nullptr), 0);
    EXPECT_TRUE(g.getResultArg(nullptr, 0).isEmpty());
    ky::vector<IString> args;
    args.push_back(IString(L"old"));
    g.getResultArgs(nullptr, args);
    EXPECT_TRUE(args.empty());

    const char* words[] = {"-size", "1", "2"};
    g.initialize(3, words);
    Result r = g.getOpt();
    ASSERT_NE(r, nullptr);
    EXPECT_EQ(g.getResultOption(r), g.getOption(5));
    EXPECT_TRUE(g.getResultArg(r, 2).isEmpty());
    EXPECT_TRUE(g.getResultArg(r, -1).isEmpty());
    EXPECT_EQ(g.getResultArg(r, 1).str(), L"2");
}

TEST(GetOptTest, UsageTexts) {
    GetOpt g;
    declareStandard(g);
    const GetOpt::impl::option* size = g.findOption("size");
    EXPECT_EQ(narrow(g.getOptionUsage(size, false)), "  -size integer integer\n");
    EXPECT_EQ(g.getOptionShortestName(size), "si");
    EXPECT_EQ(narrow(g.getOptionUsage(size, true)),
              "  -si integer integer\n  -size integer integer\n");
    EXPECT_TRUE(g.addOptionUsage(5, L"Width and height in pixels."));
    EXPECT_TRUE(g.addOptionUsage(5, L"Both are required."));
    EXPECT_FALSE(g.addOptionUsage(42, L"x"));
    EXPECT_FALSE(g.addOptionUsage(5, nullptr));
    EXPECT_EQ(narrow(g.getOptionUsage(size, true)),
              "  -si integer integer\n  -size integer integer\n"
              "    Width and height in pixels.\n    Both are required.\n");

    // Every type's usage name; "?" is shown; words that are no type are not.
    GetOpt all;
    all.addOption("all", "bool int float string inputfile inputfile- outputfile outputfile- "
                         "inoutfile directory sequence ? junk");
    EXPECT_EQ(narrow(all.getOptionUsage(all.getOption(0), false)),
              "  -all bool integer float string file file file file file directory sequence ?\n");
    EXPECT_EQ(all.getOptionShortestName(all.getOption(0)), "a");

    // The shortest name equal to the full name gives one line.
    const GetOpt::impl::option* color = g.findOption("color");
    EXPECT_EQ(g.getOptionShortestName(color), "color");
    EXPECT_EQ(narrow(g.getOptionUsage(color, true)), "  -color\n");
    EXPECT_EQ(g.getOptionShortestName(g.findOption("colorize")), "col");
    EXPECT_EQ(g.getOptionShortestName(g.findOption("bool")), "b") << "the second name";
    EXPECT_EQ(g.getOptionShortestName(g.findOption("string")), "st");
    EXPECT_EQ(g.getOptionShortestName(nullptr), "");
    EXPECT_TRUE(g.getOptionUsage(nullptr, true).isEmpty());
    EXPECT_EQ(g.getOptionTitle(size), "-size");
    EXPECT_EQ(g.getOptionTitle(nullptr), "");

    // The usage text is part of the "insufficient" message.
    EXPECT_EQ(parseAll(g, {"-size"}).error,
              "Insufficient arguments when processing option: size\nUsage:\n  -size integer "
              "integer\n    Width and height in pixels.\n    Both are required.\n");

    g.needLeadingDash(false);
    EXPECT_EQ(narrow(g.getOptionUsage(color, false)), "  color\n");
    EXPECT_EQ(g.getOptionTitle(size), "size");
}

TEST(GetOptTest, SortedOptionsAndHelp) {
    GetOpt g;
    g.addOption("zoom", "float");
    g.addOption("a|all", "");
    g.addOption("Big", "");
    g.addOption("mid", "string");
    g.addOption("minor", "");
    ky::vector<int> sorted;
    sorted.push_back(77);
    g.getSortedOptions(sorted);
    ASSERT_EQ(sorted.size(), 5u);
    const int expected[] = {2, 1, 3, 4, 0}; // Big all mid minor zoom
    for (std::size_t i = 0; i < 5; ++i) {
        EXPECT_EQ(sorted[i], expected[i]);
    }
    g.markOptionDeprecated(4);
    g.addOptionUsage(0, L"Magnification.");
    EXPECT_EQ(narrow(g.getUsage()), "  -B\n  -Big\n  -a\n  -all\n  -mid string\n  -z float\n"
                                    "  -zoom float\n    Magnification.\n");
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

// A parser whose checks are replaced: names under "mem:" are accepted without the disk.
class CountingGetOpt : public GetOpt {
public:
    kyUtil::Error validInputFile(const IString& name) override {
        ++inputs;
        if (name.str().compare(0, 4, L"mem:") == 0) {
            return kyUtil::Error();
        }
        return kyUtil::Error(1, "no such buffer");
    }
    kyUtil::Error validOutputFile(const IString& name) override {
        ++outputs;
        return GetOpt::validOutputFile(name);
    }
    int inputs = 0;
    int outputs = 0;
};

TEST(GetOptTest, FileChecksAreVirtual) {
    CountingGetOpt g;
    g.addOption("in", "inputfile");
    g.addOption("out", "outputfile-");
    g.addOption("io", "inoutfile");
    Transcript t = parseAll(g, {"-in", "mem:a", "-out", "-", "-in", "disk"});
    EXPECT_EQ(t.results, "in#0(mem:a) out#1(-)");
    EXPECT_EQ(t.error, "While processing option: -in  (InputFile)\n  no such buffer");
    EXPECT_EQ(g.inputs, 2);
    EXPECT_EQ(g.outputs, 0) << "\"-\" is stored without a check";
    // inoutfile goes through the replaced input check first.
    g.resetError();
    t = parseAll(g, {"-io", "disk"});
    EXPECT_EQ(t.error, "While processing option: -io  (InputOutputFile)\n  no such buffer");
    EXPECT_EQ(g.outputs, 0);
}

class GetOptFileTest : public kytest::TempDirTest {
protected:
    void SetUp() override {
        TempDirTest::SetUp();
        std::filesystem::create_directories(dir() / "sub");
        std::ofstream(dir() / "file.txt") << "data";
        std::ofstream(dir() / "sub" / "inner.txt") << "data";
    }
    IString at(const char* leaf) const { return IString((dir() / leaf).wstring().c_str()); }
    static std::string text(const kyUtil::Error& e) { return e.message(); }
    static std::string n(const IString& s) { return s.asMultibyte(); }
};

TEST_F(GetOptFileTest, InputFile) {
    GetOpt g;
    EXPECT_TRUE(g.validInputFile(at("file.txt")).ok());
    kyUtil::Error e = g.validInputFile(at("missing.txt"));
    EXPECT_EQ(e.code(), 1);
    EXPECT_EQ(text(e), n(at("missing.txt")) + " does not exist.");
    EXPECT_EQ(text(g.validInputFile(at("sub"))), n(at("sub")) + " exists but is not a file.");
    EXPECT_EQ(text(g.validInputFile(at("nul.txt"))),
              n(at("nul.txt")) + " is a reserved device name.  Please choose another name.");
    EXPECT_EQ(g.validInputFile(at("nul.txt")).code(), 1);
}

TEST_F(GetOptFileTest, OutputFile) {
    GetOpt g;
    EXPECT_TRUE(g.validOutputFile(at("file.txt")).ok()) << "existing writable file";
    EXPECT_TRUE(g.validOutputFile(at("new.txt")).ok()) << "new file in a writable directory";
    EXPECT_EQ(text(g.validOutputFile(at("sub"))), n(at("sub")) + " exists but is not a file.");
    EXPECT_EQ(text(g.validOutputFile(at("nothere/new.txt"))),
              "Directory for " + n(at("nothere/new.txt")) + " does not exist.");
    EXPECT_EQ(text(g.validOutputFile(at("file.txt/new.txt"))),
              n(at("file.txt/new.txt")) + " is not a valid path.");
    EXPECT_EQ(text(g.validOutputFile(at("com1"))),
              n(at("com1")) + " is a reserved device name.  Please choose another name.");
    EXPECT_EQ(g.validOutputFile(at("con.tar.gz")).code(), 0) << "only the trunk counts";
    // A bare name goes to the current directory.
    EXPECT_TRUE(g.validOutputFile(L"getopt-test-new-file.txt").ok());
    EXPECT_TRUE(g.validFileName(L"nul").failed());
    EXPECT_TRUE(g.validFileName(L"null").ok());
}

TEST_F(GetOptFileTest, InOutFileAndDirectory) {
    GetOpt g;
    EXPECT_TRUE(g.validInOutFile(at("file.txt")).ok());
    EXPECT_EQ(text(g.validInOutFile(at("new.txt"))), n(at("new.txt")) + " does not exist.");
    EXPECT_EQ(text(g.validInOutFile(at("sub"))), n(at("sub")) + " exists but is not a file.");
    EXPECT_TRUE(g.validDirectory(at("sub")).ok());
    EXPECT_EQ(text(g.validDirectory(at("file.txt"))),
              n(at("file.txt")) + " exists but is not a directory.");
    EXPECT_EQ(text(g.validDirectory(at("gone"))), n(at("gone")) + " does not exist.");
    EXPECT_EQ(text(g.validDirectory(at("aux"))),
              n(at("aux")) + " is a reserved device name.  Please choose another name.");
}

TEST_F(GetOptFileTest, FileArgumentsOnTheCommandLine) {
    GetOpt g;
    g.addOption("in", "inputfile");
    g.addOption("inx", "inputfile-");
    g.addOption("out", "outputfile");
    g.addOption("outx", "outputfile-");
    g.addOption("io", "inoutfile");
    g.addOption("dir", "directory");
    const std::string file = n(at("file.txt"));
    const std::string sub = n(at("sub"));
    Transcript t = parseAll(g, {"-in", file, "-inx", "-", "-outx", "-", "-out", n(at("o.txt")),
                                "-io", file, "-dir", sub, "-inx", file, "-outx", file});
    EXPECT_EQ(t.error, "");
    EXPECT_EQ(t.results, "in#0(" + file + ") inx#1(-) outx#3(-) out#2(" + n(at("o.txt")) +
                             ") io#4(" + file + ") dir#5(" + sub + ") inx#1(" + file + ") outx#3(" +
                             file + ")");

    const struct {
        std::vector<std::string> words;
        std::string error;
    } failures[] = {
        {{"-in", "-", "-dir", sub},
         "While processing option: -in  (InputFile)\n  The filename "
         "\"-\" is not valid"},
        {{"-out", "-"},
         "While processing option: -out  (OutputFile)\n  The filename \"-\" is "
         "not valid"},
        {{"-io", "-"}, "While processing option: -io  (InputOutputFile)\n  - does not exist."},
        {{"-in", sub},
         "While processing option: -in  (InputFile)\n  " + sub + " exists but is not a file."},
        {{"-inx", n(at("nul.txt"))},
         "While processing option: -inx  (InputFile)\n  " + n(at("nul.txt")) +
             " is a reserved device name.  Please choose another "
             "name."},
        {{"-outx", n(at("x/y"))},
         "While processing option: -outx  (OutputFile)\n  Directory for " + n(at("x/y")) +
             " does not exist."},
        {{"-io", sub},
         "While processing option: -io  (InputOutputFile)\n  " + sub +
             " exists but is not a file."},
        {{"-dir", file},
         "While processing option: -dir  (Directory)\n  " + file +
             " exists but is not a directory."},
    };
    for (const auto& f : failures) {
        GetOpt fresh;
        fresh.addOption("in", "inputfile");
        fresh.addOption("inx", "inputfile-");
        fresh.addOption("out", "outputfile");
        fresh.addOption("outx", "outputfile-");
        fresh.addOption("io", "inoutfile");
        fresh.addOption("dir", "directory");
        t = parseAll(fresh, f.words);
        EXPECT_EQ(t.results, "");
        EXPECT_EQ(t.error, f.error);
    }
}

// Runs `check` in a child process that has given up root's rights (root passes every
// permission test). Returns the child's report: "" when the check gave `expected`.
std::string asUnprivileged(const std::function<std::string()>& check) {
    const std::optional<std::string> report = kytest::runInChild(check, true);
    return report ? *report : std::string("child failed");
}

std::string expectText(const kyUtil::Error& e, const std::string& expected) {
    const std::string got = e.message();
    return got == expected ? std::string() : "got \"" + got + "\", expected \"" + expected + "\"";
}

TEST_F(GetOptFileTest, UnreadableFileAndUnwritableDirectory) {
    if (!kytest::canDropPrivileges()) {
        GTEST_SKIP() << "needs POSIX permission bits and root, to make files another user "
                        "cannot use and check them in a child without root's rights";
    }
    // Root-owned: a locked file, and a directory others may enter but not write.
    const auto setMode = [](const std::filesystem::path& path, int mode) {
        std::error_code ec;
        std::filesystem::permissions(path, static_cast<std::filesystem::perms>(mode),
                                     std::filesystem::perm_options::replace, ec);
        return !ec;
    };
    const std::filesystem::path locked = dir() / "locked.txt";
    std::ofstream(locked) << "secret";
    ASSERT_TRUE(setMode(locked, 0600));
    ASSERT_TRUE(setMode(dir(), 0755));
    const std::filesystem::path ro = dir() / "ro";
    std::filesystem::create_directories(ro);
    ASSERT_TRUE(setMode(ro, 0755));
    std::ofstream(ro / "kept.txt") << "x";
    ASSERT_TRUE(setMode(ro / "kept.txt", 0644));

    const IString lockedName(locked.wstring().c_str());
    const IString newInRo((ro / "new.txt").wstring().c_str());
    const IString keptName((ro / "kept.txt").wstring().c_str());
    const std::string lockedText = n(lockedName);
    const std::string newText = n(newInRo);
    const std::string keptText = n(keptName);
    const std::string roDir = ro.string();

    EXPECT_EQ(asUnprivileged([&] {
                  GetOpt g;
                  return expectText(g.validInputFile(lockedName), lockedText + " is not readable.");
              }),
              "");
    EXPECT_EQ(asUnprivileged([&] {
                  GetOpt g;
                  return expectText(g.validOutputFile(newInRo),
                                    "Directory is not writable: " + newText);
              }),
              "");
    EXPECT_EQ(asUnprivileged([&] {
                  GetOpt g;
                  return expectText(g.validOutputFile(keptName), keptText + " is not writable.");
              }),
              "");
    EXPECT_EQ(asUnprivileged([&] {
                  std::error_code ec;
                  std::filesystem::current_path(roDir, ec);
                  if (ec) {
                      return std::string("chdir failed");
                  }
                  GetOpt g;
                  return expectText(g.validOutputFile(L"new.txt"),
                                    "The current directory is not writable.");
              }),
              "");
    // Through the parser: the word is consumed and the message wrapped.
    EXPECT_EQ(asUnprivileged([&] {
                  GetOpt g;
                  g.addOption("in", "inputfile");
                  g.addOption("out", "outputfile");
                  const Transcript t = parseAll(g, {"-out", newText, "-in", lockedText});
                  const std::string want =
                      "While processing option: -out  (OutputFile)\n  Directory is not writable: " +
                      newText;
                  return t.error == want && t.rest == "-in " + lockedText
                             ? std::string()
                             : "got \"" + t.error + "\" rest \"" + t.rest + "\"";
              }),
              "");
    // The same names pass for root, who ignores the permission bits.
    GetOpt g;
    EXPECT_TRUE(g.validInputFile(lockedName).ok());
    EXPECT_TRUE(g.validOutputFile(newInRo).ok());
}

} // namespace
