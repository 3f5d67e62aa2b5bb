// The trash ledger's file: {"entries":[{"trashed","original","bytes","date"}...],"freedBytes"}.
#include "BrantleCore/TrashLedger.hpp"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <cmath>
#include <limits>

namespace brantle {

namespace {

constexpr double twoToThe64 = 18446744073709551616.0;

// QJsonValue holds integers as 64-bit signed; larger byte counts (beyond any real disk) are
// stored as the nearest double and read back saturated, so an overflow still shows.
QJsonValue unsignedValue(std::uint64_t value) {
    if (value <= static_cast<std::uint64_t>(std::numeric_limits<qint64>::max()))
        return QJsonValue(static_cast<qint64>(value));
    return QJsonValue(static_cast<double>(value));
}

std::optional<std::uint64_t> unsignedIn(const QJsonValue& value) {
    if (!value.isDouble()) return std::nullopt;
    if (const qint64 whole = value.toInteger(-1); whole >= 0)
        return static_cast<std::uint64_t>(whole);
    const double number = value.toDouble();
    if (number < 0x1p63 || std::trunc(number) != number) return std::nullopt;
    if (number >= twoToThe64) return std::numeric_limits<std::uint64_t>::max();
    return static_cast<std::uint64_t>(number);
}

std::optional<TrashLedger::Entry> entryIn(const QJsonValue& value) {
    const auto object = value.toObject();
    const auto trashed = object.value("trashed");
    const auto original = object.value("original");
    const auto date = object.value("date");
    const auto bytes = unsignedIn(object.value("bytes"));
    if (!value.isObject() || !trashed.isString() || !original.isString() || !date.isDouble() ||
        !bytes)
        return std::nullopt;
    return TrashLedger::Entry{trashed.toString().toStdString(), original.toString().toStdString(),
                              *bytes, date.toDouble()};
}

QString text(const std::string& s) {
    return QString::fromStdString(s);
}

} // namespace

std::optional<TrashLedger::State> decodedLedger(const std::string& json) {
    const auto document = QJsonDocument::fromJson(QByteArray::fromStdString(json));
    const auto root = document.object();
    const auto entries = root.value("entries");
    const auto freed = unsignedIn(root.value("freedBytes"));
    if (!document.isObject() || !entries.isArray() || !freed) return std::nullopt;
    TrashLedger::State state{{}, *freed};
    for (const auto& value : entries.toArray()) {
        auto entry = entryIn(value);
        if (!entry) return std::nullopt;
        state.entries.push_back(std::move(*entry));
    }
    return state;
}

std::string encodedLedger(const TrashLedger::State& state) {
    QJsonArray entries;
    for (const auto& entry : state.entries) {
        entries.append(QJsonObject{{"trashed", text(entry.trashed)},
                                   {"original", text(entry.original)},
                                   {"bytes", unsignedValue(entry.bytes)},
                                   {"date", entry.date}});
    }
    const QJsonObject root{{"entries", entries}, {"freedBytes", unsignedValue(state.freedBytes)}};
    return QJsonDocument(root).toJson(QJsonDocument::Compact).toStdString();
}

} // namespace brantle
