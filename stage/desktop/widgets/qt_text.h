// Texts of the stage as Qt has them.
#pragma once

#include <QString>

#include <string_view>

namespace cadencora::stage {

inline QString qtText(std::string_view text) {
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

} // namespace cadencora::stage
