#pragma once

#include "TalkledgerApp/AppStage.h"
#include "TalkledgerApp/AppWindowController.h"
#include "TalkledgerApp/Quitting.h"

#include <QQuickItem>
#include <QQuickWindow>
#include <optional>
#include <string>
#include <vector>

namespace talkledger::testing {

/// The window over the model, in English unless the settings are changed, and on no real screen.
class WindowStage : public AppStage {
protected:
    WindowStage();

    void show();

    /// The same as on a screen that is narrower.
    void resize(int width, int height);

    QQuickWindow& window() { return *windows_->window(); }

    /// The first item of that name, shown or not; null when there is none.
    QQuickItem* item(const char* name);

    /// The texts of all items of that name that are shown.
    std::vector<std::string> textsOf(const char* name);

    /// Every text that a person sees.
    std::vector<std::string> shownTexts();

    /// Null when nothing shows the text.
    const QQuickItem* shownItem(const std::string& text);

    /// Whether a text is shown, after a while at most.
    bool shows(const std::string& text);
    bool isShown(const char* name);
    void click(const char* name);
    void press(Qt::Key key, Qt::KeyboardModifiers modifiers = {});
    void type(const char* text);

    QtDesktop qtDesktop_;
    std::optional<DesktopAppearance> appearance_;
    std::optional<RecordingRevisions> revisions_;
    std::optional<Quitting> quitting_;
    std::optional<AppWindowController> windows_;

private:
    std::vector<const QQuickItem*> shownItems();
};

} // namespace talkledger::testing
