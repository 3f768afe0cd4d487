import QtQuick
import QtQuick.Controls

/// A row of a card that leads somewhere.
AbstractButton {
    id: link

    Accessible.name: text
    Accessible.onPressAction: clicked()
    Accessible.role: Accessible.Button
    Keys.onEnterPressed: clicked()
    Keys.onReturnPressed: clicked()
    focusPolicy: Qt.StrongFocus
    implicitHeight: 40

    background: Item {
        Rectangle {
            color: Theme.line
            height: 1
            visible: link.y > 0
            width: parent.width
        }
        FocusRing {
            control: link
            inset: 4
        }
    }
    contentItem: Words {
        color: link.enabled ? Theme.accent : Theme.text2
        elide: Text.ElideRight
        font.underline: link.hovered
        leftPadding: 43
        rightPadding: 14
        text: link.text
        verticalAlignment: Text.AlignVCenter
    }
}
