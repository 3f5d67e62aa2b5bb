#include "BrantleServices/JsonBytes.hpp"

#include <cmath>
#include <limits>

namespace brantle {

QJsonValue jsonBytes(std::uint64_t bytes) {
    // QJsonValue holds integers as 64-bit signed.
    if (bytes <= static_cast<std::uint64_t>(std::numeric_limits<qint64>::max()))
        return QJsonValue(static_cast<qint64>(bytes));
    return QJsonValue(static_cast<double>(bytes));
}

std::optional<std::uint64_t> bytesFromJson(const QJsonValue& value) {
    if (!value.isDouble()) return std::nullopt;
    if (const qint64 whole = value.toInteger(-1); whole >= 0)
        return static_cast<std::uint64_t>(whole);
    const double number = value.toDouble();
    if (number < 0x1p63 || std::trunc(number) != number) return std::nullopt;
    if (number >= 0x1p64) return std::numeric_limits<std::uint64_t>::max();
    return static_cast<std::uint64_t>(number);
}

} // namespace brantle
