import QtQuick
import QtQuick.Templates as T
import OstFoundation
import OstQuote

/*!
    \qmltype OstQuoteViewController
    \inqmlmodule OstQuote
    \inherits OstQuoteViewControllerTemplate
    \brief The quote viewer, skin included: a full-screen gallery with one page per day.

    The gallery fills the screen; the back button sits over the top left corner, the share button
    over the top right, each a 60 × 40 touch area with its image against the outer edge; the logo
    (shown only in share pictures) at the top right. The buttons are there in the
    \c OstQuoteViewController.Normal chrome, the logo in the \c Screenshot one. The keyboard
    starts on the gallery, which tells screen readers the day in view; Tab reaches the buttons,
    each ringed while it has the keyboard, and Enter or Space presses them. While the share panel
    is up they stand back.

    Declare it and put it on any StackView; its back button pops it:

    \qml
    StackView {
        id: stack
        anchors.fill: parent
        initialItem: OstQuoteViewController { initialDay: "2019-02-14" }
    }
    \endqml

    See \l OstQuoteViewControllerTemplate for what it asks of the server, the days it opens at
    and its keys.
*/
// The look of the quote viewer: the gallery fills the screen; the back button sits over the
// top left corner, the share button over the top right, each a 60 × 40 touch area with its
// image against the outer edge; the logo (shown only in share pictures) at the top right.
// Stacking, bottom to top: gallery, back button, share button, logo. The buttons are there
// in the Normal chrome, the logo in the Screenshot one. The keyboard starts on the gallery,
// which tells screen readers the day in view; Tab reaches the buttons, each ringed while it
// has the keyboard, and Enter or Space presses them. While the share panel is up they stand
// back.
OstQuoteViewControllerTemplate {
    id: screen

    galleryView: gallery

    /*!
        What the viewer's gallery makes its pages from: a component whose root is a quote page
        in a skin of the host's own (made from OstQuoteViewTemplate). None, the module's
        OstQuoteView.
    */
    property Component pageComponent: null

    // A button over the picture: a ring while it has the keyboard, and Enter presses it as
    // Space does.
    component ChromeButton: T.AbstractButton {
        id: chromeButton
        property OstQuoteViewControllerTemplate viewer
        width: 60
        height: 40
        padding: 0
        focusPolicy: Qt.TabFocus
        enabled: chromeButton.viewer ? !chromeButton.viewer.sharePanelShowing : false
        visible: chromeButton.viewer ? chromeButton.viewer.chrome === OstQuoteViewController.Normal : false
        Accessible.role: Accessible.Button
        Keys.onReturnPressed: chromeButton.clicked()
        Keys.onEnterPressed: chromeButton.clicked()
        background: Rectangle {
            objectName: chromeButton.objectName + "FocusRing"
            color: "transparent"
            radius: 4
            border.width: 2
            border.color: OTPalette.ostrelFocusColor
            visible: chromeButton.visualFocus
        }
    }

    OstQuoteGalleryView {
        id: gallery
        objectName: "galleryView"
        anchors.fill: parent
        pageComponent: screen.pageComponent
        focus: true
        Accessible.role: Accessible.Pane
        Accessible.name: screen.dayInView
    }

    ChromeButton {
        id: back
        viewer: screen
        objectName: "backButton"
        anchors.left: parent.left
        anchors.leftMargin: 15
        anchors.top: parent.top
        anchors.topMargin: 25
        Accessible.name: screen.backTitle
        contentItem: Item {
            Image {
                anchors.left: parent.left
                anchors.verticalCenter: parent.verticalCenter
                source: back.pressed ? screen.backHighlightImage : screen.backImage
            }
        }
        onClicked: screen.backAction()
    }

    ChromeButton {
        id: share
        viewer: screen
        objectName: "shareButton"
        anchors.right: parent.right
        anchors.rightMargin: 15
        anchors.top: parent.top
        anchors.topMargin: 25
        Accessible.name: screen.shareTitle
        contentItem: Item {
            Image {
                anchors.right: parent.right
                anchors.verticalCenter: parent.verticalCenter
                source: share.pressed ? screen.shareHighlightImage : screen.shareImage
            }
        }
        onClicked: screen.shareAction()
    }

    Image {
        id: logo
        objectName: "ostrelLogo"
        anchors.top: parent.top
        anchors.topMargin: 30
        anchors.right: parent.right
        anchors.rightMargin: 18
        source: screen.logoImage
        visible: screen.chrome === OstQuoteViewController.Screenshot
        Accessible.ignored: true
    }
}
