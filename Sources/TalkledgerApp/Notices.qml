import QtQuick

/// What is not as it should be and what it means for the recording, a line each, with what can be done about it beside
/// them where there is room.
Rectangle {
    id: notices

    required property int margin
    required property var lines
    default property alias buttons: actions.data

    Accessible.name: lines.join(" ")
    Accessible.role: Accessible.AlertMessage
    color: Theme.attentionTint
    height: visible ? 2 * Theme.gap2 + (actions.isBeside ? Math.max(column.height, actions.height)
                                                         : column.height + actions.height + Theme.gap2) : 0
    visible: lines.length > 0

    Column {
        id: column

        anchors.left: parent.left
        anchors.leftMargin: notices.margin
        anchors.right: parent.right
        anchors.rightMargin: notices.margin + (actions.isBeside ? actions.width + Theme.gap3 : 0)
        y: actions.isBeside ? (notices.height - height) / 2 : Theme.gap2

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
    Row {
        id: actions

        readonly property bool isBeside: width === 0 || notices.width >= 600

        x: isBeside ? notices.width - width - notices.margin : notices.margin + Theme.gap6
        y: isBeside ? Theme.gap2 : column.y + column.height + Theme.gap2
    }
    Rectangle {
        anchors.bottom: parent.bottom
        color: Theme.attentionLine
        height: 1
        width: parent.width
    }
}
