import QtQuick
import QtQuick.Controls

/// The list of recordings by day, newest first.
Rectangle {
    id: sidebar

    required property string selectedID
    signal chosen(string recordingID)
    signal opened
    signal hitOpened(string recordingID, int line)

    function takeSearch() {
        field.forceActiveFocus()
        field.selectAll()
    }

    function step(rows) {
        const row = recordings.rowOf(selectedID) + rows
        if (row >= 0 && row < recordings.count) {
            chosen(recordings.recordingIDAt(row))
        }
    }

    color: Theme.sidebar

    SearchField {
        id: field

        anchors.left: parent.left
        anchors.leftMargin: Theme.gap3
        anchors.right: edge.left
        anchors.rightMargin: Theme.gap3
        visible: recordings.count > 0
        y: 10
        onClosed: list.forceActiveFocus()
        onConfirmed: backwards => {
            if (!hits.openCurrent()) {
                transcriptHits.step(backwards ? -1 : 1)
            }
        }
        onStepped: rows => hits.step(rows)
    }
    SearchHits {
        id: hits

        anchors.bottom: foot.top
        anchors.left: parent.left
        anchors.right: edge.left
        anchors.top: field.bottom
        selectedID: sidebar.selectedID
        visible: search.isActive
        onOpened: (recordingID, line) => sidebar.hitOpened(recordingID, line)
    }

    ListView {
        id: list

        Accessible.name: texts.recordings
        Accessible.role: Accessible.List
        activeFocusOnTab: true
        anchors.bottom: foot.top
        anchors.left: parent.left
        anchors.right: edge.left
        anchors.top: field.bottom
        anchors.topMargin: 2
        bottomMargin: Theme.gap2
        boundsBehavior: Flickable.StopAtBounds
        clip: true
        currentIndex: recordings.count > 0 ? recordings.rowOf(sidebar.selectedID) : -1
        highlightMoveDuration: 0
        keyNavigationEnabled: false
        model: recordings
        objectName: "recordingList"
        section.delegate: Item {
            id: head

            required property string section

            height: Theme.dayHeight

            SmallWords {
                anchors.bottom: parent.bottom
                anchors.bottomMargin: 2
                font.bold: true
                text: head.section
                x: 20
            }
        }
        section.property: "day"
        spacing: 1
        topMargin: Theme.gap1
        visible: !search.isActive

        ScrollBar.vertical: ScrollBar {}
        delegate: SessionSidebarRow {
            isSelected: recordingID === sidebar.selectedID
            width: list.width
            onChosen: {
                list.forceActiveFocus()
                sidebar.chosen(recordingID)
                sidebar.opened()
            }
        }

        Keys.onDeletePressed: trash.remove(sidebar.selectedID)
        Keys.onDownPressed: sidebar.step(1)
        Keys.onEnterPressed: sidebar.opened()
        Keys.onReturnPressed: sidebar.opened()
        Keys.onUpPressed: sidebar.step(-1)
    }

    Column {
        anchors.left: parent.left
        anchors.leftMargin: Theme.gap4
        anchors.right: parent.right
        anchors.rightMargin: Theme.gap4
        anchors.top: parent.top
        anchors.topMargin: 48
        spacing: 2
        visible: recordings.count === 0 && !appModel.isLoadingSessions

        Words {
            font.bold: true
            horizontalAlignment: Text.AlignHCenter
            text: texts.noRecordings
            width: parent.width
            wrapMode: Text.Wrap
        }
        SmallWords {
            horizontalAlignment: Text.AlignHCenter
            text: texts.noRecordingsDescription
            width: parent.width
            wrapMode: Text.Wrap
        }
    }

    SmallWords {
        anchors.left: parent.left
        anchors.leftMargin: 20
        anchors.top: parent.top
        anchors.topMargin: 48
        color: Theme.text3
        objectName: "loadingSessions"
        text: texts.loading
        visible: appModel.isLoadingSessions && !patience.running

        Timer {
            id: patience

            interval: Theme.loadingMilliseconds
            running: true
        }
    }

    Rectangle {
        id: edge

        anchors.right: parent.right
        color: Theme.line
        height: parent.height
        width: 1
    }

    ExportNotice {
        id: exportNotice

        anchors.bottom: trashNotice.top
        anchors.left: parent.left
        anchors.right: edge.left
    }
    TrashNotice {
        id: trashNotice

        anchors.bottom: parent.bottom
        anchors.left: parent.left
        anchors.right: edge.left
    }
    Item {
        id: foot

        anchors.bottom: exportNotice.top
        anchors.left: parent.left
        anchors.right: edge.left
        height: Theme.footHeight

        Rectangle {
            color: Theme.line
            height: 1
            width: parent.width
        }
        SmallWords {
            anchors.left: parent.left
            anchors.leftMargin: 20
            anchors.verticalCenter: parent.verticalCenter
            text: search.isActive ? texts.enterOpens : recordings.count === 1 ? texts.oneRecording : texts.recordingCount.replace("{n}", recordings.count)
        }
        IconButton {
            anchors.right: parent.right
            anchors.rightMargin: Theme.gap1
            anchors.verticalCenter: parent.verticalCenter
            height: 28
            iconName: "refresh"
            name: texts.toolbarRefresh
            objectName: "refreshButton"
            width: 28
            onClicked: appModel.refreshSessions()
        }
    }
}
