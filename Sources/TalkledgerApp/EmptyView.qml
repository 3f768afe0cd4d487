import QtQuick

/// What the program does, as long as there is no recording.
Item {
    Column {
        anchors.centerIn: parent
        spacing: Theme.gap4
        width: Math.min(parent.width - 2 * Theme.gap6, 520)

        Row {
            spacing: Theme.gap4
            width: parent.width

            Image {
                id: appIcon

                height: 48
                source: "image://icons/app-icon/"
                sourceSize: Qt.size(96, 96)
                width: 48
            }
            Words {
                anchors.verticalCenter: parent.verticalCenter
                font.bold: true
                font.pixelSize: Theme.pageTitleSize
                line: Theme.pageTitleLine
                text: texts.whatItDoes
                width: parent.width - appIcon.width - parent.spacing
                wrapMode: Text.Wrap
            }
        }
        SmallWords {
            text: texts.staysOnThisComputer
            width: parent.width
            wrapMode: Text.Wrap
        }
    }
}
