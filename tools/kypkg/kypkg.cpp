// kypkg.cpp - the package-file archive tool: create, add, list, extract, delete, compact,
// verify and cat. The command line is read with kyOS::GetOpt; the commands live in
// kypkgEdit.cpp and kypkgRead.cpp.
#include "kypkgCommands.h"

#include <Base/OS/kyOSGetOpt.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

namespace {

using kypkg::kOk;
using kypkg::kUsage;
using kypkg::Options;

const char kUsageText[] =
    "usage: kypkg create PKG [FILES|DIRS...] [-z] [--as NAME]\n"
    "       kypkg add PKG FILES|DIRS... [-z] [--as NAME]\n"
    "       kypkg list PKG [NAMES...] [--long]\n"
    "       kypkg extract PKG [NAMES...] [-C DIR]    (-C - writes to standard output)\n"
    "       kypkg delete PKG NAMES...\n"
    "       kypkg compact PKG\n"
    "       kypkg verify PKG\n"
    "       kypkg cat PKG NAME\n"
    "Directories are added with everything below them. Exit codes: 0 ok, 1 some entries\n"
    "failed or the file is not a package, 2 the package could not be read or written,\n"
    "64 usage. Options:\n";

int usage(kyOS::GetOpt& options, const std::string& message) {
    if (!message.empty()) {
        std::fprintf(stderr, "kypkg: %s\n", message.c_str());
    }
    std::fprintf(stderr, "%s%s", kUsageText, options.getUsage().asMultibyte());
    return kUsage;
}

// The least and most names (words after the package) each command takes; -1: any number.
struct Command {
    const char* name;
    int least;
    int most;
    int (*run)(const Options&);
};

int cat(const Options& options) {
    Options out = options;
    out.directory = "-";
    return kypkg::extract(out);
}

const Command kCommands[] = {
    {"create", 0, -1, kypkg::create}, {"add", 1, -1, kypkg::add},
    {"list", 0, -1, kypkg::list},     {"extract", 0, -1, kypkg::extract},
    {"delete", 1, -1, kypkg::remove}, {"compact", 0, 0, kypkg::compact},
    {"verify", 0, 0, kypkg::verify},  {"cat", 1, 1, cat},
};

} // namespace

int main(int argc, char** argv) {
    kyOS::GetOpt getopt;
    const int help = getopt.addOption("h|help", nullptr);
    getopt.addOptionUsage(help, L"Prints this text.");
    const int compress = getopt.addOption("z|compress", nullptr);
    getopt.addOptionUsage(compress, L"create, add: store files compressed (with a checksum) "
                                    L"when that makes them smaller.");
    const int as = getopt.addOption("as", "string");
    getopt.addOptionUsage(as,
                          L"create, add: the entry name of the one file added (or the name that "
                          L"replaces a directory's own in the names below it).");
    const int longList = getopt.addOption("l|long", nullptr);
    getopt.addOptionUsage(longList, L"list: also offsets, free blocks and the directory.");
    const int directory = getopt.addOption("C|directory", "string");
    getopt.addOptionUsage(directory, L"extract: the target directory (default \".\"); \"-\" "
                                     L"writes the entries to standard output.");

    // Options are picked out of the words; the rest are the command, the package and names.
    std::vector<const char*> optionWords;
    std::vector<std::string> words;
    bool optionsEnded = false;
    for (int i = 1; i < argc; ++i) {
        const std::string word = argv[i];
        if (!optionsEnded && word == "--") {
            optionsEnded = true;
        } else if (!optionsEnded && word.size() > 1 && word[0] == '-') {
            optionWords.push_back(argv[i]);
            const auto* option = getopt.findOption(word.c_str() + word.find_first_not_of('-'));
            if (option != nullptr && getopt.getOptionTypeList(option).length() > 0 &&
                i + 1 < argc) {
                optionWords.push_back(argv[++i]); // its argument
            }
        } else {
            words.push_back(word);
        }
    }
    getopt.initialize(static_cast<int>(optionWords.size()), optionWords.data());
    Options options;
    while (const kyOS::GetOpt::impl::result* r = getopt.getOpt()) {
        const int index = getopt.getResultIndex(r);
        if (index == help) {
            std::printf("%s%s", kUsageText, getopt.getUsage().asMultibyte());
            return kOk;
        }
        options.compress |= index == compress;
        options.longList |= index == longList;
        if (index == as) {
            options.asGiven = true;
            options.as = getopt.getResultArg(r, 0).asMultibyte();
        } else if (index == directory) {
            options.directory = getopt.getResultArg(r, 0).asMultibyte();
        }
    }
    if (getopt.hasErrors()) {
        return usage(getopt, getopt.getError().asMultibyte());
    }
    if (words.size() < 2) {
        return usage(getopt, words.empty() ? "no command" : "no package named");
    }
    options.command = words[0];
    options.package = words[1];
    options.names.assign(words.begin() + 2, words.end());
    const int count = static_cast<int>(options.names.size());
    for (const Command& command : kCommands) {
        if (options.command != command.name) {
            continue;
        }
        if (count < command.least || (command.most >= 0 && count > command.most)) {
            return usage(getopt, options.command + ": wrong number of names");
        }
        if (options.asGiven && ((options.command != "add" && options.command != "create") ||
                                count != 1 || options.as.empty())) {
            return usage(getopt, "--as takes a name and goes with create or add and one file");
        }
        return command.run(options);
    }
    return usage(getopt, "unknown command: " + options.command);
}
