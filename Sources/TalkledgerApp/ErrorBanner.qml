import QtQuick

/// The last error, until it is dismissed or the next action begins: what to do, if we know, and its own words.
Rectangle {
    id: banner

    Accessible.name: (appModel.noTrackStarted ? texts.noTrackStarted + " " + texts.checkSoundAndStartAgain + " " : "") + appModel.lastError
    Accessible.role: Accessible.AlertMessage
    color: Theme.failTint
    height: visible ? content.height + 2 * Theme.gap3 : 0
    objectName: "errorBanner"
    visible: appModel.lastError !== ""

    Icon {
        id: icon

        anchors.left: parent.left
        anchors.leftMargin: Theme.gap6
        anchors.top: content.top
        anchors.topMargin: 2
        name: "fail"
        tint: Theme.fail
    }
    Column {
        id: content

        anchors.left: icon.right
        anchors.leftMargin: Theme.gap3
        anchors.right: closeButton.left
        anchors.rightMargin: Theme.gap3
        anchors.top: parent.top
        anchors.topMargin: Theme.gap3

        Words {
            color: Theme.fail
            font.bold: true
            text: texts.noTrackStarted
            visible: appModel.noTrackStarted
            width: parent.width
            wrapMode: Text.Wrap
        }
        Words {
            bottomPadding: Theme.gap1
            text: texts.checkSoundAndStartAgain
            visible: appModel.noTrackStarted
            width: parent.width
            wrapMode: Text.Wrap
        }
        // A field that only shows, so that the message can be selected and copied.
        TextEdit {
            color: Theme.text
            font.family: Theme.fixedPitch
            font.pixelSize: Theme.smallSize
            objectName: "lastError"
            readOnly: true
            selectByMouse: true
            selectedTextColor: Theme.accentText
            selectionColor: Theme.accentFill
            text: appModel.lastError
            textFormat: TextEdit.PlainText
            width: parent.width
            wrapMode: TextEdit.Wrap
        }
    }
    IconButton {
        id: closeButton

        anchors.right: parent.right
        anchors.rightMargin: Theme.gap2
        anchors.top: parent.top
        anchors.topMargin: Theme.gap2
        height: 28
        iconName: "close"
        name: texts.close
        objectName: "dismissError"
        width: 28
        onClicked: appModel.dismissLastError()
    }
    Rectangle {
        anchors.bottom: parent.bottom
        color: Theme.failLine
        height: 1
        width: parent.width
    }
}
