import QtQuick

/// Digits of one width, so that a running clock does not shake.
SmallWords {
    font.family: Theme.figures
    topPadding: 0
}
