import QtQuick

/// Which recording was moved to the trash, and the way back.
Rectangle {
    id: notice

    Accessible.name: words.text
    Accessible.role: Accessible.AlertMessage
    color: Theme.surface
    height: visible ? 44 : 0
    objectName: "trashNotice"
    visible: trash.canUndo

    Rectangle {
        color: Theme.line
        height: 1
        width: parent.width
    }
    SmallWords {
        id: words

        anchors.left: parent.left
        anchors.leftMargin: 20
        anchors.right: undoButton.left
        anchors.rightMargin: Theme.gap2
        anchors.verticalCenter: parent.verticalCenter
        elide: Text.ElideMiddle
        maximumLineCount: 2
        text: texts.movedToTrash.replace("{title}", trash.title)
        wrapMode: Text.Wrap
    }
    ActionButton {
        id: undoButton

        anchors.right: closeButton.left
        anchors.verticalCenter: parent.verticalCenter
        implicitHeight: 28
        objectName: "undoButton"
        text: texts.undo
        tip: texts.undo + "  Ctrl+Z"
        onClicked: trash.undo()
    }
    IconButton {
        id: closeButton

        anchors.right: parent.right
        anchors.rightMargin: Theme.gap1
        anchors.verticalCenter: parent.verticalCenter
        height: 28
        iconName: "close"
        ink: Theme.text2
        name: texts.close
        width: 28
        onClicked: trash.dismiss()
    }
}
