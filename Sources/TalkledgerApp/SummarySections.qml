import QtQuick

/// The sections of a summary that are not empty, each under its heading.
Column {
    id: summary

    required property var sections
    property color ink: Theme.text
    property color headingInk: Theme.text2

    spacing: 11

    Repeater {
        model: summary.sections

        Column {
            id: section

            required property var modelData

            width: summary.width

            SmallWords {
                Accessible.role: Accessible.Heading
                color: summary.headingInk
                font.bold: true
                text: texts[section.modelData.heading]
            }
            Repeater {
                model: section.modelData.entries

                Item {
                    id: entry

                    required property string modelData

                    readonly property int indent: section.modelData.isList ? 14 : 0

                    height: words.height
                    width: section.width

                    Rectangle {
                        color: summary.headingInk
                        height: 2
                        visible: entry.indent > 0
                        width: 5
                        y: 10
                    }
                    MarkedWords {
                        id: words

                        ink: summary.ink
                        font.pixelSize: Theme.bodySize
                        line: Theme.bodyLine
                        plain: entry.modelData
                        width: parent.width - entry.indent
                        wrapMode: Text.Wrap
                        x: entry.indent
                    }
                }
            }
        }
    }
}
