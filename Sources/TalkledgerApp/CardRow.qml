import QtQuick

/// A row of a card; a line parts it from the one above.
Item {
    id: row

    Rectangle {
        color: Theme.line
        height: 1
        visible: row.y > 0
        width: row.width
    }
}
