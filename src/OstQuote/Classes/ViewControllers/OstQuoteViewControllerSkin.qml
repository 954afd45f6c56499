import QtQuick
import QtQuick.Templates as T
import OstQuote

// The look of the quote viewer: the gallery fills the screen; the back button sits over the
// top left corner, the share button over the top right, each a 60 × 40 touch area with its
// image against the outer edge; the logo (shown only in share pictures) at the top right.
// Stacking, bottom to top: gallery, back button, share button, logo. The buttons are there
// in the Normal chrome, the logo in the Screenshot one.
OstQuoteViewControllerTemplate {
    id: screen

    galleryView: gallery

    OstQuoteGalleryView {
        id: gallery
        anchors.fill: parent
    }

    T.AbstractButton {
        id: back
        objectName: "backButton"
        width: 60
        height: 40
        anchors.left: parent.left
        anchors.leftMargin: 15
        anchors.top: parent.top
        anchors.topMargin: 25
        padding: 0
        visible: screen.chrome === OstQuoteViewController.Normal
        contentItem: Item {
            Image {
                anchors.left: parent.left
                anchors.verticalCenter: parent.verticalCenter
                source: back.pressed ? screen.backHighlightImage : screen.backImage
            }
        }
        onClicked: screen.backAction()
    }

    T.AbstractButton {
        id: share
        objectName: "shareButton"
        width: 60
        height: 40
        anchors.right: parent.right
        anchors.rightMargin: 15
        anchors.top: parent.top
        anchors.topMargin: 25
        padding: 0
        visible: screen.chrome === OstQuoteViewController.Normal
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
    }
}
