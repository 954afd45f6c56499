import QtQuick
import QtQuick.Controls as C
import QtQuick.Templates as T
import OstFoundation
import OstQuoteDemo

// The look of the demo's home screen: what a host app might show under its own navigation
// bar. The latest quote (day, sentence, translation, author) on a card, a status line under
// it (with a retry button when the update failed) and, at the foot, the button that opens the
// day picker above the button into the quote viewer. The day picker is a modal popup over
// the dimmed screen: the month's title between its flip buttons, the weekdays and the month's
// grid, today ringed, the days without a quote faint and deaf to clicks, the keyboard's day
// framed in the focus colour.
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
        id: openDayButton
        objectName: "openDayButton"
        anchors.horizontalCenter: parent.horizontalCenter
        anchors.bottom: openViewerButton.top
        anchors.bottomMargin: 16
        implicitWidth: openViewerButton.width
        implicitHeight: 44
        text: home.openDayButtonTitle
        focusPolicy: Qt.TabFocus
        Accessible.role: Accessible.Button
        Accessible.name: openDayButton.text
        Keys.onReturnPressed: openDayButton.clicked()
        Keys.onEnterPressed: openDayButton.clicked()
        onClicked: {
            dayPicker.openedFromKeyboard = openDayButton.visualFocus
            home.openDayPicker()
        }

        contentItem: Text {
            text: openDayButton.text
            font.pixelSize: 16
            font.weight: Font.DemiBold
            color: OTPalette.ostrelGreen
            horizontalAlignment: Text.AlignHCenter
            verticalAlignment: Text.AlignVCenter
        }
        background: Rectangle {
            radius: height / 2
            color: openDayButton.down ? OTPalette.ostrelPressedColor : OTPalette.ostrelWhite
            border.color: OTPalette.ostrelGreen
            border.width: 1.5
            FocusRing { control: openDayButton; radius: height / 2 }
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

    // The day picker. It opens and closes as the screen says; closed by Esc or by a press
    // outside it, it tells the screen, and the keyboard goes back to the button that opened it.
    C.Popup {
        id: dayPicker
        objectName: "dayPicker"
        // Opened from the keyboard, the keyboard's day is framed at once; opened with the
        // mouse, once a key moves it.
        property bool openedFromKeyboard: false
        property bool showsKeyboardDay: false

        parent: T.Overlay.overlay
        anchors.centerIn: parent
        width: Math.min(parent ? parent.width - 32 : 343, 380)
        padding: 16
        modal: true
        dim: true
        focus: true
        visible: home.dayPickerOpen
        closePolicy: T.Popup.CloseOnEscape | T.Popup.CloseOnPressOutside
        // The keys go to the month's grid, wherever they were when the picker last closed.
        onOpened: {
            dayPicker.showsKeyboardDay = dayPicker.openedFromKeyboard
            monthGrid.forceActiveFocus(Qt.PopupFocusReason)
        }
        // The keys go back to the button, unless a day was picked: the viewer on top has them.
        onClosed: {
            home.closeDayPicker()
            if (!home.navigationController || home.navigationController.topViewController === home)
                openDayButton.forceActiveFocus(dayPicker.openedFromKeyboard ? Qt.TabFocusReason : Qt.OtherFocusReason)
        }

        T.Overlay.modal: Rectangle { color: OTPalette.ostrelShadowColor }
        background: Rectangle {
            radius: 12
            color: OTPalette.ostrelWhite
            border.color: OTPalette.ostrelFrameColor
        }

        FocusScope {
            id: pickerContent
            objectName: "dayPickerContent"
            width: parent.width
            implicitWidth: pickerColumn.implicitWidth
            implicitHeight: pickerColumn.implicitHeight
            focus: true
            Accessible.role: Accessible.Dialog
            Accessible.name: home.dayPickerTitle

            Column {
                id: pickerColumn
                width: parent.width
                spacing: 8

                Item {
                    width: parent.width
                    height: 44

                    MonthButton {
                        id: previousMonthButton
                        objectName: "previousMonthButton"
                        anchors.left: parent.left
                        glyph: "‹"
                        text: home.previousMonthTitle
                        enabled: home.canShowPreviousMonth
                        onClicked: home.flipMonth(-1)
                    }
                    Text {
                        objectName: "monthTitle"
                        anchors.left: previousMonthButton.right
                        anchors.right: nextMonthButton.left
                        anchors.verticalCenter: parent.verticalCenter
                        text: home.shownMonthTitle
                        textFormat: Text.PlainText
                        horizontalAlignment: Text.AlignHCenter
                        elide: Text.ElideRight
                        font.pixelSize: 17
                        font.weight: Font.DemiBold
                        color: OTPalette.ostrelFontColorTitle
                        Accessible.role: Accessible.Heading
                        Accessible.name: text
                    }
                    MonthButton {
                        id: nextMonthButton
                        objectName: "nextMonthButton"
                        anchors.right: parent.right
                        glyph: "›"
                        text: home.nextMonthTitle
                        enabled: home.canShowNextMonth
                        onClicked: home.flipMonth(1)
                    }
                }

                C.DayOfWeekRow {
                    objectName: "dayOfWeekRow"
                    width: parent.width
                    padding: 0
                    spacing: monthGrid.spacing
                    delegate: Text {
                        required property string shortName
                        text: shortName
                        textFormat: Text.PlainText
                        horizontalAlignment: Text.AlignHCenter
                        verticalAlignment: Text.AlignVCenter
                        font.pixelSize: 12
                        color: OTPalette.ostrelFontColorSecondary
                    }
                }

                C.MonthGrid {
                    id: monthGrid
                    objectName: "monthGrid"
                    width: parent.width
                    padding: 0
                    spacing: 2
                    year: home.shownYear
                    month: home.shownMonth - 1
                    focus: true
                    Accessible.role: Accessible.Table
                    Accessible.name: home.shownMonthTitle

                    // Arrows move a day (left, right) or a week (up, down), across months;
                    // Page Up and Page Down flip months; Home and End go to the first day with
                    // a quote and to today, the ends of the range; Enter, Return and Space pick.
                    Keys.onPressed: (event) => {
                        let handled = true
                        switch (event.key) {
                        case Qt.Key_Left: home.moveFocusedDay(-1); break
                        case Qt.Key_Right: home.moveFocusedDay(1); break
                        case Qt.Key_Up: home.moveFocusedDay(-7); break
                        case Qt.Key_Down: home.moveFocusedDay(7); break
                        case Qt.Key_PageUp: home.flipMonth(-1); break
                        case Qt.Key_PageDown: home.flipMonth(1); break
                        case Qt.Key_Home: home.focusFirstDay(); break
                        case Qt.Key_End: home.focusLastDay(); break
                        case Qt.Key_Return:
                        case Qt.Key_Enter:
                        case Qt.Key_Space: home.pickFocusedDay(); break
                        default: handled = false
                        }
                        if (handled)
                            dayPicker.showsKeyboardDay = true
                        event.accepted = handled
                    }

                    // The grid of the style, its cells this skin's.
                    contentItem: Grid {
                        rows: 6
                        columns: 7
                        rowSpacing: monthGrid.spacing
                        columnSpacing: monthGrid.spacing

                        Repeater {
                            model: monthGrid.source
                            delegate: DayCell {}
                            // A delegate sees nothing outside itself: it is handed the screen,
                            // the month shown and whether the keyboard's day is framed.
                            onItemAdded: (index, item) => {
                                item.home = home
                                item.shownMonth = Qt.binding(() => monthGrid.month)
                                item.framesKeyboardDay = Qt.binding(() => dayPicker.showsKeyboardDay && monthGrid.activeFocus)
                            }
                        }
                    }
                }
            }
        }
    }

    // A day of the picker's month grid; days of the months around are not shown.
    component DayCell: Item {
        id: cell
        required property var model
        property DemoHomeViewController home: null
        property int shownMonth: -1
        property bool framesKeyboardDay: false
        readonly property bool inMonth: cell.model.month === cell.shownMonth
        readonly property string dayKey: cell.model.year + "-" + ("0" + (cell.model.month + 1)).slice(-2)
                                         + "-" + ("0" + cell.model.day).slice(-2)
        readonly property bool pickable: cell.home !== null && cell.home.lastDay.length > 0 && cell.home.canPickDay(cell.dayKey)
        readonly property bool isToday: cell.home !== null && cell.dayKey === cell.home.lastDay
        readonly property bool keyboardDay: cell.home !== null && cell.dayKey === cell.home.focusedDay

        objectName: "day-" + cell.dayKey
        implicitWidth: 40
        implicitHeight: 40
        opacity: cell.inMonth ? 1 : 0
        enabled: cell.inMonth && cell.pickable
        Accessible.role: Accessible.Button
        Accessible.name: cell.home ? cell.home.spokenDay(cell.dayKey) : ""
        Accessible.description: cell.pickable || !cell.home ? "" : cell.home.unavailableDayText
        Accessible.ignored: !cell.inMonth
        Accessible.focusable: true
        Accessible.focused: cell.keyboardDay && cell.framesKeyboardDay
        Accessible.onPressAction: if (cell.home) cell.home.pickDay(cell.dayKey)

        Rectangle {
            objectName: "todayRing"
            anchors.centerIn: parent
            width: Math.min(parent.width, parent.height) - 2
            height: width
            radius: width / 2
            color: press.pressed ? OTPalette.ostrelPressedColor : "transparent"
            border.width: cell.isToday ? 2 : 0
            border.color: OTPalette.ostrelGreen
            visible: cell.isToday || press.pressed
        }
        Rectangle {
            objectName: "keyboardDayMark"
            anchors.fill: parent
            radius: 6
            color: "transparent"
            border.width: 2
            border.color: OTPalette.ostrelFocusColor
            visible: cell.keyboardDay && cell.inMonth && cell.framesKeyboardDay
        }
        Text {
            anchors.centerIn: parent
            text: cell.model.day
            textFormat: Text.PlainText
            font.pixelSize: 15
            font.weight: cell.isToday ? Font.Bold : Font.Normal
            color: cell.isToday ? OTPalette.ostrelGreen : OTPalette.ostrelFontColorTitle
            opacity: cell.enabled ? 1 : 0.35
        }
        MouseArea {
            id: press
            anchors.fill: parent
            onClicked: if (cell.home) cell.home.pickDay(cell.dayKey)
        }
    }

    // A month flip button of the day picker: an arrow, named for the screen reader.
    component MonthButton: T.Button {
        id: monthButton
        property string glyph
        anchors.verticalCenter: parent.verticalCenter
        implicitWidth: 44
        implicitHeight: 44
        focusPolicy: Qt.TabFocus
        Accessible.role: Accessible.Button
        Accessible.name: monthButton.text
        Keys.onReturnPressed: monthButton.clicked()
        Keys.onEnterPressed: monthButton.clicked()

        contentItem: Text {
            text: monthButton.glyph
            font.pixelSize: 28
            color: monthButton.enabled ? OTPalette.ostrelGreen : OTPalette.ostrelFontColorSecondary
            opacity: monthButton.enabled ? 1 : 0.35
            horizontalAlignment: Text.AlignHCenter
            verticalAlignment: Text.AlignVCenter
        }
        background: Rectangle {
            radius: height / 2
            color: monthButton.down ? OTPalette.ostrelPressedColor : "transparent"
            FocusRing { control: monthButton; radius: height / 2 }
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
