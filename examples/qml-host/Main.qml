import QtQuick
import QtQuick.Controls
import OstQuote

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
