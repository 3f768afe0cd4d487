import QtQuick
import QtQuick.Controls
import QtQuick.Window

/// The small parts that every screen is made of.
QtObject {
    /// A text at one of the theme's sizes. The line height is fixed, or lines with and without Japanese would differ.
    component Words: Text {
        property int line: Theme.controlLine

        color: Theme.text
        font.pixelSize: Theme.controlSize
        lineHeight: line
        lineHeightMode: Text.FixedHeight
        textFormat: Text.PlainText
    }

    component SmallWords: Words {
        color: Theme.text2
        font.pixelSize: Theme.smallSize
        line: Theme.smallLine
    }

    component Figures: SmallWords {
        font.family: Theme.figures
    }

    component Icon: Image {
        property string name
        property color tint: Theme.text2
        property int extent: 16

        height: extent
        source: name === "" ? "" : "image://icons/" + name + "/" + tint.toString().slice(-6)
        sourceSize: Qt.size(extent * Screen.devicePixelRatio, extent * Screen.devicePixelRatio)
        width: extent
    }

    component FocusRing: Rectangle {
        property Item control: parent
        property int inset: -3

        anchors.fill: parent
        anchors.margins: inset
        border.color: Theme.accent
        border.width: 2
        color: "transparent"
        radius: Theme.controlRadius - inset
        visible: control.visualFocus
    }

    component ActionButton: Button {
        id: button

        property string iconName
        property string shortcutText
        property color fill: Theme.surface
        property color ink: Theme.text
        property color outline: Theme.line

        Accessible.name: text
        Accessible.onPressAction: if (enabled) {
            clicked()
        }
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
    }

    component IconButton: ActionButton {
        id: iconButton

        required property string name

        Accessible.name: name
        ToolTip.delay: 600
        ToolTip.text: name
        ToolTip.visible: hovered
        fill: "transparent"
        implicitWidth: Theme.buttonHeight
        leftPadding: 0
        outline: "transparent"
        rightPadding: 0
    }

    component Progress: Rectangle {
        property double share: 0
        property color fill: Theme.accent

        color: Theme.track
        height: 6
        radius: 3

        Rectangle {
            color: parent.fill
            height: parent.height
            radius: parent.radius
            width: parent.width * Math.min(Math.max(parent.share, 0), 1)

            Behavior on width {
                NumberAnimation {
                    duration: Theme.progressMilliseconds
                }
            }
        }
    }
}
