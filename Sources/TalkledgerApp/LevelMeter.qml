import QtQuick

/// How loud it is, and how loud it has just been.
Rectangle {
    id: meter

    property double level: 0
    property color fill: Theme.me

    // Speech has a root mean square far below full scale; the square root spreads it over the bar.
    readonly property double share: Math.min(1, Math.sqrt(Math.max(0, level)))

    onShareChanged: {
        if (share >= peak.share) {
            peak.share = share
            peakTimer.restart()
        }
    }

    color: Theme.track
    height: 6
    radius: 3

    Rectangle {
        color: meter.fill
        height: parent.height
        radius: parent.radius
        width: parent.width * meter.share

        Behavior on width {
            SmoothedAnimation {
                duration: Theme.meterFallMilliseconds
                velocity: -1
            }
        }
    }
    Rectangle {
        id: peak

        property double share: 0

        anchors.verticalCenter: parent.verticalCenter
        color: Theme.text
        height: 10
        visible: share > 0.02
        width: 2
        x: Math.min(parent.width - width, parent.width * share)
    }
    Timer {
        id: peakTimer

        interval: Theme.meterPeakMilliseconds
        onTriggered: peak.share = meter.share
    }
}
