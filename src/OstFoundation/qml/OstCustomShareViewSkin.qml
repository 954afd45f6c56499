import QtQuick
import QtQuick.Templates as T
import OstFoundation

// The look of the share panel: a dimmed backdrop over the whole screen and a white sheet
// that rises from the bottom edge: a title, the share targets four to a row (icon over its
// name), a row with "copy link" and "more", and a cancel bar. The system share route is a
// second sheet of the same make that takes the first one's place.
OstCustomShareView {
    id: shareView

    panel: sheet

    // The sheet eases to where the panel asks.
    Behavior on presentation {
        enabled: shareView.presentationAnimated
        NumberAnimation { duration: OTPalette.sheetDuration; easing.type: Easing.OutCubic }
    }

    // 0 with the share targets in view, 1 with the system share route's entries. It eases
    // between the two while the panel is up, and jumps while it is away.
    property real routeProgress: systemShareShowing ? 1 : 0
    Behavior on routeProgress {
        enabled: shareView.presentation > 0
        NumberAnimation { duration: OTPalette.sheetDuration; easing.type: Easing.OutCubic }
    }

    readonly property real cellWidth: width / 4

    // A share target: its icon, 50 × 50, over its name.
    component ShareButton: T.AbstractButton {
        id: button
        property url iconSource
        property url iconHighlightedSource
        width: shareView.cellWidth
        height: 96
        padding: 0
        enabled: shareView.showing
        contentItem: Item {
            Image {
                id: iconImage
                x: Math.round((button.width - width) / 2)
                y: 14
                width: 50
                height: 50
                smooth: true
                mipmap: true
                source: button.pressed && button.iconHighlightedSource.toString() !== "" ? button.iconHighlightedSource
                                                                                   : button.iconSource
            }
            Text {
                anchors.top: iconImage.bottom
                anchors.topMargin: 8
                x: 4
                width: button.width - 8
                horizontalAlignment: Text.AlignHCenter
                elide: Text.ElideRight
                text: button.text
                font.family: OTPalette.fontFamily
                font.pixelSize: 12
                color: OTPalette.ostrelFontColorCaption
            }
        }
    }

    // A full-width bar with a centred label: the sheets' cancel.
    component BarButton: T.AbstractButton {
        id: bar
        width: shareView.width
        height: 50
        padding: 0
        enabled: shareView.showing
        background: Rectangle { color: bar.pressed ? OTPalette.ostrelPressedColor : OTPalette.ostrelWhite }
        contentItem: Text {
            text: bar.text
            horizontalAlignment: Text.AlignHCenter
            verticalAlignment: Text.AlignVCenter
            font.family: OTPalette.fontFamily
            font.pixelSize: 16
            color: OTPalette.ostrelFontColorTitle
        }
    }

    // A sheet: white, its top corners rounded, taking every tap that lands on it.
    component Sheet: Rectangle {
        id: sheetBody
        width: shareView.width
        radius: 12
        color: OTPalette.ostrelWhite
        Rectangle {
            y: sheetBody.height - height
            width: sheetBody.width
            height: sheetBody.radius
            color: sheetBody.color
        }
        MouseArea {
            anchors.fill: sheetBody
        }
    }

    component SheetTitle: Text {
        width: shareView.width
        height: 46
        horizontalAlignment: Text.AlignHCenter
        verticalAlignment: Text.AlignBottom
        bottomPadding: 2
        font.family: OTPalette.fontFamily
        font.pixelSize: 15
        color: OTPalette.ostrelFontColorTitle
    }

    component Hairline: Rectangle {
        x: 16
        width: shareView.width - 32
        height: 1 / Math.max(1, Screen.devicePixelRatio)
        color: OTPalette.ostrelSeparatorColor
    }

    // The band above the cancel bar.
    component Gap: Rectangle {
        width: shareView.width
        height: 8
        color: OTPalette.ostrelGroupColor
    }

    Rectangle {
        id: backdrop
        objectName: "shareBackdrop"
        width: shareView.width
        height: shareView.height
        color: OTPalette.ostrelBlack
        opacity: 0.4 * shareView.presentation

        // Also keeps touches off the screen underneath while the panel is there.
        MouseArea {
            anchors.fill: backdrop
            onClicked: {
                if (shareView.showing)
                    shareView.cancelClicked()
            }
        }
    }

    Sheet {
        id: sheet
        objectName: "shareSheet"
        height: mainColumn.height
        y: shareView.height - height * shareView.presentation * (1 - shareView.routeProgress)
        visible: y < shareView.height

        Column {
            id: mainColumn
            width: shareView.width

            SheetTitle {
                objectName: "shareTitle"
                text: OTLocalizable.string("share_view_title")
            }
            Grid {
                columns: 4
                topPadding: 2
                bottomPadding: 6
                Repeater {
                    model: shareView.platforms
                    delegate: ShareButton {
                        required property var modelData
                        objectName: "sharePlatformButton_" + modelData.type
                        text: modelData.title
                        iconSource: modelData.icon
                        iconHighlightedSource: modelData.iconHighlighted
                        onClicked: shareView.platformClicked(modelData.type)
                    }
                }
            }
            Hairline {}
            Row {
                topPadding: 2
                bottomPadding: 6
                ShareButton {
                    id: copyLinkButton
                    objectName: "shareCopyLinkButton"
                    text: OTLocalizable.string("share_view_copy_link")
                    iconSource: "qrc:/OstFoundation/images/share_copy_link.png"
                    iconHighlightedSource: "qrc:/OstFoundation/images/share_copy_link_highlight.png"
                    onClicked: shareView.copyLinkClicked(copyLinkButton)
                }
                ShareButton {
                    id: moreButton
                    objectName: "shareMoreButton"
                    text: OTLocalizable.string("share_view_more")
                    iconSource: "qrc:/OstFoundation/images/share_more.png"
                    iconHighlightedSource: "qrc:/OstFoundation/images/share_more_highlight.png"
                    onClicked: shareView.moreClicked(moreButton)
                }
            }
            Gap {}
            BarButton {
                objectName: "shareCancelButton"
                text: OTLocalizable.string("share_view_cancel")
                onClicked: shareView.cancelClicked()
            }
        }
    }

    Sheet {
        id: systemSheet
        objectName: "systemShareSheet"
        height: systemColumn.height
        y: shareView.height - height * shareView.presentation * shareView.routeProgress
        visible: y < shareView.height

        Column {
            id: systemColumn
            width: shareView.width

            SheetTitle {
                objectName: "systemShareTitle"
                text: OTLocalizable.string("system_share_title")
            }
            Row {
                topPadding: 2
                bottomPadding: 6
                ShareButton {
                    objectName: "systemShareButton_copy"
                    text: OTLocalizable.string("system_share_copy")
                    iconSource: "qrc:/OstFoundation/images/share_copy_link.png"
                    iconHighlightedSource: "qrc:/OstFoundation/images/share_copy_link_highlight.png"
                    onClicked: shareView.systemShareActivityClicked("copy")
                }
                ShareButton {
                    objectName: "systemShareButton_mail"
                    text: OTLocalizable.string("system_share_mail")
                    iconSource: "qrc:/OstFoundation/images/share_email.png"
                    iconHighlightedSource: "qrc:/OstFoundation/images/share_email_highlight.png"
                    onClicked: shareView.systemShareActivityClicked("mail")
                }
                ShareButton {
                    objectName: "systemShareButton_browser"
                    text: OTLocalizable.string("system_share_browser")
                    iconSource: "qrc:/OstFoundation/images/share_browser.png"
                    iconHighlightedSource: "qrc:/OstFoundation/images/share_browser_highlight.png"
                    onClicked: shareView.systemShareActivityClicked("browser")
                }
            }
            Gap {}
            BarButton {
                objectName: "systemShareCancelButton"
                text: OTLocalizable.string("share_view_cancel")
                onClicked: shareView.cancelClicked()
            }
        }
    }
}
