import QtQuick

/// The mark behind the last letter of a text that is still being written.
Rectangle {
    id: caret

    required property Words speech

    color: Theme.lineStrong
    height: 14
    radius: 1
    width: 7
    x: end.endX + 3
    y: (end.lineCount - 1) * speech.line + (speech.line - height) / 2

    // A text does not tell where its lines end; one that could be edited does, and breaks them at the same places.
    TextEdit {
        id: end

        readonly property real endX: contentWidth + contentHeight > 0 ? positionToRectangle(length).x : 0

        font: caret.speech.font
        text: caret.speech.text
        textFormat: TextEdit.PlainText
        visible: false
        width: caret.speech.width - caret.speech.rightPadding
        wrapMode: TextEdit.Wrap
    }
    SequentialAnimation on opacity {
        loops: Animation.Infinite
        running: caret.Window.active

        PauseAnimation {
            duration: Theme.caretMilliseconds / 2
        }
        PropertyAction {
            value: 0
        }
        PauseAnimation {
            duration: Theme.caretMilliseconds / 2
        }
        PropertyAction {
            value: 1
        }
    }
}
