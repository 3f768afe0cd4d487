import QtQuick
import QtQuick.Controls

/// The chosen recording's transcript, as time-coded bubbles along one rule.
FocusScope {
    id: view

    required property bool isWide
    required property bool hasHead
    required property bool isLive
    required property bool isFinishing
    required property bool isUnfinished
    required property int margin

    readonly property alias count: lines.count
    readonly property bool isStacked: width < Theme.stackedBelow ///< time and speaker above the bubble
    readonly property bool hasHours: chosenRecording.lines.lastTimecode.length > 5
    readonly property int gutter: isStacked ? margin - 13 : margin + (appModel.displayLanguage === "japanese" ? 88 : 110)
                                                          + (hasHours ? 21 : 0)

    /// A model is missing, or on its way, that this recording will need.
    readonly property bool offersModel: note.visible && (modelOffer.isUnderWay ? view.isUnfinished
                                                                               : view.isLive && !appModel.isSpeechOffered)

    function takeFocus() {
        lines.forceActiveFocus()
    }

    Item {
        id: head

        anchors.left: parent.left
        anchors.right: parent.right
        height: view.hasHead ? Theme.columnHeadHeight : hitBar.height
        visible: view.hasHead

        Words {
            Accessible.role: Accessible.Heading
            anchors.left: parent.left
            anchors.leftMargin: view.margin
            anchors.verticalCenter: parent.verticalCenter
            font.bold: true
            text: texts.transcriptTimeline
        }
        Row {
            anchors.right: parent.right
            anchors.rightMargin: Theme.gap6
            anchors.verticalCenter: parent.verticalCenter
            spacing: Theme.gap2
            visible: lines.count > 0 && !search.isActive

            Repeater {
                model: [{name: texts.customerRole, tint: Theme.customer}, {name: texts.meRole, tint: Theme.me}]

                Row {
                    id: legend

                    required property var modelData

                    spacing: 5

                    Rectangle {
                        anchors.verticalCenter: parent.verticalCenter
                        color: legend.modelData.tint
                        height: 8
                        radius: 2
                        width: 8
                    }
                    SmallWords {
                        text: legend.modelData.name
                    }
                }
            }
        }
    }

    Rectangle {
        anchors.bottom: foot.top
        anchors.top: head.bottom
        color: Theme.line
        visible: lines.count > 0 && !view.isStacked
        width: 1
        x: view.gutter
    }

    readonly property bool isLow: Window.height < Theme.lowBelow

    ListView {
        id: lines

        /// The live end stays in view until the user scrolls away from it.
        property bool follows: true
        property int countWhenPaused: 0

        readonly property real nearEnd: 48

        function follow() {
            if (view.isLive && follows && !moving && !scrollBar.pressed) {
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
        anchors.top: head.bottom
        bottomMargin: Theme.gap2
        boundsBehavior: Flickable.StopAtBounds
        cacheBuffer: 0 // lines made ahead would be asked for again of another recording, which may not have them
        clip: true
        keyNavigationEnabled: false
        highlightMoveDuration: 0
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
            canPlay: player.canPlay
            isCurrent: ListView.isCurrentItem && lines.activeFocus && !view.isLive
            isLookedAt: index === transcriptHits.currentLine
            isPlayed: index === player.currentLine && player.canPlay && (player.isPlaying || player.position > 0)
            gutter: view.gutter
            isStacked: view.isStacked
            isWide: view.isWide
            margin: view.margin
            width: lines.width
            onChosen: {
                lines.currentIndex = index
                player.playLine(index)
            }
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
            if (!view.isLive && (event.key === Qt.Key_Up || event.key === Qt.Key_Down)) {
                const next = currentIndex + (event.key === Qt.Key_Up ? -1 : 1)
                currentIndex = Math.max(0, Math.min(next, count - 1))
                positionViewAtIndex(currentIndex, ListView.Contain)
            } else if (event.key === Qt.Key_Return || event.key === Qt.Key_Enter) {
                player.playLine(currentIndex)
            } else if (event.key === Qt.Key_Home) {
                currentIndex = 0
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
            function onCurrentLineChanged() {
                if (player.isPlaying && player.currentLine >= 0 && !lines.moving) {
                    lines.currentIndex = player.currentLine
                    lines.positionViewAtIndex(player.currentLine, ListView.Contain)
                }
            }

            target: player
        }
        // Another transcript of the same recording takes the place of this one at the same time.
        Connections {
            property string timecode
            property real distance: 0

            function onAboutToBeReplaced() {
                const top = lines.indexAt(lines.width / 2, lines.contentY + lines.topMargin + Theme.gap2)
                const item = lines.itemAtIndex(top)
                timecode = item ? chosenRecording.lines.timecodeAt(top) : ""
                distance = item ? item.y - lines.contentY : 0
            }
            function onReplaced() {
                const row = timecode === "" ? -1 : chosenRecording.lines.rowAt(timecode)
                if (row >= 0) {
                    lines.forceLayout()
                    lines.positionViewAtIndex(row, ListView.Beginning)
                    lines.contentY -= distance
                    lines.returnToBounds()
                }
            }

            target: chosenRecording.lines
        }
        Connections {
            function onChanged() {
                Qt.callLater(lines.follow)
            }

            function onRecordingChosen() {
                lines.follows = true
                lines.currentIndex = 0
                Qt.callLater(lines.follow)
            }

            target: chosenRecording
        }
    }

    Words {
        id: note

        anchors.horizontalCenter: parent.horizontalCenter
        anchors.top: head.bottom
        anchors.topMargin: 64
        color: Theme.text2
        horizontalAlignment: Text.AlignHCenter
        objectName: "transcriptNote"
        text: chosenRecording.transcript.isBeingRead ? texts.loading
            : view.isFinishing ? texts.transcriptInTheMaking
            : !view.isLive ? texts.noTranscriptSegments
            : view.offersModel ? texts.recordingIsRunning
            : appModel.awaitsLiveText ? texts.speechAppearsHere
            : texts.transcriptAfterStop
        visible: lines.count === 0 && !(chosenRecording.transcript.isBeingRead && patience.running)
        width: Math.min(parent.width - 2 * view.margin, 480)
        wrapMode: Text.Wrap

        Timer {
            id: patience

            interval: Theme.loadingMilliseconds
            running: chosenRecording.transcript.isBeingRead
        }
    }
    ModelOffer {
        id: modelOffer

        anchors.horizontalCenter: parent.horizontalCenter
        anchors.top: note.bottom
        anchors.topMargin: Theme.gap3
        objectName: "getSpeechModel"
        offer: modelFiles.speechOffer
        reason: isUnderWay ? texts.speechModelOnItsWay : texts.noSpeechModel
        visible: view.offersModel
        width: note.width
    }
    ActionButton {
        anchors.horizontalCenter: parent.horizontalCenter
        anchors.top: note.bottom
        anchors.topMargin: Theme.gap3
        enabled: revisions.recordingID === ""
        objectName: "useLiveTranscript"
        text: texts.useLiveTranscript
        visible: chosenRecording.offersLiveTranscript
        onClicked: revisions.useLiveTranscript(chosenRecording.recordingID)
    }

    Rectangle {
        id: hitBar

        anchors.left: parent.left
        anchors.right: parent.right
        anchors.top: parent.top
        color: view.hasHead ? "transparent" : Theme.surface
        height: visible ? Theme.columnHeadHeight : 0
        visible: search.isActive && lines.count > 0

        TranscriptHitSteps {
            anchors.right: parent.right
            anchors.rightMargin: Theme.gap3
            anchors.verticalCenter: parent.verticalCenter
        }
    }
    Connections {
        function onChanged() {
            if (search.isActive && !view.isLive && transcriptHits.currentLine >= 0) {
                lines.currentIndex = transcriptHits.currentLine
                lines.positionViewAtIndex(transcriptHits.currentLine, ListView.Contain)
            }
        }

        target: transcriptHits
    }
    PlaybackBar {
        id: playback

        anchors.bottom: parent.bottom
        anchors.left: parent.left
        anchors.right: parent.right
        isLow: view.isLow
    }
    TranscriptFoot {
        id: foot

        anchors.bottom: playback.top
        anchors.left: parent.left
        anchors.right: parent.right
        follows: lines.follows
        isLive: view.isLive
        margin: view.margin
        newLines: lines.count - lines.countWhenPaused
        visible: lines.count > 0 && view.isUnfinished
        onLatestWanted: lines.showLatest()
    }
}
