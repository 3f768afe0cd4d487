import QtQuick

/// The models of an engine, one of which is to be had or used.
PageSection {
    id: section

    required property var files

    /// What the user has marked; empty as long as he has not.
    property string markedName

    property bool showsAll: false

    readonly property string preferredName: {
        const used = files.find(file => file.isInUse) || files.find(file => file.isRecommended)
        return used === undefined ? "" : used.name
    }

    function isShown(file) {
        return showsAll || file.isUsual || file.state !== "absent" || file.name === markedName
    }

    // The rows stay, and with them the focus, when what they show changes.
    Repeater {
        model: section.files.length

        ModelRow {
            required property int index

            file: section.files[index]
            height: visible ? implicitHeight : 0
            isMarked: file.name === (section.markedName || section.preferredName)
            visible: section.isShown(file)
            width: parent.width
            onMarked: section.markedName = file.name
        }
    }
    LinkRow {
        objectName: section.objectName + "All"
        text: texts.showAllModels
        visible: !section.showsAll && section.files.some(file => !section.isShown(file))
        width: parent.width
        onClicked: section.showsAll = true
    }
}
