#include "platform/linux/system_launcher.h"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace cvl {

std::string findExecutable(const std::string& program) {
    if (program.find('/') != std::string::npos) {
        return ::access(program.c_str(), X_OK) == 0 ? program : std::string();
    }
    const char* path = std::getenv("PATH");
    const std::string folders = path != nullptr ? path : "/usr/local/bin:/usr/bin:/bin";
    for (std::size_t start = 0; start <= folders.size();) {
        std::size_t end = folders.find(':', start);
        if (end == std::string::npos) {
            end = folders.size();
        }
        const std::string folder = folders.substr(start, end - start);
        const std::string candidate = (folder.empty() ? "." : folder) + '/' + program;
        if (::access(candidate.c_str(), X_OK) == 0) {
            return candidate;
        }
        start = end + 1;
    }
    return {};
}

bool SystemLauncher::start(const std::string& program, const std::vector<std::string>& arguments) {
    const std::string path = findExecutable(program);
    if (path.empty()) {
        return false;
    }
    // Everything the children need is made before they exist: between fork and exec only
    // system calls run.
    std::vector<char*> argv;
    argv.push_back(const_cast<char*>(program.c_str()));
    for (const std::string& argument : arguments) {
        argv.push_back(const_cast<char*>(argument.c_str()));
    }
    argv.push_back(nullptr);
    // A pipe that closes on exec: it stays silent when the program started and carries the
    // error number when it did not.
    int report[2];
    if (::pipe2(report, O_CLOEXEC) != 0) {
        return false;
    }
    const pid_t child = ::fork();
    if (child < 0) {
        ::close(report[0]);
        ::close(report[1]);
        return false;
    }
    if (child == 0) {
        // The intermediate child leaves at once, so the program is handed to init and never
        // waits as our zombie.
        ::setsid();
        if (::fork() == 0) {
            ::execv(path.c_str(), argv.data());
            const int error = errno;
            [[maybe_unused]] const auto sent = ::write(report[1], &error, sizeof error);
        }
        ::_exit(0);
    }
    ::close(report[1]);
    int status = 0;
    while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    int error = 0;
    ssize_t got = 0;
    do {
        got = ::read(report[0], &error, sizeof error);
    } while (got < 0 && errno == EINTR);
    ::close(report[0]);
    return got == 0;
}

bool SystemLauncher::openDateTimeSettings() {
    // The first desktop tool found wins; a desktop without one simply gets nothing.
    const std::vector<std::vector<std::string>> candidates{
        {"gnome-control-center", "datetime"},
        {"kcmshell6", "kcm_clock"},
        {"kcmshell5", "clock"},
        {"xfce4-datetime-settings"},
        {"time-admin"},
    };
    for (const std::vector<std::string>& command : candidates) {
        if (!findExecutable(command.front()).empty()) {
            return start(command.front(), {command.begin() + 1, command.end()});
        }
    }
    return false;
}

} // namespace cvl
