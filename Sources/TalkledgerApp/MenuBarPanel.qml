import QtQuick
import QtQuick.Window

/// The tray's panel: everything that a meeting needs, without the window.
Window {
    id: panel

    signal recordingsRequested(string recordingID)
    signal quitRequested

    readonly property bool isLive: appModel.recordingAction.stops
    readonly property bool isFinishing: appModel.isStopping
    readonly property real cornerRadius: Theme.cardRadius
    readonly property bool asksForPermissions: permissions.needAttention && !appModel.isRecording

    color: "transparent"
    flags: Qt.Tool | Qt.FramelessWindowHint | Qt.WindowStaysOnTopHint
    height: content.height + 2
    title: texts.appTitle
    width: Theme.panelWidth

    onVisibleChanged: {
        if (visible) {
            permissions.refresh()
            mainButton.forceActiveFocus()
        }
    }

    function openRecordings(recordingID) {
        hide()
        recordingsRequested(recordingID)
    }

    Shortcut {
        enabled: mainButton.enabled
        sequences: ["Ctrl+R"]
        onActivated: appModel.toggleRecording()
    }
    Shortcut {
        sequences: ["Ctrl+O"]
        onActivated: panel.openRecordings("")
    }
    Shortcut {
        sequences: ["Ctrl+L"]
        onActivated: appModel.switchLanguage()
    }
    Shortcut {
        sequences: ["Ctrl+Q"]
        onActivated: panel.quitRequested()
    }
    Shortcut {
        sequences: ["Escape", "Ctrl+W"]
        onActivated: panel.hide()
    }

    component Line: Rectangle {
        color: Theme.line
        height: 1
        width: content.width
    }

    Rectangle {
        anchors.fill: parent
        border.color: Theme.lineStrong
        color: Theme.window
        radius: Theme.cardRadius
    }

    Column {
        id: content

        width: panel.width - 2
        x: 1
        y: 1

        Item {
            height: head.height + 28
            width: parent.width

            Rectangle {
                anchors.fill: parent
                color: panel.isLive ? Theme.liveTint : Theme.surface
                radius: Theme.cardRadius - 1

                Rectangle {
                    anchors.bottom: parent.bottom
                    color: parent.color
                    height: parent.radius
                    width: parent.width
                }
                Rectangle {
                    anchors.bottom: parent.bottom
                    color: panel.isLive ? Theme.live : Theme.line
                    height: panel.isLive ? 2 : 1
                    width: parent.width
                }
            }
            Column {
                id: head

                spacing: 10
                width: parent.width - 2 * Theme.gap4
                x: Theme.gap4
                y: 14

                Item {
                    height: panel.isLive ? Theme.clockLine : Theme.controlLine
                    width: parent.width

                    LiveClock {
                        id: clock

                        anchors.verticalCenter: parent.verticalCenter
                        visible: panel.isLive
                    }
                    Words {
                        id: name

                        anchors.verticalCenter: parent.verticalCenter
                        font.bold: true
                        font.pixelSize: Theme.bodySize
                        text: texts.appTitle
                        visible: !panel.isLive
                    }
                    Icon {
                        anchors.right: status.left
                        anchors.rightMargin: 5
                        anchors.verticalCenter: parent.verticalCenter
                        name: appModel.statusIsFailure ? "fail" : "warn"
                        tint: status.color
                        visible: appModel.statusIsFailure || panel.asksForPermissions
                    }
                    SmallWords {
                        id: status

                        Accessible.name: text
                        Accessible.role: Accessible.StatusBar
                        anchors.right: parent.right
                        anchors.verticalCenter: parent.verticalCenter
                        color: appModel.statusIsFailure ? Theme.fail
                                                        : panel.asksForPermissions ? Theme.attention
                                                                                   : panel.isLive ? Theme.text : Theme.text2
                        elide: Text.ElideRight
                        font.bold: appModel.statusIsFailure || panel.asksForPermissions
                        horizontalAlignment: Text.AlignRight
                        objectName: "panelStatus"
                        text: panel.asksForPermissions && !appModel.statusIsFailure && !appModel.isBusy
                              ? texts.permissionsNeedAttention : appModel.statusText
                        width: Math.min(implicitWidth, parent.width - (panel.isLive ? clock.width : name.width) - 2 * Theme.gap4)
                    }
                }
                RecordingLevelBanner {
                    visible: panel.isLive
                    width: parent.width
                }
                ActionButton {
                    id: mainButton

                    enabled: !appModel.isBusy && !quitting.isFinishing
                    fill: panel.isLive ? Theme.live : Theme.accentFill
                    font.bold: true
                    font.pixelSize: 15
                    iconName: appModel.recordingAction.iconName
                    implicitHeight: Theme.panelButtonHeight
                    ink: panel.isLive ? Theme.liveText : Theme.accentText
                    objectName: "panelMainButton"
                    shortcutText: enabled ? "Ctrl+R" : ""
                    text: appModel.recordingAction.title
                    width: parent.width
                    onClicked: appModel.toggleRecording()
                }
                Column {
                    spacing: Theme.gap1
                    visible: panel.isFinishing || quitting.isFinishing
                    width: parent.width

                    SmallWords {
                        text: quitting.isFinishing ? texts.quitsAfterSaving : texts.nextRecordingAfterSaving
                        width: parent.width
                        wrapMode: Text.Wrap
                    }
                    Progress {
                        share: panel.isFinishing ? appModel.finishing.share : revisions.transcribedShare
                        width: parent.width
                    }
                }
                SmallWords {
                    color: Theme.fail
                    elide: Text.ElideRight
                    maximumLineCount: 3
                    objectName: "panelError"
                    text: appModel.noTrackStarted ? texts.checkSoundAndStartAgain : appModel.lastError
                    visible: text !== ""
                    width: parent.width
                    wrapMode: Text.Wrap
                }
                SmallWords {
                    text: permissions.startConsequence
                    visible: panel.asksForPermissions && !appModel.isBusy
                    width: parent.width
                    wrapMode: Text.Wrap
                }
                Flow {
                    spacing: 14
                    visible: !appModel.isRecording && !panel.asksForPermissions && !appModel.isBusy
                    width: parent.width

                    Repeater {
                        model: 2

                        Row {
                            required property int index

                            readonly property var permission: permissions.rows[index]

                            spacing: 5

                            Icon {
                                anchors.verticalCenter: parent.verticalCenter
                                name: parent.index === 0 ? "mic" : "system"
                            }
                            SmallWords {
                                text: parent.permission.name + " " + parent.permission.state
                            }
                        }
                    }
                }
            }
        }

        Item {
            id: permissionSection

            height: rights.height + Theme.gap3
            visible: panel.asksForPermissions
            width: parent.width

            PermissionViews {
                id: rights

                isCompact: true
                title: texts.permissionsTitle
                width: parent.width - 2 * Theme.gap2
                x: Theme.gap2
                y: 6
            }
        }

        Column {
            id: recentSection

            bottomPadding: 6
            topPadding: 6
            visible: !appModel.isRecording && !panel.asksForPermissions && recordings.count > 0
            width: parent.width

            SmallWords {
                bottomPadding: 2
                font.bold: true
                leftPadding: Theme.gap4
                text: texts.recentRecordings
            }
            // A list makes only the rows that it shows.
            ListView {
                height: Math.min(2, count) * Theme.buttonHeight
                interactive: false
                model: recordings
                clip: true
                width: parent.width - 2 * Theme.gap2
                x: Theme.gap2

                delegate: PanelRow {
                    required property string recordingID
                    required property string title
                    required property string duration

                    figuresText: duration
                    text: title
                    width: ListView.view.width
                    onClicked: panel.openRecordings(recordingID)
                }
            }
        }

        Item {
            id: summarySection

            height: summary.height + 20
            visible: panel.isLive
            width: parent.width

            PanelSummary {
                id: summary

                width: parent.width - 2 * Theme.gap4
                x: Theme.gap4
                y: 10
            }
        }

        Line {
            visible: summarySection.visible || permissionSection.visible || recentSection.visible
        }
        Column {
            bottomPadding: 6
            topPadding: 6
            width: parent.width - 2 * Theme.gap2
            x: Theme.gap2

            PanelRow {
                iconName: "window"
                objectName: "panelRecordings"
                shortcutText: "Ctrl+O"
                text: texts.recordings
                width: parent.width
                onClicked: panel.openRecordings("")
            }
            PanelRow {
                iconName: "folder"
                objectName: "panelStorageFolder"
                text: texts.openStorageFolder
                width: parent.width
                onClicked: appModel.openStorageFolder()
            }
            LanguageRow {
                width: parent.width
            }
        }
        Line {}
        Column {
            bottomPadding: 6
            topPadding: 6
            width: parent.width - 2 * Theme.gap2
            x: Theme.gap2

            PanelRow {
                iconName: "power"
                objectName: "panelQuit"
                shortcutText: "Ctrl+Q"
                text: texts.quit
                width: parent.width
                onClicked: panel.quitRequested()
            }
        }
    }
}
