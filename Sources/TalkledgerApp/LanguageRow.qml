import QtQuick

/// A line of the panel or a popover in which the language is chosen.
Item {
    implicitHeight: Theme.buttonHeight

    Icon {
        id: icon

        anchors.verticalCenter: parent.verticalCenter
        name: "lang"
        x: Theme.gap2
    }
    Words {
        anchors.left: icon.right
        anchors.leftMargin: 10
        anchors.verticalCenter: parent.verticalCenter
        text: texts.languageLabel
    }
    LanguageSwitch {
        anchors.right: parent.right
        anchors.rightMargin: Theme.gap2
        anchors.verticalCenter: parent.verticalCenter
    }
}
