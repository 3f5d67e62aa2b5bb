#include "BrantleCore/Snapshot.hpp"

#include "BrantleCore/DirEntry.hpp"
#include "BrantleCore/Utf8.hpp"
#include "Lzfse/Lzfse.hpp"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <limits>
#include <new>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace brantle {

namespace {

using Kind = SnapshotError::Kind;

/// A helper thread unpacks blocks of the body ahead of the one writing them (1.6 times
/// faster with one other task running on two cores), but not on an overloaded system: there
/// the helper is set aside for whole time slices, and the writer waits for the block it holds.
unsigned decodeThreads() {
    const long cores = sysconf(_SC_NPROCESSORS_ONLN);
    double load = 0;
    if (cores < 2 || getloadavg(&load, 1) != 1) return 1;
    return load < static_cast<double>(cores + 1) ? 2 : 1;
}

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
    contents.resize(n, 0);
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

/// Each column's bytes, in the order the body stores them.
std::array<std::span<std::uint8_t>, 10> columnBytes(FileTree::Columns& c) {
    const auto bytes = [](auto& column) { return std::as_writable_bytes(std::span(column)); };
    const auto raw = [&](auto& column) {
        const auto b = bytes(column);
        return std::span(reinterpret_cast<std::uint8_t*>(b.data()), b.size());
    };
    return {raw(c.parents),     raw(c.firstChildren), raw(c.nextSiblings), raw(c.sizes),
            raw(c.mtimes),      raw(c.inodes),        raw(c.flagBits),     raw(c.nameOffsets),
            raw(c.nameLengths), raw(c.names)};
}

template <class T> void toNativeOrder(std::span<T> values) {
    if constexpr (std::endian::native == std::endian::big && sizeof(T) > 1) {
        for (T& value : values) {
            using U = std::conditional_t<
                sizeof(T) == 8, std::uint64_t,
                std::conditional_t<sizeof(T) == 4, std::uint32_t, std::uint16_t>>;
            value = std::bit_cast<T>(std::byteswap(std::bit_cast<U>(value)));
        }
    }
}

/// Takes the decompressed body piece by piece as it comes out of the decoder: the leading
/// fields into a small buffer, then the columns straight into the tree's own columns, sized
/// exactly from the counts and never zeroed, so no copy of the whole body is ever made.
class BodyParser {
public:
    explicit BodyParser(std::uint64_t bodySize) : left_(bodySize) {}

    void take(std::span<const std::uint8_t> piece) {
        left_ -= piece.size();
        while (!piece.empty() && state_ == State::fields) {
            const std::size_t part = std::min(piece.size(), fieldsSize_ - fields_.size());
            fields_.insert(fields_.end(), piece.begin(), piece.begin() + static_cast<long>(part));
            piece = piece.subspan(part);
            if (fields_.size() == fieldsSize_) readFields(piece.size() + left_);
        }
        for (; !piece.empty() && state_ == State::columns; ++column_) {
            if (column_ == targets_.size()) {
                state_ = State::done; // bytes after the columns are not used
                break;
            }
            std::span<std::uint8_t>& target = targets_[column_];
            const std::size_t part = std::min(piece.size(), target.size());
            if (part == 0) continue; // an empty column (no data to copy into)
            if (mapped_[column_]) columnMemory::backNow(target.data(), part);
            std::memcpy(target.data(), piece.data(), part);
            target = target.subspan(part);
            piece = piece.subspan(part);
            if (!target.empty()) break;
        }
    }

    /// The tree and record, once the decoder has handed over the whole body.
    std::expected<Snapshot::Contents, SnapshotError> finish() {
        while (state_ == State::columns && column_ < targets_.size() && targets_[column_].empty())
            ++column_;
        if (state_ == State::fields || state_ == State::bad) return failure(Kind::truncated);
        if (state_ == State::columns && column_ < targets_.size()) return failure(Kind::truncated);
        FileTree::Columns& c = columns_;
        toNativeOrder(std::span(c.parents));
        toNativeOrder(std::span(c.firstChildren));
        toNativeOrder(std::span(c.nextSiblings));
        toNativeOrder(std::span(c.sizes));
        toNativeOrder(std::span(c.mtimes));
        toNativeOrder(std::span(c.inodes));
        toNativeOrder(std::span(c.flagBits));
        toNativeOrder(std::span(c.nameOffsets));
        toNativeOrder(std::span(c.nameLengths));
        if (!isWellFormed(c)) return failure(Kind::truncated);
        Snapshot::Contents contents{FileTree(repairedUtf8(rootPath_), FileTree::empty), {}};
        contents.tree.mutableColumns() = std::move(columns_);
        contents.meta = {contents.tree.rootPath(), scannedAt_, eventID_};
        return contents;
    }

private:
    enum class State { fields, columns, done, bad };

    /// Reads the fields once `fields_` holds fieldsSize_ bytes: first the path's length, which
    /// gives the size of the rest; then the rest, which sizes the columns. `after` bytes of
    /// the body follow.
    void readFields(std::uint64_t after) {
        Snapshot::Reader in(fields_);
        const std::uint32_t pathLength = *in.scalar<std::uint32_t>();
        if (fieldsSize_ == sizeof pathLength) {
            constexpr std::size_t rest = 8 + 8 + 4 + 8;
            if (pathLength > after || after - pathLength < rest) {
                state_ = State::bad;
                return;
            }
            fieldsSize_ += pathLength + rest;
            return;
        }
        rootPath_.assign(reinterpret_cast<const char*>(fields_.data()) + sizeof pathLength,
                         pathLength);
        Snapshot::Reader tail{
            std::span<const std::uint8_t>(fields_).subspan(sizeof pathLength + pathLength)};
        scannedAt_ = *tail.scalar<double>();
        eventID_ = *tail.scalar<std::uint64_t>();
        const std::uint32_t count = *tail.scalar<std::uint32_t>();
        const std::uint64_t nameBytes = *tail.scalar<std::uint64_t>();
        constexpr std::uint64_t perNode = 4 + 4 + 4 + 8 + 8 + 8 + 2 + 4 + 2;
        if (count == 0 || count == FileTree::none ||
            nameBytes > std::numeric_limits<std::uint32_t>::max() ||
            std::uint64_t{count} * perNode + nameBytes > after || !isAbsolutePath(rootPath_)) {
            state_ = State::bad;
            return;
        }
        try {
            allocate(count, static_cast<std::size_t>(nameBytes));
        } catch (const std::bad_alloc&) { // a damaged body that claims more than there is room for
            columns_ = {};
            state_ = State::bad;
            return;
        }
        targets_ = columnBytes(columns_);
        for (std::size_t i = 0; i < targets_.size(); ++i)
            mapped_[i] = targets_[i].size() >= columnMemory::mappedThreshold;
        state_ = State::columns;
    }

    /// Room for the stored values, taken without zeroing; huge pages where they fit. Pages
    /// are backed as the values arrive, so a damaged count costs address space only. So does
    /// the room to grow beyond them: a catch-up that adds nodes to the loaded tree appends in
    /// place instead of copying every column for its first node.
    void allocate(std::size_t n, std::size_t nameBytes) {
        const auto size = [](auto& column, std::size_t count) {
            column.reserve(count + count / 16 + 4096);
            columnMemory::preferHugePages(column.data(), count * sizeof column[0]);
            column.resize(count);
        };
        FileTree::Columns& c = columns_;
        size(c.parents, n);
        size(c.firstChildren, n);
        size(c.nextSiblings, n);
        size(c.sizes, n);
        size(c.mtimes, n);
        size(c.inodes, n);
        size(c.flagBits, n);
        size(c.nameOffsets, n);
        size(c.nameLengths, n);
        size(c.names, nameBytes);
    }

    State state_ = State::fields;
    std::uint64_t left_; ///< body bytes not yet taken
    std::vector<std::uint8_t> fields_;
    std::size_t fieldsSize_ = sizeof(std::uint32_t);
    std::string rootPath_;
    double scannedAt_ = 0;
    std::uint64_t eventID_ = 0;
    FileTree::Columns columns_;
    std::array<std::span<std::uint8_t>, 10> targets_;
    std::array<bool, 10> mapped_{}; ///< whether a column's room is a mapping of its own
    std::size_t column_ = 0;
};

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
    BodyParser body(*bodySize);
    const auto take = [&body](std::span<const std::uint8_t> piece) { body.take(piece); };
    if (!lzfse::decodeTo(stream, take, decodeThreads())) return failure(Kind::decompressionFailed);
    return body.finish();
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
