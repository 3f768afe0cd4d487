import QtQuick

/// One line of a transcript: time and speaker in the gutter, the speech beyond the rule on its speaker's side.
Item {
    id: line

    required property string timecode
    required property string speaker
    required property bool isTrailing
    required property string text
    required property int gutter
    required property int margin
    required property bool isWide

    readonly property int textLeft: gutter + 13
    readonly property int available: width - textLeft - 24

    Accessible.name: timecode + " " + speaker + " " + text
    Accessible.role: Accessible.ListItem
    implicitHeight: bubble.height + 2 * Theme.gap1

    Figures {
        anchors.baseline: speakerName.baseline
        text: line.timecode
        x: line.margin
    }
    SmallWords {
        id: speakerName

        anchors.right: rule.left
        anchors.rightMargin: Theme.gap3
        anchors.top: bubble.top
        anchors.topMargin: 7
        color: line.isTrailing ? Theme.me : Theme.customer
        font.bold: true
        text: line.speaker
    }
    Rectangle {
        id: rule

        color: Theme.line
        height: parent.height
        width: 1
        x: line.gutter
    }
    Rectangle {
        id: bubble

        border.color: line.isTrailing ? Theme.accentLine : Theme.line
        border.width: 1
        color: line.isTrailing ? Theme.accentTint : Theme.surface
        height: words.height + 11
        radius: Theme.cardRadius
        width: words.width + 2 * Theme.gap3 + 2
        x: line.isTrailing ? line.width - 24 - width : line.textLeft
        y: Theme.gap1

        Words {
            id: words

            readonly property int widest: Math.min(line.available * (line.isWide ? 0.86 : 0.92), 560) - 2 * Theme.gap3 - 2

            font.pixelSize: Theme.bodySize
            line: Theme.bodyLine
            text: line.text
            width: Math.min(implicitWidth, widest)
            wrapMode: Text.Wrap
            x: Theme.gap3 + 1
            y: 5
        }
    }
}
