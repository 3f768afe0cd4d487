import QtQuick
import QtQuick.Controls

/// A small surface beside the button that opened it; Escape or a click elsewhere closes it.
Popup {
    id: popover

    property string name

    closePolicy: Popup.CloseOnEscape | Popup.CloseOnPressOutsideParent
    focus: true
    margins: Theme.gap2
    padding: Theme.gap2

    background: Rectangle {
        Accessible.name: popover.name
        Accessible.role: Accessible.Pane
        border.color: Theme.lineStrong
        color: Theme.surface
        radius: Theme.cardRadius
    }
}
