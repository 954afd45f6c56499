import QtQuick
import OstQuote

// The yardstick for the gallery: Qt's own ListView paging through the same days with the
// same page skin, newest day at the right.
ListView {
    id: list

    property QtObject fixtures

    orientation: ListView.Horizontal
    snapMode: ListView.SnapOneItem
    highlightRangeMode: ListView.StrictlyEnforceRange
    layoutDirection: Qt.RightToLeft
    model: fixtures ? fixtures.count : 0

    delegate: OstQuoteView {
        required property int index
        width: list.width
        height: list.height
        Component.onCompleted: list.fixtures.fillPage(this, index)
    }
}
