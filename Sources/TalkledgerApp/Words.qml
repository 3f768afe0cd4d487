import QtQuick

/// A text at one of the theme's sizes. The line height is fixed, or lines with and without Japanese would differ.
Text {
    property int line: Theme.controlLine

    color: Theme.text
    font.pixelSize: Theme.controlSize
    lineHeight: line
    lineHeightMode: Text.FixedHeight
    textFormat: Text.PlainText
}
