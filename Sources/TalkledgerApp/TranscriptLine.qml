import QtQuick

/// One line of a transcript: time and speaker in the gutter, the speech beyond the gutter on its speaker's side; as an
/// outline as long as it may change.
Item {
    id: line

    required property int index
    required property string timecode
    required property string speaker
    required property bool isTrailing
    required property bool isPartial
    required property string text
    required property int gutter
    required property int margin
    required property bool isWide
    required property bool canPlay
    required property bool isPlayed  ///< is being played, or was when it paused
    required property bool isLookedAt ///< holds the hit that is looked at
    required property bool isCurrent ///< of the keyboard
    required property bool isStacked ///< time and speaker above the bubble

    signal chosen

    readonly property int textLeft: gutter + 13
    readonly property int available: Math.min(width - textLeft - (isStacked ? margin : Theme.gap6), Theme.widestTranscript)

    Accessible.name: timecode + " " + speaker + " " + text
    Accessible.onPressAction: chosen()
    Accessible.role: Accessible.ListItem
    implicitHeight: bubble.y + bubble.height + Theme.gap1

    Rectangle {
        anchors.fill: parent
        color: line.isPlayed ? Theme.select : "transparent"

        Rectangle {
            color: Theme.accent
            height: parent.height
            visible: line.isPlayed
            width: 4
        }
        Rectangle {
            anchors.fill: parent
            anchors.margins: 2
            border.color: Theme.accent
            border.width: 2
            color: "transparent"
            radius: Theme.controlRadius
            visible: line.isCurrent
        }
    }
    HoverHandler {
        id: pointer

        cursorShape: line.canPlay ? Qt.PointingHandCursor : Qt.ArrowCursor
    }
    TapHandler {
        enabled: line.canPlay
        onTapped: line.chosen()
    }
    Icon {
        anchors.right: speakerName.right
        anchors.verticalCenter: speakerName.verticalCenter
        name: "play"
        tint: Theme.accent
        visible: pointer.hovered && line.canPlay && !line.isStacked
    }
    Figures {
        id: time

        color: line.isPlayed ? Theme.text : Theme.text2
        font.bold: line.isPlayed

        anchors.baseline: speakerName.baseline
        text: line.timecode
        x: !line.isStacked ? line.margin : line.isTrailing ? line.width - line.margin - width
                                                           : speakerName.x + speakerName.width + 6
    }
    SmallWords {
        id: speakerName

        color: line.isPlayed ? Theme.text : line.isTrailing ? Theme.me : Theme.customer
        font.bold: true
        opacity: pointer.hovered && line.canPlay && !line.isStacked ? 0 : 1
        text: line.speaker
        x: !line.isStacked ? line.gutter - Theme.gap3 - width : line.isTrailing ? time.x - 6 - width : line.margin
        y: line.isStacked ? Theme.gap1 : bubble.y + 6
    }
    Rectangle {
        id: bubble

        border.color: line.isPlayed ? Theme.accent : line.isPartial ? Theme.lineStrong : line.isTrailing ? Theme.accentLine : Theme.line
        border.width: line.isPlayed ? 2 : 1
        color: line.isPartial ? "transparent" : line.isTrailing ? Theme.accentTint : Theme.surface
        height: words.height + 11
        radius: Theme.cardRadius
        width: words.width + 2 * Theme.gap3 + 2
        x: line.isTrailing ? line.textLeft + line.available - width : line.textLeft
        y: line.isStacked ? Theme.gap1 + Theme.smallLine : Theme.gap1

        MarkedWords {
            id: words

            readonly property int widest: Math.min(line.available * (line.isWide ? 0.86 : 0.92), Theme.widestBubble) - 2 * Theme.gap3 - 2

            ink: line.isPartial ? Theme.text2 : Theme.text
            font.pixelSize: Theme.bodySize
            line: Theme.bodyLine
            current: line.isLookedAt ? transcriptHits.currentInLine : -1
            objectName: "speech"
            plain: line.text
            rightPadding: line.isPartial ? 10 : 0 // for the caret
            width: Math.min(Math.ceil(unwrapped.advanceWidth) + 1 + rightPadding, widest)
            wrapMode: Text.Wrap
            x: Theme.gap3 + 1
            y: 5

            Loader {
                active: line.isPartial
                sourceComponent: TextCaret {
                    speech: words
                }
            }

            // The text's own implicit width depends on its width when it is wrapped.
            TextMetrics {
                id: unwrapped

                font: words.font
                text: line.text
            }
        }
    }
}
