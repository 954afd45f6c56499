import QtQuick
import OstFoundation
import OstQuote

/*!
    \qmltype OstQuoteView
    \inqmlmodule OstQuote
    \inherits OstQuoteViewTemplate
    \brief One full-screen page of the quote gallery, skin included.

    The picture, the top cover, and the bottom cover with the text stacked upwards from its
    bottom edge: the date, the sentence, its translation and the author. An empty label takes no
    room: the label above it closes the gap by the empty label's line height. The cover slides to
    the \l {OstQuoteViewTemplate::}{coverOffset} the page asks for, over
    OTPalette.coverSlideDuration while \l {OstQuoteViewTemplate::}{coverAnimated} holds. Screen
    readers find the date, the sentence, its translation and the author as text, in that order;
    the pictures are decoration.
*/
// The look of a quote page: picture, top cover, and the bottom cover with the text stacked
// upwards from its bottom edge. An empty label takes no room: the label above it closes the
// gap by the empty label's line height. The cover slides to the offset the page asks for.
// Screen readers find the date, the sentence, its translation and the author as text, in
// that order; the pictures are decoration.
OstQuoteViewTemplate {
    id: page

    Accessible.role: Accessible.Pane
    Accessible.name: page.dateText


    coverSliding: coverSlide.running
    Behavior on coverOffset {
        enabled: page.coverAnimated
        NumberAnimation {
            id: coverSlide
            duration: OTPalette.coverSlideDuration
            easing.type: Easing.InOutQuad
        }
    }

    // Its place in a page turn: it fades with the travel, and its content shrinks about the
    // centre (down to the page's least scale) while the page itself keeps its size.
    opacity: page.depthProgress

    Item {
        id: scaled
        objectName: "pageContent"
        anchors.fill: parent
        scale: Math.max(page.depthProgress, page.depthMinimumScale)
        // A page shrinking or fading behind the one sliding over it is drawn from one
        // snapshot, not re-rasterised (outlined text above all) at every step.
        layer.enabled: page.opacity > 0 && (scaled.scale < 1 || page.opacity < 1)
        layer.smooth: true

        Image {
            id: background
            objectName: "backgroundImageView"
            anchors.fill: parent
            // Remote pictures come through the pictures' provider: one download, web only.
            source: OTPictures.source(page.imageSource, Qt.size(width, height))
            fillMode: Image.PreserveAspectCrop
            clip: true
            Accessible.ignored: true
            asynchronous: true
            cache: true
            // Decoded to cover the size it is shown at, not at the picture's own; Qt Quick asks
            // for it in the window's device pixels.
            sourceSize: width > 0 && height > 0 ? Qt.size(Math.ceil(width), Math.ceil(height)) : undefined
        }

        RVGradientOverView {
            id: cover
            objectName: "coverView"
            anchors.left: parent.left
            anchors.right: parent.right
            anchors.bottom: parent.bottom
            anchors.bottomMargin: -page.coverOffset
            height: page.coverHeight
            alphas: OTPalette.bottomCoverAlphas
            locations: OTPalette.bottomCoverLocations

            // Declared in reading order: the date, the sentence, its translation, the author.
            Text {
                id: day
                objectName: "dateDayLabel"
                anchors.bottom: content.top
                anchors.bottomMargin: 10 - (page.contentText.length > 0 ? 0 : content.height)
                anchors.left: content.left
                text: page.dayText
                textFormat: Text.PlainText
                font.pixelSize: OTPalette.quoteDayFontSize
                color: OTPalette.ostrelGreen
                // Read out as the whole day, for both date labels.
                Accessible.role: Accessible.StaticText
                Accessible.name: page.dateText
            }
            Text {
                id: monthYear
                objectName: "dateMonthYearLabel"
                anchors.bottom: day.bottom
                anchors.bottomMargin: 7
                anchors.left: day.right
                anchors.leftMargin: 5
                text: page.monthYearText
                textFormat: Text.PlainText
                font.pixelSize: OTPalette.quoteMonthFontSize
                color: OTPalette.ostrelGreen
                Accessible.ignored: true
            }
            Text {
                id: content
                objectName: "contentLabel"
                anchors.bottom: translation.top
                anchors.bottomMargin: 15 - (page.translationText.length > 0 ? 0 : translation.height)
                anchors.left: translation.left
                anchors.right: translation.right
                text: page.contentText
                textFormat: Text.PlainText
                wrapMode: Text.Wrap
                font.pixelSize: OTPalette.quoteContentFontSize
                color: OTPalette.ostrelFontColorWhite
                style: Text.Outline
                styleColor: OTPalette.ostrelShadowColor
                Accessible.role: Accessible.StaticText
                Accessible.name: content.text
            }
            Text {
                id: translation
                objectName: "translationLabel"
                anchors.bottom: author.top
                anchors.bottomMargin: 8 - (page.authorText.length > 0 ? 0 : author.height)
                anchors.left: parent.left
                anchors.leftMargin: 15
                anchors.right: parent.right
                anchors.rightMargin: 15
                text: page.translationText
                textFormat: Text.PlainText
                wrapMode: Text.Wrap
                font.pixelSize: OTPalette.quoteTranslationFontSize
                color: OTPalette.ostrelFontColorWhite
                style: Text.Outline
                styleColor: OTPalette.ostrelShadowColor
                Accessible.role: Accessible.StaticText
                Accessible.name: translation.text
            }
            Text {
                id: author
                objectName: "authorLabel"
                anchors.right: parent.right
                anchors.rightMargin: 18
                anchors.bottom: parent.bottom
                anchors.bottomMargin: 20
                text: page.authorText
                textFormat: Text.PlainText
                font.pixelSize: OTPalette.quoteAuthorFontSize
                color: OTPalette.ostrelFontColorWhite
                style: Text.Outline
                styleColor: OTPalette.ostrelShadowColor
                Accessible.role: Accessible.StaticText
                Accessible.name: author.text
            }
        }

        RVGradientTopOverView {
            id: topCover
            objectName: "topCoverView"
            anchors.left: parent.left
            anchors.right: parent.right
            anchors.top: parent.top
            height: 100
            alphas: OTPalette.topCoverAlphas
        }
    }
}
