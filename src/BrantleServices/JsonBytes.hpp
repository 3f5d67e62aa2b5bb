#pragma once

#include <QJsonValue>

#include <cstdint>
#include <optional>

namespace brantle {

/// A byte count as a JSON number: an integer up to 2^63 - 1, beyond that (past any real disk)
/// the nearest double.
QJsonValue jsonBytes(std::uint64_t bytes);

/// The byte count a JSON number holds: a non-negative integer, or a whole double from 2^63 up,
/// saturated at the largest count so that an overflow still shows. No value for anything else.
std::optional<std::uint64_t> bytesFromJson(const QJsonValue& value);

} // namespace brantle
