import QtQuick

/// Where a model is missing: the button that gets the recommended one, and how far that has come.
Column {
    id: view

    /// The row of the model; empty when there is nothing to be had.
    required property var offer

    /// What is missing without it; empty where that is said already.
    property string reason

    readonly property int alignment: reason === "" ? Text.AlignLeft : Text.AlignHCenter
    readonly property bool isUnderWay: offer.state === "downloading" || offer.state === "verifying"

    spacing: Theme.gap2

    Words {
        color: view.offer.failure ? Theme.fail : Theme.text2
        horizontalAlignment: view.alignment
        objectName: view.objectName + "Reason"
        text: view.offer.failure || view.reason
        visible: text !== ""
        width: parent.width
        wrapMode: Text.Wrap
    }
    ActionButton {
        height: Theme.smallButtonHeight
        iconName: view.isUnderWay ? "" : "save"
        objectName: view.objectName + "Button"
        text: view.isUnderWay ? texts.cancelDownload : texts.getModel.replace("{size}", view.offer.size)
        visible: view.offer.name !== undefined
        x: view.alignment === Text.AlignLeft ? 0 : (view.width - width) / 2
        onClicked: view.isUnderWay ? modelFiles.cancel(view.offer.name) : modelFiles.download(view.offer.name)
    }
    SmallWords {
        horizontalAlignment: view.alignment
        text: view.isUnderWay ? "" : view.offer.cost || ""
        visible: text !== ""
        width: parent.width
        wrapMode: Text.Wrap
    }
    Progress {
        share: view.isUnderWay ? view.offer.share : 0
        visible: view.isUnderWay
        width: 200
        x: view.alignment === Text.AlignLeft ? 0 : (view.width - width) / 2
    }
    Figures {
        text: view.isUnderWay ? view.offer.size : ""
        visible: text !== ""
        x: view.alignment === Text.AlignLeft ? 0 : (view.width - width) / 2
    }
}
