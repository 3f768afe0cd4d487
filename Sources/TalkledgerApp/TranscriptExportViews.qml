import QtQuick
import QtQuick.Controls

/// What can be done with the chosen recording: copy and save its document, show its folder, and the rest in a menu.
Row {
    id: actions

    required property bool isTight   ///< as icons, with the less common ones in the menu
    required property bool isMenuOnly
    required property bool hasDocument
    signal renameWanted

    spacing: 6

    ActionButton {
        Accessible.name: texts.copyMarkdown
        iconName: "copy"
        objectName: "copyButton"
        text: actions.isTight ? "" : texts.copyMarkdown
        tip: texts.copyMarkdown + "  Ctrl+Shift+C"
        visible: actions.hasDocument && !actions.isMenuOnly
        onClicked: appModel.copyTranscriptMarkdown(chosenRecording.recordingID)
    }
    Row {
        spacing: -1
        visible: actions.hasDocument && !actions.isMenuOnly

        ActionButton {
            Accessible.name: texts.exportMarkdown
            iconName: "save"
            objectName: "exportButton"
            text: actions.isTight ? "" : texts.exportMarkdown
            tip: texts.exportMarkdown + "  Ctrl+S"
            onClicked: appModel.exportTranscriptMarkdown(chosenRecording.recordingID)
        }
        IconButton {
            Accessible.role: Accessible.ButtonMenu
            fill: Theme.surface
            iconName: "down"
            implicitWidth: 28
            name: texts.markdownExportFolder
            objectName: "exportFolderButton"
            outline: Theme.line
            visible: !actions.isTight
            onClicked: folderMenu.open()

            PopupMenu {
                id: folderMenu

                ExportFolderItem {
                    objectName: "chooseExportFolder"
                }
                OpenExportFolderItem {
                    objectName: "openExportFolder"
                }
                SaveAllItem {
                    objectName: "saveAllRecordings"
                }
            }
        }
    }
    IconButton {
        fill: Theme.surface
        iconName: "reveal"
        name: texts.reveal
        objectName: "revealButton"
        outline: Theme.line
        tip: texts.reveal + "  Ctrl+E"
        visible: !actions.isTight
        onClicked: appModel.reveal(chosenRecording.recordingID)
    }
    IconButton {
        Accessible.role: Accessible.ButtonMenu
        fill: Theme.surface
        iconName: "more"
        name: texts.moreActions
        objectName: "moreButton"
        outline: Theme.line
        onClicked: moreMenu.open()

        PopupMenu {
            id: moreMenu

            PopupMenuItem {
                iconName: "pencil"
                shortcutText: "F2"
                text: texts.renameRecording
                onTriggered: actions.renameWanted()
            }
            PopupMenuItem {
                iconName: "copy"
                shortcutText: "Ctrl+Shift+C"
                text: texts.copyMarkdown
                visible: actions.isMenuOnly && actions.hasDocument
                onTriggered: appModel.copyTranscriptMarkdown(chosenRecording.recordingID)
            }
            PopupMenuItem {
                iconName: "save"
                shortcutText: "Ctrl+S"
                text: texts.exportMarkdown
                visible: actions.isMenuOnly && actions.hasDocument
                onTriggered: appModel.exportTranscriptMarkdown(chosenRecording.recordingID)
            }
            PopupMenuItem {
                iconName: "mail"
                objectName: "copyEmailDraft"
                text: texts.copyEmailDraft
                visible: chosenRecording.emailDraft !== ""
                onTriggered: {
                    clipboard.text = chosenRecording.emailDraft
                    clipboard.selectAll()
                    clipboard.copy()
                }
            }
            RevisionItem {
                iconName: "recover"
                objectName: "finishRecording"
                text: texts.finishRecording
                visible: chosenRecording.status === "interrupted"
                onTriggered: revisions.finish(chosenRecording.recordingID)
            }
            RevisionItem {
                iconName: "list"
                text: texts.useLiveTranscript
                visible: chosenRecording.offersLiveTranscript
                onTriggered: revisions.useLiveTranscript(chosenRecording.recordingID)
            }
            RevisionItem {
                iconName: "refresh"
                objectName: "transcribeAgain"
                text: texts.transcribeAgain
                visible: chosenRecording.status === "transcribed"
                onTriggered: revisions.transcribeAgain(chosenRecording.recordingID)
            }
            RevisionItem {
                iconName: "refresh"
                text: texts.summarizeAgain
                visible: actions.hasDocument
                onTriggered: revisions.summarizeAgain(chosenRecording.recordingID)
            }
            RevisionItem {
                iconName: "list"
                objectName: "draftFromKeyPhrases"
                text: texts.draftFromKeyPhrases
                visible: actions.hasDocument
                onTriggered: revisions.draftFromKeyPhrases(chosenRecording.recordingID)
            }
            PopupMenuItem {
                iconName: "reveal"
                shortcutText: "Ctrl+E"
                text: texts.reveal
                visible: actions.isTight
                onTriggered: appModel.reveal(chosenRecording.recordingID)
            }
            PopupMenuItem {
                enabled: revisions.recordingID !== chosenRecording.recordingID
                    && (chosenRecording.status === "transcribed" || chosenRecording.status === "interrupted")
                iconName: "close"
                objectName: "deleteRecording"
                text: texts.deleteRecording
                onTriggered: trash.remove(chosenRecording.recordingID)
            }
            ExportFolderItem {
                visible: actions.isTight && actions.hasDocument
            }
            OpenExportFolderItem {
                visible: actions.isTight && actions.hasDocument
            }
            SaveAllItem {
                visible: actions.isTight
            }
        }
    }

    TextEdit {
        id: clipboard

        Accessible.ignored: true
        visible: false
    }

    component RevisionItem: PopupMenuItem {
        enabled: revisions.recordingID === ""
    }
    component ExportFolderItem: PopupMenuItem {
        iconName: "save"
        text: texts.chooseMarkdownExportFolder
        onTriggered: appModel.chooseMarkdownExportDirectory()
    }
    component OpenExportFolderItem: PopupMenuItem {
        iconName: "folder"
        text: texts.openMarkdownExportFolder
        onTriggered: appModel.openMarkdownExportDirectory()
    }
    component SaveAllItem: PopupMenuItem {
        enabled: !exports.isRunning
        iconName: "save"
        text: texts.saveAllRecordings
        onTriggered: exports.begin()
    }
}
