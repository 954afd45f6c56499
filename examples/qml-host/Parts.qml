import QtQuick
import QtQuick.Controls
import OstFoundation
import OstQuote

// The module's visual types as a host declares them, each with its look: a quote page, the
// same page in a skin of the host's own (made from the page's template, as a Qt Quick
// Controls style makes a button from T.Button), the launch screen, and the viewer screen
// with the share panel risen over it.
Window {
    // A quote page in the host's own skin: a blue cover with the sentence, sliding as the
    // module's does, and the gallery's depth effect on its place in a page turn.
    component HostPage: OstQuoteViewTemplate {
        id: restyled

        opacity: restyled.depthProgress

        Item {
            anchors.fill: parent
            scale: Math.max(restyled.depthProgress, restyled.depthMinimumScale)

            Rectangle {
                objectName: "restyledCover"
                anchors.bottom: parent.bottom
                anchors.bottomMargin: -restyled.coverOffset
                width: parent.width
                height: restyled.coverHeight
                color: "#2a6f97"
                Text {
                    anchors.fill: parent
                    anchors.margins: 20
                    text: restyled.contentText.length > 0 ? restyled.contentText : "A host's own quote page"
                    textFormat: Text.PlainText
                    wrapMode: Text.Wrap
                    verticalAlignment: Text.AlignVCenter
                    font.pixelSize: 20
                    color: "white"
                }
            }
        }
    }

    width: 4 * 375
    height: 667
    visible: true
    color: "black"

    Row {
        OstQuoteView {
            objectName: "quotePage"
            width: 375
            height: 667
        }

        HostPage {
            objectName: "restyledPage"
            width: 375
            height: 667
        }

        OstQuoteLaunchViewController {
            objectName: "launchScreen"
            width: 375
            height: 667
        }

        // A screen's life cycle (and with it the viewer's requests) follows a StackView.
        StackView {
            width: 375
            height: 667
            initialItem: OstQuoteViewController {
                id: viewer
                objectName: "viewerScreen"
                // The viewer's pages in the host's own skin too.
                pageComponent: Component { HostPage {} }
            }
        }
    }

    OstCustomShareView {
        id: sharePanel
        objectName: "sharePanel"
    }

    // Risen over the viewer from the start, without its slide.
    Component.onCompleted: sharePanel.showInController(viewer, false)
}
