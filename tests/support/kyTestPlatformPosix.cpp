// kyTestPlatformPosix.cpp - kyTestProcess.h on POSIX systems.
#include "kyTestProcess.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <grp.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

namespace kytest {

bool onWindows() {
    return false;
}

bool canDropPrivileges() {
    return ::geteuid() == 0;
}

std::optional<std::string> runInChild(const std::function<std::string()>& body,
                                      bool dropPrivileges) {
    int fds[2];
    if (::pipe(fds) != 0) {
        return std::nullopt;
    }
    std::fflush(nullptr);
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
}

bool canForkAndKill() {
    return true;
}

long forkChild(const std::function<int()>& body) {
    std::fflush(nullptr);
    const pid_t pid = ::fork();
    if (pid == 0) {
        ::_exit(body());
    }
    return static_cast<long>(pid);
}

long startProgram(const std::string& program, const std::vector<std::string>& arguments,
                  const std::string& output,
                  const std::vector<std::pair<const char*, const char*>>& environment) {
    std::vector<char*> argv;
    argv.push_back(const_cast<char*>(program.c_str()));
    for (const std::string& argument : arguments) {
        argv.push_back(const_cast<char*>(argument.c_str()));
    }
    argv.push_back(nullptr);
    std::fflush(nullptr);
    const pid_t pid = ::fork();
    if (pid == 0) {
        for (const auto& variable : environment) {
            setEnvironment(variable.first, variable.second);
        }
        const int fd = ::open(output.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
        if (fd < 0 || ::dup2(fd, 1) < 0 || ::dup2(fd, 2) < 0) {
            ::_exit(126);
        }
        ::execv(program.c_str(), argv.data());
        ::_exit(127);
    }
    return static_cast<long>(pid);
}

ChildEnd waitChild(long child, bool untilStopped) {
    ChildEnd end;
    int status = 0;
    const pid_t pid = static_cast<pid_t>(child);
    if (::waitpid(pid, &status, untilStopped ? WUNTRACED : 0) != pid) {
        return end;
    }
    end.waited = true;
    end.stopped = WIFSTOPPED(status);
    end.exited = WIFEXITED(status);
    end.exitCode = end.exited ? WEXITSTATUS(status) : -1;
    return end;
}

void killChild(long child) {
    ::kill(static_cast<pid_t>(child), SIGKILL);
}

void stopSelf() {
    ::raise(SIGSTOP);
}

void setEnvironment(const char* name, const char* value) {
    if (value != nullptr) {
        ::setenv(name, value, 1);
    } else {
        ::unsetenv(name);
    }
}

int countOpenDescriptors() {
    // Linux lists them under /proc; other systems answer -1 through the failing listing.
    int n = 0;
    std::error_code ec;
    for (std::filesystem::directory_iterator it("/proc/self/fd", ec), end; !ec && it != end;
         it.increment(ec)) {
        ++n;
    }
    return ec ? -1 : n;
}

std::string runSelf(const std::string& arguments,
                    const std::vector<std::pair<const char*, const char*>>& environment) {
    char self[4096];
    const ssize_t n = ::readlink("/proc/self/exe", self, sizeof self - 1);
    // env takes its removals before its assignments.
    std::string removals, assignments;
    for (const auto& var : environment) {
        removals += std::string(" -u ") + var.first;
        if (var.second != nullptr) {
            assignments += std::string(" ") + var.first + "=" + var.second;
        }
    }
    std::string command = "env" + removals + assignments;
    command += " '" + std::string(self, n > 0 ? static_cast<std::size_t>(n) : 0) + "' " + arguments;
    std::string out;
    if (std::FILE* p = ::popen(command.c_str(), "r")) {
        char buffer[512];
        while (std::fgets(buffer, sizeof buffer, p) != nullptr) {
            out += buffer;
        }
        ::pclose(p);
    }
    return out;
}

} // namespace kytest
