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
// second sheet of the same make that takes the first one's place. Both lie in a Qt Quick
// Popup, above everything in the window and modal while the panel is there. Every button takes the
// keyboard by Tab, shows a ring while it has it and is pressed by Enter or Space; screen
// readers find the panel as a dialog and each button by its name.
OstCustomShareViewTemplate {
    id: shareView

    Accessible.role: Accessible.Dialog
    Accessible.name: shareView.systemShareShowing ? OTLocalizable.string("system_share_title")
                                                  : OTLocalizable.string("share_view_title")

    // The sheet eases to where the panel asks.
    sheetMoving: sheetMotion.running
    Behavior on presentation {
        enabled: shareView.presentationAnimated
        NumberAnimation { id: sheetMotion; duration: OTPalette.sheetDuration; easing.type: Easing.OutCubic }
    }

    component ShareButton: T.AbstractButton {
        id: button
        property OstCustomShareViewTemplate view
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
        property OstCustomShareViewTemplate view
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
        property OstCustomShareViewTemplate view
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
        property OstCustomShareViewTemplate view
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
        property OstCustomShareViewTemplate view
        x: 16
        width: hairline.view ? hairline.view.width - 32 : 0
        height: 1 / Math.max(1, Screen.devicePixelRatio)
        color: OTPalette.ostrelSeparatorColor
    }

    // The band above the cancel bar.
    component Gap: Rectangle {
        id: gap
        property OstCustomShareViewTemplate view
        width: gap.view ? gap.view.width : 0
        height: 8
        color: OTPalette.ostrelGroupColor
    }

    // What the popup shows: the dimmer's tap area and the two sheets, over the panel `view`.
    component PanelContent: Item {
        id: panel
        required property OstCustomShareViewTemplate view

        // 0 with the share targets in view, 1 with the system share route's entries. It eases
        // between the two while the panel is up, and jumps while it is away.
        property real routeProgress: panel.view.systemShareShowing ? 1 : 0
        Behavior on routeProgress {
            enabled: panel.view.presentation > 0
            NumberAnimation { duration: OTPalette.sheetDuration; easing.type: Easing.OutCubic }
        }

        objectName: "sharePanelContent"
        focus: true
        Keys.forwardTo: [panel.view]

        // A tap on the dimmer, beside the sheet, takes the panel away.
        MouseArea {
            objectName: "shareBackdropArea"
            anchors.fill: parent
            onClicked: {
                if (panel.view.showing)
                    panel.view.cancelClicked()
            }
        }

        Sheet {

            view: panel.view
            id: sheet
            objectName: "shareSheet"
            height: mainColumn.height
            y: panel.view.height - height * panel.view.presentation * (1 - panel.routeProgress)
            visible: y < panel.view.height

            Column {
                id: mainColumn
                width: panel.view.width

                SheetTitle {

                    view: panel.view
                    objectName: "shareTitle"
                    text: OTLocalizable.string("share_view_title")
                }
                Grid {
                    columns: 4
                    topPadding: 2
                    bottomPadding: 6
                    Repeater {
                        model: panel.view.platforms
                        // A delegate sees nothing outside itself: it is handed the panel here.
                        onItemAdded: (index, item) => { item.view = panel.view }
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
                Hairline { view: panel.view }
                Row {
                    topPadding: 2
                    bottomPadding: 6
                    ShareButton {
                        view: panel.view
                        id: copyLinkButton
                        objectName: "shareCopyLinkButton"
                        text: OTLocalizable.string("share_view_copy_link")
                        iconSource: "qrc:/OstFoundation/images/share_copy_link.png"
                        iconHighlightedSource: "qrc:/OstFoundation/images/share_copy_link_highlight.png"
                        onClicked: panel.view.copyLinkClicked(copyLinkButton)
                    }
                    ShareButton {
                        view: panel.view
                        id: copyTextButton
                        objectName: "shareCopyTextButton"
                        text: OTLocalizable.string("share_view_copy_text")
                        iconSource: "qrc:/OstFoundation/images/share_copy_text.png"
                        iconHighlightedSource: "qrc:/OstFoundation/images/share_copy_text_highlight.png"
                        onClicked: panel.view.copyTextClicked(copyTextButton)
                    }
                    ShareButton {
                        view: panel.view
                        id: moreButton
                        objectName: "shareMoreButton"
                        text: OTLocalizable.string("share_view_more")
                        iconSource: "qrc:/OstFoundation/images/share_more.png"
                        iconHighlightedSource: "qrc:/OstFoundation/images/share_more_highlight.png"
                        onClicked: panel.view.moreClicked(moreButton)
                    }
                }
                Gap { view: panel.view }
                BarButton {
                    view: panel.view
                    objectName: "shareCancelButton"
                    text: OTLocalizable.string("share_view_cancel")
                    onClicked: panel.view.cancelClicked()
                }
            }
        }

        Sheet {

            view: panel.view
            id: systemSheet
            objectName: "systemShareSheet"
            height: systemColumn.height
            y: panel.view.height - height * panel.view.presentation * panel.routeProgress
            visible: y < panel.view.height

            Column {
                id: systemColumn
                width: panel.view.width

                SheetTitle {

                    view: panel.view
                    objectName: "systemShareTitle"
                    text: OTLocalizable.string("system_share_title")
                }
                Row {
                    topPadding: 2
                    bottomPadding: 6
                    ShareButton {
                        view: panel.view
                        objectName: "systemShareButton_copy"
                        text: OTLocalizable.string("system_share_copy")
                        iconSource: "qrc:/OstFoundation/images/share_copy_link.png"
                        iconHighlightedSource: "qrc:/OstFoundation/images/share_copy_link_highlight.png"
                        onClicked: panel.view.systemShareActivityClicked("copy")
                    }
                    ShareButton {
                        view: panel.view
                        objectName: "systemShareButton_mail"
                        text: OTLocalizable.string("system_share_mail")
                        iconSource: "qrc:/OstFoundation/images/share_email.png"
                        iconHighlightedSource: "qrc:/OstFoundation/images/share_email_highlight.png"
                        onClicked: panel.view.systemShareActivityClicked("mail")
                    }
                    ShareButton {
                        view: panel.view
                        objectName: "systemShareButton_browser"
                        text: OTLocalizable.string("system_share_browser")
                        iconSource: "qrc:/OstFoundation/images/share_browser.png"
                        iconHighlightedSource: "qrc:/OstFoundation/images/share_browser_highlight.png"
                        onClicked: panel.view.systemShareActivityClicked("browser")
                    }
                }
                Gap { view: panel.view }
                BarButton {
                    view: panel.view
                    objectName: "systemShareCancelButton"
                    text: OTLocalizable.string("share_view_cancel")
                    onClicked: panel.view.cancelClicked()
                }
            }
        }
    }

    // Qt Quick's popup holds the panel: above everything in the window, modal, and with the
    // keyboard while the panel is up. It opens as the panel shows and closes once the sheet
    // is down; the panel decides when it goes (the back keys reach it through the content).
    T.Popup {
        id: popup
        objectName: "sharePopup"
        parent: shareView
        x: 0
        y: 0
        width: shareView.width
        height: shareView.height
        padding: 0
        modal: true
        dim: false
        focus: true
        closePolicy: T.Popup.NoAutoClose

        // The dimmer over the screen.
        background: Rectangle {
            objectName: "shareBackdrop"
            color: OTPalette.ostrelBlack
            opacity: OTPalette.dimmerOpacity * shareView.presentation
        }

        contentItem: PanelContent {
            view: shareView
        }
    }

    holdsKeyboard: popup.activeFocus

    // The popup is open while the panel shows or its sheet is on the way down, as long as the
    // panel stands in a window and is seen there (it goes with a screen that is hidden or
    // taken away, and comes back with it).
    readonly property bool popupWanted: shareView.Window.window !== null && shareView.visible
                                        && (shareView.showing || shareView.presentation > 0)
    onPopupWantedChanged: {
        if (!shareView.popupWanted) {
            popup.close()
            return
        }
        popup.open()
        if (shareView.showing)
            popup.forceActiveFocus(Qt.PopupFocusReason)
    }
    // Shown again on the way down: the keyboard comes back to the panel.
    onShowingChanged: {
        if (shareView.showing && shareView.popupWanted)
            popup.forceActiveFocus(Qt.PopupFocusReason)
    }
}
