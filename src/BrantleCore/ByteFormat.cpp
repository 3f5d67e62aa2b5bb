#include "BrantleCore/ByteFormat.hpp"

#include <array>
#include <cmath>
#include <cstdio>

namespace brantle {

namespace {

struct Unit {
    const char* name;
    int decimals;
};

constexpr std::array<Unit, 6> units{
    {{"KB", 0}, {"MB", 1}, {"GB", 2}, {"TB", 2}, {"PB", 2}, {"EB", 2}}};

std::string trimmedNumber(double value, int decimals) {
    char text[32];
    std::snprintf(text, sizeof text, "%.*f", decimals, value);
    std::string out(text);
    if (out.find('.') != std::string::npos) {
        while (out.back() == '0')
            out.pop_back();
        if (out.back() == '.') out.pop_back();
    }
    return out;
}

/// The value rounded as it will be printed, so that 999.6 KB moves up to "1 MB".
double rounded(double value, int decimals) {
    double scale = 1;
    for (int i = 0; i < decimals; ++i)
        scale *= 10;
    return std::floor(value * scale + 0.5) / scale;
}

} // namespace

std::string formatBytes(std::uint64_t bytes) {
    if (bytes == 0) return "0 bytes";
    if (bytes == 1) return "1 byte";
    if (bytes < 1000) return std::to_string(bytes) + " bytes";
    double value = static_cast<double>(bytes) / 1000;
    for (std::size_t i = 0; i < units.size(); ++i) {
        const double shown = rounded(value, units[i].decimals);
        if (shown < 1000 || i + 1 == units.size())
            return trimmedNumber(shown, units[i].decimals) + " " + units[i].name;
        value /= 1000;
    }
    return {};
}

} // namespace brantle
