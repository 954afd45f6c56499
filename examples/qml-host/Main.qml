import QtQuick
import OstQuote

// The launch screen first, straight in the window. This file imports nothing of Qt Quick
// Controls, so nothing but the launch screen stands between the start and its first frame.
// The app behind it (AppStack.qml: its StackView and the screens it shows) starts loading in
// the background once that frame is on screen, while the countdown runs, then takes the
// launch screen in as its first item; when the countdown says so, the app goes on to the
// viewer.
Window {
    id: window
    width: 375; height: 667; visible: true

    OstQuoteLaunchViewController {
        id: launch
        width: window.width
        height: window.height
        // 2.5 s after the screen appears, or at once on the way back from the viewer.
        onWillDismiss: app.launchDone = true
    }

    Loader {
        id: app
        objectName: "app"
        // The launch screen may go; the app hears it once it is there.
        property bool launchDone: false
        anchors.fill: parent
        asynchronous: true
    }

    // Read before the first frame, Qt Quick Controls and the app's screens would take the
    // processor (and the dynamic linker) from the launch screen.
    Connections {
        target: window
        enabled: app.status === Loader.Null
        function onFrameSwapped() { app.setSource("AppStack.qml", { launchScreen: launch }) }
    }

    Binding {
        target: app.item
        property: "launchDone"
        value: app.launchDone
        when: app.status === Loader.Ready
    }
}
