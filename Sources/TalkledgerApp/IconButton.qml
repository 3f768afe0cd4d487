import QtQuick

/// A button of an icon alone; its name is shown as a tip and told to screen readers.
ActionButton {
    required property string name

    Accessible.name: name
    fill: "transparent"
    implicitWidth: Theme.buttonHeight
    leftPadding: 0
    outline: "transparent"
    rightPadding: 0
    tip: name
}
