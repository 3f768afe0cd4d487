import QtQuick
import QtQuick.Controls

/// Both languages side by side; a click on either shows everything in it.
Rectangle {
    id: languages

    Accessible.name: texts.languageLabel
    Accessible.role: Accessible.Grouping
    border.color: Theme.line
    color: Theme.surface
    height: Theme.smallButtonHeight
    radius: Theme.controlRadius
    width: buttons.width

    Row {
        id: buttons

        Repeater {
            model: [{
                "name": "japanese",
                "text": "日本語"
            }, {
                "name": "english",
                "text": "English"
            }]

            AbstractButton {
                id: button

                required property var modelData

                readonly property bool isCurrent: appModel.displayLanguage === modelData.name

                Accessible.checkable: true
                Accessible.checked: isCurrent
                Accessible.name: text
                Accessible.onPressAction: clicked()
                Accessible.role: Accessible.RadioButton
                focusPolicy: Qt.StrongFocus
                height: languages.height
                horizontalPadding: 9
                objectName: modelData.name + "Button"
                text: modelData.text

                background: Rectangle {
                    border.color: Theme.line
                    border.width: button.isCurrent ? 1 : 0
                    color: button.isCurrent ? Theme.select : button.hovered ? Theme.hover : "transparent"
                    radius: Theme.controlRadius

                    FocusRing {
                        control: button
                    }
                }
                contentItem: SmallWords {
                    color: button.isCurrent ? Theme.text : Theme.text2
                    font.bold: button.isCurrent
                    text: button.text
                    verticalAlignment: Text.AlignVCenter
                }
                onClicked: appModel.displayLanguage = modelData.name
            }
        }
    }
}
