#pragma once

#include "Shoreline/Rule.hpp"
#include "Shoreline/ShorelineCategory.hpp"
#include "Shoreline/ShorelineContext.hpp"

#include <memory>
#include <vector>

namespace shoreline {

/// The cleanup-suggestion engine ("Suggestions").
namespace Shoreline {

/// The ten rules in the order they run; built once and shared read-only.
const std::vector<std::unique_ptr<const Rule>>& rules();

/// Runs every rule over the context: the first rule to propose an area keeps it, what the
/// deletion guard refuses is dropped, and one category per rule that found something is
/// returned, largest total first (equal totals in rule order).
std::vector<ShorelineCategory> analyze(const ShorelineContext& context);

/// The same over a chosen list of rules, in that order.
std::vector<ShorelineCategory> analyze(const ShorelineContext& context,
                                       const std::vector<std::unique_ptr<const Rule>>& ruleList);

} // namespace Shoreline

} // namespace shoreline
