// brantle lzfse encode|decode IN OUT: the codec for scripts and diagnostics.
#include "Command.hpp"

#include "Lzfse/Lzfse.hpp"

#include <QFile>
#include <QSaveFile>
#include <QString>

#include <cstdio>
#include <optional>
#include <vector>

namespace brantle::cli {

namespace {

QString fromView(std::string_view text) {
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

void printError(std::string_view path, std::string_view message) {
    std::fprintf(stderr, "brantle lzfse: %.*s: %.*s\n", static_cast<int>(path.size()), path.data(),
                 static_cast<int>(message.size()), message.data());
}

std::optional<std::vector<std::uint8_t>> readAll(std::string_view path) {
    QFile file(fromView(path));
    if (!file.open(QIODevice::ReadOnly)) {
        printError(path, file.errorString().toStdString());
        return std::nullopt;
    }
    const QByteArray bytes = file.readAll();
    if (file.error() != QFileDevice::NoError) {
        printError(path, file.errorString().toStdString());
        return std::nullopt;
    }
    return std::vector<std::uint8_t>(bytes.begin(), bytes.end());
}

bool writeAll(std::string_view path, const std::vector<std::uint8_t>& bytes) {
    QSaveFile file(fromView(path));
    const auto size = static_cast<qint64>(bytes.size());
    if (!file.open(QIODevice::WriteOnly) ||
        file.write(reinterpret_cast<const char*>(bytes.data()), size) != size || !file.commit()) {
        printError(path, file.errorString().toStdString());
        return false;
    }
    return true;
}

int run(Arguments args) {
    if (args.size() != 3 || (args[0] != "encode" && args[0] != "decode"))
        return usageError(lzfseCommand);
    const auto input = readAll(args[1]);
    if (!input) return exitFailure;
    std::vector<std::uint8_t> output;
    if (args[0] == "encode") {
        lzfse::encode(*input, output);
    } else if (const auto decoded = lzfse::decode(*input, output); !decoded) {
        printError(args[1], lzfse::describe(decoded.error()));
        return exitFailure;
    }
    return writeAll(args[2], output) ? exitOk : exitFailure;
}

} // namespace

const Command lzfseCommand{"lzfse", "lzfse encode|decode IN OUT", run};

} // namespace brantle::cli
