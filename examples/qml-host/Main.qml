import QtQuick
import OstQuote

// The launch screen first, straight in the window. This file imports nothing of Qt Quick
// Controls, so nothing but the launch screen stands between the start and its first frame.
// The app behind it (AppStack.qml: its StackView and the screens it shows) loads in the
// background while the countdown runs, then takes the launch screen in as its first item;
// when the countdown says so, the app goes on to the viewer.
Window {
    id: window
    width: 375; height: 667; visible: true

    OstQuoteLaunchViewController {
        id: launch
        width: window.width
        height: window.height
        // 2.5 s after the screen appears, and again on the way back from the viewer.
        onWillDismiss: {
            app.launchDone = true
            if (app.item)
                app.item.leaveLaunchScreen()
        }
    }

    Loader {
        id: app
        objectName: "app"
        // The countdown ended before the app was ready.
        property bool launchDone: false
        anchors.fill: parent
        asynchronous: true
        Component.onCompleted: setSource("AppStack.qml", { launchScreen: launch })
        onLoaded: {
            if (launchDone)
                item.leaveLaunchScreen()
        }
    }
}
