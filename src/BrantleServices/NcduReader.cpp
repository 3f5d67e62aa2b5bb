#include "BrantleServices/NcduReader.hpp"

#include "BrantleServices/NcduText.hpp"

#include <simdjson.h>

#include <optional>
#include <sys/stat.h>
#include <unordered_set>

namespace brantle {

namespace {

namespace od = simdjson::ondemand;

/// Nesting the parser accepts: far deeper than any real path, shallow enough for the stack.
constexpr std::size_t maxDepth = 4096;

/// A fault in the export's structure, as one line for the user.
struct Malformed {
    std::string message;
};

/// One entry's fields; the name points into the parser's buffer until the next string.
struct Entry {
    std::string_view name;
    std::uint64_t dsize = 0;
    std::uint64_t inode = 0;
    std::uint64_t device = 0;
    std::uint64_t links = 0;
    std::int64_t mtime = 0;
    std::optional<std::uint64_t> mode;
    std::string_view excluded;
    bool hasName = false;
    bool hardLink = false;
    bool readError = false;
    bool notRegular = false;
};

struct InodeKey {
    std::uint64_t device;
    std::uint64_t inode;
    friend bool operator==(const InodeKey&, const InodeKey&) = default;
};

struct InodeHash {
    std::size_t operator()(const InodeKey& key) const {
        return std::hash<std::uint64_t>()(key.inode * 0x9E3779B97F4A7C15ull ^ key.device);
    }
};

/// Builds the tree while the parser walks the export once.
class Importer {
public:
    explicit Importer(bool escapedBytes) : escapedBytes_(escapedBytes) {}

    Snapshot::Contents run(od::document& document, std::size_t bytes) {
        std::size_t index = 0;
        for (auto element : document.get_array()) {
            od::value value = element.value();
            if (index == 0 && value.get_uint64() != 1)
                throw Malformed{"unsupported ncdu export version (only 1 is known)"};
            if (index == 1) (void)value.get_uint64();
            if (index == 2) readHeader(value.get_object());
            if (index == 3) {
                if (value.type() != od::json_type::array)
                    throw Malformed{"the exported root is not a folder"};
                tree_.reserve(bytes / 64);
                readFolder(value.get_array(), std::nullopt, 0);
            }
            ++index;
        }
        if (document.current_location().error() == simdjson::SUCCESS)
            throw Malformed{"text follows the export"};
        if (index < 4) throw Malformed{"the export holds no tree"};
        tree_.propagateSizes();
        return {std::move(tree_), meta_};
    }

private:
    static constexpr double latestTimestamp = 1e12;

    void readHeader(od::object header) {
        for (auto field : header) {
            if (field.unescaped_key().value() != "timestamp") continue;
            // A time no clock can show is unknown, not a number to carry into every export.
            const double seconds = field.value().get_double();
            meta_.scannedAt = seconds >= 0 && seconds < latestTimestamp ? seconds : 0;
        }
    }

    /// A folder: its own entry first, then its children (objects, or arrays for folders).
    void readFolder(od::array folder, std::optional<NodeId> parent, std::uint64_t device) {
        bool first = true;
        std::optional<NodeId> node;
        for (auto element : folder) {
            od::value value = element.value();
            if (first) {
                const Entry entry = readEntry(value.get_object(), device);
                device = entry.device;
                node = parent ? addChild(*parent, entry, true) : addRoot(entry);
                first = false;
            } else if (!node || tree_.flags(*node).contains(NodeFlags::mountPoint)) {
                continue; // left out: its contents are too
            } else if (value.type() == od::json_type::array) {
                readFolder(value.get_array(), node, device);
            } else {
                addChild(*node, readEntry(value.get_object(), device), false);
            }
        }
        if (first) throw Malformed{"a folder without its own entry"};
    }

    Entry readEntry(od::object object, std::uint64_t parentDevice) {
        Entry entry;
        entry.device = parentDevice;
        for (auto field : object) {
            const std::string_view key = field.unescaped_key();
            od::value value = field.value();
            if (key == "name") {
                entry.name = value.get_string();
                entry.hasName = true;
            } else if (key == "dsize") {
                entry.dsize = value.get_uint64();
            } else if (key == "ino") {
                entry.inode = value.get_uint64();
            } else if (key == "dev") {
                entry.device = value.get_uint64();
            } else if (key == "nlink") {
                entry.links = value.get_uint64();
            } else if (key == "mtime") {
                entry.mtime = value.get_int64();
            } else if (key == "mode") {
                entry.mode = value.get_uint64();
            } else if (key == "hlnkc") {
                entry.hardLink = value.get_bool();
            } else if (key == "read_error") {
                entry.readError = value.get_bool();
            } else if (key == "notreg") {
                entry.notRegular = value.get_bool();
            } else if (key == "excluded") {
                entry.excluded = value.get_string();
            }
        }
        if (!entry.hasName || entry.name.empty()) throw Malformed{"an entry without a name"};
        return entry;
    }

    NodeId addRoot(const Entry& entry) {
        tree_ = FileTree(nameOf(entry));
        NodeFlags flags = NodeFlags::directory;
        if (entry.readError) flags |= NodeFlags::unreadable;
        tree_.setFlags(FileTree::root, flags);
        tree_.update(FileTree::root, 0, entry.mtime);
        tree_.setSize(FileTree::root, count(entry.dsize));
        tree_.mutableColumns().inodes[FileTree::root] = entry.inode;
        return FileTree::root;
    }

    /// The node made for the entry, or no value when the export says it was left out.
    std::optional<NodeId> addChild(NodeId parent, const Entry& entry, bool isFolder) {
        const std::string_view name = nameOf(entry);
        if (name == "." || name == ".." ||
            name.find_first_of(std::string_view("/\0", 2)) != std::string_view::npos)
            throw Malformed{"an entry named \"" + std::string(name) + "\" inside a folder"};
        if (tree_.count() >= FileTree::none - 1) throw Malformed{"more entries than a tree holds"};
        if (!entry.excluded.empty()) {
            if (entry.excluded != "otherfs" && entry.excluded != "kernfs") return std::nullopt;
            return tree_.append(parent, name, 0, entry.mtime, entry.inode,
                                NodeFlags::directory | NodeFlags::mountPoint);
        }
        NodeFlags flags;
        if (isFolder) flags |= NodeFlags::directory;
        if (entry.readError) flags |= NodeFlags::unreadable;
        if (!isFolder && (entry.mode ? S_ISLNK(*entry.mode) : entry.notRegular))
            flags |= NodeFlags::symlink;
        std::uint64_t size = entry.dsize;
        if (!isFolder && (entry.hardLink || entry.links > 1) &&
            !seenLinks_.insert({entry.device, entry.inode}).second) {
            size = 0;
            flags |= NodeFlags::hardlinkDuplicate;
        }
        const NodeId node = tree_.append(parent, name, size, entry.mtime, entry.inode, flags);
        if (isFolder)
            tree_.setSize(node, count(size));
        else
            count(size);
        return node;
    }

    /// The size, once the running total is known to hold it: the folders' sums never overflow.
    std::uint64_t count(std::uint64_t size) {
        if (__builtin_add_overflow(total_, size, &total_))
            throw Malformed{"the sizes add up to more than 2^64 bytes"};
        return size;
    }

    std::string_view nameOf(const Entry& entry) {
        if (!escapedBytes_) return entry.name;
        name_.clear();
        ncdu::restoreInvalidBytes(entry.name, name_);
        return name_;
    }

    bool escapedBytes_;
    FileTree tree_{"/"};
    SnapshotMeta meta_;
    std::unordered_set<InodeKey, InodeHash> seenLinks_;
    std::uint64_t total_ = 0;
    std::string name_;
};

} // namespace

std::expected<Snapshot::Contents, std::string> NcduReader::read(std::string_view json) {
    std::string escaped;
    const bool invalidBytes = !simdjson::validate_utf8(json.data(), json.size());
    if (invalidBytes) escaped = ncdu::escapeInvalidBytes(json);
    const simdjson::padded_string padded(invalidBytes ? std::string_view(escaped) : json);
    od::parser parser;
    if (parser.allocate(padded.size(), maxDepth) != simdjson::SUCCESS)
        return std::unexpected("not an ncdu export: too large to parse");
    try {
        od::document document = parser.iterate(padded);
        auto contents = Importer(invalidBytes).run(document, json.size());
        contents.meta.rootPath = contents.tree.rootPath();
        return contents;
    } catch (const simdjson::simdjson_error& error) {
        return std::unexpected(std::string("not an ncdu export: malformed JSON (") + error.what() +
                               ")");
    } catch (const Malformed& fault) {
        return std::unexpected("not an ncdu export: " + fault.message);
    }
}

std::expected<Snapshot::Contents, std::string> NcduReader::load(const std::string& path) {
    simdjson::padded_string contents;
    if (const auto error = simdjson::padded_string::load(path).get(contents))
        return std::unexpected(std::string("cannot read: ") + simdjson::error_message(error));
    return read(contents);
}

} // namespace brantle
