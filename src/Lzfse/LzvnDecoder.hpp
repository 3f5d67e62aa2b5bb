#pragma once

#include "Lzfse/BlockOutput.hpp"
#include "Lzfse/Lzfse.hpp"

#include <cstdint>
#include <expected>
#include <span>

namespace lzfse {

/// Decodes an LZVN payload into out, which it must fill exactly.
std::expected<void, Error> decodeLzvn(std::span<const std::uint8_t> payload, BlockOutput out);

} // namespace lzfse
