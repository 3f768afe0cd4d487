import QtQuick

/// What each track of the running recording does: the microphone's level, and in words whatever is not in order.
Column {
    id: meters

    function problem(track) {
        switch (track) {
        case "notStarted":
            return texts.trackNotAvailable
        case "waitingForDevice":
            return texts.trackWaitingForDevice
        case "writeFailed":
            return texts.trackNotWritten
        default:
            return ""
        }
    }

    readonly property real labelWidth: Math.max(microphone.labelWidth, systemAudio.labelWidth)

    spacing: 2
    width: 260

    component TrackRow: Item {
        id: row

        required property string iconName
        required property string label
        required property string track
        property double level: -1

        readonly property string trouble: meters.problem(track)
        readonly property alias labelWidth: name.implicitWidth

        Accessible.name: label + " " + (trouble === "" ? texts.recording : trouble)
        Accessible.role: Accessible.ProgressBar
        height: Theme.smallLine
        width: meters.width

        Icon {
            id: icon

            anchors.verticalCenter: parent.verticalCenter
            name: row.trouble === "" ? row.iconName : "warn"
            tint: row.trouble === "" ? Theme.text2 : Theme.attention
        }
        SmallWords {
            id: name

            anchors.left: icon.right
            anchors.leftMargin: Theme.gap2
            elide: Text.ElideRight
            text: row.label
            width: meters.labelWidth
        }
        SmallWords {
            anchors.left: name.right
            anchors.leftMargin: Theme.gap2
            anchors.right: parent.right
            color: row.trouble === "" ? Theme.text2 : Theme.attention
            elide: Text.ElideRight
            font.bold: row.trouble !== ""
            objectName: row.objectName + "State"
            text: row.trouble === "" ? texts.recording : row.trouble
            visible: row.trouble !== "" || row.level < 0
        }
        Rectangle {
            anchors.left: name.right
            anchors.leftMargin: Theme.gap2
            anchors.right: parent.right
            anchors.verticalCenter: parent.verticalCenter
            color: Theme.track
            height: 6
            radius: 3
            visible: row.trouble === "" && row.level >= 0

            Rectangle {
                id: bar

                // Speech has a root mean square far below full scale; the square root spreads it over the bar.
                readonly property double share: Math.min(1, Math.sqrt(Math.max(0, row.level)))

                color: Theme.me
                height: parent.height
                objectName: row.objectName + "Bar"
                radius: parent.radius
                width: parent.width * share

                Behavior on width {
                    SmoothedAnimation {
                        duration: Theme.meterFallMilliseconds
                        velocity: -1
                    }
                }
            }
        }
    }

    TrackRow {
        id: microphone

        iconName: "mic"
        label: texts.microphone
        level: appModel.tracks.microphoneLevel
        objectName: "microphoneTrack"
        track: appModel.tracks.microphone
    }
    TrackRow {
        id: systemAudio

        iconName: "system"
        label: texts.systemAudio
        objectName: "systemAudioTrack"
        track: appModel.tracks.systemAudio
    }
}
