#include "RemovalRun.hpp"

#include "BrantleCore/PathText.hpp"
#include "BrantleServices/AnchoredItem.hpp"
#include "BrantleServices/DeletionGuard.hpp"
#include "BrantleServices/ItemSize.hpp"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <cstdio>

namespace brantle::cli {

namespace {

std::string failure(const std::string& path, std::string_view reason) {
    return std::string(PathText::lastComponent(path)) + ": " + std::string(reason);
}

std::uint64_t measured(const std::string& path) {
    const auto item = AnchoredItem::open(path);
    return item ? ItemSize::allocated(item->folder->get(), item->name) : 0;
}

} // namespace

std::optional<RemovalRequest> parsedRemoval(Arguments args, bool ledgerAllowed) {
    RemovalRequest request;
    bool options = true;
    for (const auto arg : args) {
        if (options && arg == "--") {
            options = false;
        } else if (options && arg == "--json") {
            request.json = true;
        } else if (options && ledgerAllowed && arg == "--ledger") {
            request.ledger = true;
        } else if (options && arg.starts_with("--")) {
            return std::nullopt;
        } else {
            request.paths.push_back(PathText::standardised(absolutePath(arg)));
        }
    }
    if (request.ledger != request.paths.empty()) return std::nullopt;
    return request;
}

RemovalRun::RemovalRun(const RemovalRequest& request, bool permanent) : permanent_(permanent) {
    const auto guard = DeletionGuard::live();
    for (const auto& path : request.paths) {
        const auto verdict = guard.check(path);
        if (const auto* removal = verdict.removal()) {
            allowed_.push_back(*removal);
            allowedLine_.push_back(lines_.size());
            allowedBytes_.push_back(measured(removal->path()));
            lines_.push_back({removal->path(), std::nullopt});
        } else {
            lines_.push_back({path, failure(path, verdict.reason())});
        }
    }
}

void RemovalRun::removed(std::size_t index) {
    ++movedCount_;
    movedBytes_ += allowedBytes_[index];
}

void RemovalRun::failed(std::size_t index, const std::string& reason) {
    auto& line = lines_[allowedLine_[index]];
    line.failure = failure(line.path, reason);
}

void RemovalRun::allFailed(const std::string& reason) {
    for (std::size_t i = 0; i < allowed_.size(); ++i)
        failed(i, reason);
}

int RemovalRun::report(bool json) const {
    QJsonArray failures;
    bool allRemoved = true;
    for (const auto& line : lines_) {
        if (line.failure) {
            allRemoved = false;
            failures.append(QString::fromStdString(*line.failure));
        }
        if (json) continue;
        if (line.failure)
            std::printf("%s: %s\n", permanent_ ? "not deleted" : "not moved",
                        line.failure->c_str());
        else
            std::printf("%s: %s\n", permanent_ ? "deleted" : "moved", line.path.c_str());
    }
    if (json) {
        const QJsonObject result{{"permanent", permanent_},
                                 {"movedCount", movedCount_},
                                 {"movedBytes", static_cast<qint64>(movedBytes_)},
                                 {"failures", failures}};
        const QByteArray text = QJsonDocument(result).toJson(QJsonDocument::Indented);
        std::fwrite(text.constData(), 1, static_cast<std::size_t>(text.size()), stdout);
    }
    return allRemoved ? exitOk : exitFailure;
}

} // namespace brantle::cli
