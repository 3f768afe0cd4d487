import QtQuick
import QtQuick.Controls

/// The summary of the recording in progress and how it stands, as an outline: nothing of it is final. Folded, it shows
/// no more than two lines.
Rectangle {
    id: card

    property bool isFolded: false

    readonly property var summary: appModel.liveSummary
    readonly property bool hasSummary: summary.updatedAt !== ""
    readonly property bool isWorking: summary.status === "generating"
    readonly property bool hasFailed: summary.status === "failed" && summary.isModelAvailable
    readonly property bool isWaiting: summary.isModelAvailable && !hasSummary && !isWorking && !hasFailed

    /// What is to be said before the summary itself, or in its place.
    readonly property string message: !summary.isModelAvailable && !hasSummary
                                    ? (summary.isEngineMissing ? texts.noSummaryEngine : texts.noSummaryModel)
                                    : hasFailed ? (hasSummary ? texts.lastSummaryShown : texts.summaryTriedAgain)
                                    : isWaiting ? texts.liveSummaryWaitingForSpeech
                                    : hasSummary && summary.sections.length === 0 ? texts.noSummaryAvailable : ""
    readonly property string firstLine: hasSummary && summary.sections.length > 0 ? summary.sections[0].entries[0] : ""

    function headIcon() {
        if (hasFailed) {
            return "fail"
        }
        return isWorking ? "refresh" : !summary.isModelAvailable ? "warn" : isWaiting ? "clock" : ""
    }

    Accessible.description: firstLine
    Accessible.name: texts.provisionalSummary + " " + (hasFailed ? texts.liveSummaryFailed : state.text || message)
    Accessible.role: Accessible.Grouping
    border.color: hasFailed ? Theme.failLine : Theme.lineStrong
    border.width: 1
    color: Theme.window
    implicitHeight: content.height > 0 ? body.y + body.height + 12 : rule.y + rule.height + 6
    radius: Theme.cardRadius

    Row {
        id: head

        spacing: Theme.gap2
        x: 14
        y: 12

        Icon {
            anchors.verticalCenter: parent.verticalCenter
            name: card.headIcon()
            tint: card.hasFailed ? Theme.fail : card.isWorking ? Theme.accent
                : card.summary.isModelAvailable ? Theme.text2 : Theme.attention
            visible: name !== ""
        }
        Words {
            font.bold: true
            text: texts.provisionalSummary
        }
    }
    SmallWords {
        id: state

        anchors.baseline: head.bottom
        anchors.baselineOffset: -6
        anchors.right: parent.right
        anchors.rightMargin: 14
        color: card.isWorking ? Theme.accent : Theme.text2
        objectName: "liveSummaryState"
        text: card.isWorking ? texts.liveSummaryGenerating
            : !card.hasSummary ? ""
            : appModel.displayLanguage === "japanese" ? card.summary.updatedAt + " " + texts.updated
                                                      : texts.updated + " " + card.summary.updatedAt
    }

    Rectangle {
        id: rule

        anchors.left: parent.left
        anchors.leftMargin: 1
        anchors.right: parent.right
        anchors.rightMargin: 1
        anchors.top: head.bottom
        anchors.topMargin: 6
        clip: true
        color: Theme.track
        height: card.isFolded && !card.isWorking ? 0 : 2

        Rectangle {
            id: worker

            color: Theme.accent
            height: parent.height
            visible: card.isWorking
            width: parent.width / 3

            NumberAnimation on x {
                duration: Theme.workingMilliseconds
                from: -worker.width
                loops: Animation.Infinite
                running: worker.visible && card.visible && card.Window.active
                to: rule.width
            }
        }
    }

    Flickable {
        id: body

        anchors.left: parent.left
        anchors.leftMargin: 14
        anchors.right: parent.right
        anchors.rightMargin: 14
        anchors.top: rule.bottom
        anchors.topMargin: content.height > 0 ? (card.isFolded ? 4 : 10) : 0
        boundsBehavior: Flickable.StopAtBounds
        clip: true
        contentHeight: content.height
        height: Math.min(content.height, card.tallestBody)
        interactive: contentHeight > height

        ScrollBar.vertical: ScrollBar {
            policy: body.interactive ? ScrollBar.AsNeeded : ScrollBar.AlwaysOff
        }

        Column {
            id: content

            width: body.width

            Words {
                color: Theme.fail
                objectName: "liveSummaryFailure"
                text: texts.liveSummaryFailed
                visible: card.hasFailed
                width: parent.width
                wrapMode: Text.Wrap
            }
            Words {
                bottomPadding: -topPadding + (sections.visible ? 10 : 0)
                color: Theme.text2
                elide: card.isFolded ? Text.ElideRight : Text.ElideNone
                line: 21
                maximumLineCount: card.isFolded ? 2 : 100
                objectName: "liveSummaryMessage"
                text: card.message
                visible: text !== "" && !(card.isFolded && card.firstLine !== "")
                width: parent.width
                wrapMode: Text.Wrap
            }
            ModelOffer {
                objectName: "getSummaryModel"
                offer: modelFiles.languageOffer
                topPadding: Theme.gap2
                width: parent.width
                visible: !card.isFolded && !card.summary.isModelAvailable && !card.summary.isEngineMissing
            }
            SummarySections {
                id: sections

                headingInk: card.hasFailed ? Theme.text3 : Theme.text2
                ink: card.hasFailed ? Theme.text2 : Theme.text
                objectName: "liveSummarySections"
                sections: card.summary.sections
                visible: !card.isFolded && card.firstLine !== ""
                width: parent.width
            }
            Words {
                color: card.hasFailed ? Theme.text2 : Theme.text
                elide: Text.ElideRight
                maximumLineCount: 2
                text: card.firstLine
                visible: card.isFolded && text !== ""
                width: parent.width
                wrapMode: Text.Wrap
            }
        }
    }

    /// The card grows with what it says up to here; then that scrolls.
    property real tallestBody: Number.MAX_VALUE
}
