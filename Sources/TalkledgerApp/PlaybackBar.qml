import QtQuick
import QtQuick.Controls
import Talkledger
import "Times.js" as Times

/// Plays the chosen recording: how far, who speaks when, which tracks and how fast.
Rectangle {
    id: bar

    readonly property bool isWide: width >= 600
    readonly property bool isTiny: width < 420
    required property bool isLow
    readonly property int rowHeight: isLow ? Theme.lowPlaybackHeight : Theme.playbackHeight

    color: Theme.surface
    height: visible ? (failure.visible ? failure.height + Theme.gap2 : 0) + rowHeight : 0
    objectName: "playbackBar"
    visible: player.canPlay

    Rectangle {
        color: Theme.line
        height: 1
        width: parent.width
    }
    Row {
        id: failure

        anchors.left: parent.left
        anchors.leftMargin: Theme.gap4
        anchors.right: parent.right
        anchors.rightMargin: Theme.gap3
        spacing: Theme.gap2
        visible: player.failure !== ""
        y: Theme.gap2

        Icon {
            name: "fail"
            tint: Theme.fail
            y: 2
        }
        SmallWords {
            Accessible.role: Accessible.AlertMessage
            color: Theme.fail
            objectName: "playbackFailure"
            text: player.failure
            width: parent.width - x
            wrapMode: Text.Wrap
        }
    }
    Item {
        id: controls

        anchors.bottom: parent.bottom
        anchors.left: parent.left
        anchors.leftMargin: Theme.gap4
        anchors.right: parent.right
        anchors.rightMargin: Theme.gap3
        height: bar.rowHeight

        IconButton {
            id: playButton

            anchors.verticalCenter: parent.verticalCenter
            fill: player.isPlaying ? Theme.accentFill : Theme.surface
            iconName: player.isPlaying ? "pause" : "play"
            ink: player.isPlaying ? Theme.accentText : Theme.text
            name: player.isPlaying ? texts.pausePlayback : texts.play
            objectName: "playButton"
            outline: Theme.line
            tip: name + "  " + texts.spaceKey
            onClicked: player.toggle()
        }
        Figures {
            id: place

            anchors.left: playButton.right
            anchors.leftMargin: Theme.gap3
            anchors.verticalCenter: parent.verticalCenter
            color: Theme.text
            font.bold: true
            objectName: "playbackPosition"
            text: Times.clock(player.position)
        }
        Figures {
            id: length

            anchors.left: place.right
            anchors.leftMargin: Theme.gap1
            anchors.verticalCenter: parent.verticalCenter
            text: bar.isTiny ? "" : "/ " + Times.clock(player.duration)
        }
        FocusScope {
            id: slider

            function positionAt(x) {
                return Math.max(0, Math.min(1, x / width)) * player.duration
            }

            Accessible.focusable: true
            Accessible.name: texts.playbackPosition + " " + Times.clock(player.position)
            Accessible.role: Accessible.Slider
            Accessible.onDecreaseAction: player.skip(-5)
            Accessible.onIncreaseAction: player.skip(5)
            activeFocusOnTab: true
            anchors.left: length.right
            anchors.leftMargin: Theme.gap4 + Theme.gap1
            anchors.right: choices.left
            anchors.rightMargin: Theme.gap4
            anchors.verticalCenter: parent.verticalCenter
            height: 36
            objectName: "playbackSlider"

            Keys.onLeftPressed: player.skip(-5)
            Keys.onRightPressed: player.skip(5)

            TalkStrip {
                anchors.fill: parent
                customerColor: Theme.customer
                dimsWhatIsAhead: player.isPlaying
                duration: player.duration
                ownColor: Theme.me
                position: player.position
                ruleColor: Theme.line
                talk: player.talk
            }
            Rectangle {
                id: playhead

                color: Theme.text
                height: parent.height
                width: 2
                x: player.duration > 0 ? Math.round(player.position / player.duration * parent.width) : 0

                Rectangle {
                    color: Theme.text
                    height: 6
                    radius: 2
                    width: 10
                    x: -4
                    y: -3
                }
            }
            Rectangle {
                anchors.fill: parent
                anchors.margins: -4
                border.color: Theme.accent
                border.width: 2
                color: "transparent"
                radius: Theme.controlRadius
                visible: slider.activeFocus
            }
            MouseArea {
                anchors.fill: parent
                preventStealing: true
                onPositionChanged: mouse => player.seek(slider.positionAt(mouse.x))
                onPressed: mouse => player.seek(slider.positionAt(mouse.x))
            }
        }
        Row {
            id: choices

            anchors.right: parent.right
            anchors.verticalCenter: parent.verticalCenter
            spacing: Theme.gap3

            Row {
                spacing: -1
                visible: bar.isWide && player.hasMicrophone && player.hasSystemAudio

                Repeater {
                    model: [texts.bothTracks, texts.mic, texts.speaker]

                    ActionButton {
                        required property int index
                        required property string modelData

                        readonly property bool isChosen: player.tracks === index

                        Accessible.checkable: true
                        Accessible.checked: isChosen
                        Accessible.role: Accessible.RadioButton
                        fill: isChosen ? Theme.select : Theme.surface
                        font.bold: isChosen
                        implicitHeight: 28
                        ink: isChosen ? Theme.text : Theme.text2
                        leftPadding: 9
                        objectName: "tracks" + index
                        rightPadding: 9
                        text: modelData
                        onClicked: player.tracks = index
                    }
                }
            }
            ActionButton {
                Accessible.role: Accessible.ButtonMenu
                anchors.verticalCenter: parent.verticalCenter
                implicitHeight: 28
                objectName: "tracksButton"
                text: [texts.bothTracks, texts.mic, texts.speaker][player.tracks]
                visible: !bar.isWide && !bar.isTiny && player.hasMicrophone && player.hasSystemAudio
                onClicked: tracksMenu.open()

                PopupMenu {
                    id: tracksMenu

                    width: 160
                    y: -height - Theme.gap1

                    PopupMenuItem {
                        iconName: player.tracks === 0 ? "check" : ""
                        text: texts.bothTracks
                        onTriggered: player.tracks = 0
                    }
                    PopupMenuItem {
                        iconName: player.tracks === 1 ? "check" : ""
                        text: texts.mic
                        onTriggered: player.tracks = 1
                    }
                    PopupMenuItem {
                        iconName: player.tracks === 2 ? "check" : ""
                        text: texts.speaker
                        onTriggered: player.tracks = 2
                    }
                }
            }
            ActionButton {
                id: speedButton

                Accessible.name: texts.playbackSpeed + " " + text
                Accessible.role: Accessible.ButtonMenu
                anchors.verticalCenter: parent.verticalCenter
                font.family: Theme.figures
                implicitHeight: 28
                leftPadding: Theme.gap2
                objectName: "speedButton"
                rightPadding: Theme.gap2
                text: Number(player.speed).toFixed(player.speed * 10 % 1 === 0 ? 1 : 2) + "×"
                tip: texts.playbackSpeed
                visible: !bar.isTiny
                onClicked: speedMenu.open()

                PopupMenu {
                    id: speedMenu

                    width: 112
                    y: -height - Theme.gap1

                    Repeater {
                        model: [0.75, 1, 1.25, 1.5, 2]

                        PopupMenuItem {
                            required property double modelData

                            iconName: player.speed === modelData ? "check" : ""
                            text: Number(modelData).toFixed(modelData * 10 % 1 === 0 ? 1 : 2) + "×"
                            onTriggered: player.speed = modelData
                        }
                    }
                }
            }
        }
    }
}
