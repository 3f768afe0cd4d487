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

    readonly property bool isStacked: width < Theme.stackedBelow
    readonly property bool hasTwoRows: isStacked && (isLive || isFinishing)
    readonly property bool hasAllIcons: !isNarrow && !((isLive || isFinishing) && width < Theme.mediumFrom)
    readonly property real textStart: (clock.visible ? clock.x + clock.width + Theme.gap6
                                                     : mainButton.x + mainButton.width + Theme.gap4) + (hasFailed ? 22 : 0)
    readonly property real textRoom: tail.x - textStart - Theme.gap2

    color: isLive ? Theme.liveTint : Theme.surface
    height: hasTwoRows ? meters.y + meters.height + Theme.gap3 : Theme.barHeight

    Rectangle {
        anchors.bottom: parent.bottom
        color: bar.isLive ? Theme.live : Theme.line
        height: bar.isLive ? 2 : 1
        width: parent.width
    }

    ActionButton {
        id: mainButton

        Accessible.description: [appModel.statusText, bar.detailText()].join(". ")
        enabled: !appModel.isBusy && !quitting.isFinishing
        fill: bar.isLive ? Theme.live : Theme.accentFill
        focus: true
        font.bold: true
        iconName: appModel.recordingAction.iconName
        implicitHeight: bar.hasTwoRows ? Theme.mainButtonHeight - 4 : Theme.mainButtonHeight
        ink: bar.isLive ? Theme.liveText : Theme.accentText
        objectName: "mainButton"
        shortcutText: enabled && !bar.isNarrow ? "Ctrl+R" : ""
        text: appModel.recordingAction.title
        width: bar.isStacked && !bar.isLive
               ? tail.x - x - Theme.gap2
               : Math.max(bar.hasTwoRows ? 0 : 152, bothTexts.width + 2 * Theme.gap3 + 22 + (bar.isNarrow ? 0 : 54))
        x: bar.hasTwoRows && bar.isLive ? bar.width - width - Theme.gap3 : Theme.gap3
        y: bar.hasTwoRows ? 10 : (Theme.barHeight - height) / 2
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

        anchors.verticalCenter: mainButton.verticalCenter
        isNarrow: bar.isStacked
        visible: bar.isLive
        x: bar.hasTwoRows ? Theme.gap3 : mainButton.x + mainButton.width + Theme.gap4
    }

    Icon {
        id: failIcon

        name: "fail"
        tint: Theme.fail
        visible: bar.hasFailed && status.visible
        x: bar.textStart - 22
        y: status.y + 2
    }
    Words {
        id: status

        Accessible.name: text
        Accessible.role: Accessible.StatusBar
        color: bar.hasFailed ? Theme.fail : Theme.text
        font.bold: true
        objectName: "statusText"
        text: appModel.statusText
        visible: !bar.isStacked && implicitWidth <= bar.textRoom // never cut; what the tracks do matters more
        x: bar.textStart
        y: detail.visible ? 9 : 18
    }
    SmallWords {
        id: detail

        anchors.left: bar.hasFailed ? failIcon.left : status.left
        anchors.top: status.bottom
        text: bar.detailText()
        visible: status.visible && !bar.isNarrow && text !== "" && implicitWidth <= bar.textRoom
    }

    Row {
        id: tail

        anchors.right: parent.right
        anchors.rightMargin: Theme.gap2
        anchors.verticalCenter: mainButton.verticalCenter
        spacing: Theme.gap3

        Item {
            // Where the meters stand unless they have a row of their own.
            id: metersPlace

            height: 1
            visible: bar.isLive && !bar.hasTwoRows
            width: Math.min(bar.width < Theme.wideFrom ? 230 : 260, bar.width - clock.x - clock.width - Theme.gap4 - Theme.gap3 - (icons.visible ? icons.width + Theme.gap3 : 0))
        }
        OverallProgress {
            anchors.verticalCenter: parent.verticalCenter
            name: texts.overallProgress
            visible: bar.isFinishing && bar.width >= 600
            width: bar.isNarrow ? 100 : 200
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
            visible: bar.hasAllIcons
            onClicked: appModel.switchLanguage()
        }
        Row {
            id: icons

            anchors.verticalCenter: parent.verticalCenter
            spacing: Theme.gap1
            visible: !(bar.isLive && bar.width < 600)

            IconButton {
                iconName: "folder"
                ink: Theme.text2
                name: texts.openStorageFolder
                objectName: "storageButton"
                visible: bar.hasAllIcons
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

    component OverallProgress: Column {
        id: overall

        required property string name

        spacing: 2

        Item {
            height: Theme.smallLine
            width: parent.width

            SmallWords {
                text: overall.name
            }
            Figures {
                anchors.right: parent.right
                objectName: "transcriptionShare"
                text: Math.round(appModel.finishing.share * 100) + "%"
            }
        }
        Progress {
            share: appModel.finishing.share
            width: parent.width
        }
    }

    OverallProgress {
        anchors.verticalCenter: meters.verticalCenter
        name: appModel.statusText
        visible: bar.hasTwoRows && bar.isFinishing
        width: meters.width
        x: meters.x
    }
    RecordingLevelBanner {
        id: meters

        visible: bar.isLive
        width: bar.hasTwoRows ? bar.width - 2 * Theme.gap3 : metersPlace.width
        x: bar.hasTwoRows ? Theme.gap3 : tail.x + metersPlace.x
        y: bar.hasTwoRows ? mainButton.y + mainButton.height + Theme.gap2 : (Theme.barHeight - height) / 2
    }
}
