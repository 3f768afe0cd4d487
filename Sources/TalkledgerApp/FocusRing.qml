import QtQuick

/// Shows which control has the keyboard.
Rectangle {
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
