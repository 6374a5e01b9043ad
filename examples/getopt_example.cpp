// getopt_example.cpp - the example of the command-line option header, compiled and checked.
#include "example_check.h"

#include <Base/OS/kyOSGetOpt.h>

#include <cstdio>
#include <cstring>

int main() {
    // kyOSGetOpt.h: declare, initialize, then getOpt until it returns null.
    kyOS::GetOpt opts;
    opts.addOption("s|size", "int int");
    opts.addOption("verbose", "? bool");
    const char* words[] = {"-s", "640", "480", "--verb", "--", "scene.ma"};
    opts.initialize(6, words);

    const kyOS::GetOpt::impl::result* r = opts.getOpt();
    CHECK(r != nullptr);
    CHECK(opts.getResultName(r) == "size"); // the primary name, whatever was typed
    CHECK(opts.getNumArguments(r) == 2);
    CHECK(opts.getResultArg(r, 0) == L"640");
    CHECK(opts.getResultArg(r, 1) == L"480");

    r = opts.getOpt();
    CHECK(r != nullptr);
    CHECK(opts.getResultName(r) == "verbose"); // a unique prefix selects it
    CHECK(opts.getNumArguments(r) == 0);       // the optional bool stops at "--"

    CHECK(opts.getOpt() == nullptr); // "--" ends the options
    CHECK(!opts.hasErrors());
    ky::vector<kyString::IString> rest;
    opts.remaining(rest);
    CHECK(rest.size() == 1 && rest[0] == L"scene.ma");

    // A bad argument stops parsing with a text, until resetError.
    const char* bad[] = {"-size", "wide", "480"};
    opts.initialize(3, bad);
    CHECK(opts.getOpt() == nullptr);
    CHECK(opts.hasErrors());
    CHECK(std::strcmp(opts.getError().asMultibyte(),
                      "While processing option: -size\n  Expected an integer, got: wide") == 0);
    opts.resetError();

    // The body of a "--help": every option, sorted, with its shortest name.
    opts.addOptionUsage(0, L"Width and height in pixels.");
    CHECK(opts.getUsage() == L"  -s integer integer\n"
                             L"  -size integer integer\n"
                             L"    Width and height in pixels.\n"
                             L"  -v ? bool\n"
                             L"  -verbose ? bool\n");
    std::printf("%s", opts.getUsage().asMultibyte());
    return 0;
}
