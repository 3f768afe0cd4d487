import QtQuick

/// A text for what stands beside the main thing.
Words {
    color: Theme.text2
    font.pixelSize: Theme.smallSize
    line: Theme.smallLine
}
