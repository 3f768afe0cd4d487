#include "TalkledgerApp/WindowStage.h"

#include <algorithm>
#include <functional>

namespace talkledger::testing {
namespace {

/// Delegates are no QObject children of the window: the items are walked.
void forEach(QQuickItem& item, const std::function<void(QQuickItem&)>& visit) {
    visit(item);
    for (QQuickItem* const child : item.childItems()) {
        forEach(*child, visit);
    }
}

/// What has just been opened is where it will stay as soon as it is wholly there.
bool isWhollyShown(const QQuickItem& item) {
    for (const QQuickItem* part = &item; part != nullptr; part = part->parentItem()) {
        if (!part->isVisible() || part->opacity() < 1) {
            return false;
        }
    }
    return true;
}

std::string textOf(const QQuickItem& item) {
    return item.property("text").toString().toStdString();
}

} // namespace

WindowStage::WindowStage() {
    settings_.setValue(QStringLiteral("displayLanguage"), QStringLiteral("english"));
}

void WindowStage::show() {
    appearance_.emplace(QDBusConnection(QStringLiteral("no bus")));
    revisions_.emplace(makeModel(), QtMainExecutor(context_));
    quitting_.emplace(model(), *revisions_);
    windows_.emplace(model(), *revisions_, *appearance_, qtDesktop_, *quitting_);
    windows_->showRecordings();
    waitUntil([this] { return window().isExposed(); });
    resize(1280, 720);
}

void WindowStage::resize(int width, int height) {
    window().resize(width, height);
    waitUntil([&] { return window().contentItem()->width() == width; });
}

QQuickItem* WindowStage::item(const char* name) {
    QQuickItem* found = nullptr;
    forEach(*window().contentItem(), [&](QQuickItem& candidate) {
        if (found == nullptr && candidate.objectName() == QLatin1String(name)) {
            found = &candidate;
        }
    });
    return found;
}

std::vector<std::string> WindowStage::textsOf(const char* name) {
    std::vector<std::string> texts;
    forEach(*window().contentItem(), [&](QQuickItem& candidate) {
        if (candidate.isVisible() && candidate.objectName() == QLatin1String(name)) {
            texts.push_back(textOf(candidate));
        }
    });
    return texts;
}

bool WindowStage::shows(const std::string& text) {
    const auto isThere = [&] {
        bool found = false;
        forEach(*window().contentItem(),
                [&](QQuickItem& candidate) { found |= candidate.isVisible() && textOf(candidate) == text; });
        return found;
    };
    return QTest::qWaitFor(isThere, 60'000);
}

bool WindowStage::isShown(const char* name) {
    const QQuickItem* const found = item(name);
    return found != nullptr && found->isVisible();
}

void WindowStage::click(const char* name) {
    QQuickItem* clicked = nullptr;
    const auto middle = [&] { return clicked->mapToScene({clicked->width() / 2, clicked->height() / 2}); };
    waitUntil([&] {
        clicked = item(name);
        return clicked != nullptr && isWhollyShown(*clicked) && window().contentItem()->contains(middle());
    });
    QTest::mouseClick(&window(), Qt::LeftButton, {}, middle().toPoint());
}

void WindowStage::press(Qt::Key key, Qt::KeyboardModifiers modifiers) {
    QTest::keyClick(&window(), key, modifiers);
}

void WindowStage::type(const char* text) {
    for (const char* letter = text; *letter != '\0'; ++letter) {
        QTest::keyClick(&window(), *letter);
    }
}

} // namespace talkledger::testing
