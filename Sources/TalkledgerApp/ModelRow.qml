import QtQuick
import QtQuick.Controls

/// A model file: what it costs, how it stands, and what can be done with it. The one that is marked is in use, or will
/// be once it is here. One that is used beside the others cannot be marked.
CardRow {
    id: row

    required property var file
    required property bool isMarked
    signal marked

    readonly property bool isUnderWay: file.state === "downloading" || file.state === "verifying"
    readonly property bool isInstalled: file.state === "installed"
    readonly property bool isNarrow: width < 480
    readonly property bool hasButton: isMarked || isUnderWay || isInstalled || file.failure !== "" || !file.isAlternative
    readonly property string stateText: file.isInUse ? texts.modelInUse
                                      : isInstalled ? texts.modelInstalled
                                      : file.state === "verifying" ? texts.modelBeingVerified : file.size

    function act() {
        if (isUnderWay) {
            modelFiles.cancel(file.name)
        } else if (isInstalled) {
            modelFiles.remove(file.name)
        } else {
            modelFiles.download(file.name)
        }
    }

    implicitHeight: Math.max(46, words.height + 14)

    AbstractButton {
        id: mark

        Accessible.checkable: true
        Accessible.checked: row.isMarked
        Accessible.name: row.file.title + ", " + row.file.cost + ", " + row.stateText
        Accessible.onPressAction: clicked()
        Accessible.role: Accessible.RadioButton
        Keys.onEnterPressed: clicked()
        Keys.onReturnPressed: clicked()
        anchors.bottom: parent.bottom
        anchors.left: parent.left
        anchors.right: button.left
        anchors.top: parent.top
        focusPolicy: Qt.StrongFocus
        objectName: row.file.name + " mark"
        visible: row.file.isAlternative

        background: Item {
            FocusRing {
                control: mark
                inset: 4
            }
        }

        onClicked: {
            row.marked()
            if (row.isInstalled) {
                modelFiles.use(row.file.name)
            }
        }
    }
    Rectangle {
        id: radio

        border.color: row.isMarked ? Theme.accentFill : Theme.lineStrong
        border.width: row.isMarked ? 5 : 1
        color: row.isMarked ? Theme.accentText : "transparent"
        height: 16
        radius: 8
        visible: row.file.isAlternative
        width: 16
        x: 14
        y: row.isNarrow || row.isUnderWay || failure.visible ? 15 - (row.isUnderWay ? 2 : 0) : (row.height - height) / 2
    }
    Column {
        id: words

        anchors.left: radio.right
        anchors.leftMargin: Theme.gap3
        anchors.right: row.isNarrow ? button.left : size.left
        anchors.rightMargin: Theme.gap3
        anchors.verticalCenter: parent.verticalCenter
        spacing: row.isUnderWay ? 3 : 0

        readonly property bool hasCostBeside: !row.isNarrow
                                              && title.implicitWidth + Theme.gap3 + cost.advanceWidth < width

        TextMetrics {
            id: cost

            font: costBelow.font
            text: row.file.cost
        }

        Row {
            spacing: Theme.gap3
            width: parent.width

            Words {
                id: title

                elide: Text.ElideMiddle
                font.bold: true
                text: row.file.title
                width: Math.min(implicitWidth, parent.width)
            }
            SmallWords {
                anchors.verticalCenter: title.verticalCenter
                text: row.file.cost
                visible: words.hasCostBeside
            }
        }
        SmallWords {
            id: costBelow

            text: row.file.cost
            visible: !words.hasCostBeside
            width: parent.width
            wrapMode: Text.Wrap
        }
        Figures {
            text: row.stateText
            visible: row.isNarrow
        }
        Progress {
            share: row.file.share
            visible: row.isUnderWay
            width: parent.width
        }
        SmallWords {
            id: failure

            color: Theme.fail
            objectName: row.file.name + " failure"
            text: row.file.failure
            visible: text !== ""
            width: parent.width
            wrapMode: Text.Wrap
        }
    }
    Figures {
        id: size

        anchors.right: button.left
        anchors.rightMargin: Theme.gap3
        anchors.verticalCenter: parent.verticalCenter
        horizontalAlignment: Text.AlignRight
        objectName: row.file.name + " state"
        text: row.stateText
        visible: !row.isNarrow
    }
    ActionButton {
        id: button

        Accessible.name: text + ": " + row.file.title
        anchors.right: parent.right
        anchors.rightMargin: 14
        anchors.verticalCenter: parent.verticalCenter
        height: Theme.smallButtonHeight
        iconName: row.isUnderWay || row.isInstalled || row.isNarrow ? "" : "save"
        objectName: row.file.name
        opacity: row.hasButton ? 1 : 0
        enabled: row.hasButton
        text: row.isUnderWay ? texts.cancelDownload : row.isInstalled ? texts.remove : texts.download
        width: row.isNarrow ? (row.hasButton ? implicitWidth : 0) : 112
        onClicked: row.act()
    }
}
