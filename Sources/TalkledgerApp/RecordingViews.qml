import QtQuick
import QtQuick.Controls

/// The recordings screen: the record bar over the list of recordings and the chosen one.
FocusScope {
    id: screen

    property string selectedID

    /// Where there is room for one of them only: the list, or the recording.
    property bool showsList: false

    readonly property bool isWide: width >= Theme.wideFrom
    readonly property bool isNarrow: width < Theme.narrowBelow

    function selectPreferred() {
        selectedID = recordings.preferredSelection(selectedID)
    }

    Component.onCompleted: selectPreferred()

    Binding {
        property: "recordingID"
        target: chosenRecording
        value: screen.selectedID
    }
    Connections {
        function onRestored(recordingID) {
            screen.selectedID = recordings.selection(recordingID)
        }

        target: trash
    }
    Connections {
        function onIsOpenChanged() {
            if (firstMinutes.isOpen && player.isPlaying) {
                player.toggle()
            } else if (!firstMinutes.isOpen) {
                bar.forceActiveFocus()
            }
        }

        target: firstMinutes
    }
    Connections {
        function onCountChanged() {
            screen.selectPreferred()
        }

        target: recordings
    }
    Connections {
        function onCurrentSessionChanged() {
            screen.selectPreferred()
        }

        target: appModel
    }
    Shortcut {
        enabled: bar.canToggle
        sequences: ["Ctrl+R"]
        onActivated: appModel.toggleRecording()
    }
    Shortcut {
        sequences: ["Ctrl+L"]
        onActivated: appModel.switchLanguage()
    }
    Shortcut {
        sequences: ["Ctrl+,"]
        onActivated: bar.openSettings()
    }
    Shortcut {
        sequences: ["F5"]
        onActivated: appModel.refreshSessions()
    }
    Shortcut {
        enabled: detail.hasDocument
        sequences: ["Ctrl+S"]
        onActivated: appModel.exportTranscriptMarkdown(screen.selectedID)
    }
    Shortcut {
        enabled: detail.hasDocument
        sequences: ["Ctrl+Shift+C"]
        onActivated: appModel.copyTranscriptMarkdown(screen.selectedID)
    }
    Shortcut {
        sequences: ["Ctrl+E"]
        onActivated: appModel.reveal(screen.selectedID)
    }
    /// Whether letters and arrows are for a field or a button that has the keyboard.
    readonly property bool isTyping: Window.activeFocusItem instanceof TextInput || Window.activeFocusItem instanceof TextEdit
    readonly property bool isOnButton: Window.activeFocusItem instanceof AbstractButton

    Shortcut {
        enabled: player.canPlay && !screen.isTyping && !screen.isOnButton
        sequences: ["Space"]
        onActivated: player.toggle()
    }
    Shortcut {
        enabled: player.canPlay && !screen.isTyping && !screen.isOnButton
        sequences: ["Left"]
        onActivated: player.skip(-5)
    }
    Shortcut {
        enabled: player.canPlay && !screen.isTyping && !screen.isOnButton
        sequences: ["Right"]
        onActivated: player.skip(5)
    }
    Shortcut {
        enabled: player.canPlay && !screen.isTyping
        sequences: ["Shift+Left"]
        onActivated: player.skip(-10)
    }
    Shortcut {
        enabled: player.canPlay && !screen.isTyping
        sequences: ["Shift+Right"]
        onActivated: player.skip(10)
    }
    Shortcut {
        sequences: ["Ctrl+F"]
        onActivated: {
            screen.showsList = true
            list.takeSearch()
        }
    }
    Shortcut {
        enabled: trash.canUndo && !screen.isTyping
        sequences: ["Ctrl+Z"]
        onActivated: trash.undo()
    }
    Shortcut {
        sequences: ["F2"]
        onActivated: detail.editTitle()
    }
    Shortcut {
        sequences: ["Ctrl+1"]
        onActivated: detail.show(0)
    }
    Shortcut {
        sequences: ["Ctrl+2"]
        onActivated: detail.show(1)
    }
    Shortcut {
        sequences: ["Ctrl+3"]
        onActivated: detail.show(2)
    }
    Shortcut {
        sequences: ["Alt+Up"]
        onActivated: list.step(-1)
    }
    Shortcut {
        sequences: ["Alt+Down"]
        onActivated: list.step(1)
    }

    RecordBar {
        id: bar

        anchors.left: parent.left
        anchors.right: parent.right
        focus: true
        isNarrow: screen.isNarrow
    }

    SessionSidebar {
        id: list

        anchors.bottom: parent.bottom
        anchors.left: parent.left
        anchors.top: bar.bottom
        selectedID: screen.selectedID
        visible: width > 0
        width: firstMinutes.isOpen ? 0 : screen.isNarrow ? (screen.showsList || recordings.count === 0 ? screen.width : 0)
             : screen.width >= Theme.largeFrom ? 320 : screen.isWide ? 288 : 256
        onChosen: recordingID => screen.selectedID = recordings.selection(recordingID)
        onHitOpened: (recordingID, line) => {
            screen.selectedID = recordings.selection(recordingID)
            screen.showsList = false
            transcriptHits.goToLine(line)
        }
        onOpened: screen.showsList = false
    }

    ErrorBanner {
        id: banner

        anchors.left: list.right
        anchors.right: parent.right
        anchors.top: bar.bottom
    }

    TrackBanner {
        id: trackBanner

        anchors.left: list.right
        anchors.right: parent.right
        anchors.top: banner.bottom
        visible: trackNotice.cause !== "" && !banner.visible // one at a time
    }

    RecoverBanner {
        id: recoverBanner

        anchors.left: list.right
        anchors.right: parent.right
        anchors.top: trackBanner.bottom
        visible: isWanted && !banner.visible && !trackBanner.visible
    }
    RevisionStrip {
        id: revisionStrip

        anchors.left: list.right
        anchors.right: parent.right
        anchors.top: recoverBanner.bottom
        visible: isWanted
    }

    Notices {
        id: notice

        anchors.left: list.right
        anchors.right: parent.right
        anchors.top: revisionStrip.bottom
        margin: Theme.gap6
        objectName: "notice"
        // Where the recording says it by itself, once is enough.
        lines: appModel.isSpeechOffered || chosenRecording.problems.includes(texts.noSpeechRecogniser)
               ? [] : [texts.noSpeechRecogniser]

        FindModelButton {}
    }

    RecordingDetailView {
        id: detail

        anchors.bottom: parent.bottom
        anchors.left: list.right
        anchors.right: parent.right
        anchors.top: notice.bottom
        isAlone: screen.isNarrow
        isWide: screen.isWide
        summaryWidth: screen.width >= Theme.largeFrom ? 440 : screen.isWide ? 368
                    : screen.width >= Theme.mediumFrom ? 320 : 0
        visible: !firstMinutes.isOpen && recordings.count > 0 && (!screen.isNarrow || !screen.showsList)
        onBackWanted: screen.showsList = true
        onLeaveWanted: list.step(1)
    }
    EmptyView {
        anchors.bottom: parent.bottom
        anchors.left: list.right
        anchors.right: parent.right
        anchors.top: notice.bottom
        visible: !firstMinutes.isOpen && recordings.count === 0 && !appModel.isLoadingSessions && !screen.isNarrow
    }
    FirstMinutesPage {
        anchors.bottom: parent.bottom
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.top: banner.bottom
        objectName: "firstMinutesPage"
        visible: firstMinutes.isOpen
    }
}
