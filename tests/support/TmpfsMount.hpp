#pragma once

#include <filesystem>
#include <string>
#include <sys/mount.h>
#include <unistd.h>

// A small tmpfs mounted at a folder for the scope: another volume for tests. Needs root;
// mounted() says whether it worked.
class TmpfsMount {
public:
    explicit TmpfsMount(std::string at) : at_(std::move(at)) {
        std::filesystem::create_directories(at_);
        mounted_ = ::geteuid() == 0 && ::mount("none", at_.c_str(), "tmpfs", 0, "size=64m") == 0;
    }
    ~TmpfsMount() {
        if (mounted_) ::umount2(at_.c_str(), MNT_DETACH);
    }
    TmpfsMount(const TmpfsMount&) = delete;
    TmpfsMount& operator=(const TmpfsMount&) = delete;

    bool mounted() const { return mounted_; }
    const std::string& path() const { return at_; }

private:
    std::string at_;
    bool mounted_ = false;
};
