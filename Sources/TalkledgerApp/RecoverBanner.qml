/// Offers to finish the chosen recording if it was cut off and has sound, unless the user puts it off.
AttentionBanner {
    id: banner

    property string postponedID

    readonly property bool isWanted: chosenRecording.status === "interrupted" && revisions.recordingID === ""
                                     && postponedID !== chosenRecording.recordingID
                                     && chosenRecording.files.some(file => !file.isEmpty)

    advice: texts.recoveringMakes
    cause: texts.endedUnexpectedly
    objectName: "recoverBanner"

    ActionButton {
        fill: Theme.accentFill
        font.bold: true
        iconName: "recover"
        implicitHeight: Theme.smallButtonHeight
        ink: Theme.accentText
        objectName: "recover"
        text: texts.finishRecording
        onClicked: revisions.finish(chosenRecording.recordingID)
    }
    ActionButton {
        implicitHeight: Theme.smallButtonHeight
        objectName: "recoverLater"
        text: texts.later
        onClicked: banner.postponedID = chosenRecording.recordingID
    }
}
