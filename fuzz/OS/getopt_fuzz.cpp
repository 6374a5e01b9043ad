// getopt_fuzz.cpp - kyOS::GetOpt on arbitrary command lines against a table with every
// argument type: parsing always ends, results agree with the option table, nothing leaks.
#include <Base/OS/kyOSGetOpt.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

void check(bool condition, const char* what) {
    if (!condition) {
        std::fprintf(stderr, "getopt_fuzz: %s\n", what);
        std::abort();
    }
}

void declare(kyOS::GetOpt& g) {
    static const char* const kTable[][2] = {
        {"flag", ""},
        {"b|bool", "bool"},
        {"int", "int"},
        {"float", "float"},
        {"string", "string"},
        {"in", "inputfile"},
        {"inx", "inputfile-"},
        {"out", "outputfile"},
        {"outx", "outputfile-"},
        {"io", "inoutfile"},
        {"dir", "directory"},
        {"seq", "sequence"},
        {"opt", "string ? int sequence"},
        {"color", ""},
        {"colorize", "? bool float"},
        {"pair", "sequence sequence"},
        {"s|size", "int int unknown"},
    };
    int index = 0;
    for (const auto& option : kTable) {
        check(g.addOption(option[0], option[1]) == index++, "declaration refused");
    }
    check(g.addOption("flag", "") == -1, "duplicate accepted");
}

} // namespace

// The first byte holds flags (bit 0: no leading dash needed, bit 1: wide words, bit 2: go on
// after errors); the rest is split into words at newlines and zero bytes.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) {
        return 0;
    }
    const std::uint8_t flags = data[0];
    std::vector<std::string> words(1);
    for (std::size_t i = 1; i < size && i < 4096; ++i) {
        if (data[i] == '\n' || data[i] == 0) {
            words.emplace_back();
        } else {
            words.back() += static_cast<char>(data[i]);
        }
    }

    kyOS::GetOpt g;
    declare(g);
    g.needLeadingDash((flags & 1) == 0);
    if (flags & 2) {
        std::vector<std::wstring> wide;
        for (const std::string& w : words) {
            std::wstring text;
            for (char c : w) {
                text += static_cast<wchar_t>(static_cast<unsigned char>(c));
            }
            wide.push_back(text);
        }
        std::vector<const wchar_t*> argv;
        for (const std::wstring& w : wide) {
            argv.push_back(w.c_str());
        }
        g.initialize(static_cast<int>(argv.size()), argv.data());
    } else {
        std::vector<const char*> argv;
        for (const std::string& w : words) {
            argv.push_back(w.c_str());
        }
        g.initialize(static_cast<int>(argv.size()), argv.data());
    }

    // Every call that returns a result or an error consumes at least one word.
    std::size_t calls = 0;
    for (;;) {
        check(++calls <= words.size() + 1, "parsing does not end");
        const kyOS::GetOpt::impl::result* r = g.getOpt();
        if (r) {
            check(r == g.getCurrentResult(), "current result differs");
            const kyOS::GetOpt::impl::option* o = g.getResultOption(r);
            check(o != nullptr && g.getOption(g.getResultIndex(r)) == o, "result index");
            check(g.getResultName(r) == g.getOptionName(o), "result name");
            check(static_cast<std::size_t>(g.getNumArguments(r)) < words.size(), "argument count");
            ky::vector<kyString::IString> args;
            g.getResultArgs(r, args);
            check(args.size() == static_cast<std::size_t>(g.getNumArguments(r)), "arguments");
            continue;
        }
        if (g.hasErrors()) {
            check(!g.getError().isEmpty(), "error without text");
            if (flags & 4) {
                g.resetError();
                continue;
            }
        }
        break;
    }
    check(g.getOpt() == nullptr, "parsing resumed by itself");
    ky::vector<kyString::IString> rest;
    g.remaining(rest);
    check(rest.size() < words.size() + 1, "more words remain than were given");

    // Lookups of the raw words and the texts built from the table.
    for (const std::string& w : words) {
        const kyOS::GetOpt::impl::option* o = g.findOption(w.c_str());
        check(o == nullptr || g.getOptionIndex(o) >= 0, "lookup");
    }
    for (int i = 0; i < g.getNumOptions(); ++i) {
        const kyOS::GetOpt::impl::option* o = g.getOption(i);
        check(g.findOption(g.getOptionShortestName(o).asChar()) == o, "shortest name");
        check(!g.getOptionUsage(o, true).isEmpty(), "usage");
    }
    check(!g.getUsage().isEmpty(), "help text");
    return 0;
}
