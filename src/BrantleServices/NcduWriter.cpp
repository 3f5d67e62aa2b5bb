#include "BrantleServices/NcduWriter.hpp"

#include "BrantleServices/NcduText.hpp"

#include <QSaveFile>

#include <cerrno>
#include <charconv>
#include <unordered_map>

namespace brantle {

namespace {

/// Expected bytes per entry, for reserving the output once.
constexpr std::size_t bytesPerEntry = 96;

class Exporter {
public:
    explicit Exporter(const FileTree& tree) : tree_(tree), flags_(tree.columns().flagBits) {
        collectLinkSizes();
        out_.reserve(tree.count() * bytesPerEntry);
    }

    std::string run(const SnapshotMeta& meta) {
        out_ += "[1,2,{\"progname\":\"brantle\",\"progver\":\"1\",\"timestamp\":";
        const bool representable = meta.scannedAt > 0 && meta.scannedAt < 1e18;
        number(representable ? static_cast<std::uint64_t>(meta.scannedAt) : 0);
        out_ += "},\n";
        writeFolder(FileTree::root);
        out_ += "]\n";
        return std::move(out_);
    }

private:
    bool has(NodeId id, NodeFlags flag) const { return (flags_[id] & flag.rawValue) != 0; }

    /// The counted size of every inode that also has duplicate names, which carry size 0.
    void collectLinkSizes() {
        for (NodeId id = 1; id < tree_.count(); ++id) {
            if (has(id, NodeFlags::hardlinkDuplicate)) linkSizes_.emplace(tree_.inode(id), 0);
        }
        if (linkSizes_.empty()) return;
        constexpr auto notCounted =
            NodeFlags::directory | NodeFlags::hardlinkDuplicate | NodeFlags::dead;
        for (NodeId id = 1; id < tree_.count(); ++id) {
            if ((flags_[id] & notCounted.rawValue) != 0) continue;
            const auto link = linkSizes_.find(tree_.inode(id));
            if (link != linkSizes_.end()) link->second = tree_.size(id);
        }
    }

    void writeFolder(NodeId folder) {
        out_ += '[';
        writeEntry(folder);
        for (NodeId child = tree_.firstChild(folder); child != FileTree::none;
             child = tree_.nextSibling(child)) {
            if (has(child, NodeFlags::dead)) continue;
            out_ += ",\n";
            if (has(child, NodeFlags::directory) && !has(child, NodeFlags::mountPoint))
                writeFolder(child);
            else
                writeEntry(child);
        }
        out_ += ']';
    }

    void writeEntry(NodeId id) {
        out_ += "{\"name\":\"";
        ncdu::appendEscaped(
            id == FileTree::root ? std::string_view(tree_.rootPath()) : tree_.nameBytes(id), out_);
        out_ += '"';
        const bool folder = has(id, NodeFlags::directory);
        const auto link = linkSizes_.find(tree_.inode(id));
        const bool linked = !folder && link != linkSizes_.end();
        field("dsize", folder ? tree_.ownSize(id) : linked ? link->second : tree_.size(id));
        if (tree_.inode(id) != 0) field("ino", tree_.inode(id));
        if (tree_.mtime(id) > 0) field("mtime", static_cast<std::uint64_t>(tree_.mtime(id)));
        if (linked) out_ += ",\"hlnkc\":true";
        if (has(id, NodeFlags::symlink)) out_ += ",\"notreg\":true";
        if (has(id, NodeFlags::unreadable)) out_ += ",\"read_error\":true";
        if (id != FileTree::root && has(id, NodeFlags::mountPoint))
            out_ += ",\"excluded\":\"otherfs\"";
        out_ += '}';
    }

    void field(const char* name, std::uint64_t value) {
        out_ += ",\"";
        out_ += name;
        out_ += "\":";
        number(value);
    }

    void number(std::uint64_t value) {
        char digits[24];
        const auto end = std::to_chars(digits, digits + sizeof digits, value).ptr;
        out_.append(digits, end);
    }

    const FileTree& tree_;
    const FileTree::Column<std::uint16_t>& flags_;
    std::unordered_map<std::uint64_t, std::uint64_t> linkSizes_;
    std::string out_;
};

} // namespace

std::string NcduWriter::write(const FileTree& tree, const SnapshotMeta& meta) {
    return Exporter(tree).run(meta);
}

std::expected<void, std::error_code>
NcduWriter::save(const FileTree& tree, const SnapshotMeta& meta, const std::string& path) {
    const std::string text = write(tree, meta);
    QSaveFile file(QString::fromStdString(path));
    errno = 0;
    if (!file.open(QIODevice::WriteOnly) ||
        file.write(text.data(), static_cast<qint64>(text.size())) !=
            static_cast<qint64>(text.size()) ||
        !file.commit()) {
        // QSaveFile keeps no error code; the failed system call left its own in errno.
        return std::unexpected(std::error_code(errno != 0 ? errno : EIO, std::generic_category()));
    }
    return {};
}

} // namespace brantle
