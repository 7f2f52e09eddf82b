#include "stage/cli/report/json.h"

#include <cmath>
#include <ostream>

namespace cadencora::stage {

Json frameJson(const std::optional<double>& frame) {
    if (!frame) return nullptr;
    if (*frame == std::floor(*frame) && std::abs(*frame) < 9e15)
        return static_cast<std::int64_t>(*frame);
    return *frame;
}

std::string lineOf(const Json& json) {
    return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

void print(const Json& json, std::ostream& out) {
    out << json.dump(2, ' ', false, Json::error_handler_t::replace) << "\n";
}

} // namespace cadencora::stage
