#include "HelperKit/HelperError.hpp"

namespace helperkit {

std::string HelperError::description() const {
    switch (kind) {
    case Kind::connection:
        return "Couldn't reach the administrator helper (" + detail + ").";
    case Kind::helper:
        return detail;
    case Kind::incomplete:
        return "The administrator scan arrived incomplete.";
    }
    return detail;
}

} // namespace helperkit
