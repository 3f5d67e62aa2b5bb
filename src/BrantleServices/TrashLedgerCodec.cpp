// The trash ledger's file: {"entries":[{"trashed","original","bytes","date"}...],"freedBytes"}.
#include "BrantleServices/TrashLedger.hpp"

#include "BrantleServices/JsonBytes.hpp"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace brantle {

namespace {

std::optional<TrashLedger::Entry> entryIn(const QJsonValue& value) {
    const auto object = value.toObject();
    const auto trashed = object.value("trashed");
    const auto original = object.value("original");
    const auto date = object.value("date");
    const auto bytes = bytesFromJson(object.value("bytes"));
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
    const auto freed = bytesFromJson(root.value("freedBytes"));
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
                                   {"bytes", jsonBytes(entry.bytes)},
                                   {"date", entry.date}});
    }
    const QJsonObject root{{"entries", entries}, {"freedBytes", jsonBytes(state.freedBytes)}};
    return QJsonDocument(root).toJson(QJsonDocument::Compact).toStdString();
}

} // namespace brantle
