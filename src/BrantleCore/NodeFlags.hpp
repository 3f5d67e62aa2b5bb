#pragma once

#include <cstdint>

namespace brantle {

/// The 16-bit flag set every tree node carries. Bit values are stored in snapshots:
/// never renumber them.
struct NodeFlags {
    std::uint16_t rawValue = 0;

    constexpr NodeFlags() = default;
    constexpr explicit NodeFlags(std::uint16_t raw) : rawValue(raw) {}

    static const NodeFlags directory;
    static const NodeFlags package;
    static const NodeFlags symlink;
    static const NodeFlags dataless;
    static const NodeFlags unreadable;
    static const NodeFlags hardlinkDuplicate;
    static const NodeFlags mountPoint;
    static const NodeFlags dead;

    constexpr bool contains(NodeFlags other) const {
        return (rawValue & other.rawValue) == other.rawValue;
    }
    constexpr bool isEmpty() const { return rawValue == 0; }
    constexpr void insert(NodeFlags other) { rawValue |= other.rawValue; }
    constexpr void remove(NodeFlags other) {
        rawValue = static_cast<std::uint16_t>(rawValue & ~other.rawValue);
    }

    friend constexpr NodeFlags operator|(NodeFlags a, NodeFlags b) {
        return NodeFlags(static_cast<std::uint16_t>(a.rawValue | b.rawValue));
    }
    friend constexpr NodeFlags operator&(NodeFlags a, NodeFlags b) {
        return NodeFlags(static_cast<std::uint16_t>(a.rawValue & b.rawValue));
    }
    constexpr NodeFlags& operator|=(NodeFlags other) {
        insert(other);
        return *this;
    }
    friend constexpr bool operator==(NodeFlags, NodeFlags) = default;
};

inline constexpr NodeFlags NodeFlags::directory{1};
inline constexpr NodeFlags NodeFlags::package{2};
inline constexpr NodeFlags NodeFlags::symlink{4};
inline constexpr NodeFlags NodeFlags::dataless{8};
inline constexpr NodeFlags NodeFlags::unreadable{16};
inline constexpr NodeFlags NodeFlags::hardlinkDuplicate{32};
inline constexpr NodeFlags NodeFlags::mountPoint{64};
inline constexpr NodeFlags NodeFlags::dead{128};

} // namespace brantle
