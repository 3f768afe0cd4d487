import QtQuick

/// One source of sound: how loud it is, and whether anything has been heard of it.
CardRow {
    id: row

    required property string iconName
    required property string label
    required property string state_
    required property double level
    required property color fill
    required property string failure

    /// What stands at the end of the row besides what has been heard.
    property alias tail: tail.data

    readonly property bool isHeard: state_ === "heard"
    readonly property bool hasFailed: state_ === "failed"
    readonly property bool isNarrow: width < 480
    readonly property bool hasTail: tail.implicitWidth > 0

    Accessible.name: label + (isHeard ? ", " + texts.soundArrives : hasFailed ? ", " + failure : "")
    Accessible.role: Accessible.ProgressBar
    implicitHeight: 46 + (isNarrow && !hasFailed ? Theme.gap4 : 0) + (hasFailed ? sentence.height : 0)

    Icon {
        id: icon

        name: row.iconName
        tint: Theme.text
        x: 14
        y: 15
    }
    Words {
        id: name

        anchors.left: icon.right
        anchors.leftMargin: Theme.gap3
        anchors.verticalCenter: icon.verticalCenter
        text: row.label
    }
    LevelMeter {
        anchors.left: parent.left
        anchors.leftMargin: row.isNarrow ? name.x : 170
        anchors.right: parent.right
        anchors.rightMargin: row.isNarrow ? 14 : 177
        fill: row.fill
        level: row.level
        visible: !row.hasFailed
        y: row.isNarrow ? 46 : 20
    }
    Row {
        anchors.right: parent.right
        anchors.rightMargin: 14
        anchors.verticalCenter: icon.verticalCenter
        spacing: 6

        Icon {
            anchors.verticalCenter: parent.verticalCenter
            name: row.hasFailed ? "fail" : "check"
            tint: row.hasFailed ? Theme.fail : Theme.text2
            visible: row.isHeard || row.hasFailed
        }
        SmallWords {
            anchors.verticalCenter: parent.verticalCenter
            objectName: row.objectName + "State"
            text: texts.soundArrives
            visible: row.isHeard && !row.hasTail
        }
        Row {
            id: tail

            visible: !row.hasFailed
        }
    }
    SmallWords {
        id: sentence

        anchors.left: name.left
        anchors.right: parent.right
        anchors.rightMargin: 14
        bottomPadding: Theme.gap3 - topPadding
        color: Theme.fail
        objectName: row.objectName + "Failure"
        text: row.failure
        visible: row.hasFailed
        wrapMode: Text.Wrap
        y: 40
    }
}
