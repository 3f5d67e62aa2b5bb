#include "BrantleServices/KindClassifier.hpp"

#include <QMimeType>
#include <QString>

#include <algorithm>
#include <array>
#include <optional>

namespace brantle {

namespace {

struct TypeRule {
    std::string_view type;
    FileKind kind;
    bool prefix = false;

    bool matches(std::string_view name) const {
        return prefix ? name.starts_with(type) : name == type;
    }
};

// First match wins. Office documents, e-books and packages are zip archives underneath, and
// scripts are executables: their own types come before those they inherit from.
constexpr auto typeRules = std::to_array<TypeRule>({
    {"application/vnd.openxmlformats-officedocument.", FileKind::documents, true},
    {"application/vnd.oasis.opendocument.", FileKind::documents, true},
    {"application/vnd.ms-excel", FileKind::documents, true},
    {"application/vnd.ms-powerpoint", FileKind::documents, true},
    {"application/vnd.ms-word", FileKind::documents, true},
    {"application/vnd.apple.", FileKind::documents, true},
    {"application/x-iwork-", FileKind::documents, true},
    {"application/msword", FileKind::documents},
    {"application/pdf", FileKind::documents},
    {"application/rtf", FileKind::documents},
    {"application/postscript", FileKind::documents},
    {"application/epub+zip", FileKind::documents},
    {"application/x-mobipocket-ebook", FileKind::documents},
    {"application/mbox", FileKind::documents},
    {"image/vnd.djvu", FileKind::documents},
    {"message/", FileKind::documents, true},
    {"text/plain", FileKind::documents},
    {"text/markdown", FileKind::documents},
    {"text/csv", FileKind::documents},
    {"text/calendar", FileKind::documents},
    {"text/vcard", FileKind::documents},
    {"text/x-readme", FileKind::documents},
    {"text/x-tex", FileKind::documents},
    {"text/x-log", FileKind::other},

    {"application/x-executable", FileKind::applications},
    {"application/x-pie-executable", FileKind::applications},
    {"application/x-sharedlib", FileKind::applications},
    {"application/x-object", FileKind::applications},
    {"application/x-archive", FileKind::applications}, // static libraries
    {"application/x-ms-dos-executable", FileKind::applications},
    {"application/x-msdownload", FileKind::applications},
    {"application/x-msi", FileKind::applications},
    {"application/vnd.microsoft.portable-executable", FileKind::applications},
    {"application/vnd.debian.binary-package", FileKind::applications},
    {"application/x-rpm", FileKind::applications},
    {"application/vnd.appimage", FileKind::applications},
    {"application/vnd.flatpak", FileKind::applications},
    {"application/vnd.snap", FileKind::applications},
    {"application/x-java-archive", FileKind::applications},
    {"application/vnd.android.package-archive", FileKind::applications},
    {"application/x-desktop", FileKind::applications},
    {"application/x-mach-binary", FileKind::applications},

    {"application/zip", FileKind::archives},
    {"application/gzip", FileKind::archives},
    {"application/zstd", FileKind::archives},
    {"application/x-zstd", FileKind::archives, true},
    {"application/x-tar", FileKind::archives},
    {"application/x-compressed-tar", FileKind::archives},
    {"application/x-bzip", FileKind::archives, true},
    {"application/x-xz", FileKind::archives, true},
    {"application/x-lz", FileKind::archives, true}, // lz4, lzip, lzma, lzop
    {"application/x-7z-compressed", FileKind::archives},
    {"application/vnd.rar", FileKind::archives},
    {"application/x-rar", FileKind::archives, true},
    {"application/x-cpio", FileKind::archives},
    {"application/x-compress", FileKind::archives},
    {"application/vnd.ms-cab-compressed", FileKind::archives},
    {"application/x-cd-image", FileKind::archives},
    {"application/x-raw-disk-image", FileKind::archives},
    {"application/x-apple-diskimage", FileKind::archives},
    {"application/x-qemu-disk", FileKind::archives},
    {"application/x-vmdk-disk", FileKind::archives},
    {"application/x-vdi-disk", FileKind::archives},
    {"application/x-vhd-disk", FileKind::archives},
    {"application/x-vhdx-disk", FileKind::archives},

    {"text/x-", FileKind::code, true},
    {"text/rust", FileKind::code},
    {"text/css", FileKind::code},
    {"text/html", FileKind::code},
    {"text/javascript", FileKind::code},
    {"text/vnd.trolltech.linguist", FileKind::code}, // what .ts is taken for
    {"application/javascript", FileKind::code},
    {"application/json", FileKind::code},
    {"application/xml", FileKind::code},
    {"application/x-yaml", FileKind::code},
    {"application/toml", FileKind::code},
    {"application/sql", FileKind::code},
    {"application/x-shellscript", FileKind::code},
    {"application/x-perl", FileKind::code},
    {"application/x-php", FileKind::code},
    {"application/x-ruby", FileKind::code},
    {"application/x-ipynb+json", FileKind::code},
    {"application/x-java", FileKind::code},
    {"application/x-python-bytecode", FileKind::code},
    {"application/x-godot-project", FileKind::code},

    {"image/", FileKind::pictures, true},
    {"video/", FileKind::video, true},
    {"audio/", FileKind::music, true},
    {"application/x-matroska", FileKind::video},
    {"application/ogg", FileKind::music},
});

std::optional<FileKind> ruleFor(const QString& type) {
    const auto bytes = type.toLatin1();
    const std::string_view name(bytes.constData(), static_cast<std::size_t>(bytes.size()));
    const auto rule =
        std::ranges::find_if(typeRules, [name](const TypeRule& r) { return r.matches(name); });
    if (rule == typeRules.end()) return std::nullopt;
    return rule->kind;
}

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

bool isLetter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

/// What an extension is made of ("c++" included); "~1", "copy-2" or "a b" are none.
bool isExtensionCharacter(char c) {
    return isLetter(c) || isDigit(c) || c == '+';
}

char lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

/// The last extension of `name` that holds more than digits ("so" of "libz.so.1.2"), or
/// none: no dot but a leading one, an empty, overlong or oddly made extension.
std::optional<std::string_view> extensionOf(std::string_view name) {
    for (;;) {
        const auto dot = name.rfind('.');
        if (dot == std::string_view::npos || dot == 0) return std::nullopt;
        const auto extension = name.substr(dot + 1);
        if (extension.empty() || extension.size() > KindClassifier::maxExtension ||
            !std::ranges::all_of(extension, isExtensionCharacter))
            return std::nullopt;
        if (!std::ranges::all_of(extension, isDigit)) return extension;
        name = name.substr(0, dot);
    }
}

QString fromBytes(std::string_view bytes) {
    return QString::fromUtf8(bytes.data(), static_cast<qsizetype>(bytes.size()));
}

} // namespace

FileKind KindClassifier::kindOfType(const QMimeType& type) {
    if (!type.isValid() || type.isDefault()) return FileKind::other;
    if (const auto kind = ruleFor(type.name())) return *kind;
    for (const auto& ancestor : type.allAncestors())
        if (const auto kind = ruleFor(ancestor)) return *kind;
    return FileKind::other;
}

FileKind KindClassifier::kindOf(std::string_view name) {
    if (const auto extension = extensionOf(name)) {
        std::array<char, maxExtension> buffer{};
        std::ranges::transform(*extension, buffer.begin(), lower);
        return byExtension({buffer.data(), extension->size()});
    }
    if (name.empty() || name.size() > maxBareName || !std::ranges::all_of(name, isLetter))
        return FileKind::other;
    return byBareName(name);
}

FileKind KindClassifier::byExtension(std::string_view lowerExtension) {
    if (const auto found = extensions_.find(lowerExtension); found != extensions_.end())
        return found->second;
    const auto type = database_.mimeTypeForFile(QStringLiteral("x.") + fromBytes(lowerExtension),
                                                QMimeDatabase::MatchExtension);
    return extensions_.emplace(lowerExtension, kindOfType(type)).first->second;
}

FileKind KindClassifier::byBareName(std::string_view name) {
    if (const auto found = bareNames_.find(name); found != bareNames_.end()) return found->second;
    const auto type = database_.mimeTypeForFile(fromBytes(name), QMimeDatabase::MatchExtension);
    return bareNames_.emplace(name, kindOfType(type)).first->second;
}

} // namespace brantle
