import QtQuick

/// A recording in which something was found: its title, how often, and the first places.
Rectangle {
    id: row

    required property int index
    required property string recordingID
    required property string title
    required property string day
    required property string time
    required property string duration
    required property int hits
    required property int line
    required property var snippets
    required property bool isSelected
    required property bool isCurrent
    signal chosen

    readonly property var sourceNames: ({"title": texts.titleSource, "transcript": texts.transcript, "summary": texts.summary})

    Accessible.name: [plain(title), meta.text].concat(snippets.map(hit => sourceNames[hit.source] + " "
                                                                    + plain(hit.text))).join(", ")
    Accessible.onPressAction: chosen()
    Accessible.role: Accessible.ListItem
    Accessible.selected: isSelected
    color: "transparent"
    implicitHeight: words.implicitHeight + 16

    function styled(html, style) {
        return html.split("{mark}").join(style)
    }

    function plain(html) {
        return html.replace(/<[^>]*>/g, "").replace(/&lt;/g, "<").replace(/&gt;/g, ">").replace(/&quot;/g, "\"")
                   .replace(/&amp;/g, "&")
    }

    Rectangle {
        anchors.fill: parent
        anchors.leftMargin: Theme.gap2
        anchors.rightMargin: Theme.gap2
        border.color: Theme.accent
        border.width: row.isCurrent ? 2 : 0
        color: row.isSelected ? Theme.select : pointer.hovered ? Theme.hover : "transparent"
        radius: Theme.controlRadius
    }
    HoverHandler {
        id: pointer
    }
    TapHandler {
        onTapped: row.chosen()
    }
    Column {
        id: words

        anchors.left: parent.left
        anchors.leftMargin: 20
        anchors.right: parent.right
        anchors.rightMargin: 20
        anchors.verticalCenter: parent.verticalCenter

        MarkedWords {
            elide: Text.ElideRight
            font.bold: true
            marked: row.styled(row.title, markStyle)
            maximumLineCount: 2
            plain: row.plain(row.title)
            width: parent.width
            wrapMode: Text.Wrap
        }
        SmallWords {
            id: meta

            elide: Text.ElideRight
            text: [row.day === "" ? row.time : row.day, row.duration,
                   row.hits === 1 ? texts.oneHit : texts.hitCount.replace("{n}", row.hits)]
                  .filter(part => part !== "").join(" · ")
            width: parent.width
        }
        Repeater {
            model: row.snippets

            MarkedWords {
                required property var modelData

                readonly property string from: row.sourceNames[modelData.source]
                    + (modelData.timecode === "" ? "" : " " + modelData.timecode)

                elide: Text.ElideRight
                font.pixelSize: Theme.smallSize
                ink: Theme.text2
                line: 19
                marked: "<span style=\"color:" + (row.isSelected ? Theme.text2 : Theme.text3) + "\">" + from
                        + "</span>&nbsp;&nbsp; " + row.styled(modelData.text, markStyle)
                maximumLineCount: 2
                objectName: "snippet"
                plain: from + "\u00a0\u00a0 " + row.plain(modelData.text)
                width: words.width
                wrapMode: Text.Wrap
            }
        }
    }
}
