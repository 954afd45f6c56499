import QtQuick
import QtQuick.Templates as T
import OstFoundation
import OstQuoteDemo

// The look of the demo's home screen: what a host app might show under its own navigation
// bar. The latest quote (day, sentence, translation, author) on a card, a status line under
// it and the button into the quote viewer at the foot.
DemoHomeViewController {
    id: home

    viewerButton: openViewerButton

    Rectangle {
        anchors.fill: parent
        color: "#f4f4f4"
    }

    Rectangle {
        id: card
        objectName: "quoteCard"
        anchors.top: parent.top
        anchors.topMargin: 20
        anchors.left: parent.left
        anchors.leftMargin: 16
        anchors.right: parent.right
        anchors.rightMargin: 16
        height: cardColumn.implicitHeight + 40
        radius: 8
        color: "#ffffff"
        border.color: "#e2e2e6"

        Column {
            id: cardColumn
            anchors.top: parent.top
            anchors.topMargin: 20
            anchors.left: parent.left
            anchors.leftMargin: 20
            anchors.right: parent.right
            anchors.rightMargin: 20
            spacing: 12

            Text {
                objectName: "dayLabel"
                width: parent.width
                visible: home.hasQuote
                text: home.dayText
                textFormat: Text.PlainText
                font.pixelSize: 13
                font.letterSpacing: 1
                color: "#8e8e93"
            }

            Text {
                objectName: "quoteLabel"
                width: parent.width
                text: home.hasQuote ? home.quoteText : home.placeholderText
                textFormat: Text.PlainText
                wrapMode: Text.Wrap
                font.pixelSize: 18
                font.italic: !home.hasQuote
                color: home.hasQuote ? "#333333" : "#8e8e93"
            }

            Text {
                objectName: "translationLabel"
                width: parent.width
                visible: home.hasQuote && text.length > 0
                text: home.translationText
                textFormat: Text.PlainText
                wrapMode: Text.Wrap
                font.family: "Noto Sans CJK SC"
                font.pixelSize: 15
                color: "#555555"
            }

            Text {
                objectName: "authorLabel"
                width: parent.width
                visible: home.hasQuote && home.authorText.length > 0
                text: "— " + home.authorText
                textFormat: Text.PlainText
                horizontalAlignment: Text.AlignRight
                font.pixelSize: 14
                color: "#666666"
            }
        }
    }

    Text {
        objectName: "statusLabel"
        anchors.top: card.bottom
        anchors.topMargin: 12
        anchors.left: card.left
        anchors.right: card.right
        visible: text.length > 0
        text: home.statusText
        textFormat: Text.PlainText
        wrapMode: Text.Wrap
        font.pixelSize: 13
        color: home.state === DemoHomeViewController.Failed ? "#c0392b" : "#8e8e93"
    }

    T.Button {
        id: openViewerButton
        objectName: "openViewerButton"
        anchors.horizontalCenter: parent.horizontalCenter
        anchors.bottom: parent.bottom
        anchors.bottomMargin: 40
        implicitWidth: Math.max(200, label.implicitWidth + 48)
        implicitHeight: 44
        text: home.viewerButtonTitle

        contentItem: Text {
            id: label
            text: openViewerButton.text
            font.pixelSize: 16
            font.weight: Font.DemiBold
            color: "#ffffff"
            horizontalAlignment: Text.AlignHCenter
            verticalAlignment: Text.AlignVCenter
        }
        background: Rectangle {
            radius: height / 2
            color: openViewerButton.down ? Qt.darker(OTPalette.ostrelGreen, 1.2) : OTPalette.ostrelGreen
        }
    }
}
