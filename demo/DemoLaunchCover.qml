import QtQuick
import OstQuoteDemo

// The launch screen's still over the window while home comes in underneath: in full view
// until the host asks it to fade, then dissolving into home.
DemoSnapshot {
    id: cover
    objectName: "launchSnapshot"

    opacity: cover.fading ? 0 : 1

    Behavior on opacity {
        NumberAnimation {
            duration: cover.fadeDuration
            easing.type: Easing.InOutQuad
        }
    }
}
