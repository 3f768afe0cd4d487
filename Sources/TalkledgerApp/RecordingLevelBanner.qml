import QtQuick

/// What each track of the running recording does: its level, and in words whatever is not in order.
Column {
    id: meters

    function problem(track, silentMinutes) {
        switch (track) {
        case "notStarted":
            return texts.trackNotAvailable
        case "waitingForDevice":
            return texts.trackWaitingForDevice
        case "writeFailed":
            return texts.trackNotWritten
        default:
            return silentMinutes > 0 ? texts.trackSilentForMinutes.replace("{n}", silentMinutes) : ""
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
        required property double level
        required property int silentMinutes
        required property color fill

        readonly property string trouble: meters.problem(track, silentMinutes)
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
            color: Theme.attention
            elide: Text.ElideRight
            font.bold: true
            objectName: row.objectName + "State"
            text: row.trouble
            visible: text !== ""
        }
        LevelMeter {
            anchors.left: name.right
            anchors.leftMargin: Theme.gap2
            anchors.right: parent.right
            anchors.verticalCenter: parent.verticalCenter
            fill: row.fill
            level: row.level
            objectName: row.objectName + "Bar"
            visible: row.trouble === ""
        }
    }

    TrackRow {
        id: microphone

        fill: Theme.me
        iconName: "mic"
        label: texts.microphone
        level: appModel.tracks.microphoneLevel
        objectName: "microphoneTrack"
        silentMinutes: appModel.tracks.microphoneSilentMinutes
        track: appModel.tracks.microphone
    }
    TrackRow {
        id: systemAudio

        fill: Theme.customer
        iconName: "system"
        label: texts.systemAudio
        level: appModel.tracks.systemAudioLevel
        objectName: "systemAudioTrack"
        silentMinutes: appModel.tracks.systemAudioSilentMinutes
        track: appModel.tracks.systemAudio
    }
}
