import QtQuick
import QtQuick.Controls
import OstFoundation

// The demo app's home screen: what a host app would show under its own navigation bar.
OTCommonsViewController {
    id: home
    property string title: "OstQuote demo"
    required property var host

    Rectangle {
        anchors.fill: parent
        color: "#f4f4f4"
    }

    Column {
        anchors.centerIn: parent
        spacing: 16

        Label {
            anchors.horizontalCenter: parent.horizontalCenter
            text: "A host app embedding OstQuote"
            font.pixelSize: 16
            color: "#333333"
        }

        Button {
            objectName: "openViewerButton"
            anchors.horizontalCenter: parent.horizontalCenter
            text: "Open the quote viewer"
            onClicked: home.host.openViewer(true)
        }
    }
}
