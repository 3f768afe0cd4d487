import QtQuick
import QtQuick.Dialogs
import QtQuick.Window

/// What a new user wants to know before the first meeting: what the program does, and whether sound arrives.
FocusScope {
    id: page

    readonly property bool isNarrow: width < Theme.narrowBelow
    readonly property real margin: isNarrow ? Theme.gap3 : Theme.gap6

    Keys.onEscapePressed: firstMinutes.close()

    Connections {
        function onModelsWanted() {
            flickable.contentY = Math.max(0, Math.min(speechModels.y, flickable.contentHeight - flickable.height))
        }

        target: firstMinutes
    }

    // A microphone is listened to only while somebody sees what it is for.
    Binding {
        property: "isRunning"
        target: soundCheck
        value: page.visible && page.Window.visibility !== Window.Hidden && page.Window.visibility !== Window.Minimized
    }

    FileDialog {
        id: modelDialog

        nameFilters: ["*.bin *.gguf", "*"]
        objectName: "modelDialog"
        title: texts.chooseOwnModel
        onAccepted: modelFiles.install(selectedFile)
    }

    Rectangle {
        anchors.fill: parent
        color: Theme.window
    }

    RevealingFlickable {
        id: flickable

        anchors.fill: parent
        contentHeight: content.height + 2 * content.y

        Column {
            id: content

            anchors.horizontalCenter: parent.horizontalCenter
            spacing: Theme.gap4
            width: Math.min(page.width - 2 * page.margin, 880)
            y: 22

            Flow {
                spacing: Theme.gap3
                width: parent.width

                Row {
                    id: heading

                    spacing: Theme.gap3
                    width: page.isNarrow ? parent.width : parent.width - actions.width - parent.spacing

                    Image {
                        id: appIcon

                        height: 32
                        source: "image://icons/app-icon/"
                        sourceSize: Qt.size(2 * width, 2 * height)
                        width: 32
                    }
                    Column {
                        width: heading.width - appIcon.width - heading.spacing

                        Words {
                            Accessible.name: text
                            Accessible.role: Accessible.Heading
                            font.bold: true
                            font.pixelSize: Theme.pageTitleSize
                            line: Theme.pageTitleLine
                            text: texts.beforeFirstMeeting
                            width: parent.width
                            wrapMode: Text.Wrap
                        }
                        Words {
                            color: Theme.text2
                            text: texts.whatItDoes
                            width: parent.width
                            wrapMode: Text.Wrap
                        }
                    }
                }
                Row {
                    id: actions

                    spacing: Theme.gap3

                    ActionButton {
                        fill: "transparent"
                        ink: Theme.text2
                        objectName: "skipFirstMinutes"
                        outline: "transparent"
                        text: texts.skipAll
                        visible: firstMinutes.isFirstTime
                        onClicked: firstMinutes.close()
                    }
                    ActionButton {
                        objectName: "endFirstMinutes"
                        text: texts.done
                        onClicked: firstMinutes.close()
                    }
                }
            }

            PageSection {
                note: texts.soundSectionNote
                title: "1  " + texts.soundSection
                width: parent.width

                SoundCheckRow {
                    failure: texts.microphoneNotFound
                    fill: Theme.me
                    iconName: "mic"
                    label: texts.microphone
                    level: soundCheck.microphoneLevel
                    objectName: "microphoneCheck"
                    state_: soundCheck.microphoneState
                    width: parent.width
                }
                SoundCheckRow {
                    failure: texts.outputNotFound
                    fill: Theme.customer
                    iconName: "system"
                    label: texts.systemAudio
                    level: soundCheck.systemAudioLevel
                    objectName: "systemAudioCheck"
                    state_: soundCheck.systemAudioState
                    width: parent.width
                    tail: ActionButton {
                        height: Theme.smallButtonHeight
                        iconName: "test"
                        objectName: "playTestTone"
                        text: texts.playTestTone
                        onClicked: soundCheck.playTestTone()
                    }
                }
            }

            ModelSection {
                id: speechModels

                files: modelFiles.speechRows
                note: texts.speechModelNote
                objectName: "speechModels"
                title: "2  " + texts.speechModelSection
                width: parent.width
            }

            ModelSection {
                files: modelFiles.languageRows
                note: appModel.liveSummary.isEngineMissing ? texts.noSummaryEngine : texts.summaryModelNote
                objectName: "languageModels"
                title: "3  " + texts.summaryModelSection
                width: parent.width

                LinkRow {
                    enabled: !modelFiles.isInstalling
                    objectName: "chooseOwnModel"
                    text: modelFiles.isInstalling ? texts.tryingOwnModel : texts.chooseOwnModel
                    width: parent.width
                    onClicked: modelDialog.open()
                }
                SmallWords {
                    bottomPadding: Theme.gap2 - topPadding
                    color: Theme.fail
                    leftPadding: 43
                    objectName: "ownModelFailure"
                    rightPadding: 14
                    text: modelFiles.installFailure
                    visible: text !== ""
                    width: parent.width
                    wrapMode: Text.Wrap
                }
            }

            Row {
                spacing: Theme.gap2
                width: parent.width

                Icon {
                    id: shield

                    name: "shield"
                }
                SmallWords {
                    text: texts.staysOnThisComputer
                    width: parent.width - shield.width - parent.spacing
                    wrapMode: Text.Wrap
                }
            }
        }
    }
}
