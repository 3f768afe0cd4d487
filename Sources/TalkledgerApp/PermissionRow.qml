import QtQuick

/// One permission: how it stands, the button that may change it, and what to do about a refusal.
Column {
    id: row

    required property var permission
    property bool showsReason: true

    readonly property var icons: ({
            "microphone": "mic",
            "systemAudio": "system",
            "screenCapture": "screen"
        })
    readonly property var marks: ({
            "granted": "check",
            "refused": "fail",
            "undecided": "warn",
            "unknown": "clock"
        })
    readonly property color ink: permission.tone === "refused" ? Theme.fail
                                                               : permission.tone === "undecided" ? Theme.attention : Theme.text2

    Accessible.name: permission.name + " " + permission.state
    Accessible.role: Accessible.ListItem

    Item {
        height: 36
        width: parent.width

        Icon {
            id: icon

            anchors.verticalCenter: parent.verticalCenter
            name: row.icons[row.permission.kind]
            tint: Theme.text
            x: Theme.gap2
        }
        Words {
            anchors.left: icon.right
            anchors.leftMargin: 10
            anchors.right: mark.left
            anchors.rightMargin: Theme.gap2
            anchors.verticalCenter: parent.verticalCenter
            elide: Text.ElideRight
            text: row.permission.name
        }
        Icon {
            id: mark

            anchors.right: state.left
            anchors.rightMargin: 5
            anchors.verticalCenter: parent.verticalCenter
            name: row.marks[row.permission.tone]
            tint: row.ink
        }
        SmallWords {
            id: state

            anchors.right: action.left
            anchors.rightMargin: 10
            anchors.verticalCenter: parent.verticalCenter
            color: row.ink
            text: row.permission.state
        }
        ActionButton {
            id: action

            Accessible.name: row.permission.name + ": " + text
            anchors.right: parent.right
            anchors.rightMargin: Theme.gap2
            anchors.verticalCenter: parent.verticalCenter
            enabled: row.permission.state !== texts.permissionChecking // what it does depends on that
            height: Theme.smallButtonHeight
            objectName: row.permission.kind + "Permission"
            text: row.permission.canBeRequested ? texts.request : texts.settings
            width: Math.max(60, implicitWidth)
            onClicked: row.permission.canBeRequested ? permissions.request() : permissions.openSettings(row.permission.kind)
        }
    }
    SmallWords {
        bottomPadding: Theme.gap2 - topPadding
        leftPadding: 34
        rightPadding: Theme.gap2
        text: row.permission.reason
        visible: row.showsReason && text !== ""
        width: parent.width
        wrapMode: Text.Wrap
    }
}
