#include "Rehearsal/PrivateHome.h"
#include "Rehearsal/VirtualDisplay.h"
#include "TalkledgerApp/FailOnWarning.h"

#include <gmock/gmock.h>

#include <QApplication>
#include <QQuickStyle>
#include <QTemporaryDir>

namespace {

void enter(const talkledger::testing::EnvironmentChanges& changes) {
    for (const auto& [name, value] : changes) {
        if (value) {
            qputenv(name.c_str(), QByteArray::fromStdString(*value));
        } else {
            qunsetenv(name.c_str());
        }
    }
}

} // namespace

/// For tests that need a display with a window manager, and a session bus.
int main(int argc, char** argv) {
    ::testing::InitGoogleMock(&argc, argv);
    if (::testing::GTEST_FLAG(list_tests)) {
        return RUN_ALL_TESTS();
    }
    const talkledger::rehearsal::PrivateHome home;
    const talkledger::rehearsal::VirtualDisplay display;
    enter(home.environment());
    enter(display.environment());
    const QTemporaryDir runtimeFolder;
    enter({{"XDG_RUNTIME_DIR", runtimeFolder.path().toStdString()}});
    qInstallMessageHandler(talkledger::testing::failOnWarning);
    const QApplication application(argc, argv);
    QQuickStyle::setStyle(QStringLiteral("Fusion"));
    return RUN_ALL_TESTS();
}
