import QtQuick

/// How far the saving of all recordings has come, and then how many there are.
Rectangle {
    id: notice

    Accessible.name: words.text
    Accessible.role: exports.isRunning ? Accessible.Pane : Accessible.AlertMessage
    color: Theme.surface
    height: visible ? 44 : 0
    objectName: "exportNotice"
    visible: exports.isRunning || exports.hasEnded

    Rectangle {
        color: Theme.line
        height: 1
        width: parent.width
    }
    SmallWords {
        id: words

        anchors.left: parent.left
        anchors.leftMargin: 20
        anchors.right: button.left
        anchors.rightMargin: Theme.gap2
        anchors.verticalCenter: parent.verticalCenter
        anchors.verticalCenterOffset: exports.isRunning ? -5 : 0
        maximumLineCount: 2
        text: exports.isRunning
            ? texts.savingRecordings.replace("{n}", exports.doneCount).replace("{m}", exports.count)
            : texts.recordingsSaved.replace("{n}", exports.savedCount)
        wrapMode: Text.Wrap
    }
    Progress {
        anchors.bottom: parent.bottom
        anchors.bottomMargin: Theme.gap2
        anchors.left: words.left
        anchors.right: words.right
        share: exports.count > 0 ? exports.doneCount / exports.count : 0
        visible: exports.isRunning
    }
    ActionButton {
        id: button

        anchors.right: closeButton.left
        anchors.verticalCenter: parent.verticalCenter
        implicitHeight: 28
        objectName: "exportNoticeButton"
        text: exports.isRunning ? texts.cancelSaving : texts.openFolder
        onClicked: exports.isRunning ? exports.cancel() : appModel.openMarkdownExportDirectory()
    }
    IconButton {
        id: closeButton

        anchors.right: parent.right
        anchors.rightMargin: Theme.gap1
        anchors.verticalCenter: parent.verticalCenter
        enabled: exports.hasEnded
        height: 28
        iconName: "close"
        ink: Theme.text2
        name: texts.close
        width: enabled ? 28 : 0
        visible: enabled
        onClicked: exports.dismiss()
    }
}
