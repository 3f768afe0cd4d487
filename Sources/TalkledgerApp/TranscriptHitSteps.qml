import QtQuick

/// The words that are searched for, which of their places in the transcript is looked at, and steps to the others.
Row {
    id: steps

    spacing: Theme.gap2

    SmallWords {
        anchors.verticalCenter: parent.verticalCenter
        elide: Text.ElideRight
        text: texts.searchedWords.replace("{q}", search.typed.trim())
        width: Math.min(implicitWidth, 120)
    }
    Figures {
        Accessible.role: Accessible.StaticText
        anchors.verticalCenter: parent.verticalCenter
        objectName: "hitPosition"
        text: transcriptHits.current + 1 + " / " + transcriptHits.count
    }
    Row {
        IconButton {
            enabled: transcriptHits.count > 0
            height: 28
            iconName: "up"
            ink: Theme.text2
            name: texts.previousHit
            objectName: "previousHit"
            tip: texts.previousHit + "  Shift+Enter"
            width: 28
            onClicked: transcriptHits.step(-1)
        }
        IconButton {
            enabled: transcriptHits.count > 0
            height: 28
            iconName: "down"
            ink: Theme.text2
            name: texts.nextHit
            objectName: "nextHit"
            tip: texts.nextHit + "  Enter"
            width: 28
            onClicked: transcriptHits.step(1)
        }
    }
}
