#include "AmbrelModel/OpenedScan.hpp"

#include "BrantleServices/NcduReader.hpp"

#include <QDateTime>
#include <QFileInfo>
#include <QLocale>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstring>
#include <fstream>

namespace ambrel::OpenedScan {

namespace {

QString failure(const std::string& path, const std::string& why) {
    return QStringLiteral("“%1” could not be opened: %2.")
        .arg(QFileInfo(QString::fromStdString(path)).fileName(), QString::fromStdString(why));
}

} // namespace

std::expected<brantle::Snapshot::Contents, QString> read(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) return std::unexpected(failure(path, std::strerror(errno)));
    std::string head(64, '\0');
    file.read(head.data(), static_cast<std::streamsize>(head.size()));
    head.resize(static_cast<std::size_t>(file.gcount()));
    file.close();

    if (head.starts_with(
            std::string_view(reinterpret_cast<const char*>(brantle::Snapshot::magic.data()),
                             brantle::Snapshot::magic.size()))) {
        auto loaded = brantle::Snapshot::load(path);
        if (!loaded) return std::unexpected(failure(path, brantle::describe(loaded.error())));
        return std::move(*loaded);
    }
    const auto first =
        std::ranges::find_if_not(head, [](unsigned char c) { return std::isspace(c) != 0; });
    if (first != head.end() && *first == '[') {
        auto imported = brantle::NcduReader::load(path);
        if (!imported) return std::unexpected(failure(path, imported.error()));
        return std::move(*imported);
    }
    return std::unexpected(failure(path, "it is neither an Ambrel scan nor an ncdu export"));
}

QString title(const brantle::SnapshotMeta& meta) {
    const auto when = QDateTime::fromMSecsSinceEpoch(static_cast<qint64>(meta.scannedAt * 1000));
    return QStringLiteral("%1 · scanned %2")
        .arg(QString::fromStdString(meta.rootPath), QLocale().toString(when, QLocale::ShortFormat));
}

QString readOnlyReason() {
    return QStringLiteral("This scan was opened from a file; its items are not on this computer.");
}

} // namespace ambrel::OpenedScan
