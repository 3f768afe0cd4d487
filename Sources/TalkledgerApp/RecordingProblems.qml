import QtQuick

/// What the chosen recording lacks, a line each.
Rectangle {
    id: problems

    required property int margin

    Accessible.name: chosenRecording.problems.join(" ")
    Accessible.role: Accessible.AlertMessage
    color: Theme.attentionTint
    height: visible ? lines.height + 2 * Theme.gap2 : 0
    objectName: "problems"
    visible: chosenRecording.problems.length > 0

    Column {
        id: lines

        anchors.left: parent.left
        anchors.leftMargin: problems.margin
        anchors.right: parent.right
        anchors.rightMargin: problems.margin
        anchors.verticalCenter: parent.verticalCenter

        Repeater {
            model: chosenRecording.problems

            Row {
                id: line

                required property string modelData

                spacing: Theme.gap2
                width: lines.width

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
