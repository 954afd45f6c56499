import QtQuick
import OstQuote

// The fair yardstick for the gallery: Qt's own ListView paging through the same days with the
// same page skin, newest day at the right, and the same depth transition written the way a
// Qt developer would, with bindings on each delegate's place in the view: of the two pages in
// view the newer one stays where it is, shrinking to 0.8 and fading, while the older one
// slides over it.
ListView {
    id: list

    property QtObject fixtures

    orientation: ListView.Horizontal
    snapMode: ListView.SnapOneItem
    highlightRangeMode: ListView.StrictlyEnforceRange
    layoutDirection: Qt.RightToLeft
    model: fixtures ? fixtures.count : 0

    delegate: OstQuoteView {
        id: page

        required property int index
        // How far the content has carried this page right of the view, in pages: 0 in view,
        // 1 gone.
        readonly property real behind: Math.max(0, Math.min(1, (x - list.contentX) / list.width))

        width: list.width
        height: list.height
        transform: Translate { x: -page.behind * list.width }
        z: page.behind > 0 ? -1 : 0
        opacity: 1 - page.behind
        // The whole page scales about its centre: to the eye the same as the gallery's pages,
        // whose content shrinks inside a page that keeps its size.
        scale: Math.max(0.8, 1 - page.behind)
        Component.onCompleted: list.fixtures.fillPage(this, index)
    }
}
