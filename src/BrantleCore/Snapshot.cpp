#include "BrantleCore/Snapshot.hpp"

#include "BrantleCore/DirEntry.hpp"
#include "BrantleCore/Utf8.hpp"
#include "Lzfse/Lzfse.hpp"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <limits>
#include <optional>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace brantle {

namespace {

using Kind = SnapshotError::Kind;

/// One thread unpacks a block of the body while the other writes the one before.
constexpr unsigned decodeThreads = 2;

std::unexpected<SnapshotError> failure(Kind kind, std::uint16_t version = 0) {
    return std::unexpected(SnapshotError{kind, version});
}

std::size_t bodySize(const FileTree& tree) {
    const std::size_t n = tree.count();
    constexpr std::size_t perNode = 4 + 4 + 4 + 8 + 8 + 8 + 2 + 4 + 2;
    return 4 + tree.rootPath().size() + 8 + 8 + 4 + 8 + n * perNode + tree.columns().names.size();
}

void writeColumns(Snapshot::Writer& out, const FileTree::Columns& c) {
    out.array<NodeId>(c.parents);
    out.array<NodeId>(c.firstChildren);
    out.array<NodeId>(c.nextSiblings);
    out.array<std::uint64_t>(c.sizes);
    out.array<std::int64_t>(c.mtimes);
    out.array<std::uint64_t>(c.inodes);
    out.array<std::uint16_t>(c.flagBits);
    out.array<std::uint32_t>(c.nameOffsets);
    out.array<std::uint16_t>(c.nameLengths);
    out.array<char>(c.names);
}

std::expected<void, SnapshotError> readColumns(Snapshot::Reader& in, FileTree::Columns& c,
                                               std::uint64_t n, std::uint64_t nameBytes) {
    // Each column only if every earlier one was whole.
    auto read = in.array(c.parents, n);
    if (read) read = in.array(c.firstChildren, n);
    if (read) read = in.array(c.nextSiblings, n);
    if (read) read = in.array(c.sizes, n);
    if (read) read = in.array(c.mtimes, n);
    if (read) read = in.array(c.inodes, n);
    if (read) read = in.array(c.flagBits, n);
    if (read) read = in.array(c.nameOffsets, n);
    if (read) read = in.array(c.nameLengths, n);
    if (read) read = in.array(c.names, nameBytes);
    return read;
}

constexpr std::uint16_t knownFlags =
    NodeFlags::directory.rawValue | NodeFlags::package.rawValue | NodeFlags::symlink.rawValue |
    NodeFlags::dataless.rawValue | NodeFlags::unreadable.rawValue |
    NodeFlags::hardlinkDuplicate.rawValue | NodeFlags::mountPoint.rawValue;

bool isAbsolutePath(std::string_view path) {
    return path.starts_with('/') && !path.contains('\0');
}

bool holdsSeparatorOrNul(std::string_view text) {
    return text.contains('/') || text.contains('\0');
}

/// `cleanPool`: the whole pool is known to hold neither '/' nor NUL.
bool isName(std::string_view name, bool cleanPool) {
    return !name.empty() && name != "." && name != ".." &&
           (cleanPool || !holdsSeparatorOrNul(name));
}

/// Whether the columns hold a tree every FileTree operation can work on: a root folder,
/// parents before children, child lists that agree with the parents and always end, names
/// a folder can hold inside the pool, known flags only, and every folder's size equal to
/// its own size plus its contents without overflow. Where folders' own blocks do not count,
/// their own size is 0.
bool isWellFormed(const FileTree::Columns& c) {
    const std::size_t n = c.parents.size();
    if (n == 0 || !(c.flagBits[0] & NodeFlags::directory.rawValue)) return false;
    const std::uint64_t nameBytes = c.names.size();
    // Two searches of the whole pool spare two per name in the usual case.
    const bool cleanPool = !holdsSeparatorOrNul({c.names.data(), c.names.size()});
    FileTree::Column<std::uint64_t> contents;
    contents.reserve(n);
    columnMemory::preferHugePages(contents.data(), n * sizeof(std::uint64_t));
    contents.resize(n);
    for (std::size_t i = 0; i < n; ++i) {
        const NodeId parent = c.parents[i];
        if (i == 0 ? parent != FileTree::none : parent >= i) return false;
        // Children come after their parent; a next sibling was appended before the node.
        const NodeId first = c.firstChildren[i];
        if (first != FileTree::none && (first <= i || first >= n || c.parents[first] != i))
            return false;
        const NodeId next = c.nextSiblings[i];
        if (next != FileTree::none && (next >= i || c.parents[next] != parent)) return false;
        if (std::uint64_t{c.nameOffsets[i]} + c.nameLengths[i] > nameBytes) return false;
        if ((c.flagBits[i] & ~knownFlags) != 0) return false;
        if (i > 0) {
            if (!isName({c.names.data() + c.nameOffsets[i], c.nameLengths[i]}, cleanPool))
                return false;
            if (!(c.flagBits[parent] & NodeFlags::directory.rawValue)) return false;
        }
    }
    // Children after parents: one backward pass sums every folder's contents.
    for (std::size_t i = n; i-- > 0;) {
        const bool folder = c.flagBits[i] & NodeFlags::directory.rawValue;
        if (folder &&
            (c.sizes[i] < contents[i] || (!folderBlocksCount && c.sizes[i] != contents[i])))
            return false;
        if (!folder && c.firstChildren[i] != FileTree::none) return false;
        if (i > 0 &&
            __builtin_add_overflow(contents[c.parents[i]], c.sizes[i], &contents[c.parents[i]]))
            return false;
    }
    return true;
}

/// Temporary files that saves of `path` left behind when they were interrupted.
void removeStaleTemporaries(const std::string& path) {
    namespace fs = std::filesystem;
    const fs::path target(path);
    const std::string prefix = target.filename().string() + ".";
    std::error_code error;
    for (const auto& entry : fs::directory_iterator(
             target.parent_path().empty() ? fs::path(".") : target.parent_path(), error)) {
        const std::string name = entry.path().filename().string();
        // mkostemp's six random characters after the name and a dot.
        if (name.size() == prefix.size() + 6 && name.starts_with(prefix))
            fs::remove(entry.path(), error);
    }
}

/// Room for the decompressed body: mapped at its exact size without being zeroed by us, and
/// backed by huge pages where the system offers them. Faulting tens of megabytes in page by
/// page costs several times more than decompressing them.
class BodyBuffer {
public:
    static std::optional<BodyBuffer> make(std::size_t size) {
        void* map = mmap(nullptr, size, PROT_READ | PROT_WRITE,
                         MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
        if (map == MAP_FAILED) return std::nullopt; // an absurd size from a damaged header
        columnMemory::preferHugePages(map, size);
        return BodyBuffer(static_cast<std::uint8_t*>(map), size);
    }
    BodyBuffer(BodyBuffer&& other) noexcept : bytes_(std::exchange(other.bytes_, {})) {}
    BodyBuffer& operator=(BodyBuffer&&) = delete;
    ~BodyBuffer() {
        if (!bytes_.empty()) munmap(bytes_.data(), bytes_.size());
    }
    std::span<std::uint8_t> bytes() const { return bytes_; }

private:
    BodyBuffer(std::uint8_t* data, std::size_t size) : bytes_(data, size) {}
    std::span<std::uint8_t> bytes_;
};

std::error_code lastError() {
    return {errno, std::generic_category()};
}

/// Writes `bytes` to a temporary file beside `path`, flushes it to disk and renames it over
/// `path`; on failure the temporary file is removed and `path` is untouched.
std::expected<void, std::error_code> replaceFile(const std::string& path,
                                                 std::span<const std::uint8_t> bytes) {
    std::string temporary = path + ".XXXXXX";
    const int fd = mkostemp(temporary.data(), O_CLOEXEC);
    if (fd < 0) return std::unexpected(lastError());
    std::error_code error;
    for (std::size_t done = 0; done < bytes.size() && !error;) {
        const ssize_t written = ::write(fd, bytes.data() + done, bytes.size() - done);
        if (written >= 0)
            done += static_cast<std::size_t>(written);
        else if (errno != EINTR)
            error = lastError();
    }
    if (!error && fdatasync(fd) != 0) error = lastError();
    if (::close(fd) != 0 && !error) error = lastError();
    if (!error && std::rename(temporary.c_str(), path.c_str()) != 0) error = lastError();
    if (error) {
        ::unlink(temporary.c_str());
        return std::unexpected(error);
    }
    return {};
}

/// A read-only view of a whole file, mapped when possible and read otherwise.
class FileBytes {
public:
    static std::expected<FileBytes, std::error_code> open(const std::string& path) {
        const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
        if (fd < 0) return std::unexpected(lastError());
        FileBytes file;
        const std::error_code error = file.fill(fd);
        ::close(fd);
        if (error) return std::unexpected(error);
        return file;
    }
    FileBytes(FileBytes&& other) noexcept
        : mapped_(std::exchange(other.mapped_, nullptr)), size_(other.size_),
          buffer_(std::move(other.buffer_)) {}
    FileBytes& operator=(FileBytes&&) = delete;
    ~FileBytes() {
        if (mapped_) ::munmap(mapped_, size_);
    }

    std::span<const std::uint8_t> bytes() const {
        if (mapped_) return {static_cast<const std::uint8_t*>(mapped_), size_};
        return buffer_;
    }

private:
    FileBytes() = default;

    std::error_code fill(int fd) {
        struct stat info;
        if (fstat(fd, &info) != 0) return lastError();
        if (!S_ISREG(info.st_mode)) return std::make_error_code(std::errc::invalid_argument);
        size_ = static_cast<std::size_t>(info.st_size);
        if (size_ > 0) {
            void* map = ::mmap(nullptr, size_, PROT_READ, MAP_PRIVATE | MAP_POPULATE, fd, 0);
            if (map != MAP_FAILED) {
                mapped_ = map;
                return {};
            }
        }
        return readAll(fd);
    }

    std::error_code readAll(int fd) {
        std::uint8_t chunk[65536];
        for (;;) {
            const ssize_t got = ::read(fd, chunk, sizeof chunk);
            if (got == 0) return {};
            if (got < 0 && errno == EINTR) continue;
            if (got < 0) return lastError();
            buffer_.insert(buffer_.end(), chunk, chunk + got);
        }
    }

    void* mapped_ = nullptr;
    std::size_t size_ = 0;
    std::vector<std::uint8_t> buffer_;
};

} // namespace

std::string describe(const SnapshotError& error) {
    switch (error.kind) {
    case Kind::unsupportedVersion:
        return "unsupported snapshot version " + std::to_string(error.version);
    case Kind::badMagic:
        return "not a snapshot (bad magic)";
    case Kind::truncated:
        return "snapshot is truncated or damaged";
    case Kind::decompressionFailed:
        return "snapshot body cannot be decompressed";
    }
    return "unknown snapshot error";
}

std::string describe(const Snapshot::LoadError& error) {
    if (const auto* system = std::get_if<std::error_code>(&error)) return system->message();
    return describe(std::get<SnapshotError>(error));
}

std::vector<std::uint8_t> Snapshot::encode(const FileTree& tree, const SnapshotMeta& meta) {
    if (!tree.isCompact()) return encode(tree.compacted(), meta);
    const FileTree& compact = tree;
    Writer body(bodySize(compact));
    body.string(compact.rootPath());
    body.scalar(meta.scannedAt);
    body.scalar(meta.fsEventID);
    body.scalar(static_cast<std::uint32_t>(compact.count()));
    body.scalar(static_cast<std::uint64_t>(compact.columns().names.size()));
    writeColumns(body, compact.columns());

    Writer header(headerSize);
    header.array<std::uint8_t>(magic);
    header.scalar(formatVersion);
    std::vector<std::uint8_t> file = lzfse::encode(body.bytes());
    file.insert(file.begin(), header.bytes().begin(), header.bytes().end());
    return file;
}

std::expected<Snapshot::Contents, SnapshotError>
Snapshot::decode(std::span<const std::uint8_t> data) {
    if (data.size() < headerSize) return failure(Kind::truncated);
    if (!std::equal(magic.begin(), magic.end(), data.begin())) return failure(Kind::badMagic);
    Reader header(data.subspan(magic.size()));
    const std::uint16_t version = *header.scalar<std::uint16_t>();
    if (version != formatVersion) return failure(Kind::unsupportedVersion, version);

    const std::span<const std::uint8_t> stream = data.subspan(headerSize);
    const auto bodySize = lzfse::decodedSize(stream);
    if (!bodySize) return failure(Kind::decompressionFailed);
    const auto body = BodyBuffer::make(*bodySize + lzfse::decodeSlack);
    if (!body || !lzfse::decodeInto(stream, body->bytes(), decodeThreads))
        return failure(Kind::decompressionFailed);
    Reader in(body->bytes().first(*bodySize));
    const auto rootPath = in.string();
    const auto scannedAt = in.scalar<double>();
    const auto eventID = in.scalar<std::uint64_t>();
    const auto count = in.scalar<std::uint32_t>();
    const auto nameBytes = in.scalar<std::uint64_t>();
    if (!rootPath || !scannedAt || !eventID || !count || !nameBytes)
        return failure(Kind::truncated);
    if (*count == FileTree::none || *nameBytes > std::numeric_limits<std::uint32_t>::max())
        return failure(Kind::truncated);

    if (*count == 0 || !isAbsolutePath(*rootPath)) return failure(Kind::truncated);
    Contents contents{FileTree(repairedUtf8(*rootPath), FileTree::empty), {}};
    FileTree::Columns& columns = contents.tree.mutableColumns();
    if (const auto read = readColumns(in, columns, *count, *nameBytes); !read)
        return std::unexpected(read.error());
    if (!isWellFormed(columns)) return failure(Kind::truncated);
    contents.meta = {contents.tree.rootPath(), *scannedAt, *eventID};
    return contents;
}

std::expected<void, std::error_code> Snapshot::save(const FileTree& tree, const SnapshotMeta& meta,
                                                    const std::string& path) {
    const std::filesystem::path folder = std::filesystem::path(path).parent_path();
    std::error_code error;
    if (!folder.empty()) std::filesystem::create_directories(folder, error);
    if (error) return std::unexpected(error);
    removeStaleTemporaries(path);
    return replaceFile(path, encode(tree, meta));
}

std::expected<Snapshot::Contents, Snapshot::LoadError> Snapshot::load(const std::string& path) {
    const auto file = FileBytes::open(path);
    if (!file) return std::unexpected(LoadError(file.error()));
    auto decoded = decode(file->bytes());
    if (!decoded) return std::unexpected(LoadError(decoded.error()));
    return std::move(*decoded);
}

} // namespace brantle
