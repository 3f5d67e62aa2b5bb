#include "BrantleCore/BulkAttributes.hpp"

#include <algorithm>
#include <cstring>

namespace brantle::BulkAttributes {

namespace {

/// Reads fixed-size fields from one entry, refusing to go past its end.
class FieldCursor {
public:
    FieldCursor(const std::byte* begin, const std::byte* end) : at_(begin), end_(end) {}

    template <typename T> bool read(T& value) {
        if (static_cast<std::size_t>(end_ - at_) < sizeof(T)) return false;
        std::memcpy(&value, at_, sizeof(T));
        at_ += sizeof(T);
        return true;
    }
    bool skip(std::size_t bytes) {
        if (static_cast<std::size_t>(end_ - at_) < bytes) return false;
        at_ += bytes;
        return true;
    }
    const std::byte* position() const { return at_; }

private:
    const std::byte* at_;
    const std::byte* end_;
};

struct ReturnedSet {
    std::uint32_t common = 0, volume = 0, directory = 0, file = 0, fork = 0;
};

/// The name an attribute reference at `reference` points to, without its terminating NUL.
bool readName(FieldCursor& cursor, const std::byte* entryEnd, std::string_view& name) {
    const std::byte* reference = cursor.position();
    std::int32_t offset = 0;
    std::uint32_t length = 0;
    if (!cursor.read(offset) || !cursor.read(length)) return false;
    const std::ptrdiff_t room = entryEnd - reference;
    if (offset < 0 || offset > room || length > static_cast<std::uint64_t>(room - offset))
        return false;
    const char* text = reinterpret_cast<const char*>(reference + offset);
    const std::size_t end = std::find(text, text + length, '\0') - text;
    name = std::string_view(text, end);
    return true;
}

bool readEntry(const std::byte* begin, const std::byte* end, DirEntryList& out) {
    FieldCursor cursor(begin, end);
    ReturnedSet set;
    std::uint32_t length = 0;
    if (!cursor.read(length) || !cursor.read(set.common) || !cursor.read(set.volume) ||
        !cursor.read(set.directory) || !cursor.read(set.file) || !cursor.read(set.fork))
        return false;

    DirEntry entry;
    std::string_view name;
    std::uint32_t word = 0;
    if (set.common & commonError) {
        if (!cursor.read(word)) return false;
        entry.error = static_cast<std::int32_t>(word);
    }
    if ((set.common & commonName) && !readName(cursor, end, name)) return false;
    if (set.common & commonObjectType) {
        if (!cursor.read(word)) return false;
        entry.isDir = word == objectTypeDirectory;
        entry.isSymlink = word == objectTypeSymlink;
    }
    if (set.common & commonModificationTime) {
        std::int64_t seconds = 0;
        if (!cursor.read(seconds) || !cursor.skip(8)) return false;
        entry.mtime = seconds;
    }
    if (set.common & commonFlags) {
        if (!cursor.read(word)) return false;
        entry.dataless = (word & datalessFlag) != 0;
    }
    if ((set.common & commonFileId) && !cursor.read(entry.inode)) return false;
    if ((set.file & fileLinkCount) && !cursor.read(entry.linkCount)) return false;
    if (set.file & fileAllocatedSize) {
        std::int64_t bytes = 0;
        if (!cursor.read(bytes)) return false;
        entry.allocSize = bytes < 0 ? 0 : static_cast<std::uint64_t>(bytes);
    }
    out.add(entry, name);
    return true;
}

} // namespace

bool appendEntries(std::span<const std::byte> buffer, std::uint32_t count, DirEntryList& out) {
    std::size_t offset = 0;
    for (std::uint32_t i = 0; i < count; ++i) {
        std::uint32_t length = 0;
        if (buffer.size() - offset < sizeof length) return false;
        std::memcpy(&length, buffer.data() + offset, sizeof length);
        if (length < sizeof length || length > buffer.size() - offset) return false;
        const std::byte* begin = buffer.data() + offset;
        if (!readEntry(begin, begin + length, out)) return false;
        offset += length;
    }
    return true;
}

} // namespace brantle::BulkAttributes
