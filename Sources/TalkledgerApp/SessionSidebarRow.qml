import QtQuick

/// One recording of the list: its title, and below it when it began, how long it is and how far it has come.
Rectangle {
    id: row

    required property string recordingID
    required property string title
    required property string time
    required property string duration
    required property string status
    required property string statusText
    required property bool isSelected
    signal chosen

    Accessible.name: [title, time, duration, statusText].filter(part => part !== "").join(", ")
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
        RecordingMeta {
            duration: row.duration
            isOnSelection: row.isSelected
            status: row.status
            statusText: row.statusText
            time: row.time
            width: parent.width
        }
    }
}
