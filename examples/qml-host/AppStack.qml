import QtQuick
import QtQuick.Controls
import OstQuote

// The app behind the launch screen: its StackView, with the launch screen taken in as the
// first item (the launch screen's button pushes the viewer on it), and the screen that
// follows it.
StackView {
    id: stack
    required property OstQuoteLaunchViewController launchScreen
    // Set when the launch screen says it may go.
    property bool launchDone: false

    initialItem: launchScreen
    onLaunchDoneChanged: {
        if (launchDone && currentItem === launchScreen)
            replace(viewer)
    }

    Component { id: viewer; OstQuoteViewController {} }
}
