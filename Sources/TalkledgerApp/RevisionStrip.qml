import QtQuick

/// What is being done for the chosen recording, and how far that has come.
Rectangle {
    id: strip

    readonly property bool isWanted: revisions.recordingID !== "" && revisions.recordingID === chosenRecording.recordingID
    readonly property bool isTranscribing: revisions.work !== 3
    readonly property string percent: Math.round(revisions.transcribedShare * 100) + "%"

    Accessible.name: words.text + (isTranscribing ? " " + percent : "")
    Accessible.role: Accessible.ProgressBar
    color: Theme.surface
    height: visible ? Theme.footHeight : 0
    objectName: "revisionStrip"

    Row {
        anchors.verticalCenter: parent.verticalCenter
        spacing: Theme.gap3
        x: strip.width < Theme.stackedBelow ? Theme.gap3 : Theme.gap6

        Icon {
            anchors.verticalCenter: parent.verticalCenter
            name: "refresh"
            tint: Theme.accent
        }
        Words {
            id: words

            font.bold: true
            objectName: "revisionWork"
            text: ["", texts.recovering, texts.transcribing, texts.summarizing][revisions.work]
        }
        Progress {
            anchors.verticalCenter: parent.verticalCenter
            share: revisions.transcribedShare
            visible: strip.isTranscribing
            width: Math.min(200, strip.width / 3)
        }
        Figures {
            anchors.verticalCenter: parent.verticalCenter
            text: strip.percent
            visible: strip.isTranscribing
        }
    }
    Rectangle {
        anchors.bottom: parent.bottom
        color: Theme.line
        height: 1
        width: parent.width
    }
}
