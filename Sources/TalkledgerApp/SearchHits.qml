import QtQuick
import QtQuick.Controls

/// The recordings in which something was found.
Item {
    id: view

    required property string selectedID
    signal opened(string recordingID, int line)

    function step(rows) {
        list.currentIndex = Math.max(0, Math.min(list.currentIndex + rows, list.count - 1))
    }

    /// False when there is nothing to be opened, or it is open already.
    function openCurrent() {
        const row = list.currentItem
        if (!row || row.recordingID === selectedID) {
            return false
        }
        opened(row.recordingID, row.line)
        return true
    }

    SmallWords {
        id: summary

        elide: Text.ElideRight
        font.bold: true
        maximumLineCount: 2
        objectName: "searchSummary"
        text: search.recordingCount === 0 ? texts.nothingFound.replace("{q}", search.typed.trim())
            : search.hitCount < 0 ? texts.recordingCount.replace("{n}", search.recordingCount)
            : (search.recordingCount > 1 ? texts.searchResult : search.hitCount > 1 ? texts.hitsInOneRecording
                                                                                    : texts.oneHitInOneRecording)
              .replace("{n}", search.recordingCount).replace("{m}", search.hitCount)
        width: parent.width - 40
        wrapMode: Text.Wrap
        x: 20
        y: Theme.gap2
    }
    ListView {
        id: list

        Accessible.name: summary.text
        Accessible.role: Accessible.List
        activeFocusOnTab: true
        anchors.bottom: parent.bottom
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.top: summary.bottom
        anchors.topMargin: Theme.gap1
        boundsBehavior: Flickable.StopAtBounds
        cacheBuffer: 0 // rows made ahead would be asked for again of a result that may not have them
        clip: true
        highlightMoveDuration: 0
        model: search
        objectName: "searchHits"
        spacing: 1

        ScrollBar.vertical: ScrollBar {}
        delegate: SearchHitRow {
            isCurrent: ListView.isCurrentItem
            isSelected: recordingID === view.selectedID
            width: list.width
            onChosen: {
                list.currentIndex = index
                view.opened(recordingID, line)
            }
        }

        Keys.onEnterPressed: view.openCurrent()
        Keys.onReturnPressed: view.openCurrent()

        Connections {
            function onFound() {
                list.currentIndex = search.count > 0 ? 0 : -1
            }

            target: search
        }
    }
}
