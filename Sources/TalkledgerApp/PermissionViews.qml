import QtQuick

/// What the system lets the program record, and what the user can do where it does not.
Column {
    id: view

    property string title: texts.capturePermissionsTitle

    /// In the panel, where the button to look again has no words.
    property bool isCompact: false

    readonly property bool hasWordsForRefresh: !isCompact && width >= 360

    Item {
        height: view.isCompact ? Theme.smallButtonHeight : 40
        width: parent.width

        Words {
            anchors.left: parent.left
            anchors.leftMargin: Theme.gap2
            anchors.verticalCenter: parent.verticalCenter
            color: view.isCompact ? Theme.text2 : Theme.text
            font.bold: true
            font.pixelSize: view.isCompact ? Theme.smallSize : Theme.bodySize
            text: view.title
        }
        ActionButton {
            Accessible.name: texts.refreshPermissionStatus
            anchors.right: parent.right
            anchors.verticalCenter: parent.verticalCenter
            fill: "transparent"
            height: Theme.smallButtonHeight
            iconName: "refresh"
            ink: Theme.text2
            objectName: "refreshPermissions"
            outline: "transparent"
            text: view.hasWordsForRefresh ? texts.refreshPermissionStatus : ""
            tip: view.hasWordsForRefresh ? "" : texts.refreshPermissionStatus
            onClicked: permissions.refresh()
        }
    }
    Rectangle {
        color: Theme.line
        height: 1
        visible: !view.isCompact
        width: parent.width
    }
    Item {
        height: Theme.gap1
        visible: !view.isCompact
        width: parent.width
    }
    // The rows stay, and with them the focus, when what they show changes.
    Repeater {
        model: permissions.rows.length

        PermissionRow {
            required property int index

            permission: permissions.rows[index]
            showsReason: !view.isCompact
            width: view.width
        }
    }
}
