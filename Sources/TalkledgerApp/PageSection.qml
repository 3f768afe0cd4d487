import QtQuick

/// A part of a page: what it is about beside a card of rows, or above it where there is no room for both.
Column {
    id: section

    required property string title
    required property string note

    /// The card's rows, one below the other.
    default property alias rows: rows.data

    readonly property bool isNarrow: width < Theme.narrowBelow - 2 * Theme.gap6

    spacing: Theme.gap4

    Rectangle {
        color: Theme.line
        height: 1
        width: parent.width
    }
    Flow {
        spacing: section.isNarrow ? Theme.gap2 : Theme.gap6
        width: parent.width

        Column {
            id: words

            width: section.isNarrow ? parent.width : 220

            Words {
                Accessible.name: text
                Accessible.role: Accessible.Heading
                font.bold: true
                font.pixelSize: Theme.bodySize
                text: section.title
                width: parent.width
            }
            SmallWords {
                text: section.note
                width: parent.width
                wrapMode: Text.Wrap
            }
        }
        Rectangle {
            border.color: Theme.line
            color: Theme.surface
            height: rows.height
            radius: Theme.cardRadius
            width: section.isNarrow ? parent.width : parent.width - words.width - parent.spacing

            Column {
                id: rows

                width: parent.width
            }
        }
    }
}
