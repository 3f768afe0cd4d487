import QtQuick

/// What needs the user's attention, and what to do about it: the cause, the advice, the words of what failed, and at most
/// two buttons, beside them where there is room.
Rectangle {
    id: banner

    required property string cause
    required property string advice
    property string message
    default property alias buttons: actions.data

    Accessible.name: cause + ". " + advice
    Accessible.role: Accessible.AlertMessage
    color: Theme.attentionTint
    height: visible ? content.height + 2 * Theme.gap3 : 0

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
        anchors.rightMargin: Theme.gap3 + (actions.isBeside ? actions.width + Theme.gap3 : 0)
        anchors.top: parent.top
        anchors.topMargin: Theme.gap3

        Words {
            color: Theme.attention
            font.bold: true
            text: banner.cause
            width: parent.width
            wrapMode: Text.Wrap
        }
        Words {
            text: banner.advice
            width: parent.width
            wrapMode: Text.Wrap
        }
        SmallWords {
            font.family: Theme.fixedPitch
            text: banner.message
            topPadding: Theme.gap1
            visible: text !== ""
            width: parent.width
            wrapMode: Text.Wrap
        }
        Item {
            height: actions.height + Theme.gap2
            visible: !actions.isBeside
            width: 1
        }
    }
    Row {
        id: actions

        readonly property bool isBeside: banner.width >= 600

        spacing: Theme.gap2
        x: isBeside ? banner.width - width - Theme.gap3 : content.x
        y: content.y + (isBeside ? 0 : content.height - height)
    }
    Rectangle {
        anchors.bottom: parent.bottom
        color: Theme.attentionLine
        height: 1
        width: parent.width
    }
}
