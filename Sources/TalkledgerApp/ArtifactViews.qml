import QtQuick
import QtQuick.Controls

/// How the chosen recording's capture went: its audio files and the messages of its start and stop. Folded, it is one
/// line; it opens by itself when something is missing.
Item {
    id: diagnostics

    required property int margin
    property int tallest: 400

    /// As a page of its own it is never folded.
    property bool isPage: false
    property bool isOpen: false
    property bool isAskedFor: false ///< by the user, who may have it open in a low window as well

    readonly property bool isLow: Window.height < Theme.lowBelow
    readonly property bool isUnfolded: isPage || isOpen && (isAskedFor || !isLow)

    function toggle() {
        isAskedFor = !isUnfolded
        isOpen = isAskedFor
    }

    function foldedText() {
        return chosenRecording.files.map(file => (file.channel === "mic" ? texts.mic : texts.speaker) + " "
                                                 + file.state).join(" · ")
    }

    implicitHeight: isPage ? 0 : Theme.footHeight + (isUnfolded ? Math.min(body.contentHeight, tallest) : 0)
    objectName: "diagnostics"

    Connections {
        function onRecordingChosen() {
            diagnostics.isAskedFor = false
            diagnostics.isOpen = chosenRecording.needsAttention
        }

        target: chosenRecording
    }
    Connections {
        function onNeedsAttentionChanged() {
            if (chosenRecording.needsAttention) {
                diagnostics.isOpen = true
            }
        }

        target: chosenRecording
    }
    Component.onCompleted: isOpen = chosenRecording.needsAttention

    Rectangle {
        color: Theme.line
        height: 1
        visible: !diagnostics.isPage
        width: parent.width
    }
    AbstractButton {
        id: head

        Accessible.checkable: true
        Accessible.checked: diagnostics.isUnfolded
        Accessible.name: texts.diagnostics
        Accessible.role: Accessible.Button
        Accessible.onPressAction: diagnostics.toggle()
        anchors.left: parent.left
        anchors.right: parent.right
        enabled: !diagnostics.isPage
        height: diagnostics.isPage ? 0 : Theme.footHeight
        objectName: "diagnosticsHead"
        visible: !diagnostics.isPage
        onClicked: diagnostics.toggle()

        contentItem: Item {
            Icon {
                id: pulse

                anchors.verticalCenter: parent.verticalCenter
                name: chosenRecording.needsAttention ? "warn" : "pulse"
                tint: chosenRecording.needsAttention ? Theme.attention : Theme.text2
                x: diagnostics.margin - head.leftPadding
            }
            Words {
                id: name

                anchors.left: pulse.right
                anchors.leftMargin: Theme.gap2
                anchors.verticalCenter: parent.verticalCenter
                font.bold: true
                text: texts.diagnostics
            }
            SmallWords {
                anchors.left: name.right
                anchors.leftMargin: Theme.gap2
                anchors.right: chevron.left
                anchors.rightMargin: Theme.gap2
                anchors.verticalCenter: parent.verticalCenter
                elide: Text.ElideRight
                objectName: "foldedDiagnostics"
                text: diagnostics.foldedText()
                visible: !diagnostics.isUnfolded
            }
            Icon {
                id: chevron

                anchors.right: parent.right
                anchors.rightMargin: Theme.gap3
                anchors.verticalCenter: parent.verticalCenter
                name: diagnostics.isUnfolded ? "down" : "right"
            }
        }
        background: Rectangle {
            color: head.hovered ? Theme.hover : "transparent"

            FocusRing {
                control: head
                inset: 2
            }
        }
    }
    Flickable {
        id: body

        anchors.bottom: parent.bottom
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.top: head.bottom
        boundsBehavior: Flickable.StopAtBounds
        clip: true
        contentHeight: rows.height + Theme.gap3
        visible: diagnostics.isUnfolded

        ScrollBar.vertical: ScrollBar {}

        Column {
            id: rows

            topPadding: diagnostics.isPage ? Theme.gap3 : 0
            width: body.width - 2 * diagnostics.margin
            x: diagnostics.margin

            Repeater {
                model: chosenRecording.files

                Item {
                    id: file

                    required property var modelData

                    readonly property color ink: modelData.isEmpty ? Theme.attention : Theme.text2

                    Accessible.name: [modelData.name, modelData.state, modelData.duration, modelData.size].join(", ")
                    Accessible.role: Accessible.ListItem
                    height: 26
                    width: rows.width

                    Rectangle {
                        color: Theme.line
                        height: 1
                        width: parent.width
                    }
                    Icon {
                        id: kind

                        anchors.verticalCenter: parent.verticalCenter
                        extent: 14
                        name: file.modelData.channel === "mic" ? "mic" : "system"
                        tint: file.ink
                    }
                    SmallWords {
                        anchors.left: kind.right
                        anchors.leftMargin: Theme.gap3
                        anchors.verticalCenter: parent.verticalCenter
                        text: file.modelData.name
                    }
                    SmallWords {
                        anchors.right: duration.left
                        anchors.rightMargin: Theme.gap3
                        anchors.verticalCenter: parent.verticalCenter
                        color: file.ink
                        font.bold: file.modelData.isEmpty
                        text: file.modelData.state
                    }
                    Figures {
                        id: duration

                        anchors.right: size.left
                        anchors.verticalCenter: parent.verticalCenter
                        horizontalAlignment: Text.AlignRight
                        text: file.modelData.duration
                        width: 52
                    }
                    Figures {
                        id: size

                        anchors.right: parent.right
                        anchors.verticalCenter: parent.verticalCenter
                        horizontalAlignment: Text.AlignRight
                        text: file.modelData.size
                        width: 74
                    }
                }
            }
            Item {
                height: Theme.gap1
                width: 1
            }
            Repeater {
                model: chosenRecording.messages

                Row {
                    id: message

                    required property var modelData

                    Accessible.name: modelData.text
                    Accessible.role: Accessible.ListItem
                    spacing: Theme.gap2

                    Icon {
                        extent: 12
                        name: message.modelData.isFailure ? "warn" : "check"
                        tint: message.modelData.isFailure ? Theme.attention : Theme.text3
                        y: 4
                    }
                    SmallWords {
                        line: 20
                        text: message.modelData.text
                        width: rows.width - x
                        wrapMode: Text.Wrap
                    }
                }
            }
        }
    }
}
