#include "TalkledgerApp/FailOnWarning.h"

#include <gmock/gmock.h>

#include <QApplication>
#include <QQuickStyle>
#include <QTemporaryDir>

int main(int argc, char** argv) {
    const QTemporaryDir runtimeFolder;
    qputenv("XDG_RUNTIME_DIR", runtimeFolder.path().toUtf8());
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("QT_QUICK_BACKEND", "software");
    ::testing::InitGoogleMock(&argc, argv);
    qInstallMessageHandler(talkledger::testing::failOnWarning);
    const QApplication application(argc, argv);
    QQuickStyle::setStyle(QStringLiteral("Fusion"));
    return RUN_ALL_TESTS();
}
