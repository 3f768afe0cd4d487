#include <gmock/gmock.h>

#include <QGuiApplication>
#include <QQuickStyle>
#include <QTemporaryDir>

namespace {

/// What Qt complains about is a fault of the test that is running.
void failOnWarning(QtMsgType type, const QMessageLogContext&, const QString& message) {
    if (type != QtDebugMsg && type != QtInfoMsg) {
        ADD_FAILURE() << "Qt: " << message.toStdString();
    }
}

} // namespace

int main(int argc, char** argv) {
    const QTemporaryDir runtimeFolder;
    qputenv("XDG_RUNTIME_DIR", runtimeFolder.path().toUtf8());
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("QT_QUICK_BACKEND", "software");
    ::testing::InitGoogleMock(&argc, argv);
    qInstallMessageHandler(failOnWarning);
    const QGuiApplication application(argc, argv);
    QQuickStyle::setStyle(QStringLiteral("Fusion"));
    return RUN_ALL_TESTS();
}
