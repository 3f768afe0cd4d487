import QtQuick
import QtQuick.Controls

/// A button with an icon, a text and its shortcut.
Button {
    id: button

    property string iconName
    property string shortcutText
    property string tip
    property color fill: Theme.surface
    property color ink: Theme.text
    property color outline: Theme.line

    Accessible.name: text
    Accessible.onPressAction: if (enabled) {
        clicked()
    }
    Keys.onEnterPressed: clicked()
    Keys.onReturnPressed: clicked()
    font.pixelSize: Theme.controlSize
    implicitHeight: Theme.buttonHeight
    leftPadding: Theme.gap3
    rightPadding: Theme.gap3
    topPadding: 0
    bottomPadding: 0

    background: Rectangle {
        readonly property color resting: button.enabled ? button.fill : Theme.hover
        readonly property bool isPlain: Qt.colorEqual(button.fill, Theme.surface)

        border.color: button.enabled ? button.outline : Theme.line
        border.width: button.enabled && !isPlain ? 0 : 1
        color: button.down ? (isPlain ? Theme.pressed : Qt.darker(resting, 1.15))
                           : button.hovered && button.enabled ? (isPlain ? Theme.hover : Qt.darker(resting, 1.07)) : resting
        radius: Theme.controlRadius

        Behavior on color {
            ColorAnimation {
                duration: Theme.hoverMilliseconds
            }
        }

        FocusRing {
            control: button
        }
    }
    contentItem: Item {
        implicitHeight: content.implicitHeight
        implicitWidth: content.implicitWidth

        Row {
            id: content

            anchors.centerIn: parent
            spacing: 6

            Icon {
                anchors.verticalCenter: parent.verticalCenter
                name: button.iconName
                tint: words.color
                visible: name !== ""
            }
            Words {
                id: words

                anchors.verticalCenter: parent.verticalCenter
                color: button.enabled ? button.ink : Theme.text2
                font.bold: button.font.bold
                font.pixelSize: button.font.pixelSize
                text: button.text
            }
            SmallWords {
                anchors.verticalCenter: parent.verticalCenter
                color: words.color
                leftPadding: Theme.gap1
                text: button.shortcutText
                visible: text !== ""
            }
        }
    }

    ToolTip {
        delay: 600
        visible: button.hovered && button.tip !== ""

        background: Rectangle {
            border.color: Theme.lineStrong
            color: Theme.surface
            radius: Theme.controlRadius
        }
        contentItem: SmallWords {
            text: button.tip
        }
    }
}
