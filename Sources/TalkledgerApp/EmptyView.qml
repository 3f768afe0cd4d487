import QtQuick

/// What the program does, as long as there is no recording.
Item {
    id: view

    readonly property bool isNarrow: content.width < 480

    Column {
        id: content

        anchors.centerIn: parent
        spacing: Theme.gap4
        width: Math.min(parent.width - 2 * Theme.gap6, 640)

        Row {
            bottomPadding: Theme.gap1
            spacing: Theme.gap4
            width: parent.width

            Image {
                id: appIcon

                height: 48
                source: "image://icons/app-icon/"
                sourceSize: Qt.size(96, 96)
                width: 48
            }
            Words {
                anchors.verticalCenter: appIcon.verticalCenter
                font.bold: true
                font.pixelSize: Theme.pageTitleSize
                line: Theme.pageTitleLine
                text: texts.whatItDoes
                width: parent.width - appIcon.width - parent.spacing
                wrapMode: Text.Wrap
            }
        }
        Rectangle {
            border.color: Theme.line
            color: Theme.surface
            height: steps.height + 2 * steps.y
            radius: Theme.cardRadius
            width: parent.width

            Column {
                id: steps

                width: parent.width - 2 * x
                x: Theme.gap4
                y: Theme.gap1

                Repeater {
                    model: [["record", texts.recordStep, texts.recordStepNote],
                        ["list", texts.readStep, texts.readStepNote], ["save", texts.keepStep, texts.keepStepNote]]

                    Item {
                        id: step

                        required property int index
                        required property var modelData

                        height: note.y + note.height + 11
                        width: steps.width

                        Rectangle {
                            color: Theme.line
                            height: 1
                            visible: step.index > 0
                            width: parent.width
                        }
                        Icon {
                            id: icon

                            name: step.modelData[0]
                            y: 13
                        }
                        Words {
                            id: name

                            anchors.left: icon.right
                            anchors.leftMargin: Theme.gap3
                            font.bold: true
                            text: step.modelData[1]
                            width: 128
                            y: 11
                        }
                        Words {
                            id: note

                            anchors.left: view.isNarrow ? name.left : name.right
                            anchors.leftMargin: view.isNarrow ? 0 : Theme.gap3
                            anchors.right: parent.right
                            color: Theme.text2
                            text: step.modelData[2]
                            wrapMode: Text.Wrap
                            y: view.isNarrow ? name.y + name.height : name.y
                        }
                    }
                }
            }
        }
        Flow {
            spacing: 10
            width: parent.width

            ActionButton {
                id: check

                iconName: "mic"
                objectName: "checkSound"
                text: texts.checkMicrophoneAndSound
                onClicked: firstMinutes.open()
            }
            SmallWords {
                height: Math.max(implicitHeight, check.height)
                text: texts.staysOnThisComputer
                verticalAlignment: Text.AlignVCenter
                width: view.isNarrow ? content.width : content.width - check.width - parent.spacing
                wrapMode: Text.Wrap
            }
        }
    }
}
