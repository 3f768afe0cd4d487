import QtQuick

/// What is seldom changed, and the actions of the tray for desktops that have none.
Popover {
    id: settings

    signal quitRequested

    name: texts.settings

    contentItem: RevealingFlickable {
        contentHeight: rows.height
        implicitHeight: rows.height

        Column {
            id: rows

            width: parent.width

            LanguageRow {
                width: parent.width
            }
            PanelRow {
                iconName: "mic"
                objectName: "openFirstMinutes"
                text: texts.checkMicrophoneAndSound
                width: parent.width
                onClicked: {
                    settings.close()
                    firstMinutes.open()
                }
            }
            PanelRow {
                iconName: "save"
                objectName: "openModels"
                text: texts.models
                width: parent.width
                onClicked: {
                    settings.close()
                    firstMinutes.openModels()
                }
            }
            PanelRow {
                iconName: "folder"
                objectName: "openStorageFolder"
                text: texts.openStorageFolder
                width: parent.width
                onClicked: {
                    settings.close()
                    appModel.openStorageFolder()
                }
            }
            PanelRow {
                iconName: "save"
                objectName: "chooseMarkdownFolder"
                text: texts.chooseMarkdownExportFolder
                width: parent.width
                onClicked: {
                    settings.close()
                    appModel.chooseMarkdownExportDirectory()
                }
            }
            PanelRow {
                iconName: "folder"
                objectName: "openMarkdownFolder"
                text: texts.openMarkdownExportFolder
                width: parent.width
                onClicked: {
                    settings.close()
                    appModel.openMarkdownExportDirectory()
                }
            }
            Item {
                height: 9
                width: parent.width

                Rectangle {
                    anchors.verticalCenter: parent.verticalCenter
                    color: Theme.line
                    height: 1
                    width: parent.width
                }
            }
            PanelRow {
                iconName: "power"
                objectName: "quitButton"
                shortcutText: "Ctrl+Q"
                text: texts.quit
                width: parent.width
                onClicked: {
                    settings.close()
                    settings.quitRequested()
                }
            }
        }
    }
}
