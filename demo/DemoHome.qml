import QtQuick
import QtQuick.Templates as T
import OstFoundation
import OstQuoteDemo

// The look of the demo's home screen: what a host app might show under its own navigation
// bar. The latest quote (day, sentence, translation, author) on a card, a status line under
// it (with a retry button when the update failed) and the button into the quote viewer at the
// foot.
DemoHomeViewController {
    id: home

    Rectangle {
        anchors.fill: parent
        color: OTPalette.ostrelBackgroundColor
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
        color: OTPalette.ostrelWhite
        border.color: OTPalette.ostrelFrameColor

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
                color: OTPalette.ostrelFontColorSecondary
            }

            Text {
                objectName: "quoteLabel"
                width: parent.width
                text: home.hasQuote ? home.quoteText : home.placeholderText
                textFormat: Text.PlainText
                wrapMode: Text.Wrap
                font.pixelSize: 18
                font.italic: !home.hasQuote
                color: home.hasQuote ? OTPalette.ostrelFontColorTitle : OTPalette.ostrelFontColorSecondary
            }

            Text {
                objectName: "translationLabel"
                width: parent.width
                visible: home.hasQuote && text.length > 0
                text: home.translationText
                textFormat: Text.PlainText
                wrapMode: Text.Wrap
                font.family: OTPalette.fontFamily
                font.pixelSize: 15
                color: OTPalette.ostrelFontColorBody
            }

            Text {
                objectName: "authorLabel"
                width: parent.width
                visible: home.hasQuote && home.authorText.length > 0
                text: "— " + home.authorText
                textFormat: Text.PlainText
                horizontalAlignment: Text.AlignRight
                font.pixelSize: 14
                color: OTPalette.ostrelFontColorAside
            }
        }
    }

    Text {
        id: statusLabel
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
        color: home.state === DemoHomeViewController.Failed ? OTPalette.ostrelErrorColor : OTPalette.ostrelFontColorSecondary
    }

    T.Button {
        id: retryButton
        objectName: "retryButton"
        anchors.top: statusLabel.bottom
        anchors.topMargin: 12
        anchors.left: card.left
        visible: home.state === DemoHomeViewController.Failed
        implicitWidth: implicitContentWidth + 32
        implicitHeight: 36
        text: home.retryButtonTitle
        focusPolicy: Qt.TabFocus
        Accessible.role: Accessible.Button
        Accessible.name: retryButton.text
        Keys.onReturnPressed: retryButton.clicked()
        Keys.onEnterPressed: retryButton.clicked()
        onClicked: home.retry()

        contentItem: Text {
            text: retryButton.text
            font.pixelSize: 15
            color: OTPalette.ostrelFontColorTitle
            horizontalAlignment: Text.AlignHCenter
            verticalAlignment: Text.AlignVCenter
        }
        background: Rectangle {
            radius: 6
            color: retryButton.down ? OTPalette.ostrelPressedColor : OTPalette.ostrelWhite
            border.color: OTPalette.ostrelFrameColor
            FocusRing { control: retryButton; radius: 10 }
        }
    }

    T.Button {
        id: openViewerButton
        objectName: "openViewerButton"
        anchors.horizontalCenter: parent.horizontalCenter
        anchors.bottom: parent.bottom
        anchors.bottomMargin: 40
        implicitWidth: Math.max(200, implicitContentWidth + 48)
        implicitHeight: 44
        text: home.viewerButtonTitle
        focusPolicy: Qt.TabFocus
        Accessible.role: Accessible.Button
        Accessible.name: openViewerButton.text
        Keys.onReturnPressed: openViewerButton.clicked()
        Keys.onEnterPressed: openViewerButton.clicked()
        onClicked: home.openViewer()

        contentItem: Text {
            text: openViewerButton.text
            font.pixelSize: 16
            font.weight: Font.DemiBold
            color: OTPalette.ostrelWhite
            horizontalAlignment: Text.AlignHCenter
            verticalAlignment: Text.AlignVCenter
        }
        background: Rectangle {
            radius: height / 2
            color: openViewerButton.down ? Qt.darker(OTPalette.ostrelGreen, 1.2) : OTPalette.ostrelGreen
            FocusRing { control: openViewerButton; radius: height / 2 }
        }
    }

    // The ring round a button that has the keyboard, just outside its ground.
    component FocusRing: Rectangle {
        id: ring
        property T.AbstractButton control
        objectName: ring.control ? ring.control.objectName + "FocusRing" : ""
        anchors.fill: parent
        anchors.margins: -4
        color: "transparent"
        border.width: 2
        border.color: OTPalette.ostrelFocusColor
        visible: ring.control ? ring.control.visualFocus : false
    }
}
