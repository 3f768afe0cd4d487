#include "TalkledgerApp/WindowStage.h"

#include "TalkledgerApp/ShownItems.h"

#include <algorithm>
#include <iterator>

namespace talkledger::testing {
namespace {

/// What is not visible hides all below it.
void collectShown(const QQuickItem& item, std::vector<const QQuickItem*>& shown) {
    if (item.isVisible()) {
        shown.push_back(&item);
        for (const QQuickItem* const child : item.childItems()) {
            collectShown(*child, shown);
        }
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
    return itemBelow(*window().contentItem(), QString::fromLatin1(name));
}

std::vector<std::string> WindowStage::textsOf(const char* name) {
    std::vector<std::string> texts;
    for (const QQuickItem* const shown : shownItems()) {
        if (shown->objectName() == QLatin1String(name)) {
            texts.push_back(textOf(*shown));
        }
    }
    return texts;
}

std::vector<const QQuickItem*> WindowStage::shownItems() {
    std::vector<const QQuickItem*> items;
    collectShown(*window().contentItem(), items);
    return items;
}

std::vector<std::string> WindowStage::shownTexts() {
    std::vector<std::string> texts;
    std::ranges::transform(shownItems(), std::back_inserter(texts),
                           [](const QQuickItem* item) { return textOf(*item); });
    return texts;
}

const QQuickItem* WindowStage::shownItem(const std::string& text) {
    const std::vector<const QQuickItem*> items = shownItems();
    const auto found = std::ranges::find(items, text, [](const QQuickItem* item) { return textOf(*item); });
    return found == items.end() ? nullptr : *found;
}

bool WindowStage::shows(const std::string& text) {
    return QTest::qWaitFor([&] { return shownItem(text) != nullptr; }, 60'000);
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
