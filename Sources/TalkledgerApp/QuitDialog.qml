import QtQuick
import QtQuick.Controls

/// Asks before quitting ends a recording. The answer that loses nothing is the one at hand.
Popup {
    id: dialog

    readonly property bool isWanted: quitting.isAsking

    anchors.centerIn: parent
    closePolicy: Popup.CloseOnEscape
    dim: true
    focus: true
    modal: true
    padding: 20
    parent: Overlay.overlay
    width: Math.min(440, parent ? parent.width - Theme.gap6 : 440)

    Overlay.modal: Rectangle {
        color: Theme.scrim
    }
    background: Rectangle {
        border.color: Theme.lineStrong
        color: Theme.surface
        radius: Theme.dialogRadius
    }
    contentItem: Column {
        Accessible.name: texts.quitWhileRecording
        Accessible.description: texts.quitSavesTheRecording
        Accessible.role: Accessible.Dialog
        spacing: Theme.gap1

        Words {
            font.bold: true
            font.pixelSize: 15
            line: 24
            text: texts.quitWhileRecording
            width: parent.width
            wrapMode: Text.Wrap
        }
        Words {
            color: Theme.text2
            line: Theme.bodyLine
            text: texts.quitSavesTheRecording
            width: parent.width
            wrapMode: Text.Wrap
        }
        Item {
            height: Theme.gap3
            width: 1
        }
        Flow {
            layoutDirection: Qt.RightToLeft
            spacing: Theme.gap2
            width: parent.width

            ActionButton {
                id: keep

                KeyNavigation.left: stop
                KeyNavigation.tab: stop
                fill: Theme.accentFill
                font.bold: true
                ink: Theme.accentText
                objectName: "keepRecording"
                text: texts.keepRecording
                onClicked: quitting.keepRecording()
            }
            ActionButton {
                id: stop

                KeyNavigation.right: keep
                KeyNavigation.tab: keep
                objectName: "stopAndQuit"
                text: texts.stopAndQuit
                onClicked: quitting.stopAndQuit()
            }
        }
    }

    Component.onCompleted: visible = isWanted
    onClosed: quitting.keepRecording()
    onIsWantedChanged: visible = isWanted
    onOpened: keep.forceActiveFocus(Qt.TabFocusReason) // the ring shows which answer Enter gives
}
