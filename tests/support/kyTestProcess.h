// kyTestProcess.h - what the tests need of the system beyond the library: child processes
// (optionally without privileges, stopped and killed), environment variables, open
// descriptors. Implemented in kyTestPlatformPosix.cpp and kyTestPlatformWin32.cpp, so that
// test sources stay free of platform conditionals.
#ifndef KY_TESTS_SUPPORT_PROCESS_H
#define KY_TESTS_SUPPORT_PROCESS_H

#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace kytest {

/// True in the Windows build.
bool onWindows();

/// True where a forked child can drop to an unprivileged user: POSIX, running as root.
/// Tests run as root here, and root passes every permission check, so a test of "not
/// readable" or "not writable" means something only in such a child.
bool canDropPrivileges();

/// Runs `body` in a forked child (as user and group 65534 when `dropPrivileges`) and returns
/// the text it produced, or nothing when the child could not be made or did not finish
/// normally. Only the text crosses back, so `body` reports what it saw as text and the
/// parent asserts on it. POSIX only; on Windows it returns nothing.
std::optional<std::string> runInChild(const std::function<std::string()>& body,
                                      bool dropPrivileges);

/// True where a test may fork children, stop them and kill them (POSIX).
bool canForkAndKill();
/// Flushes the standard streams and starts `body` in a forked child, which exits with the
/// value `body` returns. The child's id, or -1 when none could be made (always on Windows).
long forkChild(const std::function<int()>& body);

/// Starts `program` with `arguments` in a child process, its standard output and error
/// going to the file `output`, each variable of `environment` set (or, with a null value,
/// removed) in the child only. The child's id for `waitChild` / `killChild`, or -1 when none
/// could be made (always on Windows).
long startProgram(const std::string& program, const std::vector<std::string>& arguments,
                  const std::string& output,
                  const std::vector<std::pair<const char*, const char*>>& environment);

/// How a wait for a child ended.
struct ChildEnd {
    bool waited = false;  ///< the wait itself succeeded
    bool stopped = false; ///< the child stopped (only when waiting `untilStopped`)
    bool exited = false;  ///< the child ended normally
    int exitCode = -1;    ///< its exit value when it ended normally
};
/// Waits until the child ends or, with `untilStopped`, stops.
ChildEnd waitChild(long child, bool untilStopped);
/// Kills the child at once (SIGKILL).
void killChild(long child);
/// Stops the calling process (SIGSTOP) until its parent kills or continues it.
void stopSelf();

/// Sets, or with a null `value` removes, an environment variable.
void setEnvironment(const char* name, const char* value);
/// Runs this test program again in a fresh process with `arguments` appended, each variable
/// of `environment` set to its value or, with a null value, removed; returns what the new
/// process printed on its standard output.
std::string runSelf(const std::string& arguments,
                    const std::vector<std::pair<const char*, const char*>>& environment);
/// Open descriptors of this process, or -1 where the system does not list them.
int countOpenDescriptors();

} // namespace kytest

#endif // KY_TESTS_SUPPORT_PROCESS_H
