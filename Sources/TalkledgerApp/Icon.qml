import QtQuick
import QtQuick.Window

/// One of the drawn icons, in any colour.
Image {
    property string name
    property color tint: Theme.text2
    property int extent: 16

    height: extent
    source: name === "" ? "" : "image://icons/" + name + "/" + tint.toString().slice(-6)
    sourceSize: Qt.size(extent * Screen.devicePixelRatio, extent * Screen.devicePixelRatio)
    width: extent
}
