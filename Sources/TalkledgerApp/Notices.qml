import QtQuick

/// What is not as it should be and what it means for the recording, a line each.
Rectangle {
    id: notices

    required property int margin
    required property var lines

    Accessible.name: lines.join(" ")
    Accessible.role: Accessible.AlertMessage
    color: Theme.attentionTint
    height: visible ? column.height + 2 * Theme.gap2 : 0
    visible: lines.length > 0

    Column {
        id: column

        anchors.left: parent.left
        anchors.leftMargin: notices.margin
        anchors.right: parent.right
        anchors.rightMargin: notices.margin
        anchors.verticalCenter: parent.verticalCenter

        Repeater {
            model: notices.lines

            Row {
                id: line

                required property string modelData

                spacing: Theme.gap2
                width: column.width

                Icon {
                    name: "warn"
                    tint: Theme.attention
                    y: 2
                }
                Words {
                    text: line.modelData
                    width: line.width - x
                    wrapMode: Text.Wrap
                }
            }
        }
    }
    Rectangle {
        anchors.bottom: parent.bottom
        color: Theme.attentionLine
        height: 1
        width: parent.width
    }
}
