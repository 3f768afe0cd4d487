#include "Rehearsal/PrivateHome.h"
#include "Rehearsal/ScreenReader.h"
#include "Rehearsal/Waiting.h"
#include "Support/ChildProcess.h"
#include "Support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <QString>
#include <memory>
#include <optional>

/// The real program as a screen reader meets it.
namespace talkledger {
namespace {

using rehearsal::Accessible;

class AccessibilityTest : public ::testing::Test {
protected:
    AccessibilityTest() {
        testing::EnvironmentChanges environment = home_.environment();
        environment["XDG_RUNTIME_DIR"] = runtimeFolder_.path();
        environment["XDG_DATA_HOME"] = "/proc/nowhere";              // where nothing can be written
        environment["PIPEWIRE_RUNTIME_DIR"] = runtimeFolder_.path(); // no sound
        environment["PIPEWIRE_CONFIG_DIR"] = runtimeFolder_.path();  // as where PipeWire is not even installed
        environment["PIPEWIRE_DEBUG"] = "0";
        environment["QT_LINUX_ACCESSIBILITY_ALWAYS_ON"] = "1";
        reader_.emplace(environment);
        testing::ChildProcessOptions program;
        program.arguments = {TALKLEDGER_PROGRAM};
        program.environment = environment;
        program_ = std::make_unique<testing::ChildProcess>(program);
    }

    ~AccessibilityTest() override { program_->stop(); }

    /// Waits for it, among all that is shown.
    Accessible await(const QString& role, const QString& name) {
        std::optional<Accessible> found;
        rehearsal::waitUntil(role.toStdString() + " \"" + name.toStdString() + "\" is told to assistive programs", [&] {
            if (!program_->isRunning()) {
                throw rehearsal::RehearsalError("The program has ended: " + program_->standardError());
            }
            found = reader_->find(role, name);
            return found.has_value();
        });
        return *found;
    }

    void press(const Accessible& button) { reader_->press(button); }

    std::string standardError() { return program_->standardError(); }

private:
    const rehearsal::PrivateHome home_;
    const testing::TemporaryFolder runtimeFolder_;
    std::optional<rehearsal::ScreenReader> reader_;
    std::unique_ptr<testing::ChildProcess> program_;
};

TEST_F(AccessibilityTest, AScreenReaderFindsAndPressesTheButtonsInEitherLanguage) {
    const QString button = QStringLiteral("push button");
    await(button, QStringLiteral("Start Recording"));
    await(button, QStringLiteral("Capture Permissions"));
    press(await(button, QStringLiteral("Language")));
    press(await(button, QStringLiteral("録音開始")));
    await(QStringLiteral("status bar"), QStringLiteral("録音機能を使用できません")); // there is nowhere to keep it
    EXPECT_EQ(standardError(), "");
}

} // namespace
} // namespace talkledger
