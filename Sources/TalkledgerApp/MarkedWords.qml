import QtQuick

/// A text in which what is searched for is marked. The text itself gives the size; where there are marks, it is drawn
/// as styled text over it, which knows neither fixed lines nor ends.
Words {
    id: words

    property string plain
    property color ink: Theme.text
    property int current: -1 ///< the number of the place that is looked at

    /// The styled text; empty without marks.
    property string marked: search.typed === "" ? ""
        : search.marked(plain, markStyle, current, "background-color:" + Theme.attention + ";color:" + Theme.surface)

    readonly property string markStyle: "background-color:" + Theme.mark + ";color:" + Theme.markText

    color: marked === "" ? ink : "transparent"
    text: plain

    Loader {
        active: words.marked !== ""
        clip: true
        height: words.height
        width: words.width
        sourceComponent: Text {
            Accessible.ignored: true
            color: words.ink
            font: words.font
            text: "<p style=\"line-height:" + words.line + "px\">" + words.marked + "</p>"
            textFormat: Text.RichText
            width: words.width
            wrapMode: words.wrapMode
            y: -1
        }
    }
}
