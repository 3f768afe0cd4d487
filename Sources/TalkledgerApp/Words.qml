import QtQuick

/// A text at one of the theme's sizes. The line height is fixed, or lines with and without Japanese would differ.
Text {
    property int line: Theme.controlLine

    // The Japanese font fills the line; the Latin one is smaller and would stand too high in it.
    bottomPadding: -topPadding
    color: Theme.text
    font.pixelSize: Theme.controlSize
    lineHeight: line
    lineHeightMode: Text.FixedHeight
    textFormat: Text.PlainText
    topPadding: /[\u2e80-\uffef]/.test(text) ? 0 : Math.round((line - Theme.latinHeight * font.pixelSize) / 2)
}
