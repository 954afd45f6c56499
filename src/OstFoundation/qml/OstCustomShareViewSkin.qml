import QtQuick
import QtQuick.Templates as T
import OstFoundation

/*!
    \qmltype OstCustomShareView
    \inqmlmodule OstFoundation
    \inherits OstCustomShareViewTemplate
    \brief The share panel, skin included.

    A dimmed backdrop over the whole screen and a white sheet that rises from the bottom edge: a
    title, the share targets four to a row (icon over its name), a row with "copy link", "copy
    text" and "more", and a cancel bar. The system share route is a second sheet of the same make
    that takes the first one's place. Every button takes the keyboard by Tab, shows a ring while
    it has it and is pressed by Enter or Space; screen readers find the panel as a dialog and each
    button by its name.

    The sheet eases to where the panel asks: \l {OstCustomShareViewTemplate::}{presentation}
    moves over OTPalette.sheetDuration while
    \l {OstCustomShareViewTemplate::}{presentationAnimated} holds. From C++,
    OstCustomShareView::create() makes one.
*/
// The look of the share panel: a dimmed backdrop over the whole screen and a white sheet
// that rises from the bottom edge: a title, the share targets four to a row (icon over its
// name), a row with "copy link", "copy text" and "more", and a cancel bar. The system share route is a
// second sheet of the same make that takes the first one's place. Every button takes the
// keyboard by Tab, shows a ring while it has it and is pressed by Enter or Space; screen
// readers find the panel as a dialog and each button by its name.
OstCustomShareView {
    id: shareView

    Accessible.role: Accessible.Dialog
    Accessible.name: shareView.systemShareShowing ? OTLocalizable.string("system_share_title")
                                                  : OTLocalizable.string("share_view_title")

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


    // A share target: its icon, 50 × 50, over its name.
    component ShareButton: T.AbstractButton {
        id: button
        property OstCustomShareView view
        property url iconSource
        property url iconHighlightedSource
        // A share target's type: a click picks it.
        property int platformType: -1
        onClicked: {
            if (button.platformType >= 0)
                button.view?.platformClicked(button.platformType)
        }
        width: button.view ? button.view.width / 4 : 0
        height: 96
        padding: 0
        enabled: button.view ? button.view.showing : false
        focusPolicy: Qt.TabFocus
        Accessible.role: Accessible.Button
        Accessible.name: button.text
        Keys.onReturnPressed: button.clicked()
        Keys.onEnterPressed: button.clicked()
        background: FocusRing { control: button }
        contentItem: Item {
            // The icon 14 below the top, its name 8 below the icon.
            Image {
                x: Math.round((button.width - width) / 2)
                y: 14
                width: 50
                height: 50
                smooth: true
                mipmap: true
                source: button.pressed ? button.iconHighlightedSource : button.iconSource
            }
            Text {
                y: 14 + 50 + 8
                x: 4
                width: button.width - 8
                horizontalAlignment: Text.AlignHCenter
                elide: Text.ElideRight
                text: button.text
                font.family: OTPalette.fontFamily
                font.pixelSize: OTPalette.shareCaptionFontSize
                color: OTPalette.ostrelFontColorCaption
            }
        }
    }

    // The ring round a button that has the keyboard.
    component FocusRing: Rectangle {
        id: ring
        property T.AbstractButton control
        objectName: ring.control ? ring.control.objectName + "FocusRing" : ""
        color: "transparent"
        radius: 4
        border.width: 2
        border.color: OTPalette.ostrelFocusColor
        visible: ring.control ? ring.control.visualFocus : false
    }

    // A full-width bar with a centred label: the sheets' cancel.
    component BarButton: T.AbstractButton {
        id: bar
        property OstCustomShareView view
        width: bar.view ? bar.view.width : 0
        height: 50
        padding: 0
        enabled: bar.view ? bar.view.showing : false
        focusPolicy: Qt.TabFocus
        Accessible.role: Accessible.Button
        Accessible.name: bar.text
        Keys.onReturnPressed: bar.clicked()
        Keys.onEnterPressed: bar.clicked()
        background: Rectangle {
            color: bar.pressed ? OTPalette.ostrelPressedColor : OTPalette.ostrelWhite
            FocusRing { control: bar; anchors.fill: parent }
        }
        contentItem: Text {
            text: bar.text
            horizontalAlignment: Text.AlignHCenter
            verticalAlignment: Text.AlignVCenter
            font.family: OTPalette.fontFamily
            font.pixelSize: OTPalette.shareBarFontSize
            color: OTPalette.ostrelFontColorTitle
        }
    }

    // A sheet: white, its top corners rounded, taking every tap that lands on it.
    component Sheet: Rectangle {
        id: sheetBody
        property OstCustomShareView view
        width: sheetBody.view ? sheetBody.view.width : 0
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
        id: title
        property OstCustomShareView view
        width: title.view ? title.view.width : 0
        height: 46
        horizontalAlignment: Text.AlignHCenter
        verticalAlignment: Text.AlignBottom
        bottomPadding: 2
        font.family: OTPalette.fontFamily
        font.pixelSize: OTPalette.shareTitleFontSize
        color: OTPalette.ostrelFontColorTitle
    }

    component Hairline: Rectangle {
        id: hairline
        property OstCustomShareView view
        x: 16
        width: hairline.view ? hairline.view.width - 32 : 0
        height: 1 / Math.max(1, Screen.devicePixelRatio)
        color: OTPalette.ostrelSeparatorColor
    }

    // The band above the cancel bar.
    component Gap: Rectangle {
        id: gap
        property OstCustomShareView view
        width: gap.view ? gap.view.width : 0
        height: 8
        color: OTPalette.ostrelGroupColor
    }

    Rectangle {
        id: backdrop
        objectName: "shareBackdrop"
        width: shareView.width
        height: shareView.height
        color: OTPalette.ostrelBlack
        opacity: OTPalette.dimmerOpacity * shareView.presentation

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

        view: shareView
        id: sheet
        objectName: "shareSheet"
        height: mainColumn.height
        y: shareView.height - height * shareView.presentation * (1 - shareView.routeProgress)
        visible: y < shareView.height

        Column {
            id: mainColumn
            width: shareView.width

            SheetTitle {

                view: shareView
                objectName: "shareTitle"
                text: OTLocalizable.string("share_view_title")
            }
            Grid {
                columns: 4
                topPadding: 2
                bottomPadding: 6
                Repeater {
                    model: shareView.platforms
                    // A delegate sees nothing outside itself: it is handed the panel here.
                    onItemAdded: (index, item) => { item.view = shareView }
                    delegate: ShareButton {
                        required property var modelData
                        objectName: "sharePlatformButton_" + modelData.type
                        text: modelData.title
                        iconSource: modelData.icon
                        iconHighlightedSource: modelData.iconHighlighted
                        platformType: modelData.type
                    }
                }
            }
            Hairline { view: shareView }
            Row {
                topPadding: 2
                bottomPadding: 6
                ShareButton {
                    view: shareView
                    id: copyLinkButton
                    objectName: "shareCopyLinkButton"
                    text: OTLocalizable.string("share_view_copy_link")
                    iconSource: "qrc:/OstFoundation/images/share_copy_link.png"
                    iconHighlightedSource: "qrc:/OstFoundation/images/share_copy_link_highlight.png"
                    onClicked: shareView.copyLinkClicked(copyLinkButton)
                }
                ShareButton {
                    view: shareView
                    id: copyTextButton
                    objectName: "shareCopyTextButton"
                    text: OTLocalizable.string("share_view_copy_text")
                    iconSource: "qrc:/OstFoundation/images/share_copy_text.png"
                    iconHighlightedSource: "qrc:/OstFoundation/images/share_copy_text_highlight.png"
                    onClicked: shareView.copyTextClicked(copyTextButton)
                }
                ShareButton {
                    view: shareView
                    id: moreButton
                    objectName: "shareMoreButton"
                    text: OTLocalizable.string("share_view_more")
                    iconSource: "qrc:/OstFoundation/images/share_more.png"
                    iconHighlightedSource: "qrc:/OstFoundation/images/share_more_highlight.png"
                    onClicked: shareView.moreClicked(moreButton)
                }
            }
            Gap { view: shareView }
            BarButton {
                view: shareView
                objectName: "shareCancelButton"
                text: OTLocalizable.string("share_view_cancel")
                onClicked: shareView.cancelClicked()
            }
        }
    }

    Sheet {

        view: shareView
        id: systemSheet
        objectName: "systemShareSheet"
        height: systemColumn.height
        y: shareView.height - height * shareView.presentation * shareView.routeProgress
        visible: y < shareView.height

        Column {
            id: systemColumn
            width: shareView.width

            SheetTitle {

                view: shareView
                objectName: "systemShareTitle"
                text: OTLocalizable.string("system_share_title")
            }
            Row {
                topPadding: 2
                bottomPadding: 6
                ShareButton {
                    view: shareView
                    objectName: "systemShareButton_copy"
                    text: OTLocalizable.string("system_share_copy")
                    iconSource: "qrc:/OstFoundation/images/share_copy_link.png"
                    iconHighlightedSource: "qrc:/OstFoundation/images/share_copy_link_highlight.png"
                    onClicked: shareView.systemShareActivityClicked("copy")
                }
                ShareButton {
                    view: shareView
                    objectName: "systemShareButton_mail"
                    text: OTLocalizable.string("system_share_mail")
                    iconSource: "qrc:/OstFoundation/images/share_email.png"
                    iconHighlightedSource: "qrc:/OstFoundation/images/share_email_highlight.png"
                    onClicked: shareView.systemShareActivityClicked("mail")
                }
                ShareButton {
                    view: shareView
                    objectName: "systemShareButton_browser"
                    text: OTLocalizable.string("system_share_browser")
                    iconSource: "qrc:/OstFoundation/images/share_browser.png"
                    iconHighlightedSource: "qrc:/OstFoundation/images/share_browser_highlight.png"
                    onClicked: shareView.systemShareActivityClicked("browser")
                }
            }
            Gap { view: shareView }
            BarButton {
                view: shareView
                objectName: "systemShareCancelButton"
                text: OTLocalizable.string("share_view_cancel")
                onClicked: shareView.cancelClicked()
            }
        }
    }
}
