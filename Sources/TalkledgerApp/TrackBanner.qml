/// What the tracks of the recording in progress lack just now, and what can be done about it.
AttentionBanner {
    advice: trackNotice.advice
    cause: trackNotice.cause
    message: trackNotice.message
    objectName: "trackBanner"

    ActionButton {
        iconName: trackNotice.isAboutMicrophone ? "mic" : "system"
        implicitHeight: Theme.smallButtonHeight
        objectName: "checkTrack"
        text: trackNotice.isAboutMicrophone ? texts.checkMicrophone : texts.checkSound
        onClicked: permissions.openSettings(trackNotice.isAboutMicrophone ? "microphone" : "systemAudio")
    }
}
