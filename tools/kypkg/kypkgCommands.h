// kypkgCommands.h - the commands of kypkg; each returns the program's exit code.
#ifndef KY_TOOLS_KYPKG_COMMANDS_H
#define KY_TOOLS_KYPKG_COMMANDS_H

#include "kypkgSupport.h"

namespace kypkg {

// Editing (kypkgEdit.cpp): always in the crash-safe mode, with one update() at the end.
int create(const Options& options);
int add(const Options& options);
int remove(const Options& options);
int compact(const Options& options);

// Reading (kypkgRead.cpp).
int list(const Options& options);
int extract(const Options& options);
int verify(const Options& options);

} // namespace kypkg

#endif // KY_TOOLS_KYPKG_COMMANDS_H
