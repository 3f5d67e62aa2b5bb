#include "AmbrelModel/RemovalRun.hpp"

#include "BrantleCore/Fatal.hpp"
#include "BrantleServices/Recycler.hpp"

#include <chrono>

namespace ambrel {
namespace {

QString failure(const QString& name, std::string_view reason) {
    return name + QStringLiteral(": ") +
           QString::fromUtf8(reason.data(), static_cast<qsizetype>(reason.size()));
}

void count(TrashResult& result, const StagedItem& item) {
    ++result.movedCount;
    if (__builtin_add_overflow(result.movedBytes, item.bytes, &result.movedBytes))
        brantle::fatal("removed byte sum overflows");
    result.removedPaths.push_back(item.path);
}

} // namespace

RemovalOutcome removeStaged(std::vector<StagedItem> items, bool permanent,
                            const brantle::DeletionGuard& guard, brantle::Eraser& eraser) {
    RemovalOutcome outcome;
    outcome.result.permanent = permanent;
    std::vector<StagedItem> allowed;
    std::vector<brantle::GuardedRemoval> removals;
    for (auto& item : items) {
        const auto verdict = guard.check(item.path);
        const auto* removal = verdict.removal();
        if (!removal) {
            outcome.result.failures.push_back(failure(item.name, verdict.reason()));
            continue;
        }
        removals.push_back(*removal);
        allowed.push_back(std::move(item));
    }
    auto& result = outcome.result;
    if (permanent) {
        const auto erased = eraser.erase(removals);
        for (std::size_t i = 0; i < allowed.size(); ++i) {
            const auto* error = erased ? &(*erased)[i].error : nullptr;
            if (!erased)
                result.failures.push_back(failure(allowed[i].name, erased.error().description()));
            else if (*error)
                result.failures.push_back(failure(allowed[i].name, (*error)->description()));
            else
                count(result, allowed[i]);
        }
        return outcome;
    }
    const auto recycled = brantle::Recycler::recycle(removals);
    const double now = brantle::TrashLedger::referenceSeconds(std::chrono::system_clock::now());
    for (std::size_t i = 0; i < allowed.size(); ++i) {
        const auto& moved = recycled[i];
        if (!moved.trashed) {
            result.failures.push_back(failure(allowed[i].name, moved.error.value_or("failed")));
            continue;
        }
        count(result, allowed[i]);
        outcome.ledgerEntries.push_back({*moved.trashed, allowed[i].path, allowed[i].bytes, now});
    }
    return outcome;
}

} // namespace ambrel
