// showcase_getopt.cpp - the showcase's tour of the command-line option parser.
#include "showcase.h"

#include <Base/OS/kyOSGetOpt.h>

#include <cstdio>
#include <string>
#include <vector>

namespace {

// Parses one command line and prints each option with its arguments, then how it ended.
void parseLine(kyOS::GetOpt& opts, const std::vector<const char*>& words) {
    std::printf("$ tool");
    for (const char* w : words) {
        std::printf(" %s", w);
    }
    std::printf("\n");
    opts.resetError();
    opts.initialize(static_cast<int>(words.size()), words.data());
    while (const kyOS::GetOpt::impl::result* r = opts.getOpt()) {
        std::printf("  option %-8s (index %d)", opts.getResultName(r).asChar(),
                    opts.getResultIndex(r));
        for (int i = 0; i < opts.getNumArguments(r); ++i) {
            std::printf(" [%s]", opts.getResultArg(r, i).asMultibyte());
        }
        std::printf("\n");
    }
    if (opts.hasErrors()) {
        std::string text = opts.getError().asMultibyte();
        for (std::size_t p = 0; (p = text.find('\n', p)) != std::string::npos; p += 3) {
            text.replace(p, 1, "\n  ");
        }
        std::printf("  error: %s\n", text.c_str());
    }
    ky::vector<kyString::IString> rest;
    opts.remaining(rest);
    if (!rest.empty()) {
        std::printf("  not consumed:");
        for (const kyString::IString& w : rest) {
            std::printf(" %s", w.asMultibyte());
        }
        std::printf("\n");
    }
}

} // namespace

void showcaseGetOpt() {
    showcaseSection("OS: command-line options");
    kyOS::GetOpt opts;
    opts.addOption("s|size", "int int");
    opts.addOption("color", "");
    opts.addOption("colorize", "? bool");
    opts.addOption("scale", "float");
    opts.addOption("layers", "sequence");
    opts.addOption("o|output", "outputfile-");
    opts.addOption("help", "");
    opts.addOptionUsage(0, L"Image width and height in pixels.");
    opts.addOptionUsage(4, L"Layer names, up to \".\" or in brackets.");
    opts.addOptionUsage(5, L"Where to write; \"-\" for standard output.");
    std::printf("--help text (sorted, shortest names first):\n%s", opts.getUsage().asMultibyte());

    parseLine(opts, {"-s", "640", "480", "--col", "off", "-color", "-o", "-", "--", "shot.ma"});
    parseLine(opts, {"-layers", "[", "bg", "[", "fx", "glow", "]", "fg", "]", "-sc", ".5"});
    parseLine(opts, {"-sc", "x1.5", "-help"});
    parseLine(opts, {"-c", "-help"});
    parseLine(opts, {"-o", "nul.txt"});
}
