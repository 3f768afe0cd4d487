#pragma once

#include <gtest/gtest.h>

#include <QString>
#include <QtGlobal>

namespace talkledger::testing {

/// What Qt complains about is a fault of the test that is running.
inline void failOnWarning(QtMsgType type, const QMessageLogContext& /*place*/, const QString& message) {
    if (type != QtDebugMsg && type != QtInfoMsg) {
        ADD_FAILURE() << "Qt: " << message.toStdString();
    }
}

} // namespace talkledger::testing
