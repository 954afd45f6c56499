import QtQuick
import OstFoundation
import OstQuote

/*!
    \qmltype OstQuoteLaunchViewController
    \inqmlmodule OstQuote
    \inherits OstQuoteLaunchViewControllerTemplate
    \brief The launch screen, skin included: today's sentence under a large picture.

    Back to front: the picture, the logo, the sentence and the button. The logo sits 16 from the
    right edge and 20 above the bottom, at its image's own size; the sentence ends 16 above the
    logo, 26 in from either side, as tall as its text; the picture takes the full width and
    everything above the sentence but a 22-point gap. The button floats 20 below the top edge,
    right-aligned with the logo, 80 wide and as tall as its title.

    Put it straight into the window, so that it is on screen before the rest of the app is
    read, and let the app's StackView take it in as its first item once that is loaded
    (\l {Embedding the Module} shows the whole host), or put it first on a StackView directly:

    \qml
    StackView {
        id: stack
        anchors.fill: parent
        initialItem: OstQuoteLaunchViewController {
            onWillDismiss: stack.replace(home)
        }
    }
    \endqml

    \l {OstQuoteLaunchViewControllerTemplate::willDismiss()}{willDismiss()} comes 2.5 s after
    each appearance, so also on the way back from the viewer: act once. The button pushes a quote
    viewer on the StackView the screen stands on; pressed while it stands alone, the viewer is
    pushed once a StackView takes the screen in.
*/
// The look of the launch screen. Back to front: the picture, the logo, the sentence and the
// button.
//
// The logo sits 16 from the right edge and 20 above the bottom, at its image's own size; the
// sentence ends 16 above the logo, 26 in from either side, as tall as its text; the picture
// takes the full width and everything above the sentence but a 22-point gap (the gap holds
// both ways: picture bottom = sentence top - 22). The button floats 20 below the top edge,
// right-aligned with the logo, 80 wide and as tall as its title.
OstQuoteLaunchViewControllerTemplate {
    id: screen

    Image {
        id: picture
        objectName: "imageView"
        anchors.top: parent.top
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.bottom: label.top
        anchors.bottomMargin: 22
        fillMode: Image.PreserveAspectCrop
        clip: true
        // Resources and a picture the disk cache keeps (today's, prefetched by the last
        // launch) come at once, in the first frame; others load in the background.
        asynchronous: false
        // Remote pictures come through the pictures' providers: one download, web only.
        source: OTPictures.keptSource(screen.imageSource, Qt.size(width, screen.height))
        // Decoded to cover the most it can be shown in, the screen's width and height (the crop
        // takes the rest), not at its own size; Qt Quick asks for it in the window's device
        // pixels. Not its own height: that follows the sentence's, and each change would decode
        // the picture anew.
        sourceSize: width > 0 && screen.height > 0 ? Qt.size(Math.ceil(width), Math.ceil(screen.height)) : undefined
    }

    Image {
        id: logo
        objectName: "ostrelLogo"
        anchors.right: parent.right
        anchors.rightMargin: 16
        anchors.bottom: parent.bottom
        anchors.bottomMargin: 20
        source: screen.logoImage
    }

    FontMetrics {
        id: quoteMetrics
        font: screen.quoteFont
    }

    Text {
        id: label
        objectName: "quoteLabel"
        anchors.left: picture.left
        anchors.leftMargin: 26
        anchors.right: picture.right
        anchors.rightMargin: 26
        anchors.bottom: logo.top
        anchors.bottomMargin: 16
        wrapMode: Text.Wrap
        text: screen.quoteText
        textFormat: Text.PlainText
        font: screen.quoteFont
        color: screen.quoteColor
        lineHeightMode: Text.FixedHeight
        lineHeight: quoteMetrics.height + screen.quoteLineSpacing
    }

    // The button is made of Qt Quick's own items rather than a Qt Quick Controls button: the
    // launch screen is the first thing a host shows, and it reads no QML module past Qt Quick
    // and its own before its first frame.
    Rectangle {
        id: pressToView
        objectName: "button"
        // The title, as a button's content item.
        readonly property alias contentItem: title
        anchors.right: logo.right
        anchors.top: parent.top
        anchors.topMargin: 20
        width: 80
        implicitHeight: title.implicitHeight + 8 + 8
        // An opaque dark ground: the grey title reads over any picture. Only Tab gives the
        // button the keyboard, so a ring shows when it has it.
        color: OTPalette.ostrelButtonOnPictureColor
        border.color: activeFocus ? OTPalette.ostrelFocusColor : OTPalette.ostrelFontColorSummary
        border.width: activeFocus ? 2 : 1
        radius: 4
        // Tab reaches it, Enter, Return or Space opens the viewer.
        activeFocusOnTab: true
        Accessible.role: Accessible.Button
        Accessible.name: title.text
        Accessible.focusable: true
        Accessible.onPressAction: screen.buttonPressed()
        Keys.onReturnPressed: screen.buttonPressed()
        Keys.onEnterPressed: screen.buttonPressed()
        Keys.onSpacePressed: screen.buttonPressed()

        Text {
            id: title
            anchors.fill: parent
            anchors.topMargin: 8
            anchors.leftMargin: 12
            anchors.bottomMargin: 8
            anchors.rightMargin: 12
            text: screen.buttonTitle
            font.pixelSize: OTPalette.launchButtonFontSize
            color: OTPalette.ostrelFontColorSummary
            horizontalAlignment: Text.AlignHCenter
            verticalAlignment: Text.AlignVCenter
            // A title wider than the frame loses its middle.
            elide: Text.ElideMiddle
        }

        MouseArea {
            anchors.fill: parent
            onClicked: screen.buttonPressed()
        }
    }
}
