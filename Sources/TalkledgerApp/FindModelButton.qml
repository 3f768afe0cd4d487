import QtQuick

/// Leads from where a model is missing to those that are to be had.
ActionButton {
    iconName: "save"
    implicitHeight: Theme.smallButtonHeight
    objectName: "findModel"
    text: texts.models
    onClicked: firstMinutes.openModels()
}
