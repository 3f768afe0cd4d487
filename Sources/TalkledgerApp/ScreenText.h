#pragma once

#include <QString>
#include <string_view>

namespace talkledger {

/// The core's text as Qt takes it.
inline QString screenText(std::string_view text) {
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

} // namespace talkledger
