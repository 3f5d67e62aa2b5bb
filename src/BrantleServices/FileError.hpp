#pragma once

#include <string>

namespace brantle {

/// A per-item removal failure: the errno value, the path it concerns and, when the system's
/// own words would mislead, the sentence to show instead.
struct FileError {
    int code;
    std::string path;
    std::string reason = {};

    /// The sentence for the user: `reason` when set, else the system's description of `code`
    /// ("No such file or directory").
    std::string description() const;
    bool operator==(const FileError&) const = default;
};

} // namespace brantle
