import QtQuick
import QtQuick.Controls

/// A menu below the button that opens it, aligned with its right edge.
Menu {
    id: menu

    width: 272
    x: parent ? parent.width - width : 0
    y: parent ? parent.height + Theme.gap1 : 0

    background: Rectangle {
        border.color: Theme.lineStrong
        color: Theme.surface
        radius: Theme.controlRadius
    }
    enter: Transition {
        NumberAnimation {
            duration: Theme.foldMilliseconds
            from: 0
            property: "opacity"
            to: 1
        }
    }
}
