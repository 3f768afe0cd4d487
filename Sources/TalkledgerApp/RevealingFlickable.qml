import QtQuick
import QtQuick.Controls
import QtQuick.Window

/// Scrolls what does not fit, and brings into view what the keyboard has reached.
Flickable {
    id: flickable

    readonly property Item focused: Window.activeFocusItem

    function holds(item) {
        for (let ancestor = item; ancestor; ancestor = ancestor.parent) {
            if (ancestor === contentItem) {
                return true
            }
        }
        return false
    }

    function reveal(item) {
        const top = item.mapToItem(contentItem, 0, 0).y - Theme.gap2
        const bottom = top + item.height + 2 * Theme.gap2
        if (top < contentY) {
            contentY = Math.max(0, top)
        } else if (bottom > contentY + height) {
            contentY = Math.min(contentHeight - height, bottom - height)
        }
    }

    boundsBehavior: Flickable.StopAtBounds
    clip: true
    interactive: contentHeight > height

    ScrollBar.vertical: ScrollBar {
        policy: flickable.interactive ? ScrollBar.AsNeeded : ScrollBar.AlwaysOff
    }

    onFocusedChanged: {
        if (interactive && focused && holds(focused)) {
            reveal(focused)
        }
    }
}
