#include "CleanupTexts.hpp"

#include "BrantleCore/ByteFormat.hpp"

using namespace Qt::StringLiterals;

namespace ambrel {
namespace {

QString plural(int count) {
    return count == 1 ? QString() : u"s"_s;
}

} // namespace

QString CleanupTexts::size(double bytes) {
    return QString::fromStdString(brantle::formatBytes(bytes > 0 ? std::uint64_t(bytes) : 0));
}

QString CleanupTexts::countLine(int count, double bytes) {
    return QString::number(count) + u" item"_s + plural(count) + u" · "_s + size(bytes);
}

QString CleanupTexts::title(int count, bool permanent) {
    const auto items = QString::number(count) + u" item"_s + plural(count);
    return permanent ? u"Delete "_s + items + u" permanently?"_s
                     : u"Move "_s + items + u" to the Trash?"_s;
}

// The Trash and the file manager are named as the Linux desktop names them.
QString CleanupTexts::body(double bytes, bool permanent) {
    return size(bytes) +
           (permanent ? u" will be deleted right away. Nothing goes to the Trash, so you can't "
                        u"put any of it back. This can't be undone."_s
                      : u" will be moved to the Trash. You can put anything back from the Trash "
                        u"in Files until you empty it."_s);
}

QString CleanupTexts::warningsRead(int warnings, int items) {
    return u"I've read the "_s + QString::number(warnings) + u" warning"_s + plural(warnings) +
           u" above and still want to remove "_s + (items == 1 ? u"it"_s : u"them"_s);
}

QString CleanupTexts::headline(int count, double bytes, bool permanent) {
    return (permanent ? u"Deleted "_s : u"Moved "_s) + QString::number(count) + u" item"_s +
           plural(count) + u" ("_s + size(bytes) + (permanent ? u")"_s : u") to the Trash"_s);
}

QString CleanupTexts::afterRemoval(bool permanent) {
    return permanent ? u"They're gone from your computer. The space comes back over the next "
                       u"moments as Ambrel finishes deleting in the background."_s
                     : u"The space comes back once you empty the Trash. Until then, you can still "
                       u"put anything back."_s;
}

} // namespace ambrel
