#include "BrantleCore/BulkAttributes.hpp"

#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <cstring>
#include <vector>

using brantle::DirEntry;
using brantle::DirEntryList;
namespace BulkAttributes = brantle::BulkAttributes;

namespace {

/// Packs entries the way getattrlistbulk lays them out: fields 4-byte aligned, 64-bit values
/// possibly unaligned, the name stored after the fixed fields and padded to 4 bytes.
class PackedBuffer {
public:
    struct Entry {
        std::uint32_t common = BulkAttributes::commonReturnedAttributes |
                               BulkAttributes::commonName | BulkAttributes::commonObjectType |
                               BulkAttributes::commonModificationTime |
                               BulkAttributes::commonFlags | BulkAttributes::commonFileId;
        std::uint32_t file = BulkAttributes::fileLinkCount | BulkAttributes::fileAllocatedSize;
        std::uint32_t error = 0;
        std::string name;
        std::uint32_t objectType = 1;
        std::int64_t seconds = 0;
        std::uint32_t flags = 0;
        std::uint64_t fileId = 0;
        std::uint32_t linkCount = 1;
        std::int64_t allocated = 0;
    };

    void add(const Entry& e) {
        std::vector<std::byte> fields(sizeof(std::uint32_t)); // length, patched below
        std::size_t nameReference = 0;
        for (std::uint32_t word : {e.common, 0u, 0u, e.file, 0u})
            put(fields, word);
        if (e.common & BulkAttributes::commonError) put(fields, e.error);
        if (e.common & BulkAttributes::commonName) {
            nameReference = fields.size();
            put(fields, std::int32_t{0});
            put(fields, static_cast<std::uint32_t>(e.name.size() + 1));
        }
        if (e.common & BulkAttributes::commonObjectType) put(fields, e.objectType);
        if (e.common & BulkAttributes::commonModificationTime) {
            put(fields, e.seconds);
            put(fields, std::int64_t{123456789});
        }
        if (e.common & BulkAttributes::commonFlags) put(fields, e.flags);
        if (e.common & BulkAttributes::commonFileId) put(fields, e.fileId);
        if (e.file & BulkAttributes::fileLinkCount) put(fields, e.linkCount);
        if (e.file & BulkAttributes::fileAllocatedSize) put(fields, e.allocated);
        if (e.common & BulkAttributes::commonName) {
            const auto offset = static_cast<std::int32_t>(fields.size() - nameReference);
            std::memcpy(fields.data() + nameReference, &offset, sizeof offset);
            for (char c : e.name)
                fields.push_back(static_cast<std::byte>(c));
            fields.push_back(std::byte{0});
        }
        while (fields.size() % 4)
            fields.push_back(std::byte{0});
        const auto length = static_cast<std::uint32_t>(fields.size());
        std::memcpy(fields.data(), &length, sizeof length);
        bytes.insert(bytes.end(), fields.begin(), fields.end());
        ++count;
    }

    std::vector<std::byte> bytes;
    std::uint32_t count = 0;

private:
    template <typename T> static void put(std::vector<std::byte>& out, T value) {
        for (const std::byte b : std::bit_cast<std::array<std::byte, sizeof value>>(value))
            out.push_back(b);
    }
};

} // namespace

TEST(BulkAttributes, WalksFilesFoldersLinksAndErrors) {
    PackedBuffer buffer;
    buffer.add({.name = "photo.heic",
                .objectType = 1,
                .seconds = 1'700'000'000,
                .flags = BulkAttributes::datalessFlag | 0x20,
                .fileId = 77,
                .linkCount = 3,
                .allocated = 8192});
    PackedBuffer::Entry folder{.name = "Library", .objectType = 2, .seconds = 5, .fileId = 78};
    folder.file = 0; // folders return no file attributes
    buffer.add(folder);
    buffer.add({.name = "link", .objectType = 5, .fileId = 79, .allocated = -4096});
    PackedBuffer::Entry failed{.error = 13, .name = "secret", .objectType = 2};
    failed.common = BulkAttributes::commonReturnedAttributes | BulkAttributes::commonError |
                    BulkAttributes::commonName | BulkAttributes::commonObjectType;
    failed.file = 0;
    buffer.add(failed);
    buffer.bytes.resize(buffer.bytes.size() + 64); // the kernel's buffer is larger than its use

    DirEntryList list;
    ASSERT_TRUE(BulkAttributes::appendEntries(buffer.bytes, buffer.count, list));
    const auto entries = list.entries();
    ASSERT_EQ(entries.size(), 4u);

    EXPECT_EQ(entries[0].name, "photo.heic");
    EXPECT_FALSE(entries[0].isDir || entries[0].isSymlink);
    EXPECT_TRUE(entries[0].dataless);
    EXPECT_EQ(entries[0].mtime, 1'700'000'000);
    EXPECT_EQ(entries[0].inode, 77u);
    EXPECT_EQ(entries[0].linkCount, 3u);
    EXPECT_EQ(entries[0].allocSize, 8192u);
    EXPECT_EQ(entries[0].error, 0);

    EXPECT_EQ(entries[1].name, "Library");
    EXPECT_TRUE(entries[1].isDir);
    EXPECT_FALSE(entries[1].dataless);
    EXPECT_EQ(entries[1].linkCount, 1u);
    EXPECT_EQ(entries[1].allocSize, 0u);

    EXPECT_TRUE(entries[2].isSymlink);
    EXPECT_EQ(entries[2].allocSize, 0u) << "a negative size is clamped";

    EXPECT_EQ(entries[3].name, "secret");
    EXPECT_EQ(entries[3].error, 13);
    EXPECT_TRUE(entries[3].isDir);
    EXPECT_EQ(entries[3].inode, 0u);
}

TEST(BulkAttributes, RefusesEntriesThatDoNotFit) {
    PackedBuffer good;
    good.add({.name = "a"});
    DirEntryList list;

    // More entries claimed than packed: the next length word is missing.
    EXPECT_FALSE(BulkAttributes::appendEntries(good.bytes, 2, list));

    // An entry longer than the buffer.
    const std::vector<std::byte> truncated(good.bytes.begin(), good.bytes.end() - 4);
    list.clear();
    EXPECT_FALSE(BulkAttributes::appendEntries(truncated, 1, list));

    // A name reference pointing past the entry.
    auto wild = good.bytes;
    const std::int32_t far = 4000;
    std::memcpy(wild.data() + 24, &far, sizeof far);
    list.clear();
    EXPECT_FALSE(BulkAttributes::appendEntries(wild, 1, list));

    // A zero length would never advance.
    std::vector<std::byte> zeros(64);
    list.clear();
    EXPECT_FALSE(BulkAttributes::appendEntries(zeros, 1, list));

    list.clear();
    EXPECT_TRUE(BulkAttributes::appendEntries(good.bytes, 1, list));
    EXPECT_EQ(list.entries()[0].name, "a");
}
