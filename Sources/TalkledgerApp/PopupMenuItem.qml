import QtQuick
import QtQuick.Controls

/// A row of a menu: what it does, and its shortcut.
MenuItem {
    id: item

    property string iconName
    property string shortcutText

    Accessible.name: text
    Accessible.onPressAction: if (enabled) {
        triggered()
    }
    font.pixelSize: Theme.controlSize
    height: visible ? implicitHeight : 0
    implicitHeight: Theme.buttonHeight

    background: Rectangle {
        color: item.highlighted ? Theme.hover : "transparent"
        radius: Theme.controlRadius
        x: Theme.gap1
        width: parent ? parent.width - 2 * Theme.gap1 : 0
    }
    contentItem: Item {
        Icon {
            id: icon

            anchors.verticalCenter: parent.verticalCenter
            name: item.iconName
            x: Theme.gap1
        }
        Words {
            anchors.left: icon.right
            anchors.leftMargin: Theme.gap2
            anchors.right: shortcut.left
            anchors.verticalCenter: parent.verticalCenter
            color: item.enabled ? Theme.text : Theme.text3
            elide: Text.ElideRight
            text: item.text
        }
        SmallWords {
            id: shortcut

            anchors.right: parent.right
            anchors.rightMargin: Theme.gap2
            anchors.verticalCenter: parent.verticalCenter
            text: item.shortcutText
        }
    }
}
