#pragma once

#include "BrantleCore/DirEntry.hpp"

#include <cstdint>
#include <expected>
#include <memory>
#include <optional>
#include <span>
#include <string_view>
#include <sys/stat.h>

namespace brantle {

/// Reads one open folder into entries in bulk: getattrlistbulk on macOS; getdents64 plus one
/// statx per entry, relative to the folder's descriptor, on Linux. One per worker thread.
class DirectoryReader {
public:
    static constexpr std::size_t bufferSize = 262144;

    /// The system error number of a failed bulk read.
    struct ReadError {
        std::int32_t code = 0;
    };

    DirectoryReader();
    DirectoryReader(const DirectoryReader&) = delete;
    DirectoryReader& operator=(const DirectoryReader&) = delete;

    /// Every entry of the folder open at `fd` except "." and "..". The span and the names
    /// stay valid until the next read on this reader.
    std::expected<std::span<const DirEntry>, ReadError> read(int fd);

private:
    std::unique_ptr<std::byte[]> buffer_;
    DirEntryList entries_;
};

/// Opens a folder read-only, directory-only, close-on-exec; -1 with errno on failure.
/// Paths of PATH_MAX bytes or more are opened in steps relative to an ancestor's descriptor.
int openDirectory(std::string_view path);

/// lstat of any path, a path of PATH_MAX bytes or more relative to its folder's descriptor.
bool statAt(std::string_view path, struct stat& info);

/// The allocated bytes of the entry at `path` (not followed), or no value when it is gone.
std::optional<std::uint64_t> allocatedSize(std::string_view path);

} // namespace brantle
