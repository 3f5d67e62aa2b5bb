#include "Shoreline/RuleText.hpp"

#include <QLocale>

namespace shoreline {

std::string ageText(std::int64_t days) {
    return days == 1 ? std::string("1 day") : std::to_string(days) + " days";
}

std::string groupedCount(std::int64_t count) {
    return QLocale().toString(static_cast<qlonglong>(count)).toStdString();
}

std::string lowerExtension(std::string_view name) {
    const auto dot = name.rfind('.');
    if (dot == std::string_view::npos || dot == 0) return {};
    std::string extension(name.substr(dot + 1));
    for (char& c : extension)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return extension;
}

} // namespace shoreline
