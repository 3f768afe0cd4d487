import QtQuick
import QtQuick.Controls

/// The chosen recording's title; a field takes its place while it is edited.
Item {
    id: title

    property bool isEditing: false
    property string editedID

    /// What had the keyboard before, and has it again afterwards.
    property Item focusedBefore: null

    function edit() {
        if (isEditing || chosenRecording.recordingID === "") {
            return
        }
        focusedBefore = Window.activeFocusItem
        editedID = chosenRecording.recordingID
        field.text = chosenRecording.title
        isEditing = true
        field.selectAll()
        field.forceActiveFocus()
    }

    /// Leaving the field otherwise than by Esc keeps what was typed.
    function finish(keeps) {
        if (!isEditing) {
            return
        }
        const hadFocus = field.activeFocus
        isEditing = false
        if (keeps && field.text.trim() !== "" && field.text !== recordings.titleOf(editedID)) {
            appModel.rename(editedID, field.text)
        }
        if (hadFocus && focusedBefore) {
            focusedBefore.forceActiveFocus()
        }
    }

    implicitHeight: Theme.titleLine

    Connections {
        function onRecordingChosen() {
            title.finish(true)
        }

        target: chosenRecording
    }

    MarkedWords {
        id: words

        Accessible.role: Accessible.Heading
        anchors.left: parent.left
        elide: Text.ElideRight
        font.bold: true
        font.pixelSize: Theme.titleSize
        line: Theme.titleLine
        objectName: "recordingTitle"
        plain: chosenRecording.title
        visible: !title.isEditing
        width: Math.min(implicitWidth, title.width - pencil.width - Theme.gap1)

        TapHandler {
            onDoubleTapped: title.edit()
        }
    }
    IconButton {
        id: pencil

        anchors.left: words.right
        anchors.leftMargin: Theme.gap1
        anchors.verticalCenter: parent.verticalCenter
        height: 28
        iconName: "pencil"
        ink: Theme.text2
        name: texts.renameRecording
        objectName: "renameButton"
        tip: texts.renameRecording + "  F2"
        visible: !title.isEditing && chosenRecording.recordingID !== ""
        width: 28
        onClicked: title.edit()
    }
    TextField {
        id: field

        Accessible.name: texts.renameRecording
        anchors.left: parent.left
        anchors.leftMargin: -Theme.gap2 - 1
        anchors.right: parent.right
        anchors.verticalCenter: parent.verticalCenter
        anchors.verticalCenterOffset: -1
        bottomPadding: 0
        color: Theme.text
        font.bold: true
        font.pixelSize: Theme.titleSize
        height: 30
        leftPadding: Theme.gap2 + 1
        maximumLength: 1000
        objectName: "titleField"
        rightPadding: Theme.gap2
        selectByMouse: true
        selectedTextColor: Theme.accentText
        selectionColor: Theme.accentFill
        topPadding: 0
        visible: title.isEditing

        background: Rectangle {
            border.color: Theme.accent
            border.width: 2
            color: Theme.surface
            radius: Theme.controlRadius
        }

        Keys.onEscapePressed: title.finish(false)
        onAccepted: title.finish(true)
        onActiveFocusChanged: if (!activeFocus) {
            title.finish(true)
        }
    }
}
