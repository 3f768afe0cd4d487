import QtQuick
import QtQuick.Controls

/// The chosen recording: its title and actions, what it lacks, and its transcript as time-coded bubbles along one rule.
/// While it is in progress, its live summary stands beside that or, where there is no width for it, folded above.
Item {
    id: detail

    required property bool isWide
    required property int liveColumnWidth

    readonly property bool isLive: chosenRecording.status === "recording"
    readonly property bool isFinishing: chosenRecording.status === "transcribing"
    readonly property bool hasFinalText: lines.count > 0 && !isLive && !isFinishing

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

            ActionButton {
                Accessible.name: texts.copyMarkdown
                tip: texts.copyMarkdown + "  Ctrl+Shift+C"
                iconName: "copy"
                objectName: "copyButton"
                text: detail.isTight ? "" : texts.copyMarkdown
                visible: detail.hasFinalText
                onClicked: appModel.copyTranscriptMarkdown(chosenRecording.recordingID)
            }
            ActionButton {
                Accessible.name: texts.exportMarkdown
                tip: texts.exportMarkdown + "  Ctrl+S"
                iconName: "save"
                objectName: "exportButton"
                text: detail.isTight ? "" : texts.exportMarkdown
                visible: detail.hasFinalText
                onClicked: appModel.exportTranscriptMarkdown(chosenRecording.recordingID)
            }
            IconButton {
                id: exportFolderButton

                Accessible.role: Accessible.ButtonMenu
                iconName: "down"
                name: texts.markdownExportFolder
                objectName: "exportFolderButton"
                outline: Theme.line
                fill: Theme.surface
                visible: detail.hasFinalText
                onClicked: exportFolderMenu.open()

                Menu {
                    id: exportFolderMenu

                    width: 260
                    x: exportFolderButton.width - width
                    y: exportFolderButton.height + Theme.gap1

                    background: Rectangle {
                        border.color: Theme.lineStrong
                        color: Theme.surface
                        radius: Theme.controlRadius
                    }

                    MenuItem {
                        objectName: "chooseExportFolder"
                        text: texts.chooseMarkdownExportFolder
                        onTriggered: appModel.chooseMarkdownExportDirectory()
                    }
                    MenuItem {
                        objectName: "openExportFolder"
                        text: texts.openMarkdownExportFolder
                        onTriggered: appModel.openMarkdownExportDirectory()
                    }
                }
            }
            IconButton {
                iconName: "reveal"
                name: texts.reveal
                objectName: "revealButton"
                outline: Theme.line
                fill: Theme.surface
                tip: texts.reveal + "  Ctrl+E"
                onClicked: appModel.reveal(chosenRecording.recordingID)
            }
        }
        Rectangle {
            anchors.bottom: parent.bottom
            color: Theme.line
            height: 1
            width: parent.width
        }
    }

    Notices {
        id: problems

        anchors.left: parent.left
        anchors.right: parent.right
        anchors.top: head.bottom
        lines: chosenRecording.problems
        margin: detail.margin
        objectName: "problems"
    }

    Item {
        id: liveColumn

        anchors.bottom: parent.bottom
        anchors.left: parent.left
        anchors.top: problems.bottom
        visible: detail.isLive && detail.liveColumnWidth > 0
        width: visible ? detail.liveColumnWidth : 0

        LiveSummaryCard {
            id: card

            objectName: "liveSummaryCard"
            tallestBody: Math.max(0, liveColumn.height - provisional.height - 100)
            width: liveColumn.width - x - Theme.gap4
            x: Theme.gap6
            y: Theme.gap4
        }
        SmallWords {
            id: provisional

            anchors.bottom: parent.bottom
            anchors.bottomMargin: Theme.gap3
            anchors.left: card.left
            anchors.right: card.right
            text: texts.provisionalContent
            visible: appModel.isSpeechOffered
            wrapMode: Text.Wrap
        }
        Rectangle {
            anchors.right: parent.right
            color: Theme.line
            height: parent.height
            width: 1
        }
    }
    LiveSummaryCard {
        id: foldedCard

        anchors.left: parent.left
        anchors.leftMargin: Theme.gap3
        anchors.right: parent.right
        anchors.rightMargin: Theme.gap3
        anchors.top: problems.bottom
        anchors.topMargin: Theme.gap3
        isFolded: true
        objectName: "foldedSummaryCard"
        visible: detail.isLive && detail.liveColumnWidth === 0
    }

    Item {
        id: transcript

        anchors.bottom: parent.bottom
        anchors.left: liveColumn.right
        anchors.right: parent.right
        anchors.top: foldedCard.visible ? foldedCard.bottom : problems.bottom
        anchors.topMargin: foldedCard.visible ? Theme.gap2 : 0

        Rectangle {
            anchors.bottom: foot.top
            anchors.top: parent.top
            color: Theme.line
            visible: lines.count > 0
            width: 1
            x: detail.gutter
        }

        ListView {
            id: lines

            /// The live end stays in view until the user scrolls away from it.
            property bool follows: true
            property int countWhenPaused: 0

            readonly property real nearEnd: 48

            function follow() {
                if (detail.isLive && follows && !moving && !scrollBar.pressed) {
                    positionViewAtEnd()
                }
            }

            function followIfNearEnd() {
                const end = originY + contentHeight + bottomMargin
                follows = end - contentY - height <= nearEnd
            }

            function showLatest() {
                follows = true
                positionViewAtEnd()
            }

            Accessible.name: texts.transcriptTimeline
            Accessible.role: Accessible.List
            activeFocusOnTab: true
            anchors.bottom: foot.top
            anchors.left: parent.left
            anchors.right: parent.right
            anchors.top: parent.top
            bottomMargin: Theme.gap2
            boundsBehavior: Flickable.StopAtBounds
            clip: true
            keyNavigationEnabled: false
            model: chosenRecording.lines
            objectName: "transcriptLines"
            topMargin: Theme.gap2

            ScrollBar.vertical: ScrollBar {
                id: scrollBar

                onPressedChanged: if (!pressed) {
                    lines.followIfNearEnd()
                }
            }
            delegate: TranscriptLine {
                gutter: detail.gutter
                isWide: detail.isWide
                margin: detail.margin
                width: lines.width
            }

            onContentHeightChanged: Qt.callLater(follow)
            onFollowsChanged: countWhenPaused = count
            onHeightChanged: Qt.callLater(follow)
            onMovementEnded: followIfNearEnd()

            Keys.onPressed: event => {
                const page = height - 2 * Theme.bodyLine
                const steps = {}
                steps[Qt.Key_Up] = -2 * Theme.bodyLine
                steps[Qt.Key_Down] = 2 * Theme.bodyLine
                steps[Qt.Key_PageUp] = -page
                steps[Qt.Key_PageDown] = page
                if (event.key === Qt.Key_Home) {
                    positionViewAtBeginning()
                    followIfNearEnd()
                } else if (event.key === Qt.Key_End) {
                    showLatest()
                } else if (event.key in steps) {
                    const last = originY + contentHeight + bottomMargin - height
                    contentY = Math.max(originY - topMargin, Math.min(contentY + steps[event.key], last))
                    followIfNearEnd()
                } else {
                    return
                }
                event.accepted = true
            }

            Connections {
                function onChanged() {
                    Qt.callLater(lines.follow)
                }

                function onRecordingChosen() {
                    lines.follows = true
                    Qt.callLater(lines.follow)
                }

                target: chosenRecording
            }
        }

        Words {
            anchors.horizontalCenter: parent.horizontalCenter
            anchors.top: parent.top
            anchors.topMargin: 64
            color: Theme.text2
            horizontalAlignment: Text.AlignHCenter
            objectName: "transcriptNote"
            text: detail.isFinishing ? texts.transcriptInTheMaking
                : !detail.isLive ? texts.noTranscriptSegments
                : appModel.awaitsLiveText ? texts.speechAppearsHere
                : appModel.isSpeechOffered ? texts.transcriptAfterStop : texts.recordingIsRunning
            visible: lines.count === 0
            width: Math.min(parent.width - 2 * detail.margin, 480)
            wrapMode: Text.Wrap
        }

        TranscriptFoot {
            id: foot

            anchors.bottom: parent.bottom
            anchors.left: parent.left
            anchors.right: parent.right
            follows: lines.follows
            isLive: detail.isLive
            margin: detail.margin
            newLines: lines.count - lines.countWhenPaused
            visible: lines.count > 0 && (detail.isLive || detail.isFinishing)
            onLatestWanted: lines.showLatest()
        }
    }
}
