import QtQuick
import QtQuick.Templates as T
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

    Put it first on a StackView and take it away when it says so:

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
    viewer on the same StackView.
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
        // Resources come at once; remote pictures always load in the background.
        asynchronous: false
        // Remote pictures come through the pictures' provider: one download, web only.
        source: OTPictures.source(screen.imageSource, Qt.size(width, height))
        // Decoded to cover the area it is shown in, both ways (the crop takes the rest), not at
        // its own size; Qt Quick asks for it in the window's device pixels.
        sourceSize: width > 0 && height > 0 ? Qt.size(Math.ceil(width), Math.ceil(height)) : undefined
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

    T.Button {
        id: pressToView
        objectName: "button"
        anchors.right: logo.right
        anchors.top: parent.top
        anchors.topMargin: 20
        width: 80
        topPadding: 8
        leftPadding: 12
        bottomPadding: 8
        rightPadding: 12
        implicitHeight: implicitContentHeight + topPadding + bottomPadding
        text: screen.buttonTitle
        font.pixelSize: OTPalette.launchButtonFontSize
        // Tab reaches it (a ring shows it), Enter or Space opens the viewer.
        focusPolicy: Qt.TabFocus
        Accessible.role: Accessible.Button
        Accessible.name: pressToView.text
        Keys.onReturnPressed: pressToView.clicked()
        Keys.onEnterPressed: pressToView.clicked()
        onClicked: screen.buttonPressed()

        contentItem: Text {
            text: pressToView.text
            font: pressToView.font
            color: OTPalette.ostrelFontColorSummary
            horizontalAlignment: Text.AlignHCenter
            verticalAlignment: Text.AlignVCenter
            // A title wider than the frame loses its middle.
            elide: Text.ElideMiddle
        }

        // An opaque dark ground: the grey title reads over any picture.
        background: Rectangle {
            color: OTPalette.ostrelButtonOnPictureColor
            border.color: pressToView.visualFocus ? OTPalette.ostrelFocusColor : OTPalette.ostrelFontColorSummary
            border.width: pressToView.visualFocus ? 2 : 1
            radius: 4
        }
    }
}
