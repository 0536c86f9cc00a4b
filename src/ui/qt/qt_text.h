// The server's text is UTF-8; Qt's is QString. The views convert at their edge, here.
#pragma once

#include <QString>
#include <string_view>

namespace cvl {

[[nodiscard]] inline QString toQString(std::string_view text) {
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

} // namespace cvl
