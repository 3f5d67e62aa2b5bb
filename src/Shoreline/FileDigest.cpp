#include "Shoreline/FileDigest.hpp"

#include <openssl/evp.h>

#include <cerrno>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace shoreline {

namespace {

/// A read-only descriptor of a regular file, closed on scope exit.
class OpenFile {
public:
    explicit OpenFile(const std::string& path) : fd_(openWithoutTouching(path)) {
        struct stat info {};
        if (fd_ >= 0 && (::fstat(fd_, &info) != 0 || !S_ISREG(info.st_mode))) close();
        length_ = info.st_size;
    }
    ~OpenFile() { close(); }
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;

    bool isOpen() const { return fd_ >= 0; }
    int fd() const { return fd_; }
    off_t length() const { return length_; }

private:
    /// Reading for a digest is not the user opening the file: keep the access time, which
    /// tells the other rules when the user last did, unless the system refuses that.
    static int openWithoutTouching(const std::string& path) {
        constexpr int flags = O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK;
#ifdef O_NOATIME
        const int fd = ::open(path.c_str(), flags | O_NOATIME);
        if (fd >= 0 || errno != EPERM) return fd;
#endif
        return ::open(path.c_str(), flags);
    }
    void close() {
        if (fd_ >= 0) ::close(fd_);
        fd_ = -1;
    }
    int fd_;
    off_t length_ = 0;
};

struct ContextDeleter {
    void operator()(EVP_MD_CTX* context) const { EVP_MD_CTX_free(context); }
};

class Sha256 {
public:
    Sha256() : context_(EVP_MD_CTX_new()) {
        ok_ = context_ && EVP_DigestInit_ex(context_.get(), EVP_sha256(), nullptr) == 1;
    }
    void add(const void* data, std::size_t size) {
        ok_ = ok_ && EVP_DigestUpdate(context_.get(), data, size) == 1;
    }
    std::optional<FileDigest::Digest> finish() {
        FileDigest::Digest digest{};
        unsigned int size = 0;
        if (!ok_ || EVP_DigestFinal_ex(context_.get(), digest.data(), &size) != 1 ||
            size != digest.size())
            return std::nullopt;
        return digest;
    }

private:
    std::unique_ptr<EVP_MD_CTX, ContextDeleter> context_;
    bool ok_ = false;
};

/// Reads up to `size` bytes at `offset` into `buffer` and hashes them; false on a read error.
bool addRange(Sha256& sha, int fd, std::vector<unsigned char>& buffer, off_t offset,
              std::size_t size) {
    std::size_t done = 0;
    while (done < size) {
        const ssize_t got =
            ::pread(fd, buffer.data() + done, size - done, offset + static_cast<off_t>(done));
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) return false;
        if (got == 0) break;
        done += static_cast<std::size_t>(got);
    }
    sha.add(buffer.data(), done);
    return true;
}

} // namespace

std::optional<FileDigest::Digest> FileDigest::quick(const std::string& path) {
    const OpenFile file(path);
    if (!file.isOpen()) return std::nullopt;
    Sha256 sha;
    std::vector<unsigned char> buffer(edgeBytes);
    if (!addRange(sha, file.fd(), buffer, 0, edgeBytes)) return std::nullopt;
    const off_t edge = static_cast<off_t>(edgeBytes);
    if (file.length() > edge && !addRange(sha, file.fd(), buffer, file.length() - edge, edgeBytes))
        return std::nullopt;
    return sha.finish();
}

std::optional<FileDigest::Digest> FileDigest::full(const std::string& path) {
    const OpenFile file(path);
    if (!file.isOpen()) return std::nullopt;
    ::posix_fadvise(file.fd(), 0, 0, POSIX_FADV_SEQUENTIAL);
    Sha256 sha;
    std::vector<unsigned char> buffer(chunkBytes);
    for (;;) {
        const ssize_t got = ::read(file.fd(), buffer.data(), buffer.size());
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) return std::nullopt;
        if (got == 0) break;
        sha.add(buffer.data(), static_cast<std::size_t>(got));
    }
    return sha.finish();
}

} // namespace shoreline
