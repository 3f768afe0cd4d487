import QtQuick
import QtQuick.Controls

/// The chosen recording: its title and actions, what it lacks, its summary and diagnostics, and its transcript; side by
/// side, or one page at a time where there is no width for that. While it is in progress, its live summary stands where
/// the summary will, or folded above the transcript.
FocusScope {
    id: detail

    required property bool isWide
    required property int summaryWidth ///< of the column; 0 means pages
    required property bool isAlone     ///< without the list beside it
    signal backWanted
    signal leaveWanted

    readonly property bool isLive: chosenRecording.status === "recording"
    readonly property bool isFinishing: chosenRecording.status === "transcribing"

    /// Of its own, so that it holds from the beginning to the end without a gap in which everything moves.
    readonly property bool isUnfinished: ["recording", "transcribing"].includes(chosenRecording.status)
    readonly property bool hasPages: summaryWidth === 0 && !isUnfinished
    readonly property bool isTight: summaryWidth === 0
    readonly property alias hasDocument: actions.hasDocument
    readonly property int margin: isAlone ? Theme.gap3 : isTight ? Theme.gap4 : Theme.gap6

    property int page: 1

    function show(wantedPage) {
        page = wantedPage
        if (wantedPage === 0) {
            summary.forceActiveFocus()
        } else if (wantedPage === 1) {
            transcript.takeFocus()
        } else if (!hasPages) {
            artifacts.toggle()
        }
    }

    function editTitle() {
        title.edit()
    }

    Rectangle {
        id: head

        anchors.left: parent.left
        anchors.right: parent.right
        anchors.top: parent.top
        color: Theme.surface
        height: Theme.detailHeadHeight

        IconButton {
            id: backButton

            anchors.left: parent.left
            anchors.leftMargin: Theme.gap1
            anchors.verticalCenter: title.verticalCenter
            iconName: "left"
            ink: Theme.text2
            name: texts.back
            objectName: "backButton"
            visible: detail.isAlone
            onClicked: detail.backWanted()
        }
        RecordingTitle {
            id: title

            anchors.left: detail.isAlone ? backButton.right : parent.left
            anchors.leftMargin: detail.isAlone ? Theme.gap1 : detail.margin
            anchors.right: actions.left
            anchors.rightMargin: Theme.gap2
            anchors.top: parent.top
            anchors.topMargin: Theme.gap3
        }
        RecordingMeta {
            anchors.left: title.left
            anchors.right: detail.isAlone ? parent.right : title.right
            anchors.top: title.bottom
            date: detail.width < 360 ? "" : chosenRecording.date
            duration: chosenRecording.duration
            status: chosenRecording.status
            statusText: chosenRecording.statusText
            time: chosenRecording.time
        }
        TranscriptExportViews {
            id: actions

            anchors.right: parent.right
            anchors.rightMargin: Theme.gap3
            anchors.top: parent.top
            anchors.topMargin: Theme.gap3 + 2
            hasDocument: transcript.count > 0 && !detail.isUnfinished
            isMenuOnly: detail.width < 400
            isTight: detail.isTight
            onRenameWanted: title.edit()
        }
        Rectangle {
            anchors.bottom: parent.bottom
            color: Theme.line
            height: 1
            visible: !detail.hasPages
            width: parent.width
        }
    }
    PageTabs {
        id: tabs

        anchors.left: parent.left
        anchors.right: parent.right
        anchors.top: head.bottom
        current: detail.page
        height: visible ? implicitHeight : 0
        margin: detail.margin
        names: [texts.summary, texts.transcript, texts.diagnostics]
        visible: detail.hasPages
        onChosen: index => detail.page = index
    }
    Notices {
        id: problems

        anchors.left: parent.left
        anchors.right: parent.right
        anchors.top: tabs.bottom
        // What the transcript says beside the remedy, it says alone.
        lines: chosenRecording.problems.filter(problem => problem !== texts.noSpeechRecogniser || !transcript.offersModel)
        margin: detail.margin
        objectName: "problems"

        FindModelButton {
            visible: problems.lines.includes(texts.noSpeechRecogniser)
        }
    }

    Item {
        id: column

        anchors.bottom: parent.bottom
        anchors.left: parent.left
        anchors.top: problems.bottom
        visible: detail.hasPages ? detail.page !== 1 : detail.summaryWidth > 0
        width: detail.hasPages ? parent.width : detail.summaryWidth

        Rectangle {
            anchors.fill: parent
            color: detail.isUnfinished ? Theme.window : Theme.surface
        }
        SalesSummaryView {
            id: summary

            anchors.bottom: detail.hasPages ? parent.bottom : artifacts.top
            anchors.left: parent.left
            anchors.right: parent.right
            anchors.top: parent.top
            margin: detail.margin
            visible: !detail.isUnfinished && (!detail.hasPages || detail.page === 0)
        }
        ArtifactViews {
            id: artifacts

            anchors.bottom: parent.bottom
            anchors.left: parent.left
            anchors.right: parent.right
            height: detail.hasPages ? parent.height : implicitHeight
            isPage: detail.hasPages
            margin: detail.margin
            tallest: column.height * 0.45
            visible: !detail.isUnfinished && (!detail.hasPages || detail.page === 2)
        }
        FinishingView {
            anchors.fill: parent
            canLeave: recordings.count > 1
            margin: detail.margin
            objectName: "finishing"
            visible: detail.isFinishing
            onLeaveWanted: detail.leaveWanted()
        }
        LiveSummaryCard {
            id: card

            objectName: "liveSummaryCard"
            tallestBody: Math.max(0, column.height - provisional.height - 100)
            visible: detail.isLive
            width: column.width - x - Theme.gap4
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
            visible: detail.isLive && appModel.isSpeechOffered
            wrapMode: Text.Wrap
        }
        Rectangle {
            anchors.right: parent.right
            color: Theme.line
            height: parent.height
            visible: !detail.hasPages
            width: 1
        }
    }
    Item {
        id: folded

        anchors.left: parent.left
        anchors.leftMargin: Theme.gap3
        anchors.right: parent.right
        anchors.rightMargin: Theme.gap3
        anchors.top: problems.bottom
        anchors.topMargin: Theme.gap3
        height: 96
        visible: detail.isUnfinished && detail.isTight

        // What is finished takes no more and no less room than the summary did.
        Binding on height {
            restoreMode: Binding.RestoreNone
            value: foldedCard.height
            when: detail.isLive
        }
        LiveSummaryCard {
            id: foldedCard

            isFolded: true
            objectName: "foldedSummaryCard"
            visible: detail.isLive
            width: parent.width
        }
        FinishingView {
            anchors.fill: parent
            isFolded: true
            margin: 0
            objectName: "foldedFinishing"
            visible: detail.isFinishing
        }
    }

    TranscriptViews {
        id: transcript

        anchors.bottom: parent.bottom
        anchors.left: !detail.hasPages && column.visible ? column.right : parent.left
        anchors.right: parent.right
        anchors.top: detail.isUnfinished && detail.isTight ? folded.bottom : problems.bottom
        anchors.topMargin: detail.isUnfinished && detail.isTight ? Theme.gap2 : 0
        hasHead: detail.summaryWidth > 0
        isFinishing: detail.isFinishing
        isLive: detail.isLive
        isUnfinished: detail.isUnfinished
        isWide: detail.isWide
        margin: detail.margin
        visible: !detail.hasPages || detail.page === 1
    }
}
