import QtQuick
import QtQuick.Controls

/// A line of the panel or a popover that does something.
AbstractButton {
    id: row

    property string iconName
    property string shortcutText

    /// Digits at the end, where no shortcut stands.
    property string figuresText

    Accessible.name: figuresText === "" ? text : text + ", " + figuresText
    Accessible.onPressAction: clicked()
    Accessible.role: Accessible.Button
    Keys.onEnterPressed: clicked()
    Keys.onReturnPressed: clicked()
    focusPolicy: Qt.StrongFocus
    implicitHeight: Theme.buttonHeight
    leftPadding: Theme.gap2
    rightPadding: Theme.gap2

    background: Rectangle {
        color: row.down ? Theme.pressed : row.hovered ? Theme.hover : "transparent"
        radius: Theme.controlRadius

        FocusRing {
            control: row
            inset: 2
        }
    }
    contentItem: Item {
        Icon {
            id: icon

            anchors.verticalCenter: parent.verticalCenter
            name: row.iconName
            visible: name !== ""
        }
        Words {
            anchors.left: icon.visible ? icon.right : parent.left
            anchors.leftMargin: icon.visible ? 10 : 0
            anchors.right: end.left
            anchors.rightMargin: Theme.gap2
            anchors.verticalCenter: parent.verticalCenter
            elide: Text.ElideRight
            text: row.text
        }
        Item {
            id: end

            anchors.right: parent.right
            anchors.verticalCenter: parent.verticalCenter
            height: Theme.smallLine
            width: Math.max(shortcut.implicitWidth, figures.implicitWidth)

            SmallWords {
                id: shortcut

                anchors.right: parent.right
                color: row.hovered || row.down ? Theme.text2 : Theme.text3
                text: row.shortcutText
            }
            Figures {
                id: figures

                anchors.right: parent.right
                text: row.figuresText
            }
        }
    }
}
