// What the Suggestions pane shows of the findings, and its tick boxes.
#include "AmbrelModel/AppModel.hpp"

#include "BrantleCore/Fatal.hpp"
#include "BrantleCore/PathText.hpp"
#include "BrantleServices/Locations.hpp"

#include <algorithm>
#include <string_view>

namespace ambrel {

namespace {

/// "~/rest" for a path inside the home folder.
QString shownPath(const std::string& path, const std::string& home) {
    if (!home.empty() && brantle::PathText::isInside(path, home))
        return QStringLiteral("~") + QString::fromStdString(path.substr(home.size()));
    return QString::fromStdString(path);
}

/// The kept copy a duplicate's reason names ("Identical to ~/a, which is kept."), or empty.
QString keptCopy(std::string_view reason) {
    constexpr std::string_view head = "Identical to ", tail = ", which is kept.";
    if (!reason.starts_with(head) || !reason.ends_with(tail) ||
        reason.size() < head.size() + tail.size())
        return {};
    reason.remove_prefix(head.size());
    reason.remove_suffix(tail.size());
    return QString::fromUtf8(reason.data(), qsizetype(reason.size()));
}

QVariantMap findingRow(const shoreline::Finding& finding, const std::string& home,
                       const QString& group) {
    return {{"path", QString::fromStdString(finding.path)},
            {"shownPath", shownPath(finding.displayPath, home)},
            {"name", QString::fromStdString(finding.name)},
            {"bytes", double(finding.bytes)},
            {"safety", int(finding.safety)},
            {"reason", QString::fromStdString(finding.reason)},
            {"group", group}};
}

/// The findings' rows; a duplicate's copies stand together under the copy that is kept, the
/// groups in the order of their largest copy.
QVariantList findingRows(const shoreline::ShorelineCategory& category, const std::string& home) {
    QVariantList rows;
    for (const auto& finding : category.findings)
        rows.append(findingRow(finding, home,
                               category.id == "duplicates" ? keptCopy(finding.reason) : QString()));
    if (category.id != "duplicates") return rows;
    QStringList order;
    for (const auto& row : rows)
        if (const auto group = row.toMap()["group"].toString(); !order.contains(group))
            order.append(group);
    std::ranges::stable_sort(rows, {}, [&](const QVariant& row) {
        return order.indexOf(row.toMap()["group"].toString());
    });
    return rows;
}

} // namespace

QVariantList AppModel::shorelineRows() const {
    const auto& tree = view_.tree();
    const auto home =
        tree ? brantle::Locations::homeIn(*tree) : brantle::Locations::homeDirectory();
    QVariantList out;
    for (const auto& category : shoreline_) {
        auto safety = shoreline::Safety::safe;
        for (const auto& finding : category.findings)
            safety = std::max(safety, finding.safety);
        out.append(QVariantMap{{"id", QString::fromStdString(category.id)},
                               {"title", QString::fromStdString(category.title)},
                               {"blurb", QString::fromStdString(category.blurb)},
                               {"safety", int(safety)},
                               {"total", double(category.total())},
                               {"safeTotal", double(category.safeTotal())},
                               {"findings", findingRows(category, home)}});
    }
    return out;
}

int AppModel::nodeOf(const QString& path) const {
    const auto& tree = view_.tree();
    const auto node = tree ? tree->node(path.toStdString()) : std::nullopt;
    return node && !tree->isDead(*node) ? int(*node) : -1;
}

std::uint64_t AppModel::shorelineTotal() const {
    std::uint64_t total = 0;
    for (const auto& category : shoreline_)
        if (__builtin_add_overflow(total, category.total(), &total))
            brantle::fatal("suggestions' byte sum overflows");
    return total;
}

void AppModel::setChecked(const QString& path, bool checked) {
    requireMainThread();
    if (checked == shorelineChecked_.contains(path)) return;
    if (checked) {
        const auto text = path.toStdString();
        const bool finding = std::ranges::any_of(shoreline_, [&](const auto& category) {
            return std::ranges::any_of(category.findings,
                                       [&](const auto& item) { return item.path == text; });
        });
        if (!finding) return;
        shorelineChecked_.insert(path);
    } else {
        shorelineChecked_.remove(path);
    }
    emit shorelineCheckedChanged();
}

int AppModel::checkedCount() const {
    int count = 0;
    for (const auto& category : shoreline_)
        for (const auto& finding : category.findings)
            count += shorelineChecked_.contains(QString::fromStdString(finding.path));
    return count;
}

std::uint64_t AppModel::checkedBytes() const {
    std::uint64_t bytes = 0;
    for (const auto& category : shoreline_)
        for (const auto& finding : category.findings)
            if (shorelineChecked_.contains(QString::fromStdString(finding.path)) &&
                __builtin_add_overflow(bytes, finding.bytes, &bytes))
                brantle::fatal("ticked suggestions' byte sum overflows");
    return bytes;
}

} // namespace ambrel
