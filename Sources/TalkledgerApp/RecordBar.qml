import QtQuick
import QtQuick.Controls

/// The bar on top: idle, live, finishing or failed, always of one height and with the button in one place.
Rectangle {
    id: bar

    required property bool isNarrow

    readonly property bool isLive: appModel.recordingAction.stops
    readonly property bool isFinishing: appModel.isStopping
    readonly property bool hasFailed: appModel.statusIsFailure
    readonly property alias canToggle: mainButton.enabled

    function openSettings() {
        settingsPopover.visible ? settingsPopover.close() : settingsPopover.open()
    }

    function detailText() {
        if (isLive) {
            return texts.closingKeepsRecording
        }
        if (quitting.isFinishing) {
            return texts.quitsAfterSaving
        }
        if (isFinishing) {
            return texts.nextRecordingAfterSaving
        }
        if (hasFailed) {
            return texts.nothingRecorded
        }
        return appModel.isBusy ? "" : permissions.startConsequence || texts.readyToRecord
    }

    color: isLive ? Theme.liveTint : Theme.surface
    height: Theme.barHeight

    Rectangle {
        anchors.bottom: parent.bottom
        color: bar.isLive ? Theme.live : Theme.line
        height: bar.isLive ? 2 : 1
        width: parent.width
    }

    ActionButton {
        id: mainButton

        anchors.left: parent.left
        anchors.leftMargin: Theme.gap3
        anchors.verticalCenter: parent.verticalCenter
        enabled: !appModel.isBusy && !quitting.isFinishing
        fill: bar.isLive ? Theme.live : Theme.accentFill
        focus: true
        font.bold: true
        iconName: appModel.recordingAction.iconName
        implicitHeight: Theme.mainButtonHeight
        ink: bar.isLive ? Theme.liveText : Theme.accentText
        objectName: "mainButton"
        shortcutText: enabled && !bar.isNarrow ? "Ctrl+R" : ""
        text: appModel.recordingAction.title
        width: Math.max(152, bothTexts.width + 2 * Theme.gap3 + 22 + (bar.isNarrow ? 0 : 54))
        onClicked: appModel.toggleRecording()

        // The button has the width of the wider of its texts, so that it stays where it is.
        Column {
            id: bothTexts

            opacity: 0

            Words {
                Accessible.ignored: true
                font.bold: true
                text: texts.startRecording
            }
            Words {
                Accessible.ignored: true
                font.bold: true
                text: texts.stopRecording
            }
        }
    }

    LiveClock {
        id: clock

        anchors.left: mainButton.right
        anchors.leftMargin: Theme.gap4
        anchors.verticalCenter: parent.verticalCenter
        visible: bar.isLive
    }

    Icon {
        id: failIcon

        anchors.left: clock.visible ? clock.right : mainButton.right
        anchors.leftMargin: Theme.gap4
        anchors.top: status.top
        anchors.topMargin: 2
        name: "fail"
        tint: Theme.fail
        visible: bar.hasFailed
    }
    Words {
        id: status

        Accessible.name: text
        Accessible.role: Accessible.StatusBar
        anchors.left: failIcon.visible ? failIcon.right : clock.visible ? clock.right : mainButton.right
        anchors.leftMargin: failIcon.visible ? 6 : clock.visible ? Theme.gap6 : Theme.gap4
        anchors.right: tail.left
        anchors.rightMargin: Theme.gap2
        anchors.top: parent.top
        anchors.topMargin: detail.text === "" ? 18 : 9
        color: bar.hasFailed ? Theme.fail : Theme.text
        elide: Text.ElideRight
        font.bold: true
        objectName: "statusText"
        text: appModel.statusText
        visible: !bar.isLive || width > 140 // where there is little room, what the tracks do matters more
    }
    SmallWords {
        id: detail

        anchors.left: failIcon.visible ? failIcon.left : status.left
        anchors.right: status.right
        anchors.top: status.bottom
        elide: Text.ElideRight
        text: bar.detailText()
        visible: status.visible
    }

    Row {
        id: tail

        anchors.right: parent.right
        anchors.rightMargin: Theme.gap2
        anchors.verticalCenter: parent.verticalCenter
        spacing: Theme.gap3

        RecordingLevelBanner {
            anchors.verticalCenter: parent.verticalCenter
            visible: bar.isLive
            width: bar.isNarrow ? bar.width - clock.x - clock.width - Theme.gap4 - Theme.gap3 : 260
        }
        Column {
            anchors.verticalCenter: parent.verticalCenter
            spacing: 2
            visible: bar.isFinishing
            width: bar.isNarrow ? 100 : 200

            Item {
                height: Theme.smallLine
                width: parent.width

                SmallWords {
                    text: texts.overallProgress
                }
                Figures {
                    anchors.right: parent.right
                    objectName: "transcriptionShare"
                    text: Math.round(appModel.tracks.transcribedShare * 100) + "%"
                }
            }
            Progress {
                share: appModel.tracks.transcribedShare
                width: parent.width
            }
        }
        ActionButton {
            Accessible.name: texts.languageLabel
            anchors.verticalCenter: parent.verticalCenter
            fill: "transparent"
            iconName: "lang"
            ink: Theme.text2
            objectName: "languageButton"
            outline: "transparent"
            text: appModel.displayLanguage === "japanese" ? "日本語" : "English"
            visible: !bar.isNarrow
            onClicked: appModel.switchLanguage()
        }
        Row {
            anchors.verticalCenter: parent.verticalCenter
            spacing: Theme.gap1
            visible: !(bar.isLive && bar.isNarrow)

            IconButton {
                iconName: "folder"
                ink: Theme.text2
                name: texts.openStorageFolder
                objectName: "storageButton"
                visible: !bar.isNarrow
                onClicked: appModel.openStorageFolder()
            }
            IconButton {
                id: permissionsButton

                iconName: "shield"
                ink: permissions.needAttention ? Theme.attention : Theme.text2
                name: texts.capturePermissionsTitle
                objectName: "permissionsButton"
                onClicked: permissionsPopover.visible ? permissionsPopover.close() : permissionsPopover.open()

                Popover {
                    id: permissionsPopover

                    name: texts.capturePermissionsTitle
                    width: Math.min(400, bar.width - 2 * Theme.gap2)
                    x: permissionsButton.width - width
                    y: permissionsButton.height + Theme.gap4

                    contentItem: PermissionViews {}

                    onAboutToShow: permissions.refresh()
                }
            }
            IconButton {
                id: settingsButton

                iconName: "gear"
                ink: Theme.text2
                name: texts.settings
                objectName: "settingsButton"
                onClicked: bar.openSettings()

                SettingsPopover {
                    id: settingsPopover

                    width: Math.min(320, bar.width - 2 * Theme.gap2)
                    x: settingsButton.width - width
                    y: settingsButton.height + Theme.gap4
                    onQuitRequested: quitting.request()
                }
            }
        }
    }
}
