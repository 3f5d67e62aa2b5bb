// Any bytes given to the ncdu reader come back as a tree or a reason, never a crash; a tree it
// accepts is written out again and reads back with the same entries.
#include "BrantleServices/NcduReader.hpp"
#include "BrantleServices/NcduWriter.hpp"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto read =
        brantle::NcduReader::read(std::string_view(reinterpret_cast<const char*>(data), size));
    if (!read) return 0;
    const auto again =
        brantle::NcduReader::read(brantle::NcduWriter::write(read->tree, read->meta));
    if (!again || again->tree.count() != read->tree.count()) std::abort();
    return 0;
}
