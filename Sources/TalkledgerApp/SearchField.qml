import QtQuick
import QtQuick.Controls

/// Where the words are typed that are searched in all recordings.
TextField {
    id: field

    signal closed
    signal confirmed(bool backwards)
    signal stepped(int rows)

    function close() {
        text = ""
        closed()
    }

    Accessible.name: texts.searchRecordings
    Accessible.role: Accessible.EditableText
    bottomPadding: 0
    color: Theme.text
    font.pixelSize: Theme.controlSize
    height: Theme.buttonHeight
    leftPadding: 34
    objectName: "searchField"
    placeholderText: texts.searchRecordings
    placeholderTextColor: Theme.text3
    rightPadding: text === "" ? shortcut.width + 14 : 34
    selectByMouse: true
    selectedTextColor: Theme.accentText
    selectionColor: Theme.accentFill
    topPadding: 0
    verticalAlignment: TextInput.AlignVCenter

    background: Rectangle {
        border.color: field.activeFocus ? Theme.accent : Theme.lineStrong
        border.width: field.activeFocus ? 2 : 1
        color: Theme.surface
        radius: Theme.controlRadius
    }

    Keys.onPressed: event => {
        if (event.key === Qt.Key_Escape) {
            close()
        } else if (event.key === Qt.Key_Return || event.key === Qt.Key_Enter) {
            confirmed((event.modifiers & Qt.ShiftModifier) !== 0)
        } else if (event.key === Qt.Key_Up && event.modifiers === Qt.NoModifier) {
            stepped(-1)
        } else if (event.key === Qt.Key_Down && event.modifiers === Qt.NoModifier) {
            stepped(1)
        } else {
            return
        }
        event.accepted = true
    }
    onTextChanged: search.typed = text.replace(/\s/g, " ") // what is pasted may have lines

    Icon {
        anchors.verticalCenter: parent.verticalCenter
        name: "search"
        x: 10
    }
    SmallWords {
        id: shortcut

        anchors.right: parent.right
        anchors.rightMargin: 9
        anchors.verticalCenter: parent.verticalCenter
        color: Theme.text3
        text: "Ctrl+F"
        visible: field.text === ""
    }
    IconButton {
        anchors.right: parent.right
        anchors.rightMargin: 2
        anchors.verticalCenter: parent.verticalCenter
        focusPolicy: Qt.TabFocus
        height: 28
        iconName: "close"
        ink: Theme.text2
        name: texts.clearSearch
        objectName: "clearSearch"
        visible: field.text !== ""
        width: 28
        onClicked: field.close()
    }
}
