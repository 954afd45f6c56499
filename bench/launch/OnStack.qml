import QtQuick
import QtQuick.Controls
import OstQuote

// The module's launch screen embedded the plain way, for comparison: the first item of a
// StackView declared in the window's own file, so Qt Quick Controls and its style are read
// before the first frame.
Window {
    width: 375; height: 667; visible: true
    StackView {
        id: stack
        anchors.fill: parent
        initialItem: OstQuoteLaunchViewController {
            onWillDismiss: stack.replace(viewer)
        }
    }
    Component { id: viewer; OstQuoteViewController {} }
}
