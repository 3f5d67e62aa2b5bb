#pragma once

#include "BrantleCore/FileTree.hpp"

#include <array>
#include <bit>
#include <cstdint>
#include <cstring>
#include <expected>
#include <span>
#include <string>
#include <string_view>
#include <system_error>
#include <variant>
#include <vector>

namespace brantle {

/// The record stored with a snapshot's tree.
struct SnapshotMeta {
    std::string rootPath;        ///< the scanned root, as the tree's rootPath
    double scannedAt = 0;        ///< when the scan finished, seconds since 1970-01-01 UTC
    std::uint64_t fsEventID = 0; ///< the change-history id current when the scan was taken

    friend bool operator==(const SnapshotMeta&, const SnapshotMeta&) = default;
};

/// Why bytes are not a usable snapshot.
struct SnapshotError {
    enum class Kind {
        unsupportedVersion, ///< the version field is not 1 (`version` holds it)
        badMagic,           ///< the first four bytes are not "BRS1"
        truncated,          ///< the bytes end before a field they must hold, or the columns
                            ///< contradict each other (they do not hold the tree announced)
        decompressionFailed ///< the body is not a valid LZFSE stream
    };
    Kind kind = Kind::truncated;
    std::uint16_t version = 0;

    friend bool operator==(const SnapshotError&, const SnapshotError&) = default;
};

/// One short English line naming the error.
std::string describe(const SnapshotError& error);

/// A finished FileTree and its SnapshotMeta as one compact file: "BRS1", the version as two
/// little-endian bytes, then one LZFSE stream of the body (root path, scan time, event id,
/// node count, name bytes, then the ten columns of the compacted tree as raw arrays).
class Snapshot {
public:
    static constexpr std::array<std::uint8_t, 4> magic{'B', 'R', 'S', '1'};
    /// 2: folders' sizes hold their own blocks where those count.
    static constexpr std::uint16_t formatVersion = 2;
    static constexpr std::size_t headerSize = 6;

    struct Contents {
        FileTree tree;
        SnapshotMeta meta;
    };
    /// A file that could not be read (the system's error) or is not a usable snapshot.
    using LoadError = std::variant<std::error_code, SnapshotError>;

    /// The file's bytes for `tree`, compacted first unless it is compact. The tree's root path
    /// is written;
    /// `meta.rootPath` is expected to be the same. The tree must not change meanwhile.
    static std::vector<std::uint8_t> encode(const FileTree& tree, const SnapshotMeta& meta);

    /// The tree and record held by `data`, or the first fault found; nothing partial is kept.
    static std::expected<Contents, SnapshotError> decode(std::span<const std::uint8_t> data);

    /// Creates the file's folder as needed and replaces the file atomically: a reader sees the
    /// old snapshot or the new one, never a part of one, even if the program dies meanwhile.
    static std::expected<void, std::error_code> save(const FileTree& tree, const SnapshotMeta& meta,
                                                     const std::string& path);

    /// Reads the file (memory-mapped) and decodes it.
    static std::expected<Contents, LoadError> load(const std::string& path);

    class Writer;
    class Reader;
};

/// One line for a load failure: the system's message or the snapshot error.
std::string describe(const Snapshot::LoadError& error);

/// Appends little-endian scalars, length-prefixed strings and raw arrays to a byte buffer.
class Snapshot::Writer {
public:
    explicit Writer(std::size_t capacity) { bytes_.reserve(capacity); }

    template <class T> void scalar(T value) { array(std::span<const T>(&value, 1)); }

    /// A 32-bit byte length, then the bytes.
    void string(std::string_view text) {
        scalar(static_cast<std::uint32_t>(text.size()));
        append(text.data(), text.size());
    }

    template <class T> void array(std::span<const T> values) {
        static_assert(std::is_trivially_copyable_v<T>);
        if constexpr (std::endian::native == std::endian::little || sizeof(T) == 1) {
            append(values.data(), values.size_bytes());
        } else {
            for (const T value : values) {
                const auto swapped = std::byteswap(std::bit_cast<Unsigned<T>>(value));
                append(&swapped, sizeof swapped);
            }
        }
    }

    std::vector<std::uint8_t>& bytes() { return bytes_; }

private:
    template <class T>
    using Unsigned =
        std::conditional_t<sizeof(T) == 8, std::uint64_t,
                           std::conditional_t<sizeof(T) == 4, std::uint32_t, std::uint16_t>>;

    void append(const void* data, std::size_t size) {
        const auto* first = static_cast<const std::uint8_t*>(data);
        bytes_.insert(bytes_.end(), first, first + size);
    }

    std::vector<std::uint8_t> bytes_;
};

/// Takes little-endian scalars and strings from the front of a byte span; fails with
/// `truncated` when fewer bytes remain than asked for.
class Snapshot::Reader {
public:
    explicit Reader(std::span<const std::uint8_t> bytes) : bytes_(bytes) {}

    template <class T> std::expected<T, SnapshotError> scalar() {
        if (bytes_.size() < sizeof(T)) return std::unexpected(truncated());
        T value;
        copy(&value, 1);
        return value;
    }

    /// A 32-bit byte length, then that many bytes (not checked for UTF-8).
    std::expected<std::string, SnapshotError> string() {
        const auto length = scalar<std::uint32_t>();
        if (!length) return std::unexpected(length.error());
        if (bytes_.size() < *length) return std::unexpected(truncated());
        std::string text(reinterpret_cast<const char*>(bytes_.data()), *length);
        bytes_ = bytes_.subspan(*length);
        return text;
    }

    std::size_t remaining() const { return bytes_.size(); }

private:
    static SnapshotError truncated() { return {SnapshotError::Kind::truncated}; }

    template <class T> void copy(T* out, std::size_t count) {
        static_assert(std::is_trivially_copyable_v<T>);
        if (count != 0) std::memcpy(out, bytes_.data(), count * sizeof(T));
        if constexpr (std::endian::native == std::endian::big && sizeof(T) > 1) {
            for (std::size_t i = 0; i < count; ++i)
                out[i] = swapped(out[i]);
        }
        bytes_ = bytes_.subspan(count * sizeof(T));
    }

    template <class T> static T swapped(T value) {
        using U =
            std::conditional_t<sizeof(T) == 8, std::uint64_t,
                               std::conditional_t<sizeof(T) == 4, std::uint32_t, std::uint16_t>>;
        return std::bit_cast<T>(std::byteswap(std::bit_cast<U>(value)));
    }

    std::span<const std::uint8_t> bytes_;
};

} // namespace brantle
