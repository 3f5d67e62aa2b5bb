#pragma once

#include <functional>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

// In a child of a root process: becomes the unprivileged user "nobody", or exits with 100.
inline void becomeNobody() {
    constexpr uid_t nobody = 65534;
    if (::geteuid() == 0 && (::setgid(nobody) != 0 || ::setuid(nobody) != 0)) ::_exit(100);
}

// Runs the function in a forked child and returns its result as the child's exit status
// (128 + the signal when the child died of one, -1 when it could not run). With dropPrivileges, a
// root parent's child becomes the unprivileged user "nobody" first, so permission checks apply to
// it.
inline int inChild(const std::function<int()>& function, bool dropPrivileges = false) {
    const pid_t pid = ::fork();
    if (pid == 0) {
        if (dropPrivileges) becomeNobody();
        ::_exit(function());
    }
    int status = 0;
    if (pid < 0 || ::waitpid(pid, &status, 0) != pid) return -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

// Runs the function in a forked child and returns the text it produced (empty when the child
// failed), for checks that need the child's own credentials.
inline std::string childOutput(const std::function<std::string()>& function,
                               bool dropPrivileges = false) {
    int channel[2];
    if (::pipe(channel) != 0) return {};
    const pid_t pid = ::fork();
    if (pid == 0) {
        ::close(channel[0]);
        if (dropPrivileges) becomeNobody();
        const std::string text = function();
        for (std::size_t done = 0; done < text.size();) {
            const ssize_t n = ::write(channel[1], text.data() + done, text.size() - done);
            if (n <= 0) ::_exit(101);
            done += static_cast<std::size_t>(n);
        }
        ::_exit(0);
    }
    ::close(channel[1]);
    std::string text;
    char chunk[4096];
    for (ssize_t n; (n = ::read(channel[0], chunk, sizeof chunk)) > 0;)
        text.append(chunk, static_cast<std::size_t>(n));
    ::close(channel[0]);
    int status = 0;
    if (pid < 0 || ::waitpid(pid, &status, 0) != pid || !WIFEXITED(status) ||
        WEXITSTATUS(status) != 0)
        return {};
    return text;
}
