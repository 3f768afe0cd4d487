import QtQuick
import QtQuick.Controls
import QtQuick.Dialogs

/// The recordings window. It is kept when it is closed; what closing means is decided outside.
ApplicationWindow {
    id: window

    signal closeRequested
    signal quitRequested

    function chooseRecording(recordingID) {
        recordingViews.selectedID = recordingID
    }

    color: Theme.window
    title: texts.recordings

    palette {
        alternateBase: Theme.hover
        base: Theme.surface
        brightText: Theme.fail
        button: Theme.surface
        buttonText: Theme.text
        dark: Theme.lineStrong
        highlight: Theme.accentFill
        highlightedText: Theme.accentText
        light: Theme.surface
        link: Theme.accent
        mid: Theme.line
        midlight: Theme.hover
        placeholderText: Theme.text3
        shadow: Theme.line
        text: Theme.text
        toolTipBase: Theme.surface
        toolTipText: Theme.text
        window: Theme.window
        windowText: Theme.text
    }

    onClosing: close => {
        close.accepted = false
        closeRequested()
    }

    Shortcut {
        sequences: ["Ctrl+W"]
        onActivated: window.closeRequested()
    }
    Shortcut {
        sequences: ["Ctrl+Q"]
        onActivated: window.quitRequested()
    }

    RecordingViews {
        id: recordingViews

        anchors.fill: parent
    }
    QuitDialog {}

    Connections {
        function onFolderWanted(prompt, startFolder) {
            folderDialog.title = prompt
            folderDialog.acceptLabel = prompt
            folderDialog.currentFolder = startFolder
            folderDialog.open()
        }

        target: desktop
    }
    FolderDialog {
        id: folderDialog

        objectName: "folderDialog"
        rejectLabel: texts.cancel
        onAccepted: desktop.answerFolder(selectedFolder)
        onRejected: desktop.answerFolder("")
    }
}
