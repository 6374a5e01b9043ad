// kyTestProcess.h - running a piece of a test in a child process, optionally without privileges.
#ifndef KY_TESTS_SUPPORT_PROCESS_H
#define KY_TESTS_SUPPORT_PROCESS_H

#include <functional>
#include <optional>
#include <string>

#ifndef _WIN32
#include <grp.h>
#include <sys/wait.h>
#include <unistd.h>
#endif

namespace kytest {

/// True where a forked child can drop to an unprivileged user: POSIX, running as root.
/// Tests run as root here, and root passes every permission check, so a test of "not
/// readable" or "not writable" means something only in such a child.
inline bool canDropPrivileges() {
#ifdef _WIN32
    return false;
#else
    return ::geteuid() == 0;
#endif
}

/// Runs `body` in a forked child (as user and group 65534 when `dropPrivileges`) and returns
/// the text it produced, or nothing when the child could not be made or did not finish
/// normally. Only the text crosses back, so `body` reports what it saw as text and the
/// parent asserts on it. POSIX only; on Windows it returns nothing.
inline std::optional<std::string> runInChild(const std::function<std::string()>& body,
                                             bool dropPrivileges) {
#ifdef _WIN32
    static_cast<void>(body);
    static_cast<void>(dropPrivileges);
    return std::nullopt;
#else
    int fds[2];
    if (::pipe(fds) != 0) {
        return std::nullopt;
    }
    const pid_t pid = ::fork();
    if (pid < 0) {
        ::close(fds[0]);
        ::close(fds[1]);
        return std::nullopt;
    }
    if (pid == 0) {
        ::close(fds[0]);
        if (dropPrivileges &&
            (::setgroups(0, nullptr) != 0 || ::setgid(65534) != 0 || ::setuid(65534) != 0)) {
            ::_exit(2);
        }
        const std::string text = body();
        std::size_t done = 0;
        while (done < text.size()) {
            const ssize_t n = ::write(fds[1], text.data() + done, text.size() - done);
            if (n <= 0) {
                ::_exit(3);
            }
            done += static_cast<std::size_t>(n);
        }
        ::_exit(0);
    }
    ::close(fds[1]);
    std::string text;
    char buffer[4096];
    for (;;) {
        const ssize_t n = ::read(fds[0], buffer, sizeof buffer);
        if (n <= 0) {
            break;
        }
        text.append(buffer, static_cast<std::size_t>(n));
    }
    ::close(fds[0]);
    int status = 0;
    if (::waitpid(pid, &status, 0) != pid || !WIFEXITED(status) || WEXITSTATUS(status) != 0) {
        return std::nullopt;
    }
    return text;
#endif
}

} // namespace kytest

#endif // KY_TESTS_SUPPORT_PROCESS_H
