import QtQuick
import QtQuick.Controls

/// The chosen recording's summary.
FocusScope {
    id: view

    required property int margin

    Item {
        id: head

        anchors.left: parent.left
        anchors.right: parent.right
        height: Theme.columnHeadHeight

        Words {
            Accessible.role: Accessible.Heading
            anchors.left: parent.left
            anchors.leftMargin: view.margin
            anchors.verticalCenter: parent.verticalCenter
            font.bold: true
            text: texts.salesSummary
        }
        IconButton {
            anchors.right: parent.right
            anchors.rightMargin: Theme.gap3
            anchors.verticalCenter: parent.verticalCenter
            height: 28
            iconName: "copy"
            ink: Theme.text2
            name: texts.copySummary
            objectName: "copySummaryButton"
            visible: sections.visible
            width: 28
            onClicked: {
                clipboard.text = chosenRecording.summarySections.map(
                    section => [texts[section.heading]].concat(section.entries.map(
                        entry => section.isList ? "- " + entry : entry)).join("\n")).join("\n\n")
                clipboard.selectAll()
                clipboard.copy()
            }

            TextEdit {
                id: clipboard

                Accessible.ignored: true
                visible: false
            }
        }
    }
    Flickable {
        id: body

        Accessible.name: texts.salesSummary
        Accessible.role: Accessible.Pane
        activeFocusOnTab: contentHeight > height
        anchors.bottom: parent.bottom
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.top: head.bottom
        boundsBehavior: Flickable.StopAtBounds
        clip: true
        contentHeight: sections.height + Theme.gap3
        focus: true

        ScrollBar.vertical: ScrollBar {}

        Keys.onDownPressed: flick(0, -600)
        Keys.onUpPressed: flick(0, 600)

        SummarySections {
            id: sections

            objectName: "summarySections"
            sections: chosenRecording.summarySections
            visible: chosenRecording.summarySections.length > 0
            width: body.width - view.margin - Theme.gap6
            x: view.margin
        }
        SmallWords {
            objectName: "summaryNote"
            text: texts.noSummaryAvailable
            visible: !sections.visible
            width: body.width - 2 * view.margin
            wrapMode: Text.Wrap
            x: view.margin
        }
    }
    Rectangle {
        anchors.fill: body
        anchors.margins: 2
        border.color: Theme.accent
        border.width: 2
        color: "transparent"
        radius: Theme.controlRadius
        visible: body.activeFocus
    }
}
