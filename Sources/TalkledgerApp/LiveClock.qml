import QtQuick
import QtQuick.Window

/// How long the recording in progress has been running.
Row {
    id: clock

    property bool isNarrow: false

    spacing: 10

    Rectangle {
        anchors.verticalCenter: parent.verticalCenter
        color: Theme.live
        height: 8
        radius: 4
        width: 8

        SequentialAnimation on opacity {
            loops: Animation.Infinite
            running: clock.visible && clock.Window.active

            NumberAnimation {
                duration: 1000
                to: 0.35
            }
            NumberAnimation {
                duration: 1000
                to: 1
            }
        }
    }
    Figures {
        id: elapsed

        property double now: Date.now()

        function formatted() {
            const seconds = Math.max(0, Math.floor((now - appModel.currentRecordingStart) / 1000))
            const two = number => String(number).padStart(2, "0")
            const minutes = two(Math.floor(seconds / 60) % 60) + ":" + two(seconds % 60)
            return seconds < 3600 ? minutes : two(Math.floor(seconds / 3600)) + ":" + minutes
        }

        color: Theme.text
        font.bold: true
        font.pixelSize: clock.isNarrow ? Theme.narrowClockSize : Theme.clockSize
        line: clock.isNarrow ? Theme.narrowClockLine : Theme.clockLine
        objectName: "elapsedTime"
        text: formatted()
        topPadding: -3 // digits reach nothing below the line that they stand on

        Timer {
            interval: 250
            repeat: true
            running: clock.visible
            triggeredOnStart: true
            onTriggered: elapsed.now = Date.now()
        }
    }
}
