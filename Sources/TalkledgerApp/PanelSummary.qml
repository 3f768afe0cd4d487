import QtQuick

/// The live summary's first two lines, for the panel.
Column {
    id: view

    readonly property var summary: appModel.liveSummary
    readonly property bool hasSummary: summary.sections.length > 0

    function message() {
        if (!summary.isModelAvailable) {
            return summary.isEngineMissing ? texts.noSummaryEngine : texts.noSummaryModel
        }
        switch (summary.status) {
        case "generating":
            return texts.liveSummaryGenerating
        case "failed":
            return texts.liveSummaryFailed
        default:
            return texts.liveSummaryWaitingForSpeech
        }
    }

    spacing: 2

    Item {
        height: Theme.smallLine
        width: parent.width

        SmallWords {
            color: Theme.text
            font.bold: true
            text: texts.provisionalSummary
        }
        SmallWords {
            anchors.right: parent.right
            text: appModel.displayLanguage === "japanese" ? view.summary.updatedAt + " " + texts.updated
                                                          : texts.updated + " " + view.summary.updatedAt
            visible: view.hasSummary
        }
    }
    Words {
        color: Theme.text2
        elide: Text.ElideRight
        maximumLineCount: 2
        objectName: "panelSummary"
        text: view.hasSummary ? view.summary.sections[0].entries[0] : view.message()
        width: parent.width
        wrapMode: Text.Wrap
    }
}
