import QtQuick
import QtQuick.Controls

/// A button of an icon alone; its name is shown as a tip and told to screen readers.
ActionButton {
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
