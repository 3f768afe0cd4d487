import QtQuick
import "Times.js" as Times

/// How far the recording that has been stopped has come: its tracks, then its summary. Folded, it is one line and the
/// progress of both tracks together.
Item {
    id: view

    required property int margin
    property bool isFolded: false
    property bool canLeave: false
    signal leaveWanted

    readonly property var finishing: appModel.finishing

    function timeLeft() {
        const seconds = finishing.secondsLeft
        if (seconds < 0) {
            return ""
        }
        return seconds < 120 ? texts.secondsLeft.replace("{n}", seconds)
                             : texts.minutesLeft.replace("{n}", Math.round(seconds / 60))
    }

    component Step: Item {
        id: step

        required property string iconName
        required property string name
        required property string standing
        property color ink: Theme.text
        property double share: -1
        property color fill: Theme.accent

        Accessible.name: name + " " + standing
        Accessible.role: share < 0 ? Accessible.ListItem : Accessible.ProgressBar
        height: visible ? (share < 0 ? 36 : 47) : 0
        width: parent.width

        Rectangle {
            color: Theme.line
            height: 1
            visible: step.y > 0
            width: parent.width
        }
        Icon {
            id: icon

            name: step.iconName
            tint: step.ink
            y: 10
        }
        Words {
            anchors.left: icon.right
            anchors.leftMargin: Theme.gap3
            color: step.ink
            text: step.name
            y: 8
        }
        Figures {
            anchors.right: parent.right
            objectName: step.objectName + "State"
            text: step.standing
            y: 9
        }
        Progress {
            anchors.left: icon.right
            anchors.leftMargin: Theme.gap3
            anchors.right: parent.right
            fill: step.fill
            share: step.share
            visible: step.share >= 0
            y: 31
        }
    }

    Rectangle {
        anchors.fill: parent
        anchors.leftMargin: view.margin
        anchors.rightMargin: view.margin
        border.color: Theme.lineStrong
        color: "transparent"
        radius: Theme.cardRadius
        visible: view.isFolded
    }
    Words {
        id: title

        Accessible.role: Accessible.Heading
        anchors.left: parent.left
        anchors.leftMargin: view.margin + (view.isFolded ? 14 : 0)
        font.bold: true
        height: view.isFolded ? 26 : Theme.columnHeadHeight
        text: texts.finishing
        verticalAlignment: Text.AlignVCenter
    }
    SmallWords {
        anchors.right: parent.right
        anchors.rightMargin: view.isFolded ? view.margin + 14 : Theme.gap6
        height: title.height
        objectName: "timeLeft"
        text: view.timeLeft()
        verticalAlignment: Text.AlignVCenter
    }
    Progress {
        anchors.left: title.left
        anchors.right: parent.right
        anchors.rightMargin: view.margin + 14
        anchors.top: title.bottom
        share: view.finishing.share
        visible: view.isFolded
    }
    SmallWords {
        anchors.left: title.left
        anchors.right: parent.right
        anchors.rightMargin: view.margin + 14
        anchors.top: title.bottom
        anchors.topMargin: Theme.gap2
        elide: Text.ElideRight
        maximumLineCount: Math.max(1, Math.floor((view.height - y) / Theme.smallLine))
        text: texts.nextRecordingAfterSaving
        visible: view.isFolded
        wrapMode: Text.Wrap
    }
    Rectangle {
        id: card

        anchors.left: parent.left
        anchors.leftMargin: view.margin
        anchors.right: parent.right
        anchors.rightMargin: Theme.gap6
        anchors.top: title.bottom
        border.color: Theme.line
        color: Theme.surface
        height: steps.height + 2 * Theme.gap1
        radius: Theme.cardRadius
        visible: !view.isFolded

        Column {
            id: steps

            width: parent.width - 28
            x: 14
            y: Theme.gap1

            Step {
                iconName: view.finishing.isSaving ? "refresh" : "check"
                name: view.finishing.isSaving ? texts.savingTracks
                    : view.finishing.hasMicrophone && view.finishing.hasSystemAudio ? texts.bothTracksSaved : texts.trackSaved
                objectName: "savedTracks"
                standing: Times.clock(view.finishing.length)
            }
            Step {
                fill: Theme.me
                iconName: "mic"
                name: texts.mic
                objectName: "microphoneProgress"
                share: view.finishing.microphoneShare
                standing: Times.clock(share * view.finishing.length) + " / " + Times.clock(view.finishing.length)
                visible: view.finishing.hasMicrophone
            }
            Step {
                fill: Theme.customer
                iconName: "system"
                name: texts.speaker
                objectName: "systemAudioProgress"
                share: view.finishing.systemAudioShare
                standing: Times.clock(share * view.finishing.length) + " / " + Times.clock(view.finishing.length)
                visible: view.finishing.hasSystemAudio
            }
            Step {
                iconName: view.finishing.isSummarizing ? "refresh" : "clock"
                ink: view.finishing.isSummarizing ? Theme.text : Theme.text2
                name: texts.salesSummary
                objectName: "summaryProgress"
                standing: view.finishing.isSummarizing ? texts.inTheMaking : texts.waitingForItsTurn
            }
        }
    }
    SmallWords {
        id: note

        anchors.left: card.left
        anchors.right: card.right
        anchors.top: card.bottom
        anchors.topMargin: Theme.gap3
        text: texts.goesOnMeanwhile
        visible: !view.isFolded
        wrapMode: Text.Wrap
    }
    ActionButton {
        anchors.left: card.left
        anchors.top: note.bottom
        anchors.topMargin: 10
        objectName: "continueInBackground"
        text: texts.continueInBackground
        visible: !view.isFolded && view.canLeave
        onClicked: view.leaveWanted()
    }
}
