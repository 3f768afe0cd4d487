import QtQuick

/// When a recording began, how long it is and how far it has come, in one line.
Item {
    id: meta

    property string date
    required property string time
    required property string duration
    required property string status
    required property string statusText
    property bool isOnSelection: false

    readonly property color statusColor: isOnSelection ? Theme.text
                                       : status === "recording" ? Theme.live
                                       : status === "interrupted" ? Theme.attention : Theme.text2

    implicitHeight: Theme.smallLine

    Row {
        id: row

        spacing: 6

        Rectangle {
            anchors.verticalCenter: parent.verticalCenter
            color: Theme.live
            height: 8
            radius: 4
            visible: meta.status === "recording"
            width: 8
        }
        Icon {
            anchors.verticalCenter: parent.verticalCenter
            extent: 12
            name: meta.status === "interrupted" ? "warn" : "refresh"
            tint: meta.statusColor
            visible: meta.status === "interrupted" || meta.status === "transcribing"
        }
        SmallWords {
            id: dateLabel

            text: meta.date
            visible: text !== ""
        }
        Figures {
            anchors.baseline: statusLabel.baseline
            text: meta.time + (meta.duration === "" ? "" : "  ·  " + meta.duration) + "  ·"
        }
        SmallWords {
            id: statusLabel

            color: meta.statusColor
            elide: Text.ElideRight
            font.bold: meta.status !== "transcribed"
            text: meta.statusText
            width: Math.max(0, Math.min(implicitWidth, meta.width - x))
        }
    }
}
