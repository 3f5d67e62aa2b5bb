#pragma once

#include <functional>
#include <sys/wait.h>
#include <unistd.h>

// Runs the function in a forked child and returns its result as the child's exit status
// (128 + the signal when the child died of one, -1 when it could not run). With dropPrivileges, a
// root parent's child becomes the unprivileged user "nobody" first, so permission checks apply to
// it.
inline int inChild(const std::function<int()>& function, bool dropPrivileges = false) {
    const pid_t pid = ::fork();
    if (pid == 0) {
        constexpr uid_t nobody = 65534;
        if (dropPrivileges && ::geteuid() == 0 && (::setgid(nobody) != 0 || ::setuid(nobody) != 0))
            ::_exit(100);
        ::_exit(function());
    }
    int status = 0;
    if (pid < 0 || ::waitpid(pid, &status, 0) != pid) return -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}
