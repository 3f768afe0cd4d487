import QtQuick
import QtQuick.Controls

/// Names of pages of which one is shown.
Rectangle {
    id: tabs

    required property var names
    property int current: 0
    property int margin: Theme.gap4
    signal chosen(int index)

    Accessible.role: Accessible.PageTabList
    color: Theme.surface
    implicitHeight: 37

    Rectangle {
        anchors.bottom: parent.bottom
        color: Theme.line
        height: 1
        width: parent.width
    }
    Row {
        spacing: Theme.gap1
        x: tabs.margin - 10

        Repeater {
            model: tabs.names

            AbstractButton {
                id: tab

                required property int index
                required property string modelData

                readonly property bool isCurrent: index === tabs.current

                Accessible.name: modelData
                Accessible.role: Accessible.PageTab
                Accessible.selected: isCurrent
                Accessible.onPressAction: clicked()
                height: 36
                objectName: "tab" + index
                width: words.implicitWidth + 20
                onClicked: tabs.chosen(index)

                contentItem: Item {
                    Words {
                        id: words

                        anchors.centerIn: parent
                        color: tab.isCurrent || tab.hovered ? Theme.text : Theme.text2
                        font.bold: tab.isCurrent
                        text: tab.modelData
                    }
                }
                background: Item {
                    Rectangle {
                        anchors.bottom: parent.bottom
                        anchors.bottomMargin: -1
                        color: Theme.accent
                        height: 2
                        visible: tab.isCurrent
                        width: parent.width
                    }
                    FocusRing {
                        control: tab
                        inset: 2
                    }
                }

                Keys.onLeftPressed: if (index > 0) {
                    tabs.chosen(index - 1)
                }
                Keys.onRightPressed: if (index + 1 < tabs.names.length) {
                    tabs.chosen(index + 1)
                }
            }
        }
    }
}
