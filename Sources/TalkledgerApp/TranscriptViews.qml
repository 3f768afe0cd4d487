import QtQuick
import QtQuick.Controls

/// The chosen recording: its title and actions, what it lacks, and its transcript as time-coded bubbles along one rule.
Item {
    id: detail

    required property bool isWide

    readonly property bool isTight: width < 560
    readonly property bool hasHours: chosenRecording.lines.lastTimecode.length > 5
    readonly property int gutter: margin + (appModel.displayLanguage === "japanese" ? 88 : 110) + (hasHours ? 21 : 0)
    readonly property int margin: isTight ? Theme.gap3 : Theme.gap6

    Rectangle {
        id: head

        anchors.left: parent.left
        anchors.right: parent.right
        anchors.top: parent.top
        color: Theme.surface
        height: Theme.detailHeadHeight

        Words {
            id: title

            anchors.left: parent.left
            anchors.leftMargin: detail.margin
            anchors.right: actions.left
            anchors.rightMargin: Theme.gap4
            anchors.top: parent.top
            anchors.topMargin: Theme.gap3
            elide: Text.ElideRight
            font.bold: true
            font.pixelSize: Theme.titleSize
            line: Theme.titleLine
            objectName: "recordingTitle"
            text: chosenRecording.title
        }
        RecordingMeta {
            anchors.left: title.left
            anchors.right: title.right
            anchors.top: title.bottom
            date: detail.isTight ? "" : chosenRecording.date
            duration: chosenRecording.duration
            status: chosenRecording.status
            statusText: chosenRecording.statusText
            time: chosenRecording.time
        }
        Row {
            id: actions

            anchors.right: parent.right
            anchors.rightMargin: Theme.gap3
            anchors.top: parent.top
            anchors.topMargin: Theme.gap3 + 2
            spacing: 6
            visible: lines.count > 0

            ActionButton {
                Accessible.name: texts.copyMarkdown
                tip: texts.copyMarkdown + "  Ctrl+Shift+C"
                iconName: "copy"
                objectName: "copyButton"
                text: detail.isTight ? "" : texts.copyMarkdown
                onClicked: appModel.copyTranscriptMarkdown(chosenRecording.recordingID)
            }
            ActionButton {
                Accessible.name: texts.exportMarkdown
                tip: texts.exportMarkdown + "  Ctrl+S"
                iconName: "save"
                objectName: "exportButton"
                text: detail.isTight ? "" : texts.exportMarkdown
                onClicked: appModel.exportTranscriptMarkdown(chosenRecording.recordingID)
            }
        }
        Rectangle {
            anchors.bottom: parent.bottom
            color: Theme.line
            height: 1
            width: parent.width
        }
    }

    RecordingProblems {
        id: problems

        anchors.left: parent.left
        anchors.right: parent.right
        anchors.top: head.bottom
        margin: detail.margin
    }

    Rectangle {
        anchors.bottom: parent.bottom
        anchors.top: problems.bottom
        color: Theme.line
        visible: lines.count > 0
        width: 1
        x: detail.gutter
    }

    ListView {
        id: lines

        Accessible.name: texts.transcriptTimeline
        Accessible.role: Accessible.List
        activeFocusOnTab: true
        anchors.bottom: parent.bottom
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.top: problems.bottom
        bottomMargin: Theme.gap2
        boundsBehavior: Flickable.StopAtBounds
        clip: true
        model: chosenRecording.lines
        objectName: "transcriptLines"
        topMargin: Theme.gap2

        ScrollBar.vertical: ScrollBar {}
        delegate: TranscriptLine {
            gutter: detail.gutter
            isWide: detail.isWide
            margin: detail.margin
            width: lines.width
        }

        Keys.onPressed: event => {
            if (event.key === Qt.Key_Home) {
                lines.positionViewAtBeginning()
            } else if (event.key === Qt.Key_End) {
                lines.positionViewAtEnd()
            }
        }
    }

    Words {
        anchors.horizontalCenter: parent.horizontalCenter
        anchors.top: problems.bottom
        anchors.topMargin: 64
        color: Theme.text2
        horizontalAlignment: Text.AlignHCenter
        objectName: "transcriptNote"
        text: chosenRecording.status === "recording" ? texts.transcriptAfterStop
            : chosenRecording.status === "transcribing" ? texts.transcriptInTheMaking : texts.noTranscriptSegments
        visible: lines.count === 0
        width: Math.min(parent.width - 2 * detail.margin, 480)
        wrapMode: Text.Wrap
    }
}
