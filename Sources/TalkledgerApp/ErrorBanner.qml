import QtQuick

/// The last error in its own words, until the next action begins.
Rectangle {
    id: banner

    color: Theme.failTint
    height: visible ? message.height + 2 * Theme.gap3 : 0
    objectName: "errorBanner"
    visible: appModel.lastError !== ""

    Accessible.name: appModel.lastError
    Accessible.role: Accessible.AlertMessage

    Icon {
        id: icon

        anchors.left: parent.left
        anchors.leftMargin: Theme.gap6
        anchors.top: parent.top
        anchors.topMargin: Theme.gap3 + 2
        name: "fail"
        tint: Theme.fail
    }
    // A field that only shows, so that the message can be selected and copied.
    TextEdit {
        id: message

        anchors.left: icon.right
        anchors.leftMargin: Theme.gap3
        anchors.right: parent.right
        anchors.rightMargin: Theme.gap6
        anchors.top: parent.top
        anchors.topMargin: Theme.gap3
        color: Theme.text
        font.pixelSize: Theme.controlSize
        objectName: "lastError"
        readOnly: true
        selectByMouse: true
        selectedTextColor: Theme.accentText
        selectionColor: Theme.accentFill
        text: appModel.lastError
        textFormat: TextEdit.PlainText
        wrapMode: TextEdit.Wrap
    }
    Rectangle {
        anchors.bottom: parent.bottom
        color: Theme.failLine
        height: 1
        width: parent.width
    }
}
