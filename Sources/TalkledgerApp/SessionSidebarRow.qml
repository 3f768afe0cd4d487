import QtQuick

/// One recording of the list: its title, and below it when it began, how long it is and how far it is.
Rectangle {
    id: row

    required property string recordingID
    required property string title
    required property string startTime
    required property string duration
    required property string status
    required property bool isSelected
    signal chosen

    readonly property string statusWords: status === "transcribed" ? texts.transcribed : status === "recording" ? texts.recording : texts.interrupted

    Accessible.name: title + ", " + startTime + ", " + (status === "transcribed" ? duration + ", " : "") + statusWords
    Accessible.onPressAction: chosen()
    Accessible.role: Accessible.ListItem
    Accessible.selected: isSelected
    color: "transparent"
    implicitHeight: words.implicitHeight + 14

    Rectangle {
        anchors.fill: parent
        anchors.leftMargin: Theme.gap2
        anchors.rightMargin: Theme.gap2
        border.color: Theme.accent
        border.width: row.isSelected && row.ListView.view && row.ListView.view.activeFocus ? 2 : 0
        color: row.isSelected ? Theme.select : pointer.hovered ? Theme.hover : "transparent"
        radius: Theme.controlRadius
    }
    HoverHandler {
        id: pointer
    }
    TapHandler {
        onTapped: row.chosen()
    }

    Column {
        id: words

        anchors.left: parent.left
        anchors.leftMargin: 20
        anchors.right: parent.right
        anchors.rightMargin: 20
        anchors.verticalCenter: parent.verticalCenter

        Words {
            elide: Text.ElideRight
            font.bold: row.isSelected
            maximumLineCount: 2
            text: row.title
            width: parent.width
            wrapMode: Text.Wrap
        }
        Row {
            spacing: 6

            Rectangle {
                anchors.verticalCenter: parent.verticalCenter
                color: Theme.live
                height: 8
                radius: 4
                visible: row.status === "recording"
                width: 8
            }
            Icon {
                anchors.verticalCenter: parent.verticalCenter
                extent: 12
                name: "warn"
                tint: Theme.attention
                visible: row.status === "interrupted"
            }
            Figures {
                anchors.baseline: statusLabel.baseline
                text: row.status === "transcribed" ? row.startTime + "  ·  " + row.duration + "  ·" : row.startTime + "  ·"
            }
            SmallWords {
                id: statusLabel

                color: row.isSelected ? Theme.text : row.status === "interrupted" ? Theme.attention : Theme.text2
                font.bold: row.status !== "transcribed"
                text: row.statusWords
            }
        }
    }
}
