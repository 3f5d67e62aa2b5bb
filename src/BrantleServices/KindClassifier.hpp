#pragma once

#include "BrantleServices/FileKind.hpp"

#include <QMimeDatabase>

#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>

class QMimeType;

namespace brantle {

/// Decides a file's kind from its name with the MIME database's name rules, never reading
/// the file. Answers are kept per extension and per bare name, so a tree of a million names
/// asks the database a few thousand times at most; each question costs tens of
/// microseconds. Not shared between threads: each thread makes its own.
class KindClassifier {
public:
    /// The kind of a file named `name` (its bytes as stored, not a path). The last extension
    /// that is more than a number decides, case aside ("libz.so.1" is a library, "a.tar.gz"
    /// an archive). A name without one is matched whole when it is a word of ASCII letters,
    /// the only names the database knows whole ("Makefile", "README"); any other, such as a
    /// hashed name, is `other` at once.
    FileKind kindOf(std::string_view name);
    /// The kind a MIME type stands for, by its own name or else its nearest ancestor's.
    static FileKind kindOfType(const QMimeType& type);

    /// Longest extension looked up; a longer one is no extension.
    static constexpr std::size_t maxExtension = 16;
    /// Longest bare name looked up whole.
    static constexpr std::size_t maxBareName = 32;

private:
    struct Hash {
        using is_transparent = void;
        std::size_t operator()(std::string_view text) const {
            return std::hash<std::string_view>{}(text);
        }
    };
    using Cache = std::unordered_map<std::string, FileKind, Hash, std::equal_to<>>;

    FileKind byExtension(std::string_view lowerExtension);
    FileKind byBareName(std::string_view name);

    QMimeDatabase database_;
    Cache extensions_;
    Cache bareNames_;
};

} // namespace brantle
