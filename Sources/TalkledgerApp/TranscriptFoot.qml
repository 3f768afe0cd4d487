import QtQuick
import QtQuick.Controls

/// Below a transcript that is not final: whether it follows what is being said, and what its outlines mean.
Rectangle {
    id: foot

    required property int margin
    required property bool isLive
    required property bool follows
    required property int newLines
    signal latestWanted

    color: Theme.surface
    height: visible ? Math.max(isLive && !follows ? 44 : 32, words.height + 8) : 0

    Rectangle {
        color: Theme.line
        height: 1
        width: parent.width
    }
    Row {
        anchors.left: parent.left
        anchors.leftMargin: foot.margin
        anchors.verticalCenter: parent.verticalCenter
        spacing: Theme.gap2

        Rectangle {
            anchors.verticalCenter: parent.verticalCenter
            color: Theme.accent
            height: 8
            radius: 4
            visible: foot.isLive && foot.follows
            width: 8
        }
        Icon {
            anchors.verticalCenter: parent.verticalCenter
            name: "clock"
            visible: !foot.isLive
        }
        SmallWords {
            id: words

            objectName: "transcriptFoot"
            text: !foot.isLive ? texts.liveTranscriptKept
                : foot.follows ? texts.followingLatestLine : texts.pausedWhileYouRead
            width: foot.width - 2 * foot.margin - 24 - (legend.visible ? legend.width : latest.visible ? latest.width : 0)
            wrapMode: Text.Wrap
        }
    }
    Row {
        id: legend

        anchors.right: parent.right
        anchors.rightMargin: Theme.gap3
        anchors.verticalCenter: parent.verticalCenter
        spacing: Theme.gap2
        visible: foot.isLive && foot.follows && foot.width > 480

        Rectangle {
            anchors.verticalCenter: parent.verticalCenter
            border.color: Theme.lineStrong
            color: "transparent"
            height: 10
            radius: 3
            width: 16
        }
        SmallWords {
            text: texts.outlinedLinesMayChange
        }
    }
    ActionButton {
        id: latest

        anchors.right: parent.right
        anchors.rightMargin: Theme.gap3
        anchors.verticalCenter: parent.verticalCenter
        fill: Theme.accentFill
        font.bold: true
        iconName: "latest"
        implicitHeight: 28
        ink: Theme.accentText
        objectName: "jumpToLatest"
        shortcutText: "End"
        text: texts.jumpToLatest + (foot.newLines > 0 ? "  " + foot.newLines : "")
        visible: foot.isLive && !foot.follows
        onClicked: foot.latestWanted()
    }
}
