import QtQuick

/// What the tracks of the recording in progress lack just now, and what can be done about it.
Rectangle {
    id: banner

    Accessible.name: trackNotice.cause + ". " + trackNotice.advice
    Accessible.role: Accessible.AlertMessage
    color: Theme.attentionTint
    height: visible ? content.height + 2 * Theme.gap3 : 0
    objectName: "trackBanner"

    Icon {
        id: icon

        anchors.left: parent.left
        anchors.leftMargin: banner.width < Theme.stackedBelow ? Theme.gap3 : Theme.gap6
        anchors.top: content.top
        anchors.topMargin: 2
        name: "warn"
        tint: Theme.attention
    }
    Column {
        id: content

        anchors.left: icon.right
        anchors.leftMargin: Theme.gap3
        anchors.right: parent.right
        anchors.rightMargin: Theme.gap3 + (check.isBeside ? check.width + Theme.gap3 : 0)
        anchors.top: parent.top
        anchors.topMargin: Theme.gap3

        Words {
            color: Theme.attention
            font.bold: true
            objectName: "trackCause"
            text: trackNotice.cause
            width: parent.width
            wrapMode: Text.Wrap
        }
        Words {
            text: trackNotice.advice
            width: parent.width
            wrapMode: Text.Wrap
        }
        SmallWords {
            font.family: Theme.fixedPitch
            text: trackNotice.message
            topPadding: Theme.gap1
            visible: text !== ""
            width: parent.width
            wrapMode: Text.Wrap
        }
        Item {
            height: check.height + Theme.gap2
            visible: !check.isBeside
            width: 1
        }
    }
    ActionButton {
        id: check

        readonly property bool isBeside: banner.width >= 600

        iconName: trackNotice.isAboutMicrophone ? "mic" : "system"
        implicitHeight: Theme.smallButtonHeight
        objectName: "checkTrack"
        text: trackNotice.isAboutMicrophone ? texts.checkMicrophone : texts.checkSound
        x: isBeside ? banner.width - width - Theme.gap3 : content.x
        y: content.y + (isBeside ? 0 : content.height - height)
        onClicked: permissions.openSettings(trackNotice.isAboutMicrophone ? "microphone" : "systemAudio")
    }
    Rectangle {
        anchors.bottom: parent.bottom
        color: Theme.attentionLine
        height: 1
        width: parent.width
    }
}
