import QtQuick

/// How far something has come, 0 to 1.
Rectangle {
    property double share: 0
    property color fill: Theme.accent

    color: Theme.track
    height: 6
    radius: 3

    Rectangle {
        color: parent.fill
        height: parent.height
        radius: parent.radius
        width: parent.width * Math.min(Math.max(parent.share, 0), 1)

        Behavior on width {
            NumberAnimation {
                duration: Theme.progressMilliseconds
            }
        }
    }
}
